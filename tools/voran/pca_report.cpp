#include "tools/voran/pca_report.h"

#include <algorithm>
#include <cmath>
#include <span>

#include <fmt/format.h>

#include "tools/voran/common_options.h"
#include "tools/voran/csv_writer.h"
#include "tools/voran/number_text.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kSchemaVersion = 1;
constexpr std::size_t kNamesShown = 8;

std::string Enumerate(const std::vector<std::string>& names) {
  const std::span shown = std::span(names).first(std::min(names.size(), kNamesShown));
  std::string list = fmt::format("{}", fmt::join(shown, ", "));
  if (names.size() > shown.size()) list += fmt::format(" and {} more", names.size() - shown.size());
  return list;
}

std::string DescribeGaps(const GapCounts& gaps) {
  if (gaps.cells == 0) return "no gaps";
  const auto counted = [](int count, const char* noun) { return Counted(static_cast<std::size_t>(count), noun); };
  return fmt::format("gaps in {}, {}, {}", counted(gaps.cells, "cell"), counted(gaps.rows, "row"),
                     counted(gaps.columns, "column"));
}

std::string DescribeDropped(const PcaResult& result) {
  std::vector<std::string> dropped;
  for (const auto& [name, reason] : result.dropped) dropped.push_back(fmt::format("{} ({})", name, reason));
  return Enumerate(dropped);
}

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
                                 ScalingName(report.settings.scaling), DescribeGaps(result.gaps));
  if (!result.dropped.empty()) text += fmt::format("  columns left out: {}\n", DescribeDropped(result));
  if (!result.gaps.emptyRows.empty()) {
    text += fmt::format("  rows without data, which get no score: {}\n", Enumerate(result.gaps.emptyRows));
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
  Json json;
  json["schema_version"] = kSchemaVersion;
  json["command"] = "pca";
  json["input"] = report.table.source;
  json["rows"] = report.table.rowIds.size();
  json["columns"] = result.variables.size();
  json["scaling"] = ScalingName(report.settings.scaling);
  json["missing"] = {{"cells", result.gaps.cells},
                     {"rows", result.gaps.rows},
                     {"columns", result.gaps.columns},
                     {"empty_rows", result.gaps.emptyRows}};
  json["dropped_columns"] = Json::array();
  for (const auto& [name, reason] : result.dropped) {
    json["dropped_columns"].push_back({{"name", name}, {"reason", reason}});
  }
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

namespace {

// One row a name, one column a component.
template <typename ValueOf>
void WriteByComponent(std::ostream& out, const std::string& heading, const std::vector<std::string>& names, char letter,
                      const std::vector<PcaComponent>& components, ValueOf valueOf) {
  CsvWriter csv(out);
  csv.Text(heading);
  for (std::size_t a = 1; a <= components.size(); ++a) csv.Text(letter + std::to_string(a));
  csv.EndRow();
  std::vector<double> values(components.size());
  for (std::size_t i = 0; i < names.size(); ++i) {
    std::transform(components.begin(), components.end(), values.begin(),
                   [&](const PcaComponent& c) { return valueOf(c)[i]; });
    csv.Row(names[i], values);
  }
}

}  // namespace

void WritePcaFiles(const PcaReport& report, OutputDirectory& folder) {
  const auto& components = report.result.components;
  folder.Write("scores.csv", [&](std::ostream& out) {
    WriteByComponent(out, report.table.idName, report.table.rowIds, 't', components,
                     [](const PcaComponent& c) -> const std::vector<double>& { return c.score; });
  });
  folder.Write("loadings.csv", [&](std::ostream& out) {
    WriteByComponent(out, "variable", report.result.variables, 'p', components,
                     [](const PcaComponent& c) -> const std::vector<double>& { return c.loading; });
  });
  folder.Write("summary.json", [&](std::ostream& out) { out << ToText(PcaJson(report)); });
}

}  // namespace tool
