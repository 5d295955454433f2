#pragma once

#include <bit>

inline namespace voran {
namespace detail {

inline bool IsPowerOfTwo(int n) {
  return n > 0 && std::has_single_bit(static_cast<unsigned>(n));
}

/// The largest l with 2^l <= n, for an n above 0.
inline int FloorLog2(int n) {
  return static_cast<int>(std::bit_width(static_cast<unsigned>(n))) - 1;
}

}  // namespace detail
}  // namespace voran
