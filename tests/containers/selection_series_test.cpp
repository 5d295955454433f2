#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <numeric>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/containers/container_values.h"
#include "tests/containers/plain_reference.h"
#include "voran/containers/data_vector.h"

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using Positions = NCIntegralVector<int, -99>;

constexpr double kVertical = 3.4028234663852886e38;
constexpr double kUntouched = 12345.0;
/// The same sums in another order, and a quotient or two.
constexpr double kTolerance = 1e-11;

Positions At(std::initializer_list<int> positions) {
  return {positions.begin(), static_cast<int>(positions.size())};
}

template <typename T>
class SelectionAndSeries : public ::testing::Test {
 protected:
  static constexpr T kGap = plain::kGap<T>;

  /// The line through the pairs, from the textbook; `x` is 1, 2, ... where `xVector` is null.
  static void ExpectLine(const std::vector<T>& y, const std::vector<T>& x, const NCDataVector<T>* xVector) {
    double n = 0.0, sumX = 0.0, sumY = 0.0, sumXX = 0.0, sumXY = 0.0;
    for (std::size_t i = 0; i < y.size(); ++i) {
      if (!plain::Present(y[i])) continue;
      n += 1.0;
      sumX += static_cast<double>(x[i]);
      sumY += static_cast<double>(y[i]);
      sumXX += plain::Rounded(x[i], x[i]);
      sumXY += static_cast<double>(x[i]) * static_cast<double>(y[i]);
    }
    const double expectedSlope = (sumXY - sumX * sumY / n) / (sumXX - sumX * sumX / n);
    const double expectedIntercept = (sumY - expectedSlope * sumX) / n;
    double intercept = kUntouched;
    double slope = kUntouched;
    ASSERT_TRUE(Vector(y).LeastSquare(xVector, intercept, slope));
    EXPECT_NEAR(slope, expectedSlope, kTolerance * std::abs(expectedSlope));
    EXPECT_NEAR(intercept, expectedIntercept, kTolerance * std::abs(expectedIntercept));
  }
};

using ElementTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(SelectionAndSeries, ElementTypes);

// Selection.

TYPED_TEST(SelectionAndSeries, OnlyACountAboveZeroIsTakenAfresh) {
  NCDataVector<TypeParam> v{1, 2, 3};
  v.GetWritableVector()[2] = this->kGap;  // behind the count's back
  NCDataVector<TypeParam> safe(v);
  NCDataVector<TypeParam> removed(v);
  v.Reduce(At({2, 1}));
  EXPECT_EQ(v.GetNumMisVal(), 0);
  removed.Remove(At({1}));
  EXPECT_EQ(removed.GetNumMisVal(), 0);
  safe.SafeReduce(At({2, 1}));
  EXPECT_EQ(safe.GetNumMisVal(), 1);
}

// Sort.

/// Few different values, so that most are equal to another, and everything that is out of the ordinary.
TYPED_TEST(SelectionAndSeries, SortedElementsAreFoundWhereTheyWere) {
  using T = TypeParam;
  constexpr T kInfinity = std::numeric_limits<T>::infinity();
  constexpr T kNaN = std::numeric_limits<T>::quiet_NaN();
  const T special[] = {this->kGap, kNaN, kInfinity, -kInfinity, T{0}, -T{0}, T{-100}};
  for (const std::size_t size : {2u, 3u, 16u, 17u, 500u}) {
    for (const bool descending : {false, true}) {
      SCOPED_TRACE(::testing::Message() << size << (descending ? " descending" : " ascending"));
      auto values = plain::GridElements<T>(size, static_cast<unsigned>(size));
      for (std::size_t i = 0; i < size; ++i) values[i] = i % 3 == 0 ? special[i / 3 % 7] : std::round(values[i]);
      const auto value = [&](int i) { return values[static_cast<std::size_t>(i - 1)]; };
      // Numbers come before NaNs, and those before missing elements, whichever way the numbers go.
      const auto rank = [&](int i) { return plain::Present(value(i)) ? (std::isnan(value(i)) ? 1 : 0) : 2; };
      std::vector<int> order(size);
      std::iota(order.begin(), order.end(), 1);
      if (descending) std::reverse(order.begin(), order.end());
      std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
        if (rank(a) != rank(b) || rank(a) != 0) return rank(a) != rank(b) ? rank(a) < rank(b) : a < b;
        return descending ? value(b) < value(a) : value(a) < value(b);
      });

      NCDataVector<T> sorted = Vector(values);
      const Positions former = sorted.Sort(nullptr, descending);
      EXPECT_THAT(former, ElementsAreArray(order));
      NCDataVector<T> looked = Vector(values);
      looked.Reduce(former);
      EXPECT_TRUE(sorted == looked) << "the permutation leads to other elements";
      EXPECT_EQ(sorted.GetNumMisVal(), std::count(values.begin(), values.end(), this->kGap));
    }
  }
}

