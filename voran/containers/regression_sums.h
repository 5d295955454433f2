#pragma once

#include <algorithm>

#include "voran/containers/data_vector.h"
#include "voran/containers/kernels/reductions.h"
#include "voran/containers/missing_value.h"

inline namespace voran {
namespace detail {

/// The share of a vector's whole sum of squares below which the denominator of a Fix regression does not fall.
inline constexpr double kFixFloor = 0.3333333333333333;

/// The sums of a regression as its callers see them: no value if operands with gaps have no pair at all, and zeros
/// where the paired sum of squares is next to nothing. `allSquares` stays as it was summed.
inline PairSums GuardedSums(PairSums sums, bool anyPair, GapMode mode) {
  if (mode != kNoGaps && !anyPair) {
    sums.product = kNoValue;
    sums.pairedSquares = kNoValue;
  } else if (sums.pairedSquares < kTinySumOfSquares) {
    sums.product = 0.0;
    sums.pairedSquares = 0.0;
  }
  return sums;
}

/// Slope through the origin over the pairs present. Two zeros give a quiet NaN.
inline double Slope(const PairSums& sums) {
  if (sums.product == kNoValue || sums.pairedSquares == kNoValue) return kNoValue;
  return sums.product / sums.pairedSquares;
}

/// The same with a floor under the denominator: where most pairs are missing, their sum of squares is a small part of
/// the whole and would blow the slope up.
inline double FixSlope(const PairSums& sums) {
  if (sums.product == kNoValue || sums.pairedSquares == kNoValue) return kNoValue;
  return sums.product / std::max(sums.pairedSquares, kFixFloor * sums.allSquares);
}

/// v with the positions i missing where groups[i] equals `excludeValue`.
template <typename T>
NCDataVector<T> WithoutGroup(const NCDataVector<T>& v, const NCIntegralVector<int, -99>& groups, int excludeValue) {
  NCDataVector<T> marked(v);
  for (int i = 1; i <= v.Size(); ++i) {
    if (groups[i] == excludeValue) marked(i, kMissing<T>);
  }
  return marked;
}

/// Whether any position is present in both arrays; stops at the first that is.
template <typename T>
bool AnyPair(const T* a, const T* b, int n) {
  for (int i = 0; i < n; ++i) {
    if (a[i] != kMissing<T> && b[i] != kMissing<T>) return true;
  }
  return false;
}

}  // namespace detail
}  // namespace voran
