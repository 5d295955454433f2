#include <fstream>
#include <iterator>
#include <list>
#include <memory>
#include <new>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/cluster/spelt_trees.h"
#include "tests/containers/failing_allocation.h"
#include "tests/platform/stream_bytes.h"
#include "voran/cluster/dendrogram_drawer.h"

namespace {

using spelt::DendroGramNode;
using spelt::DendroGramPointer;
using spelt::Spell;
using spelt::Tree;
using stored::Bytes;
using stored::Element;
using stored::Int;

const Bytes kIsLeaf = stored::LittleEndian(1, 1);
const Bytes kIsInner = stored::LittleEndian(0, 1);

Bytes Inner(float offset, float height, int leafs, int model = 0) {
  return kIsInner + Element(offset) + Element(height) + Int(leafs) + Int(model);
}
Bytes Leaf(const std::vector<int>& rows, int model = 0) {
  Bytes items;
  for (const int row : rows) items += Int(row);
  return kIsLeaf + Element(0.5F) + Int(std::ssize(rows)) + items + Int(model);
}
std::string Stored(const Bytes& nodes, unsigned version = 1) {
  return (stored::Headers("Dendro", version) + stored::Directory({nodes})).All();
}

const char* const kTree = "(2 (1 1 2) 3+4)";
const Bytes kNodes = Inner(0.583333313F, 2, 3) + Inner(0.5F, 1, 2, 6) + Leaf({1}) + Leaf({2}) + Leaf({3, 4}, 7);

bool Read(const std::string& bytes, DendroGramNode& node) {
  std::istringstream stream(bytes);
  return ReadStreamable(stream, node);
}
std::string Written(const DendroGramNode& node) {
  std::ostringstream stream;
  EXPECT_TRUE(WriteStreamable(stream, node));
  return stream.str();
}

// The golden file was written by the first version of the format: every later one has to read it.
TEST(TreeStream, HasTheBytesOfTheFormatAndComesBack) {
  std::ifstream golden(VORAN_GOLDEN_DIR "/Dendro.v1", std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(golden), {}), Stored(kNodes));
  const DendroGramPointer tree = Tree(kTree);
  tree->GetLeft()->SetModel(6);
  tree->GetRight()->SetModel(7);
  EXPECT_EQ(Written(*tree), Stored(kNodes));
  const DendroGramPointer read = Tree("(5 5 (4 6 7))");
  EXPECT_TRUE(Read(Stored(kNodes), *read));
  EXPECT_EQ(Spell(*read), kTree);
  EXPECT_TRUE(*read == *tree);
  EXPECT_EQ(read->GetLeft()->GetRight()->GetParent()->GetParent(), read.get());
  EXPECT_EQ(Written(*read), Stored(kNodes));

  const DendroGramPointer around = Tree("(5 5 (4 6 7))");  // a node below another can be read into
  EXPECT_TRUE(Read(Stored(kNodes), *around->GetRight()));
  EXPECT_EQ(Spell(*around), "(5 5 (2 (1 1 2) 3+4))");
  EXPECT_EQ(around->GetRight()->GetParent(), around.get());
}

TEST(TreeStream, RefusesWhatIsNoTreeAndTakesNoMemoryForIt) {
  constexpr std::size_t kBuffer = 65536;  // of a directory
  const Bytes leaf = Leaf({1});
  const std::pair<const char*, std::string> cases[] = {
      {"a later version", Stored(kNodes, 2)},
      {"no node", Stored(Bytes())},
      {"no entry", (stored::Headers("Dendro", 1) + stored::Directory({std::nullopt})).All()},
      {"a node too many", Stored(leaf + leaf)},
      {"a child too few", Stored(Inner(0.5F, 1, 2) + leaf)},
      {"rows without end", Stored(kIsLeaf + Element(0.5F) + Int(0x7FFFFFFF) + Int(1) + Int(0))},
      {"more rows than bytes", Stored(kIsLeaf + Element(0.5F) + Int(40000) + std::string(40000, '\0'))},
      {"a negative count of rows", Stored(kIsLeaf + Element(0.5F) + Int(-1) + Int(0))},
      {"rows out of order", Stored(Leaf({2, 1}))},
      {"a single leaf below", Stored(Inner(0.5F, 1, 1) + leaf + leaf)},
  };
  for (const auto& [what, bytes] : cases) {
    const DendroGramPointer read = Tree("(5 5 6)");
    const AllocationWatch watch;
    EXPECT_FALSE(Read(bytes, *read)) << what;
    EXPECT_LE(watch.Largest(), kBuffer) << what;
  }
  const DendroGramPointer read = Tree("(5 5 6)");
  EXPECT_TRUE(Read(Stored(Leaf({})), *read));
}

