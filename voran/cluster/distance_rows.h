#pragma once

#include <cstddef>
#include <vector>

#include "voran/cluster/kernels/distances.h"
#include "voran/containers/data_matrix.h"

inline namespace voran {
namespace DendroGram {
namespace detail {

/// The elements of a matrix, laid out for distances between its rows: a copy of its size. Read-only, so that any number
/// of threads may use it.
class DistanceRows {
 public:
  explicit DistanceRows(const NCDataMatrix<float>& data);

  int SizeRows() const { return static_cast<int>(rows_); }

  /// For rows first..last, at most kRowsTogether of them, the distance to every row from `first` on. Entry r of the
  /// result points to where the distance of row first + r to itself stands, and holds until the next call with the same
  /// `room`. 1-based.
  std::vector<const float*> Distances(int first, int last, PairFunction pairFunction, Finish finish,
                                      std::vector<float>& room) const;

 private:
  std::size_t rows_;
  std::size_t columns_;
  bool hasGaps_;
  std::vector<float> byRow_;
  std::vector<float> blocks_;
};

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