TYPED_TEST(SelectionAndSeries, ASortIntoAnotherVectorNeedsAnotherSize) {
  NCDataVector<TypeParam> v{3, -99, 1};
  NCDataVector<TypeParam> sameSize{7, 7, 7};
  EXPECT_EQ(v.Sort(&sameSize, false).Size(), 0);
  EXPECT_THAT(Elements(sameSize), ElementsAre(7, 7, 7));
  EXPECT_EQ(v.Sort(&v, false).Size(), 0);
  NCDataVector<TypeParam> longer(4);
  const NCDataVector<TypeParam> shared(longer);
  EXPECT_THAT(v.Sort(&longer, false), ElementsAre(3, 1, 2));
  EXPECT_THAT(Elements(longer), ElementsAre(1, 3, -99, -99));
  EXPECT_EQ(longer.GetNumMisVal(), 2);
  EXPECT_EQ(shared.GetNumMisVal(), 4);
  EXPECT_THAT(Elements(v), ElementsAre(3, -99, 1));
  EXPECT_EQ((NCDataVector<TypeParam>{1}.Sort(nullptr, false).Size()), 0);
}

// Series.

TYPED_TEST(SelectionAndSeries, GapsAreFilledBetweenNeighbours) {
  using T = TypeParam;
  constexpr T gap = -99;
  struct Case {
    std::string name;
    std::vector<T> y, x;
    bool success;
    std::vector<T> filled;
    int missing;
  };
  const Case cases[] = {
      {"long gaps", {gap, gap, 8, gap, gap, gap, 0, gap, 1}, {}, true, {8, 8, 8, 6, 4, 2, 0, 0.5, 1}, 0},
      {"nothing to fill", {1, 2}, {gap, gap}, true, {1, 2}, 0},
      {"nothing present", {gap, gap}, {}, false, {gap, gap}, 2},
      {"one present", {gap, 5, gap}, {gap, gap, gap}, true, {5, 5, 5}, 0},
      {"over x", {0, gap, gap, 8}, {10, 11, 20, 14}, true, {0, 2, 20, 8}, 0},
      {"x has a gap elsewhere", {0, gap, 2, 3}, {0, 1, 4, gap}, true, {0, 0.5, 2, 3}, 0},
      {"x has a gap inside", {0, gap, 2, gap, 3, gap}, {2, 3, 4, gap, 7, 8}, false, {0, 1, 2, gap, 3, 3}, 3},
      {"x has a gap at a neighbour", {0, gap, 2}, {1, 2, gap}, false, {0, gap, 2}, 1},
  };
  for (const Case& c : cases) {
    NCDataVector<T> y = Vector(c.y);
    const NCDataVector<T> x = Vector(c.x);
    EXPECT_EQ(y.InterpolateMisVals(c.x.empty() ? nullptr : &x), c.success) << c.name;
    EXPECT_EQ(Elements(y), c.filled) << c.name;
    EXPECT_EQ(y.GetNumMisVal(), c.missing) << c.name;
  }
}

TYPED_TEST(SelectionAndSeries, InterpolationFindsNothingWhereTheCountHasDrifted) {
  NCDataVector<TypeParam> v{1, -99, 3, 4};
  v.TransformTo_Sub_d_x_Vt(1.0, NCDataVector<TypeParam>(4));
  EXPECT_EQ(v.GetNumMisVal(), 1) << "as documented";
  EXPECT_FALSE(v.InterpolateMisVals(nullptr));
  EXPECT_EQ(Elements(v), std::vector<TypeParam>(4, this->kGap));
}

TYPED_TEST(SelectionAndSeries, StandardNormalVariate) {
  using T = TypeParam;
  EXPECT_THAT(Elements(NCDataVector<T>({2, -99, 3, 4}).SNV()), ElementsAre(-1, -99, 0, 1));
  EXPECT_EQ(NCDataVector<T>({2, -99, 3, 4}).SNV().GetNumMisVal(), 1);
  for (const auto& flat : {std::vector<T>{5, 5, 5}, {-99, 5, -99}, {-99, -99}, {}}) {
    const auto result = Vector(flat).SNV();
    EXPECT_EQ(Elements(result), std::vector<T>(flat.size(), this->kGap));
    EXPECT_EQ(result.GetNumMisVal(), result.Size());
  }
  // A mean on the marker is moved aside: -98 is not quite as far from it as -100 is.
  const auto nudged = NCDataVector<double>{-98, -100}.SNV();
  EXPECT_NEAR(nudged[1] + nudged[2], 2e-5 / std::sqrt(2.0), 1e-12);
}

