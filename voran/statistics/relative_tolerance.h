#pragma once

#include <algorithm>
#include <cmath>

inline namespace voran {
namespace detail {

/// 2^-23, the distance from 1 to the next float.
inline constexpr double kFloatTolerance = 1.1920928955078125e-7;

/// Whether a and b are further apart than `factor` times the power of two next above the larger magnitude. Nothing but
/// zero is within the tolerance of zero; a NaN differs from nothing.
inline bool Differ(double a, double b, double factor = kFloatTolerance) {
  const double difference = std::fabs(a - b);
  const double magnitude = std::max(std::fabs(a), std::fabs(b));
  if (difference > 2.5 * factor * magnitude) return true;  // that power is at most twice the magnitude
  int exponent = 0;
  std::frexp(magnitude, &exponent);
  return difference > std::ldexp(factor, exponent);
}

}  // namespace detail
}  // namespace voran
