#pragma once

#include <string>

#include "tools/voran/histogram_report.h"

namespace tool {

/// The histograms as SVG, side by side if there are several: bars, or stacked dots where there are not too many. Of
/// many columns the first are drawn, and the heading says so.
std::string HistogramPicture(const HistogramReport& report);

}  // namespace tool
