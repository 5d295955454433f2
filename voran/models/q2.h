#pragma once

#include <algorithm>
#include <cmath>

#include "voran/containers/missing_value.h"

inline namespace voran {
namespace detail {

/// Ten times the smallest normal float: a sum of squares below it is nothing.
inline constexpr double kNoSumOfSquares = 1.1754943508222875e-37;

/// Q2 of one component, (SS - PRESS) / SS, and over all components so far, 1 - product of PRESS / SS. A ratio counts as
/// at most 1.1 in the product, so that one bad component cannot undo the others.
class Q2 {
 public:
  static float OfComponent(double ss, double press) { return static_cast<float>((ss - press) / ss); }

  static float Cumulative(float before, double ss, double press) {
    constexpr double kWorstRatio = 1.1;
    const double ratio = std::min(press / ss, kWorstRatio);
    return static_cast<float>(1.0 - static_cast<double>(1.0f - before) * ratio);
  }

  /// The cumulative Q2 of a variable that has no sum of squares left: 1, unless it had none to begin with.
  static float CumulativeOfNothing(float reference) {
    const bool hadNothing = static_cast<double>(reference) < kNoSumOfSquares || reference == kMissing<float>;
    return hadNothing ? 0.0f : 1.0f;
  }
};

/// How many responses must be predicted for a component to count although the whole of Y is not: a fifth of many, the
/// root of few.
inline int ResponsesNeeded(int responses) {
  constexpr int kMany = 25;
  const double share = responses >= kMany ? responses * 0.2 : std::sqrt(responses);
  return static_cast<int>(std::lround(static_cast<float>(share)));
}

}  // namespace detail
}  // namespace voran
