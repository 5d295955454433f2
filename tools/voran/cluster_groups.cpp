#include "tools/voran/cluster_groups.h"

#include <algorithm>
#include <limits>
#include <list>
#include <unordered_set>
#include <utility>

#include "voran/cluster/dendrogram.h"

namespace tool {
namespace {

using Node = DendroGram::DendroGramNode;

// Calls visit(node) for a node before those below it, left before right.
template <typename AnyNode, typename Visit>
void Walk(AnyNode& root, Visit visit) {
  std::vector<AnyNode*> waiting{&root};
  while (!waiting.empty()) {
    AnyNode& node = *waiting.back();
    waiting.pop_back();
    visit(node);
    if (node.IsLeaf()) continue;
    waiting.push_back(node.GetRight());
    waiting.push_back(node.GetLeft());
  }
}

std::size_t RowOf(const Node& leaf) {
  return static_cast<std::size_t>(leaf.Items()->front());
}

// The nodes that are joined, in the order of `merges`.
std::vector<const Node*> MergedNodes(const Node& root, const std::vector<ClusterMerge>& merges) {
  std::vector<const Node*> nodes(2 * merges.size() + 2);  // by id
  Walk(root, [&](const Node& node) {
    if (node.IsLeaf()) nodes[RowOf(node)] = &node;
  });
  std::vector<const Node*> joined;
  for (const ClusterMerge& merge : merges) {
    joined.push_back(nodes[merge.first]->GetParent());
    nodes[merge.made] = joined.back();
  }
  return joined;
}

// The topmost nodes that `isTogether`, and the leaves outside them.
template <typename IsTogether>
ClusterGroups GroupsOf(Node& root, IsTogether isTogether) {
  ClusterGroups groups;
  groups.ofRow.resize(static_cast<std::size_t>(root.SizeLeafs()));
  Walk(root, [&](Node& node) {
    const Node* const parent = node.GetParent();
    node.SetModel(parent == nullptr ? 0 : parent->GetModel());
    if (node.GetModel() == 0 && (node.IsLeaf() || isTogether(node))) {
      groups.nodes.push_back(&node);
      node.SetModel(static_cast<int>(groups.nodes.size()));
    }
    if (node.IsLeaf()) groups.ofRow[RowOf(node) - 1] = groups.nodes.size();
  });
  return groups;
}

}  // namespace

std::vector<ClusterMerge> MergesOf(const Node& root, double unit) {
  NCDataVector<float> heights;
  NCIntegralVector<unsigned long, 0> first;
  NCIntegralVector<unsigned long, 0> second;
  NCIntegralVector<unsigned long, 0> made;
  DendroGram::CreateMergeData(root, heights, first, second, made, nullptr, nullptr);
  std::vector<ClusterMerge> merges;
  for (int p = 1; p <= heights.Size(); ++p) {
    merges.push_back({unit * static_cast<double>(heights[p]), first[p], second[p], made[p]});
  }
  return merges;
}

std::vector<std::size_t> RowOrder(const Node& root) {
  std::list<int> rows;
  root.GetLeafs(rows);
  std::vector<std::size_t> order;
  for (const int row : rows) order.push_back(static_cast<std::size_t>(row) - 1);
  return order;
}

bool IsTreeOf(const Node& root, std::size_t rows) {
  std::vector<bool> isSeen(rows);
  std::size_t seen = 0;
  bool isSound = true;
  Walk(root, [&](const Node& node) {
    if (!node.IsLeaf()) {
      isSound = isSound && node.SizeLeafs() == node.GetLeft()->SizeLeafs() + node.GetRight()->SizeLeafs();
      return;
    }
    const std::size_t row = node.SizeItems() == 1 ? RowOf(node) - 1 : rows;  // a row of 0 or below is far beyond
    isSound = isSound && row < rows && !isSeen[row];
    if (isSound) isSeen[row] = true;
    ++seen;
  });
  return isSound && seen == rows;
}

ClusterGroups CutIntoGroups(Node& root, std::size_t count) {
  const std::vector<const Node*> nodes = MergedNodes(root, MergesOf(root, 1.0));
  const auto firstUndone = nodes.end() - static_cast<std::ptrdiff_t>(count - 1);
  const std::unordered_set<const Node*> undone(firstUndone, nodes.end());
  ClusterGroups groups = GroupsOf(root, [&](const Node& node) { return undone.count(&node) == 0; });
  if (undone.empty()) return groups;
  const auto isLower = [](const Node* a, const Node* b) { return a->Height() < b->Height(); };
  const auto highest = std::max_element(nodes.begin(), firstUndone, isLower);
  const float low = highest == firstUndone ? 0.0f : (*highest)->Height();
  const float high = (*std::min_element(firstUndone, nodes.end(), isLower))->Height();
  if (low < high) groups.line = 0.5 * (static_cast<double>(low) + static_cast<double>(high));
  return groups;
}

double AsHeight(double given, double unit) {
  const double height = given / unit;
  const double largest = static_cast<double>(std::numeric_limits<float>::max());
  return height > largest ? height : static_cast<double>(static_cast<float>(height));
}

// DendroGramDrawer::SplitByHeight would not do: a merge at the very height leaves its rows in no group there.
ClusterGroups CutAtHeight(Node& root, double height) {
  ClusterGroups groups =
      GroupsOf(root, [height](const Node& node) { return !(static_cast<double>(node.Height()) > height); });
  groups.line = height;
  return groups;
}

std::vector<std::vector<std::size_t>> CountClasses(const ClassColumn& classes, const ClusterGroups& groups) {
  std::vector<std::vector<std::size_t>> counts(groups.nodes.size(), std::vector<std::size_t>(classes.classes.size()));
  for (std::size_t i = 0; i < groups.ofRow.size(); ++i) {
    const int own = classes.ofRow[i];
    if (own != kNoClass) ++counts[groups.ofRow[i] - 1][static_cast<std::size_t>(own)];
  }
  return counts;
}

}  // namespace tool
