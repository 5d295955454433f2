#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

#include "voran/cluster/dendrogram_node.h"

inline namespace voran {
namespace detail {

using DendroGram::DendroGramNode;

/// The lowest row of a leaf; above all rows if it has none.
inline int LowestRow(const DendroGramNode& leaf) {
  return leaf.SizeItems() == 0 ? std::numeric_limits<int>::max() : leaf.Items()->front();
}

/// What a walk sets aside for the nodes that wait: enough for every tree that clustering makes, and little where a
/// count of leaves was read that is not true.
inline std::size_t RoomToWait(const DendroGramNode& root) {
  constexpr int kMostClusteredRows = 65535;
  return static_cast<std::size_t>(std::min(root.SizeLeafs(), kMostClusteredRows));
}

/// Calls `visit` for a node and all below it: a node, its left subtree, its right subtree. The next node is chosen
/// before the visit, which thus may exchange the children of the node.
template <class Node, class Visit>
void WalkPreOrder(Node& root, Visit visit) {
  std::vector<Node*> waiting;
  waiting.reserve(RoomToWait(root));
  for (Node* node = &root; node != nullptr;) {
    Node* const visited = node;
    if (!visited->IsLeaf()) {
      waiting.push_back(visited->GetRight());
      node = visited->GetLeft();
    } else if (waiting.empty()) {
      node = nullptr;
    } else {
      node = waiting.back();
      waiting.pop_back();
    }
    visit(*visited);
  }
}

/// A node and all below it, children before their parent and left before right.
inline std::vector<const DendroGramNode*> PostOrder(const DendroGramNode& root) {
  std::vector<const DendroGramNode*> order;
  std::vector<const DendroGramNode*> waiting{&root};
  while (!waiting.empty()) {
    const DendroGramNode* const node = waiting.back();
    waiting.pop_back();
    order.push_back(node);
    if (node->IsLeaf()) continue;
    waiting.push_back(node->GetLeft());
    waiting.push_back(node->GetRight());
  }
  return {order.rbegin(), order.rend()};
}

}  // namespace detail
}  // namespace voran
