#include <chrono>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/cluster/spelt_trees.h"
#include "voran/cluster/dendrogram.h"
#include "voran/platform/md5.h"
#include "voran/platform/nc_error.h"

namespace {

using DendroGram::CachedDendroGramName;
using DendroGram::ClusterDistanceCalculator;
using DendroGram::GetDendroGram;
using spelt::DendroGramPointer;
using spelt::Spell;

constexpr float kGap = -99;

NCDataMatrix<float> Matrix(const std::vector<std::vector<float>>& rows) {
  NCDataMatrix<float> matrix(static_cast<int>(rows.size()), rows.empty() ? 0 : static_cast<int>(rows.front().size()),
                             0.0F);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    for (std::size_t k = 0; k < rows[i].size(); ++k) {
      matrix(static_cast<int>(i) + 1, static_cast<int>(k) + 1, rows[i][k]);
    }
  }
  return matrix;
}
NCDataMatrix<float> Rows(int count) {
  return NCDataMatrix<float>(count, 2, 1.0F);
}

struct Merge {
  float height;
  int first;
  int second;
};

/// Says what it was told to, and can fail, or break off, at a merge.
class ScriptedCalculator : public ClusterDistanceCalculator {
 public:
  explicit ScriptedCalculator(std::vector<Merge> script) : script_(std::move(script)) {}

  void Init(const NCDataMatrix<float>& /*data*/, NCProgress* progress) override {
    ++inits;
    if (progress != nullptr) progress->SetValue(0.5F);
    merges = 0;
    if (failsAt == 0) throw NCError(ExceptionMessage::translate("No"), NCError::Level::kGeneral);
  }
  float FindNearestAndMerge(int& first, int& second) override {
    const Merge& merge = script_.at(merges++);
    if (static_cast<int>(merges) == failsAt) throw std::bad_alloc();
    if (static_cast<int>(merges) == breaksAt) breaks->RequestCancel();
    first = merge.first;
    second = merge.second;
    return merge.height;
  }
  std::string GetId() override { return "Scripted"; }

  int inits = 0;
  std::size_t merges = 0;
  int failsAt = -1;
  int breaksAt = -1;
  NCProgress* breaks = nullptr;

 private:
  std::vector<Merge> script_;
};

/// Five rows: 2 joins 4, then 5 that pair, 1 joins 3, at last all.
ScriptedCalculator FiveRows() {
  return ScriptedCalculator({{1, 1, 3}, {2, 3, 1}, {2.5F, 0, 2}, {4, 1, 0}});
}
const char* const kFiveRows = "(4 (2.5 1 3) (2 5 (1 2 4)))";

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
  constexpr float g = kGap;
  const std::pair<std::vector<std::vector<float>>, std::string> cases[] = {
      {{{1, 1, g, g}, {1, 1, 1, 1}}, ""},  // exactly half
      {{{1, 1, 1, 1}, {1, g, g, g}}, row},
      {{{1, 1, g, g}, {g, g, 1, 1}}, pair},
      {{{1, 1, g, g}, {g, 1, g, 1}}, pair},
      {{{1, 1, g, g}, {g, 1, 1, 1}}, pair},  // one common column, and two are asked for
      {{{1, 1, g, g}, {1, 1, g, 1}}, ""},
      {{{1, 1, 1, 1}, {g, g, 1, 1}, {1, 1, g, g}}, pair},
      {{{1, 1, g, g}, {1, 1, 1, g}, {g, g, 1, 1}}, pair},
      // Rows 1 and 3 have nothing in common, but row 1 has enough with its first partner.
      {{{1, 1, 1, g, g, g}, {1, 1, 1, 1, 1, g}, {g, g, g, 1, 1, 1}}, ""},
      {{{1, 1, g, g, g}, {1, 1, 1, 1, 1}}, row},
      {{{1, 1, 1, g, g}, {g, 1, 1, 1, g}}, ""},                // the root of 5 rounds to 2
      {{{1, 1, 1, 1, g, g, g}, {g, g, 1, 1, 1, 1, g}}, pair},  // that of 7 to 3
  };
  for (const auto& [data, message] : cases) {
    ScriptedCalculator calculator({{1, 0, 1}, {2, 0, 1}});
    std::string found;
    try {
      const DendroGramPointer tree(GetDendroGram(Matrix(data), calculator, nullptr, nullptr));
    } catch (const NCError& error) {
      found = error.what();
      EXPECT_EQ(error.GetLevel(), NCError::Level::kGeneral);
    }
    EXPECT_EQ(found, message) << testing::PrintToString(data);
  }
}

