#pragma once

#include <cstddef>
#include <memory>

#include "voran/export.h"

inline namespace voran {
namespace detail {

/// Memory for an array: if it is long, in large pages where the system has them, of which a first walk sets up fewer.
/// Through many small ones such a walk costs more than the arithmetic on them. Throws std::bad_alloc. FreeLarge() frees
/// it, with the same number of bytes.
VORAN_EXPORT void* AllocateLarge(std::size_t bytes);
VORAN_EXPORT void FreeLarge(void* memory, std::size_t bytes) noexcept;

struct LargeDeleter {
  std::size_t bytes = 0;
  void operator()(void* memory) const noexcept { FreeLarge(memory, bytes); }
};

/// An array of unwritten numbers, which may be millions.
template <typename T>
using LargeArray = std::unique_ptr<T[], LargeDeleter>;

template <typename T>
LargeArray<T> MakeLargeArray(std::size_t n) {
  return LargeArray<T>(static_cast<T*>(AllocateLarge(n * sizeof(T))), LargeDeleter{n * sizeof(T)});
}

}  // namespace detail
}  // namespace voran
