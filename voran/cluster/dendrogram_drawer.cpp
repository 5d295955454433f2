#include "voran/cluster/dendrogram_drawer.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <unordered_set>
#include <utility>
#include <vector>

#include "voran/cluster/dendrogram_layout.h"
#include "voran/containers/missing_value.h"

inline namespace voran {
namespace DendroGram {

using Nodes = std::list<const DendroGramNode*>;
using voran::detail::LayoutStep;
using voran::detail::LeafsTogether;
using voran::detail::PlacedNode;
using voran::detail::WalkLayout;

DendroGramDrawOutput::~DendroGramDrawOutput() = default;

namespace {

constexpr float kNoPlace = voran::detail::kMissing<float>;

/// The middle, halved in double.
float Middle(float a, float b) {
  return static_cast<float>(static_cast<double>(a + b) * 0.5);
}

/// Where heights lie in a drawing.
struct HeightScale {
  float height;  ///< of the root, which is drawn at `top`
  float top;
  float bottom;

  float ToY(float h) const { return height == 0.0F ? kNoPlace : bottom - h * (bottom - top) / height; }
  float FromY(float y) const { return (bottom - y) * height / (bottom - top); }
};

class SubtreeDrawing {
 public:
  SubtreeDrawing(DendroGramDrawOutput& out, const HeightScale& scale, bool displayLabels)
      : out_(out), scale_(scale), displayLabels_(displayLabels) {}

  void DrawNode(const PlacedNode& place) {
    const float y = place.node->IsLeaf() ? scale_.bottom : scale_.ToY(place.node->Height());
    const float x = place.node->IsLeaf() ? DrawFoot(place) : DrawBar(place, y);
    const DendroGramNode* const parent = place.node->GetParent();
    if (parent != nullptr) out_.DrawLine(x, y, x, scale_.ToY(parent->Height()), place.node);
  }

 private:
  /// These two return where the node's own stem stands.
  float DrawFoot(const PlacedNode& place) {
    const float x = Middle(place.x1, place.x0);
    if (displayLabels_) out_.DrawLabel(place.node->Items(), x, scale_.bottom);
    return x;
  }
  float DrawBar(const PlacedNode& place, float y) {
    const DendroGramNode& left = *place.node->GetLeft();
    const DendroGramNode& right = *place.node->GetRight();
    const float leafs = LeafsTogether(left, right);
    const float leftShare = static_cast<float>(left.SizeLeafs()) / leafs;
    const float rightShare = static_cast<float>(right.SizeLeafs()) / leafs;
    const float width = place.x1 - place.x0;
    const float leftStem = width * leftShare * left.GetXOffset() + place.x0;
    const float rightStem = (rightShare * right.GetXOffset() + leftShare) * width + place.x0;
    out_.DrawLine(leftStem, y, rightStem, y, place.node);
    return Middle(leftStem, rightStem);
  }

  DendroGramDrawOutput& out_;
  HeightScale scale_;
  bool displayLabels_;
};

/// The subtrees to draw: the whole tree, or those in `drawn`.
std::vector<PlacedNode> DrawingStarts(const PlacedNode& root, const DendroGramDrawer::NodeSet& drawn) {
  if (drawn.empty()) return {root};
  std::vector<PlacedNode> starts;
  WalkLayout(root, [&](const PlacedNode& place) {
    if (starts.size() == drawn.size()) return LayoutStep::kStop;
    if (drawn.count(place.node) == 0) return LayoutStep::kDescend;
    starts.push_back(place);
    return LayoutStep::kSkip;
  });
  return starts;
}

bool IsBelowOneOf(const DendroGramDrawer::NodeSet& nodes, const DendroGramNode* node) {
  while (node != nullptr && nodes.count(node) == 0) node = node->GetParent();
  return node != nullptr;
}

/// How far `x` is from the range of `a` and `b`.
double DistanceToRange(float x, float a, float b) {
  const auto [low, high] = std::minmax(a, b);
  return std::max({0.0, static_cast<double>(low) - x, static_cast<double>(x) - high});
}

/// Draws nothing, and notes the nodes whose lines touch a rectangle.
class HitTester final : public DendroGramDrawOutput {
 public:
  HitTester(float x, float y, float dx, float dy)
      : x_(x), y_(y), left_(x - dx), top_(y - dy), right_(x + dx), bottom_(y + dy) {}

  void DrawLine(float x1, float y1, float x2, float y2, const DendroGramNode* node) override {
    const auto [minX, maxX] = std::minmax(x1, x2);
    const auto [minY, maxY] = std::minmax(y1, y2);
    if (maxX < left_ || minX > right_ || maxY < top_ || minY > bottom_) return;
    const double ex = DistanceToRange(x_, minX, maxX);
    const double ey = DistanceToRange(y_, minY, maxY);
    results_.emplace(std::sqrt(ey * ey + ex * ex), node);
  }
  void DrawLabel(const std::vector<int>* /*items*/, float /*x*/, float /*y*/) override {}
  bool MeasureLabel(const std::vector<int>* /*items*/, float /*x*/, float /*y*/, float& /*left*/, float& /*top*/,
                    float& /*width*/, float& /*height*/) override {
    return false;
  }

  /// A node stands where its nearest line puts it.
  Nodes Hits(bool nearestOnly) const {
    Nodes nodes;
    std::unordered_set<const DendroGramNode*> seen;
    for (const auto& [distance, node] : results_) {
      if (nearestOnly && distance > results_.begin()->first) break;
      if (seen.insert(node).second) nodes.push_back(node);
    }
    return nodes;
  }

 private:
  float x_;
  float y_;
  float left_;
  float top_;
  float right_;
  float bottom_;
  std::multimap<double, const DendroGramNode*> results_;
};

/// Removes the nodes that lie below others in the list, by one walk over the tree that does not go below a hit.
void KeepTopmost(const DendroGramNode& root, Nodes& nodes) {
  const std::unordered_set<const DendroGramNode*> hits(nodes.begin(), nodes.end());
  std::unordered_set<const DendroGramNode*> topmost;
  WalkLayout({&root, 0.0F, 1.0F}, [&](const PlacedNode& place) {
    if (hits.count(place.node) == 0) return LayoutStep::kDescend;
    topmost.insert(place.node);
    return LayoutStep::kSkip;
  });
  nodes.remove_if([&topmost](const DendroGramNode* node) { return topmost.count(node) == 0; });
}

}  // namespace

void DendroGramDrawer::Draw(DendroGramDrawOutput& out, float left, float right, float top, float bottom) const {
  SubtreeDrawing drawing(out, {root_->Height(), top, bottom}, displayLabels_);
  for (const PlacedNode& start : DrawingStarts({root_, left, right}, drawn_)) {
    if (IsBelowOneOf(excluded_, start.node)) continue;
    WalkLayout(start, [&](const PlacedNode& place) {
      if (excluded_.count(place.node) != 0) return LayoutStep::kSkip;
      drawing.DrawNode(place);
      return LayoutStep::kDescend;
    });
  }
}

void DendroGramDrawer::AdjustForLabels(DendroGramDrawOutput& out, float& left, float& right, float& /*top*/,
                                       float& bottom) const {
  if (!displayLabels_) return;
  float lowest = kNoPlace;
  bool isSet = false;
  WalkLayout({root_, left, right}, [&](const PlacedNode& place) {
    if (excluded_.count(place.node) != 0) return LayoutStep::kSkip;
    float x = 0.0F;
    float y = 0.0F;
    float width = 0.0F;
    float height = 0.0F;
    if (place.node->IsLeaf() &&
        out.MeasureLabel(place.node->Items(), Middle(place.x0, place.x1), bottom, x, y, width, height)) {
      lowest = isSet ? std::max(lowest, y + height) : y + height;
      isSet = true;
    }
    return LayoutStep::kDescend;
  });
  if (isSet && lowest > bottom) bottom -= lowest - bottom;
}

Nodes* DendroGramDrawer::HitTest(float left, float right, float top, float bottom, float x, float y, float dx, float dy,
                                 bool nearestOnly) const {
  HitTester tester(x, y, dx, dy);
  Draw(tester, left, right, top, bottom);
  auto nodes = std::make_unique<Nodes>(tester.Hits(nearestOnly));
  KeepTopmost(*root_, *nodes);
  return nodes.release();
}

Nodes* DendroGramDrawer::SplitByHeight(float top, float bottom, float cut) const {
  const float threshold = HeightScale{root_->Height(), top, bottom}.FromY(cut);
  auto nodes = std::make_unique<Nodes>();
  WalkLayout({root_, 0.0F, std::numeric_limits<float>::max()}, [&](const PlacedNode& place) {
    const DendroGramNode* const parent = place.node->GetParent();
    const bool isBelow = threshold > place.node->Height();
    if (!isBelow || (parent != nullptr && !(parent->Height() > threshold))) return LayoutStep::kDescend;
    nodes->push_back(place.node);
    return LayoutStep::kSkip;
  });
  return nodes.release();
}

Nodes* DendroGramDrawer::WidthHitTest(float left, float right, float from, float to) const {
  if (from > to) std::swap(from, to);
  std::vector<PlacedNode> hits;
  WalkLayout({root_, left, right}, [&](const PlacedNode& place) {
    const auto half = static_cast<float>((place.x1 - place.x0) / (place.node->SizeLeafs() * 2.0));
    if (!(place.x0 + half >= from && to >= place.x1 - half)) return LayoutStep::kDescend;
    hits.push_back(place);
    return LayoutStep::kSkip;
  });
  // They are in this order already, unless the drawing runs from right to left.
  std::stable_sort(hits.begin(), hits.end(), [](const PlacedNode& a, const PlacedNode& b) { return a.x0 < b.x0; });
  auto nodes = std::make_unique<Nodes>();
  for (const PlacedNode& hit : hits) nodes->push_back(hit.node);
  return nodes.release();
}

}  // namespace DendroGram
}  // namespace voran
