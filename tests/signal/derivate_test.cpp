#include "voran/signal/derivate.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/signal/series.h"
#include "voran/containers/simd_target.h"
#include "voran/platform/exception.h"

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using Derivator = Derivate<float>;
using Vec = NCDataVector<float>;
using Gaps = std::vector<std::vector<std::size_t>>;
using Order = Derivator::PolynomialOrder;

constexpr auto kQuadratic = Order::kQuadratic;
constexpr auto kCubic = Order::kCubic;
constexpr float kGap = -99.0f;
/// Of values up to some 30, rounded to float, which four elements of an edge extrapolate.
constexpr double kTolerance = 1e-4;

/// A polynomial and its derivatives about the middle of `n` elements that are `step` apart.
std::vector<float> Polynomial(const std::array<double, 4>& c, int n, int derivative, double step) {
  std::vector<float> values;
  const int middle = n / 2;
  for (int i = 0; i < n; ++i) {
    const double t = (i - middle) * step;
    const double all[] = {c[0] + t * (c[1] + t * (c[2] + t * c[3])), c[1] + t * (2 * c[2] + 3 * t * c[3]),
                          2 * c[2] + 6 * t * c[3], 6 * c[3]};
    values.push_back(static_cast<float>(all[derivative]));
  }
  return values;
}

Vec Derived(const Derivator& derivator, const Vec& x, int derivative, float step, bool edges, Vec result = {}) {
  if (derivative == 0) {
    derivator.Smooth(x, result, edges);
  } else {
    derivator.DoDerivate(x, result, derivative, step, edges);
  }
  return result;
}

/// Every element, or every element between the edges.
void ExpectNear(const Vec& result, const std::vector<float>& expected, int edge, double tolerance) {
  ASSERT_EQ(result.Size(), static_cast<int>(expected.size()));
  for (int i = 1; i <= result.Size(); ++i) {
    const bool isEdge = i <= edge || i > result.Size() - edge;
    const float value = isEdge ? kGap : expected[static_cast<std::size_t>(i - 1)];
    EXPECT_NEAR(result[i], value, tolerance) << i;
  }
}

TEST(Derivates, APolynomialOfTheDegreeIsReproducedThroughGaps) {
  for (const auto& [order, window] : {std::pair(kQuadratic, 7), {kQuadratic, 21}, {kCubic, 7}, {kCubic, 21}}) {
    const bool isCubic = order == kCubic;
    const std::array<double, 4> c = {0.5, -0.75, 0.03, isCubic ? 0.002 : 0.0};
    for (int derivative = 0; derivative <= (isCubic ? 3 : 2); ++derivative) {
      const double step = derivative == 0 ? 1.0 : 0.5;
      const auto expected = Polynomial(c, 50, derivative, step);
      // Gaps at both ends, alone and in runs; every window keeps enough to fit.
      for (const std::vector<std::size_t>& gaps : Gaps{{}, {0}, {49}, {0, 1, 2, 20, 25, 26, 44, 48}}) {
        SCOPED_TRACE(::testing::Message() << "cubic " << isCubic << ", window " << window << ", derivative "
                                          << derivative << ", " << gaps.size() << " gaps");
        auto values = Polynomial(c, 50, 0, step);
        for (const std::size_t gap : gaps) values[gap] = kGap;
        for (const bool edges : {true, false}) {
          const int edge = edges ? 0 : window / 2;
          const Vec result =
              Derived(Derivator(order, window), Vector(values), derivative, static_cast<float>(step), edges);
          ExpectNear(result, expected, edge, kTolerance * std::pow(4.0, derivative));
          EXPECT_EQ(result.GetNumMisVal(), 2 * edge);
        }
      }
    }
  }
}

