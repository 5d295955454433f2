#include "voran/statistics/control_chart.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/catalogue.h"

namespace {

using ::testing::ElementsAre;
using ::testing::FloatNear;
using Vector = NCDataVector<float>;

constexpr float kGap = -99.0F;
constexpr double kMissing = -99.0;
constexpr double kFloat = 1e-6;  // the constants and the vectors are floats

/// Four subgroups of three, worked by hand: means 6, 6, 7, 6; ranges 2, 4, 0, 3; standard deviations 1, 2, 0, sqrt(3).
const Vector kValues = {5, 6, 7, 4, 6, 8, 7, 7, 7, 5, 5, 8};
constexpr double kMeanStdDev = (1.0 + 2.0 + 0.0 + 1.7320508) / 4.0;
const double kMssd = std::sqrt(2.0 / 6.0);  // the differences of the means are 0, 1, -1

ControlChart Chart(ControlChart::ControlType type, const Vector& values = kValues, int size = 3,
                   ControlChart::EWMAType ewmaType = ControlChart::kFilter) {
  return {type, values, size, ewmaType};
}

TEST(ControlChart, MeanAndRangeLimitsAreThoseWorkedByHand) {
  const ControlChart chart = Chart(ControlChart::kMeanRange);
  EXPECT_THAT(chart.GetMeanVector(), ElementsAre(6, 6, 7, 6));
  EXPECT_THAT(chart.GetRangeVector(), ElementsAre(2, 4, 0, 3));
  EXPECT_EQ(chart.GetTarget(), 6.25);
  EXPECT_EQ(chart.GetRangeMean(), 2.25);
  EXPECT_NEAR(chart.GetMeanUCL(), 6.25 + 1.023 * 2.25, kFloat);
  EXPECT_NEAR(chart.GetMeanLCL(), 6.25 - 1.023 * 2.25, kFloat);
  EXPECT_NEAR(chart.GetRangeUCL(), 2.574 * 2.25, kFloat);
  EXPECT_EQ(chart.GetRangeLCL(), 0.0);
  EXPECT_NEAR(chart.GetStdDevProcess(), 2.25 / 1.693, kFloat);
  EXPECT_NEAR(chart.GetStdDevIndividual(), std::sqrt(18.25 / 11.0), kFloat);
}

/// The factors follow from the normal distribution: A3 = 3 / (c4 sqrt(n)), B4 = 2 - B3 = 1 + 3 sqrt(1 - c4^2) / c4,
/// A2 = 3 / (d2 sqrt(n)) and D4 = 2 - D3, up to the rounding of the tables.
TEST(ControlChart, ConstantsFitTogetherAtEverySize) {
  constexpr double kTable = 0.0035;  // three decimals, of quotients of four figures
  for (int n = 2; n <= 25; ++n) {
    const Vector values(n, 10.0F);
    ControlChart ranges = Chart(ControlChart::kMeanRange, values, n);
    ControlChart deviations = Chart(ControlChart::kMeanStdDev, values, n);
    ranges.SetStdDevSubgroup(1.0);
    deviations.SetStdDevSubgroup(1.0);
    const double d2 = ranges.GetRangeMean();
    const double c4 = deviations.GetStdDevMean();
    EXPECT_NEAR(c4, std::sqrt(2.0 / (n - 1)) * std::tgamma(n / 2.0) / std::tgamma((n - 1) / 2.0), 6e-5) << n;
    EXPECT_NEAR(ranges.GetMeanUCL() - 10.0, 3.0 / std::sqrt(n), kTable) << n;
    EXPECT_NEAR(deviations.GetMeanUCL() - 10.0, 3.0 / std::sqrt(n), kTable) << n;
    EXPECT_NEAR(deviations.GetStdDevUCL() - c4, 3.0 * std::sqrt(1.0 - c4 * c4), kTable) << n;
    EXPECT_NEAR(deviations.GetStdDevLCL(), std::max(0.0, c4 - 3.0 * std::sqrt(1.0 - c4 * c4)), kTable) << n;
    if (ranges.GetRangeLCL() > 0.0) {
      EXPECT_NEAR(ranges.GetRangeUCL() + ranges.GetRangeLCL(), 2.0 * d2, 0.006) << n;
    }
  }
  // d2 and D4, which have no closed form, at a few sizes of the table.
  const struct {
    int n;
    double d2, D4;
  } cases[] = {{2, 1.128, 3.267}, {5, 2.326, 2.114}, {10, 3.078, 1.777}, {17, 3.588, 1.621}, {25, 3.931, 1.541}};
  for (const auto& c : cases) {
    ControlChart chart = Chart(ControlChart::kMeanRange, Vector(c.n, 10.0F), c.n);
    chart.SetStdDevSubgroup(1.0);
    EXPECT_NEAR(chart.GetRangeMean(), c.d2, kFloat);
    EXPECT_NEAR(chart.GetRangeUCL(), c.d2 * c.D4, 4.0 * kFloat);
  }
}

TEST(ControlChart, SizesWithoutConstantsHaveNoLimits) {
  for (const int size : {1, 26}) {
    ControlChart chart = Chart(ControlChart::kMeanRange, Vector(52, 3.0F), size);
    chart.SetStdDevSubgroup(2.0);
    EXPECT_EQ(chart.GetTarget(), 3.0);
    for (const double limit : {chart.GetMeanUCL(), chart.GetMeanLCL(), chart.GetRangeUCL(), chart.GetRangeLCL(),
                               chart.GetStdDevProcess(), chart.GetRangeMean()}) {
      EXPECT_EQ(limit, kMissing) << size;
    }
  }
}

TEST(ControlChart, RangesBeginAnewAtAGapAndOtherStatisticsSkipIt) {
  const struct {
    Vector subgroup;
    float range, mean, stdDev;
  } cases[] = {{{1, 5, kGap, 3, 4}, 1, 3.25F, 1.7078251F},         {{1, 5, kGap, kGap, kGap}, kGap, 3, 2.8284271F},
               {{1, 5, 2, 3, kGap}, kGap, 2.75F, 1.7078251F},      {{kGap, kGap, kGap, kGap, 4}, 0, 4, kGap},
               {{kGap, kGap, kGap, kGap, kGap}, kGap, kGap, kGap}, {{kGap, 5, 1, 3, 4}, 4, 3.25F, 1.7078251F}};
  for (const auto& c : cases) {
    EXPECT_THAT(Chart(ControlChart::kMeanRange, c.subgroup, 5).GetRangeVector(), ElementsAre(c.range)) << c.mean;
    const ControlChart chart = Chart(ControlChart::kMeanStdDev, c.subgroup, 5);
    EXPECT_THAT(chart.GetMeanVector(), ElementsAre(c.mean));
    EXPECT_THAT(chart.GetStdDevVector(), ElementsAre(FloatNear(c.stdDev, 1e-6F)));
  }
  EXPECT_EQ(Chart(ControlChart::kMeanStdDev, {0.1F, 0.1F, 0.1F}).GetStdDevVector()[1], 0.0F);
  EXPECT_EQ(Chart(ControlChart::kIndividual, Vector(10, 1.0F)).GetMeanVector().Size(), 3);
}

TEST(ControlChart, StdDevOfNearlyEqualValuesIsANumber) {
  Vector values(5000, 1000.0F);
  for (int i = 1; i <= values.Size(); i += 4) values(i, std::nextafter(1000.0F, 2000.0F));
  const float stdDev = Chart(ControlChart::kMeanStdDev, values, values.Size()).GetStdDevVector()[1];
  EXPECT_TRUE(stdDev >= 0.0F && stdDev < 1e-3F) << stdDev;
  EXPECT_TRUE(std::isnan(Chart(ControlChart::kMeanStdDev, {std::nanf(""), 1, 2}).GetStdDevVector()[1]));
}

TEST(ControlChart, CuSumIsThatWorkedByHand) {
  ControlChart chart = Chart(ControlChart::kCuSum);
  chart.SetTarget(6.0);
  EXPECT_EQ(chart.GetStdDevProcess(), kMssd);
  EXPECT_NEAR(chart.GetStdDevMean(), kMeanStdDev, kFloat);
  EXPECT_NEAR(chart.GetDeadBand(), 0.5 * kMssd, kFloat);
  EXPECT_NEAR(chart.GetActionLimit(), 4.5 * kMssd, kFloat);
  EXPECT_THAT(chart.GetDevFromTarget(), ElementsAre(0, 0, 1, 0));
  const auto k = static_cast<float>(0.5 * kMssd);
  EXPECT_THAT(chart.GetHighCuSum(), ElementsAre(0, 0, FloatNear(1 - k, 1e-6F), FloatNear(1 - 2 * k, 1e-6F)));
  EXPECT_THAT(chart.GetLowCuSum(), ElementsAre(0, 0, 0, 0));
  chart.SetTarget(6.5);
  EXPECT_THAT(chart.GetLowCuSum(),
              ElementsAre(FloatNear(0.5F - k, 1e-6F), FloatNear(1 - 2 * k, 1e-6F),
                          FloatNear(0.5F - 3 * k < 0 ? 0 : 0.5F - 3 * k, 1e-6F), FloatNear(0.5F - k, 1e-6F)));
}

TEST(ControlChart, CuSumGoesOnFromEarlierDataAndOverGaps) {
  ControlChart chart = Chart(ControlChart::kCuSum, {kGap, 3, 3, kGap, 1}, 1);
  const auto k = static_cast<float>(0.5 * chart.GetStdDevIndividual());
  chart.SetPrevious(0.25, 2.0);
  chart.SetPrevious(5.0);  // for averages, no matter here
  chart.SetTarget(3.0);
  EXPECT_THAT(chart.GetHighCuSum(),
              ElementsAre(2, FloatNear(2 - k, 1e-6F), FloatNear(2 - 2 * k, 1e-6F), FloatNear(2 - 2 * k, 1e-6F), 0));
  EXPECT_THAT(chart.GetLowCuSum(), ElementsAre(0.25F, 0, 0, 0, FloatNear(2 - k, 1e-6F)));
  EXPECT_THAT(chart.GetDevFromTarget(), ElementsAre(kGap, 0, 0, kGap, -2));
}

TEST(ControlChart, CuSumHoldsItsStartUpToTheFirstMean) {
  ControlChart chart = Chart(ControlChart::kCuSum, {kGap, kGap, 3, kGap}, 1);  // one value has no sigma
  chart.SetPrevious(1.5, 2.0);
  EXPECT_THAT(chart.GetHighCuSum(), ElementsAre(2, 2, kGap, kGap));
  EXPECT_THAT(chart.GetLowCuSum(), ElementsAre(1.5F, 1.5F, kGap, kGap));
  EXPECT_THAT(chart.GetDevFromTarget(), ElementsAre(kGap, kGap, 0, kGap));
  EXPECT_EQ(chart.GetDeadBand(), kMissing);
}

TEST(ControlChart, EWMAIsThatWorkedByHand) {
  const struct {
    ControlChart::EWMAType type;
    double previous;
    bool firstValueAsTarget;
    std::vector<float> expected;
  } cases[] = {{ControlChart::kFilter, kMissing, false, {6.25F, 6.125F, 6.5625F, 6.28125F}},
               {ControlChart::kPredictive, kMissing, false, {6.25F, 6.125F, 6.0625F, 6.53125F}},
               {ControlChart::kFilter, 8.0, true, {8, 7, 7, 6.5F}},
               {ControlChart::kPredictive, kMissing, true, {6, 6, 6, 6.5F}},
               {ControlChart::kUnknown, kMissing, false, {6.25F, kGap, kGap, kGap}}};
  for (const auto& c : cases) {
    ControlChart chart = Chart(ControlChart::kEWMA, kValues, 3, c.type);
    chart.SetEWMALambda(0.5);
    chart.SetPrevious(c.previous);
    chart.SetFirstValueAsTarget(c.firstValueAsTarget);
    EXPECT_THAT(chart.GetEWMA(), ::testing::ElementsAreArray(c.expected)) << c.expected[1];
    EXPECT_EQ(chart.GetMSSD(), kMssd);
    const double sigma = kMssd * std::sqrt(0.5 / 1.5);
    EXPECT_NEAR(chart.GetEWMAStdDev(), sigma, kFloat);
    EXPECT_NEAR(chart.GetEWMAUCL(), 6.25 + 3.0 * sigma, kFloat);
    EXPECT_NEAR(chart.GetEWMALCL(), 6.25 - 3.0 * sigma, kFloat);
  }
  ControlChart gaps = Chart(ControlChart::kEWMA, {kGap, 2, kGap, 4}, 1);
  gaps.SetEWMALambda(0.5);
  gaps.SetFirstValueAsTarget(true);
  EXPECT_THAT(gaps.GetEWMA(), ElementsAre(kGap, 2, 2, 3));
  EXPECT_NEAR(gaps.GetEWMAStdDev(), std::sqrt(2.0 / 3.0), kFloat);  // sigma of 2 and 4
}

/// The sum of the squared errors when each value is predicted from those before it, with gaps skipped.
double PredictionError(const std::vector<float>& values, double start, double lambda) {
  double average = start;
  double sum = 0.0;
  for (const float x : values) {
    if (x == kGap) continue;
    const double error = static_cast<double>(x) - average;
    sum += error * error;
    average += lambda * error;
  }
  return sum;
}

TEST(ControlChart, LambdaPredictsAsWellAsTheBestOfAFineGrid) {
  for (const double persistence : {0.04, 0.25, 0.6, 0.85}) {
    std::vector<float> values;
    double level = 50.0;
    for (int i = 0; i < 400; ++i) {
      const double noise = std::sin(1.7 * i * i);  // no pattern that an average could learn
      values.push_back(i % 29 == 7 ? kGap : static_cast<float>(level + noise));
      level += persistence * noise;
    }
    Vector vector;
    vector.CopyZeroBasedVector(values.data(), static_cast<int>(values.size()));
    const ControlChart chart = Chart(ControlChart::kEWMA, vector, 1);
    double best = HUGE_VAL;
    for (double lambda = 0.0005; lambda < 1.0; lambda += 0.0005) {
      best = std::min(best, PredictionError(values, chart.GetTarget(), lambda));
    }
    EXPECT_NEAR(chart.GetEWMALambda(), persistence, 0.15);
    EXPECT_LT(PredictionError(values, chart.GetTarget(), chart.GetEWMALambda()), best * 1.0001) << persistence;
  }
}

TEST(ControlChart, LambdaStaysWithinItsRange) {
  Vector alternating(60, 1.0F);
  Vector ramp(60, 0.0F);
  for (int i = 1; i <= 60; ++i) {
    if (i % 2 == 0) alternating(i, -1.0F);
    ramp(i, static_cast<float>(i));
  }
  EXPECT_EQ(Chart(ControlChart::kEWMA, ramp, 1).GetEWMALambda(), 1.0);
  EXPECT_EQ(Chart(ControlChart::kEWMA, Vector(60, 5.0F), 1).GetEWMALambda(), 0.1);
  const double smallest = Chart(ControlChart::kEWMA, alternating, 1).GetEWMALambda();
  EXPECT_TRUE(smallest == 0.2 || (smallest > 0.0 && smallest < 0.11)) << smallest;
}

TEST(ControlChart, KnownSigmaReplacesTheEstimate) {
  for (const auto type : {ControlChart::kIndividual, ControlChart::kMeanRange, ControlChart::kMeanStdDev,
                          ControlChart::kCuSum, ControlChart::kEWMA, ControlChart::kIndividualEWMA}) {
    ControlChart chart = Chart(type);
    chart.SetEWMALambda(0.5);
    const double before = chart.GetEWMAStdDev();
    chart.SetStdDevSubgroup(kMissing);
    EXPECT_EQ(chart.GetEWMAStdDev(), before);
    chart.SetStdDevSubgroup(2.0);
    EXPECT_NEAR(chart.GetStdDevProcess(), 2.0, kFloat) << type;
    if (type == ControlChart::kCuSum) {
      EXPECT_NEAR(chart.GetActionLimit(), 4.5 * 2.0 * 0.8862, kFloat);
      EXPECT_NEAR(chart.GetDeadBand(), 0.5 * 2.0 * 0.8862, kFloat);
    }
    if (type >= ControlChart::kEWMA) {
      EXPECT_NEAR(chart.GetEWMAStdDev(), 2.0 * 0.8862 * std::sqrt(0.5 / 1.5), kFloat) << type;
      EXPECT_NEAR(chart.GetMeanUCL(), 6.25 + 1.954 * 0.8862 * 2.0, 1e-5);
    }
  }
}

TEST(ControlChart, TargetMovesTheLimitsOfItsType) {
  ControlChart ranges = Chart(ControlChart::kMeanRange);
  ranges.SetTarget(kMissing);
  EXPECT_EQ(ranges.GetTarget(), 6.25);
  ranges.SetTarget(10.0);
  EXPECT_NEAR(ranges.GetMeanLCL(), 10.0 - 1.023 * 2.25, kFloat);
  ControlChart deviations = Chart(ControlChart::kMeanStdDev);
  deviations.SetTarget(10.0);
  EXPECT_NEAR(deviations.GetMeanUCL(), 10.0 + 1.954 * kMeanStdDev, kFloat);
  for (const auto type : {ControlChart::kEWMA, ControlChart::kIndividualEWMA}) {
    ControlChart average = Chart(type);
    const double upper = average.GetEWMAUCL();
    average.GetEWMA();
    average.SetTarget(10.0);
    const bool follows = type == ControlChart::kEWMA;
    EXPECT_EQ(average.GetEWMA()[1], follows ? 10.0F : 6.25F);
    EXPECT_NEAR(average.GetEWMAUCL() - upper, follows ? 3.75 : 0.0, kFloat);
  }
}

TEST(ControlChart, ImportedLimitsJudgeNewData) {
  ControlChart reference = Chart(ControlChart::kMeanRange);
  reference.SetEWMALambda(0.3);
  ControlChart chart = Chart(ControlChart::kMeanRange, {1, 2, 3, 20, 30, 40});
  chart.ImportLimits(reference);
  EXPECT_THAT(chart.GetMeanVector(), ElementsAre(2, 30));
  EXPECT_EQ(chart.GetTarget(), 6.25);
  EXPECT_EQ(chart.GetMeanUCL(), reference.GetMeanUCL());
  EXPECT_EQ(chart.GetRangeLCL(), reference.GetRangeLCL());
  EXPECT_EQ(chart.GetStdDevIndividual(), reference.GetStdDevIndividual());
  EXPECT_EQ(chart.GetEWMALambda(), 0.3);
  EXPECT_EQ(chart.GetMSSD(), std::sqrt(28.0 * 28.0 / 2.0));  // the reference had not computed its own
}

TEST(ControlChart, WithoutDataEverythingIsMissing) {
  for (const Vector& values : {Vector(), Vector(6)}) {
    for (const auto type : {ControlChart::kMeanRange, ControlChart::kMeanStdDev, ControlChart::kCuSum,
                            ControlChart::kEWMA, ControlChart::kIndividualEWMA}) {
      const ControlChart chart = Chart(type, values);
      for (const double value :
           {chart.GetTarget(), chart.GetMeanUCL(), chart.GetRangeMean(), chart.GetStdDevUCL(), chart.GetStdDevProcess(),
            chart.GetActionLimit(), chart.GetEWMAUCL(), chart.GetMSSD()}) {
        EXPECT_EQ(value, kMissing) << type;
      }
      for (const Vector& vector : {chart.GetEWMA(), chart.GetDevFromTarget()}) {
        EXPECT_EQ(vector, Vector(values.Size() / 3));
      }
      EXPECT_EQ(chart.GetHighCuSum(), Vector(values.Size() / 3, 0.0F));  // gaps at the start: where the sums begin
    }
  }
}

TEST(ControlChart, TypesHaveTheirTexts) {
  const WithCatalogue shown({InContext("Control chart type", "Mean/Std. dev."),
                             InContext("Control chart type", "CuSum"), InContext("Control chart type", "Individual")});
  const struct {
    ControlChart::ControlType type;
    std::string text, shownText;
    ControlChart::ControlType back;
  } cases[] = {
      {ControlChart::kIndividual, "Individual", "Control chart type: Individual", ControlChart::kIndividual},
      {ControlChart::kMeanRange, "Mean/Range", "Mean/Range", ControlChart::kMeanRange},
      {ControlChart::kMeanStdDev, "Mean/StdDev", "Control chart type: Mean/Std. dev.", ControlChart::kMeanStdDev},
      {ControlChart::kCuSum, "CuSum", "Control chart type: CuSum", ControlChart::kCuSum},
      {ControlChart::kEWMA, "Individual", "Control chart type: Individual", ControlChart::kIndividual}};
  for (const auto& c : cases) {
    EXPECT_EQ(ControlChart::FromControlType(c.type), c.text);
    EXPECT_EQ(ControlChart::FromControlTypeLocale(c.type), c.shownText);
    EXPECT_EQ(ControlChart::ToControlType(c.text.c_str()), c.back);
  }
  EXPECT_EQ(ControlChart::ToControlType("cusum"), ControlChart::kIndividual);
  for (const auto type : {ControlChart::kFilter, ControlChart::kPredictive, ControlChart::kUnknown}) {
    EXPECT_EQ(ControlChart::ToEWMAType(ControlChart::ToString(type)), type);
  }
  EXPECT_EQ(ControlChart::ToString(ControlChart::kPredictive), L"Predictive");
}

}  // namespace
