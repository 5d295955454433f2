#pragma once

#include <cstddef>
#include <vector>

#include "voran/containers/data_matrix.h"

inline namespace voran {
namespace DendroGram {
namespace detail {

/// For each cluster its rows and what the error sum of squares asks of its columns: the sum, the sum of squares and the
/// number of present elements, each added up in the order of the rows. Clusters are known by their first row, 1-based.
class ClusterSums {
 public:
  ClusterSums() = default;
  /// Every row a cluster by itself. Takes some 16 bytes for each element, 20 with gaps.
  explicit ClusterSums(const NCDataMatrix<float>& data);

  /// Cluster `gone` becomes part of `kept`.
  void Merge(int kept, int gone);

  /// By how much the sum of squares within clusters would grow if the two were joined, 0 where rounding makes it
  /// negative. A column in which a cluster has gaps counts as if its present elements stood for all of them.
  float GetErrorSS(int a, int b) const;

 private:
  /// The sums of one cluster in one column.
  struct ColumnSums {
    double sum;
    double sumOfSquares;
  };

  std::size_t FirstColumnOf(int cluster) const { return (static_cast<std::size_t>(cluster) - 1) * columns_; }
  void FormSums(int cluster);
  double WithinSS(int cluster) const;
  double JoinedSS(int a, int b) const;
  double JoinedSSWithGaps(int a, int b) const;

  NCDataMatrix<float> data_;
  std::size_t columns_ = 0;
  bool hasGaps_ = false;
  std::vector<std::vector<int>> members_;  ///< for each cluster its rows, ascending
  std::vector<ColumnSums> sums_;           ///< for each cluster its columns
  std::vector<int> counts_;                ///< likewise, if there are gaps
  std::vector<double> within_;             ///< for each cluster its sum of squares about its means
};

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
