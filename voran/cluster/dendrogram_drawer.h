#pragma once

#include <list>
#include <set>
#include <vector>

#include "voran/cluster/dendrogram_node.h"
#include "voran/export.h"

inline namespace voran {
namespace DendroGram {

/// What a tree is drawn on: a window, a page, a file. Coordinates are those given to the drawer; a greater height has a
/// smaller y.
class VORAN_EXPORT DendroGramDrawOutput {
 public:
  virtual ~DendroGramDrawOutput();

  /// A bar or a stem of `node`. Where the tree has no height, y is -99.
  virtual void DrawLine(float x1, float y1, float x2, float y2, const DendroGramNode* node) = 0;
  /// The rows of a leaf, at the foot of its stem.
  virtual void DrawLabel(const std::vector<int>* items, float x, float y) = 0;
  /// True, with the extent, if the label that DrawLabel would draw there has one that can be told.
  virtual bool MeasureLabel(const std::vector<int>* items, float x, float y, float& left, float& top, float& width,
                            float& height) = 0;

 protected:
  DendroGramDrawOutput() = default;
  DendroGramDrawOutput(const DendroGramDrawOutput&) = default;
  DendroGramDrawOutput& operator=(const DendroGramDrawOutput&) = default;
};

/// Draws a tree and finds its nodes in the drawing. The tree must outlive it; its nodes are only read.
///
/// The drawing fills `left`..`right` by the number of leaves, and `top` (the height of the root) to `bottom` (height
/// 0). Every call reads the tree anew and takes time linear in its size. A list that is returned is the caller's.
class VORAN_EXPORT DendroGramDrawer {
 public:
  using NodeSet = std::set<const DendroGramNode*>;

  explicit DendroGramDrawer(const DendroGramNode& root) : root_(&root) {}

  /// Whether leaves get labels, as they do at first.
  void DisplayLabels(bool display) { displayLabels_ = display; }

  /// The subtrees that are left out, with their bars and stems; for the caller to fill.
  NodeSet& GetExcluded() { return excluded_; }
  const NodeSet& GetExcluded() const { return excluded_; }
  void ClearExcluded() { excluded_.clear(); }
  /// If it is not empty, only these subtrees are drawn; for the caller to fill.
  NodeSet& GetDrawn() { return drawn_; }
  const NodeSet& GetDrawn() const { return drawn_; }
  void ClearDrawn() { drawn_.clear(); }

  /// Raises `bottom` until the labels have room above where it was. The other three stay as they are.
  void AdjustForLabels(DendroGramDrawOutput& out, float& left, float& right, float& top, float& bottom) const;
  void Draw(DendroGramDrawOutput& out, float left, float right, float top, float bottom) const;

  /// The nodes of which a line touches the rectangle of `dx` and `dy` to all sides of (`x`, `y`), the nearest first, or
  /// only those at the smallest distance; of nodes one of which lies below another the topmost only.
  std::list<const DendroGramNode*>* HitTest(float left, float right, float top, float bottom, float x, float y,
                                            float dx, float dy, bool nearestOnly) const;
  /// The clusters that a horizontal line at y = `cut` makes, from left to right: the nodes below the line whose parents
  /// are above it. A node whose parent's bar lies on the line is in none.
  std::list<const DendroGramNode*>* SplitByHeight(float top, float bottom, float cut) const;
  /// The topmost nodes that have the middles of all their leaves between `from` and `to`, from left to right.
  std::list<const DendroGramNode*>* WidthHitTest(float left, float right, float from, float to) const;

 private:
  const DendroGramNode* root_;
  NodeSet excluded_;
  NodeSet drawn_;
  bool displayLabels_ = true;
};

}  // namespace DendroGram
}  // namespace voran
