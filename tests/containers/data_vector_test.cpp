#include "voran/containers/data_vector.h"

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/containers/container_values.h"
#include "tests/containers/failing_allocation.h"
#include "tests/containers/plain_reference.h"

namespace {

using ::testing::ElementsAre;

template <typename T>
int Recount(const NCDataVector<T>& v) {
  return static_cast<int>(std::count(v.begin(), v.end(), plain::kGap<T>));
}

template <typename T>
class DataVector : public ::testing::Test {
 protected:
  using Vector = NCDataVector<T>;

  static constexpr T kGap = plain::kGap<T>;

  template <typename... Ints>
  static NCIntegralVector<int, -99> At(Ints... positions) {
    const int list[] = {positions...};
    return {list, sizeof...(Ints)};
  }

  static Vector Sample() { return {1, kGap, 2, kGap, 3}; }

  struct Mutator {
    std::string name;
    std::function<void(Vector&)> mutate;
    std::vector<T> expected;
  };

  /// Every mutator on Sample(), with what it makes of it.
  static std::vector<Mutator> Mutators() {
    const T zeroBased[] = {7, kGap, 8};
    const Vector other{5, 6};
    const Vector five{1, 1, kGap, 1, 2};
    return {
        {"set", [](Vector& v) { v(2, 4); }, {1, 4, 2, kGap, 3}},
        {"set missing", [](Vector& v) { v(3, kGap); }, {1, kGap, kGap, kGap, 3}},
        {"range of an array", [=](Vector& v) { v(2, zeroBased, 3); }, {1, 7, kGap, 8, 3}},
        {"range of a vector", [=](Vector& v) { v(4, other, 1, 2); }, {1, kGap, 2, 5, 6}},
        {"copy 0-based", [=](Vector& v) { v.CopyZeroBasedVector(zeroBased, 3); }, {7, kGap, 8}},
        {"copy longer", [](Vector& v) { v.CopyContent(Vector(9, T{2})); }, std::vector<T>(9, T{2})},
        {"copy 1-based", [=](Vector& v) { v.CopyVector(zeroBased, 2); }, {kGap, 8}},
        {"copy content", [=](Vector& v) { v.CopyContent(other); }, {5, 6}},
        {"set all", [](Vector& v) { v.SetAllValues(9); }, {9, 9, 9, 9, 9}},
        {"set all missing", [](Vector& v) { v.SetAllValues(kGap); }, std::vector<T>(5, kGap)},
        {"same size", [](Vector& v) { v.SetSize(5); }, {1, kGap, 2, kGap, 3}},
        {"smaller size", [](Vector& v) { v.SetSize(2); }, {kGap, kGap}},
        {"larger size", [](Vector& v) { v.SetSize(7); }, std::vector<T>(7, kGap)},
        {"reserve", [](Vector& v) { v.Reserve(100); }, {1, kGap, 2, kGap, 3}},
        {"grow", [](Vector& v) { v.Resize(7, 4); }, {1, kGap, 2, kGap, 3, 4, 4}},
        {"shrink", [](Vector& v) { v.Resize(2, 4); }, {1, kGap}},
        {"insert", [](Vector& v) { v.InsertValues(2, 2, 4); }, {1, 4, 4, kGap, 2, kGap, 3}},
        {"insert beyond the end", [](Vector& v) { v.InsertValues(99, 1, kGap); }, {1, kGap, 2, kGap, 3, kGap}},
        {"insert a vector", [=](Vector& v) { v.InsertValues(1, five); }, {1, 1, kGap, 1, 2, 1, kGap, 2, kGap, 3}},
        {"insert itself", [](Vector& v) { v.InsertValues(2, v); }, {1, 1, kGap, 2, kGap, 3, kGap, 2, kGap, 3}},
        {"push back", [](Vector& v) { v.push_back(4); }, {1, kGap, 2, kGap, 3, 4}},
        {"remove values", [](Vector& v) { v.RemoveValues(2, 3); }, {1, 3}},
        {"remove a value", [](Vector& v) { v.Remove(2); }, {1, kGap, kGap, 3}},
        {"remove positions", [](Vector& v) { v.Remove(At(5, 2, 9, 2)); }, {1, 2, kGap}},
        {"reduce", [](Vector& v) { v.Reduce(At(5, 2, 5)); }, {3, kGap, 3}},
        {"reduce safely", [](Vector& v) { v.SafeReduce(At(6, 5, 0)); }, {kGap, 3, kGap}},
        {"sort", [](Vector& v) { v.Sort(nullptr, true); }, {3, 2, 1, kGap, kGap}},
        {"lag", [](Vector& v) { v.Lag(2); }, {kGap, kGap, 1, kGap, 2}},
        {"lag by everything", [](Vector& v) { v.Lag(6); }, std::vector<T>(5, kGap)},
        {"interpolate", [](Vector& v) { v.InterpolateMisVals(nullptr); }, {1, 1.5, 2, 2.5, 3}},
        {"detrend", [a = 0.0](Vector& v) mutable { v.DetrendMean(a); }, {-1, kGap, 0, kGap, 1}},
        {"detrend line", [a = 0.0, b = 0.0](Vector& v) mutable { v.DetrendLinear(a, b); }, {0, kGap, 0, kGap, 0}},
        {"add", [=](Vector& v) { v += five; }, {2, kGap, kGap, kGap, 5}},
        {"subtract", [=](Vector& v) { v -= five; }, {0, kGap, kGap, kGap, 1}},
        {"subtract itself", [](Vector& v) { v -= std::as_const(v); }, {0, kGap, 0, kGap, 0}},
        {"scale to the marker", [](Vector& v) { v *= -49.5; }, {-49.5, kGap, kGap, kGap, -148.5}},
        {"add a number", [](Vector& v) { v += 0.5; }, {1.5, kGap, 2.5, kGap, 3.5}},
        {"subtract a number", [](Vector& v) { v -= 0.5; }, {0.5, kGap, 1.5, kGap, 2.5}},
        {"subtract the marker", [](Vector& v) { v -= -99.0; }, std::vector<T>(5, kGap)},
        {"add minus the marker", [](Vector& v) { v += 99.0; }, std::vector<T>(5, kGap)},
        {"absolute values", [](Vector& v) { v(1, -1), v.Abs(); }, {1, kGap, 2, kGap, 3}},
        {"square roots", [](Vector& v) { v(1, 4), v.Remove(2), v.Remove(3), v.Sqrt(); }, {2, kGap, kGap}},
        {"normalise",
         [](Vector& v) { v(1, 6), v(3, 8), v(5, kGap), v.Normalise(); },
         {static_cast<T>(0.6), kGap, static_cast<T>(0.8), kGap, kGap}},
        {"raw pointer", [](Vector& v) { v.GetWritableVector()[1] = 5; }, {5, kGap, 2, kGap, 3}},
    };
  }
};

using ElementTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(DataVector, ElementTypes);

TYPED_TEST(DataVector, MutatorsKeepTheCountAndWriteToThisVectorAlone) {
  using Vec = NCDataVector<TypeParam>;
  const std::vector<TypeParam> before = Elements(this->Sample());
  for (const auto& [name, mutate, expected] : this->Mutators()) {
    SCOPED_TRACE(name);
    Vec source = this->Sample();
    Vec copy = source;
    mutate(copy);
    EXPECT_EQ(Elements(copy), expected);
    EXPECT_EQ(copy.GetNumMisVal(), Recount(copy));
    EXPECT_EQ(Elements(source), before) << "written through a copy";

    copy = source;
    mutate(source);
    EXPECT_EQ(Elements(copy), before) << "written through the source";
    EXPECT_EQ(copy.GetNumMisVal(), 2);

    mutate(copy);  // which is alone now
    for (const Vec& v : {source, copy}) {
      EXPECT_EQ(Elements(v), expected);
      EXPECT_EQ(v.GetNumMisVal(), Recount(v));
    }
  }
}

TYPED_TEST(DataVector, AFailedAllocationLeavesAUsableVectorAndLeaksNothing) {
  if (!FailingAllocation::IsAvailable()) GTEST_SKIP() << "allocations cannot fail in this build";
  for (const auto& [name, mutate, expected] : this->Mutators()) {
    SCOPED_TRACE(name);
    bool done = false;
    for (int k = 1; !done; ++k) {
      NCDataVector<TypeParam> shared = this->Sample();
      const NCDataVector<TypeParam> other = shared;
      try {
        const FailingAllocation failing(k);
        mutate(shared);
        done = true;
      } catch (const std::bad_alloc&) {
      }
      EXPECT_EQ(Elements(other), Elements(this->Sample()));
      EXPECT_EQ(shared.GetNumMisVal(), Recount(shared));
      shared.push_back(1);
      EXPECT_EQ(shared.back(), TypeParam{1});
    }
  }
}

TYPED_TEST(DataVector, TheFirstElementIsAligned) {
  for (int n = 1; n < 20; ++n) {
    const NCDataVector<TypeParam> v(n, TypeParam{1});
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(v.begin()) % 16, 0u);
  }
}

