#pragma once

#include <atomic>
#include <cstdint>

inline namespace voran {
namespace detail {

/// The smallest lock there is: one 32-bit word, 0 free and 1 held, for sections of a few instructions.
///
/// A waiter spins; there is no back-off and no fairness. Meets BasicLockable, so std::lock_guard works on it.
class SpinLock {
 public:
  void lock() noexcept {
    std::int32_t expected = 0;
    while (!word_.compare_exchange_weak(expected, 1, std::memory_order_acquire, std::memory_order_relaxed)) {
      expected = 0;
    }
  }

  void unlock() noexcept { word_.store(0, std::memory_order_release); }

 private:
  std::atomic<std::int32_t> word_{0};
};

}  // namespace detail
}  // namespace voran
