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
  int exponent = 0;
  std::frexp(std::max(std::fabs(a), std::fabs(b)), &exponent);
  return std::fabs(a - b) > std::ldexp(factor, exponent);
}

}  // namespace detail
}  // namespace voran
