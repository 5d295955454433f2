#pragma once

inline namespace voran {
namespace detail {

/// The marker of a missing element, in the element type. The test is equality; a NaN is present.
template <typename T>
inline constexpr T kMissing = static_cast<T>(-99);

/// What a double result is when it cannot be formed.
inline constexpr double kNoValue = -99.0;

/// Below this a sum of squares counts as zero.
inline constexpr double kTinySumOfSquares = 1e-30;

/// Which of two operands have gaps: decided once, ahead of a loop.
enum GapMode { kNoGaps = 0, kFirstHasGaps = 1, kSecondHasGaps = 2, kBothHaveGaps = 3 };

inline GapMode GapModeOf(int firstMissing, int secondMissing) {
  return static_cast<GapMode>((firstMissing != 0 ? kFirstHasGaps : 0) | (secondMissing != 0 ? kSecondHasGaps : 0));
}

}  // namespace detail
}  // namespace voran
