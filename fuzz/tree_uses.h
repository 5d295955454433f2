#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

#include "fuzz/expect.h"
#include "fuzz/round_trip.h"
#include "voran/cluster/dendrogram.h"
#include "voran/cluster/dendrogram_drawer.h"
#include "voran/cluster/dendrogram_node.h"
#include "voran/cluster/dendrogram_node_lister.h"

namespace fuzz {

using Nodes = std::list<const DendroGram::DendroGramNode*>;

/// A node below `root`, or that one.
inline DendroGram::DendroGramNode& PickNode(FuzzedDataProvider& bytes, DendroGram::DendroGramNode& root) {
  DendroGram::DendroGramNode* node = &root;
  while (!node->IsLeaf() && bytes.ConsumeBool()) node = bytes.ConsumeBool() ? node->GetLeft() : node->GetRight();
  return *node;
}

/// Counts what is drawn on it.
class CountingOutput : public DendroGram::DendroGramDrawOutput {
 public:
  void DrawLine(float, float, float, float, const DendroGram::DendroGramNode* node) override {
    Expect(node != nullptr, "a line belongs to a node");
    ++lines;
  }
  void DrawLabel(const std::vector<int>* items, float, float) override {
    Expect(items != nullptr, "a label is a leaf's");
    ++labels;
  }
  bool MeasureLabel(const std::vector<int>*, float x, float y, float& left, float& top, float& width,
                    float& height) override {
    left = x;
    top = y;
    width = 3.0F;
    height = 2.0F;
    return labels % 2 == 0;
  }

  int lines = 0;
  int labels = 0;
};

inline float MakePlace(FuzzedDataProvider& bytes) {
  return bytes.ConsumeFloatingPointInRange<float>(-5.0F, 120.0F);
}

/// None of the nodes lies below another.
inline void ExpectApart(const Nodes& nodes) {
  for (const auto* const a : nodes) {
    for (const auto* const b : nodes) Expect(a == b || !a->IsSubNode(b), "no node of a list lies below another");
  }
}

inline void DrawTree(FuzzedDataProvider& bytes, DendroGram::DendroGramNode& root) {
  DendroGram::DendroGramDrawer drawer(root);
  drawer.DisplayLabels(bytes.ConsumeBool());
  if (bytes.ConsumeBool()) drawer.GetExcluded().insert(&PickNode(bytes, root));
  if (bytes.ConsumeBool()) drawer.GetDrawn().insert(&PickNode(bytes, root));
  float left = MakePlace(bytes);
  float right = MakePlace(bytes);
  float top = MakePlace(bytes);
  float bottom = MakePlace(bytes);
  CountingOutput out;
  drawer.AdjustForLabels(out, left, right, top, bottom);
  drawer.Draw(out, left, right, top, bottom);
  const float x = MakePlace(bytes);
  const float y = MakePlace(bytes);
  const std::unique_ptr<Nodes> hits(drawer.HitTest(left, right, top, bottom, x, y, 5.0F, 5.0F, bytes.ConsumeBool()));
  const std::unique_ptr<Nodes> between(drawer.WidthHitTest(left, right, x, y));
  const std::unique_ptr<Nodes> clusters(drawer.SplitByHeight(top, bottom, y));
  for (const Nodes* const nodes : {hits.get(), between.get(), clusters.get()}) ExpectApart(*nodes);
}

inline void ListTree(const DendroGram::DendroGramNode& root) {
  const DendroGram::DendroGramNodeLister lister(root);
  for (int row = 1; row <= lister.SizeRows(); ++row) {
    lister.GetRowID(row);
    lister.IsBreak(row);
    for (int column = 0; column <= lister.SizeCols(); ++column) {
      lister.GetCellValue(row, column);
      lister.GetCellBorders(row, column);
    }
  }
}

/// What only reads a tree, and a copy that is stored and read.
inline void UseTree(FuzzedDataProvider& bytes, DendroGram::DendroGramNode& root) {
  DrawTree(bytes, root);
  ListTree(root);
  std::list<int> leafs;
  root.GetLeafs(leafs);
  leafs.sort();
  const std::vector<int> rows(leafs.begin(), leafs.end());
  const std::unique_ptr<Nodes> nodes(root.GetNodes(rows));
  ExpectApart(*nodes);
  const DendroGram::DendroGramPointer copy(new DendroGram::DendroGramNode(root));
  const std::string written = Written(*copy);
  const DendroGram::DendroGramPointer read(new DendroGram::DendroGramNode());
  Expect(IsRead(written, *read) && Written(*read) == written, "a tree that was written is read");
}

}  // namespace fuzz
