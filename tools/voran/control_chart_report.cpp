#include "tools/voran/control_chart_report.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/command_run.h"
#include "tools/voran/csv_writer.h"
#include "tools/voran/number_text.h"
#include "tools/voran/text_table.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kPointsShown = 20;

std::string Statistics(ControlChart::ControlType type) {
  switch (type) {
    case ControlChart::kMeanRange:
      return "mean and range";
    case ControlChart::kMeanStdDev:
      return "mean and standard deviation";
    case ControlChart::kCuSum:
      return "cumulative sums";
    case ControlChart::kEWMA:
      return "moving average";
    default:
      return "mean";
  }
}

std::string SubgroupText(const ControlChartReport& report, std::size_t subgroup) {
  std::string first = ShortName(FirstRow(report, subgroup));
  if (report.settings.subgroup == 1) return first;
  return fmt::format("{} to {}", first, ShortName(LastRow(report, subgroup)));
}

std::string PanelLines(const ControlChartReport& report) {
  TextTable lines({"chart", "centre", "lower limit", "upper limit", "beyond"});
  for (const ChartPanel& panel : report.result.panels) {
    lines.Row({panel.name, ShortNumber(panel.centre), ShortNumber(panel.lower), ShortNumber(panel.upper),
               std::to_string(PointsBeyond(report.result, panel).size())});
  }
  return "\n" + lines.Text();
}

std::string PointLines(const ControlChartReport& report) {
  TextTable lines({"beyond a limit", "subgroup", "rows", "value"});
  std::size_t points = 0;
  for (const ChartPanel& panel : report.result.panels) {
    for (const ChartExcess& point : PointsBeyond(report.result, panel)) {
      if (++points > kPointsShown) continue;
      lines.Row({report.result.series[point.series].name, std::to_string(point.subgroup + 1),
                 SubgroupText(report, point.subgroup), ShortNumber(point.value)});
    }
  }
  if (points == 0) return {};
  const std::string more =
      points <= kPointsShown ? "" : fmt::format("  and {} more, which --json and --out give\n", points - kPointsShown);
  return "\n" + lines.Text() + more;
}

std::string FigureLine(const ControlChartReport& report) {
  const ControlChartResult& result = report.result;
  std::string line =
      fmt::format("  target {}{}, sigma {} ({})", ShortNumber(result.target), report.settings.target ? " (given)" : "",
                  ShortNumber(result.sigma), result.sigmaSource);
  if (report.settings.type == ControlChart::kCuSum) line += fmt::format(", dead band {}", ShortNumber(result.deadBand));
  if (report.settings.type == ControlChart::kEWMA) {
    line += fmt::format(", lambda {:.4f}{}{}", result.lambda, report.settings.lambda ? " (given)" : "",
                        report.settings.isPredictive ? ", predictive" : "");
  }
  return line + "\n";
}

Json PanelJson(const ControlChartReport& report, const ChartPanel& panel) {
  Json json = {{"chart", panel.name},
               {"centre", AsWritten(panel.centre)},
               {"lower_limit", AsWritten(panel.lower)},
               {"upper_limit", AsWritten(panel.upper)}};
  json["beyond"] = Json::array();
  for (const ChartExcess& point : PointsBeyond(report.result, panel)) {
    json["beyond"].push_back({{"series", report.result.series[point.series].name},
                              {"subgroup", point.subgroup + 1},
                              {"first", FirstRow(report, point.subgroup)},
                              {"last", LastRow(report, point.subgroup)},
                              {"value", AsWritten(point.value)}});
  }
  return json;
}

Json PointsJson(const ControlChartReport& report) {
  Json json = Json::array();
  for (std::size_t k = 0; k < report.result.Subgroups(); ++k) {
    Json point = {{"subgroup", k + 1}, {"first", FirstRow(report, k)}, {"last", LastRow(report, k)}};
    for (const ChartSeries& series : report.result.series) point[series.name] = AsWritten(series.values[k]);
    json.push_back(std::move(point));
  }
  return json;
}

// The names of the statistics that are beyond a limit, by subgroup.
std::vector<std::string> BeyondNames(const ControlChartResult& result) {
  std::vector<std::string> names(result.Subgroups());
  for (const ChartPanel& panel : result.panels) {
    for (const ChartExcess& point : PointsBeyond(result, panel)) {
      std::string& list = names[point.subgroup];
      list += (list.empty() ? "" : " ") + result.series[point.series].name;
    }
  }
  return names;
}

}  // namespace