/// scipy.signal.savgol_filter(x, 7, d, deriv=k) of SciPy 1.10.1, mode "interp", as it prints them.
TEST(Derivates, AgreesWithAnotherProgram) {
  const Vec x{1, 3, 2, 5, 4, 7, 3, 8, 9, 2};
  const std::vector<float> quadratic[] = {
      {0.785714f, 2.42857f, 3.64286f, 4.42857f, 4.42857f, 5.14286f, 6.47619f, 6.28571f, 5.57143f, 4.33333f},
      {1.85714f, 1.42857f, 1.0f, 0.571429f, 0.678571f, 0.928571f, 0.0714286f, -0.452381f, -0.97619f, -1.5f},
      {-0.428571f, -0.428571f, -0.428571f, -0.428571f, 0.0714286f, 0.142857f, -0.52381f, -0.52381f, -0.52381f,
       -0.52381f}};
  const std::vector<float> cubic[] = {
      {1.45238f, 1.7619f, 2.97619f, 4.42857f, 4.42857f, 5.14286f, 6.47619f, 7.78571f, 7.07143f, 2.83333f},
      {-0.365079f, 0.873016f, 1.44444f, 1.34921f, 0.289683f, -0.0436508f, 1.82143f, 0.547619f, -2.22619f, -6.5f},
      {1.57143f, 0.904762f, 0.238095f, -0.428571f, 0.0714286f, 0.142857f, -0.52381f, -2.02381f, -3.52381f, -5.02381f},
      {-0.666667f, -0.666667f, -0.666667f, -0.666667f, 0.333333f, 0.833333f, -1.5f, -1.5f, -1.5f, -1.5f}};
  for (int derivative = 0; derivative < 4; ++derivative) {
    SCOPED_TRACE(derivative);
    ExpectNear(Derived(Derivator(kCubic, 7), x, derivative, 1.0f, true), cubic[derivative], 0, 1e-5);
    if (derivative == 3) break;
    ExpectNear(Derived(Derivator(kQuadratic, 7), x, derivative, 1.0f, true), quadratic[derivative], 0, 1e-5);
  }
}

/// One window after the other, by the stated sums.
std::vector<float> Plain(const std::vector<float>& x, const std::vector<std::vector<float>>& weights, float meanSquare,
                         int derivative) {
  const std::size_t w = weights[0].size();
  std::vector<float> centres;
  for (std::size_t i = 0; i + w <= x.size(); ++i) {
    double sum = 0.0;
    for (std::size_t j = 0; j < w; ++j) sum += static_cast<double>(x[i + j]);
    const auto mean = static_cast<float>(sum / static_cast<double>(w));
    float b[4] = {};
    for (std::size_t k = 0; k < weights.size(); ++k) {
      double total = 0.0;
      for (std::size_t j = 0; j < w; ++j) total += plain::Rounded(x[i + j] - mean, weights[k][j]);
      b[k + 1] = static_cast<float>(total);
    }
    const float values[] = {mean - b[2] * meanSquare, b[1], 2 * b[2], 6 * b[3]};
    centres.push_back(values[derivative]);
  }
  return centres;
}

/// The operator by the steps of the definition: (X'X)^-1 X' with the square centred.
std::vector<std::vector<float>> Weights(int terms, int w, float& meanSquare) {
  NCDataMatrix<float> x(w, terms, 0.0f);
  const int middle = w / 2 + 1;
  for (int i = 1; i <= w; ++i) {
    const auto t = static_cast<float>(i - middle);
    x(i, 1, t);
    x(i, 2, t * t);
    if (terms == 3) x(i, 3, t * t * t);
  }
  meanSquare = static_cast<float>(x.GetColumnMean(2));
  x.SubtractFromColumn(2, static_cast<double>(meanSquare));
  NCDataMatrix<float> inverse(x);
  inverse.TransformToMprim_mul_M();
  inverse.TransformToInverse();
  return Elements(inverse.MatrixMultiply(x, false, true, true));
}

TEST(Derivates, HaveTheStatedSumsOnEveryTarget) {
  const std::string before = SimdTarget::GetName();
  for (const std::string& target : SimdTarget::GetAvailable()) {
    SimdTarget::Set(target);
    for (const auto& [order, w] : {std::pair(kQuadratic, 5), {kCubic, 6}, {kQuadratic, 21}, {kCubic, 21}}) {
      float meanSquare = 0.0f;
      const auto weights = Weights(static_cast<int>(order), w, meanSquare);
      for (const int n : {w, w + 1, 100, 1200}) {
        for (const int peak : {0, 10, 20, 23, 30}) {
          // Behind a high peak, running sums in double would lose the last places of the others.
          auto x = RandomSeries(n, static_cast<unsigned>(w));
          for (float& value : x) value /= 3.0f;
          x[2] = std::ldexp(1.0f, peak);
          for (int derivative = 0; derivative < 4; ++derivative) {
            const Vec result = Derived(Derivator(order, w), Vector(x), derivative, 1.0f, false);
            const auto expected = Plain(x, weights, meanSquare, derivative);
            const auto* const centres = result.begin() + w / 2;
            EXPECT_EQ(std::vector<float>(centres, centres + expected.size()), expected)
                << target << ", window " << w << ", " << n << " elements with a peak of 2^" << peak << ", derivative "
                << derivative;
          }
        }
      }
    }
  }
  SimdTarget::Set(before);
}

