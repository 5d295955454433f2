#pragma once

#include <algorithm>
#include <limits>

inline namespace voran {
namespace detail {

/// The capacity that a buffer of `capacity` elements gets when `needed` are wanted: doubling, additive from 3000 on.
///
/// Never below `capacity`: nothing shrinks. The first allocation has room for 4. Vectors, matrix rows and integral
/// vectors share this rule.
inline int GrownCapacity(int capacity, int needed) {
  constexpr int kFirst = 4;
  constexpr int kAdditiveFrom = 3000;
  if (needed <= capacity) return capacity;
  if (capacity == 0) return std::max(needed, kFirst);
  if (capacity > std::numeric_limits<int>::max() - kAdditiveFrom) return needed;
  const int grown = capacity >= kAdditiveFrom ? capacity + kAdditiveFrom : 2 * capacity;
  return std::max(grown, needed);
}

}  // namespace detail
}  // namespace voran
