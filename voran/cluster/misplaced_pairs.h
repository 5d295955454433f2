#pragma once

#include <bit>
#include <cstdint>

#include "voran/cluster/distance_and_index.h"

inline namespace voran {
namespace DendroGram {
namespace detail {

/// Elements of one side of a partition that belong on the other, found but not yet swapped: bit k stands for base[k].
struct MisplacedPairs {
  DistanceAndIndex* base = nullptr;
  std::uint64_t bits = 0;

  bool IsEmpty() const { return bits == 0; }
  DistanceAndIndex& Lowest() const { return base[std::countr_zero(bits)]; }
  void DropLowest() { bits &= bits - 1; }
  DistanceAndIndex& Highest() const { return base[63 - std::countl_zero(bits)]; }
  void DropHighest() { bits ^= std::uint64_t{1} << (63 - std::countl_zero(bits)); }
};

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
