#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <set>
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
          {"gaps", plain::MadeRows(250, 5, 0, 0.3, 7)},       {"tied with gaps", plain::MadeRows(250, 4, 3, 0.2, 8)}};
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
  for (const Merge& merge : merges) EXPECT_FALSE(merge.height > 0.0F);
}

TEST(SingleLinkage, CopyGoesOnByItself) {
  const plain::Rows rows = plain::MadeRows(60, 3, 4, 0.0, 12);
  const std::vector<Merge> expected = plain::SingleLinkage(rows);
  SingleLinkageDistanceCalculator calculator;
  calculator.Init(plain::ToMatrix(rows), nullptr);
  for (std::size_t k = 0; k < 20; ++k) Next(calculator);
  SingleLinkageDistanceCalculator copy(calculator);
  for (std::size_t k = 20; k < expected.size(); ++k) {
    EXPECT_EQ(Next(copy), expected[k]);
    EXPECT_EQ(Next(calculator), expected[k]);
  }
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

/// Enough pairs that blocks of the list are split and emptied.
TEST_P(Ward, LargeOnesToo) {
  for (const unsigned levels : {0u, 6u}) {
    const plain::Rows rows = plain::MadeRows(450, 4, levels, 0.0, 13);
    WardDistanceCalculator calculator(GetParam());
    EXPECT_TRUE(SameMerges(Merges(calculator, rows), Plain(rows))) << levels;
  }
}

TEST_P(Ward, CopyGoesOnByItself) {
  const plain::Rows rows = plain::MadeRows(60, 3, 0, 0.1, 14);
  const std::vector<Merge> expected = Plain(rows);
  WardDistanceCalculator calculator(GetParam());
  calculator.Init(plain::ToMatrix(rows), nullptr);
  for (std::size_t k = 0; k < 30; ++k) Next(calculator);
  WardDistanceCalculator copy(calculator);
  for (std::size_t k = 30; k < expected.size(); ++k) {
    EXPECT_EQ(Next(copy), expected[k]);
    EXPECT_EQ(Next(calculator), expected[k]);
  }
}

INSTANTIATE_TEST_SUITE_P(BothTypes, Ward, testing::Values(DistanceType::kErrorSumOfSquares, DistanceType::kSquareRoot));

/// Clusters as sets of rows and heights, by formulas of centroids that know every distance at every step.
std::map<std::set<std::size_t>, double> CentroidWard(const plain::Rows& rows) {
  struct Cluster {
    std::set<std::size_t> rows;
    std::vector<double> centroid;
  };
  const auto increase = [](const Cluster& a, const Cluster& b) {
    double squares = 0.0;
    for (std::size_t k = 0; k < a.centroid.size(); ++k) squares += std::pow(a.centroid[k] - b.centroid[k], 2.0);
    const auto sizeA = static_cast<double>(a.rows.size());
    const auto sizeB = static_cast<double>(b.rows.size());
    return sizeA * sizeB / (sizeA + sizeB) * squares;
  };
  std::vector<Cluster> clusters;
  for (const auto& row : rows) clusters.push_back({{clusters.size()}, {row.begin(), row.end()}});
  std::map<std::set<std::size_t>, double> heights;
  while (clusters.size() > 1) {
    std::size_t i = 0;
    std::size_t j = 1;
    for (std::size_t a = 0; a < clusters.size(); ++a) {
      for (std::size_t b = a + 1; b < clusters.size(); ++b) {
        if (increase(clusters[a], clusters[b]) < increase(clusters[i], clusters[j])) {
          i = a;
          j = b;
        }
      }
    }
    const double height = increase(clusters[i], clusters[j]);
    const auto sizeI = static_cast<double>(clusters[i].rows.size());
    const auto sizeJ = static_cast<double>(clusters[j].rows.size());
    for (std::size_t k = 0; k < rows.front().size(); ++k) {
      double& c = clusters[i].centroid[k];
      c = (sizeI * c + sizeJ * clusters[j].centroid[k]) / (sizeI + sizeJ);
    }
    clusters[i].rows.insert(clusters[j].rows.begin(), clusters[j].rows.end());
    clusters.erase(clusters.begin() + static_cast<std::ptrdiff_t>(j));
    heights[clusters[i].rows] = height;
  }
  return heights;
}

/// Three groups of three pairs: every level is far below the next, where being lazy makes no difference.
plain::Rows Separated() {
  std::mt19937 generator(15);
  std::uniform_real_distribution<float> uniform(-1.0f, 1.0f);
  plain::Rows rows;
  for (int i = 0; i < 18; ++i) {
    const int groupNumber = i / 6;
    const int pairNumber = i % 6 / 2;
    const auto group = static_cast<float>(groupNumber);
    const auto pair = static_cast<float>(pairNumber);
    const auto member = static_cast<float>(i % 2);
    rows.push_back({100.0f * group * group + uniform(generator) * 0.1f, 7.0f * pair * (pair + 1) + uniform(generator),
                    member * (1.0f + 0.3f * uniform(generator))});
  }
  std::shuffle(rows.begin(), rows.end(), generator);
  return rows;
}

TEST(WardTree, TreeOfSeparatedDataIsThatOfTheCentroids) {
  constexpr double kRounding = 1e-3;  // of differences of sums of squares of some 400 squared, formed in float
  const plain::Rows rows = Separated();
  const auto expected = CentroidWard(rows);
  WardDistanceCalculator calculator(DistanceType::kErrorSumOfSquares);
  std::vector<std::set<std::size_t>> clusters;
  for (std::size_t i = 0; i < rows.size(); ++i) clusters.push_back({i});
  for (const Merge& merge : Merges(calculator, rows)) {
    auto& joined = clusters[static_cast<std::size_t>(merge.first)];
    joined.merge(clusters[static_cast<std::size_t>(merge.second)]);
    clusters.erase(clusters.begin() + merge.second);
    ASSERT_TRUE(expected.contains(joined));
    EXPECT_NEAR(static_cast<double>(merge.height), expected.at(joined), kRounding * (1.0 + expected.at(joined)));
  }
}

TEST(WardTree, FirstMergeWithGapsIsScaledUpToAllColumns) {
  WardDistanceCalculator calculator(DistanceType::kErrorSumOfSquares);
  const std::vector<Merge> merges = Merges(calculator, {{1.0f, plain::kGap}, {3.0f, 9.0f}});
  EXPECT_EQ(merges[0], (Merge{0, 1, 4.0f}));  // (1 - 3)^2 / 2, twice
}

TEST(Calculators, BreakIsSeenWhereSortingGoesOn) {
  const NCDataMatrix<float> data = plain::ToMatrix(plain::MadeRows(400, 3, 0, 0.0, 16));
  SingleLinkageDistanceCalculator single;
  WardDistanceCalculator ward(DistanceType::kErrorSumOfSquares);
  for (ClusterDistanceCalculator* const calculator :
       {static_cast<ClusterDistanceCalculator*>(&single), static_cast<ClusterDistanceCalculator*>(&ward)}) {
    NCProgress progress("", 0.0f, 1.0f, false, false, true, "");
    calculator->Init(data, &progress);
    progress.RequestCancel();
    const auto mergeAll = [&] {
      for (int merge = 1; merge < data.SizeRows(); ++merge) Next(*calculator);
    };
    EXPECT_THROW(mergeAll(), NCError) << calculator->GetId();
  }
}

TEST(Calculators, IdsNameStrategyAndType) {
  EXPECT_EQ(SingleLinkageDistanceCalculator().GetId(), "SingleLinkageDistanceCalculator");
  EXPECT_EQ(WardDistanceCalculator(DistanceType::kErrorSumOfSquares).GetId(), "WardDistanceCalculator0");
  EXPECT_EQ(WardDistanceCalculator(DistanceType::kSquareRoot).GetId(), "WardDistanceCalculator1");
}

}  // namespace
