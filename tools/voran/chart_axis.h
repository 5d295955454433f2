#pragma once

#include <string>
#include <vector>

namespace tool {

/// Round numbers within `low`..`high`, about `count` of them and as far apart as 1, 2 or 5 times a power of ten. Empty
/// unless `low` is below `high`, both finite.
std::vector<double> RoundTicks(double low, double high, int count);

/// These numbers, all with as many decimals as the step between them asks for.
std::vector<std::string> TickLabels(const std::vector<double>& ticks);

/// Where the numbers of an axis lie on the page.
struct ChartAxis {
  double low;   ///< a number, at `from`
  double high;  ///< another, at `to`
  double from;
  double to;

  /// `from` if the axis has no length.
  double At(double value) const { return high == low ? from : from + (value - low) / (high - low) * (to - from); }
};

}  // namespace tool
