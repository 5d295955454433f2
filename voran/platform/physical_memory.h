#pragma once

#include <cstdint>

inline namespace voran {
namespace detail {

/// The machine's memory in bytes, whoever uses it; the largest number if the system does not say.
std::uint64_t GetPhysicalMemory();

}  // namespace detail
}  // namespace voran
