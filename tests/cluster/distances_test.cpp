#include <string>
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
#include "voran/platform/threading_control.h"

namespace {

using NCMultiThreading::ThreadingControl;
using ::testing::ElementsAre;
using namespace voran::DendroGram;
using namespace voran::DendroGram::detail;

const char* const kNoMemory =
    "Memory allocation error.\nWhen doing cluster analysis, a total of N*(N-1)/2 initial distances are calculated. In "
    "this case, enough RAM to hold these distances could not be allocated (N=";

struct RestoreSettings {
  ~RestoreSettings() {
    ThreadingControl::Reset();
    DistanceMemory::SetBudget(DistanceMemory::kUnlimited);
  }
};

std::vector<int> Bounds(int threads, int rows) {
  std::vector<int> bounds;
  DivideRowsAmongThreads(threads, rows, bounds);
  return bounds;
}

testing::AssertionResult SamePairs(const PairList& pairs, const plain::Pairs& expected) {
  if (pairs.size() != expected.size()) return testing::AssertionFailure() << pairs.size() << " pairs";
  for (std::size_t k = 0; k < pairs.size(); ++k) {
    const auto& x = pairs[k];
    const auto& y = expected[k];
    if (x.distance != y.distance || x.first != y.first || x.second != y.second) {
      return testing::AssertionFailure() << "pair " << k << " is " << x.distance << " (" << x.first << ", " << x.second
                                         << "), not " << y.distance << " (" << y.first << ", " << y.second << ")";
    }
  }
  return testing::AssertionSuccess();
}

/// Everything, sorted.
PairList Computed(const plain::Rows& rows, PairFunction pairFunction, Finish finish) {
  PairList pairs;
  ComputeDistances(plain::ToMatrix(rows), nullptr, pairs, pairFunction, finish).Finish(pairs);
  return pairs;
}

class Distances : public ::testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    before_ = SimdTarget::GetName();
    SimdTarget::Set(GetParam());
  }
  void TearDown() override { SimdTarget::Set(before_); }

 private:
  std::string before_;
};

TEST_P(Distances, AreThePlainOnesBitForBit) {
  for (const std::size_t n : std::vector<std::size_t>{2, 3, 31, 32, 33, 37, 70}) {
    for (const std::size_t columns : std::vector<std::size_t>{1, 7, 20}) {
      for (const double gapShare : {0.0, 0.2}) {
        SCOPED_TRACE(std::to_string(n) + " x " + std::to_string(columns));
        const plain::Rows rows = plain::MadeRows(n, columns, 0, gapShare, static_cast<unsigned>(n));
        for (const bool halves : {false, true}) {
          for (const bool root : {false, true}) {
            plain::Pairs expected = plain::AllPairs(rows, halves, root);
            plain::SortPairs(expected);
            const auto pairFunction = halves ? PairFunction::kHalfSquaredDifference : PairFunction::kSquaredDifference;
            EXPECT_TRUE(
                SamePairs(Computed(rows, pairFunction, root ? Finish::kSquareRoot : Finish::kIdentity), expected));
          }
        }
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(EveryTarget, Distances, testing::ValuesIn(SimdTarget::GetAvailable()),
                         [](const auto& suite) { return suite.param; });

TEST(DivideRowsAmongThreads, BoundsEndRangesOfAboutAsManyPairs) {
  EXPECT_THAT(Bounds(1, 10), ElementsAre(10));
  EXPECT_THAT(Bounds(2, 10), ElementsAre(4, 10));  // 9 + 8 + 7 of 45 pairs, the nearest to a half
  EXPECT_THAT(Bounds(4, 3), ElementsAre(2, 3));
  EXPECT_THAT(Bounds(2, 1), ElementsAre(1));
  EXPECT_THAT(Bounds(2, 2), ElementsAre(2));
  const std::vector<int> bounds = Bounds(5, 65535);
  ASSERT_EQ(bounds.size(), 5u);
  double first = 1;
  for (const int bound : bounds) {
    const double pairs = (bound - first) * (65535.0 - (first + bound - 1) / 2);
    EXPECT_NEAR(pairs / (65535.0 * 65534.0 / 2), 0.2, 1e-4);
    first = bound;
  }
}

/// The message of the error that Init throws, behind its class.
std::string InitError(ClusterDistanceCalculator& calculator, int rows, NCProgress* progress = nullptr) {
  try {
    calculator.Init(NCDataMatrix<float>(rows, 1, 0.0f), progress);
  } catch (const ClusterAllocationError& error) {
    return std::string("allocation: ") + error.what();
  } catch (const NCError& error) {
    return std::string("error: ") + error.what();
  }
  return "";
}

TEST(Memory, WhatCannotBeHeldIsToldApart) {
  SingleLinkageDistanceCalculator single;
  WardDistanceCalculator ward(DistanceType::kSquareRoot);
  EXPECT_EQ(InitError(ward, 46342), std::string("allocation: ") + kNoMemory + "46342).");
  EXPECT_EQ(InitError(ward, 65535), std::string("allocation: ") + kNoMemory + "65535).");
  EXPECT_EQ(InitError(ward, 65536), std::string("error: ") + kNoMemory + "65536).");
  EXPECT_EQ(InitError(single, 65536), std::string("error: ") + kNoMemory + "65536).");
}

TEST(Memory, BudgetIsKeptToTheByte) {
  const RestoreSettings restore;
  WardDistanceCalculator ward(DistanceType::kSquareRoot);
  DistanceMemory::SetBudget(10 * sizeof(DistanceAndIndex) - 1);
  EXPECT_EQ(InitError(ward, 5), std::string("allocation: ") + kNoMemory + "5).");
  DistanceMemory::SetBudget(10 * sizeof(DistanceAndIndex));
  EXPECT_EQ(InitError(ward, 5), "");
}

}  // namespace
