#pragma once

#include <cstddef>

#include "voran/export.h"

inline namespace voran {
namespace detail {

/// Memory for an array: if it is long, in large pages where the system has them, of which a first walk sets up fewer.
/// Through many small ones such a walk costs more than the arithmetic on them. Throws std::bad_alloc. FreeLarge() frees
/// it, with the same number of bytes.
VORAN_EXPORT void* AllocateLarge(std::size_t bytes);
VORAN_EXPORT void FreeLarge(void* memory, std::size_t bytes) noexcept;

/// Asks for large pages in those parts of some memory, come from anywhere, that have their length and boundaries.
void PreferLargePages(void* memory, std::size_t bytes) noexcept;

}  // namespace detail
}  // namespace voran
