#include "voran/statistics/roc.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "voran/platform/nc_error.h"

namespace {

using ::testing::ElementsAre;
using Vector = NCDataVector<float>;

constexpr float kGap = -99.0F;

BoolVector Flags(const std::vector<int>& flags) {
  BoolVector result(static_cast<int>(flags.size()), false);
  for (std::size_t i = 0; i < flags.size(); ++i) result(static_cast<int>(i) + 1, flags[i] != 0);
  return result;
}

struct Curve {
  Curve(const Vector& values, const std::vector<int>& members, bool descending) {
    Sta::GetROC(values, Flags(members), descending, truePositive, falsePositive, thresholds);
  }
  float Area() const { return Sta::GetROCAreaUnderCurve(truePositive, falsePositive); }

  Vector truePositive = {7.0F};  // what was there is to go
  Vector falsePositive = {7.0F};
  Vector thresholds = {7.0F};
};

TEST(Roc, StepsThroughTheDistinctValuesInEitherOrder) {
  const Vector values = {0.9F, 0.8F, 0.8F, kGap, 0.3F, 0.1F, kGap};
  const std::vector<int> members = {1, 1, 0, 1, 1, 0, 0};
  const Curve down(values, members, true);
  EXPECT_THAT(down.thresholds, ElementsAre(0.9F, 0.9F, 0.8F, 0.3F, 0.1F));
  EXPECT_THAT(down.truePositive, ElementsAre(0.0F, 1.0F / 3.0F, 2.0F / 3.0F, 1.0F, 1.0F));
  EXPECT_THAT(down.falsePositive, ElementsAre(0.0F, 0.0F, 0.5F, 0.5F, 1.0F));
  const Curve up(values, members, false);
  EXPECT_THAT(up.thresholds, ElementsAre(0.1F, 0.1F, 0.3F, 0.8F, 0.9F));
  EXPECT_THAT(up.truePositive, ElementsAre(0.0F, 0.0F, 1.0F / 3.0F, 2.0F / 3.0F, 1.0F));
  EXPECT_NEAR(down.Area() + up.Area(), 1.0F, 1e-6F);
}

TEST(Roc, OfMissingValuesAloneIsTheDiagonal) {
  const Curve curve({kGap, kGap}, {1, 0}, true);
  EXPECT_THAT(curve.truePositive, ElementsAre(0.0F, 1.0F));
  EXPECT_THAT(curve.falsePositive, ElementsAre(0.0F, 1.0F));
  EXPECT_THAT(curve.thresholds, ElementsAre(kGap, kGap));
}

TEST(Roc, NaNsComeLastInOneStep) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (const bool descending : {true, false}) {
    const Curve curve({nan, 1.0F, nan}, {1, 0, 1}, descending);
    EXPECT_THAT(curve.truePositive, ElementsAre(0.0F, 0.0F, 1.0F));
    EXPECT_EQ(curve.thresholds[1], 1.0F);
    EXPECT_TRUE(std::isnan(curve.thresholds[3]));
  }
}

TEST(Roc, NeedsMembersAndOthersAmongThePresent) {
  const std::string noMembers =
      "The predictionset does not contain any observations that belong to the class. ROC can not be calculated.";
  const std::string noOthers = "All observations in the predictionset belongs to the class. ROC can not be calculated.";
  const struct {
    Vector values;
    std::vector<int> members;
    std::string message;
  } cases[] = {{{1, 2}, {0, 0}, noMembers},   {{1, 2}, {1, 1}, noOthers}, {{1, kGap}, {0, 1}, noMembers},
               {{1, kGap}, {1, 0}, noOthers}, {{}, {}, noMembers},        {{1, 2}, {1}, "Internal error in GetROC"}};
  for (const auto& c : cases) {
    try {
      Curve(c.values, c.members, true);
      ADD_FAILURE() << c.message;
    } catch (const NCError& error) {
      EXPECT_EQ(error.what(), c.message);
      EXPECT_EQ(error.GetLevel(), NCError::Level::kGeneral);
    }
  }
}

}  // namespace
