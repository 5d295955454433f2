#include "tests/containers/failing_allocation.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <limits>
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
constexpr long kNever = -1;

// Every allocation takes a number; those from `firstFailing` up to `lastFailing` fail.
std::atomic<long> allocations{0};
std::atomic<long> firstFailing{kNever};
std::atomic<long> lastFailing{kNever};
std::atomic<long> failed{0};
std::atomic<long> liveAllocations{0};
std::atomic<std::size_t> largestAllocation{0};

bool Fails(long number) {
  return number >= firstFailing.load(std::memory_order_relaxed) &&
         number <= lastFailing.load(std::memory_order_relaxed);
}

[[maybe_unused]] void* TryAllocate(std::size_t size, std::size_t alignment = 0) noexcept {
  std::size_t largest = largestAllocation.load();
  while (size > largest && !largestAllocation.compare_exchange_weak(largest, size)) {
  }
  if (Fails(++allocations)) {
    ++failed;
    return nullptr;
  }
  const std::size_t units = alignment == 0 ? 1 : (size + alignment - 1) / alignment;
  void* const memory =
      alignment == 0 ? std::malloc(size == 0 ? 1 : size) : std::aligned_alloc(alignment, units * alignment);
  if (memory != nullptr) ++liveAllocations;
  return memory;
}

[[maybe_unused]] void* Allocate(std::size_t size, std::size_t alignment = 0) {
  void* const memory = TryAllocate(size, alignment);
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
FailingAllocation::FailingAllocation(int k, Extent extent) {
  const long first = allocations + k;
  lastFailing = extent == Extent::kThatOne ? first : std::numeric_limits<long>::max();
  firstFailing = first;
}
FailingAllocation::~FailingAllocation() {
  lastFailing = kNever;
}
long FailingAllocation::Failed() {
  return failed;
}
AllocationWatch::AllocationWatch() {
  largestAllocation = 0;
}
std::size_t AllocationWatch::Largest() {
  return largestAllocation;
}
long Allocations() {
  return allocations;
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
void* operator new(std::size_t size, std::align_val_t alignment) {
  return Allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return Allocate(size, static_cast<std::size_t>(alignment));
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
void operator delete(void* memory, std::align_val_t) noexcept {
  Free(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
  Free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
  Free(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
  Free(memory);
}
#endif
