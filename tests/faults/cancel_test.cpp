#include <algorithm>
#include <limits>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/faults/operations.h"
#include "tests/models/model_samples.h"
#include "voran/platform/progress.h"
#include "voran/platform/threading_control.h"

namespace faults {

void PrintTo(const Stop& stop, std::ostream* out) {
  *out << '"' << stop.text << "\", level " << stop.level;
}

namespace {

using NCMultiThreading::ThreadingControl;

struct Case {
  const Operation* operation;
  bool isGivenProgress;

  friend void PrintTo(const Case& c, std::ostream* out) { *out << c.operation->name; }
};

class Cancelling : public ::testing::TestWithParam<Case> {
 protected:
  void SetUp() override {
    ThreadingControl::SetNumberOfProcessors(1);  // more would not look at the progress at the same places every time
    ThreadingControl::SetThreadingIsOn(false);
  }
  void TearDown() override {
    NCProgress::SetDisplay(nullptr);
    ThreadingControl::Reset();
  }

  const Operation& operation_ = *GetParam().operation;

  Attempt Begin() const { return operation_.begin({36, 12, 2}); }

  /// Runs until the user breaks off at the given look, and tells how often it has looked.
  static int Run(const Attempt& attempt, int look, Stop* stop) {
    const auto display = std::make_shared<samples::StoppingDisplay>(look);
    NCProgress::SetDisplay(display);
    {
      NCProgress progress("", 0.0F, 1.0F, false, false, true, "");
      *stop = StopOf([&] { attempt.run(GetParam().isGivenProgress ? &progress : nullptr); });
    }
    NCProgress::SetDisplay(nullptr);
    return display->Asked();
  }

  /// All of them, or if there are very many the first, the last and some between.
  static std::vector<int> Chosen(int looks) {
    constexpr int kMost = 50;
    std::vector<int> chosen;
    const int step = std::max(1, looks / kMost);
    for (int k = 1; k < looks; k += step) chosen.push_back(k);
    chosen.push_back(looks);
    return chosen;
  }
};

TEST_P(Cancelling, AtAnyLookEndsItAsStatedAndLeavesAUsableObject) {
  Stop stop;
  const Attempt whole = Begin();
  const int looks = Run(whole, std::numeric_limits<int>::max(), &stop);
  ASSERT_EQ(stop, Stop());
  ASSERT_GE(looks, 2);
  const std::string expected = whole.bytes();
  std::vector<Stop> stops;
  for (const int k : Chosen(looks)) {
    SCOPED_TRACE(::testing::Message() << "look " << k << " of " << looks);
    const Attempt attempt = Begin();
    const std::string before = attempt.bytes();
    const int asked = Run(attempt, k, &stop);
    if (k > looks - operation_.unheard) {
      EXPECT_EQ(stop, Stop());
    } else {
      EXPECT_THAT(operation_.stops, ::testing::Contains(stop));
      EXPECT_LE(asked, k + 2) << "it went on";
      EXPECT_TRUE(!operation_.keeps || attempt.bytes() == before) << "a break has changed the object";
      stops.push_back(stop);
      attempt.run(nullptr);
    }
    EXPECT_TRUE(attempt.bytes() == expected) << "the next run has another result";
  }
  for (const Stop& stated : operation_.stops) EXPECT_THAT(stops, ::testing::Contains(stated)) << "is never told";
  RecordProperty("cancels", std::to_string(stops.size()));
}

std::vector<Case> Cases() {
  std::vector<Case> cases;
  for (const auto* const operations : {&ModelOperations(), &OtherOperations()}) {
    for (const Operation& operation : *operations) {
      if (operation.stops.empty()) continue;
      cases.push_back({&operation, true});
      if (operation.makesProgress) cases.push_back({&operation, false});
    }
  }
  return cases;
}

std::string NameOf(const ::testing::TestParamInfo<Case>& tested) {
  return std::string(tested.param.operation->name) + (tested.param.isGivenProgress ? "" : "WithItsOwnProgress");
}

INSTANTIATE_TEST_SUITE_P(All, Cancelling, ::testing::ValuesIn(Cases()), NameOf);

}  // namespace
}  // namespace faults
