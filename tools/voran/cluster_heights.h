#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/cluster_groups.h"

namespace tool {

/// The heights at which a cut makes as many groups as undoing the last merges, the same ones: `from` and above, and
/// `below`. There is none if `from` is not below `below`, as it may happen where merges do not ascend.
struct HeightRange {
  std::size_t groups;
  double from;
  double below;

  bool IsEmpty() const { return !(from < below); }
};

/// Of 2, 3, ... groups, at most `most` ranges.
std::vector<HeightRange> HeightRanges(const std::vector<ClusterMerge>& merges, std::size_t most);

/// A line each, for the terminal. Both heights that it shows, read back, are in the range. `unit` is that of the tree.
std::string HeightLines(const std::vector<HeightRange>& ranges, double unit);

nlohmann::ordered_json HeightsJson(const std::vector<HeightRange>& ranges);

}  // namespace tool