TYPED_TEST(DataVector, ANaNIsPresent) {
  NCDataVector<TypeParam> v(2);
  v(1, std::numeric_limits<TypeParam>::quiet_NaN());
  EXPECT_EQ(v.GetNumMisVal(), 1);
  EXPECT_TRUE(v == NCDataVector<TypeParam>(v * 1.0)) << "equal NaN bits compare equal";
  EXPECT_FALSE(NCDataVector<TypeParam>{TypeParam{0}} == NCDataVector<TypeParam>{-TypeParam{0}});
}

TYPED_TEST(DataVector, RemovingTheMarkerCountsTheStaleTail) {
  NCDataVector<TypeParam> v{1, -99, 2, -99};
  v.Remove(-99);
  EXPECT_THAT(Elements(v), ElementsAre(1, 2));
  EXPECT_EQ(v.GetNumMisVal(), -1);
}

TYPED_TEST(DataVector, SubtractingAMultipleSpreadsGapsButDoesNotCountThem) {
  NCDataVector<TypeParam> v{10, 20, 30, -99};
  v.TransformTo_Sub_d_x_Vt(2.0, {1, -99, 3, 4});
  EXPECT_THAT(Elements(v), ElementsAre(8, -99, 24, -99));
  EXPECT_EQ(v.GetNumMisVal(), 1);
  v.SetNumMisVal(2);
  v.TransformTo_Add_d_x_Vt(2.0, {1, 1, 1, 1});
  EXPECT_THAT(Elements(v), ElementsAre(10, -99, 26, -99));
}

