#include "tools/voran/pls_report.h"

#include <algorithm>
#include <functional>
#include <span>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/command_run.h"
#include "tools/voran/csv_writer.h"
#include "tools/voran/number_text.h"
#include "tools/voran/text_table.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kLongestName = 24;

std::string ResponseLines(const PlsResult& result) {
  const bool isCrossValidated = result.cvGroups > 0;
  std::vector<std::string> headings = {"response", "R2Y(cum)"};
  if (isCrossValidated) headings.emplace_back("Q2(cum)");
  headings.emplace_back("RMSEE");
  if (isCrossValidated) headings.emplace_back("RMSECV");
  TextTable table(headings);
  const PlsComponent& last = result.components.back();
  for (std::size_t m = 0; m < result.responses.size(); ++m) {
    std::vector<std::string> cells = {ShortName(result.y.names[m], kLongestName),
                                      ShareText(last.r2yOfResponsesCumulative[m])};
    if (isCrossValidated) cells.push_back(ShareText(last.q2->q2OfColumnsCumulative[m]));
    cells.push_back(ShortNumber(result.responses[m].rmsee));
    if (isCrossValidated) cells.push_back(ShortNumber(result.responses[m].rmsecv));
    table.Row(std::move(cells));
  }
  return table.Text();
}

// Q2 of each response and component; nothing where there is no more to say than above.
std::string ResponseQ2Lines(const PlsResult& result) {
  constexpr std::size_t kMostShown = 10;
  if (result.cvGroups == 0 || result.responses.size() < 2) return {};
  const std::size_t shown = std::min(result.components.size(), kMostShown);
  std::vector<std::string> headings = {"Q2 by component"};
  for (std::size_t a = 1; a <= shown; ++a) headings.push_back(std::to_string(a));
  TextTable table(headings);
  for (std::size_t m = 0; m < result.responses.size(); ++m) {
    std::vector<std::string> cells = {ShortName(result.y.names[m], kLongestName)};
    for (std::size_t a = 0; a < shown; ++a) {
      cells.push_back(fmt::format("{:.4f}", result.components[a].q2->q2OfColumns[m]));
    }
    table.Row(std::move(cells));
  }
  return "\n" + table.Text();
}

Json ResponseJson(const PlsResult& result) {
  Json json = Json::array();
  const PlsComponent& last = result.components.back();
  for (std::size_t m = 0; m < result.responses.size(); ++m) {
    const bool isCrossValidated = last.q2.has_value();
    json.push_back(
        {{"name", result.y.names[m]},
         {"r2y_cumulative", NumberOrNull(last.r2yOfResponsesCumulative[m])},
         {"q2_cumulative", isCrossValidated ? NumberOrNull(AsWritten(last.q2->q2OfColumnsCumulative[m])) : Json()},
         {"rmsee", NumberOrNull(result.responses[m].rmsee)},
         {"rmsecv", isCrossValidated ? NumberOrNull(result.responses[m].rmsecv) : Json()}});
  }
  return json;
}

// By response, in their order.
Json AddPerResponse(Json components, const PlsResult& result) {
  const auto numbers = [](const std::vector<double>& values) {
    Json json = Json::array();
    for (const double value : values) json.push_back(NumberOrNull(AsWritten(value)));
    return json;
  };
  for (std::size_t a = 0; a < result.components.size(); ++a) {
    const PlsComponent& component = result.components[a];
    components[a]["r2y_by_response"] = numbers(component.r2yOfResponses);
    components[a]["r2y_cumulative_by_response"] = numbers(component.r2yOfResponsesCumulative);
    components[a]["q2_by_response"] = component.q2 ? numbers(component.q2->q2OfColumns) : Json();
    components[a]["q2_cumulative_by_response"] = component.q2 ? numbers(component.q2->q2OfColumnsCumulative) : Json();
  }
  return components;
}

