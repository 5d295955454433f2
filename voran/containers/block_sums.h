#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>

#include "voran/containers/parallel.h"

inline namespace voran {
namespace detail {

/// Sums of columns, block by block of rows, each of which one thread writes. Room comes as it is, not cleared: it is
/// large for a wide matrix, and the thread that sums a block is the one that should touch it first.
class BlockSums {
 public:
  void Reserve(int blocks, std::size_t columns) {
    if (sums_ != nullptr && blocks == blocks_ && columns == stride_) return;
    sums_ = std::make_unique_for_overwrite<double[]>(static_cast<std::size_t>(blocks) * columns);
    blocks_ = blocks;
    stride_ = columns;
  }

  double* Of(int block) { return sums_.get() + static_cast<std::size_t>(block) * stride_; }

  /// totals[j] += the sums of column j in the blocks that `isIn` accepts, in order, for `columns` columns from
  /// `first` on. `totals` are those of all columns.
  template <class IsIn>
  void AddTo(double* totals, std::size_t first, std::size_t columns, const IsIn& isIn) const {
    for (int b = 0; b < blocks_; ++b) {
      if (!isIn(b)) continue;
      const double* const sums = sums_.get() + static_cast<std::size_t>(b) * stride_;
      for (std::size_t j = first; j < first + columns; ++j) totals[j] += sums[j];
    }
  }

 private:
  std::unique_ptr<double[]> sums_;
  int blocks_ = 0;
  std::size_t stride_ = 0;
};

/// Calls work(first, columns) for pieces of that many columns from `first` on, which stay in the nearest cache.
template <class Work>
void ForColumnPieces(std::size_t columns, int threads, const Work& work) {
  constexpr std::size_t kColumnsInPiece = 512;
  const int pieces = static_cast<int>((columns + kColumnsInPiece - 1) / kColumnsInPiece);
  ParallelFor(pieces, std::min(threads, pieces), [&](int piece) {
    const std::size_t first = static_cast<std::size_t>(piece) * kColumnsInPiece;
    work(first, std::min(kColumnsInPiece, columns - first));
  });
}

}  // namespace detail
}  // namespace voran
