#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/containers/plain_reference.h"
#include "voran/containers/kernels/column_sums.h"
#include "voran/containers/kernels/deflation.h"
#include "voran/containers/kernels/elementwise.h"
#include "voran/containers/kernels/nipals.h"
#include "voran/containers/kernels/reductions.h"
#include "voran/containers/simd_target.h"
#include "voran/platform/exception.h"

namespace {

using detail::ColumnSumKernels;
using detail::DeflationKernels;
using detail::ElementwiseKernels;
using detail::GapMode;
using detail::NipalsKernels;
using detail::ReductionKernels;

MATCHER_P(SameBits, expected, "") {
  using Bits = std::conditional_t<sizeof(arg) == 4, std::uint32_t, std::uint64_t>;
  *result_listener << "which is " << ::testing::PrintToString(arg) << ", off by " << arg - expected;
  return std::bit_cast<Bits>(arg) == std::bit_cast<Bits>(expected);
}

/// Elements that stand `misalignment` elements behind an aligned address, with NaNs before and behind: what reads
/// outside turns its sum into a NaN.
template <typename T>
class Guarded {
 public:
  Guarded(const std::vector<T>& values, std::size_t misalignment)
      : storage_(values.size() + kGuard + misalignment + (misalignment % 2 == 0 ? kGuard : 0),
                 std::numeric_limits<T>::quiet_NaN()),
        first_(kGuard + misalignment) {
    std::copy(values.begin(), values.end(), storage_.begin() + static_cast<std::ptrdiff_t>(first_));
  }
  T* get() { return storage_.data() + first_; }
  bool GuardsHold(std::size_t n) const {
    for (std::size_t i = 0; i < storage_.size(); ++i) {
      if ((i < first_ || i >= first_ + n) && storage_[i] == storage_[i]) return false;
    }
    return true;
  }

 private:
  static constexpr std::size_t kGuard = 40;
  std::vector<T> storage_;
  std::size_t first_;
};

/// Rows of random elements, each between guards, as the kernels take them.
template <typename T>
struct GuardedRows {
  GuardedRows(std::size_t rows, std::size_t columns, double gaps, std::size_t misalignment) {
    for (std::size_t r = 0; r < rows; ++r) {
      values.push_back(plain::RandomElements<T>(columns, static_cast<unsigned>(r), gaps));
      guarded.emplace_back(values.back(), misalignment + r % 3);
    }
    for (auto& row : guarded) pointers.push_back(row.get());
  }
  detail::RowsAhead<T> Ahead() const { return {pointers.data(), static_cast<int>(pointers.size())}; }

  std::vector<std::vector<T>> values;
  std::vector<Guarded<T>> guarded;
  std::vector<T*> pointers;
};

Guarded<double> GuardedSums(std::size_t n, double value) {
  return {std::vector<double>(n, value), 0};
}

using Shares = std::pair<double, double>;
/// Of gaps in two operands, and in one.
constexpr Shares kOfTwo[] = {{0.0, 0.0}, {0.3, 0.0}, {0.0, 0.3}, {0.3, 0.3}, {1.0, 0.0}};
constexpr Shares kOfOne[] = {{0.0, 0.0}, {0.3, 0.0}};

template <typename T>
class Kernels : public ::testing::Test {
 protected:
  void TearDown() override { SimdTarget::Set(before_); }

  /// Every set of instructions that this machine has.
  static void OnEachTarget(const std::function<void()>& test) {
    for (const std::string& target : SimdTarget::GetAvailable()) {
      SCOPED_TRACE(target);
      SimdTarget::Set(target);
      ASSERT_EQ(SimdTarget::GetName(), target);
      test();
    }
  }

  /// Lengths from nothing to some whole vectors and a rest, at every start that shifts the vectors.
  template <class Test>
  static void ForEachShape(std::span<const Shares> shares, const Test& test) {
    OnEachTarget([&] {
      for (const Shares& gaps : shares) {
        const auto run = [&](std::size_t n, std::size_t misalignment) {
          SCOPED_TRACE(::testing::Message() << n << " elements, gaps " << gaps.first << " and " << gaps.second);
          test(n, misalignment, gaps.first, gaps.second);
        };
        for (std::size_t n = 0; n <= 67; ++n) run(n, n % 9);
        for (std::size_t misalignment = 0; misalignment < 16; ++misalignment) run(129, misalignment);
        run(1000, 3);
      }
    });
  }

