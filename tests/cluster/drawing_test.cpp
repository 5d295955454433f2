#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/cluster/spelt_trees.h"
#include "voran/cluster/dendrogram_drawer.h"
#include "voran/cluster/dendrogram_node_lister.h"

namespace {

using DendroGram::DendroGramDrawer;
using DendroGram::DendroGramDrawOutput;
using DendroGram::DendroGramNodeLister;
using spelt::DendroGramNode;
using spelt::DendroGramPointer;
using spelt::Nodes;
using spelt::Spell;
using spelt::SpellOwned;
using spelt::Tree;
using testing::ElementsAre;

/// A label is as wide as 10, as high as 4 for each of its rows.
class Recorder : public DendroGramDrawOutput {
 public:
  void DrawLine(float x1, float y1, float x2, float y2, const DendroGramNode* node) override {
    drawn.push_back({{x1, y1, x2, y2}, node});
  }
  void DrawLabel(const std::vector<int>* items, float x, float y) override {
    drawn.push_back({{static_cast<float>(items->front()), x, y}, nullptr});
  }
  bool MeasureLabel(const std::vector<int>* items, float x, float y, float& left, float& top, float& width,
                    float& height) override {
    left = x - 5;
    top = y;
    width = 10;
    height = 4 * static_cast<float>(items->size());
    return measures;
  }

