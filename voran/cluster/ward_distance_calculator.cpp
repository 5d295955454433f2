#include "voran/cluster/ward_distance_calculator.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <utility>

#include "voran/cluster/compute_distances.h"

inline namespace voran {
namespace DendroGram {

WardDistanceCalculator::WardDistanceCalculator(DistanceType distanceType) : distanceType_(distanceType) {}

void WardDistanceCalculator::Init(const NCDataMatrix<float>& data, NCProgress* progress) {
  detail::PairList pairs;
  detail::PairSort sort;
  if (distanceType_ == DistanceType::kErrorSumOfSquares || distanceType_ == DistanceType::kSquareRoot) {
    const bool isRoot = distanceType_ == DistanceType::kSquareRoot;
    sort = detail::ComputeDistances(data, progress, pairs, detail::PairFunction::kHalfSquaredDifference,
                                    isRoot ? detail::Finish::kSquareRoot : detail::Finish::kIdentity);
  }
  pairs_ = detail::WardPairList(std::move(pairs), sort, data.SizeRows());
  clusters_ = detail::ClusterSums(data);
  positions_.resize(static_cast<std::size_t>(data.SizeRows()));
  std::iota(positions_.begin(), positions_.end(), 0);
}

float WardDistanceCalculator::FindNearestAndMerge(int& first, int& second) {
  RefreshTail();
  detail::WardPairList::Pair pair{};
  [[maybe_unused]] const bool isFound = pairs_.FindLast(pair);
  assert(isFound);
  pairs_.RemoveLast();
  pairs_.Merge(pair.first, pair.second);
  clusters_.Merge(pair.first, pair.second);
  first = positions_[static_cast<std::size_t>(pair.first) - 1];
  second = positions_[static_cast<std::size_t>(pair.second) - 1];
  for (auto i = static_cast<std::size_t>(pair.second); i < positions_.size(); ++i) --positions_[i];
  return pair.distance;
}

std::string WardDistanceCalculator::GetId() {
  return "WardDistanceCalculator" + std::to_string(static_cast<std::int32_t>(distanceType_));
}

void WardDistanceCalculator::RefreshTail() {
  detail::PairList tail;
  for (const auto& pair : pairs_.TakeStaleTail()) {
    tail.push_back({pair.distance, pair.first, pair.second});
    UpdateDistance(tail.back());
  }
  detail::SortPairs(tail);
  detail::WardPairList::Pair fence{};
  const float limit = pairs_.FindLast(fence) ? fence.distance : std::numeric_limits<float>::infinity();
  const auto end = std::partition_point(tail.begin(), tail.end(), [&](const auto& x) { return x.distance > limit; });
  const auto current = [this](const DistanceAndIndex& x) {
    return detail::WardPairList::Pair{x.distance, x.first, x.second, pairs_.NumMerges()};
  };
  for (auto pair = end; pair != tail.begin();) pairs_.Insert(current(*--pair));
  for (auto pair = end; pair != tail.end(); ++pair) pairs_.Append(current(*pair));
}

void WardDistanceCalculator::UpdateDistance(DistanceAndIndex& pair) const {
  pair.distance = clusters_.GetErrorSS(pair.first, pair.second);
  if (distanceType_ == DistanceType::kSquareRoot) pair.distance = std::sqrt(pair.distance);
}

}  // namespace DendroGram
}  // namespace voran
