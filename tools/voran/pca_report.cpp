#include "tools/voran/pca_report.h"

#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/command_run.h"
#include "tools/voran/csv_writer.h"
#include "tools/voran/number_text.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

}  // namespace

std::string PcaText(const PcaReport& report) {
  const PcaResult& result = report.result;
  std::string text = fmt::format(
      "PCA of {}: {}, {}, scaling {}, {}\n", report.table.source, Counted(report.table.rowIds.size(), "row"),
      Counted(result.columns.names.size(), "column"), ScalingName(report.settings.scaling), GapText(result.gaps));
  if (result.cvGroups > 0)
    text += fmt::format("  cross-validated in {} groups of rows and of columns\n", result.cvGroups);
  if (report.settings.hasWarmStart) text += "  components begun from a rough subspace (--warm-start)\n";
  text += TransformLines(result.columns);
  if (!result.columns.dropped.empty()) {
    text += fmt::format("  columns left out: {}\n", DroppedText(result.columns.dropped));
  }
  if (!result.gaps.emptyRows.empty()) {
    text += fmt::format("  rows without data, which get no score: {}\n", Enumerated(result.gaps.emptyRows));
  }
  text += "\n" + ComponentText(FiguresOf(result.components));
  if (!result.stopped.empty()) {
    text += fmt::format("  no more than {}: {}\n", Counted(result.components.size(), "component"), result.stopped);
  }
  return text;
}

Json PcaJson(const PcaReport& report) {
  const PcaResult& result = report.result;
  Json json = JsonHead("pca", report.table);
  json["columns"] = result.columns.names.size();
  json["scaling"] = ScalingName(report.settings.scaling);
  json["transforms"] = TransformsJson(result.columns);
  json["failed_values"] = result.columns.failedValues;
  json["missing"] = GapJson(result.gaps);
  json["dropped_columns"] = DroppedJson(result.columns.dropped);
  json["iteration_limit"] = report.settings.iterationLimit;
  json["warm_start"] = report.settings.hasWarmStart;
  json["cv_groups"] = result.cvGroups > 0 ? Json(result.cvGroups) : Json();
  json["components_requested"] = report.settings.isAuto       ? Json("auto")
                                 : report.settings.components ? Json(*report.settings.components)
                                                              : Json();
  json["stopped_because"] = result.stopped.empty() ? Json() : Json(result.stopped);
  json["components"] = ComponentJson(FiguresOf(result.components));
  return json;
}

void WritePcaTables(const PcaReport& report, OutputDirectory& folder) {
  const auto& components = report.result.components;
  folder.Write("scores.csv", [&](std::ostream& out) {
    WriteNumberedColumns(out, report.table.idName, report.table.rowIds,
                         {{"t", Each(components, &PcaComponent::score)}});
  });
  folder.Write("loadings.csv", [&](std::ostream& out) {
    WriteNumberedColumns(out, "variable", report.result.columns.names,
                         {{"p", Each(components, &PcaComponent::loading)}});
  });
  if (report.result.cvGroups > 0) {
    folder.Write("q2.csv", [&](std::ostream& out) {
      WriteQ2(out, "variable", report.result.columns.names, FiguresOf(components));
    });
  }
}

}  // namespace tool
