#include "tools/voran/o2pls_report.h"

#include <cstddef>
#include <optional>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/class_report.h"
#include "tools/voran/component_figures.h"
#include "tools/voran/number_text.h"
#include "tools/voran/regression_report.h"
#include "tools/voran/text_table.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

RegressionReport Common(const O2plsReport& report) {
  return {report.table, report.settings, report.result};
}

O2plsCounts CountsOf(const O2plsResult& result) {
  return {static_cast<int>(result.xBlock.joint.size()), static_cast<int>(result.xBlock.orthogonal.size()),
          static_cast<int>(result.yBlock.orthogonal.size())};
}

// "2 joint components, 1 orthogonal component of X, none of Y"
std::string CountsText(const O2plsCounts& counts) {
  const auto orthogonal = [](int count, const char* block) {
    return fmt::format("{} of {}", Counted(static_cast<std::size_t>(count), "orthogonal component"), block);
  };
  return fmt::format("{}, {}, {}", Counted(static_cast<std::size_t>(counts.joint), "joint component"),
                     orthogonal(counts.xOrthogonal, "X"), orthogonal(counts.yOrthogonal, "Y"));
}

std::string FilledLine(const char* block, const FilledGaps& filled) {
  return filled.cells == 0 ? "" : fmt::format("  {}: {}\n", block, filled.Text());
}

// What a line of the table of components says; nothing where it has nothing to say.
struct ComponentLine {
  std::string name;
  std::optional<double> r2x = {};
  std::optional<double> r2y = {};
  std::optional<double> correlation = {};
  std::optional<double> q2x = {};
  std::optional<double> q2y = {};
  std::string verdict = "-";
};

void AddVerdict(const std::vector<O2plsVerdict>& verdicts, std::size_t a, std::optional<double> ComponentLine::*q2,
                ComponentLine& line) {
  line.*q2 = verdicts[a].q2Cumulative;
  line.verdict = SignificanceE::GetSignificance(verdicts[a].verdict);
}

std::vector<ComponentLine> Lines(const O2plsResult& result) {
  std::vector<ComponentLine> lines;
  const O2plsBlock& x = result.xBlock;
  const O2plsBlock& y = result.yBlock;
  for (std::size_t a = 0; a < x.joint.size(); ++a) {
    lines.push_back(
        {fmt::format("joint {}", a + 1), x.joint[a].r2, y.joint[a].r2, ScoreCorrelation(x.joint[a], y.joint[a])});
    if (result.cv) AddVerdict(result.cv->joint, a, &ComponentLine::q2y, lines.back());
  }
  for (std::size_t j = 0; j < x.orthogonal.size(); ++j) {
    lines.push_back({fmt::format("orthogonal X {}", j + 1), x.orthogonal[j].r2});
    if (result.cv) AddVerdict(result.cv->xOrthogonal, j, &ComponentLine::q2y, lines.back());
  }
  for (std::size_t j = 0; j < y.orthogonal.size(); ++j) {
    lines.push_back({fmt::format("orthogonal Y {}", j + 1), {}, y.orthogonal[j].r2});
    if (result.cv) AddVerdict(result.cv->yOrthogonal, j, &ComponentLine::q2x, lines.back());
  }
  return lines;
}

std::string ShareOrNone(const std::optional<double>& share) {
  return share ? ShareText(*share) : "-";
}

std::string ComponentLines(const O2plsResult& result) {
  const bool hasQ2X = result.cv && !result.yBlock.orthogonal.empty();
  std::vector<std::string> headings = {"component", "R2X", "R2Y", "corr(t,u)"};
  if (result.cv) headings.emplace_back("Q2Y(cum)");
  if (hasQ2X) headings.emplace_back("Q2X(cum)");
  if (result.cv) headings.emplace_back("signif.");
  TextTable table(headings);
  for (const ComponentLine& line : Lines(result)) {
    std::vector<std::string> cells = {line.name, ShareOrNone(line.r2x), ShareOrNone(line.r2y),
                                      ShareOrNone(line.correlation)};
    if (result.cv) cells.push_back(ShareOrNone(line.q2y));
    if (hasQ2X) cells.push_back(ShareOrNone(line.q2x));
    if (result.cv) cells.push_back(line.verdict);
    table.Row(std::move(cells));
  }
  return table.Text();
}

std::string BlockLines(const O2plsResult& result) {
  TextTable table({"share of", "X", "Y"});
  const auto row = [&](const char* name, auto share) {
    table.Row({name, ShareText(share(result.xBlock)), ShareText(share(result.yBlock))});
  };
  row("joint", [](const O2plsBlock& b) { return b.r2Joint; });
  row("orthogonal", [](const O2plsBlock& b) { return b.r2Orthogonal; });
  row("residual", [](const O2plsBlock& b) { return b.R2Residual(); });
  row("predicted (R2)", [](const O2plsBlock& b) { return b.r2Predicted; });
  if (result.cv) table.Row({"predicted (Q2)", ShareText(result.cv->q2X), ShareText(result.cv->q2Y)});
  return table.Text();
}

