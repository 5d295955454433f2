#include "voran/cluster/single_linkage_distance_calculator.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <vector>

#include "voran/cluster/cluster_allocation_error.h"
#include "voran/cluster/compute_distances.h"
#include "voran/cluster/disk_fallback.h"
#include "voran/cluster/mega_distances.h"

inline namespace voran {
namespace DendroGram {

SingleLinkageDistanceCalculator::SingleLinkageDistanceCalculator() = default;
SingleLinkageDistanceCalculator::SingleLinkageDistanceCalculator(const SingleLinkageDistanceCalculator&) = default;
SingleLinkageDistanceCalculator& SingleLinkageDistanceCalculator::operator=(const SingleLinkageDistanceCalculator&) =
    default;
SingleLinkageDistanceCalculator::~SingleLinkageDistanceCalculator() = default;

void SingleLinkageDistanceCalculator::Init(const NCDataMatrix<float>& data, NCProgress* progress) {
  clusterOf_.resize(static_cast<std::size_t>(data.SizeRows()));
  std::iota(clusterOf_.begin(), clusterOf_.end(), 0);
  store_.reset();
  try {
    sort_ = detail::ComputeDistances(data, progress, pairs_, detail::PairFunction::kSquaredDifference,
                                     detail::Finish::kSquareRoot);
  } catch (const ClusterAllocationError&) {
    pairs_ = detail::PairList();  // its memory goes to the buffer
    store_ = detail::KeepDistancesOnDisk(data, progress);
  }
}

float SingleLinkageDistanceCalculator::FindNearestAndMerge(int& first, int& second) {
  DistanceAndIndex pair;
  do {
    pair = TakeSmallest();
  } while (IsInsideOneCluster(pair));
  const int a = clusterOf_[static_cast<std::size_t>(pair.first) - 1];
  const int b = clusterOf_[static_cast<std::size_t>(pair.second) - 1];
  const int kept = std::min(a, b);
  const int gone = std::max(a, b);
  for (int& cluster : clusterOf_) cluster = cluster == gone ? kept : cluster - static_cast<int>(cluster > gone);
  first = kept;
  second = gone;
  return pair.distance;
}

std::string SingleLinkageDistanceCalculator::GetId() {
  return "SingleLinkageDistanceCalculator";
}

DistanceAndIndex SingleLinkageDistanceCalculator::TakeSmallest() {
  const auto isUseless = [this](const DistanceAndIndex& pair) { return IsInsideOneCluster(pair); };
  if (store_) {
    const DistanceAndIndex pair = store_->Top(isUseless);
    store_->Pop();
    return pair;
  }
  sort_.ReachLast(pairs_, isUseless);
  const DistanceAndIndex pair = pairs_.back();
  pairs_.pop_back();
  return pair;
}

bool SingleLinkageDistanceCalculator::IsInsideOneCluster(const DistanceAndIndex& pair) const {
  return clusterOf_[static_cast<std::size_t>(pair.first) - 1] == clusterOf_[static_cast<std::size_t>(pair.second) - 1];
}

}  // namespace DendroGram
}  // namespace voran
