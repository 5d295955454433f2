#pragma once

#include <cstddef>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "voran/platform/large_array.h"

inline namespace voran {
namespace DendroGram {

/// A pair of rows or clusters and its distance. `first` and `second` are 1-based, `first` below `second`. The layout is
/// also that of the temporary files in which distances are kept that memory cannot hold.
struct DistanceAndIndex {
  float distance;
  int first;
  int second;
};
static_assert(sizeof(DistanceAndIndex) == 12);

namespace detail {

/// Leaves new elements as the memory comes: a list of all pairs is first touched by the threads that fill it. A long
/// list asks for large pages, of which the system sets up fewer.
template <typename T>
class UnsetAllocator {
 public:
  using value_type = T;

  UnsetAllocator() = default;
  template <typename U>
  explicit UnsetAllocator(const UnsetAllocator<U>& /*other*/) {}

  T* allocate(std::size_t n) {
    if (n > std::numeric_limits<std::size_t>::max() / sizeof(T)) throw std::bad_array_new_length();
    return static_cast<T*>(voran::detail::AllocateLarge(n * sizeof(T)));
  }
  void deallocate(T* memory, std::size_t n) { voran::detail::FreeLarge(memory, n * sizeof(T)); }

  template <typename U>
  void construct(U* place) {
    ::new (static_cast<void*>(place)) U;
  }
  template <typename U, typename... Arguments>
  void construct(U* place, Arguments&&... arguments) {
    ::new (static_cast<void*>(place)) U(std::forward<Arguments>(arguments)...);
  }

  bool operator==(const UnsetAllocator&) const = default;
};

using PairList = std::vector<DistanceAndIndex, UnsetAllocator<DistanceAndIndex>>;

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
