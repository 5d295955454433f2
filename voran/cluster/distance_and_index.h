#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

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

/// Leaves new elements as the memory comes: a list of all pairs is first touched by the threads that fill it.
template <typename T>
class UnsetAllocator : public std::allocator<T> {
 public:
  template <typename U>
  struct rebind {
    using other = UnsetAllocator<U>;
  };

  template <typename U>
  void construct(U* place) {
    ::new (static_cast<void*>(place)) U;
  }
  template <typename U, typename... Arguments>
  void construct(U* place, Arguments&&... arguments) {
    ::new (static_cast<void*>(place)) U(std::forward<Arguments>(arguments)...);
  }
};

using PairList = std::vector<DistanceAndIndex, UnsetAllocator<DistanceAndIndex>>;

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