/// Terms and centred elements of -99 are numbers, not gaps.
TEST(Derivates, AWideWindowIsNoGap) {
  const auto line = Polynomial({1.0, 0.01, 0.0, 0.0}, 450, 0, 1.0);
  ExpectNear(Derived(Derivator(kQuadratic, 401), Vector(line), 1, 1.0f, true), std::vector<float>(450, 0.01f), 0, 1e-6);
}

TEST(Derivates, WithoutEdgesTheEndsStayAsTheyWere) {
  const Derivator derivator(kQuadratic, 5);
  const Vec x{1, 2, 3, 4, 5, 6, 7};
  const Vec result = Derived(derivator, x, 0, 1.0f, false, Vec(7, 8.0f));
  EXPECT_THAT(Elements(result), ElementsAre(8, 8, 3, 4, 5, 8, 8));
  // The step scales everything.
  EXPECT_THAT(Elements(Derived(derivator, x, 1, 2.0f, false, result)), ElementsAre(4, 4, 0.5f, 0.5f, 0.5f, 4, 4));
  Vec same(x);
  derivator.DoDerivate(same, same, 1, 1.0f, true);
  EXPECT_THAT(Elements(same), Each(::testing::FloatNear(1.0f, 1e-6f)));
  const Vec tooShort{1, 2, 3, 4};
  EXPECT_THAT(Elements(Derived(derivator, tooShort, 1, 0.5f, true, Vec(4, 3.0f))), Each(6.0f));
  EXPECT_THAT(Elements(Derived(derivator, tooShort, 0, 1.0f, true, result)), Each(kGap));
}

TEST(Derivates, AFailedFitLeavesItsPlacesMissing) {
  const Derivator derivator(kQuadratic, 5);
  const Vec x{1, kGap, kGap, kGap, 5, 6, 7, 8, 9, 10, kGap, kGap, 13, kGap};
  for (const int derivative : {0, 1}) {
    const Vec result = Derived(derivator, x, derivative, 1.0f, true);
    std::vector<int> missing;
    for (int i = 1; i <= x.Size(); ++i) {
      if (result[i] == kGap) missing.push_back(i);
    }
    // Without the very last, which the size alone has made missing.
    EXPECT_THAT(missing, ElementsAre(1, 2, 3, 4, 12, 13, 14));
    EXPECT_EQ(result.GetNumMisVal(), 7);
    const Vec kept = Derived(derivator, x, derivative, 1.0f, true, Vec(14, 0.5f));
    EXPECT_EQ(kept[14], 0.5f);
    EXPECT_EQ(kept.GetNumMisVal(), 6);
  }
  // As many elements as terms determine nothing.
  const Vec scarce{1, 4, kGap, kGap, 2, kGap, kGap};
  EXPECT_THAT(Elements(Derived(Derivator(kCubic, 7), scarce, 0, 1.0f, true)), Each(kGap));
  for (const auto& [order, window] : {std::pair(kQuadratic, 1), {kQuadratic, 2}, {kCubic, 3}, {kCubic, 0}}) {
    EXPECT_THAT(Elements(Derived(Derivator(order, window), Vec{1, 2, 4}, 1, 1.0f, true)), Each(kGap)) << window;
  }
}

/// The coefficient that marks a failed fit is told by its number.
TEST(Derivates, ASlopeOfTheMarkerCountsAsAFailedFit) {
  const Derivator derivator(kQuadratic, 3);
  EXPECT_THAT(Elements(Derived(derivator, Vec{300, 201, 102, 3, -96}, 0, 1.0f, true)), Each(kGap));
  EXPECT_THAT(Elements(Derived(derivator, Vec{300, 202, 104, 6, -92}, 0, 1.0f, true)),
              ElementsAre(300, 202, 104, 6, -92));
}

TEST(Derivates, OnlyThreeDerivativesExist) {
  const Derivator derivator(kQuadratic, 5);
  Vec result(2, 1.0f);
  for (const int order : {-1, 0, 4}) {
    EXPECT_THAT([&] { derivator.DoDerivate(Vec(9, 1.0f), result, order, 1.0f, true); },
                ::testing::ThrowsMessage<Exception>("Illegal derivate order"));
  }
  EXPECT_THAT(Elements(result), ElementsAre(1, 1));
  EXPECT_THAT(Elements(Derived(derivator, Vec{1, 2, 4, 8, 16}, 3, 1.0f, true)), Each(0.0f));
}

