#include "tools/voran/ortho_report.h"

#include <cmath>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/class_report.h"
#include "tools/voran/component_figures.h"
#include "tools/voran/csv_writer.h"
#include "tools/voran/number_text.h"
#include "tools/voran/text_table.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

std::string VarianceText(double value) {
  return std::isnan(value) ? "-" : fmt::format("{:#.5g}", value);
}

// Predictive and orthogonal components, and all of them.
std::string ComponentLines(const OrthoResult& result) {
  const bool hasAngle = !result.orthoComponents.empty() && result.orthoComponents.front().angle.has_value();
  std::vector<std::string> headings = {"component", "R2X", "R2Y", "eigenvalue"};
  if (hasAngle) headings.emplace_back("angle to Y");
  TextTable table(headings);
  const auto add = [&](const char* kind, const std::vector<OrthoComponent>& components) {
    for (const OrthoComponent& c : components) {
      std::vector<std::string> cells = {fmt::format("{} {}", kind, &c - &components.front() + 1), ShareText(c.r2x),
                                        ShareText(c.r2y), VarianceText(c.eigenvalue)};
      if (hasAngle) cells.push_back(c.angle ? fmt::format("{:.2f}", *c.angle) : "");
      table.Row(std::move(cells));
    }
  };
  add("predictive", result.components);
  add("orthogonal", result.orthoComponents);
  const OrthoStage& all = result.stages.back();
  std::vector<std::string> cells = {"all", ShareText(all.r2x), ShareText(all.r2y), ""};
  if (hasAngle) cells.emplace_back();
  table.Row(std::move(cells));
  return table.Text();
}

// The model with 0, 1, ... orthogonal components.
std::string StageLines(const OrthoResult& result) {
  const bool isCrossValidated = result.cvGroups > 0;
  std::vector<std::string> headings = {"orthogonal", "R2X(cum)", "R2Y(cum)"};
  if (isCrossValidated) headings.insert(headings.end(), {"Q2", "Q2(cum)", "limit", "signif."});
  TextTable table(headings);
  for (const OrthoStage& stage : result.stages) {
    std::vector<std::string> cells = {fmt::format("{}", &stage - &result.stages.front()), ShareText(stage.r2x),
                                      ShareText(stage.r2y)};
    if (isCrossValidated) {
      cells.insert(cells.end(), {ShareText(stage.q2->q2), ShareText(stage.q2->q2Cumulative), ShareText(stage.q2->limit),
                                 SignificanceE::GetSignificance(stage.q2->verdict)});
    }
    table.Row(std::move(cells));
  }
  return table.Text();
}

Json Numbers(const std::vector<double>& values) {
  Json json = Json::array();
  for (const double value : values) json.push_back(NumberOrNull(AsWritten(value)));
  return json;
}

Json ComponentsJson(const std::vector<OrthoComponent>& components) {
  Json json = Json::array();
  for (const OrthoComponent& c : components) {
    Json object = {{"component", json.size() + 1},
                   {"r2x", NumberOrNull(c.r2x)},
                   {"r2y", NumberOrNull(c.r2y)},
                   {"r2y_by_response", Numbers(c.r2yOfResponses)},
                   {"eigenvalue", NumberOrNull(c.eigenvalue)}};
    if (c.angle) object["angle_to_y"] = *c.angle;
    json.push_back(std::move(object));
  }
  return json;
}

Json StagesJson(const OrthoResult& result) {
  Json json = Json::array();
  for (const OrthoStage& stage : result.stages) {
    const auto figure = [&](double ComponentQ2::*value) {
      return stage.q2 ? NumberOrNull(AsWritten((*stage.q2).*value)) : Json();
    };
    json.push_back({{"ortho_components", json.size()},
                    {"r2x_cumulative", NumberOrNull(stage.r2x)},
                    {"r2y_cumulative", NumberOrNull(stage.r2y)},
                    {"r2y_cumulative_by_response", Numbers(stage.r2yOfResponses)},
                    {"q2", figure(&ComponentQ2::q2)},
                    {"q2_cumulative", figure(&ComponentQ2::q2Cumulative)},
                    {"q2_limit", figure(&ComponentQ2::limit)},
                    {"significance", stage.q2 ? Json(SignificanceE::GetSignificance(stage.q2->verdict)) : Json()},
                    {"q2_cumulative_by_response", stage.q2 ? Numbers(stage.q2->q2OfColumnsCumulative) : Json()}});
  }
  return json;
}

