#pragma once

#include <string>

#include "tools/voran/control_chart_report.h"

namespace tool {

/// The chart as SVG: a panel for each statistic with its centre line and limits, and diamonds for the points beyond
/// them. Of the cumulative sums, the lower one runs downwards.
std::string ControlChartPicture(const ControlChartReport& report);

}  // namespace tool