TEST(Derivates, RowsOfAMatrixAreSeries) {
  const Derivator derivator(kQuadratic, 5);
  NCDataMatrix<float> x;
  for (unsigned seed = 0; seed < 80; ++seed) x.push_back(WithGaps(RandomSeries(1200, seed), seed, 97));
  NCDataMatrix<float> smooth;
  derivator.Smooth(x, smooth, true);
  NCDataMatrix<float> slopes(x);
  derivator.DoDerivate(slopes, slopes, 1, 0.5f, false);  // keeps the ends of x, scaled
  for (int i = 1; i <= x.SizeRows(); ++i) {
    EXPECT_EQ(smooth[i], Derived(derivator, x[i], 0, 1.0f, true));
    EXPECT_EQ(slopes[i], Derived(derivator, x[i], 1, 0.5f, false, x[i]));
  }
  EXPECT_THROW(derivator.DoDerivate(x, slopes, 4, 1.0f, true), Exception);
}

// Optima.

class Optima : public ::testing::Test {
 protected:
  float At(const Derivator& derivator, const Vec& window, bool minimum, bool limit = true, float step = 1.0f) {
    value_ = -7.0f;
    return derivator.GetOptima(window, step, minimum, limit, value_);
  }

  float value_ = 0.0f;
};

/// A gap off the centre moves the mean position by d: the value is taken d before the optimum, the position 2d.
TEST_F(Optima, AParabolaHasItsVertex) {
  for (const auto& [order, gap] : {std::pair(kCubic, 0),
                                   {kCubic, 4},
                                   {kQuadratic, 0},
                                   {kQuadratic, 4},
                                   {kQuadratic, 1},
                                   {kQuadratic, 3},
                                   {kQuadratic, 7}}) {
    const Derivator derivator(order, 7);
    const float d = gap == 0 ? 0.0f : static_cast<float>(4 - gap) / 6.0f;
    const double tolerance = d == 0.0f ? 1e-5 : 1e-4;
    for (const float sign : {1.0f, -1.0f}) {
      Vec window(7);
      for (int i = 1; i <= 7; ++i) window(i, sign * (std::pow(static_cast<float>(i) - 3.25f, 2.0f) + 2.0f));
      if (gap != 0) window(gap, kGap);
      EXPECT_NEAR(At(derivator, window, sign > 0.0f, true, 0.5f), (3.25f - 2 * d) * 0.5f, tolerance) << gap;
      EXPECT_NEAR(value_, sign * (2.0f + d * d), tolerance) << gap;
      EXPECT_EQ(At(derivator, window, sign < 0.0f), kGap);
      EXPECT_EQ(value_, -7.0f);
    }
  }
}

TEST_F(Optima, TheCubicTermCountsInTheValueAlone) {
  const Vec window = Vector(Polynomial({3.0, -1.0, 1.0, 0.25}, 7, 0, 1.0));
  EXPECT_NEAR(At(Derivator(kCubic, 7), window, true), 4.5f, 1e-4);
  EXPECT_NEAR(value_, 2.78125f, 1e-4);
  EXPECT_EQ(At(Derivator(kQuadratic, 3), Vec{1, 100, 1}, false), kGap);  // a coefficient of -99
  EXPECT_EQ(At(Derivator(kQuadratic, 3), Vec{1, 101, 1}, false), 2.0f);
}

TEST_F(Optima, AreLookedForBehindTheWindowNeverAndBeforeItOnRequest) {
  const Derivator derivator(kQuadratic, 5);
  const Vec before{4, 9, 16, 25, 36};  // (i + 1)^2
  EXPECT_NEAR(At(derivator, before, true, false), -1.0f, 1e-4);
  EXPECT_NEAR(value_, 0.0f, 1e-4);
  EXPECT_EQ(At(derivator, before, true, true), kGap);
  const Vec behind{36, 25, 16, 9, 4};
  EXPECT_EQ(At(derivator, behind, true, false), kGap);
  EXPECT_EQ(At(derivator, Vec{1, kGap, kGap, kGap, 5}, true), kGap);
  EXPECT_EQ(At(derivator, Vec{4, 1, 0, 1, 4}, true), 3.0f);
  EXPECT_NEAR(value_, 0.0f, 1e-6);
}

}  // namespace
