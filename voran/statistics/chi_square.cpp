#include "voran/statistics/chi_square.h"

#include <cmath>
#include <numbers>

inline namespace voran {
namespace Sta {
namespace detail {

// Integration by parts, two degrees of freedom at a time (Abramowitz and Stegun 26.4.4 and 26.4.5).
double ChiSquareTail(double x, int df) {
  if (x <= 0.0) return 1.0;
  const double half = x / 2.0;
  const bool isOdd = df % 2 != 0;
  double tail = isOdd ? std::erfc(std::sqrt(half)) : std::exp(-half);
  double term = isOdd ? 2.0 * std::sqrt(half * std::numbers::inv_pi) * std::exp(-half) : tail * half;
  for (int n = isOdd ? 3 : 4; n <= df; n += 2) {
    tail += term;
    term *= half / (n / 2.0);
  }
  return tail;
}

}  // namespace detail
}  // namespace Sta
}  // namespace voran
