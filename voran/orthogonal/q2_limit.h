#pragma once

#include <atomic>

#include "voran/containers/missing_value.h"

inline namespace voran {
namespace detail {

/// What a component must add to Q2 to count: a setting of the whole process, 0.01 unless another value is set.
class Q2Limit {
 public:
  float Get() const {
    constexpr float kDefault = 0.01f;
    const float limit = limit_.load(std::memory_order_relaxed);
    return limit == kMissing<float> ? kDefault : limit;
  }

  /// The marker goes back to the default. What is neither that nor in 0 to below 1 is ignored.
  void Set(float limit) {
    if ((limit >= 0.0f && limit < 1.0f) || limit == kMissing<float>) limit_.store(limit, std::memory_order_relaxed);
  }

 private:
  std::atomic<float> limit_{kMissing<float>};
};

}  // namespace detail
}  // namespace voran