TYPED_TEST(DataVector, ElementwiseProductsAndQuotients) {
  using Vec = NCDataVector<TypeParam>;
  const Vec a{6, -99, 8, 9};
  const Vec b{2, 2, 0, -99};
  EXPECT_THAT(Elements(a.DotMultiplication(b)), ElementsAre(12, -99, 0, -99));
  const Vec quotient = a.DotDivide(b);
  EXPECT_THAT(Elements(quotient), ElementsAre(3, -99, -99, -99));
  EXPECT_EQ(quotient.GetNumMisVal(), 3);
  EXPECT_EQ(Vec({1, 2}).DotDivide({0, 2}).GetNumMisVal(), 1) << "division by zero counts without gaps too";
  const Vec inverse = Vec({2, 0, -99}).VectorDivide(1.0);
  EXPECT_THAT(Elements(inverse), ElementsAre(0.5, std::numeric_limits<TypeParam>::infinity(), -99));
}

TYPED_TEST(DataVector, NormalisingNothingChangesNothing) {
  NCDataVector<TypeParam> missing(3);
  EXPECT_EQ(missing.Normalise(), -99.0);
  NCDataVector<TypeParam> zero(3, TypeParam{0});
  EXPECT_EQ(zero.Normalise(), 0.0);
  EXPECT_THAT(Elements(zero), ElementsAre(0, 0, 0));
}

TYPED_TEST(DataVector, ExtremesOfPresentElements) {
  std::pair<TypeParam, TypeParam> extremes;
  this->Sample().GetMinMax(extremes.first, extremes.second);
  EXPECT_EQ(extremes, std::pair(TypeParam{1}, TypeParam{3}));
  NCDataVector<TypeParam>(2).GetMinMax(extremes.first, extremes.second);
  EXPECT_EQ(extremes, std::pair(TypeParam{-99}, TypeParam{-99}));
}

/// The regressions of short vectors, with gaps in every pattern of both operands, against the plain sums.
TYPED_TEST(DataVector, RegressionsRunOverThePairsPresent) {
  using Vec = NCDataVector<TypeParam>;
  constexpr int kSize = 4;
  const auto x = plain::GridElements<TypeParam>(kSize, 1);
  const auto y = plain::GridElements<TypeParam>(kSize, 2);
  for (unsigned pattern = 0; pattern < 256; ++pattern) {
    auto a = x;
    auto b = y;
    for (unsigned i = 0; i < kSize; ++i) {
      if ((pattern >> i & 1) != 0) a[i] = this->kGap;
      if ((pattern >> (i + 4) & 1) != 0) b[i] = this->kGap;
    }
    SCOPED_TRACE(::testing::Message() << "pattern " << pattern);
    const Vec v1 = Vector(a);
    const Vec v2 = Vector(b);
    const plain::Sums sums = plain::PairSums(a.data(), b.data(), kSize);
    const bool none = sums.pairs == 0;
    EXPECT_EQ(v1.Regress(v2), none ? -99.0 : sums.product / sums.pairedSquares);
    const double floor = std::max(sums.pairedSquares, sums.allSquares / 3.0);
    EXPECT_DOUBLE_EQ(v1.SpecialNipalsRegressFix(v2), none ? -99.0 : sums.product / floor);
    EXPECT_EQ(v1 * v2, none ? -99.0 : sums.product);
    EXPECT_EQ(v1.GetSS(), (pattern & 15) == 15 ? -99.0 : sums.allSquares);
    const plain::Sums back = plain::PairSums(b.data(), a.data(), kSize);
    const double cosine = sums.product / std::sqrt(sums.pairedSquares * back.pairedSquares);
    EXPECT_DOUBLE_EQ(v1.Correlation(v2), none ? -99.0 : cosine);
  }
}

