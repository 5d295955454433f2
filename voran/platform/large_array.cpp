#include "voran/platform/large_array.h"

#include <cstdint>
#include <new>

#ifdef __linux__
#include <sys/mman.h>
#endif

inline namespace voran {
namespace detail {

namespace {

constexpr std::size_t kPage = std::size_t{1} << 21;
constexpr std::align_val_t kAlignment{kPage};
constexpr std::size_t kLongBytes = std::size_t{1} << 23;

}  // namespace

void* AllocateLarge(std::size_t bytes) {
  if (bytes < kLongBytes) return ::operator new(bytes);
  void* const memory = ::operator new(bytes, kAlignment);
  PreferLargePages(memory, bytes);
  return memory;
}

void FreeLarge(void* memory, std::size_t bytes) noexcept {
  if (bytes < kLongBytes) return ::operator delete(memory);
  ::operator delete(memory, kAlignment);
}

void PreferLargePages([[maybe_unused]] void* memory, std::size_t bytes) noexcept {
  if (bytes < 2 * kPage) return;  // may have none
#ifdef __linux__
  const auto start = reinterpret_cast<std::uintptr_t>(memory);
  const std::uintptr_t first = (start + kPage - 1) / kPage * kPage;
  const std::uintptr_t end = (start + bytes) / kPage * kPage;
  madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);  // a hint: small pages do as well
#endif
}

}  // namespace detail
}  // namespace voran