Json CountJson(const std::optional<int>& count) {
  return count ? Json(*count) : Json("auto");
}

// A line for each response: Q2 with 0, 1, ... orthogonal components, and then the cumulative ones.
void WriteStageQ2(std::ostream& out, const OrthoResult& result) {
  CsvWriter writer(out);
  writer.Text("response");
  for (const char* title : {"q2_{}", "q2_cumulative_{}"}) {
    for (std::size_t n = 0; n < result.stages.size(); ++n) writer.Text(fmt::format(fmt::runtime(title), n));
  }
  writer.EndRow();
  for (std::size_t m = 0; m < result.y.names.size(); ++m) {
    writer.Text(result.y.names[m]);
    for (const OrthoStage& stage : result.stages) writer.Number(stage.q2->q2OfColumns[m]);
    for (const OrthoStage& stage : result.stages) writer.Number(stage.q2->q2OfColumnsCumulative[m]);
    writer.EndRow();
  }
}

}  // namespace

std::string OrthoText(const OrthoReport& report) {
  const OrthoResult& result = report.result;
  std::string text = RegressionHead(report.title, report.Common());
  text += "\n" + ComponentLines(result) + "\n" + StageLines(result);
  if (!result.stopped.empty()) {
    const std::size_t count = result.orthoComponents.size();
    text += fmt::format(
        "  {}: {}\n",
        count == 0 ? "no orthogonal component" : fmt::format("no more than {}", Counted(count, "orthogonal component")),
        result.stopped);
  }
  return text + "\n" + ResponseText(result) + ClassFitText(result.classes);
}

Json OrthoJson(const OrthoReport& report) {
  const OrthoResult& result = report.result;
  Json json = RegressionJsonHead(report.command, report.Common());
  json["components_requested"] = CountJson(report.settings.components);
  json["ortho_components_requested"] = CountJson(report.settings.ortho);
  json["stopped_because"] = result.stopped.empty() ? Json() : Json(result.stopped);
  json["components"] = ComponentsJson(result.components);
  json["ortho_components"] = ComponentsJson(result.orthoComponents);
  json["stages"] = StagesJson(result);
  json["responses"] = ResponseJson(result);
  if (!result.classes.empty()) json["classes"] = ClassFitJson(result.classes);
  return json;
}

void WriteOrthoTables(const OrthoReport& report, OutputDirectory& folder) {
  const OrthoResult& result = report.result;
  const auto write = [&](const char* name, const char* heading, const std::vector<std::string>& names,
                         const std::vector<NumberedColumns>& columns) {
    folder.Write(name, [&](std::ostream& out) { WriteNumberedColumns(out, heading, names, columns); });
  };
  const std::vector<OrthoComponent>& predictive = result.components;
  const std::vector<OrthoComponent>& ortho = result.orthoComponents;
  const char* const id = report.table.idName.c_str();
  const std::vector<std::string>& rows = report.table.rowIds;
  write("scores.csv", id, rows,
        {{"t", Each(predictive, &OrthoComponent::score)}, {"u", Each(predictive, &OrthoComponent::yScore)}});
  write("loadings.csv", "variable", result.x.names, {{"p", Each(predictive, &OrthoComponent::loading)}});
  write("weights.csv", "variable", result.x.names, {{"w", Each(predictive, &OrthoComponent::weight)}});
  write("y_weights.csv", "response", result.y.names,
        {{"c", Each(predictive, &OrthoComponent::yWeight)}, {"co", Each(ortho, &OrthoComponent::yWeight)}});
  write("ortho_scores.csv", id, rows, {{"to", Each(ortho, &OrthoComponent::score)}});
  write("ortho_loadings.csv", "variable", result.x.names, {{"po", Each(ortho, &OrthoComponent::loading)}});
  write("ortho_weights.csv", "variable", result.x.names, {{"wo", Each(ortho, &OrthoComponent::weight)}});
  WriteResponseTables(report.Common(), folder);
  if (result.cvGroups == 0) return;
  folder.Write("q2.csv", [&](std::ostream& out) { WriteStageQ2(out, result); });
}

}  // namespace tool
