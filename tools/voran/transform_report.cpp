#include "tools/voran/transform_report.h"

#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/command_run.h"
#include "tools/voran/number_text.h"
#include "tools/voran/table_writer.h"
#include "tools/voran/text_table.h"
#include "tools/voran/transform_text.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kNameWidth = 16;

// With scaling alone, there is no column of functions and none of what failed.
std::string ColumnLines(const TransformReport& report) {
  const std::vector<TransformedColumn>& columns = report.result.columns;
  const auto hasFunction = [](const TransformedColumn& column) { return column.transform.ChangesValues(); };
  const bool showsFunctions = std::any_of(columns.begin(), columns.end(), hasFunction);
  const bool isScaled = report.settings.scaling != Scaling::kNone;
  std::vector<std::string> headings = {"column", "min", "max", "new min", "new max"};
  const std::vector<std::string> ofFunctions = {report.settings.back ? "inverse of" : "function", "failed"};
  if (showsFunctions) headings.insert(headings.begin() + 1, ofFunctions.begin(), ofFunctions.end());
  TextTable lines(headings);
  for (const TransformedColumn& column : columns) {
    if (!hasFunction(column) && !isScaled) continue;
    std::vector<std::string> cells = {ShortName(column.name, kNameWidth)};
    if (showsFunctions) {
      cells.insert(cells.end(), {hasFunction(column) ? Formula(column.transform) : "-", std::to_string(column.failed)});
    }
    for (const Extremes& e : {column.before, column.after}) {
      cells.insert(cells.end(), {ShortNumber(e.least), ShortNumber(e.most)});
    }
    lines.Row(cells);
  }
  return lines.Text();
}

Json ConstantsJson(const TransformStruct& transform) {
  if (!transform.ChangesValues()) return nullptr;
  const auto constant = [&](int i) { return AsWritten(static_cast<double>(transform.GetConstant(i))); };
  const Json third = transform.GetTransform() == TransformE::kPower ? Json(constant(3)) : Json();
  return Json::array({constant(1), constant(2), third});
}

}  // namespace

std::string TransformText(const TransformReport& report) {
  const TransformedTable& result = report.result;
  std::string text =
      fmt::format("Transform{} of {}: {}, {}, scaling {}, {}\n", report.settings.back ? " back" : "",
                  report.table.source, Counted(report.table.rowIds.size(), "row"),
                  Counted(result.columns.size(), "column"), ScalingName(report.settings.scaling), GapText(result.gaps));
  if (!result.dropped.empty()) text += fmt::format("  columns left out: {}\n", DroppedText(result.dropped));
  if (!result.failure.empty()) text += fmt::format("  {}\n", result.failure);
  return text + "\n" + ColumnLines(report);
}

Json TransformJson(const TransformReport& report) {
  const TransformedTable& result = report.result;
  Json json = JsonHead("transform", report.table);
  json["columns"] = result.columns.size();
  json["missing"] = GapJson(result.gaps);
  json["scaling"] = ScalingName(report.settings.scaling);
  json["back"] = report.settings.back;
  json["dropped_columns"] = DroppedJson(result.dropped);
  json["failed_values"] = result.failed;
  json["variables"] = Json::array();
  for (const TransformedColumn& column : result.columns) {
    const std::string_view name = TransformName(column.transform.GetTransform());
    json["variables"].push_back({{"name", column.name},
                                 {"transform", name.empty() ? Json() : Json(name)},
                                 {"constants", ConstantsJson(column.transform)},
                                 {"failed", column.failed},
                                 {"minimum", AsWritten(column.after.least)},
                                 {"maximum", AsWritten(column.after.most)}});
  }
  return json;
}

void WriteTransformTables(const TransformReport& report, OutputDirectory& folder) {
  std::vector<std::string> names;
  for (const TransformedColumn& column : report.result.columns) names.push_back(column.name);
  folder.Write("transform.csv",
               [&](std::ostream& out) { WriteTable(out, report.table, names, report.result.x, report.result.unit); });
}

}  // namespace tool