  static GapMode ModeOf(double first, double second) {
    return detail::GapModeOf(first > 0.0 ? 1 : 0, second > 0.0 ? 1 : 0);
  }

 private:
  const std::string before_ = SimdTarget::GetName();
};

using ElementTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Kernels, ElementTypes);

/// Each operation in every mode against a loop over single elements; the result may stand where an operand stood.
TYPED_TEST(Kernels, ElementwiseEqualsThePlainLoops) {
  using T = TypeParam;
  constexpr T kGap = plain::kGap<T>;
  const auto gapOr = [](bool gap, auto value) { return gap ? kGap : static_cast<T>(value); };
  this->ForEachShape(kOfTwo, [&](std::size_t size, std::size_t misalignment, double gapsA, double gapsB) {
    const auto& kernels = ElementwiseKernels<T>::Current();
    const auto& nipals = NipalsKernels<T>::Current();
    const auto a = plain::GridElements<T>(size, 1, gapsA);
    auto b = plain::GridElements<T>(size, 2, gapsB);
    const auto c = plain::GridElements<T>(size, 3, 0.0);
    if (size > 2) b[size / 2] = T{0};
    auto means = b;
    for (std::size_t i = 1; i < size; i += 5) means[i] = a[i] + T{99};  // differences on the marker
    const int n = static_cast<int>(size);
    const GapMode mode = this->ModeOf(gapsA, gapsB);
    const bool hasGaps = gapsA > 0.0;
    const auto one = [&](std::size_t i) { return a[i] == kGap; };
    const auto pair = [&](std::size_t i) { return a[i] == kGap || b[i] == kGap; };
    const auto wide = [&](std::size_t i) { return static_cast<double>(a[i]); };
    const auto centred = [&](std::size_t i) { return a[i] - means[i] == kGap ? T(-99.00001) : a[i] - means[i]; };
    const T factor = static_cast<T>(0.7);

    struct Operation {
      const char* name;
      std::function<int(T*)> run;  ///< returns the gaps of the result, or -1
      std::function<T(std::size_t)> expected;
    };
    const Operation operations[] = {
        {"add", [&](T* x) { return kernels.add(x, b.data(), x, n, mode); },
         [&](std::size_t i) { return gapOr(pair(i), a[i] + b[i]); }},
        {"subtract", [&](T* x) { return kernels.subtract(x, b.data(), x, n, mode); },
         [&](std::size_t i) { return gapOr(pair(i), a[i] - b[i]); }},
        {"multiply", [&](T* x) { return kernels.multiply(x, b.data(), x, n, mode); },
         [&](std::size_t i) { return gapOr(pair(i), a[i] * b[i]); }},
        {"divide", [&](T* x) { return kernels.divide(x, b.data(), x, n, mode); },
         [&](std::size_t i) { return b[i] == T{0} ? kGap : gapOr(pair(i), a[i] / b[i]); }},
        {"scale", [&](T* x) { return kernels.scale(x, 0.3, x, n, hasGaps); },
         [&](std::size_t i) { return gapOr(one(i), wide(i) * 0.3); }},
        {"subtract a number", [&](T* x) { return kernels.subtractScalar(x, 0.3, x, n, hasGaps), -1; },
         [&](std::size_t i) { return gapOr(one(i), wide(i) - 0.3); }},
        {"divide by a number", [&](T* x) { return kernels.divideByScalar(x, 0.3, x, n, hasGaps), -1; },
         [&](std::size_t i) { return gapOr(one(i), wide(i) / 0.3); }},
        {"standardise", [&](T* x) { return kernels.standardise(x, 0.3, 0.7, x, n, hasGaps), -1; },
         [&](std::size_t i) { return gapOr(one(i), (wide(i) - 0.3) / 0.7); }},
        {"centre and scale", [&](T* x) { return kernels.centreAndScale(x, means.data(), c.data(), n), -1; },
         [&](std::size_t i) { return gapOr(one(i), centred(i) * c[i]); }},
        {"divide a number", [&](T* x) { return kernels.divideByElements(0.3, x, x, n, hasGaps), -1; },
         [&](std::size_t i) { return gapOr(one(i), 0.3 / wide(i)); }},
        {"subtract a multiple", [&](T* x) { return kernels.subtractScaled(x, 0.3, b.data(), n, mode), -1; },
         [&](std::size_t i) { return gapOr(pair(i), wide(i) - 0.3 * static_cast<double>(b[i])); }},
        {"add a multiple", [&](T* x) { return nipals.addScaled(x, factor, c.data(), n, hasGaps), -1; },
         [&](std::size_t i) { return gapOr(one(i), a[i] + static_cast<T>(plain::Rounded(factor, c[i]))); }},
        {"absolute value", [&](T* x) { return kernels.abs(x, n, hasGaps), -1; },
         [&](std::size_t i) { return gapOr(one(i), std::abs(a[i])); }},
        {"count", [&](T* x) { return kernels.countMissing(x, n); }, [&](std::size_t i) { return a[i]; }},
    };
    for (const Operation& operation : operations) {
      SCOPED_TRACE(operation.name);
      Guarded<T> out(a, misalignment);
      const int missing = operation.run(out.get());
      int gaps = 0;
      for (std::size_t i = 0; i < size; ++i) {
        const T value = operation.expected(i);
        EXPECT_THAT(out.get()[i], SameBits(value)) << "element " << i;
        gaps += value == kGap ? 1 : 0;
      }
      EXPECT_TRUE(missing == -1 || missing == gaps) << missing << ", not " << gaps;
      EXPECT_TRUE(out.GuardsHold(size));
    }
  });
}

