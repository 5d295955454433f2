#include "tools/voran/component_figures.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/csv_writer.h"
#include "tools/voran/number_text.h"
#include "tools/voran/text_table.h"

namespace tool {

using Json = nlohmann::ordered_json;

std::string ShareText(double share) {
  constexpr double kRoundedToZero = 0.00005;
  if (std::abs(share) < kRoundedToZero) share = 0.0;  // without a sign
  return std::isnan(share) ? "-" : fmt::format("{:.4f}", share);
}

std::string ComponentText(const std::vector<ComponentFigures>& components) {
  const bool hasResponses = !components.empty() && components.front().r2y.has_value();
  const bool isCrossValidated = !components.empty() && components.front().q2.has_value();
  std::vector<std::string> headings = {"component", "R2X", "R2X(cum)"};
  if (hasResponses) headings.insert(headings.end(), {"R2Y", "R2Y(cum)"});
  if (isCrossValidated) headings.insert(headings.end(), {"Q2", "Q2(cum)", "limit", "signif."});
  headings.insert(headings.end(), {"eigenvalue", "iterations"});
  TextTable table(headings);
  for (const ComponentFigures& c : components) {
    std::vector<std::string> cells = {fmt::format("{}", &c - &components.front() + 1), ShareText(c.r2x),
                                      ShareText(c.r2xCumulative)};
    if (hasResponses) cells.insert(cells.end(), {ShareText(*c.r2y), ShareText(*c.r2yCumulative)});
    if (isCrossValidated) {
      cells.insert(cells.end(), {ShareText(c.q2->q2), ShareText(c.q2->q2Cumulative), ShareText(c.q2->limit),
                                 SignificanceE::GetSignificance(c.q2->verdict)});
    }
    cells.push_back(std::isnan(c.eigenvalue) ? "-" : fmt::format("{:#.5g}", c.eigenvalue));
    cells.push_back(fmt::format("{}{}", c.iterations, c.converged ? "" : " *"));
    table.Row(std::move(cells));
  }
  std::string text = table.Text();
  if (std::any_of(components.begin(), components.end(), [](const auto& c) { return !c.converged; })) {
    text += "  * stopped at the iteration limit before it converged; --max-iterations raises the limit\n";
  }
  return text;
}

void WriteQ2(std::ostream& out, const std::string& heading, const std::vector<std::string>& names,
             const std::vector<ComponentFigures>& components) {
  CsvWriter writer(out);
  writer.Text(heading);
  for (const char* title : {"q2_{}", "q2_cumulative_{}"}) {
    for (std::size_t a = 1; a <= components.size(); ++a) writer.Text(fmt::format(fmt::runtime(title), a));
  }
  writer.EndRow();
  for (std::size_t c = 0; c < names.size(); ++c) {
    writer.Text(names[c]);
    for (const ComponentFigures& component : components) writer.Number(component.q2->q2OfColumns[c]);
    for (const ComponentFigures& component : components) writer.Number(component.q2->q2OfColumnsCumulative[c]);
    writer.EndRow();
  }
}

Json NumberOrNull(double value) {
  return std::isnan(value) ? Json() : Json(value);
}

Json ComponentJson(const std::vector<ComponentFigures>& components) {
  Json json = Json::array();
  for (const ComponentFigures& c : components) {
    Json object = {{"component", json.size() + 1},
                   {"r2x", NumberOrNull(c.r2x)},
                   {"r2x_cumulative", NumberOrNull(c.r2xCumulative)},
                   {"eigenvalue", NumberOrNull(c.eigenvalue)}};
    if (c.r2y) {
      object["r2y"] = NumberOrNull(*c.r2y);
      object["r2y_cumulative"] = NumberOrNull(*c.r2yCumulative);
    }
    object["q2"] = c.q2 ? NumberOrNull(AsWritten(c.q2->q2)) : Json();
    object["q2_cumulative"] = c.q2 ? NumberOrNull(AsWritten(c.q2->q2Cumulative)) : Json();
    object["q2_limit"] = c.q2 ? NumberOrNull(AsWritten(c.q2->limit)) : Json();
    object["significance"] = c.q2 ? Json(SignificanceE::GetSignificance(c.q2->verdict)) : Json();
    object["iterations"] = c.iterations;
    object["converged"] = c.converged;
    json.push_back(std::move(object));
  }
  return json;
}

}  // namespace tool
