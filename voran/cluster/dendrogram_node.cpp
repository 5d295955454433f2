#include "voran/cluster/dendrogram_node.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include "voran/cluster/tree_walk.h"
#include "voran/platform/nc_error.h"

inline namespace voran {
namespace DendroGram {

namespace {

constexpr double kRelativeTolerance = 1e-5;

/// The relative difference, formed in float, by which equal trees may differ; a NaN exceeds nothing.
bool IsSameNumber(float a, float b) {
  if (a == b) return true;
  if (a == 0.0F || b == 0.0F) return false;
  return !(static_cast<double>(std::fabs((b - a) / b)) > kRelativeTolerance);
}

bool IsSameNode(const DendroGramNode& a, const DendroGramNode& b) {
  if (!IsSameNumber(a.GetXOffset(), b.GetXOffset()) || a.IsLeaf() != b.IsLeaf()) return false;
  if (a.IsLeaf()) return *a.Items() == *b.Items();
  return IsSameNumber(a.Height(), b.Height()) && a.SizeLeafs() == b.SizeLeafs();
}

}  // namespace

DendroGramNode::DendroGramNode(int item) : items_(1, item) {}

DendroGramNode::DendroGramNode(const std::list<int>& rows) : items_(rows.begin(), rows.end()) {
  std::sort(items_.begin(), items_.end());
}

DendroGramNode::DendroGramNode(float height, DendroGramNode* left, DendroGramNode* right)
    : isLeaf_(false), height_(height) {
  assert(left->parent_ == nullptr && right->parent_ == nullptr && left != right);
  AdoptChildren(left, right);
  // Counts that came from a stream may be any.
  constexpr std::int64_t kMost = std::numeric_limits<int>::max();
  leafCount_ = static_cast<int>(std::min(kMost, std::int64_t{left->SizeLeafs()} + right->SizeLeafs()));
  xOffset_ = StemOffset();
}

DendroGramNode::DendroGramNode(const DendroGramNode& other) : StreamWalk(other) {
  CopyLocalData(other);
  CopyChildren(other);
}

DendroGramNode& DendroGramNode::operator=(const DendroGramNode& other) {
  if (this == &other) return *this;
  const DendroGramPointer copy(new DendroGramNode(other));  // first: `other` may lie below this node
  swap(*copy);
  return *this;
}

void DendroGramNode::swap(DendroGramNode& other) noexcept {
  std::swap(isLeaf_, other.isLeaf_);
  items_.swap(other.items_);
  std::swap(height_, other.height_);
  std::swap(leafCount_, other.leafCount_);
  std::swap(xOffset_, other.xOffset_);
  std::swap(model_, other.model_);
  DendroGramNode* const left = std::exchange(other.left_, left_);
  DendroGramNode* const right = std::exchange(other.right_, right_);
  AdoptChildren(left, right);
  other.AdoptChildren(other.left_, other.right_);
  if (parent_ != nullptr) parent_->UpdateOffsetsUpward();
  if (other.parent_ != nullptr) other.parent_->UpdateOffsetsUpward();
}

void DendroGramNode::CopyLocalData(const DendroGramNode& other) {
  items_ = other.items_;
  isLeaf_ = other.isLeaf_;
  height_ = other.height_;
  leafCount_ = other.leafCount_;
  xOffset_ = other.xOffset_;
  model_ = other.model_;
}

void DendroGramNode::AdoptChildren(DendroGramNode* left, DendroGramNode* right) noexcept {
  left_ = left;
  right_ = right;
  if (left != nullptr) left->parent_ = this;
  if (right != nullptr) right->parent_ = this;
}

/// This node has none yet. If memory runs out, it is left without.
void DendroGramNode::CopyChildren(const DendroGramNode& other) {
  try {
    std::vector<std::pair<const DendroGramNode*, DendroGramNode*>> waiting{{&other, this}};
    while (!waiting.empty()) {
      const auto [from, to] = waiting.back();
      waiting.pop_back();
      if (from->isLeaf_) continue;
      for (auto link : {&DendroGramNode::left_, &DendroGramNode::right_}) {
        auto* const child = new DendroGramNode();
        child->parent_ = to;
        to->*link = child;
        child->CopyLocalData(*(from->*link));
        waiting.emplace_back(from->*link, child);
      }
    }
  } catch (...) {
    DestroyChildren();
    throw;
  }
}

void DendroGramNode::Destroy() noexcept {
  DestroyChildren();
  delete this;
}

/// Without a stack, which could not be had when memory has run out: the parents lead back up.
void DendroGramNode::DestroyChildren() noexcept {
  for (DendroGramNode* node = this;;) {
    if (node->left_ != nullptr) {
      node = std::exchange(node->left_, nullptr);
    } else if (node->right_ != nullptr) {
      node = std::exchange(node->right_, nullptr);
    } else if (node != this) {
      delete std::exchange(node, node->parent_);
    } else {
      return;
    }
  }
}

bool DendroGramNode::operator==(const DendroGramNode& other) const {
  if (this == &other) return true;
  if (SizeLeafs() != other.SizeLeafs()) return false;
  std::vector<std::pair<const DendroGramNode*, const DendroGramNode*>> waiting{{this, &other}};
  while (!waiting.empty()) {
    const auto [a, b] = waiting.back();
    waiting.pop_back();
    if (!IsSameNode(*a, *b)) return false;
    if (a->isLeaf_) continue;
    waiting.emplace_back(a->right_, b->right_);
    waiting.emplace_back(a->left_, b->left_);
  }
  return true;
}

void DendroGramNode::Split(const std::list<int>& rows, float height) {
  const char* const location = "DendroGramNode::Split";
  if (!isLeaf_ || rows.empty()) throw NCInternalError(location);
  DendroGramPointer left(new DendroGramNode(rows));
  DendroGramPointer right(new DendroGramNode());
  for (const int row : rows) {
    const auto found = std::lower_bound(items_.begin(), items_.end(), row);
    if (found == items_.end() || *found != row) throw NCInternalError(location);
    items_.erase(found);
  }
  if (items_.empty()) throw NCInternalError(location);
  right->items_.swap(items_);
  isLeaf_ = false;
  AdoptChildren(left.release(), right.release());
  height_ = height;
  leafCount_ = 2;
  UpdateOffsetsUpward();
}

void DendroGramNode::Normalise() {
  const float top = Height();
  if (top == 0.0F) return;
  voran::detail::WalkPreOrder(*this, [top](DendroGramNode& node) { node.height_ /= top; });
}

}  // namespace DendroGram
}  // namespace voran
