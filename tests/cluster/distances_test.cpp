#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/cluster/plain_cluster.h"
#include "voran/cluster/cluster_allocation_error.h"
#include "voran/cluster/compute_distances.h"
#include "voran/cluster/distance_memory.h"
#include "voran/cluster/single_linkage_distance_calculator.h"
#include "voran/cluster/ward_distance_calculator.h"
#include "voran/containers/simd_target.h"
#include "voran/platform/nc_error.h"

namespace {

using namespace voran::DendroGram;
using namespace voran::DendroGram::detail;

TEST(Distances, AreThePlainOnesBitForBitOnEveryTarget) {
  const std::string before = SimdTarget::GetName();
  for (const std::string& target : SimdTarget::GetAvailable()) {
    SimdTarget::Set(target);
    for (const std::size_t n : {2U, 3U, 31U, 32U, 33U, 37U, 70U}) {
      for (const auto& [columns, gapShare] : {std::pair{1U, 0.0}, {7U, 0.0}, {7U, 0.2}, {20U, 0.0}, {20U, 0.2}}) {
        const plain::Rows rows = plain::MadeRows(n, columns, 0, gapShare, static_cast<unsigned>(n));
        for (const bool halves : {false, true}) {
          for (const bool root : {false, true}) {
            plain::Pairs expected = plain::AllPairs(rows, halves, root);
            plain::SortPairs(expected);
            PairList pairs;
            ComputeDistances(plain::ToMatrix(rows), nullptr, pairs,
                             halves ? PairFunction::kHalfSquaredDifference : PairFunction::kSquaredDifference,
                             root ? Finish::kSquareRoot : Finish::kIdentity)
                .Finish(pairs);
            ASSERT_EQ(plain::Told(pairs), plain::Told(expected)) << target << ", " << n << " x " << columns;
          }
        }
      }
    }
  }
  SimdTarget::Set(before);
}

TEST(DivideRowsAmongThreads, BoundsEndRangesOfAboutAsManyPairs) {
  const auto boundsOf = [](int threads, int rows) {
    std::vector<int> bounds;
    DivideRowsAmongThreads(threads, rows, bounds);
    return bounds;
  };
  EXPECT_THAT(boundsOf(1, 10), testing::ElementsAre(10));
  EXPECT_THAT(boundsOf(2, 10), testing::ElementsAre(4, 10));  // 9 + 8 + 7 of 45 pairs, the nearest to a half
  EXPECT_THAT(boundsOf(4, 3), testing::ElementsAre(2, 3));
  EXPECT_THAT(boundsOf(2, 1), testing::ElementsAre(1));
  EXPECT_THAT(boundsOf(2, 2), testing::ElementsAre(2));
  double first = 1;
  for (const int bound : boundsOf(5, 65535)) {
    const double pairs = (bound - first) * (65535.0 - (first + bound - 1) / 2);
    EXPECT_NEAR(pairs / (65535.0 * 65534.0 / 2), 0.2, 1e-4);
    first = bound;
  }
  EXPECT_EQ(first, 65535);
}

TEST(Memory, WhatCannotBeHeldIsToldApartAndABudgetKeptToTheByte) {
  const std::string kNoMemory =
      "Memory allocation error.\nWhen doing cluster analysis, a total of N*(N-1)/2 initial distances are calculated. "
      "In this case, enough RAM to hold these distances could not be allocated (N=";
  constexpr std::uint64_t kTenPairs = 10 * sizeof(DistanceAndIndex);
  SingleLinkageDistanceCalculator single;
  WardDistanceCalculator ward(DistanceType::kSquareRoot);
  const struct {
    ClusterDistanceCalculator& calculator;
    int rows;
    std::uint64_t budget;
    const char* error;
  } cases[] = {{ward, 46342, DistanceMemory::kUnlimited, "allocation"},
               {ward, 65535, DistanceMemory::kUnlimited, "allocation"},
               {ward, 65536, DistanceMemory::kUnlimited, "other"},
               {single, 65536, DistanceMemory::kUnlimited, "other"},
               {ward, 5, kTenPairs - 1, "allocation"},
               {ward, 5, kTenPairs, "none"}};
  for (const auto& c : cases) {
    DistanceMemory::SetBudget(c.budget);
    std::string error = "none";
    std::string text;
    try {
      c.calculator.Init(NCDataMatrix<float>(c.rows, 1, 0.0f), nullptr);
    } catch (const NCError& thrown) {
      error = dynamic_cast<const ClusterAllocationError*>(&thrown) != nullptr ? "allocation" : "other";
      text = thrown.what();
    }
    EXPECT_EQ(error, c.error) << c.rows;
    EXPECT_EQ(text, error == "none" ? "" : kNoMemory + std::to_string(c.rows) + ").");
  }
  DistanceMemory::SetBudget(DistanceMemory::kUnlimited);
}

}  // namespace
