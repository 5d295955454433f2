#include "tools/voran/fisher_report.h"

#include <numeric>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/command_run.h"
#include "tools/voran/csv_writer.h"
#include "tools/voran/number_text.h"
#include "tools/voran/text_table.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kLongestName = 20;
constexpr std::size_t kLinesShown = 30;
constexpr std::size_t kColumnsShown = 10;

long long Total(const CountTable& counts) {
  const auto sums = counts.RowSums();
  return std::accumulate(sums.begin(), sums.end(), 0LL);
}

std::string Corner(const FisherReport& report) {
  if (!report.settings.IsLong()) return report.table.idName;
  return TextOf(report.table, report.settings.rows).name;
}

// The headings, the lines and the sums of the table of counts as text, with names cut to `longest`.
std::vector<std::vector<std::string>> Cells(const FisherReport& report, std::size_t longest) {
  const CountTable& counts = report.counts;
  const auto rowSums = counts.RowSums();
  std::vector<std::vector<std::string>> cells = {{ShortName(Corner(report), longest)}};
  for (const std::string& name : counts.columns) cells.back().push_back(ShortName(name, longest));
  for (std::size_t i = 0; i < counts.rows.size(); ++i) {
    cells.push_back({ShortName(counts.rows[i], longest)});
    for (std::size_t j = 0; j < counts.columns.size(); ++j) cells.back().push_back(std::to_string(counts.At(i, j)));
  }
  cells.push_back({"(sum)"});
  for (const long long sum : counts.ColumnSums()) cells.back().push_back(std::to_string(sum));
  cells.front().emplace_back("(sum)");
  for (std::size_t i = 0; i < counts.rows.size(); ++i) cells[i + 1].push_back(std::to_string(rowSums[i]));
  cells.back().push_back(std::to_string(Total(counts)));
  return cells;
}

std::string CountLines(const FisherReport& report) {
  if (report.counts.rows.size() > kLinesShown || report.counts.columns.size() > kColumnsShown) {
    return "\n  the counts are too many to be shown; --json and --out give them\n";
  }
  const auto cells = Cells(report, kLongestName);
  TextTable table(cells.front());
  for (std::size_t i = 1; i < cells.size(); ++i) table.Row(cells[i]);
  return "\n" + table.Text();
}

// As in the option.
std::string SidednessName(Sta::SidedNess sidedness) {
  if (sidedness == Sta::SidedNess::kTwoSided) return "two-sided";
  return sidedness == Sta::SidedNess::kLess ? "less" : "greater";
}

}  // namespace

std::string MethodName(const FisherReport& report) {
  if (report.counts.IsTwoByTwo()) return SidednessName(report.settings.sidedness);
  return report.settings.isHybrid ? "hybrid" : "two-sided";
}

std::string FisherText(const FisherReport& report) {
  const CountTable& counts = report.counts;
  std::string text =
      fmt::format("Fisher's exact test of {}: {} x {}, {}\n", SourceText(report.table), counts.rows.size(),
                  counts.columns.size(), Counted(static_cast<std::size_t>(Total(counts)), "count"));
  if (counts.withoutName > 0) {
    text += fmt::format("  left out: {} with a gap for a name\n", Counted(counts.withoutName, "row"));
  }
  text += CountLines(report);
  text += fmt::format("\n  p {:.6g} ({})\n", report.p, MethodName(report));
  const auto odds = OddsRatio(counts);
  if (odds) text += fmt::format("  odds ratio {}\n", ShortNumber(*odds));
  return text;
}

Json FisherJson(const FisherReport& report) {
  const FisherSettings& settings = report.settings;
  const CountTable& counts = report.counts;
  const auto odds = OddsRatio(counts);
  Json json = JsonHead("fisher", report.table);
  json["sided"] = SidednessName(settings.sidedness);
  json["hybrid"] = settings.isHybrid && !counts.IsTwoByTwo();
  json["p"] = AsWritten(report.p);
  json["odds_ratio"] = odds ? Json(AsWritten(*odds)) : Json();
  json["total"] = Total(counts);
  json["left_out"] = counts.withoutName;
  json["row_names"] = counts.rows;
  json["column_names"] = counts.columns;
  json["counts"] = Json::array();
  for (std::size_t i = 0; i < counts.rows.size(); ++i) {
    Json line = Json::array();
    for (std::size_t j = 0; j < counts.columns.size(); ++j) line.push_back(counts.At(i, j));
    json["counts"].push_back(line);
  }
  json["row_sums"] = counts.RowSums();
  json["column_sums"] = counts.ColumnSums();
  return json;
}

void WriteFisherTables(const FisherReport& report, OutputDirectory& folder) {
  constexpr std::size_t kWhole = 1000000;
  folder.Write("fisher.csv", [&](std::ostream& out) {
    CsvWriter csv(out);
    for (const auto& line : Cells(report, kWhole)) {
      for (const std::string& cell : line) csv.Text(cell);
      csv.EndRow();
    }
  });
}

}  // namespace tool
