#include <algorithm>
#include <list>
#include <memory>
#include <numeric>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/cluster/spelt_trees.h"
#include "voran/cluster/dendrogram.h"
#include "voran/platform/nc_error.h"

namespace {

using DendroGram::CreateMergeData;
using spelt::Chain;
using spelt::DendroGramNode;
using spelt::DendroGramPointer;
using spelt::Nodes;
using spelt::Spell;
using spelt::Tree;
using testing::ElementsAre;

/// Offsets are floats formed by some five operations each, whose errors halve from level to level.
constexpr double kOffsetTolerance = 1e-6;

/// The offset as defined, in double.
double OffsetOf(const DendroGramNode& node) {
  if (node.IsLeaf()) return 0.5;
  const double left = node.GetLeft()->SizeLeafs();
  const double right = node.GetRight()->SizeLeafs();
  const double all = node.SizeLeafs();
  return 0.5 * (left / all * OffsetOf(*node.GetLeft()) + (right * OffsetOf(*node.GetRight()) + left) / all);
}

void ExpectSound(const DendroGramNode& node) {
  EXPECT_NEAR(node.GetXOffset(), OffsetOf(node), kOffsetTolerance) << Spell(node);
  if (node.IsLeaf()) return;
  for (const DendroGramNode* const child : {node.GetLeft(), node.GetRight()}) {
    EXPECT_EQ(child->GetParent(), &node);
    ExpectSound(*child);
  }
}

const DendroGramNode& At(const DendroGramNode& root, const std::string& path) {
  const DendroGramNode* node = &root;
  for (const char side : path) node = side == 'l' ? node->GetLeft() : node->GetRight();
  return *node;
}

TEST(DendroGramNode, ReordersItsChildren) {
  const std::tuple<void (DendroGramNode::*)() const, const char*, const char*> cases[] = {
      {&DendroGramNode::SortBySize, "(5 (4 (3 1 2) 3) 4)", "(5 4 (4 3 (3 1 2)))"},
      {&DendroGramNode::SortBySize, "(5 (1 4 3) (2 2 1))", "(5 (1 4 3) (2 2 1))"},
      {&DendroGramNode::SortByHeight, "(5 (2 1 2) (1 4 (0.5 3 5)))", "(5 (1 4 (0.5 3 5)) (2 1 2))"},
      {&DendroGramNode::SortByHeight, "(5 (2 1 2) 3)", "(5 3 (2 1 2))"},
      {&DendroGramNode::SortByIndex, "(5 (2 8 2) (1 6 (0.5 7 1)))", "(5 (1 (0.5 1 7) 6) (2 2 8))"},
      {&DendroGramNode::SortByIndex, "(5 4+9 (1 5 3))", "(5 (1 3 5) 4+9)"},
      {&DendroGramNode::MirrorImage, "(5 (2 1 2) (1 4 (0.5 3 5)))", "(5 (1 (0.5 5 3) 4) (2 2 1))"},
      {&DendroGramNode::MirrorImage, "7", "7"},
  };
  for (const auto& [reorder, before, after] : cases) {
    const DendroGramPointer tree = Tree(before);
    ((*tree).*reorder)();
    EXPECT_EQ(Spell(*tree), after) << before;
    ExpectSound(*tree);
  }
  const DendroGramPointer tree = Tree("(9 (8 (5 (4 1 2) 3) 4) 5)");  // the stems above a subtree move
  At(*tree, "ll").SortBySize();
  EXPECT_EQ(Spell(*tree), "(9 (8 (5 3 (4 1 2)) 4) 5)");
  ExpectSound(*tree);
}

TEST(DendroGramNode, CopiesStandByThemselves) {
  const char* const kTree = "(9 (8 1 2+3) (4 4 5))";
  const DendroGramPointer tree = Tree(kTree);
  tree->GetLeft()->SetModel(7);
  const DendroGramPointer copy(new DendroGramNode(At(*tree, "l")));
  EXPECT_EQ(copy->GetParent(), nullptr);
  EXPECT_EQ(copy->GetModel(), 7);
  copy->MirrorImage();
  EXPECT_EQ(Spell(*copy), "(8 2+3 1)");
  EXPECT_EQ(Spell(*tree), kTree);

  *copy = *tree;
  EXPECT_TRUE(*copy == *tree);
  *tree = At(*tree, "lr");
  EXPECT_EQ(Spell(*tree), "2+3");
  *copy = *copy;
  EXPECT_EQ(Spell(*copy), kTree);
  *copy->GetRight() = *tree;
  EXPECT_EQ(Spell(*copy), "(9 (8 1 2+3) 2+3)");
  EXPECT_FLOAT_EQ(copy->GetXOffset(), 0.5f * (2.0f / 4 * 0.5f + (1 * 0.5f + 2) / 4));  // 4 leaves still
  EXPECT_EQ(At(*copy, "r").GetParent(), copy.get());
  tree->CopyLocalData(At(*copy, "ll"));
  EXPECT_EQ(Spell(*tree), "1");
}

TEST(DendroGramNode, SubtreesChangePlaces) {
  const DendroGramPointer tree = Tree("(9 (8 1 (5 2 6)) (4 3 4))");
  tree->GetLeft()->swap(*tree->GetRight());
  EXPECT_EQ(Spell(*tree), "(9 (4 3 4) (8 1 (5 2 6)))");
  ExpectSound(*tree);
}

TEST(DendroGramNode, EqualTreesHaveTheSameShapeAndNearlyTheSameNumbers) {
  const std::pair<const char*, bool> cases[] = {{"(2 (1 1 2) 3)", true},
                                                {"(2.00001 (1 1 2) 3)", true},
                                                {"(2.0001 (1 1 2) 3)", false},
                                                {"(2 (1.0001 1 2) 3)", false},
                                                {"(2 (1 1 2) 4)", false},
                                                {"(2 (0 1 2) 3)", false},
                                                {"(2 3 (1 1 2))", false},
                                                {"(2 1 2)", false},
                                                {"(2 (1 1 (1 2 4)) 3)", false},
                                                {"(2 (1 1 2+4) 3)", false},
                                                {"1", false}};
  const DendroGramPointer tree = Tree("(2 (1 1 2) 3)");
  for (const auto& [text, isEqual] : cases) {
    const DendroGramPointer other = Tree(text);
    other->SetModel(3);
    EXPECT_EQ(*tree == *other, isEqual) << text;
    EXPECT_EQ(*other != *tree, !isEqual) << text;
  }
  const DendroGramPointer flat = Tree("(0 1 2)");
  EXPECT_TRUE(*flat == *Tree("(0 1 2)"));
}

TEST(DendroGramNode, FindsTheTopmostNodesOfRows) {
  const DendroGramPointer tree = Tree("(9 (8 (5 1 2) 3+7) (4 4 (1 5 6)))");
  const std::pair<std::vector<int>, const char*> cases[] = {{{}, ""},
                                                            {{99}, ""},
                                                            {{2}, "2"},
                                                            {{1, 2, 7}, "(8 (5 1 2) 3+7)"},
                                                            {{1, 3, 7}, "1 3+7"},
                                                            {{2, 5, 6}, "2 (1 5 6)"},
                                                            {{1, 2, 3, 4, 5, 6}, "(9 (8 (5 1 2) 3+7) (4 4 (1 5 6)))"}};
  for (const auto& [rows, nodes] : cases) EXPECT_EQ(spelt::SpellOwned(tree->GetNodes(rows)), nodes);
  EXPECT_TRUE(At(*tree, "l").IsSubNode(&At(*tree, "lll")));
  EXPECT_TRUE(tree->IsSubNode(tree.get()));
  EXPECT_FALSE(At(*tree, "l").IsSubNode(tree.get()));
  EXPECT_FALSE(At(*tree, "l").IsSubNode(nullptr));
}

TEST(DendroGramNode, RelinkingPutsAParentWhereItsFirstChildWas) {
  const DendroGramPointer tree = Tree("(9 (8 1 2) (4 3 4))");
  const std::pair<std::vector<const char*>, const char*> cases[] = {
      {{"rl", "lr", "rl"}, "3 2"},
      {{"lr", "rl", "ll"}, "(8 1 2) 3"},
      {{"rr", "l", "lr", "lr", "ll"}, "4 (8 1 2)"},
      {{"rl", "ll", "lr", "", "rr"}, "(9 (8 1 2) (4 3 4))"},
      {{"ll", "rl", "l", "lr"}, "(8 1 2) 3"},
      {{"l", "ll"}, "(8 1 2) 1"}};
  for (const auto& [paths, after] : cases) {
    Nodes nodes;
    for (const char* const path : paths) nodes.push_back(&At(*tree, path));
    DendroGramNode::ReLink(nodes);
    EXPECT_EQ(Spell(nodes), after);
  }
}

TEST(DendroGramNode, SplitsALeafOfSeveralRows) {
  const DendroGramPointer tree = Tree("(9 1+2+3+5+8 (4 4 6))");
  tree->GetLeft()->Split({8, 2}, 3.5F);
  EXPECT_EQ(Spell(*tree), "(9 (3.5 2+8 1+3+5) (4 4 6))");
  EXPECT_EQ(At(*tree, "l").SizeLeafs(), 2);
  EXPECT_EQ(tree->SizeLeafs(), 3);  // ancestors keep their counts
  ExpectSound(*tree);
  for (const auto& [rows, left] :
       {std::pair<std::list<int>, const char*>{{}, "1+3+5"}, {{3, 4}, "1+5"}, {{5, 5}, "1"}, {{1}, ""}}) {
    DendroGramNode& leaf = *tree->GetLeft()->GetRight();
    EXPECT_THROW(leaf.Split(rows, 1), NCInternalError);
    EXPECT_EQ(Spell(leaf), left);
  }
  EXPECT_THROW(tree->Split({1}, 1), NCInternalError);  // no leaf
}

TEST(DendroGramNode, NormalisesHeightsByItsOwn) {
  const DendroGramPointer tree = Tree("(8 (4 1 2) (2 3 (1 4 5)))");
  tree->GetRight()->Normalise();
  EXPECT_EQ(Spell(*tree), "(8 (4 1 2) (1 3 (0.5 4 5)))");
  tree->Normalise();
  EXPECT_EQ(Spell(*tree), "(1 (0.5 1 2) (0.125 3 (0.0625 4 5)))");
  tree->GetLeft()->GetLeft()->Normalise();
  const DendroGramPointer flat = Tree("(0 1 2)");
  flat->Normalise();
  EXPECT_EQ(Spell(*flat), "(0 1 2)");
}

using Ids = NCIntegralVector<unsigned long, 0>;
using Items = std::vector<std::vector<unsigned long>>;

struct MergeData {
  NCDataVector<float> heights{5.0F};
  Ids first;
  Ids second;
  Ids merged;