TYPED_TEST(DataVector, GrowsByDoublingAndMovesSeldom) {
  NCDataVector<TypeParam> v;
  const TypeParam* base = nullptr;
  int moves = 0;
  for (int i = 1; i <= 3000; ++i) {
    v.push_back(TypeParam(1));
    if (v.GetVector() != base) ++moves;
    base = v.GetVector();
  }
  EXPECT_LE(moves, 11) << "4, 8, 16, ... 4096";
}

TYPED_TEST(DataVector, AnExcludedGroupEqualsGapsInTheFirstVector) {
  using Vec = NCDataVector<TypeParam>;
  const Vec p{1, 2, 3, 4};
  const Vec row{5, 6, -99, 8};
  const int groupsOf[] = {0, 1, 0, 1};
  const NCIntegralVector<int, -99> groups(groupsOf, 4);
  EXPECT_EQ(p.SpecialNipalsRegressFixWithExclude(row, groups, 1), 5.0 / (10.0 * 0.3333333333333333));
  EXPECT_EQ(p.SpecialNipalsRegressFixWithExclude(row, groups, 7), p.SpecialNipalsRegressFix(row));
  const NCIntegralVector<int, -99> all(4, 1);
  EXPECT_EQ(p.SpecialNipalsRegressFixWithExclude(row, all, 1), -99.0);
  EXPECT_TRUE(std::isnan(p.SpecialNipalsRegressFixWithExclude({1, 2, 3, 4}, all, 1))) << "0/0: no operand has gaps";
}

TYPED_TEST(DataVector, RegressingOnZerosGivesANaN) {
  const NCDataVector<TypeParam> zeros(3, TypeParam{0}), ones(3, TypeParam{1});
  EXPECT_TRUE(std::isnan(zeros.Regress(ones)));
  EXPECT_TRUE(std::isnan(zeros.SpecialNipalsRegressFix(ones)));
}

TYPED_TEST(DataVector, CorrelationRemovesNoMeanAndStaysWithinOne) {
  using Vec = NCDataVector<TypeParam>;
  EXPECT_EQ(Vec({1, 1}).Correlation({2, 2}), 1.0);
  EXPECT_EQ(Vec({TypeParam(1e-9)}).Correlation({TypeParam(1e-9)}),
            static_cast<double>(TypeParam(1e-9) * TypeParam(1e-9)))
      << "next to nothing: undivided";
  bool anyBeyondOne = false;
  for (unsigned seed = 0; seed < 50; ++seed) {
    const Vec v = Vector(plain::RandomElements<TypeParam>(100, seed));
    const Vec w = v * 1.7;
    anyBeyondOne |= v * w / std::sqrt(v.GetSS() * w.GetSS()) > 1.0;  // by rounding
    EXPECT_LE(v.Correlation(w), 1.0);
  }
  EXPECT_TRUE(anyBeyondOne);
}

TYPED_TEST(DataVector, DifferenceMarksWhatCannotBeFormed) {
  using Vec = NCDataVector<TypeParam>;
  const Vec v{3, 4};
  EXPECT_EQ(v.Difference(v), 0.0);
  EXPECT_EQ(v.Difference({3, 2}), 4.0 / 25.0);
  EXPECT_EQ(Vec({3, -99}).Difference({1, 7}), 4.0 / 9.0);
  EXPECT_EQ(Vec({3, -99}).Difference({-99, 7}), -99.0);
  EXPECT_EQ(Vec({0, 0}).Difference(v), 1e30);
  EXPECT_EQ(Vec({std::numeric_limits<TypeParam>::infinity(), 1}).Difference(v), -99.0);
  EXPECT_EQ(Vec({std::numeric_limits<TypeParam>::quiet_NaN(), 1}).Difference(v), -99.0);
}

TEST(DataVectorPrecision, ProductsRoundToFloatAndOnlyTheDotProductSumsInFloat) {
  constexpr float kOdd = 1.0f + 0x1p-20f;  // its square needs more bits than a float has
  NCDataVector<float> big(17, 0.0f);
  big(1, 4096.0f);
  big(17, kOdd);  // the same accumulator as element 1
  const NCDataVector<float> ones(17, 1.0f);
  EXPECT_EQ(NCDataVector<float>({kOdd}).GetSS(), static_cast<double>(kOdd * kOdd));
  EXPECT_EQ(ones.Regress(big), (4096.0 + static_cast<double>(kOdd)) / 17.0);
  EXPECT_EQ(big * ones, static_cast<double>(4096.0f + kOdd));
  EXPECT_EQ(NCDataVector<float>({1.0f}).GetSS(1e-12), (1.0 - 1e-12) * (1.0 - 1e-12)) << "differences are in double";
}

}  // namespace
