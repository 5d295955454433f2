#include "tools/voran/control_chart_fit.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "voran/statistics/relative_tolerance.h"

namespace tool {
namespace {

constexpr double kNone = ControlChartResult::kNone;
constexpr int kLargestSubgroup = 25;  // that the library has constants for; the smallest is 2

// The library's mark for what it does not have.
double Known(double value) {
  return value == static_cast<double>(kGap) ? kNone : value;
}

std::vector<double> Known(const NCDataVector<float>& values) {
  std::vector<double> known;
  known.reserve(static_cast<std::size_t>(values.Size()));
  for (const float value : values) known.push_back(Known(static_cast<double>(value)));
  return known;
}

NCDataVector<float> OnlyColumn(const Table& table) {
  if (table.variables.size() == 1) return table.x.GetColumn(1);
  throw WrongUse(fmt::format("{}: {} could be charted; name one of them by --x: {}", table.source,
                             Counted(table.variables.size(), "column"), Enumerated(table.variables)));
}

void RefuseSubgroups(const Table& table, int subgroup) {
  const std::size_t rows = table.rowIds.size();
  if (static_cast<std::size_t>(subgroup) <= rows) return;
  throw WrongUse(
      fmt::format("--subgroup: {} of {} make no subgroup of {}", Counted(rows, "row"), table.source, subgroup));
}

ControlChart MakeChart(const Table& table, const ControlChartSettings& settings) {
  const NCDataVector<float> values = OnlyColumn(table);
  RefuseSubgroups(table, settings.subgroup);
  ControlChart chart(settings.type, values, settings.subgroup,
                     settings.isPredictive ? ControlChart::kPredictive : ControlChart::kFilter);
  const NCDataVector<float> means = chart.GetMeanVector();
  if (means.GetNumMisVal() < means.Size()) return chart;
  throw BadData(fmt::format("{}: column {} holds no value in any full subgroup; there is nothing to chart",
                            table.source, Quoted(table.variables.front())));
}

void Set(ControlChart& chart, const ControlChartSettings& settings) {
  if (settings.target) chart.SetTarget(*settings.target);
  if (settings.sigma) chart.SetStdDevSubgroup(*settings.sigma);
  if (settings.lambda) chart.SetEWMALambda(*settings.lambda);
}

// What the charts of every type have: the means, their target, and sigma with its source.
ControlChartResult Begin(const ControlChart& chart) {
  ControlChartResult result;
  result.target = Known(chart.GetTarget());
  result.deviation = Known(chart.GetStdDevIndividual());
  result.sigma = Known(chart.GetStdDevProcess());
  result.series = {{"mean", Known(chart.GetMeanVector())}};
  return result;
}

std::string SigmaSource(const ControlChartSettings& settings) {
  if (settings.sigma) return "given";
  switch (settings.type) {
    case ControlChart::kMeanRange:
      return "mean range / d2";
    case ControlChart::kMeanStdDev:
      return "mean standard deviation / c4";
    case ControlChart::kCuSum:
    case ControlChart::kEWMA:
      if (settings.subgroup > 1) return "of the means, by their successive differences";
      [[fallthrough]];
    default:
      return "standard deviation of all values";
  }
}

void AddIndividual(const ControlChartSettings& settings, ControlChartResult& result) {
  constexpr double kLimitsInSigma = 3.0;
  if (std::isnan(result.sigma)) result.sigma = result.deviation;
  const double reach = kLimitsInSigma * result.sigma / std::sqrt(settings.subgroup);
  result.panels = {{"mean", {0}, result.target, result.target - reach, result.target + reach}};
}

void AddSpread(const ControlChart& chart, ControlChartResult& result) {
  result.panels = {{"mean", {0}, result.target, Known(chart.GetMeanLCL()), Known(chart.GetMeanUCL())}};
  if (chart.GetControlType() == ControlChart::kMeanRange) {
    result.series.push_back({"range", Known(chart.GetRangeVector())});
    result.panels.push_back(
        {"range", {1}, Known(chart.GetRangeMean()), Known(chart.GetRangeLCL()), Known(chart.GetRangeUCL())});
  } else {
    result.series.push_back({"std_dev", Known(chart.GetStdDevVector())});
    result.panels.push_back(
        {"std_dev", {1}, Known(chart.GetStdDevMean()), Known(chart.GetStdDevLCL()), Known(chart.GetStdDevUCL())});
  }
}

void AddCuSum(const ControlChart& chart, ControlChartResult& result) {
  result.series.push_back({"cusum_high", Known(chart.GetHighCuSum())});
  result.series.push_back({"cusum_low", Known(chart.GetLowCuSum())});
  result.actionLimit = Known(chart.GetActionLimit());
  result.deadBand = Known(chart.GetDeadBand());
  result.panels = {{"cusum", {1, 2}, 0.0, kNone, result.actionLimit}};
}

void AddEwma(const ControlChart& chart, ControlChartResult& result) {
  result.lambda = chart.GetEWMALambda();
  result.series.push_back({"ewma", Known(chart.GetEWMA())});
  result.panels = {{"ewma", {1}, result.target, Known(chart.GetEWMALCL()), Known(chart.GetEWMAUCL())}};
}

bool HasLimits(const ChartPanel& panel) {
  return !std::isnan(panel.lower) || !std::isnan(panel.upper);
}

void AddRemarks(const ControlChartSettings& settings, ControlChartResult& result) {
  if (result.leftOver > 0) {
    result.remarks.push_back(fmt::format("{} at the end, less than a subgroup, {} left out",
                                         Counted(result.leftOver, "row"), result.leftOver == 1 ? "is" : "are"));
  }
  const bool hasAll = std::all_of(result.panels.begin(), result.panels.end(), HasLimits);
  const bool isSpread = settings.type == ControlChart::kMeanRange || settings.type == ControlChart::kMeanStdDev;
  const bool hasConstants = settings.subgroup > 1 && settings.subgroup <= kLargestSubgroup;
  if (!hasAll && !hasConstants && (isSpread || settings.sigma)) {
    result.remarks.push_back(
        fmt::format("limits are missing: the constants for them exist for subgroups of 2 to {}", kLargestSubgroup));
  } else if (!hasAll) {
    result.remarks.emplace_back("limits are missing: too few values are present to estimate sigma");
  }
  if (result.sigma == 0.0) result.remarks.emplace_back("sigma is 0: the limits lie on the centre line");
}

}  // namespace

ControlChartResult FitControlChart(const Table& table, const Table* reference, const ControlChartSettings& settings) {
  ControlChart chart = MakeChart(table, settings);
  if (reference != nullptr) chart.ImportLimits(MakeChart(*reference, settings));
  Set(chart, settings);
  ControlChartResult result = Begin(chart);
  result.gaps = table.x.GetNumMisVal();
  result.leftOver = table.rowIds.size() % static_cast<std::size_t>(settings.subgroup);
  result.sigmaSource = SigmaSource(settings);
  switch (settings.type) {
    case ControlChart::kMeanRange:
    case ControlChart::kMeanStdDev:
      AddSpread(chart, result);
      break;
    case ControlChart::kCuSum:
      AddCuSum(chart, result);
      break;
    case ControlChart::kEWMA:
      AddEwma(chart, result);
      break;
    default:
      AddIndividual(settings, result);
  }
  AddRemarks(settings, result);
  return result;
}

std::vector<ChartExcess> PointsBeyond(const ControlChartResult& result, const ChartPanel& panel) {
  std::vector<ChartExcess> beyond;
  for (std::size_t k = 0; k < result.Subgroups(); ++k) {
    for (const std::size_t s : panel.series) {
      const double value = result.series[s].values[k];
      // Means are floats: one that is the limit but for rounding is not beyond it.
      const bool isAbove = value > panel.upper && detail::Differ(value, panel.upper);
      const bool isBelow = value < panel.lower && detail::Differ(value, panel.lower);
      if (isAbove || isBelow) beyond.push_back({k, s, value});
    }
  }
  return beyond;
}

}  // namespace tool