  std::string Spelt() const {
    std::ostringstream text;
    for (int p = 1; p <= heights.Size(); ++p) {
      text << heights[p] << ':' << first[p] << '+' << second[p] << '=' << merged[p] << ' ';
    }
    return text.str();
  }
};

TEST(MergeData, ListsMergesByHeightSizeAndWalk) {
  const std::pair<const char*, const char*> cases[] = {
      {"4", ""},
      {"(9 (8 40 20) (2 10 30))", "2:1+3=5 8:4+2=6 9:6+5=7 "},
      {"(3 (1 (1 1 2) 3) (1 4 5))", "1:1+2=6 1:4+5=7 1:6+3=8 3:8+7=9 "},
      {"(3 2+5 (1 4+1 3))", "1:1+3=4 3:2+4=5 "},
      {"(9 (2 (3 1 2) 3) (2.5 4 5))", "2.5:4+5=6 3:1+2=7 2:7+3=8 9:8+6=9 "},  // lower than its child
  };
  for (const auto& [tree, merges] : cases) {
    MergeData data;
    CreateMergeData(*Tree(tree), data.heights, data.first, data.second, data.merged, nullptr, nullptr);
    EXPECT_EQ(data.Spelt(), merges) << tree;
    EXPECT_EQ(data.first.Size(), data.heights.Size());
  }
}

TEST(MergeData, TellsTheRowsOfLeaves) {
  MergeData data;
  Items first = {{1}};
  Items second(9);
  CreateMergeData(*Tree("(3 2+5 (1 4+1 3))"), data.heights, data.first, data.second, data.merged, &first, &second);
  EXPECT_THAT(first, ElementsAre(ElementsAre(1, 4), ElementsAre(2, 5)));
  EXPECT_THAT(second, ElementsAre(ElementsAre(3), ElementsAre()));
  EXPECT_THROW(CreateMergeData(*Tree("1"), data.heights, data.first, data.second, data.merged, &first, nullptr),
               NCInternalError);
  EXPECT_THROW(CreateMergeData(*Tree("1"), data.heights, data.first, data.second, data.merged, nullptr, &second),
               NCInternalError);
}

TEST(DendroGramNode, DeepTreesTakeNoCallStack) {
  for (const bool hangsLeft : {true, false}) {
    spelt::OnSmallStack([hangsLeft] {
      const DendroGramPointer tree = Chain(spelt::kDeep, hangsLeft);
      const DendroGramPointer copy(new DendroGramNode(*tree));
      EXPECT_TRUE(*tree == *copy);
      tree->MirrorImage();
      EXPECT_FALSE(*tree == *copy);
      tree->SortBySize();
      tree->SortByHeight();
      tree->SortByIndex();
      tree->Normalise();
      EXPECT_TRUE(tree->IsLeaf() || (tree->Height() == 1.0F && tree->GetRight()->Height() == 0.0F));
      std::vector<int> all(spelt::kDeep);
      std::iota(all.begin(), all.end(), 1);
      const std::unique_ptr<Nodes> nodes(tree->GetNodes(all));
      EXPECT_THAT(*nodes, ElementsAre(tree.get()));
      MergeData data;
      CreateMergeData(*tree, data.heights, data.first, data.second, data.merged, nullptr, nullptr);
      EXPECT_EQ(data.merged.back(), 2UL * spelt::kDeep - 1);
      *copy = *Tree("1");
    });
  }
}

}  // namespace
