#pragma once

#include <cstddef>
#include <memory>

inline namespace voran {
namespace detail {

/// Memory for a long array, in large pages where the system has them: a first walk through many small ones costs more
/// than the arithmetic on them. Throws std::bad_alloc; FreeLarge() frees it.
void* AllocateLarge(std::size_t bytes);
void FreeLarge(void* memory) noexcept;

struct LargeDeleter {
  void operator()(void* memory) const noexcept { FreeLarge(memory); }
};

/// An array of unwritten numbers, for lengths of millions.
template <typename T>
using LargeArray = std::unique_ptr<T[], LargeDeleter>;

template <typename T>
LargeArray<T> MakeLargeArray(std::size_t n) {
  return LargeArray<T>(static_cast<T*>(AllocateLarge(n * sizeof(T))));
}

}  // namespace detail
}  // namespace voran
