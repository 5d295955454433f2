#pragma once

#include <memory>
#include <string>
#include <vector>

#include "voran/cluster/cluster_distance_calculator.h"
#include "voran/cluster/distance_and_index.h"
#include "voran/cluster/pair_sort.h"
#include "voran/export.h"

inline namespace voran {
namespace DendroGram {

class MegaDistances;

/// Single linkage: the distance of two clusters is that of their nearest rows, the Euclidean one over the columns that
/// both have, scaled up to all columns. A pair of rows without a common column has a NaN for a distance: check first.
///
/// Pairs are taken from the smallest distance up, and those inside one cluster skipped (Kruskal's minimum spanning
/// tree). Equal distances are taken in the order in which the sort leaves them (see detail::PairSort), which is the
/// same for every run, machine and number of threads. Time and memory grow with the square of the number of rows, 12
/// bytes a pair; distances beyond those that merging reaches are not sorted. Where memory does not suffice they go to
/// disk (see MegaDistances and DistanceMemory); then the order of equal ones depends on the memory that there was.
///
/// Init asks `progress` for a break. With distances on disk FindNearestAndMerge does so too, and `progress` must
/// outlive the calculator.
class VORAN_EXPORT SingleLinkageDistanceCalculator : public ClusterDistanceCalculator {
 public:
  SingleLinkageDistanceCalculator();
  /// A copy goes on by itself, unless the distances are on disk: these are shared, and only one of the two may go on.
  SingleLinkageDistanceCalculator(const SingleLinkageDistanceCalculator&);
  SingleLinkageDistanceCalculator& operator=(const SingleLinkageDistanceCalculator&);
  ~SingleLinkageDistanceCalculator() override;

  /// Throws NCError for 65536 rows or more, on a break, if the user does not want the disk to be used, and if it fails.
  void Init(const NCDataMatrix<float>& data, NCProgress* progress) override;
  float FindNearestAndMerge(int& first, int& second) override;
  std::string GetId() override;

 private:
  DistanceAndIndex TakeSmallest();
  bool IsInsideOneCluster(const DistanceAndIndex& pair) const;

  detail::PairList pairs_;  ///< by descending distance, as far as sort_ has come
  detail::PairSort sort_;
  std::vector<int> clusterOf_;  ///< for each row, the 0-based cluster that it is in now
  std::shared_ptr<MegaDistances> store_;
};

}  // namespace DendroGram
}  // namespace voran
