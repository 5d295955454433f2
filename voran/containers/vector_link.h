#pragma once

#include <atomic>
#include <cstdint>

#include "voran/platform/spin_lock.h"

inline namespace voran {
namespace detail {

/// The record that all containers sharing one buffer have in common. Its last sharer frees it. That of a vector stands
/// in the buffer's own allocation: matrices of few columns are made of little else than allocations.
///
/// The count is read without the lock at the head of every mutator. That read acquires and a release of a share
/// releases, so that a writer who finds itself alone also sees that the others have finished reading.
struct VectorLink {
  std::atomic<std::int32_t> refCount{1};
  SpinLock lock;

  bool IsShared() const noexcept { return refCount.load(std::memory_order_acquire) > 1; }
  void AddSharer() noexcept { refCount.fetch_add(1, std::memory_order_relaxed); }

  /// Gives up one share; true if it was the last.
  bool DropSharer() noexcept { return refCount.fetch_sub(1, std::memory_order_acq_rel) == 1; }
};

}  // namespace detail
}  // namespace voran
