#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "tools/voran/class_responses.h"
#include "voran/cluster/dendrogram_node.h"

namespace tool {

/// A joining of two clusters. The rows of the table have the ids 1, 2, ...; `made` is the id of the joined cluster.
struct ClusterMerge {
  double height;
  std::size_t first;
  std::size_t second;
  std::size_t made;
};

/// The merges of a tree in the order of DendroGram::CreateMergeData, their heights multiplied by `unit`.
std::vector<ClusterMerge> MergesOf(const DendroGram::DendroGramNode& root, double unit);

/// The rows of a tree, counted from 0, from left to right.
std::vector<std::size_t> RowOrder(const DendroGram::DendroGramNode& root);

/// Whether a tree that comes from outside holds each of so many rows once, and is consistent in itself.
bool IsTreeOf(const DendroGram::DendroGramNode& root, std::size_t rows);

/// A tree cut into clusters.
struct ClusterGroups {
  /// From left to right in the drawing.
  std::vector<const DendroGram::DendroGramNode*> nodes;
  /// Of each row, counted from 1.
  std::vector<std::size_t> ofRow;
  /// Where a line across the tree makes these groups, in the heights of its nodes; nothing if no line does.
  std::optional<double> line;
};

// Both cuts give the nodes of each group its number as their model, and those above 0.

/// Undoes the `count` - 1 last of the merges, in the order of CreateMergeData. `count` is at most the number of rows.
ClusterGroups CutIntoGroups(DendroGram::DendroGramNode& root, std::size_t count);

/// A height as the user gives it, in `unit`, as that of a node: heights are floats, and one that was copied from the
/// results is to be what it was.
double AsHeight(double given, double unit);

/// The clusters at a height: what was joined at `height` or below belongs together.
ClusterGroups CutAtHeight(DendroGram::DendroGramNode& root, double height);

/// How many rows of each class fall into each group, by group and class.
std::vector<std::vector<std::size_t>> CountClasses(const ClassColumn& classes, const ClusterGroups& groups);

}  // namespace tool
