#pragma once

#include <string>
#include <vector>

#include "voran/cluster/cluster_distance_calculator.h"
#include "voran/cluster/dendrogram_node.h"
#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/integral_vector.h"
#include "voran/export.h"
#include "voran/platform/progress.h"
#include "voran/platform/stream_source.h"

inline namespace voran {
namespace DendroGram {

/// Clusters the rows of `data` and returns the root of the tree, which the caller frees with Destroy(). Every leaf
/// holds one row, and the child with fewer leaves is on the left. Null for a matrix without rows.
///
/// `progress` and `streamSource` may be null. A tree that `streamSource` has under CachedDendroGramName() is returned
/// as it is; otherwise the new one is written there, and whether that succeeds is not asked.
///
/// Throws NCError, and leaves nothing behind: after a break; for a row with more than half of its columns missing; for
/// two rows with too few columns that both have, fewer than the square root of their number. That is asked, for each
/// row, of the first later row only with which it may happen. What the calculator throws passes through.
VORAN_EXPORT DendroGramNode* GetDendroGram(const NCDataMatrix<float>& data, ClusterDistanceCalculator& calculator,
                                           NCProgress* progress, VrStreamSource* streamSource);

/// The name under which the tree of these data and this strategy is cached: "Dendro_", rows, columns, and the MD5 of
/// the elements by row and of the calculator's id.
VORAN_EXPORT std::string CachedDendroGramName(const NCDataMatrix<float>& data, ClusterDistanceCalculator& calculator);

/// The tree as a table of merges, lowest first; of equal heights the node with fewer leaves is first, but none stands
/// before a child of its own, even where that is higher.
///
/// Leaves have the ids 1, 2, ... in the order of their lowest rows; the merge at position p joins `firstIds`(p) (left)
/// and `secondIds`(p) (right) at `heights`(p) into a new cluster with the id `newIds`(p). `firstItems` and
/// `secondItems` are both null or get, at p - 1, the rows of a child that is a leaf, and nothing for another;
/// NCInternalError if only one is null. All are replaced.
VORAN_EXPORT void CreateMergeData(const DendroGramNode& root, NCDataVector<float>& heights,
                                  NCIntegralVector<unsigned long, 0>& firstIds,
                                  NCIntegralVector<unsigned long, 0>& secondIds,
                                  NCIntegralVector<unsigned long, 0>& newIds,
                                  std::vector<std::vector<unsigned long>>* firstItems,
                                  std::vector<std::vector<unsigned long>>* secondItems);

}  // namespace DendroGram
}  // namespace voran
