#include "voran/containers/string_vector.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;
using Strings = std::vector<std::string>;

struct Mutator {
  std::string name;
  void (*mutate)(NCStringVector&);
  Strings result;
};

const Strings& Sample() {
  static const Strings kSample = {"b", "A", "c", "a", "b"};
  return kSample;
}

const std::vector<Mutator>& Mutators() {
  using V = NCStringVector;
  static const V up(Strings{"a", "c"});
  static const V down(Strings{"c", "b"});
  static const std::vector<Mutator> kMutators = {
      {"set", [](V& v) { EXPECT_EQ(v(2, "x"), "x"); }, {"b", "x", "c", "a", "b"}},
      {"set to its own element", [](V& v) { v(2, v[3]); }, {"b", "c", "c", "a", "b"}},
      {"assign", [](V& v) { v = V(Strings{"x"}); }, {"x"}},
      {"insert two", [](V& v) { v.InsertStrings(3, 2); }, {"b", "A", "", "", "c", "a", "b"}},
      {"insert far behind", [](V& v) { v.InsertStrings(99, 1, v[3]); }, {"b", "A", "c", "a", "b", "c"}},
      {"remove", [](V& v) { v.RemoveStrings(2, 3); }, {"b", "b"}},
      {"remove none", [](V& v) { v.RemoveStrings(2, 0); }, Sample()},
      {"remove by its own element", [](V& v) { EXPECT_EQ(v.RemoveString(v[1], true), 2); }, {"A", "c", "a"}},
      {"remove by name, any case", [](V& v) { EXPECT_EQ(v.RemoveString("A", false), 2); }, {"b", "c", "b"}},
      {"concat itself", [](V& v) { v.Concat(v); }, {"b", "A", "c", "a", "b", "b", "A", "c", "a", "b"}},
      {"push back", [](V& v) { v.push_back("x"); }, {"b", "A", "c", "a", "b", "x"}},
      {"reserve", [](V& v) { v.Reserve(50); }, Sample()},
      {"clear", [](V& v) { v.Clear(); }, {}},
      {"convert to", [](V& v) { V::Convert(Strings(2, "x"), v); }, {"x", "x"}},
      {"sort", [](V& v) { v.Sort(true, true, false); }, {"A", "a", "b", "b", "c"}},
      {"sorted insert", [](V& v) { (v = up).SortedInsert("b", true, true); }, {"a", "b", "c"}},
      {"sorted insert at the end", [](V& v) { (v = down).SortedInsert("A", false, false); }, {"c", "b", "A"}},
  };
  return kMutators;
}

TEST(StringVector, MutatorsActOnTheirOwnVectorOnly) {
  for (const auto& [name, mutate, result] : Mutators()) {
    SCOPED_TRACE(name);
    NCStringVector original(Sample());
    NCStringVector copy = original;
    ASSERT_EQ(&copy.GetVector(), &original.GetVector());
    mutate(copy);
    EXPECT_EQ(copy.GetVector(), result);
    EXPECT_EQ(original.GetVector(), Sample());

    copy = original;
    mutate(original);
    EXPECT_EQ(original.GetVector(), result);
    EXPECT_EQ(copy.GetVector(), Sample());
    mutate(copy);  // which is alone now
    EXPECT_EQ(copy.GetVector(), result);
  }
}

TEST(StringVector, AMovedFromOrClearedVectorIsAnEmptyOne) {
  NCStringVector source(Sample());
  const NCStringVector target = std::move(source);
  EXPECT_EQ(target.GetVector(), Sample());
  EXPECT_TRUE(source.empty());  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(source, NCStringVector(0));
  EXPECT_EQ(source.FindString("a", true, 1), 0);
  source.Sort(true, true, true);
  source.push_back("x");
  EXPECT_THAT(source, ElementsAre("x"));
  EXPECT_THAT(NCStringVector(2), ElementsAre("", ""));
}

TEST(StringVector, FindsFromAStartAndTellsNotFoundByZero) {
  const NCStringVector v(Sample());
  EXPECT_EQ(v.FindString("b", true, 1), 1);
  EXPECT_EQ(v.FindString(std::string("b"), true, 2), 5);
  EXPECT_EQ(v.FindString("a", true, 1), 4);
  EXPECT_EQ(v.FindString("a", false, 1), 2);
  EXPECT_EQ(v.FindString("A", true, 3), 0);
  EXPECT_EQ(v.FindString("b", true, 6), 0);
}