TYPED_TEST(Kernels, ReductionsEqualThePlainLoops) {
  using T = TypeParam;
  this->ForEachShape(kOfTwo, [&](std::size_t size, std::size_t misalignment, double gapsA, double gapsB) {
    const auto& kernels = ReductionKernels<T>::Current();
    const auto a = plain::RandomElements<T>(size, 1, gapsA);
    const auto b = plain::RandomElements<T>(size, 2, gapsB);
    Guarded<T> guardedA(a, misalignment);
    Guarded<T> guardedB(b, 0);
    const T* const first = guardedA.get();
    const T* const second = guardedB.get();
    const int n = static_cast<int>(size);
    const GapMode mode = this->ModeOf(gapsA, gapsB);
    const bool hasGaps = gapsA > 0.0;

    const plain::Sums expected = plain::PairSums(a.data(), b.data(), size);
    const detail::PairSums sums = kernels.pairSums(first, second, n, mode);
    EXPECT_THAT(sums.product, SameBits(expected.product));
    EXPECT_THAT(sums.pairedSquares, SameBits(expected.pairedSquares));
    EXPECT_THAT(sums.allSquares, SameBits(expected.allSquares));
    EXPECT_THAT(kernels.sumOfSquares(first, n, hasGaps), SameBits(expected.allSquares));

    plain::Accumulators<T> dot;
    plain::Accumulators<double> sum, about, cubes, fourths, distance, squares;
    for (std::size_t i = 0; i < size; ++i) {
      if (!plain::Present(a[i])) continue;
      const double difference = static_cast<double>(a[i]) - 0.7;
      const double z = difference / 1.3;
      sum.Add(i, static_cast<double>(a[i]));
      about.Add(i, difference * difference);
      cubes.Add(i, z * z * z);
      fourths.Add(i, (z * z) * (z * z));
      if (!plain::Present(b[i])) continue;
      dot.Add(i, static_cast<T>(plain::Rounded(a[i], b[i])));
      const T gap = a[i] - b[i];
      distance.Add(i, plain::Rounded(gap, gap));
      squares.Add(i, plain::Rounded(a[i], a[i]));
    }
    EXPECT_THAT(kernels.dotProduct(first, second, n, mode), SameBits(static_cast<double>(dot.Sum())));
    EXPECT_THAT(kernels.sumOfSquaresAbout(first, 0.7, n, hasGaps), SameBits(about.Sum()));
    EXPECT_THAT(kernels.sum(first, n, hasGaps), SameBits(sum.Sum()));
    const detail::ScorePowers powers = kernels.scorePowers(first, 0.7, 1.3, n, hasGaps);
    EXPECT_THAT(powers.cubes, SameBits(cubes.Sum()));
    EXPECT_THAT(powers.fourths, SameBits(fourths.Sum()));
    const detail::DistanceSums far = kernels.distanceSums(first, second, n, mode);
    EXPECT_THAT(far.distance, SameBits(distance.Sum()));
    EXPECT_THAT(far.squares, SameBits(squares.Sum()));
  });
}

