#include "voran/cluster/single_linkage_distance_calculator.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

#include "voran/cluster/cluster_allocation_error.h"
#include "voran/cluster/compute_distances.h"

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
    throw;  // from here on store_ is to hold the distances, on disk
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
  while (!sort_.IsReached(pairs_.size())) {
    // A range of pairs that would all be skipped is not worth sorting.
    const auto begin = pairs_.begin() + static_cast<std::ptrdiff_t>(sort_.LastRangeBegin());
    const bool isSkipped = begin != pairs_.begin() && std::all_of(begin, pairs_.end(), [this](const auto& pair) {
                             return IsInsideOneCluster(pair);
                           });
    if (isSkipped) {
      pairs_.erase(begin, pairs_.end());
      sort_.ForgetLastRange();
    } else {
      sort_.Step(pairs_);
    }
  }
  const DistanceAndIndex pair = pairs_.back();
  pairs_.pop_back();
  return pair;
}

bool SingleLinkageDistanceCalculator::IsInsideOneCluster(const DistanceAndIndex& pair) const {
  return clusterOf_[static_cast<std::size_t>(pair.first) - 1] == clusterOf_[static_cast<std::size_t>(pair.second) - 1];
}

}  // namespace DendroGram
}  // namespace voran
