#include "voran/platform/physical_memory.h"

#include <limits>

#ifdef _WIN32
#define NOMINMAX
#include <windows.h>
#else
#include <unistd.h>
#endif

inline namespace voran {
namespace detail {

std::uint64_t GetPhysicalMemory() {
  constexpr std::uint64_t kUnknown = std::numeric_limits<std::uint64_t>::max();
#ifdef _WIN32
  MEMORYSTATUSEX status{};
  status.dwLength = sizeof(status);
  return GlobalMemoryStatusEx(&status) != 0 ? status.ullTotalPhys : kUnknown;
#else
  const long pages = sysconf(_SC_PHYS_PAGES);
  const long pageSize = sysconf(_SC_PAGESIZE);
  if (pages <= 0 || pageSize <= 0) return kUnknown;
  return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize);
#endif
}

}  // namespace detail
}  // namespace voran
