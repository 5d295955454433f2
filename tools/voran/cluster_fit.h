#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/voran/cluster_groups.h"
#include "tools/voran/gap_counts.h"
#include "tools/voran/prepared_table.h"
#include "tools/voran/scaling.h"
#include "tools/voran/table.h"
#include "voran/cluster/dendrogram_node.h"
#include "voran/cluster/ward_distance_calculator.h"
#include "voran/preprocessing/transform.h"

namespace tool {

class TreeCache;

/// More rows than this the library cannot cluster.
constexpr std::size_t kMostClusterRows = 65535;
/// And more than this not by Ward's method: it counts the pairs in 32 bits.
constexpr std::size_t kMostRowsInMemory = 46341;

struct ClusterSettings {
  /// What height Ward's method gives a merge; nothing means single linkage.
  std::optional<DendroGram::DistanceType> ward = DendroGram::DistanceType::kSquareRoot;
  Scaling scaling = Scaling::kUnitVariance;
  NCTransform transforms;             ///< empty, or one a variable
  std::optional<double> cut;          ///< the height at which the tree is cut into groups
  std::optional<std::size_t> groups;  ///< into how many it is cut; not with `cut`
};

struct ClusterResult {
  PreparedColumns columns;
  GapCounts gaps;                       ///< of the variables of the table
  DendroGram::DendroGramPointer tree;   ///< of the rows, which it numbers from 1
  double unit = 1.0;                    ///< what the tree's heights are to be multiplied by
  std::vector<ClusterMerge> merges;     ///< in the order of DendroGram::CreateMergeData
  std::size_t lowMerges = 0;            ///< those that are lower than one of the clusters that they join
  std::vector<std::size_t> order;       ///< the rows, counted from 0, from left to right in the tree
  std::optional<ClusterGroups> groups;  ///< if the tree is cut
  std::vector<ClassColumn> classes;     ///< of the table
  bool isFromCache = false;
  std::vector<std::string> notes;  ///< what the user should know, a sentence each
};

/// Clusters the rows. Takes the matrix out of the table. `cache` and `progress` may be null. Throws `Failure`.
ClusterResult FitCluster(Table& table, const ClusterSettings& settings, TreeCache* cache, NCProgress* progress);

/// "ss" or "root", as in the option.
std::string WardTypeName(DendroGram::DistanceType type);

/// "Ward's method (ss)", "Ward's method (root)" or "single linkage".
std::string MethodText(const ClusterSettings& settings);

/// What the heights are.
std::string HeightText(const ClusterSettings& settings);

}  // namespace tool