TYPED_TEST(Kernels, RowProductsEqualThePlainLoops) {
  using T = TypeParam;
  this->ForEachShape(kOfTwo, [](std::size_t size, std::size_t misalignment, double gapsX, double gapsP) {
    const auto& kernels = NipalsKernels<T>::Current();
    constexpr int kRows = 7;
    const int n = static_cast<int>(size);
    auto pValues = plain::RandomElements<T>(size, 99, gapsP);
    GuardedRows<T> x(kRows, size, gapsX, misalignment);
    if (gapsX > 0.0 && size > 0) {  // the product beside a gap is dropped: 0 * inf would be a NaN
      pValues[size / 2] = std::numeric_limits<T>::infinity();
      for (std::size_t r = 0; r < kRows; ++r) x.values[r][size / 2] = x.pointers[r][size / 2] = plain::kGap<T>;
    }
    Guarded<T> p(pValues, 1);
    double products[kRows];
    double squares[kRows];
    double complete[kRows];
    kernels.rowProductsWithGaps(x.pointers.data(), kRows, p.get(), gapsP > 0.0, n, x.Ahead(), products, squares);
    if (gapsX == 0.0 && gapsP == 0.0) {
      kernels.rowProducts(x.pointers.data(), kRows, p.get(), n, x.Ahead(), complete);
    } else {
      std::copy_n(products, kRows, complete);
    }
    for (std::size_t r = 0; r < kRows; ++r) {
      const plain::Sums expected = plain::PairSums(pValues.data(), x.values[r].data(), size);
      EXPECT_THAT(products[r], SameBits(expected.product)) << "row " << r;
      EXPECT_THAT(squares[r], SameBits(expected.pairedSquares)) << "row " << r;
      EXPECT_THAT(complete[r], SameBits(expected.product)) << "row " << r;
    }
  });
}

TYPED_TEST(Kernels, ColumnSumsEqualThePlainLoops) {
  using T = TypeParam;
  this->ForEachShape(kOfOne, [](std::size_t size, std::size_t misalignment, double gaps, double) {
    const auto& kernels = NipalsKernels<T>::Current();
    for (const bool anew : {false, true}) {
      if (anew && gaps > 0.0) continue;
      constexpr int kRows = 14;  // eight together, four, and one by one
      const std::size_t first = size / 5;
      const auto t = plain::RandomElements<T>(kRows, 5);
      const auto weights = plain::RandomElements<T>(kRows, 6);
      const GuardedRows<T> x(kRows, size, gaps, misalignment);
      std::vector<double> sums(size, 0.25);
      std::vector<double> weightSums(size, 0.5);
      for (std::size_t r = 0; r < kRows; ++r) {
        for (std::size_t j = first; j < size; ++j) {
          if (!plain::Present(x.values[r][j])) continue;
          if (anew && r == 0) sums[j] = 0.0;
          sums[j] += plain::Rounded(x.values[r][j], t[r]);
          if (gaps > 0.0) weightSums[j] += static_cast<double>(weights[r]);
        }
      }
      Guarded<double> actual = GuardedSums(size, 0.25);
      Guarded<double> actualWeights = GuardedSums(size, 0.5);
      const int from = static_cast<int>(first);
      const int n = static_cast<int>(size - first);
      if (gaps > 0.0) {
        kernels.addRowsWithGaps(x.pointers.data(), t.data(), weights.data(), kRows, from, n, x.Ahead(),
                                actual.get() + first, actualWeights.get() + first);
      } else {
        kernels.addRows(x.pointers.data(), t.data(), kRows, from, n, x.Ahead(), anew, actual.get() + first);
      }
      for (std::size_t j = 0; j < size; ++j) {
        EXPECT_THAT(actual.get()[j], SameBits(sums[j])) << j;
        EXPECT_THAT(actualWeights.get()[j], SameBits(weightSums[j])) << j;
      }
      EXPECT_TRUE(actual.GuardsHold(size) && actualWeights.GuardsHold(size));
    }
  });
}

