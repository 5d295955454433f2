#pragma once

#include <cstdint>
#include <vector>

#include "voran/cluster/dendrogram_node.h"
#include "voran/cluster/tree_walk.h"

inline namespace voran {
namespace detail {

/// A node and the horizontal range that it is drawn in.
struct PlacedNode {
  const DendroGram::DendroGramNode* node;
  float x0;
  float x1;
};

/// The leaves of two siblings. Counts that came from a stream may be too large for their sum to be an int.
inline float LeafsTogether(const DendroGram::DendroGramNode& left, const DendroGram::DendroGramNode& right) {
  return static_cast<float>(std::int64_t{left.SizeLeafs()} + right.SizeLeafs());
}

/// How a walk goes on from the node visited.
enum class LayoutStep { kDescend, kSkip, kStop };

/// Walks the subtree of `start`, a node before its children and left before right. The children share the range of
/// their parent by their leaves. `visit` takes a PlacedNode and tells whether to go below it.
template <class Visit>
void WalkLayout(PlacedNode start, Visit visit) {
  std::vector<PlacedNode> waiting;
  waiting.reserve(RoomToWait(*start.node));
  waiting.push_back(start);
  while (!waiting.empty()) {
    const PlacedNode place = waiting.back();
    waiting.pop_back();
    const LayoutStep step = visit(place);
    if (step == LayoutStep::kStop) return;
    if (step == LayoutStep::kSkip || place.node->IsLeaf()) continue;
    const DendroGram::DendroGramNode* const left = place.node->GetLeft();
    const DendroGram::DendroGramNode* const right = place.node->GetRight();
    const auto leftLeafs = static_cast<float>(left->SizeLeafs());
    const float share = leftLeafs / LeafsTogether(*left, *right);
    const float middle = place.x0 + (place.x1 - place.x0) * share;
    waiting.push_back({right, middle, place.x1});
    waiting.push_back({left, place.x0, middle});
  }
}

}  // namespace detail
}  // namespace voran