Json VerdictJson(const std::vector<O2plsVerdict>* verdicts, std::size_t a, const char* key, Json component) {
  component[key] = verdicts != nullptr ? NumberOrNull(AsWritten((*verdicts)[a].q2Cumulative)) : Json();
  component["significance"] =
      verdicts != nullptr ? Json(SignificanceE::GetSignificance((*verdicts)[a].verdict)) : Json();
  return component;
}

Json JointJson(const O2plsResult& result) {
  Json json = Json::array();
  const O2plsBlock& x = result.xBlock;
  const O2plsBlock& y = result.yBlock;
  for (std::size_t a = 0; a < x.joint.size(); ++a) {
    json.push_back(VerdictJson(result.cv ? &result.cv->joint : nullptr, a, "q2_cumulative",
                               {{"component", a + 1},
                                {"r2x", NumberOrNull(x.joint[a].r2)},
                                {"eigenvalue", NumberOrNull(x.joint[a].eigenvalue)},
                                {"r2y", NumberOrNull(y.joint[a].r2)},
                                {"y_eigenvalue", NumberOrNull(y.joint[a].eigenvalue)},
                                {"correlation", NumberOrNull(ScoreCorrelation(x.joint[a], y.joint[a]))}}));
  }
  return json;
}

Json OrthogonalJson(const O2plsBlock& block, const char* r2, const std::vector<O2plsVerdict>* verdicts,
                    const char* q2) {
  Json json = Json::array();
  for (std::size_t j = 0; j < block.orthogonal.size(); ++j) {
    json.push_back(VerdictJson(verdicts, j, q2,
                               {{"component", j + 1},
                                {r2, NumberOrNull(block.orthogonal[j].r2)},
                                {"eigenvalue", NumberOrNull(block.orthogonal[j].eigenvalue)}}));
  }
  return json;
}

Json BlockJson(const O2plsBlock& block, const std::optional<double>& q2) {
  Json inner = Json::array();
  for (const NCDataVector<float>& row : block.inner) {
    inner.push_back(Json::array());
    for (const float value : row) inner.back().push_back(NumberOrNull(AsWritten(static_cast<double>(value))));
  }
  return {{"r2_joint", NumberOrNull(block.r2Joint)},
          {"r2_orthogonal", NumberOrNull(block.r2Orthogonal)},
          {"r2_residual", NumberOrNull(block.R2Residual())},
          {"r2_predicted", NumberOrNull(block.r2Predicted)},
          {"q2", q2 ? NumberOrNull(*q2) : Json()},
          {"inner_relation", std::move(inner)},
          {"filled_cells", block.filled.cells},
          {"filled_with_components", block.filled.cells > 0 ? Json(block.filled.components) : Json()}};
}

}  // namespace

std::string O2plsText(const O2plsReport& report) {
  const O2plsResult& result = report.result;
  std::string text = RegressionHead("O2PLS", Common(report));
  text += FilledLine("variables", result.xBlock.filled) + FilledLine("responses", result.yBlock.filled);
  text += fmt::format("  {}{}\n", CountsText(CountsOf(result)),
                      report.settings.counts ? "" : ", as cross-validation chose");
  if (result.cv && !(result.cv->q2Y > 0.0)) {
    text += "  Y is predicted no better than without a model: its Q2 is not above 0\n";
  }
  text += "\n";
  return text + ComponentLines(result) + "\n" + BlockLines(result) + "\n" + ResponseText(result) +
         ClassFitText(result.classes);
}

Json O2plsJson(const O2plsReport& report) {
  const O2plsResult& result = report.result;
  const std::optional<O2plsCv>& cv = result.cv;
  Json json = RegressionJsonHead("o2pls", Common(report));
  const auto requested = [&](int O2plsCounts::*count) {
    return report.settings.counts ? Json((*report.settings.counts).*count) : Json("auto");
  };
  json["components_requested"] = requested(&O2plsCounts::joint);
  json["ortho_components_requested"] = requested(&O2plsCounts::xOrthogonal);
  json["y_ortho_components_requested"] = requested(&O2plsCounts::yOrthogonal);
  json["components"] = JointJson(result);
  json["ortho_components"] = OrthogonalJson(result.xBlock, "r2x", cv ? &cv->xOrthogonal : nullptr, "q2_cumulative");
  json["y_ortho_components"] = OrthogonalJson(result.yBlock, "r2y", cv ? &cv->yOrthogonal : nullptr, "q2x_cumulative");
  json["x"] = BlockJson(result.xBlock, cv ? std::optional(cv->q2X) : std::nullopt);
  json["y"] = BlockJson(result.yBlock, cv ? std::optional(cv->q2Y) : std::nullopt);
  json["responses"] = ResponseJson(result);
  if (!result.classes.empty()) json["classes"] = ClassFitJson(result.classes);
  return json;
}

}  // namespace tool
