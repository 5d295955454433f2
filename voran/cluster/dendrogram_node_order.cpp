#include <algorithm>
#include <utility>
#include <vector>

#include "voran/cluster/dendrogram_node.h"
#include "voran/cluster/tree_walk.h"

inline namespace voran {
namespace DendroGram {

// The order of the children, and the offsets of the stems that follow from it.

float DendroGramNode::StemOffset() const noexcept {
  const auto leftLeafs = static_cast<float>(left_->SizeLeafs());
  const auto rightLeafs = static_cast<float>(right_->SizeLeafs());
  const auto leafs = static_cast<float>(SizeLeafs());
  const float leftStem = leftLeafs / leafs * left_->xOffset_;
  const float rightStem = (rightLeafs * right_->xOffset_ + leftLeafs) / leafs;
  return static_cast<float>(0.5 * static_cast<double>(leftStem + rightStem));
}

void DendroGramNode::UpdateOffsetsUpward() const noexcept {
  for (const DendroGramNode* node = this; node != nullptr; node = node->parent_) node->xOffset_ = node->StemOffset();
}

/// Exchanges the children of the inner nodes for which `mustSwap` is true. It is asked for every node and leaf,
/// children before their parent, left before right. Offsets are formed once for each node on the way up, and not anew
/// for all ancestors of each exchange, which in a deep tree would take quadratic time.
template <class MustSwap>
void DendroGramNode::SortChildren(MustSwap mustSwap) const {
  for (const DendroGramNode* const node : voran::detail::PostOrder(*this)) {
    const bool swaps = mustSwap(*node);
    if (node->isLeaf_) continue;
    if (swaps) std::swap(node->left_, node->right_);
    node->xOffset_ = node->StemOffset();
  }
  if (parent_ != nullptr) parent_->UpdateOffsetsUpward();
}

void DendroGramNode::SortBySize() const {
  SortChildren(
      [](const DendroGramNode& node) { return !node.isLeaf_ && node.left_->SizeLeafs() > node.right_->SizeLeafs(); });
}

void DendroGramNode::SortByHeight() const {
  SortChildren(
      [](const DendroGramNode& node) { return !node.isLeaf_ && node.left_->Height() > node.right_->Height(); });
}

void DendroGramNode::SortByIndex() const {
  std::vector<int> lowest;  // of the subtrees that are done and whose parents are not
  SortChildren([&lowest](const DendroGramNode& node) {
    if (node.isLeaf_) {
      lowest.push_back(voran::detail::LowestRow(node));
      return false;
    }
    const int right = lowest.back();
    lowest.pop_back();
    const int left = lowest.back();
    lowest.back() = std::min(left, right);
    return left > right;
  });
}

void DendroGramNode::MirrorImage() const {
  SortChildren([](const DendroGramNode& /*node*/) { return true; });
}

}  // namespace DendroGram
}  // namespace voran
