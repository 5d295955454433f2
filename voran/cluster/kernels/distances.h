#pragma once

#include <cstddef>

#include "voran/cluster/distance_and_index.h"

inline namespace voran {
namespace DendroGram {
namespace detail {

/// What is summed over the columns that two rows have in common.
enum class PairFunction {
  kSquaredDifference,     ///< (a - b) * (a - b)
  kHalfSquaredDifference  ///< (a - b) * (a - b) * 0.5f
};

/// What is made of the sum, scaled up to all columns.
enum class Finish { kIdentity, kSquareRoot };

/// Rows whose distances are formed side by side lie in blocks of this many, in a block column after column.
inline constexpr std::size_t kRowsOfBlock = 32;

/// Distances of one row to all rows of `numBlocks` blocks: with s the sum of the pair function over the columns that
/// both have, in float and in the order of the columns, and m their number, finish(columns / m * s). Four rows are
/// worked on together. The same bits for every set of instructions. Nothing allocates or throws, except Current() (see
/// SimdTarget).
struct DistanceKernels {
  static constexpr int kRowsTogether = 4;

  /// out[r][j] for every row r < numRows <= kRowsTogether and every row j of the blocks.
  void (*distances)(const float* const* rows, int numRows, std::size_t columns, const float* blocks,
                    std::size_t numBlocks, bool hasGaps, PairFunction pairFunction, Finish finish, float* const* out);

  /// n records: those of row `first` and the n rows behind it.
  void (*writeRecords)(const float* distances, int first, std::size_t n, DistanceAndIndex* out);

  static const DistanceKernels& Current();
};

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
