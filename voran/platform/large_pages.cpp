#include "voran/platform/large_pages.h"

#if defined(__linux__)
#include <sys/mman.h>
#endif

inline namespace voran {
namespace detail {

void AskForLargePages([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t bytes) noexcept {
#if defined(__linux__)
  madvise(memory, bytes, MADV_HUGEPAGE);
#endif
}

}  // namespace detail
}  // namespace voran
