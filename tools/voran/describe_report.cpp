#include "tools/voran/describe_report.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/command_run.h"
#include "tools/voran/csv_writer.h"
#include "tools/voran/number_text.h"
#include "tools/voran/text_table.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kNameWidth = 16;

/// Three decimals, for numbers without a unit.
std::string PureNumber(double value) {
  return std::isnan(value) ? "-" : fmt::format("{:.3f}", value);
}

struct Statistic {
  const char* key;
  const char* heading;  // on the terminal
  double ColumnSummary::*value;
  std::string (*text)(double value);
};

constexpr Statistic kStatistics[] = {
    {"mean", "mean", &ColumnSummary::mean, ShortNumber},
    {"standard_deviation", "std dev", &ColumnSummary::deviation, ShortNumber},
    {"minimum", "min", &ColumnSummary::minimum, ShortNumber},
    {"lower_quartile", "lower q", &ColumnSummary::lowerQuartile, ShortNumber},
    {"median", "median", &ColumnSummary::median, ShortNumber},
    {"upper_quartile", "upper q", &ColumnSummary::upperQuartile, ShortNumber},
    {"maximum", "max", &ColumnSummary::maximum, ShortNumber},
    {"skewness", "skew", &ColumnSummary::skewness, PureNumber},
    {"skewness_test", "test", &ColumnSummary::skewnessTest, PureNumber},
    {"kurtosis", "kurt", &ColumnSummary::kurtosis, PureNumber},
};

double Lower(const ColumnSummary& column) {
  return column.limits ? column.limits->low.value_or(ColumnSummary::kNone) : ColumnSummary::kNone;
}
double Upper(const ColumnSummary& column) {
  return column.limits ? column.limits->high.value_or(ColumnSummary::kNone) : ColumnSummary::kNone;
}

std::string StatisticsText(const DescribeReport& report) {
  const bool hasGaps = report.gaps.cells != 0;
  std::vector<std::string> headings = {"column"};
  if (hasGaps) headings.insert(headings.end(), {"n", "gaps"});
  for (const Statistic& statistic : kStatistics) headings.emplace_back(statistic.heading);
  TextTable lines(headings);
  for (std::size_t c = 0; c < report.columns.size(); ++c) {
    const ColumnSummary& column = report.columns[c];
    std::vector<std::string> cells = {ShortName(report.table.variables[c], kNameWidth)};
    if (hasGaps) cells.insert(cells.end(), {std::to_string(column.present), std::to_string(column.missing)});
    for (const Statistic& statistic : kStatistics) cells.push_back(statistic.text(column.*statistic.value));
    lines.Row(cells);
  }
  return lines.Text();
}

std::string CapabilityText(const DescribeReport& report) {
  TextTable lines({"column", "lower limit", "upper limit", "Cp", "Cpk"});
  for (std::size_t c = 0; c < report.columns.size(); ++c) {
    const ColumnSummary& column = report.columns[c];
    if (!column.limits) continue;
    lines.Row({ShortName(report.table.variables[c], kNameWidth), ShortNumber(Lower(column)), ShortNumber(Upper(column)),
               PureNumber(column.cp), PureNumber(column.cpk)});
  }
  return lines.Text();
}

}  // namespace

std::string DescribeText(const DescribeReport& report) {
  std::string text =
      fmt::format("Columns of {}: {}, {}, {}\n\n", report.table.source, Counted(report.table.rowIds.size(), "row"),
                  Counted(report.columns.size(), "column"), GapText(report.gaps));
  text += StatisticsText(report);
  const bool hasLimits =
      std::any_of(report.columns.begin(), report.columns.end(), [](const auto& c) { return c.limits.has_value(); });
  if (hasLimits) text += "\n" + CapabilityText(report);
  return text;
}

Json DescribeJson(const DescribeReport& report) {
  Json json = JsonHead("describe", report.table);
  json["columns"] = report.columns.size();
  json["missing"] = GapJson(report.gaps);
  json["variables"] = Json::array();
  for (std::size_t c = 0; c < report.columns.size(); ++c) {
    const ColumnSummary& column = report.columns[c];
    Json entry = {{"name", report.table.variables[c]}, {"present", column.present}, {"missing", column.missing}};
    for (const Statistic& statistic : kStatistics) entry[statistic.key] = AsWritten(column.*statistic.value);
    entry["lower_limit"] = Lower(column);
    entry["upper_limit"] = Upper(column);
    entry["cp"] = AsWritten(column.cp);
    entry["cpk"] = AsWritten(column.cpk);
    json["variables"].push_back(entry);
  }
  return json;
}

void WriteDescribeTables(const DescribeReport& report, OutputDirectory& folder) {
  folder.Write("columns.csv", [&](std::ostream& out) {
    CsvWriter csv(out);
    for (const char* heading : {"variable", "present", "missing"}) csv.Text(heading);
    for (const Statistic& statistic : kStatistics) csv.Text(statistic.key);
    for (const char* heading : {"lower_limit", "upper_limit", "cp", "cpk"}) csv.Text(heading);
    csv.EndRow();
    for (std::size_t c = 0; c < report.columns.size(); ++c) {
      const ColumnSummary& column = report.columns[c];
      std::vector<double> numbers = {static_cast<double>(column.present), static_cast<double>(column.missing)};
      for (const Statistic& statistic : kStatistics) numbers.push_back(column.*statistic.value);
      numbers.insert(numbers.end(), {Lower(column), Upper(column), column.cp, column.cpk});
      csv.Row(report.table.variables[c], numbers);
    }
  });
}

}  // namespace tool
