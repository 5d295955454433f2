#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "voran/cluster/cluster_distance_calculator.h"
#include "voran/cluster/cluster_sums.h"
#include "voran/cluster/ward_pair_list.h"
#include "voran/export.h"

inline namespace voran {
namespace DendroGram {

/// What Ward's method calls the distance of two clusters. Only these two may be used.
enum class DistanceType : std::int32_t {
  kErrorSumOfSquares = 0,  ///< by how much the sum of squares within clusters grows if the two are joined
  kSquareRoot = 1          ///< the square root of that
};

/// Ward's method: joins the two clusters whose joining makes the sum of squares within clusters grow least.
///
/// It is deliberately lazy. All pairs of rows stand in a list by descending distance, and the last is joined. A pair
/// whose clusters have changed since its distance was formed keeps its place, and is looked at again only when it is
/// the last: then the distances of all such pairs at the end are formed anew, from the rows themselves, and the pairs
/// go where these belong. A pair farther forward that would now be nearer has to wait. So heights need not ascend,
/// and the tree may differ from one that always knows every distance.
///
/// Where rows have gaps, the first distance of two rows is scaled up from the columns that both have, one that is
/// formed anew from what each cluster has in a column: with no gaps the two agree but for rounding.
///
/// Takes 12 bytes for each pair of rows, and up to two thirds more while pairs move. Init alone asks
/// `progress` for a break.
class VORAN_EXPORT WardDistanceCalculator : public ClusterDistanceCalculator {
 public:
  explicit WardDistanceCalculator(DistanceType distanceType);

  /// Throws NCError: ClusterAllocationError where there is no memory for the pairs (see DistanceMemory). Any other
  /// DistanceType deliberately computes no distances, and nothing can be joined after that.
  void Init(const NCDataMatrix<float>& data, NCProgress* progress) override;
  float FindNearestAndMerge(int& first, int& second) override;
  std::string GetId() override;

 private:
  /// Forms the stale distances at the end of the list anew and moves their pairs to their places.
  void RefreshTail();
  void UpdateDistance(DistanceAndIndex& pair) const;

  DistanceType distanceType_;
  detail::WardPairList pairs_;
  detail::ClusterSums clusters_;
  std::vector<int> positions_;  ///< of each cluster, 0-based; it bears the name of its first row
};

}  // namespace DendroGram
}  // namespace voran
