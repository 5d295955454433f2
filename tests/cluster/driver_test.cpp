#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/cluster/plain_cluster.h"
#include "tests/cluster/spelt_trees.h"
#include "voran/cluster/dendrogram.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/progress.h"

namespace {

using DendroGram::CachedDendroGramName;
using DendroGram::ClusterDistanceCalculator;
using DendroGram::GetDendroGram;
using plain::Merge;
using spelt::DendroGramPointer;
using spelt::Spell;

NCDataMatrix<float> Rows(int count) {
  return NCDataMatrix<float>(count, 2, 1.0F);
}

/// Says what it was told to, and can break off at a merge.
class ScriptedCalculator : public ClusterDistanceCalculator {
 public:
  explicit ScriptedCalculator(std::vector<Merge> script) : script_(std::move(script)) {}

  void Init(const NCDataMatrix<float>& /*data*/, NCProgress* progress) override {
    if (progress != nullptr) progress->SetValue(0.5F);
  }
  float FindNearestAndMerge(int& first, int& second) override {
    const Merge& merge = script_.at(merges++);
    if (static_cast<int>(merges) == breaksAt) breaks->RequestCancel();
    first = merge.first;
    second = merge.second;
    return merge.height;
  }
  std::string GetId() override { return "Scripted"; }

  std::size_t merges = 0;
  int breaksAt = -1;
  NCProgress* breaks = nullptr;

 private:
  std::vector<Merge> script_;
};

TEST(GetDendroGram, MakesALeafOfOneRowAndNothingOfNone) {
  ScriptedCalculator calculator({});
  const DendroGramPointer leaf(GetDendroGram(Rows(1), calculator, nullptr, nullptr));
  EXPECT_EQ(Spell(*leaf), "1");
  EXPECT_EQ(calculator.merges, 0u);
  EXPECT_EQ(GetDendroGram(Rows(0), calculator, nullptr, nullptr), nullptr);
}

TEST(GetDendroGram, RefusesRowsWithTooManyGaps) {
  const std::string row =
      "Cluster analysis can not be performed on data that has rows with more than 50% missing values";
  const std::string pair =
      "Cluster analysis can not be performed on data where two rows have less than the square root of the number of "
      "columns common non-missing elements.";
  constexpr float g = plain::kGap;
  const std::pair<plain::Rows, std::string> cases[] = {
      {{{1, 1, g, g}, {1, 1, 1, 1}}, ""},  // exactly half
      {{{1, 1, 1, 1}, {1, g, g, g}}, row},
      {{{1, 1, g, g}, {g, 1, 1, 1}}, pair},  // one common column, and two are asked for
      {{{1, 1, g, g}, {1, 1, g, 1}}, ""},
      {{{1, 1, 1, 1}, {g, g, 1, 1}, {1, 1, g, g}}, pair},
      {{{1, 1, g, g}, {1, 1, 1, g}, {g, g, 1, 1}}, pair},
      // Rows 1 and 3 have nothing in common, but row 1 has enough with its first partner.
      {{{1, 1, 1, g, g, g}, {1, 1, 1, 1, 1, g}, {g, g, g, 1, 1, 1}}, ""},
      {{{1, 1, 1, g, g}, {g, 1, 1, 1, g}}, ""},                // the root of 5 rounds to 2
      {{{1, 1, 1, 1, g, g, g}, {g, g, 1, 1, 1, 1, g}}, pair},  // that of 7 to 3
  };
  for (const auto& [data, message] : cases) {
    ScriptedCalculator calculator({{0, 1, 1}, {0, 1, 2}});
    std::string found;
    try {
      const DendroGramPointer tree(GetDendroGram(plain::ToMatrix(data), calculator, nullptr, nullptr));
    } catch (const NCError& error) {
      found = error.what();
      EXPECT_EQ(error.GetLevel(), NCError::Level::kGeneral);
    }
    EXPECT_EQ(found, message) << testing::PrintToString(data);
  }
}

TEST(GetDendroGram, JoinsTheTreesAsToldAndGivesTheProgressBackAfterABreakToo) {
  NCProgress progress("", 0, 1, false, false, true, "");
  // 2 joins 4, then 5 that pair, 1 joins 3, at last all.
  ScriptedCalculator calculator({{1, 3, 1}, {3, 1, 2}, {0, 2, 2.5F}, {1, 0, 4}});
  calculator.breaksAt = 2;
  calculator.breaks = &progress;
  EXPECT_THROW(GetDendroGram(Rows(5), calculator, &progress, nullptr), NCError);
  EXPECT_EQ(calculator.merges, 2u);
  progress.ClearCancel();
  EXPECT_FALSE(progress.PopSubRange());  // nothing is left pushed
  calculator.merges = 0;
  calculator.breaksAt = -1;
  const DendroGramPointer tree(GetDendroGram(Rows(5), calculator, &progress, nullptr));
  EXPECT_EQ(Spell(*tree), "(4 (2.5 1 3) (2 5 (1 2 4)))");
  EXPECT_FALSE(progress.PopSubRange());
}

TEST(GetDendroGram, ShowsHalfTheWayForDistancesAndHalfForEveryTenthMerge) {
  const auto watcher = std::make_shared<plain::Watcher>();
  NCProgress::SetDisplay(watcher);
  {
    NCProgress progress("t", 0, 1, false, false, true, "");
    ScriptedCalculator calculator(std::vector<Merge>(24, {0, 1, 1}));
    const DendroGramPointer tree(GetDendroGram(Rows(25), calculator, &progress, nullptr));
  }
  NCProgress::SetDisplay(nullptr);
  // The second half is as long as there are rows, though there is one merge less.
  EXPECT_EQ(watcher->lines,
            (std::vector<std::string>{"0 t", "0.25 t", "0.5 t", "0.5 Merging clusters", "0.7 Merging clusters",
                                      "0.9 Merging clusters", "1 Merging clusters"}));
}

TEST(CachedTrees, AreNamedByDataAndStrategy) {
  ScriptedCalculator calculator({});
  const NCDataMatrix<float> data = plain::ToMatrix({{1, 2, 3}, {4, 5, plain::kGap}});
  EXPECT_EQ(CachedDendroGramName(data, calculator), "Dendro_2_3_2cf034a7226fe2fcd154a50b6f037ccb");
}

}  // namespace
