#pragma once

#include <limits>
#include <stdexcept>

inline namespace voran {
namespace detail {

/// `count` as a number of missing elements, which are 32-bit. Throws std::length_error where it does not fit.
inline int MissingCount(long long count) {
  if (count > std::numeric_limits<int>::max()) {
    throw std::length_error("A matrix cannot hold more than 2147483647 missing elements.");
  }
  return static_cast<int>(count);
}

}  // namespace detail
}  // namespace voran
