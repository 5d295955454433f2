#pragma once

#include <cstddef>
#include <vector>

#include "voran/containers/integral_vector.h"

inline namespace voran {
namespace detail {

/// Closes the gaps that the elements at the listed positions leave in the 1-based array `values` of `size` elements,
/// and returns how many remain. Positions may come in any order and repeat; one that does not exist is ignored. Linear
/// in the two sizes.
template <typename T>
int RemoveAt(const NCIntegralVector<int, -99>& positions, T* values, int size) {
  std::vector<bool> isRemoved(static_cast<std::size_t>(size) + 1);
  for (const int position : positions) {
    if (position >= 1 && position <= size) isRemoved[static_cast<std::size_t>(position)] = true;
  }
  int kept = 0;
  for (int i = 1; i <= size; ++i) {
    if (!isRemoved[static_cast<std::size_t>(i)]) values[++kept] = values[i];
  }
  return kept;
}

}  // namespace detail
}  // namespace voran