std::string ControlTypeName(ControlChart::ControlType type) {
  switch (type) {
    case ControlChart::kMeanRange:
      return "range";
    case ControlChart::kMeanStdDev:
      return "stddev";
    case ControlChart::kCuSum:
      return "cusum";
    case ControlChart::kEWMA:
      return "ewma";
    default:
      return "individual";
  }
}

std::string FirstRow(const ControlChartReport& report, std::size_t subgroup) {
  return report.table.rowIds[subgroup * static_cast<std::size_t>(report.settings.subgroup)];
}

std::string LastRow(const ControlChartReport& report, std::size_t subgroup) {
  return report.table.rowIds[(subgroup + 1) * static_cast<std::size_t>(report.settings.subgroup) - 1];
}

std::string ChartTitle(const ControlChartReport& report) {
  const std::string column = ShortName(report.table.variables.front());
  const std::size_t count = report.result.Subgroups();
  const auto size = static_cast<std::size_t>(report.settings.subgroup);
  if (size == 1) {
    const bool isValues = report.settings.type == ControlChart::kIndividual;
    return fmt::format("{}, {} of {}", column, isValues ? "values" : Statistics(report.settings.type),
                       Counted(count, "row"));
  }
  return fmt::format("{}, {} of {} of {}", column, Statistics(report.settings.type), Counted(count, "subgroup"),
                     Counted(size, "row"));
}

std::string ControlChartText(const ControlChartReport& report) {
  const ControlChartResult& result = report.result;
  const std::string gaps = result.gaps == 0 ? "no gaps" : Counted(static_cast<std::size_t>(result.gaps), "gap");
  std::string text = fmt::format("Control chart of {}: {}, {}\n", SourceText(report.table), ChartTitle(report), gaps);
  text += FigureLine(report);
  if (report.reference != nullptr) text += fmt::format("  limits from {}\n", report.reference->source);
  for (const std::string& remark : result.remarks) text += fmt::format("  {}\n", remark);
  return text + PanelLines(report) + PointLines(report);
}

Json ControlChartJson(const ControlChartReport& report) {
  const ControlChartResult& result = report.result;
  const bool isEwma = report.settings.type == ControlChart::kEWMA;
  Json json = JsonHead("chart", report.table);
  json["column"] = report.table.variables.front();
  json["type"] = ControlTypeName(report.settings.type);
  json["subgroup"] = report.settings.subgroup;
  json["subgroups"] = result.Subgroups();
  json["rows_left_out"] = result.leftOver;
  json["missing"] = result.gaps;
  json["reference"] = report.reference == nullptr ? Json() : Json(report.reference->source);
  json["target"] = AsWritten(result.target);
  json["sigma"] = AsWritten(result.sigma);
  json["sigma_source"] = result.sigmaSource;
  json["standard_deviation"] = AsWritten(result.deviation);
  json["action_limit"] = AsWritten(result.actionLimit);
  json["dead_band"] = AsWritten(result.deadBand);
  json["lambda"] = AsWritten(result.lambda);
  json["predictive"] = isEwma ? Json(report.settings.isPredictive) : Json();
  json["remarks"] = result.remarks;
  json["charts"] = Json::array();
  for (const ChartPanel& panel : result.panels) json["charts"].push_back(PanelJson(report, panel));
  json["points"] = PointsJson(report);
  return json;
}

void WriteControlChartTables(const ControlChartReport& report, OutputDirectory& folder) {
  folder.Write("chart.csv", [&](std::ostream& out) {
    const std::vector<std::string> beyond = BeyondNames(report.result);
    CsvWriter csv(out);
    for (const char* heading : {"subgroup", "first", "last"}) csv.Text(heading);
    for (const ChartSeries& series : report.result.series) csv.Text(series.name);
    csv.Text("beyond");
    csv.EndRow();
    for (std::size_t k = 0; k < report.result.Subgroups(); ++k) {
      csv.Text(std::to_string(k + 1));
      csv.Text(FirstRow(report, k));
      csv.Text(LastRow(report, k));
      for (const ChartSeries& series : report.result.series) csv.Number(series.values[k]);
      csv.Text(beyond[k]);
      csv.EndRow();
    }
  });
}

}  // namespace tool
