#pragma once

#include <cstdint>

#include "voran/export.h"

inline namespace voran {
namespace detail {

/// The machine's memory in bytes, whoever uses it; the largest number if the system does not say.
VORAN_EXPORT std::uint64_t GetPhysicalMemory();

}  // namespace detail
}  // namespace voran
