#include "tools/voran/regression_report.h"

#include <utility>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/class_report.h"
#include "tools/voran/command_run.h"
#include "tools/voran/common_options.h"
#include "tools/voran/component_figures.h"
#include "tools/voran/csv_writer.h"
#include "tools/voran/number_text.h"
#include "tools/voran/text_table.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

// A line for each row of the table, and a column for each response.
void WriteByRow(std::ostream& out, const RegressionReport& report, std::vector<double> ResponseFit::*values) {
  CsvWriter writer(out);
  writer.Text(report.table.idName);
  for (const std::string& name : report.result.y.names) writer.Text(name);
  writer.EndRow();
  for (std::size_t i = 0; i < report.table.rowIds.size(); ++i) {
    writer.Text(report.table.rowIds[i]);
    for (const ResponseFit& fit : report.result.responses) writer.Number((fit.*values)[i]);
    writer.EndRow();
  }
}

void WriteCoefficients(std::ostream& out, const RegressionResult& result) {
  CsvWriter writer(out);
  writer.Text("variable");
  for (const std::string& name : result.y.names) writer.Text(name);
  writer.EndRow();
  writer.Text("(intercept)");
  for (const ResponseFit& fit : result.responses) writer.Number(fit.intercept);
  writer.EndRow();
  for (std::size_t k = 0; k < result.x.names.size(); ++k) {
    writer.Text(result.x.names[k]);
    for (const ResponseFit& fit : result.responses) writer.Number(fit.coefficients[k]);
    writer.EndRow();
  }
}

}  // namespace

std::string RegressionHead(std::string_view title, const RegressionReport& report) {
  const RegressionResult& result = report.result;
  std::string text = fmt::format("{} of {}: {}, {}, {} ({}), scaling {}, {}\n", title, report.table.source,
                                 Counted(report.table.rowIds.size(), "row"), Counted(result.x.names.size(), "column"),
                                 Counted(result.y.names.size(), "response"), Enumerated(result.y.names),
                                 ScalingName(report.settings.scaling), GapText(result.gaps));
  if (result.yGaps.cells > 0) text += fmt::format("  responses: {}\n", GapText(result.yGaps));
  if (result.cvGroups > 0) text += fmt::format("  cross-validated in {} groups of rows\n", result.cvGroups);
  text += TransformLines(result.x) + TransformLines(result.y, "transforms of responses");
  if (!result.x.dropped.empty()) text += fmt::format("  columns left out: {}\n", DroppedText(result.x.dropped));
  if (!result.gaps.emptyRows.empty()) {
    text += fmt::format("  rows without data, which get no score: {}\n", Enumerated(result.gaps.emptyRows));
  }
  return text;
}

std::string ResponseText(const RegressionResult& result) {
  const bool isCrossValidated = result.cvGroups > 0;
  std::vector<std::string> headings = {"response", "R2Y(cum)"};
  if (isCrossValidated) headings.emplace_back("Q2(cum)");
  headings.emplace_back("RMSEE");
  if (isCrossValidated) headings.emplace_back("RMSECV");
  TextTable table(headings);
  for (std::size_t m = 0; m < result.responses.size(); ++m) {
    const ResponseFit& fit = result.responses[m];
    std::vector<std::string> cells = {ShortName(result.y.names[m]), ShareText(fit.r2y)};
    if (isCrossValidated) cells.push_back(ShareText(*fit.q2));
    cells.push_back(ShortNumber(fit.rmsee));
    if (isCrossValidated) cells.push_back(ShortNumber(fit.rmsecv));
    table.Row(std::move(cells));
  }
  return table.Text();
}

Json RegressionJsonHead(const std::string& command, const RegressionReport& report) {
  const RegressionResult& result = report.result;
  Json json = JsonHead(command, report.table);
  json["columns"] = result.x.names.size();
  json["scaling"] = ScalingName(report.settings.scaling);
  json["y_scaling"] = ScalingName(report.settings.yScaling);
  json["transforms"] = TransformsJson(result.x);
  json["y_transforms"] = TransformsJson(result.y);
  json["failed_values"] = result.x.failedValues;
  json["y_failed_values"] = result.y.failedValues;
  json["missing"] = GapJson(result.gaps);
  json["y_missing_cells"] = result.yGaps.cells;
  json["dropped_columns"] = DroppedJson(result.x.dropped);
  json["iteration_limit"] = report.settings.iterationLimit;
  json["cv_groups"] = result.cvGroups > 0 ? Json(result.cvGroups) : Json();
  return json;
}

Json ResponseJson(const RegressionResult& result) {
  Json json = Json::array();
  for (std::size_t m = 0; m < result.responses.size(); ++m) {
    const ResponseFit& fit = result.responses[m];
    json.push_back({{"name", result.y.names[m]},
                    {"r2y_cumulative", NumberOrNull(fit.r2y)},
                    {"q2_cumulative", fit.q2 ? NumberOrNull(AsWritten(*fit.q2)) : Json()},
                    {"rmsee", NumberOrNull(fit.rmsee)},
                    {"rmsecv", fit.q2 ? NumberOrNull(fit.rmsecv) : Json()}});
  }
  return json;
}

void WriteResponseTables(const RegressionReport& report, OutputDirectory& folder) {
  folder.Write("coefficients.csv", [&](std::ostream& out) { WriteCoefficients(out, report.result); });
  folder.Write("fitted.csv", [&](std::ostream& out) { WriteByRow(out, report, &ResponseFit::fitted); });
  if (!report.result.classes.empty()) {
    folder.Write("classes.csv", [&](std::ostream& out) { WriteClassFits(out, report.table, report.result.classes); });
  }
  if (report.result.cvGroups == 0) return;
  folder.Write("predicted_cv.csv", [&](std::ostream& out) { WriteByRow(out, report, &ResponseFit::predictedCv); });
}

}  // namespace tool