TEST(TreeStream, CountsOfLeavesAreBelievedAndCostNothing) {
  const auto leaf = Leaf({1});
  const DendroGramPointer read = Tree("(5 5 6)");
  std::list<int> rows;
  const AllocationWatch watch;
  EXPECT_TRUE(Read(Stored(Inner(0.5F, 1, 0x7FFFFFFF) + leaf + leaf), *read));
  read->GetLeafs(rows);
  EXPECT_LE(watch.Largest(), std::size_t{1} << 20U);
  EXPECT_EQ(rows, (std::list<int>{1, 1}));

  // Not even where two of them are added.
  const Bytes crowd = Inner(0.5F, 1, 0x7FFFFFFF) + leaf + leaf;
  EXPECT_TRUE(Read(Stored(Inner(0.5F, 2, 0x7FFFFFFF) + crowd + crowd), *read));
  const std::unique_ptr<std::list<const DendroGramNode*>> left(
      DendroGram::DendroGramDrawer(*read).WidthHitTest(0.0F, 1.0F, 0.0F, 0.5F));
  EXPECT_EQ(left->front(), read->GetLeft());
  const DendroGramPointer joined(
      new DendroGramNode(3, new DendroGramNode(*read->GetLeft()), new DendroGramNode(*read->GetRight())));
  EXPECT_EQ(joined->SizeLeafs(), 0x7FFFFFFF);

  const DendroGramPointer tree = Tree("(9 (8 (7 1 2) 3) 4)");
  *tree->GetLeft() = *tree->GetRight();  // the root still counts four
  EXPECT_TRUE(Read(Written(*tree), *read));
  EXPECT_TRUE(*read == *tree);
}

TEST(TreeStream, LeavesNothingBehindWhenMemoryRunsOut) {
  if (!FailingAllocation::IsAvailable()) GTEST_SKIP();
  const std::string bytes = Stored(kNodes);
  const DendroGramPointer tree = Tree(kTree);
  bool isDone = false;
  for (int k = 1; !isDone; ++k) {
    const long before = LiveAllocations();
    try {
      std::istringstream stream(bytes);
      const DendroGramPointer read = Tree("(5 5 6)");
      const FailingAllocation failing(k);
      const DendroGramPointer copy(new DendroGramNode(*tree));
      *read = *copy;
      isDone = ReadStreamable(stream, *read);
      // As it was, if not even a header was read.
      EXPECT_TRUE(isDone || Spell(*read).empty() || Spell(*read) == kTree) << k;
    } catch (const std::bad_alloc&) {
      EXPECT_FALSE(isDone) << k;
    }
    EXPECT_EQ(LiveAllocations(), before) << k;
    ASSERT_LT(k, 200);
  }
}

TEST(TreeStream, DeepTreesTakeNoCallStack) {
  for (const bool hangsLeft : {true, false}) {
    spelt::OnSmallStack([hangsLeft] {
      const DendroGramPointer tree = spelt::Chain(spelt::kDeep, hangsLeft);
      const DendroGramPointer read(new DendroGramNode());
      EXPECT_TRUE(Read(Written(*tree), *read));
      EXPECT_TRUE(*read == *tree);
    });
  }
}

}  // namespace
