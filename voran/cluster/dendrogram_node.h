#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <vector>

#include "voran/export.h"
#include "voran/platform/streamable.h"

inline namespace voran {
namespace DendroGram {

/// A node of a cluster tree, and with it everything below: a leaf holds rows, an inner node joins two clusters.
///
/// Rows are numbered from 1. A leaf counts as one leaf however many rows it holds. An inner node owns its children; the
/// root is the caller's, made by `new` or GetDendroGram and freed by Destroy(), never by delete. A tree may be as deep
/// as it has leaves: nothing here recurses. Running out of memory throws std::bad_alloc and loses no node.
///
/// Threads: a tree that nobody changes can be read by several. The reorderings are const, since they leave the
/// clustering as it is, but they do change the tree.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): private on purpose, so that Destroy() is the only way
class VORAN_EXPORT DendroGramNode : public StreamWalk<DendroGramNode> {
 public:
  /// A leaf without rows.
  DendroGramNode() = default;
  /// A leaf of one row.
  explicit DendroGramNode(int item);
  /// A leaf of these rows, which are sorted.
  explicit DendroGramNode(const std::list<int>& rows);
  /// A node that joins two trees at `height` and takes them over. They must be roots.
  DendroGramNode(float height, DendroGramNode* left, DendroGramNode* right);
  /// A root of its own, with copies of everything below `other`.
  DendroGramNode(const DendroGramNode& other);
  /// Replaces what this node holds and all below it by a copy; its place under its parent stays. The ancestors' offsets
  /// follow, and they keep their counts of leaves.
  DendroGramNode& operator=(const DendroGramNode& other);
  /// Exchanges what two nodes hold and all below them; each stays in its place. Neither may lie below the other. The
  /// ancestors as above.
  void swap(DendroGramNode& other) noexcept;
  /// Copies everything but the links to children and parent.
  void CopyLocalData(const DendroGramNode& other);
  /// Frees this node and all below it. Allocates nothing. To be called for a root.
  void Destroy() noexcept;

  /// Whether both trees have the same shape, the same rows in the same order, equal leaf counts, and heights and
  /// offsets that differ by no more than a relative 1e-5. Models are not compared.
  bool operator==(const DendroGramNode& other) const;
  bool operator!=(const DendroGramNode& other) const { return !(*this == other); }

  bool IsLeaf() const noexcept { return isLeaf_; }
  /// The children, null for a leaf; the parent, null for a root.
  DendroGramNode* GetLeft() noexcept { return isLeaf_ ? nullptr : left_; }
  const DendroGramNode* GetLeft() const noexcept { return isLeaf_ ? nullptr : left_; }
  DendroGramNode* GetRight() noexcept { return isLeaf_ ? nullptr : right_; }
  const DendroGramNode* GetRight() const noexcept { return isLeaf_ ? nullptr : right_; }
  DendroGramNode* GetParent() noexcept { return parent_; }
  const DendroGramNode* GetParent() const noexcept { return parent_; }

  /// The distance at which the children were joined; 0 for a leaf.
  float Height() const noexcept { return isLeaf_ ? 0.0F : height_; }
  /// Where the stem stands in the node's drawing range, 0 to 1: midway between the stems of the children.
  float GetXOffset() const noexcept { return xOffset_; }
  /// A number for the caller's own use, 0 at first.
  int GetModel() const noexcept { return model_; }
  void SetModel(int model) noexcept { model_ = model; }
  /// The number of leaves below an inner node, 1 for a leaf. Split() raises it for the split node alone.
  int SizeLeafs() const noexcept { return isLeaf_ ? 1 : leafCount_; }
  /// The rows of a leaf, ascending; 0 and null for an inner node.
  int SizeItems() const noexcept { return isLeaf_ ? static_cast<int>(items_.size()) : 0; }
  const std::vector<int>* Items() const noexcept { return isLeaf_ ? &items_ : nullptr; }

  /// Appends all rows below this node, from left to right.
  void GetLeafs(std::list<int>& rows) const;
  /// The topmost nodes that hold the leaves in which one of `rows` (ascending) lies: those leaves after ReLink(). The
  /// caller owns the new list.
  std::list<const DendroGramNode*>* GetNodes(const std::vector<int>& rows) const;
  /// The same, in place of what `nodes` held.
  void GetNodes(const std::vector<int>& rows, std::list<const DendroGramNode*>& nodes) const;
  /// Puts a parent in place of the first of its two children wherever both are in the list, until no two siblings are
  /// left; a node that is in the list twice stays where it comes first.
  static void ReLink(std::list<const DendroGramNode*>& nodes);
  /// Whether `other` is this node or lies below it.
  bool IsSubNode(const DendroGramNode* other) const noexcept;

  /// Makes this leaf an inner node at `height`: on the left a leaf of `rows`, on the right one of the other rows. The
  /// ancestors keep their counts of leaves. Throws NCInternalError if this is no leaf, or if either part would be empty
  /// or hold a row that is not here; rows that were found before that are gone from the leaf.
  void Split(const std::list<int>& rows, float height);
  /// Divides all heights of the subtree by that of this node. Nothing happens if that is 0.
  void Normalise();

  // Reorder the children of every node of the subtree. Linear in its size, and in the number of its ancestors.

  /// The child with fewer leaves goes left.
  void SortBySize() const;
  /// The lower child goes left.
  void SortByHeight() const;
  /// The child with the lowest row goes left.
  void SortByIndex() const;
  void MirrorImage() const;

  static DerivedStreamableData MyStreamableData;

 private:
  friend class StreamWalk<DendroGramNode>;

  ~DendroGramNode() override = default;  // frees this node alone

  void AdoptChildren(DendroGramNode* left, DendroGramNode* right) noexcept;
  void DestroyChildren() noexcept;
  void CopyChildren(const DendroGramNode& other);
  /// From those of the children.
  float StemOffset() const noexcept;
  void UpdateOffsetsUpward() const noexcept;
  template <class MustSwap>
  void SortChildren(MustSwap mustSwap) const;

  bool VStreamableWrite(std::ostream& stream);
  bool VStreamableRead(std::istream& stream);
  void WriteNodes(std::ostream& stream) const;
  void ReadNodes(std::istream& stream);
  void Serialize(std::ostream& stream) const;
  /// Throws VrStreamError for what cannot be a node.
  void DeSerialize(std::istream& stream);

  bool isLeaf_ = true;
  std::vector<int> items_;
  mutable DendroGramNode* left_ = nullptr;
  mutable DendroGramNode* right_ = nullptr;
  float height_ = -0.5F;
  int leafCount_ = 0;
  mutable float xOffset_ = 0.5F;
  DendroGramNode* parent_ = nullptr;
  int model_ = 0;
};

/// Owns a root: std::unique_ptr<DendroGramNode, DestroyTree>.
struct DestroyTree {
  void operator()(DendroGramNode* root) const noexcept { root->Destroy(); }
};
using DendroGramPointer = std::unique_ptr<DendroGramNode, DestroyTree>;

}  // namespace DendroGram
}  // namespace voran
