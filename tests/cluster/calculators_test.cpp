#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/cluster/plain_cluster.h"
#include "voran/cluster/single_linkage_distance_calculator.h"
#include "voran/cluster/ward_distance_calculator.h"
#include "voran/platform/nc_error.h"

namespace {

using plain::Merge;
using voran::DendroGram::ClusterDistanceCalculator;
using voran::DendroGram::DistanceType;
using voran::DendroGram::SingleLinkageDistanceCalculator;
using voran::DendroGram::WardDistanceCalculator;

Merge Next(ClusterDistanceCalculator& calculator) {
  Merge merge{};
  merge.height = calculator.FindNearestAndMerge(merge.first, merge.second);
  return merge;
}

std::vector<Merge> Merges(ClusterDistanceCalculator& calculator, const plain::Rows& rows) {
  calculator.Init(plain::ToMatrix(rows), nullptr);
  std::vector<Merge> merges;
  while (merges.size() + 1 < rows.size()) merges.push_back(Next(calculator));
  return merges;
}

testing::AssertionResult SameMerges(const std::vector<Merge>& merges, const std::vector<Merge>& expected) {
  if (merges.size() != expected.size()) return testing::AssertionFailure() << merges.size() << " merges";
  for (std::size_t k = 0; k < merges.size(); ++k) {
    const bool areNaN = std::isnan(merges[k].height) && std::isnan(expected[k].height);
    if (merges[k] == expected[k]) continue;
    if (areNaN && merges[k].first == expected[k].first && merges[k].second == expected[k].second) continue;
    const auto text = [](const Merge& m) {
      return std::to_string(m.first) + " + " + std::to_string(m.second) + " at " + std::to_string(m.height);
    };
    return testing::AssertionFailure() << "merge " << k << " is " << text(merges[k]) << ", not " << text(expected[k]);
  }
  return testing::AssertionSuccess();
}

struct Sample {
  const char* name;
  plain::Rows rows;
};

std::vector<Sample> Samples() {
  return {{"two", plain::MadeRows(2, 3, 0, 0.0, 1)},          {"random", plain::MadeRows(300, 6, 0, 0.0, 2)},
          {"one column", plain::MadeRows(200, 1, 0, 0.0, 3)}, {"40 columns", plain::MadeRows(120, 40, 0, 0.05, 4)},
          {"tied", plain::MadeRows(300, 3, 4, 0.0, 5)},       {"all equal", plain::MadeRows(100, 3, 1, 0.0, 6)},
          {"gaps", plain::MadeRows(250, 5, 0, 0.3, 7)},       {"tied with gaps", plain::MadeRows(250, 4, 3, 0.2, 8)},
          {"large", plain::MadeRows(450, 4, 0, 0.0, 13)},     {"large and tied", plain::MadeRows(450, 4, 6, 0.0, 13)}};
}

/// The edges of a minimum spanning tree (Prim), ascending.
std::vector<double> SpanningTree(const plain::Rows& rows) {
  std::vector<double> nearest(rows.size(), std::numeric_limits<double>::infinity());
  std::vector<double> edges;
  std::vector<bool> isIn(rows.size());
  for (std::size_t last = 0; edges.size() + 1 < rows.size();) {
    isIn[last] = true;
    std::size_t next = rows.size();
    for (std::size_t j = 0; j < rows.size(); ++j) {
      if (isIn[j]) continue;
      double sum = 0.0;
      for (std::size_t k = 0; k < rows[j].size(); ++k) {
        sum += std::pow(static_cast<double>(rows[j][k]) - static_cast<double>(rows[last][k]), 2.0);
      }
      nearest[j] = std::min(nearest[j], std::sqrt(sum));
      if (next == rows.size() || nearest[j] < nearest[next]) next = j;
    }
    edges.push_back(nearest[next]);
    last = next;
  }
  std::sort(edges.begin(), edges.end());
  return edges;
}

TEST(SingleLinkage, HeightsAreTheEdgesOfAMinimumSpanningTree) {
  constexpr double kRounding = 1e-6;  // of float sums of at most 20 terms
  for (const unsigned levels : {0u, 5u}) {
    const plain::Rows rows = plain::MadeRows(400, 20, levels, 0.0, 11);
    SingleLinkageDistanceCalculator calculator;
    const std::vector<Merge> merges = Merges(calculator, rows);
    const std::vector<double> edges = SpanningTree(rows);
    for (std::size_t k = 0; k < edges.size(); ++k) {
      ASSERT_NEAR(static_cast<double>(merges[k].height), edges[k], kRounding * edges[k]) << k;
    }
  }
}

TEST(SingleLinkage, MergesAreThoseOfTheWholeSortedList) {
  for (const Sample& sample : Samples()) {
    SingleLinkageDistanceCalculator calculator;
    EXPECT_TRUE(SameMerges(Merges(calculator, sample.rows), plain::SingleLinkage(sample.rows))) << sample.name;
  }
}

TEST(SingleLinkage, RowsWithoutColumnsAreJoinedToo) {
  SingleLinkageDistanceCalculator calculator;
  const std::vector<Merge> merges = Merges(calculator, plain::MadeRows(40, 0, 0, 0.0, 9));
  EXPECT_EQ(merges.size(), 39U);
  for (const Merge& merge : merges) EXPECT_TRUE(std::isnan(merge.height));
}

class Ward : public ::testing::TestWithParam<DistanceType> {
 protected:
  bool IsRoot() const { return GetParam() == DistanceType::kSquareRoot; }
  std::vector<Merge> Plain(const plain::Rows& rows) const {
    plain::Ward reference(rows, IsRoot());
    std::vector<Merge> merges;
    while (merges.size() + 1 < rows.size()) merges.push_back(reference.FindNearestAndMerge());
    return merges;
  }
};

TEST_P(Ward, MergesAreThoseOfTheLiteralProcedure) {
  for (const Sample& sample : Samples()) {
    WardDistanceCalculator calculator(GetParam());
    EXPECT_TRUE(SameMerges(Merges(calculator, sample.rows), Plain(sample.rows))) << sample.name;
  }
}

/// Few distinct distances, so that nearly every place is one among equals; many small clusterings, which end in all
/// ways.
TEST_P(Ward, SmallOnesToo) {
  for (unsigned seed = 0; seed < 400; ++seed) {
    const plain::Rows rows = plain::MadeRows(3 + seed % 20, 1 + seed % 3, 2 + seed % 5, 0.15 * (seed % 2), seed);
    WardDistanceCalculator calculator(GetParam());
    ASSERT_TRUE(SameMerges(Merges(calculator, rows), Plain(rows))) << seed;
  }
}

/// What has no common column has a NaN for a distance, which bounds nothing and is not sorted.
TEST_P(Ward, RowsWithoutACommonColumnToo) {
  for (unsigned seed = 0; seed < 300; ++seed) {
    plain::Rows rows = plain::MadeRows(25 + seed % 20, 4, 0, 0.0, seed);
    std::mt19937 generator(seed);
    for (auto& row : rows) row[generator() % 4] = row[generator() % 4] = plain::kGap;
    WardDistanceCalculator calculator(GetParam());
    EXPECT_TRUE(SameMerges(Merges(calculator, rows), Plain(rows))) << seed;
  }
}

/// Their distances are infinite once they are formed anew, which is above any fence, but there is none.
TEST_P(Ward, PairsAllOfWhichWentStaleStandAsSorted) {
  plain::Rows rows;
  for (const float x : {-1.7e19f, 1.7e19f}) {
    for (const float y : {-1.7e19f, 1.7e19f}) rows.insert(rows.end(), 2, {x, y});
  }
  WardDistanceCalculator calculator(GetParam());
  EXPECT_TRUE(SameMerges(Merges(calculator, rows), Plain(rows)));
}

INSTANTIATE_TEST_SUITE_P(BothTypes, Ward, testing::Values(DistanceType::kErrorSumOfSquares, DistanceType::kSquareRoot));

TEST(Calculators, IdsNameStrategyAndType) {
  EXPECT_EQ(SingleLinkageDistanceCalculator().GetId(), "SingleLinkageDistanceCalculator");
  EXPECT_EQ(WardDistanceCalculator(DistanceType::kErrorSumOfSquares).GetId(), "WardDistanceCalculator0");
  EXPECT_EQ(WardDistanceCalculator(DistanceType::kSquareRoot).GetId(), "WardDistanceCalculator1");
}

}  // namespace
