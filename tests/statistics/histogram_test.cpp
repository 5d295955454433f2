#include <limits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "voran/statistics/frequency_histogram.h"
#include "voran/statistics/relative_tolerance.h"

namespace {

using ::testing::ElementsAre;
using ::testing::FloatNear;
using Vector = NCDataVector<float>;

constexpr float kGap = -99.0F;

FrequencyHistogram::HistogramInfo Histogram(const Vector& values) {
  FrequencyHistogram::HistogramInfo info;
  FrequencyHistogram().CreateHistogram(values, info);
  return info;
}

TEST(RelativeTolerance, IsOfThePowerOfTwoAboveTheLargerMagnitude) {
  const double step = detail::kFloatTolerance;
  for (const double unit : {1.0, 1.0 / 1024.0, 1048576.0}) {
    for (const double value : {1.0, 1.5, 1.875}) {  // 2 is the next power
      EXPECT_FALSE(detail::Differ(unit * value, unit * (value + 1.9 * step))) << unit << ", " << value;
      EXPECT_FALSE(detail::Differ(unit * (value + 1.9 * step), unit * value)) << unit << ", " << value;
      EXPECT_TRUE(detail::Differ(unit * value, unit * (value + 2.1 * step))) << unit << ", " << value;
      EXPECT_TRUE(detail::Differ(-unit * value, unit * value)) << unit << ", " << value;
    }
  }
}

TEST(Histogram, WidthIsRoundedDownToADigitOrADigitAndAHalf) {
  const struct {
    double low, high;
    int count;
    double width;
  } cases[] = {{0, 10, 4, 5.0},  {0, 10, 5, 4.0},    {0, 10, 3, 5.5},  {3, 3, 7, 1.0},
               {0, 1, 16, 0.25}, {0, 1500, 25, 300}, {-5, 5, 30, 1.5}, {0, 0.035, 100, 0.0035}};
  for (const auto& c : cases) {
    EXPECT_NEAR(FrequencyHistogram::binwidth(c.low, c.high, c.count), c.width, 1e-12 * c.width) << c.high;
  }
}

TEST(Histogram, EdgeBelongsToTheUpperBinAndTheLastToTheLast) {
  const struct {
    double value;
    int maxIndex, bin;
  } cases[] = {{2, 9, 0},     {2.49, 9, 0}, {2.5, 9, 1},   {2.499999, 9, 1}, {2.50001, 9, 1}, {2.99, 9, 1},
               {7, 9, 9},     {7, 20, 10},  {7, -1, 9},    {7.1, -1, 10},    {100, 9, 9},     {2.000001, 9, 0},
               {6.99, -1, 9}, {1.9, 9, -1}, {-0.3, 9, -5}, {0.5, -1, -4}};
  for (const auto& c : cases) {
    EXPECT_EQ(FrequencyHistogram::bindex(c.value, 2.0, 0.5, c.maxIndex), c.bin) << c.value;
  }
}

TEST(Histogram, CountsMembersAndStacksDots) {
  const Vector values = {1.5F, 3.0F, kGap, 1.0F, 9.0F, 2.0F, 5.0F, 5.0F, 1.9F, 8.9F};
  const auto info = Histogram(values);  // 8 / sqrt(9) is 2.67, rounded to 2.5: 1, 3.5, 6, 8.5, 11
  EXPECT_THAT(info.BinCenters, ElementsAre(2.25F, 4.75F, 7.25F, 9.75F));
  EXPECT_THAT(info.Frequencies, ElementsAre(5, 2, 0, 2));
  EXPECT_THAT(info.Members,
              ElementsAre(ElementsAre(1, 2, 4, 6, 9), ElementsAre(7, 8), ElementsAre(), ElementsAre(5, 10)));
  Vector x;
  Vector y = {1, 2};
  float minimum = 0.0F;
  float maximum = 0.0F;
  FrequencyHistogram().CreateDotPlotHistogram(values, x, y, minimum, maximum);
  EXPECT_THAT(x, ElementsAre(2.25F, 2.25F, kGap, 2.25F, 9.75F, 2.25F, 4.75F, 4.75F, 2.25F, 9.75F));
  EXPECT_THAT(y, ElementsAre(1, 2, kGap, 3, 1, 4, 1, 2, 5, 2));
  EXPECT_EQ(minimum, 1.0F);
  EXPECT_EQ(maximum, 9.0F);
}

TEST(Histogram, SmallRangesAreStretched) {
  const auto info = Histogram({0.001F, 0.0012F, 0.0014F, 0.002F});  // in thousandths: width 1 / 2, from 1
  EXPECT_THAT(info.BinCenters, ElementsAre(FloatNear(0.00125F, 1e-8F), FloatNear(0.00175F, 1e-8F)));
  EXPECT_THAT(info.Frequencies, ElementsAre(3, 1));
  const auto below = Histogram({-0.25F, 0.25F, 0.5F, 0.7F});  // in tenths: from -3 in steps of 5
  EXPECT_THAT(below.BinCenters, ElementsAre(FloatNear(-0.05F, 1e-7F), FloatNear(0.45F, 1e-7F)));
  EXPECT_THAT(below.Frequencies, ElementsAre(1, 3));
}

TEST(Histogram, EqualValuesAndNoneHaveOneBin) {
  EXPECT_THAT(Histogram({4, 4, 4}).Frequencies, ElementsAre(3));
  EXPECT_THAT(Histogram({4, 4, 4}).BinCenters, ElementsAre(4.5F));
  EXPECT_THAT(Histogram(Vector(3)).Frequencies, ElementsAre(0));
  EXPECT_THAT(Histogram(Vector()).Frequencies, ElementsAre(0));
}

TEST(Histogram, NumbersThatAreNoneLeaveTheBinsSound) {
  const float infinity = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (const Vector& values : {Vector{1, infinity, 3}, {-infinity, 2}, {nan, 1, 5}, {3, nan, 1, 2}, {nan}}) {
    const auto info = Histogram(values);
    float counted = 0.0F;
    for (const float count : info.Frequencies) counted += count;
    EXPECT_EQ(counted, static_cast<float>(values.Size()));
  }
}

struct Made {
  explicit Made(std::vector<double> values) : data(values) {
    data.insert(data.begin(), 777.0);  // not used
    FrequencyHistogram::MakeHistogram(data.data(), static_cast<int>(values.size()), counts, centres, start, width);
  }
  std::vector<double> data;
  std::vector<double> counts = {5};
  std::vector<double> centres = {5};
  double start = 5;
  double width = 5;
};

TEST(MakeHistogram, HasARuleForEachRange) {
  const struct {
    std::vector<double> values;
    double start, width;
    std::vector<double> counts;
  } cases[] = {{{3, -99, 7}, 3, 1, {1, 1}},
               {{3, 3}, 3, 1, {2}},
               {{4}, 4, 1, {1}},
               {{4, 4, 4}, 4, 1, {3, 0, 0}},
               {{0.5, 10, 20, 30.5, 40}, 0, 20, {2, 3}},             // above 20: from a whole number
               {{1.25, 2, 3.25, 4, 5.25}, 1.2, 2, {2, 2, 1}},        // above 1: from a tenth
               {{0.25, 0.35, 0.45, 0.5, 0.65}, 0.25, 0.2, {2, 3}}};  // stretched tenfold
  for (const auto& c : cases) {
    const Made made(c.values);
    EXPECT_NEAR(made.start, c.start, 1e-12);
    EXPECT_NEAR(made.width, c.width, 1e-12) << c.start;
    EXPECT_EQ(made.counts, c.counts) << c.start;
    for (std::size_t k = 0; k < made.centres.size(); ++k) {
      EXPECT_NEAR(made.centres[k], c.start + (static_cast<double>(k) + 0.5) * c.width, 1e-12);
    }
    EXPECT_EQ(made.data[0], 777.0);
  }
}

TEST(MakeHistogram, MovesThePresentDownAndLeavesTheRestOfNothing) {
  EXPECT_THAT(Made({-99, 3, -99, 7}).data, ElementsAre(777, 3, 7, ::testing::_, ::testing::_));
  const Made none({-99, -99});
  EXPECT_TRUE(none.counts.empty());
  EXPECT_THAT(none.centres, ElementsAre(5));
  EXPECT_EQ(none.start, 5);
  EXPECT_EQ(none.width, 5);
}

}  // namespace
