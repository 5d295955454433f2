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

namespace {

using plain::MadeRows;
using voran::DendroGram::DistanceType;
using voran::DendroGram::SingleLinkageDistanceCalculator;
using voran::DendroGram::WardDistanceCalculator;

struct Sample {
  std::string name;
  plain::Rows rows;
};

std::vector<Sample> Samples() {
  std::vector<Sample> samples = {
      {"two", MadeRows(2, 3, 0, 0.0, 1)},        {"one column", MadeRows(200, 1, 0, 0.0, 3)},
      {"tied", MadeRows(300, 3, 4, 0.0, 5)},     {"40 columns", MadeRows(120, 40, 0, 0.05, 4)},
      {"gaps", MadeRows(250, 5, 0, 0.3, 7)},     {"tied with gaps", MadeRows(250, 4, 3, 0.2, 8)},
      {"large", MadeRows(450, 4, 0, 0.0, 13)},   {"large and tied", MadeRows(450, 4, 6, 0.0, 13)},
      {"all equal", MadeRows(100, 3, 1, 0.0, 6)}};
  // Few distinct distances, so that nearly every place is one among equals; many small clusterings, which end in all
  // ways.
  for (unsigned seed = 0; seed < 400; ++seed) {
    samples.push_back({"small " + std::to_string(seed),
                       MadeRows(3 + seed % 20, 1 + seed % 3, 2 + seed % 5, 0.15 * (seed % 2), seed)});
  }
  // What has no common column has a NaN for a distance, which bounds nothing and is not sorted.
  for (unsigned seed = 0; seed < 300; ++seed) {
    samples.push_back({"apart " + std::to_string(seed), MadeRows(25 + seed % 20, 4, 0, 0.0, seed)});
    std::mt19937 generator(seed);
    for (auto& row : samples.back().rows) row[generator() % 4] = row[generator() % 4] = plain::kGap;
  }
  // All pairs go stale, and their distances are infinite once they are formed anew, which is above any fence, but there
  // is none.
  samples.push_back({"infinite", {}});
  for (const float x : {-1.7e19f, 1.7e19f}) {
    for (const float y : {-1.7e19f, 1.7e19f}) samples.back().rows.insert(samples.back().rows.end(), 2, {x, y});
  }
  return samples;
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
    const plain::Rows rows = MadeRows(400, 20, levels, 0.0, 11);
    SingleLinkageDistanceCalculator calculator;
    const auto merges = plain::MergesOf(calculator, rows);
    const std::vector<double> edges = SpanningTree(rows);
    for (std::size_t k = 0; k < edges.size(); ++k) {
      ASSERT_NEAR(static_cast<double>(merges[k].height), edges[k], kRounding * edges[k]) << k;
    }
  }
}

TEST(SingleLinkage, MergesAreThoseOfTheWholeSortedList) {
  std::vector<Sample> samples = Samples();
  samples.push_back({"no columns", MadeRows(40, 0, 0, 0.0, 9)});
  for (const Sample& sample : samples) {
    SingleLinkageDistanceCalculator calculator;
    ASSERT_EQ(plain::MergesOf(calculator, sample.rows), plain::SingleLinkage(sample.rows)) << sample.name;
  }
}

TEST(Ward, MergesAreThoseOfTheLiteralProcedure) {
  for (const Sample& sample : Samples()) {
    for (const DistanceType type : {DistanceType::kErrorSumOfSquares, DistanceType::kSquareRoot}) {
      WardDistanceCalculator calculator(type);
      const auto expected = plain::Ward::Merges(sample.rows, type == DistanceType::kSquareRoot);
      ASSERT_EQ(plain::MergesOf(calculator, sample.rows), expected) << sample.name;
    }
  }
}

TEST(Calculators, IdsNameStrategyAndType) {
  EXPECT_EQ(SingleLinkageDistanceCalculator().GetId(), "SingleLinkageDistanceCalculator");
  EXPECT_EQ(WardDistanceCalculator(DistanceType::kErrorSumOfSquares).GetId(), "WardDistanceCalculator0");
  EXPECT_EQ(WardDistanceCalculator(DistanceType::kSquareRoot).GetId(), "WardDistanceCalculator1");
}

}  // namespace