// A line for each row of the table, and a column for each response.
void WriteByRow(std::ostream& out, const PlsReport& report, std::vector<double> ResponseFit::*values) {
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

void WriteCoefficients(std::ostream& out, const PlsResult& result) {
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

void WriteScores(std::ostream& out, const PlsReport& report) {
  const std::vector<PlsComponent>& components = report.result.components;
  CsvWriter writer(out);
  writer.Text(report.table.idName);
  for (const char letter : {'t', 'u'}) {
    for (std::size_t a = 1; a <= components.size(); ++a) writer.Text(fmt::format("{}{}", letter, a));
  }
  writer.EndRow();
  for (std::size_t i = 0; i < report.table.rowIds.size(); ++i) {
    writer.Text(report.table.rowIds[i]);
    for (const PlsComponent& component : components) writer.Number(component.score[i]);
    for (const PlsComponent& component : components) writer.Number(component.yScore[i]);
    writer.EndRow();
  }
}

}  // namespace

std::string PlsText(const PlsReport& report) {
  const PlsResult& result = report.result;
  std::string text = fmt::format("PLS of {}: {}, {}, {} ({}), scaling {}, {}\n", report.table.source,
                                 Counted(report.table.rowIds.size(), "row"), Counted(result.x.names.size(), "column"),
                                 Counted(result.y.names.size(), "response"), Enumerated(result.y.names),
                                 ScalingName(report.settings.scaling), GapText(result.gaps));
  if (result.yGaps.cells > 0) text += fmt::format("  responses: {}\n", GapText(result.yGaps));
  if (result.cvGroups > 0) text += fmt::format("  cross-validated in {} groups of rows\n", result.cvGroups);
  for (const PreparedColumns* part : {&result.x, &result.y}) {
    const std::string transforms = TransformsText(*part);
    const char* const of = part == &result.y ? "transforms of responses" : "transforms";
    if (!transforms.empty()) text += fmt::format("  {}: {}\n", of, transforms);
  }
  if (!result.x.dropped.empty()) text += fmt::format("  columns left out: {}\n", DroppedText(result.x.dropped));
  if (!result.gaps.emptyRows.empty()) {
    text += fmt::format("  rows without data, which get no score: {}\n", Enumerated(result.gaps.emptyRows));
  }
  text += "\n" + ComponentText(FiguresOf(result.components));
  if (!result.stopped.empty()) {
    text += fmt::format("  no more than {}: {}\n", Counted(result.components.size(), "component"), result.stopped);
  }
  return text + "\n" + ResponseLines(result) + ResponseQ2Lines(result);
}

Json PlsJson(const PlsReport& report) {
  const PlsResult& result = report.result;
  Json json = JsonHead("pls", report.table);
  json["columns"] = result.x.names.size();
  json["scaling"] = ScalingName(report.settings.scaling);
  json["y_scaling"] = ScalingName(report.settings.yScaling);
  json["transforms"] = TransformsJson(result.x);
  json["y_transforms"] = TransformsJson(result.y);
  json["missing"] = GapJson(result.gaps);
  json["y_missing_cells"] = result.yGaps.cells;
  json["dropped_columns"] = DroppedJson(result.x.dropped);
  json["iteration_limit"] = report.settings.iterationLimit;
  json["cv_groups"] = result.cvGroups > 0 ? Json(result.cvGroups) : Json();
  json["components_requested"] = report.settings.IsAuto() ? Json("auto") : Json(*report.settings.components);
  json["stopped_because"] = result.stopped.empty() ? Json() : Json(result.stopped);
  json["components"] = AddPerResponse(ComponentJson(FiguresOf(result.components)), result);
  json["responses"] = ResponseJson(result);
  return json;
}

void WritePlsTables(const PlsReport& report, OutputDirectory& folder) {
  const PlsResult& result = report.result;
  const auto& components = result.components;
  const auto write = [&](const char* name, const std::function<void(std::ostream&)>& fill) {
    folder.Write(name, fill);
  };
  write("scores.csv", [&](std::ostream& out) { WriteScores(out, report); });
  write("loadings.csv", [&](std::ostream& out) {
    WriteNumberedColumns(out, "variable", result.x.names, 'p', Each(components, &PlsComponent::loading));
  });
  write("weights.csv", [&](std::ostream& out) {
    WriteNumberedColumns(out, "variable", result.x.names, 'w', Each(components, &PlsComponent::weight));
  });
  write("y_weights.csv", [&](std::ostream& out) {
    WriteNumberedColumns(out, "response", result.y.names, 'c', Each(components, &PlsComponent::yWeight));
  });
  write("coefficients.csv", [&](std::ostream& out) { WriteCoefficients(out, result); });
  write("fitted.csv", [&](std::ostream& out) { WriteByRow(out, report, &ResponseFit::fitted); });
  if (result.cvGroups == 0) return;
  write("predicted_cv.csv", [&](std::ostream& out) { WriteByRow(out, report, &ResponseFit::predictedCv); });
  write("q2.csv", [&](std::ostream& out) { WriteQ2(out, "response", result.y.names, FiguresOf(components)); });
}

}  // namespace tool