  std::vector<std::pair<std::vector<float>, const DendroGramNode*>> drawn;
  bool measures = true;
};

/// "node: x1,y1 x2,y2" for a line, "label row x,y".
std::vector<std::string> Drawing(const DendroGramDrawer& drawer) {
  Recorder out;
  drawer.Draw(out, 100, 180, 10, 50);  // 20 to a leaf, of four
  std::vector<std::string> drawing;
  for (const auto& [at, node] : out.drawn) {
    std::ostringstream text;
    if (node == nullptr) {
      text << "label " << at[0] << ' ' << at[1] << ',' << at[2];
    } else {
      text << Spell(*node) << ": " << at[0] << ',' << at[1] << ' ' << at[2] << ',' << at[3];
    }
    drawing.push_back(text.str());
  }
  return drawing;
}

/// Leaves at 110, 130, 150, 170; heights 4 and 2 and 1 at y = 10, 30 and 40.
const char* const kTree = "(4 (2 1 2) (1 3 4+5))";

TEST(DendroGramDrawer, DrawsBarsStemsAndLabels) {
  const DendroGramPointer tree = Tree(kTree);
  DendroGramDrawer drawer(*tree);
  const auto drawing = Drawing(drawer);
  EXPECT_THAT(drawing, ElementsAre("(4 (2 1 2) (1 3 4+5)): 120,10 160,10",                                      //
                                   "(2 1 2): 110,30 130,30", "(2 1 2): 120,30 120,10",                          //
                                   "label 1 110,50", "1: 110,50 110,30", "label 2 130,50", "2: 130,50 130,30",  //
                                   "(1 3 4+5): 150,40 170,40", "(1 3 4+5): 160,40 160,10",                      //
                                   "label 3 150,50", "3: 150,50 150,40", "label 4 170,50", "4+5: 170,50 170,40"));
  drawer.DisplayLabels(false);
  EXPECT_EQ(Drawing(drawer).size(), drawing.size() - 4);
  EXPECT_THAT(Drawing(DendroGramDrawer(*Tree("8"))), ElementsAre("label 8 140,50"));
  EXPECT_EQ(Drawing(DendroGramDrawer(*Tree("(4 (2 (1 1 2) 3) 4)"))).front(), "(4 (2 (1 1 2) 3) 4): 135,10 170,10");
  // Without height there is no place for bars and for what leads up to them.
  EXPECT_THAT(Drawing(DendroGramDrawer(*Tree("(0 1 2)"))),
              ElementsAre("(0 1 2): 120,-99 160,-99", "label 1 120,50", "1: 120,50 120,-99", "label 2 160,50",
                          "2: 160,50 160,-99"));
}

TEST(DendroGramDrawer, LeavesOutWhatIsExcludedAndDrawsOnlyWhatIsAsked) {
  const DendroGramPointer tree = Tree(kTree);
  const DendroGramPointer other = Tree("9");
  DendroGramDrawer drawer(*tree);
  drawer.DisplayLabels(false);
  drawer.GetExcluded().insert(tree->GetLeft());
  EXPECT_THAT(Drawing(drawer), ElementsAre("(4 (2 1 2) (1 3 4+5)): 120,10 160,10", "(1 3 4+5): 150,40 170,40",
                                           "(1 3 4+5): 160,40 160,10", "3: 150,50 150,40", "4+5: 170,50 170,40"));
  EXPECT_EQ(SpellOwned(drawer.HitTest(100, 180, 10, 50, 120, 30, 15, 1, false)), "");
  drawer.GetDrawn() = {tree->GetLeft()->GetLeft(), tree->GetRight()->GetLeft(), other.get()};
  EXPECT_THAT(Drawing(drawer), ElementsAre("3: 150,50 150,40"));  // a part of an excluded subtree is excluded
  drawer.ClearExcluded();
  EXPECT_THAT(Drawing(DendroGramDrawer(drawer)), ElementsAre("1: 110,50 110,30", "3: 150,50 150,40"));
  drawer.ClearDrawn();
  EXPECT_EQ(Drawing(drawer).size(), 9u);
}

TEST(DendroGramDrawer, MakesRoomForLabels) {
  const DendroGramPointer tree = Tree(kTree);
  DendroGramDrawer drawer(*tree);
  Recorder out;
  const auto expectRoom = [&](float bottom) {
    std::vector<float> place = {100, 180, 10, 50};
    drawer.AdjustForLabels(out, place[0], place[1], place[2], place[3]);
    EXPECT_THAT(place, ElementsAre(100, 180, 10, bottom));
  };
  expectRoom(42);  // for the two rows of the last leaf
  drawer.GetExcluded().insert(tree->GetRight());
  expectRoom(46);
  drawer.GetExcluded().insert(tree->GetLeft());
  expectRoom(50);
  drawer.ClearExcluded();
  out.measures = false;
  expectRoom(50);
  out.measures = true;
  drawer.DisplayLabels(false);
  expectRoom(50);
}

TEST(DendroGramDrawer, HitsTheTopmostNodesNearAPoint) {
  const DendroGramPointer tree = Tree(kTree);
  const DendroGramDrawer drawer(*tree);
  const struct {
    float x, y, dx, dy;
    bool nearestOnly;
    const char* nodes;
  } cases[] = {{112, 45, 2, 1, false, "1"},  // the edge counts
               {112, 45, 1.5F, 1, false, ""},
               {110, 31, 2, 2, false, "(2 1 2)"},  // its bar, and the stem of 1 below
               {110, 32, 3, 3, true, "1"},
               {120, 20, 1, 1, false, "(2 1 2)"},
               {140, 35, 25, 10, false, "(2 1 2) (1 3 4+5)"},
               {158, 35, 50, 10, false, "(1 3 4+5) (2 1 2)"},
               {140, 10, 5, 5, false, kTree},
               {140, 45, 10, 1, true, "2 3"},  // both at 10
               {141, 45, 20, 1, true, "3"},
               {141, 45, 20, 1, false, "3 2"},
               {300, 300, 5, 5, true, ""}};
  for (const auto& c : cases) {
    EXPECT_EQ(SpellOwned(drawer.HitTest(100, 180, 10, 50, c.x, c.y, c.dx, c.dy, c.nearestOnly)), c.nodes)
        << c.x << ',' << c.y;
  }
}

// Of heights 5, 4, 3 and 2, at y = 10, 18, 26 and 34; leaves at 110, 130, 150, 170, 190.
const char* const kUneven = "(5 (4 1 (3 2 (2 3 4))) 5)";

TEST(DendroGramDrawer, CutsTheTreeAtAHeight) {
  const std::tuple<const char*, float, const char*> cases[] = {{kTree, 5, kTree},
                                                               {kTree, 15, "(2 1 2) (1 3 4+5)"},
                                                               {kTree, 35, "1 2 (1 3 4+5)"},
                                                               {kTree, 45, "1 2 3 4+5"},
                                                               {kTree, 50, ""},
                                                               {kTree, 60, ""},  // below the leaves
                                                               {kTree, 10, ""},
                                                               {kTree, 30, "(1 3 4+5)"},  // on a bar
                                                               {kUneven, 20, "1 (3 2 (2 3 4)) 5"},
                                                               {kUneven, 30, "1 2 (2 3 4) 5"}};
  for (const auto& [spelt, cut, nodes] : cases) {
    const DendroGramPointer tree = Tree(spelt);
    EXPECT_EQ(SpellOwned(DendroGramDrawer(*tree).SplitByHeight(10, 50, cut)), nodes) << spelt << cut;
  }
}

TEST(DendroGramDrawer, FindsTheNodesWithinAWidth) {
  const std::tuple<const char*, float, float, const char*> cases[] = {
      {kTree, 110, 170, kTree},       {kTree, 111, 170, "2 (1 3 4+5)"},
      {kTree, 169, 100, "(2 1 2) 3"}, {kTree, 130, 150, "2 3"},
      {kTree, 131, 149, ""},          {kTree, 0, 130, "(2 1 2)"},
      {kTree, 170, 170, "4+5"},       {kUneven, 125, 175, "(3 2 (2 3 4))"},
      {kUneven, 105, 155, "1 2 3"},   {kUneven, 145, 195, "(2 3 4) 5"}};
  for (const auto& [spelt, from, to, nodes] : cases) {
    const DendroGramPointer tree = Tree(spelt);
    const float right = std::string(spelt) == kTree ? 180 : 200;
    EXPECT_EQ(SpellOwned(DendroGramDrawer(*tree).WidthHitTest(100, right, from, to)), nodes) << spelt << from;
  }
}

/// The cells one by one, as they are defined.
class PlainCells {
 public:
  struct Cell {
    float value = -99;
    int borders = 0;
  };

