#pragma once

#include <cstddef>
#include <cstdint>

#include "voran/cluster/distance_and_index.h"

inline namespace voran {
namespace DendroGram {
namespace detail {

/// Which of 64 pairs are farther apart than a distance, and which nearer: bit k for pairs[k]. Both bits of a pair are 0
/// where neither can be said. The same for every set of instructions; nothing throws, except Current() (see
/// SimdTarget).
struct PairCompareKernels {
  static constexpr int kTogether = 64;

  struct Bits {
    std::uint64_t greater;
    std::uint64_t less;
  };
  Bits (*compare)(const DistanceAndIndex* pairs, float distance);

  /// For each of n pairs the number of `limits`, at most 255, that its distance is not at or above.
  void (*countLimitsAbove)(const DistanceAndIndex* pairs, std::size_t n, const float* limits, std::size_t numLimits,
                           std::uint8_t* counts);
  /// Which of 64 bytes are `value`.
  std::uint64_t (*findByte)(const std::uint8_t* bytes, std::uint8_t value);

  static const PairCompareKernels& Current();
};

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
