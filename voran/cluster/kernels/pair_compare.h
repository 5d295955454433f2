#pragma once

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

  static const PairCompareKernels& Current();
};

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
