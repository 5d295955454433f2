#include "voran/platform/large_array.h"

#include <new>

#ifdef __linux__
#include <sys/mman.h>
#endif

inline namespace voran {
namespace detail {

namespace {

constexpr std::align_val_t kPage{std::size_t{1} << 21};
constexpr std::size_t kLongBytes = std::size_t{1} << 23;

}  // namespace

void* AllocateLarge(std::size_t bytes) {
  if (bytes < kLongBytes) return ::operator new(bytes);
  void* const memory = ::operator new(bytes, kPage);
#ifdef __linux__
  madvise(memory, bytes, MADV_HUGEPAGE);  // a hint: small pages do as well
#endif
  return memory;
}

void FreeLarge(void* memory, std::size_t bytes) noexcept {
  if (bytes < kLongBytes) return ::operator delete(memory);
  ::operator delete(memory, kPage);
}

}  // namespace detail
}  // namespace voran
