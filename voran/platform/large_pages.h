#pragma once

#include <cstddef>

#include "voran/export.h"

inline namespace voran {
namespace detail {

/// The size of a large page of memory, and how memory that is to consist of them is aligned.
inline constexpr std::size_t kLargePage = std::size_t{1} << 21;

/// Asks the system to back fresh memory by large pages. Nothing happens where it has none or will not.
VORAN_EXPORT void AskForLargePages(void* memory, std::size_t bytes) noexcept;

}  // namespace detail
}  // namespace voran
