#include <algorithm>
#include <new>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "tests/containers/failing_allocation.h"
#include "tests/faults/operations.h"
#include "voran/platform/exception.h"
#include "voran/platform/threading_control.h"

namespace faults {
namespace {

using NCMultiThreading::ThreadingControl;
using Extent = FailingAllocation::Extent;

struct Case {
  const Operation* operation;
  Shape shape;
  int most;  ///< so many allocations fail, evenly spread if there are more

  friend void PrintTo(const Case& c, std::ostream* out) { *out << c.operation->name; }
};

class Allocation : public ::testing::TestWithParam<Case> {
 protected:
  void SetUp() override {
    if (!FailingAllocation::IsAvailable()) GTEST_SKIP() << "no allocation fails in this build";
    ThreadingControl::SetNumberOfProcessors(2);
    ThreadingControl::SetThreadingIsOn(true);
    failedBefore_ = FailingAllocation::Failed();
  }
  void TearDown() override {
    ThreadingControl::Reset();
    RecordProperty("allocations_failed", std::to_string(FailingAllocation::Failed() - failedBefore_));
  }

  const Operation& operation_ = *GetParam().operation;

  Attempt Begin() const { return operation_.begin(GetParam().shape); }

  /// Which allocations are to fail, of so many.
  std::vector<int> Failing(long all) const {
    std::vector<int> numbers;
    const double step = std::max(1.0, static_cast<double>(all) / GetParam().most);
    for (double k = 1.0; k < static_cast<double>(all) + 1.0; k += step) numbers.push_back(static_cast<int>(k));
    return numbers;
  }

  /// True if the operation was done in spite of it.
  bool IsDone(const Attempt& attempt, int k, Extent extent) const {
    try {
      const FailingAllocation failing(k, extent);
      attempt.run(nullptr);
      return true;
    } catch (const std::bad_alloc&) {
    } catch (const Exception& error) {
      const char* const stated = operation_.memoryError;
      EXPECT_TRUE(stated != nullptr && std::string_view(error.what()).starts_with(stated)) << error.what();
    }
    return false;
  }

  void Fail(int k, Extent extent, const std::string& expected) const {
    const Attempt attempt = Begin();
    const std::string before = attempt.bytes();
    const bool isDone = IsDone(attempt, k, extent);
    const bool isAsBefore = attempt.bytes() == before;
    if (isDone) {
      EXPECT_TRUE(attempt.bytes() == expected || (operation_.mayDoNothing && isAsBefore));
      return;
    }
    EXPECT_TRUE(!operation_.keeps || isAsBefore) << "a failure has changed the object";
    attempt.run(nullptr);
    EXPECT_TRUE(attempt.bytes() == expected) << "the next run has another result";
  }

 private:
  long failedBefore_ = 0;
};

/// The process goes on whatever thread it happens on.
TEST_P(Allocation, ThatFailsGoesOutLeaksNothingAndLeavesAUsableObject) {
  std::string expected;
  long all = 0;
  for (int warmUp = 0; warmUp < 2; ++warmUp) {
    const Attempt attempt = Begin();
    const long before = Allocations();
    attempt.run(nullptr);
    all = Allocations() - before;
    expected = attempt.bytes();
  }
  EXPECT_GT(all, 0);
  for (const Extent extent : {Extent::kThatOne, Extent::kAllFromThere}) {
    for (const int k : Failing(all)) {
      SCOPED_TRACE(::testing::Message() << "allocation " << k << " of " << all
                                        << (extent == Extent::kThatOne ? " alone" : " and all that follow"));
      const long before = LiveAllocations();
      Fail(k, extent, expected);
      ASSERT_FALSE(HasFailure());
      ASSERT_EQ(LiveAllocations(), before);
    }
  }
}

/// These run on one thread, but for the groups of O2PLS, the distances and the table.
std::vector<Case> Cases() {
  std::vector<Case> cases;
  for (const auto* const operations : {&ModelOperations(), &OtherOperations()}) {
    for (const Operation& operation : *operations) {
      cases.push_back({&operation, {}, operation.isCostly ? 60 : 400});
    }
  }
  return cases;
}

/// So large that several threads share the rows of the matrices or, if they are wide, the iterations, too.
std::vector<Case> LargeCases(bool isWide) {
  std::vector<Case> cases;
  for (const Operation& operation : ModelOperations()) {
    const std::string_view name = operation.name;
    const bool isTested = isWide ? name == "Pca" || name == "PlsComponent" || name == "O2pls" : name != "Svd";
    if (isTested) cases.push_back({&operation, {70, isWide ? 7500 : 1000, 2}, isWide ? 4 : 6});
  }
  return cases;
}

std::string NameOf(const ::testing::TestParamInfo<Case>& tested) {
  return tested.param.operation->name;
}

INSTANTIATE_TEST_SUITE_P(Small, Allocation, ::testing::ValuesIn(Cases()), NameOf);
INSTANTIATE_TEST_SUITE_P(Large, Allocation, ::testing::ValuesIn(LargeCases(false)), NameOf);
INSTANTIATE_TEST_SUITE_P(Wide, Allocation, ::testing::ValuesIn(LargeCases(true)), NameOf);

}  // namespace
}  // namespace faults