/// Eleven rows: some are added together, the rest one by one.
TYPED_TEST(Kernels, SumsAboutCentresEqualThePlainLoops) {
  using T = TypeParam;
  this->ForEachShape(kOfOne, [](std::size_t size, std::size_t misalignment, double gaps, double) {
    const auto& kernels = ColumnSumKernels<T>::Current();
    constexpr int kRows = 11;
    const auto about = plain::RandomElements<double>(size, 50);
    const auto y = plain::RandomElements<double>(kRows, 51);
    const GuardedRows<T> x(kRows, size, gaps, misalignment);
    std::vector<std::vector<double>> expected(5, std::vector<double>(size, 0.25));
    for (std::size_t r = 0; r < kRows; ++r) {
      for (std::size_t j = 0; j < size; ++j) {
        if (!plain::Present(x.values[r][j])) continue;
        const double value = static_cast<double>(x.values[r][j]);
        const double difference = value - about[j];
        expected[0][j] += value;
        expected[1][j] += difference * difference;
        expected[2][j] += difference * y[r];
        expected[3][j] += difference * difference;
        if (gaps > 0.0) expected[4][j] += y[r] * y[r];
      }
    }
    std::vector<Guarded<double>> sums(5, GuardedSums(size, 0.25));
    const int n = static_cast<int>(size);
    kernels.addElements(x.pointers.data(), kRows, n, gaps > 0.0, sums[0].get());
    kernels.addSquaresAbout(x.pointers.data(), kRows, n, gaps > 0.0, about.data(), sums[1].get());
    for (std::size_t r = 0; r < kRows; ++r) {
      const T* const row = x.pointers[r];
      if (gaps > 0.0) {
        kernels.addProductsWithGaps(row, y[r], n, about.data(), sums[2].get(), sums[3].get(), sums[4].get());
      } else {
        kernels.addProducts(row, y[r], n, about.data(), sums[2].get(), sums[3].get());
      }
    }
    for (std::size_t k = 0; k < sums.size(); ++k) {
      for (std::size_t j = 0; j < size; ++j) EXPECT_THAT(sums[k].get()[j], SameBits(expected[k][j])) << k << ", " << j;
      EXPECT_TRUE(sums[k].GuardsHold(size));
    }
  });
}

