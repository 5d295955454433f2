#pragma once

#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "tools/voran/table.h"
#include "voran/statistics/control_chart.h"

namespace tool {

struct ControlChartSettings {
  ControlChart::ControlType type = ControlChart::kIndividual;
  int subgroup = 1;              ///< how many rows a subgroup has
  std::optional<double> target;  ///< in place of the mean
  std::optional<double> sigma;   ///< of the values within a subgroup, in place of the estimate
  std::optional<double> lambda;  ///< of the moving average, in place of the best one
  bool isPredictive = false;     ///< the moving average is a forecast
};

/// A statistic of every subgroup; a NaN where there is none.
struct ChartSeries {
  std::string name;  ///< as in the files
  std::vector<double> values;
};

/// A chart of one statistic, or of two that share their limits. A NaN is a line that there is not.
struct ChartPanel {
  std::string name;
  std::vector<std::size_t> series;  ///< of the result
  double centre;
  double lower;
  double upper;
};

/// A point beyond a limit.
struct ChartExcess {
  std::size_t subgroup;  ///< counted from 0
  std::size_t series;
  double value;
};

/// What a control chart tells; a NaN is a number that cannot be had.
struct ControlChartResult {
  static constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

  int gaps = 0;
  std::size_t leftOver = 0;    ///< rows behind the last full subgroup
  double target = kNone;       ///< the centre line of the means
  double sigma = kNone;        ///< of the process, that the limits come from
  std::string sigmaSource;     ///< in words
  double deviation = kNone;    ///< the standard deviation of all values
  double actionLimit = kNone;  ///< of the cumulative sums
  double deadBand = kNone;
  double lambda = kNone;            ///< of the moving average
  std::vector<ChartSeries> series;  ///< the means first
  std::vector<ChartPanel> panels;
  std::vector<std::string> remarks;  ///< what the user should know of the figures

  std::size_t Subgroups() const { return series.front().values.size(); }
};

/// Computes the chart of the only variable of the table, its limits from the table `reference` if that is not null.
/// Throws `Failure`.
ControlChartResult FitControlChart(const Table& table, const Table* reference, const ControlChartSettings& settings);

/// The points of a panel that lie beyond its limits, by subgroup.
std::vector<ChartExcess> PointsBeyond(const ControlChartResult& result, const ChartPanel& panel);

}  // namespace tool
