#include "tools/voran/pca_report.h"

#include <algorithm>

#include <fmt/format.h>

#include "tools/voran/command_run.h"
#include "tools/voran/csv_writer.h"
#include "tools/voran/number_text.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

std::string ComponentLines(const PcaResult& result) {
  std::string lines = "\n  component       R2X  R2X(cum)    eigenvalue  iterations\n";
  int a = 0;
  for (const PcaComponent& c : result.components) {
    lines +=
        fmt::format("  {:>9}  {:8.4f}  {:8.4f}  {:>12}  {:>10}{}\n", ++a, c.r2x, c.r2xCumulative,
                    c.eigenvalue ? fmt::format("{:#.5g}", *c.eigenvalue) : "-", c.iterations, c.converged ? "" : " *");
  }
  return lines;
}

}  // namespace

std::string PcaText(const PcaReport& report) {
  const PcaResult& result = report.result;
  std::string text = fmt::format("PCA of {}: {}, {}, scaling {}, {}\n", report.table.source,
                                 Counted(report.table.rowIds.size(), "row"), Counted(result.variables.size(), "column"),
                                 ScalingName(report.settings.scaling), GapText(result.gaps));
  if (!result.dropped.empty()) text += fmt::format("  columns left out: {}\n", DroppedText(result.dropped));
  if (!result.gaps.emptyRows.empty()) {
    text += fmt::format("  rows without data, which get no score: {}\n", Enumerated(result.gaps.emptyRows));
  }
  text += ComponentLines(result);
  if (std::any_of(result.components.begin(), result.components.end(), [](const auto& c) { return !c.converged; })) {
    text += "  * stopped at the iteration limit before it converged; --max-iterations raises the limit\n";
  }
  if (!result.stopped.empty()) {
    text += fmt::format("  no more than {}: {}\n", Counted(result.components.size(), "component"), result.stopped);
  }
  return text;
}

Json PcaJson(const PcaReport& report) {
  const PcaResult& result = report.result;
  Json json = JsonHead("pca", report.table);
  json["columns"] = result.variables.size();
  json["scaling"] = ScalingName(report.settings.scaling);
  json["missing"] = GapJson(result.gaps);
  json["dropped_columns"] = DroppedJson(result.dropped);
  json["iteration_limit"] = report.settings.iterationLimit;
  json["components_requested"] = report.settings.components ? Json(*report.settings.components) : Json();
  json["stopped_because"] = result.stopped.empty() ? Json() : Json(result.stopped);
  json["components"] = Json::array();
  for (const PcaComponent& c : result.components) {
    json["components"].push_back({{"component", json["components"].size() + 1},
                                  {"r2x", c.r2x},
                                  {"r2x_cumulative", c.r2xCumulative},
                                  {"eigenvalue", c.eigenvalue ? Json(*c.eigenvalue) : Json()},
                                  {"iterations", c.iterations},
                                  {"converged", c.converged}});
  }
  return json;
}

void WritePcaTables(const PcaReport& report, OutputDirectory& folder) {
  const auto& components = report.result.components;
  folder.Write("scores.csv", [&](std::ostream& out) {
    WriteNumberedColumns(out, report.table.idName, report.table.rowIds, 't', Each(components, &PcaComponent::score));
  });
  folder.Write("loadings.csv", [&](std::ostream& out) {
    WriteNumberedColumns(out, "variable", report.result.variables, 'p', Each(components, &PcaComponent::loading));
  });
}

}  // namespace tool