TEST(StringVector, SearchesSortedVectorsOfEitherDirection) {
  const NCStringVector up(Strings{"a", "b", "b", "d"});
  const NCStringVector down(Strings{"D", "B", "b", "A"});
  struct Case {
    const NCStringVector* v;
    const char* s;
    bool ascending, caseSensitive;
    int position, found;
  };
  const Case cases[] = {
      {&up, "", true, true, 1, 0},      {&up, "b", true, true, 2, 2},     {&up, "c", true, true, 4, 0},
      {&up, "d", true, true, 4, 4},     {&up, "e", true, true, 0, 0},     {&up, "B", true, false, 2, 2},
      {&up, "B", true, true, 1, 0},     {&down, "e", false, false, 1, 0}, {&down, "b", false, false, 2, 2},
      {&down, "c", false, false, 2, 0}, {&down, "a", false, false, 4, 4}, {&down, "", false, false, 0, 0},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.v->SortedStringPos(c.s, c.ascending, c.caseSensitive), c.position) << c.s << ' ' << c.ascending;
    EXPECT_EQ(c.v->FindSortedString(c.s, c.ascending, c.caseSensitive), c.found) << c.s << ' ' << c.ascending;
  }
}

TEST(StringVector, SortsNumbersAsNumbersAndTheRestAsStrings) {
  struct Case {
    Strings before;
    bool ascending, caseSensitive;
    Strings after;
  };
  const Case cases[] = {
      {{"10", "9", "a"}, true, true, {"9", "10", "a"}},
      {{"10", "9", "a"}, false, true, {"a", "10", "9"}},
      {{"1e2", "-5", "+7.5", "0"}, true, true, {"-5", "0", "+7.5", "1e2"}},
      {{"b", "C", "A"}, true, false, {"A", "b", "C"}},
      {{"b", "C", "A"}, true, true, {"A", "C", "b"}},
  };
  for (const Case& c : cases) {
    NCStringVector v(c.before);
    v.Sort(c.ascending, c.caseSensitive, true);
    EXPECT_EQ(v.GetVector(), c.after);
  }
}

TEST(StringVector, ANumericSortOfWordsAndNumbersLosesNoString) {
  Strings strings;
  for (int i = 0; i < 1000; ++i) strings.push_back(std::to_string(i * 7919 % 1000) + (i % 3 == 0 ? "x" : ""));
  NCStringVector v(strings);
  v.Sort(true, true, true);
  EXPECT_THAT(v.GetVector(), ::testing::UnorderedElementsAreArray(strings));
}

TEST(StringVector, OriginalIndexBreaksTiesInTheDirectionOfTheSort) {
  const NCStringVector source(Sample());
  std::vector<int> index = {42};
  NCStringVector v = source;
  v.SortWithOriginalIndex(true, false, index);
  EXPECT_THAT(v, ElementsAre("A", "a", "b", "b", "c"));
  EXPECT_THAT(index, ElementsAre(2, 4, 1, 5, 3));
  v = source;
  v.SortWithOriginalIndex(false, false, index);
  EXPECT_THAT(v, ElementsAre("c", "b", "b", "a", "A"));
  EXPECT_THAT(index, ElementsAre(3, 5, 1, 4, 2));
}

TEST(StringVector, ALongSortIsAStableOne) {
  constexpr std::size_t kSize = 777;  // no power of two, so that the last runs are short
  Strings strings(kSize);
  for (std::size_t i = 0; i < kSize; ++i) strings[i] = std::to_string(100 + i * 31 % 97);
  std::vector<int> order(kSize);
  std::iota(order.begin(), order.end(), 1);
  const auto at = [&](int i) { return strings[static_cast<std::size_t>(i - 1)]; };
  std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return at(a) < at(b); });

  NCStringVector v(strings);
  std::vector<int> index;
  v.SortWithOriginalIndex(true, true, index);
  EXPECT_EQ(index, order);
  for (std::size_t i = 0; i < kSize; ++i) EXPECT_EQ(v.GetVector()[i], at(order[i]));
}

}  // namespace
