#include <barrier>
#include <cstddef>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "voran/containers/bool_vector.h"
#include "voran/containers/data_matrix.h"
#include "voran/containers/index_lookup.h"
#include "voran/containers/int_pool.h"
#include "voran/containers/mat_utilities.h"
#include "voran/containers/n_dimensional_matrix.h"

namespace {

using ::testing::ElementsAre;
using IntVector = NCIntegralVector<int, -99>;
using UnsignedVector = NCIntegralVector<unsigned long, 0>;

TEST(IndexLookup, TheFirstOfEqualEntriesIsTaken) {
  const unsigned long wanted[] = {30, 10, 99, 10, 0};
  const unsigned long list[] = {10, 20, 10, 30, 30};
  EXPECT_THAT(GetIndexLookupVector(UnsignedVector(wanted, 5), UnsignedVector(list, 5)), ElementsAre(4, 1, -1, 1, -1));
  EXPECT_THAT(GetIndexLookupVector(UnsignedVector(wanted, 2), UnsignedVector()), ElementsAre(-1, -1));
}

TEST(IntPool, ThreadsNeverShareACell) {
  constexpr int kThreads = 3;
  constexpr int kCells = 500000;  // three quarters of them stay, which takes many blocks
  std::vector<std::vector<int*>> cells(kThreads);
  std::barrier start(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t, &start, &own = cells[static_cast<std::size_t>(t)]] {
      start.arrive_and_wait();
      for (int i = 0; i < kCells; ++i) {
        own.push_back(IntPool::GetInt());
        *own.back() = t;
        if (i % 4 != 3) continue;
        IntPool::ReleaseInt(own.back());
        own.pop_back();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();

  std::set<int*> distinct;
  for (int t = 0; t < kThreads; ++t) {
    for (int* cell : cells[static_cast<std::size_t>(t)]) {
      ASSERT_EQ(*cell, t);
      ASSERT_TRUE(distinct.insert(cell).second);
    }
  }
  for (int* cell : distinct) IntPool::ReleaseInt(cell);
  EXPECT_EQ(IntPool::GetInt(), *distinct.rbegin()) << "the cell that was released last comes first";
}

TEST(NDimensionalMatrix, EveryIndexHasACellOfItsOwn) {
  NDimensionalMatrix<int> m({2, 3, 4}, -1, 0);
  const NDimensionalMatrix<int> sharing = m;
  const auto index = [](int cell) { return std::vector<int>{1 + cell / 12, 1 + cell / 4 % 3, 1 + cell % 4, 77}; };
  for (int cell = 0; cell < 24; ++cell) {
    EXPECT_EQ(m.Get(index(cell), 3), -1);
    m.Set(index(cell), cell, 3);
  }
  for (int cell = 0; cell < 24; ++cell) EXPECT_EQ(sharing.Get(index(cell), 3), cell);
}

TEST(NDimensionalMatrix, DepthAndIndexMustMeetTheDimensions) {
  using Matrix = NDimensionalMatrix<int>;
  Matrix m({2, 3, 4}, 0, 2);
  m.Set({2, 3}, 5, -1);
  EXPECT_EQ(m.Get({2, 3}, 2), 5);
  const std::vector<void (*)(Matrix&)> misuses = {
      [](Matrix&) { Matrix({2, 3}, 0, 3); },      [](Matrix&) { Matrix({}, 0, 0); },
      [](Matrix& x) { x.Get({1}, -1); },          [](Matrix& x) { x.Get({1, 1}, 1); },
      [](Matrix& x) { x.Get({1, 1}, 0); },        [](Matrix& x) { x.Get({1, 1}, 3); },
      [](Matrix& x) { x.Set({1, 1, 1}, 0, -1); },
  };
  for (std::size_t i = 0; i < misuses.size(); ++i) {
    try {
      misuses[i](m);
      ADD_FAILURE() << "misuse " << i << " passed";
    } catch (const Exception& e) {
      EXPECT_STREQ(e.what(), "Matrix size mismatch");
    }
  }
}

TEST(MatUtilities, ShowMatrixCallsWhatIsSetAtTheMoment) {
  const NCDataMatrix<float> shown(2, 2, 1.0F);
  std::vector<std::string> titles;
  NCMatUtilities::ShowMatrix(shown, "before");
  NCMatUtilities::SetShowMatrixCallback([&](const NCDataMatrix<float>& m, const char* title) {
    EXPECT_EQ(&m, &shown);
    titles.emplace_back(title);
    NCMatUtilities::SetShowMatrixCallback({});
  });
  NCMatUtilities::ShowMatrix(shown, "during");
  NCMatUtilities::ShowMatrix(shown, "after");
  EXPECT_THAT(titles, ElementsAre("during"));
}

TEST(MatUtilities, ConstantSlopeIsDecidedByTheStepsSpread) {
  struct Case {
    std::vector<float> v;
    bool constant;
  };
  const Case cases[] = {
      {{}, false},
      {{1}, false},                  // no step: -99 / (-99 - 99)
      {{5, 4}, false},               // one step has no deviation: 1 / (-99 + 1)
      {{5, 4, 3, 2}, true},          // 1 / (0 + 1)
      {{7, 7, 7}, false},            // 0 / 0
      {{400, 300, 200, 101}, true},  // spread 0.577 on a mean step of 99.67
      {{400, 300, 200, 98}, false},  // spread 1.155 on a mean step of 100.67: 0.9887
      {{0, 99, 198}, false},         // steps of -99 are missing
      {{0, 99, 98, 97}, true},       // and are left out of the statistics
  };
  for (const Case& c : cases)
    EXPECT_EQ(NCMatUtilities::HasVectorConstantSlope(c.v), c.constant) << ::testing::PrintToString(c.v);
}

TEST(MatUtilities, ComplementIsWhatTheListLeavesOut) {
  struct Case {
    std::vector<int> list;
    int from, to;
    std::vector<int> complement;
  };
  constexpr int kMax = std::numeric_limits<int>::max();
  const Case cases[] = {
      {{}, 1, 3, {1, 2, 3}}, {{2}, 1, 3, {1, 3}},
      {{1, 2, 3}, 1, 3, {}}, {{-4, 0, 3, 3, 9}, 2, 5, {2, 4, 5}},
      {{1}, 3, 2, {}},       {{kMax - 1}, kMax - 2, kMax, {kMax - 2, kMax}},
  };
  for (const Case& c : cases) {
    const IntVector list(c.list.data(), static_cast<int>(c.list.size()));
    const std::unique_ptr<IntVector> complement(NCMatUtilities::ComplementVector(&list, c.from, c.to));
    EXPECT_THAT(*complement, ::testing::ElementsAreArray(c.complement));
  }
}

}  // namespace
