#pragma once

#include <cstddef>
#include <functional>
#include <utility>

#include "voran/platform/exception.h"

inline namespace voran {
namespace detail {

/// Asks now and then, by the work done, whether a long computation is to stop.
class CancelPoll {
 public:
  explicit CancelPoll(std::function<bool()> isCancelled) : isCancelled_(std::move(isCancelled)) {}

  /// Counts `units` of about 100 nanoseconds, and throws CancelException once the user has broken off.
  void Add(std::size_t units) {
    units_ += units;
    if (units_ < kUnitsPerPoll) return;
    units_ = 0;
    if (isCancelled_()) throw CancelException();
  }

 private:
  static constexpr std::size_t kUnitsPerPoll = 50000;

  std::function<bool()> isCancelled_;
  std::size_t units_ = 0;
};

}  // namespace detail
}  // namespace voran
