// Interpolation between curves, and the minimum of one.

#include <cmath>
#include <functional>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "voran/platform/exception.h"
#include "voran/platform/progress.h"
#include "voran/statistics/data_vector_utilities.h"
#include "voran/statistics/one_dim_minimum.h"

namespace {

using NCDataVectorUtilities::InterPolate;
using NCDataVectorUtilities::InterPolateVec;
using ::testing::ElementsAre;
using VrMath::EExtrapolate;
using Vector = NCDataVector<float>;

constexpr float kGap = -99.0F;

TEST(InterPolate, GoesOnOutsideAsTheModeSays) {
  const struct {
    float x;
    EExtrapolate mode;
    float expected;
  } cases[] = {{2.0F, EExtrapolate::kLinear, 20.0F},  {2.0F, EExtrapolate::kMissing, 20.0F},
               {5.0F, EExtrapolate::kLinear, 50.0F},  {5.0F, EExtrapolate::kNearest, 30.0F},
               {5.0F, EExtrapolate::kMissing, kGap},  {0.0F, EExtrapolate::kNearest, 10.0F},
               {0.0F, EExtrapolate::kMissing, kGap},  {0.0F, EExtrapolate::kLinear, 0.0F},
               {3.0F, EExtrapolate::kMissing, 30.0F}, {kGap, EExtrapolate::kLinear, kGap}};
  for (const auto& c : cases) {
    EXPECT_THAT(InterPolate(1, 3, {10.0F}, {30.0F}, c.x, c.mode), ElementsAre(c.expected)) << c.x;
    EXPECT_THAT(InterPolate(3, 1, {30.0F}, {10.0F}, c.x, c.mode), ElementsAre(c.expected)) << c.x;
  }
}

TEST(InterPolate, TakesThePresentCurveAtItsOwnAbscissaOnly) {
  EXPECT_THAT(InterPolate(1, 3, {10, kGap, 10, kGap}, {30, 30, kGap, kGap}, 1, EExtrapolate::kLinear),
              ElementsAre(10, kGap, 10, kGap));
  EXPECT_THAT(InterPolate(1, 3, {10, kGap, 10}, {30, 30, kGap}, 3, EExtrapolate::kLinear), ElementsAre(30, 30, kGap));
  EXPECT_THAT(InterPolate(1, kGap, {10}, {30}, 1, EExtrapolate::kLinear), ElementsAre(10));
  EXPECT_THAT(InterPolate(1, kGap, {10}, {30}, 2, EExtrapolate::kLinear), ElementsAre(kGap));
  EXPECT_THAT(InterPolate(2, std::nextafter(2.0F, 3.0F), {10}, {30}, 7, EExtrapolate::kLinear), ElementsAre(10));
}

TEST(InterPolateVec, FollowsTheLinesThroughThePresentPoints) {
  const Vector xNew = {0, 1, 1.5F, 2, 3, 4, 6};
  EXPECT_THAT(InterPolateVec(xNew, {1, 2, 4}, {10, 20, 60}), ElementsAre(0, 10, 15, 20, 40, 60, 100));
  EXPECT_THAT(InterPolateVec(xNew, {4, 2, 1}, {60, 20, 10}), ElementsAre(0, 10, 15, 20, 40, 60, 100));
  EXPECT_THAT(InterPolateVec(xNew, {0, 1, 2, 3, 4, 9}, {kGap, 10, 20, kGap, 60, kGap}),
              ElementsAre(0, 10, 15, 20, 40, 60, 100));
  EXPECT_THAT(InterPolateVec(xNew, {1, 2, 4}, {kGap, 20, kGap}), ElementsAre(kGap, kGap, kGap, 20, kGap, kGap, kGap));
  EXPECT_THAT(InterPolateVec({1, 2}, {1, 2}, {kGap, kGap}), ElementsAre(kGap, kGap));
  EXPECT_THAT(InterPolateVec({1, 2}, {}, {}), ElementsAre(kGap, kGap));
  EXPECT_THAT(InterPolateVec({1, 2}, {7}, {5}), ElementsAre(5, 5));
}

TEST(InterPolateVec, RefusesCurvesWithoutAbscissas) {
  const std::pair<Vector, Vector> cases[] = {{{1, 2}, {1}}, {{1, kGap}, {1, 2}}};
  for (const auto& [x, y] : cases) EXPECT_THROW(InterPolateVec({1}, x, y), InvalidArgument);
  try {
    InterPolateVec({kGap}, {1, 2}, {1, 2});
    ADD_FAILURE();
  } catch (const InvalidArgument& error) {
    EXPECT_STREQ(error.what(), "InterPolate");
  }
}

struct Function : OneDimMinimum::CallBack {
  explicit Function(std::function<double(double)> f) : function(std::move(f)) {}
  float Evaluate(float x) override {
    ++calls;
    return static_cast<float>(function(static_cast<double>(x)));
  }
  std::function<double(double)> function;
  int calls = 0;
};

struct Bracket {
  Bracket(Function& f, float first, float second) : a(first), b(second) {
    OneDimMinimum::BracketMinimum(&f, &a, &b, &c, &fa, &fb, &fc);
  }
  float a, b, c = 0.0F;
  float fa = 0.0F, fb = 0.0F, fc = 0.0F;
};

TEST(OneDimMinimum, BracketsAndFindsTheMinimumFromEitherSide) {
  const struct {
    std::function<double(double)> f;
    double minimum;
  } cases[] = {{[](double x) { return (x - 3.0) * (x - 3.0); }, 3.0},
               {[](double x) { return std::fabs(x - 250.0); }, 250.0},
               {[](double x) { return std::cosh(x + 2.0); }, -2.0},
               {[](double x) { return -std::exp(-(x - 40.0) * (x - 40.0) / 900.0); }, 40.0},
               {[](double x) { return std::pow(x - 7.0, 4.0) + 0.1 * x; }, 7.0 - std::cbrt(0.025)}};
  for (const auto& c : cases) {
    for (const auto& [first, second] : {std::pair{0.0F, 1.0F}, {1.0F, 0.0F}, {8.0F, 8.5F}}) {
      Function f(c.f);
      const Bracket bracket(f, first, second);
      EXPECT_GT((bracket.b - bracket.a) * (bracket.c - bracket.b), 0.0F) << c.minimum;
      EXPECT_LE(bracket.fb, bracket.fa);
      EXPECT_LE(bracket.fb, bracket.fc);
      EXPECT_EQ(bracket.fb, f.Evaluate(bracket.b));
      float x = 0.0F;
      const float value = OneDimMinimum::GoldenSectionSearch(&f, bracket.a, bracket.b, bracket.c, 1e-4F, &x);
      EXPECT_EQ(value, f.Evaluate(x));
      EXPECT_NEAR(static_cast<double>(x), c.minimum, 2e-3 * std::fabs(c.minimum)) << c.minimum;
    }
  }
}

// With a tolerance that is never reached: around 0, and below the rounding of a float.
TEST(OneDimMinimum, ASearchEndsWhereTheNumbersRunOut) {
  for (const auto& [minimum, tolerance] : {std::pair{0.0, 1e-3F}, {3.0, 1e-9F}, {-1e-30, 1e-9F}}) {
    Function f([place = minimum](double x) { return std::fabs(x - place); });
    float x = 5.0F;
    OneDimMinimum::GoldenSectionSearch(&f, -2.0F, 0.5F, 4.0F, tolerance, &x);
    EXPECT_FLOAT_EQ(x, static_cast<float>(minimum));
    EXPECT_LT(f.calls, 1000);
  }
}

TEST(OneDimMinimum, CancelEndsTheSearchWithWhatItHas) {
  Function f([](double x) { return (x - 3.0) * (x - 3.0); });
  NCProgress::RequestCancelAll();
  float x = 0.0F;
  const float value = OneDimMinimum::GoldenSectionSearch(&f, 0.0F, 2.0F, 8.0F, 1e-4F, &x);
  NCProgress::ClearCancelAll();
  EXPECT_EQ(f.calls, 2);
  EXPECT_EQ(value, f.Evaluate(x));
}

}  // namespace