/// Eleven rows: some together, the rest one by one.
TYPED_TEST(Kernels, DeflationWithSquaresEqualsThePlainLoops) {
  using T = TypeParam;
  this->ForEachShape(kOfOne, [](std::size_t size, std::size_t misalignment, double gaps, double) {
    constexpr int kRows = 11;
    auto p = plain::RandomElements<T>(size, 2);
    auto factors = plain::RandomElements<T>(kRows, 3);
    GuardedRows<T> x(kRows, size, gaps, misalignment);
    factors[9] = T{-1};
    if (size > 0) {
      p.back() = T{0.5};
      x.values[9].back() = x.pointers[9][size - 1] = plain::kGap<T> + T{0.5};  // falls on the marker
    }
    std::vector<double> sums(size, 0.25);
    for (std::size_t r = 0; r < kRows; ++r) {
      for (std::size_t j = 0; j < size; ++j) {
        T& value = x.values[r][j];
        if (gaps > 0.0 && !plain::Present(value)) continue;
        value += static_cast<T>(plain::Rounded(factors[r], p[j]));
        if (gaps > 0.0 && !plain::Present(value)) continue;
        sums[j] += static_cast<double>(value) * static_cast<double>(value);
      }
    }
    Guarded<double> actual = GuardedSums(size, 0.25);
    DeflationKernels<T>::Current().deflateAndSumSquares(x.pointers.data(), factors.data(), kRows, p.data(),
                                                        static_cast<int>(size), gaps > 0.0, actual.get());
    for (std::size_t j = 0; j < size; ++j) {
      EXPECT_THAT(actual.get()[j], SameBits(sums[j])) << j;
      for (std::size_t r = 0; r < kRows; ++r) EXPECT_THAT(x.pointers[r][j], SameBits(x.values[r][j])) << r << ", " << j;
    }
    for (auto& row : x.guarded) EXPECT_TRUE(row.GuardsHold(size));
    EXPECT_TRUE(actual.GuardsHold(size));
  });
}

TYPED_TEST(Kernels, ANaNBesideAGapIsPresent) {
  using T = TypeParam;
  this->OnEachTarget([] {
    std::vector<T> x(40, T{1});
    x[3] = plain::kGap<T>;
    x[5] = std::numeric_limits<T>::quiet_NaN();
    const T* const row = x.data();
    const std::vector<T> ones(40, T{1});
    const auto& reductions = ReductionKernels<T>::Current();
    for (const double sum : {reductions.sum(row, 40, true), reductions.sumOfSquares(row, 40, true),
                             reductions.sumOfSquaresAbout(row, 1.0, 40, true),
                             reductions.pairSums(ones.data(), row, 40, detail::kSecondHasGaps).product,
                             reductions.pairSums(row, row, 40, detail::kBothHaveGaps).product}) {
      EXPECT_TRUE(std::isnan(sum));
    }
    const auto& nipals = NipalsKernels<T>::Current();
    double product;
    double squares;
    nipals.rowProductsWithGaps(&row, 1, ones.data(), false, 40, {}, &product, &squares);
    EXPECT_TRUE(std::isnan(product));
    EXPECT_EQ(squares, 39.0);
    nipals.rowProductsWithGaps(&row, 1, row, true, 40, {}, &product, &squares);
    EXPECT_TRUE(std::isnan(squares));
    std::vector<double> sums(40), weights(40), elements(40);
    nipals.addRowsWithGaps(&row, ones.data(), ones.data(), 1, 0, 40, {}, sums.data(), weights.data());
    EXPECT_TRUE(std::isnan(sums[5]));
    EXPECT_EQ(weights[5], 1.0);
    ColumnSumKernels<T>::Current().addElements(&row, 1, 40, true, elements.data());
    EXPECT_TRUE(std::isnan(elements[5]));
    EXPECT_EQ(elements[3], 0.0);
    std::vector<T> deflated = x;
    nipals.addScaled(deflated.data(), T{1}, ones.data(), 40, true);
    EXPECT_TRUE(std::isnan(deflated[5]));
    EXPECT_EQ(deflated[3], plain::kGap<T>);
  });
}

/// The variable is read once in a process, so each case has one of its own.
TEST(SimdTargetDeathTest, TheEnvironmentChoosesTheSet) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const std::string worst = SimdTarget::GetAvailable().back();
  const auto nameIn = [](const std::string& wanted) {
    setenv("VORAN_SIMD", wanted.c_str(), 1);
    try {
      ReductionKernels<float>::Current();
      std::fputs(SimdTarget::GetName().c_str(), stderr);
    } catch (const InvalidArgument& error) {
      std::fprintf(stderr, "refused: %s", error.what());
    }
    std::exit(0);
  };
  EXPECT_EXIT(nameIn(worst), ::testing::ExitedWithCode(0), worst);
  EXPECT_EXIT(nameIn("AVX9"), ::testing::ExitedWithCode(0), "refused: .*AVX9.*" + worst);
}

}  // namespace