  explicit PlainCells(const DendroGramNode& root) { columns = List(root).second; }

  std::map<std::pair<int, int>, Cell> cells;
  std::vector<int> ids;
  std::set<int> breaks;
  int rows = 0;
  int columns = 0;

 private:
  std::pair<int, int> List(const DendroGramNode& node) {
    if (node.IsLeaf()) {
      ids.insert(ids.end(), node.Items()->begin(), node.Items()->end());
      const auto row = static_cast<int>(std::ceil((rows * 2.0 + node.SizeItems()) * 0.5));
      rows += node.SizeItems();
      breaks.insert(rows);
      return {row, 0};
    }
    const auto [rowLeft, left] = List(*node.GetLeft());
    const auto [rowRight, right] = List(*node.GetRight());
    const int column = std::max(left, right) + 1;
    for (int c = left + 1; c <= column - 1; ++c) cells[{rowLeft, c}].borders |= 1;
    for (int c = right + 1; c <= column - 1; ++c) cells[{rowRight, c}].borders |= 1;
    for (int r = rowLeft + 1; r <= rowRight; ++r) cells[{r, column}].borders |= 2;
    const auto row = static_cast<int>(std::ceil((rowRight + rowLeft) * 0.5));
    Cell& cell = cells[{row, column}];
    cell.borders |= 1;
    cell.value = node.Height();
    return {row, column};
  }
};

void ExpectSameCells(const DendroGramNode& tree) {
  const DendroGramNodeLister lister(tree);
  PlainCells plain(tree);
  ASSERT_EQ(lister.SizeRows(), plain.rows);
  ASSERT_EQ(lister.SizeCols(), plain.columns);
  for (int r = 1; r <= plain.rows; ++r) EXPECT_EQ(lister.GetRowID(r), plain.ids[static_cast<std::size_t>(r) - 1]);
  for (int r = 0; r <= plain.rows + 1; ++r) {
    EXPECT_EQ(lister.IsBreak(r), plain.breaks.count(r) != 0);
    for (int c = -1; c <= plain.columns + 1; ++c) {
      const PlainCells::Cell cell = plain.cells[{r, c}];
      ASSERT_EQ(lister.GetCellValue(r, c), cell.value) << r << ' ' << c << ' ' << Spell(tree);
      ASSERT_EQ(lister.GetCellBorders(r, c), cell.borders) << r << ' ' << c << ' ' << Spell(tree);
    }
  }
}

TEST(DendroGramNodeLister, HasTheCellsOfThePlainRules) {
  std::mt19937 random(5);
  for (int leafs = 1; leafs <= 24; ++leafs) ExpectSameCells(*spelt::RandomTree(leafs, random));
  ExpectSameCells(*Tree("(4 (2 1+6+8+9 (1 2 3+7)) (3 4+5 10))"));
  ExpectSameCells(*spelt::Chain(12, true));
  ExpectSameCells(*spelt::Chain(12, false));
}

TEST(DendroGramDrawer, DeepTreesTakeNoCallStack) {
  for (const bool hangsLeft : {true, false}) {
    spelt::OnSmallStack([hangsLeft] {
      const DendroGramPointer tree = spelt::Chain(spelt::kDeep, hangsLeft);
      const DendroGramDrawer drawer(*tree);
      Recorder out;
      drawer.Draw(out, 0, 1, 0, 1);
      EXPECT_EQ(out.drawn.size(), 4U * spelt::kDeep - 3);  // three lines to a merge, a label to a leaf
      std::vector<float> place = {0, 1, 0, 1};
      drawer.AdjustForLabels(out, place[0], place[1], place[2], place[3]);
      const std::unique_ptr<Nodes> hit(drawer.HitTest(0, 1, 0, 1, 0.5F, 0.5F, 1, 1, false));
      EXPECT_THAT(*hit, ElementsAre(tree.get()));
      const std::unique_ptr<Nodes> within(drawer.WidthHitTest(0, 1, -1, 2));
      EXPECT_THAT(*within, ElementsAre(tree.get()));
      const std::unique_ptr<Nodes> cut(drawer.SplitByHeight(0, spelt::kDeep, spelt::kDeep - 1.5F));
      EXPECT_EQ(cut->size(), static_cast<std::size_t>(spelt::kDeep));
      const DendroGramNodeLister lister(*tree);
      EXPECT_EQ(lister.SizeRows(), spelt::kDeep);
      EXPECT_EQ(lister.SizeCols(), spelt::kDeep - 1);
    });
  }
}

}  // namespace