TEST(GetDendroGram, BreaksOffAfterAnyMergeAndGivesTheProgressBack) {
  for (int k = 1; k <= 4; ++k) {
    NCProgress progress("", 0, 1, false, false, true, "");
    ScriptedCalculator calculator = FiveRows();
    calculator.breaksAt = k;
    calculator.breaks = &progress;
    try {
      const DendroGramPointer tree(GetDendroGram(Rows(5), calculator, &progress, nullptr));
      ADD_FAILURE() << k;
    } catch (const NCError& error) {
      EXPECT_STREQ(error.what(), "Cluster analysis aborted.");
    }
    EXPECT_EQ(calculator.merges, static_cast<std::size_t>(k));
    progress.ClearCancel();
    EXPECT_FALSE(progress.PopSubRange());  // nothing is left pushed
    const DendroGramPointer tree(GetDendroGram(Rows(5), calculator = FiveRows(), &progress, nullptr));
    EXPECT_EQ(Spell(*tree), kFiveRows);
    EXPECT_FALSE(progress.PopSubRange());
  }
}

/// What is shown, each once, as "fraction text".
class Recorder : public ProgressDisplay {
 public:
  void Begin(const ProgressView& view) override { Keep(view); }
  void ShowPosition(const ProgressView& view) override { Keep(view); }
  void ShowSpin(const ProgressView& view) override { Keep(view); }
  void End(const ProgressView& /*view*/) override {}
  std::chrono::milliseconds UpdateInterval() const noexcept override { return std::chrono::milliseconds(0); }

  std::vector<std::string> shown;

 private:
  void Keep(const ProgressView& view) {
    std::ostringstream line;
    line << view.fraction << ' ' << view.text;
    if (shown.empty() || shown.back() != line.str()) shown.push_back(line.str());
  }
};

TEST(GetDendroGram, ShowsHalfTheWayForDistancesAndHalfForEveryTenthMerge) {
  // The second half is as long as there are rows, though there is one merge less.
  const std::pair<int, std::vector<std::string>> cases[] = {
      {10, {"0 t", "0.25 t", "0.5 t", "0.5 Merging clusters", "1 Merging clusters"}},
      {11, {"0 t", "0.25 t", "0.5 t", "0.5 Merging clusters", "0.954545 Merging clusters", "1 Merging clusters"}},
      {25,
       {"0 t", "0.25 t", "0.5 t", "0.5 Merging clusters", "0.7 Merging clusters", "0.9 Merging clusters",
        "1 Merging clusters"}},
  };
  for (const auto& [rows, shown] : cases) {
    const auto recorder = std::make_shared<Recorder>();
    NCProgress::SetDisplay(recorder);
    {
      NCProgress progress("t", 0, 1, false, false, true, "");
      ScriptedCalculator calculator(std::vector<Merge>(static_cast<std::size_t>(rows) - 1, {1, 0, 1}));
      const DendroGramPointer tree(GetDendroGram(Rows(rows), calculator, &progress, nullptr));
    }
    NCProgress::SetDisplay(nullptr);
    EXPECT_EQ(recorder->shown, shown) << rows;
  }
}

TEST(CachedTrees, AreNamedByDataAndStrategy) {
  ScriptedCalculator calculator({});
  const NCDataMatrix<float> data = Matrix({{1, 2, 3}, {4, 5, kGap}});
  EXPECT_EQ(CachedDendroGramName(data, calculator), "Dendro_2_3_2cf034a7226fe2fcd154a50b6f037ccb");
}

}  // namespace
