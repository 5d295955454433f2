#pragma once

#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "voran/platform/large_pages.h"

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
class UnsetAllocator : public std::allocator<T> {
 public:
  template <typename U>
  struct rebind {
    using other = UnsetAllocator<U>;
  };

  T* allocate(std::size_t n) {
    if (!IsLong(n)) return std::allocator<T>::allocate(n);
    if (n > std::numeric_limits<std::size_t>::max() / sizeof(T)) throw std::bad_array_new_length();
    void* const memory = ::operator new(n * sizeof(T), std::align_val_t(voran::detail::kLargePage));
    voran::detail::AskForLargePages(memory, n * sizeof(T));
    return static_cast<T*>(memory);
  }
  void deallocate(T* memory, std::size_t n) {
    if (!IsLong(n)) return std::allocator<T>::deallocate(memory, n);
    ::operator delete(memory, std::align_val_t(voran::detail::kLargePage));
  }

  template <typename U>
  void construct(U* place) {
    ::new (static_cast<void*>(place)) U;
  }
  template <typename U, typename... Arguments>
  void construct(U* place, Arguments&&... arguments) {
    ::new (static_cast<void*>(place)) U(std::forward<Arguments>(arguments)...);
  }

 private:
  static bool IsLong(std::size_t n) { return n >= 4 * voran::detail::kLargePage / sizeof(T); }
};

using PairList = std::vector<DistanceAndIndex, UnsetAllocator<DistanceAndIndex>>;

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
