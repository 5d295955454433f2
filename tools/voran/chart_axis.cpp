#include "tools/voran/chart_axis.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

namespace tool {
namespace {

// The round step that comes nearest to `rough`, in proportion.
double RoundStep(double rough) {
  const double power = std::pow(10.0, std::floor(std::log10(rough)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (rough / power < factor * 1.5) return factor * power;
  }
  return 10.0 * power;
}

}  // namespace

std::vector<double> RoundTicks(double low, double high, int count) {
  if (!(low < high) || !std::isfinite(high - low)) return {};
  const double step = RoundStep((high - low) / count);
  if (!std::isnormal(step)) return {};
  constexpr double kRounding = 1e-9;  // of a step, so that an end that is a tick is not lost
  const double first = std::ceil(low / step - kRounding);
  const auto steps = static_cast<int>(std::floor(high / step + kRounding) - first);
  std::vector<double> ticks;
  for (int k = 0; k <= steps; ++k) ticks.push_back((first + k) * step);
  return ticks;
}

std::vector<std::string> TickLabels(const std::vector<double>& ticks) {
  if (ticks.empty()) return {};
  constexpr double kLargest = 1e6;
  constexpr double kSmallest = 1e-4;
  const double step = ticks.size() > 1 ? ticks[1] - ticks[0] : std::abs(ticks[0]);
  const double largest = std::max(std::abs(ticks.front()), std::abs(ticks.back()));
  const int decimals = step > 0.0 ? std::max(0, -static_cast<int>(std::floor(std::log10(step * 1.000001)))) : 0;
  const bool isPlain = largest < kLargest && (largest == 0.0 || step >= kSmallest);
  const double steps = step > 0.0 ? largest / step : 1.0;
  const int digits = std::clamp(static_cast<int>(std::log10(std::max(steps, 1.0))) + 2, 4, 17);  // tell ticks apart
  std::vector<std::string> labels;
  labels.reserve(ticks.size());
  for (const double tick : ticks) {
    labels.push_back(isPlain ? fmt::format("{:.{}f}", tick, decimals) : fmt::format("{:.{}g}", tick, digits));
  }
  return labels;
}

}  // namespace tool