TYPED_TEST(SelectionAndSeries, DetrendingSubtractsTheMeanOrTheLine) {
  using T = TypeParam;
  double intercept = kUntouched;
  double slope = kUntouched;
  NCDataVector<T> v{1, -99, 6};
  v.DetrendMean(intercept);
  EXPECT_EQ(intercept, 3.5);
  EXPECT_THAT(Elements(v), ElementsAre(-2.5, -99, 2.5));
  NCDataVector<T> missing(3);
  missing.DetrendMean(intercept);
  EXPECT_EQ(intercept, 0.0);

  intercept = kUntouched;
  missing.DetrendLinear(intercept, slope);
  EXPECT_EQ(intercept, kUntouched);
  EXPECT_EQ(slope, 0.0);
  NCDataVector<T> one{-99, 7, -99};
  one.DetrendLinear(intercept, slope);
  EXPECT_EQ(intercept, 7.0);
  EXPECT_EQ(slope, 0.0);
  EXPECT_THAT(Elements(one), ElementsAre(-99, 0, -99));
  NCDataVector<T> line{3, -99, 7, 9, 12};
  line.DetrendLinear(intercept, slope);
  // lm(c(3, 7, 9, 12) ~ c(1, 3, 4, 5)) of R
  EXPECT_NEAR(intercept, 0.6, kTolerance);
  EXPECT_NEAR(slope, 2.2, kTolerance);
  const double residuals[] = {0.2, -99.0, -0.2, -0.4, 0.4};
  for (int i = 1; i <= 5; ++i) EXPECT_NEAR(line[i], residuals[i - 1], 1e-6) << i;
}

TYPED_TEST(SelectionAndSeries, LeastSquaresEqualTheTextbookForEveryPatternOfGaps) {
  // Large enough that the squares of floats are rounded.
  const std::vector<TypeParam> x = {4097, 5003, 5501, 6007, 7013};
  const NCDataVector<TypeParam> xVector = Vector(x);
  for (unsigned pattern = 0; pattern < 32; ++pattern) {
    SCOPED_TRACE(pattern);
    std::vector<TypeParam> y = {3, 1, 4, 1, 5};
    for (unsigned i = 0; i < 5; ++i) {
      if ((pattern >> i & 1) != 0) y[i] = this->kGap;
    }
    double intercept = kUntouched;
    double slope = kUntouched;
    if (Vector(y).GetNumMisVal() > 3) {
      EXPECT_FALSE(Vector(y).LeastSquare(nullptr, intercept, slope));
      EXPECT_EQ(intercept + slope, 2 * kUntouched);
    } else if (pattern != 0b10101) {  // the rest is constant
      this->ExpectLine(y, {1, 2, 3, 4, 5}, nullptr);
      this->ExpectLine(y, x, &xVector);
    }
  }
}

TYPED_TEST(SelectionAndSeries, LeastSquaresWithoutALine) {
  using T = TypeParam;
  struct Case {
    std::string name;
    std::vector<T> y, x;
    bool success;
    double intercept, slope;
  };
  const Case cases[] = {
      {"x does not vary", {1, 2}, {3, 3}, true, kUntouched, kVertical},
      {"neither varies", {2, 2}, {3, 3}, true, kUntouched, kVertical},
      {"y does not vary", {2, -99, 2}, {1, -99, 5}, true, 2.0, 0.0},
      {"y does not vary, but for a gap in front", {-99, 2, 2}, {1, 3, 5}, true, 2.0, 0.0},
      {"one pair", {1, -99}, {3, 4}, false, kUntouched, kUntouched},
      {"a gap in x alone", {1, 2, 3}, {1, -99, 3}, false, kUntouched, kUntouched},
      {"a gap in x where y is present", {1, 2, -99, 3}, {-99, 1, 2, 3}, false, kUntouched, kUntouched},
      {"a NaN in x", {1, 2}, {std::numeric_limits<T>::quiet_NaN(), 3}, true, kUntouched, kVertical},
  };
  for (const Case& c : cases) {
    double intercept = kUntouched;
    double slope = kUntouched;
    const NCDataVector<T> x = Vector(c.x);
    EXPECT_EQ(Vector(c.y).LeastSquare(&x, intercept, slope), c.success) << c.name;
    EXPECT_NEAR(intercept, c.intercept, kTolerance) << c.name;
    EXPECT_NEAR(slope, c.slope, kTolerance) << c.name;
  }
}

}  // namespace
