#include "tools/voran/histogram_report.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/command_run.h"
#include "tools/voran/csv_writer.h"
#include "tools/voran/gap_counts.h"
#include "tools/voran/number_text.h"
#include "tools/voran/text_table.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kColumnsWithBars = 4;
constexpr std::size_t kLongestBar = 50;

std::string ColumnLines(const HistogramReport& report) {
  TextTable lines({"column", "n", "gaps", "min", "max", "bins", "width"});
  for (const ColumnHistogram& column : report.columns) {
    lines.Row({ShortName(column.name), std::to_string(column.present), std::to_string(column.missing),
               ShortNumber(column.minimum), ShortNumber(column.maximum), std::to_string(column.bins.size()),
               ShortNumber(column.width)});
  }
  return "\n" + lines.Text();
}

std::string Aligned(const std::string& text, std::size_t width) {
  return std::string(width - std::min(width, text.size()), ' ') + text;
}

// One line a bin, with a bar behind the count.
std::string BarLines(const ColumnHistogram& column) {
  std::vector<std::string> edges;
  std::size_t edgeWidth = 2;
  for (const HistogramBin& bin : column.bins) {
    edges.push_back(EdgeText(column, bin.lower));
    edgeWidth = std::max(edgeWidth, edges.back().size());
  }
  const std::size_t highest = column.Highest();
  const std::size_t countWidth = std::max<std::size_t>(5, std::to_string(highest).size());
  std::string text = fmt::format("\n  {}\n  {}  {}\n", ShortName(column.name), Aligned("from", edgeWidth),
                                 Aligned("count", countWidth));
  for (std::size_t k = 0; k < column.bins.size(); ++k) {
    const std::size_t count = column.bins[k].rows.size();
    const std::size_t scaled = highest > kLongestBar ? (count * kLongestBar + highest - 1) / highest : count;
    text += fmt::format("  {}  {}{}{}\n", Aligned(edges[k], edgeWidth), Aligned(std::to_string(count), countWidth),
                        count == 0 ? "" : "  ", std::string(scaled, '#'));
  }
  return text;
}

Json BinsJson(const HistogramReport& report, const ColumnHistogram& column) {
  Json bins = Json::array();
  for (const HistogramBin& bin : column.bins) {
    Json rows = Json::array();
    for (const std::size_t row : bin.rows) rows.push_back(report.table.rowIds[row]);
    bins.push_back({{"lower", AsWritten(bin.lower)},
                    {"upper", AsWritten(bin.upper)},
                    {"centre", AsWritten(bin.centre)},
                    {"count", bin.rows.size()},
                    {"rows", std::move(rows)}});
  }
  return bins;
}

void WriteBins(std::ostream& out, const HistogramReport& report) {
  CsvWriter csv(out);
  for (const char* heading : {"variable", "bin", "lower", "upper", "centre", "count"}) csv.Text(heading);
  csv.EndRow();
  for (const ColumnHistogram& column : report.columns) {
    for (std::size_t k = 0; k < column.bins.size(); ++k) {
      const HistogramBin& bin = column.bins[k];
      csv.Row(column.name, std::vector<double>{static_cast<double>(k + 1), bin.lower, bin.upper, bin.centre,
                                               static_cast<double>(bin.rows.size())});
    }
  }
}

// Where the dot of each row lies: at the centre of its bin, and how many rows of the bin there are up to it.
void WriteDots(std::ostream& out, const HistogramReport& report) {
  CsvWriter csv(out);
  for (const std::string& heading : {std::string("variable"), report.table.idName, std::string("x"), std::string("y")})
    csv.Text(heading);
  csv.EndRow();
  for (const ColumnHistogram& column : report.columns) {
    for (const HistogramBin& bin : column.bins) {
      for (std::size_t i = 0; i < bin.rows.size(); ++i) {
        csv.Text(column.name);
        csv.Text(report.table.rowIds[bin.rows[i]]);
        csv.Number(bin.centre);
        csv.Number(static_cast<double>(i + 1));
        csv.EndRow();
      }
    }
  }
}

}  // namespace

std::string EdgeText(const ColumnHistogram& column, double edge) {
  constexpr int kDigitsShown = 4;    // by ShortNumber
  constexpr int kDigitsOfWidth = 2;  // a bin is as wide as one digit, or one and a half
  const double largest = std::max(std::abs(column.bins.front().lower), std::abs(column.bins.back().upper));
  const auto place = [](double number) { return static_cast<int>(std::floor(std::log10(number) + 1e-9)); };
  const int digits = place(largest) - place(column.width) + kDigitsOfWidth;
  return digits <= kDigitsShown ? ShortNumber(edge) : fmt::format("{:.{}g}", edge, digits);
}

std::string HistogramText(const HistogramReport& report) {
  std::string text =
      fmt::format("Histogram of {}: {}, {}, {}\n", SourceText(report.table), Counted(report.table.rowIds.size(), "row"),
                  Counted(report.columns.size(), "column"), GapText(CountGaps(report.table.x, report.table.rowIds)));
  text += ColumnLines(report);
  if (report.columns.size() > kColumnsWithBars) {
    return text +
           fmt::format("\n  the bins come with {} columns or fewer (--x chooses them), and with --json and --out\n",
                       kColumnsWithBars);
  }
  for (const ColumnHistogram& column : report.columns) {
    if (!column.bins.empty()) text += BarLines(column);
  }
  return text;
}

Json HistogramJson(const HistogramReport& report) {
  Json json = JsonHead("histogram", report.table);
  json["columns"] = report.columns.size();
  json["missing"] = GapJson(CountGaps(report.table.x, report.table.rowIds));
  json["variables"] = Json::array();
  for (const ColumnHistogram& column : report.columns) {
    json["variables"].push_back({{"name", column.name},
                                 {"present", column.present},
                                 {"missing", column.missing},
                                 {"minimum", AsWritten(column.minimum)},
                                 {"maximum", AsWritten(column.maximum)},
                                 {"width", AsWritten(column.width)},
                                 {"bins", BinsJson(report, column)}});
  }
  return json;
}

void WriteHistogramTables(const HistogramReport& report, OutputDirectory& folder) {
  folder.Write("histogram.csv", [&](std::ostream& out) { WriteBins(out, report); });
  if (report.withDots) folder.Write("dots.csv", [&](std::ostream& out) { WriteDots(out, report); });
}

}  // namespace tool
