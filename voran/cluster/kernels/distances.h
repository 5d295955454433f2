#pragma once

#include <cstddef>
#include <cstdint>

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

  /// The bits of n records of a distance and two positions: distances[j], first, second + j.
  void (*interleave)(const float* distances, std::uint32_t first, std::uint32_t second, std::size_t n,
                     std::uint32_t* out);

  static const DistanceKernels& Current();
};

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
