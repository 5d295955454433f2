#include "tools/voran/pls_report.h"

#include <algorithm>
#include <functional>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/class_report.h"
#include "tools/voran/csv_writer.h"
#include "tools/voran/number_text.h"
#include "tools/voran/regression_report.h"
#include "tools/voran/text_table.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

// Q2 of each response and component; nothing where there is no more to say than above.
std::string ResponseQ2Lines(const PlsResult& result) {
  constexpr std::size_t kMostShown = 10;
  if (result.cvGroups == 0 || result.responses.size() < 2) return {};
  const std::size_t shown = std::min(result.components.size(), kMostShown);
  std::vector<std::string> headings = {"Q2 by component"};
  for (std::size_t a = 1; a <= shown; ++a) headings.push_back(std::to_string(a));
  TextTable table(headings);
  for (std::size_t m = 0; m < result.responses.size(); ++m) {
    std::vector<std::string> cells = {ShortName(result.y.names[m])};
    for (std::size_t a = 0; a < shown; ++a) {
      cells.push_back(fmt::format("{:.4f}", result.components[a].q2->q2OfColumns[m]));
    }
    table.Row(std::move(cells));
  }
  return "\n" + table.Text();
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

}  // namespace

std::string PlsText(const PlsReport& report) {
  const PlsResult& result = report.result;
  std::string text = RegressionHead("PLS", report.Common());
  text += "\n" + ComponentText(FiguresOf(result.components));
  if (!result.stopped.empty()) {
    text += fmt::format("  no more than {}: {}\n", Counted(result.components.size(), "component"), result.stopped);
  }
  return text + "\n" + ResponseText(result) + ResponseQ2Lines(result) + ClassFitText(result.classes);
}

Json PlsJson(const PlsReport& report) {
  const PlsResult& result = report.result;
  Json json = RegressionJsonHead("pls", report.Common());
  json["components_requested"] = report.settings.IsAuto() ? Json("auto") : Json(*report.settings.components);
  json["stopped_because"] = result.stopped.empty() ? Json() : Json(result.stopped);
  json["components"] = AddPerResponse(ComponentJson(FiguresOf(result.components)), result);
  json["responses"] = ResponseJson(result);
  if (!result.classes.empty()) json["classes"] = ClassFitJson(result.classes);
  return json;
}

void WritePlsTables(const PlsReport& report, OutputDirectory& folder) {
  const PlsResult& result = report.result;
  const auto& components = result.components;
  const auto write = [&](const char* name, const std::function<void(std::ostream&)>& fill) {
    folder.Write(name, fill);
  };
  write("scores.csv", [&](std::ostream& out) {
    WriteNumberedColumns(
        out, report.table.idName, report.table.rowIds,
        {{"t", Each(components, &PlsComponent::score)}, {"u", Each(components, &PlsComponent::yScore)}});
  });
  write("loadings.csv", [&](std::ostream& out) {
    WriteNumberedColumns(out, "variable", result.x.names, {{"p", Each(components, &PlsComponent::loading)}});
  });
  write("weights.csv", [&](std::ostream& out) {
    WriteNumberedColumns(out, "variable", result.x.names, {{"w", Each(components, &PlsComponent::weight)}});
  });
  write("y_weights.csv", [&](std::ostream& out) {
    WriteNumberedColumns(out, "response", result.y.names, {{"c", Each(components, &PlsComponent::yWeight)}});
  });
  WriteResponseTables(report.Common(), folder);
  if (result.cvGroups == 0) return;
  write("q2.csv", [&](std::ostream& out) { WriteQ2(out, "response", result.y.names, FiguresOf(components)); });
}

}  // namespace tool
