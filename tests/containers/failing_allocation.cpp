#include "tests/containers/failing_allocation.h"

#include <cstddef>
#include <cstdlib>
#include <new>

#if defined(__SANITIZE_THREAD__)
#define THREAD_SANITIZER_IS_ON 1
#elif defined(__has_feature)
#define THREAD_SANITIZER_IS_ON __has_feature(thread_sanitizer)
#else
#define THREAD_SANITIZER_IS_ON 0
#endif

namespace {

constexpr bool kIsAvailable = !THREAD_SANITIZER_IS_ON;
thread_local int allocationsUntilFailure = 0;  // 0: none fails
thread_local std::size_t largestAllocation = 0;
thread_local long liveAllocations = 0;

[[maybe_unused]] void* TryAllocate(std::size_t size) noexcept {
  if (size > largestAllocation) largestAllocation = size;
  if (allocationsUntilFailure > 0 && --allocationsUntilFailure == 0) return nullptr;
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory != nullptr) ++liveAllocations;
  return memory;
}

[[maybe_unused]] void* Allocate(std::size_t size) {
  void* const memory = TryAllocate(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

[[maybe_unused]] void Free(void* memory) noexcept {
  if (memory != nullptr) --liveAllocations;
  std::free(memory);
}

}  // namespace

bool FailingAllocation::IsAvailable() {
  return kIsAvailable;
}
FailingAllocation::FailingAllocation(int k) {
  allocationsUntilFailure = k;
}
FailingAllocation::~FailingAllocation() {
  allocationsUntilFailure = 0;
}
AllocationWatch::AllocationWatch() {
  largestAllocation = 0;
}
std::size_t AllocationWatch::Largest() {
  return largestAllocation;
}
long LiveAllocations() {
  return liveAllocations;
}

#if !THREAD_SANITIZER_IS_ON
// All forms, since the runtime of a sanitizer brings its own, and each must meet its like.
void* operator new(std::size_t size) {
  return Allocate(size);
}
void* operator new[](std::size_t size) {
  return Allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return TryAllocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return TryAllocate(size);
}
void operator delete(void* memory) noexcept {
  Free(memory);
}
void operator delete[](void* memory) noexcept {
  Free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  Free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  Free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
  Free(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
  Free(memory);
}
#endif
