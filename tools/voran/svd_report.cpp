#include "tools/voran/svd_report.h"

#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/command_run.h"
#include "tools/voran/csv_writer.h"
#include "tools/voran/number_text.h"
#include "tools/voran/text_table.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kValuesShown = 20;

std::string ValueLines(const SvdResult& result) {
  TextTable lines({"", "singular value", "R2X", "R2X(cum)"});
  const std::size_t shown = std::min(result.triples.size(), kValuesShown);
  for (std::size_t k = 0; k < shown; ++k) {
    const SingularTriple& triple = result.triples[k];
    lines.Row({std::to_string(k + 1), fmt::format("{:#.6g}", triple.value), fmt::format("{:.4f}", triple.r2x),
               fmt::format("{:.4f}", triple.r2xCumulative)});
  }
  const std::size_t rest = result.triples.size() - shown;
  return lines.Text() + (rest == 0 ? "" : fmt::format("  and {} more, which --json and --out give\n", rest));
}

}  // namespace

std::string SvdText(const SvdReport& report) {
  const SvdResult& result = report.result;
  std::string text =
      fmt::format("SVD of {}: {}, {}, scaling {}\n", report.table.source, Counted(report.table.rowIds.size(), "row"),
                  Counted(result.variables.size(), "column"), ScalingName(report.settings.scaling));
  if (!result.dropped.empty()) text += fmt::format("  columns left out: {}\n", DroppedText(result.dropped));
  text += fmt::format("  rank {} of {}, condition number {}", result.rank, result.triples.size(),
                      result.conditionNumber ? fmt::format("{:.5g}", *result.conditionNumber) : "-");
  if (report.table.rowIds.size() == result.variables.size()) {
    text += fmt::format(", log10 of the determinant {}",
                        result.log10Determinant ? fmt::format("{:.5g}", *result.log10Determinant) : "-");
  }
  return text + "\n\n" + ValueLines(result);
}

Json SvdJson(const SvdReport& report) {
  const SvdResult& result = report.result;
  Json json = JsonHead("svd", report.table);
  json["columns"] = result.variables.size();
  json["scaling"] = ScalingName(report.settings.scaling);
  json["dropped_columns"] = DroppedJson(result.dropped);
  json["rank"] = result.rank;
  json["condition_number"] = result.conditionNumber ? Json(AsWritten(*result.conditionNumber)) : Json();
  json["log10_determinant"] = result.log10Determinant ? Json(AsWritten(*result.log10Determinant)) : Json();
  json["components"] = Json::array();
  for (const SingularTriple& triple : result.triples) {
    json["components"].push_back({{"component", json["components"].size() + 1},
                                  {"singular_value", AsWritten(triple.value)},
                                  {"r2x", triple.r2x},
                                  {"r2x_cumulative", triple.r2xCumulative}});
  }
  return json;
}

void WriteSvdTables(const SvdReport& report, OutputDirectory& folder) {
  const std::vector<SingularTriple>& triples = report.result.triples;
  folder.Write("singular_values.csv", [&](std::ostream& out) {
    CsvWriter csv(out);
    for (const char* heading : {"component", "singular_value", "r2x", "r2x_cumulative"}) csv.Text(heading);
    csv.EndRow();
    int k = 0;
    for (const SingularTriple& triple : triples) {
      csv.Row(std::to_string(++k), std::vector<double>{triple.value, triple.r2x, triple.r2xCumulative});
    }
  });
  folder.Write("u.csv", [&](std::ostream& out) {
    WriteNumberedColumns(out, report.table.idName, report.table.rowIds, {{"u", Each(triples, &SingularTriple::left)}});
  });
  folder.Write("v.csv", [&](std::ostream& out) {
    WriteNumberedColumns(out, "variable", report.result.variables, {{"v", Each(triples, &SingularTriple::right)}});
  });
}

}  // namespace tool
