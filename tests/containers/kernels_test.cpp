#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <limits>
#include <string>
#include <tuple>
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

/// Every set of instructions that this machine has.
class Kernels : public ::testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    before_ = SimdTarget::GetName();
    SimdTarget::Set(GetParam());
    ASSERT_EQ(SimdTarget::GetName(), GetParam());
  }
  void TearDown() override { SimdTarget::Set(before_); }

  /// Lengths from nothing to some whole vectors and a rest, at every start that shifts the vectors.
  template <typename T>
  static void ForEachShape(const std::function<void(std::size_t n, std::size_t misalignment)>& test) {
    for (std::size_t n = 0; n <= 67; ++n) test(n, n % 9);
    for (std::size_t misalignment = 0; misalignment < 16; ++misalignment) test(129, misalignment);
    test(1000, 3);
  }

  static std::vector<std::pair<double, double>> GapShares() {
    return {{0.0, 0.0}, {0.3, 0.0}, {0.0, 0.3}, {0.3, 0.3}, {1.0, 0.0}};
  }

  static GapMode ModeOf(double first, double second) {
    return detail::GapModeOf(first > 0.0 ? 1 : 0, second > 0.0 ? 1 : 0);
  }

  template <typename T>
  static void ReductionsEqualThePlainLoops() {
    const auto& kernels = ReductionKernels<T>::Current();
    ForEachShape<T>([&](std::size_t size, std::size_t misalignment) {
      for (const auto& [gapsA, gapsB] : GapShares()) {
        SCOPED_TRACE(::testing::Message() << size << " elements, gaps " << gapsA << " and " << gapsB);
        const auto a = plain::RandomElements<T>(size, 1, gapsA);
        const auto b = plain::RandomElements<T>(size, 2, gapsB);
        Guarded<T> guardedA(a, misalignment);
        Guarded<T> guardedB(b, 0);
        const int n = static_cast<int>(size);
        const GapMode mode = ModeOf(gapsA, gapsB);

        const plain::Sums expected = plain::PairSums(a.data(), b.data(), size);
        const detail::PairSums sums = kernels.pairSums(guardedA.get(), guardedB.get(), n, mode);
        EXPECT_THAT(sums.product, SameBits(expected.product));
        EXPECT_THAT(sums.pairedSquares, SameBits(expected.pairedSquares));
        EXPECT_THAT(sums.allSquares, SameBits(expected.allSquares));
        EXPECT_THAT(kernels.sumOfSquares(guardedA.get(), n, gapsA > 0.0), SameBits(expected.allSquares));

        plain::Accumulators<T> dot;
        plain::Accumulators<double> sum;
        plain::Accumulators<double> about;
        plain::Accumulators<double> cubes;
        plain::Accumulators<double> fourths;
        plain::Accumulators<double> distance;
        plain::Accumulators<double> squares;
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
        EXPECT_THAT(kernels.dotProduct(guardedA.get(), guardedB.get(), n, mode),
                    SameBits(static_cast<double>(dot.Sum())));
        EXPECT_THAT(kernels.sumOfSquaresAbout(guardedA.get(), 0.7, n, gapsA > 0.0), SameBits(about.Sum()));
        EXPECT_THAT(kernels.sum(guardedA.get(), n, gapsA > 0.0), SameBits(sum.Sum()));
        const detail::ScorePowers powers = kernels.scorePowers(guardedA.get(), 0.7, 1.3, n, gapsA > 0.0);
        EXPECT_THAT(powers.cubes, SameBits(cubes.Sum()));
        EXPECT_THAT(powers.fourths, SameBits(fourths.Sum()));
        const detail::DistanceSums far = kernels.distanceSums(guardedA.get(), guardedB.get(), n, mode);
        EXPECT_THAT(far.distance, SameBits(distance.Sum()));
        EXPECT_THAT(far.squares, SameBits(squares.Sum()));
      }
    });
  }

  template <typename T>
  static void RowProductsEqualThePlainLoops() {
    const auto& kernels = NipalsKernels<T>::Current();
    ForEachShape<T>([&](std::size_t size, std::size_t misalignment) {
      for (const auto& [gapsX, gapsP] : GapShares()) {
        constexpr std::size_t kRows = 7;
        const int n = static_cast<int>(size);
        const auto pValues = plain::RandomElements<T>(size, 99, gapsP);
        Guarded<T> p(pValues, 1);
        std::vector<std::vector<T>> values;
        std::vector<Guarded<T>> guarded;
        for (std::size_t r = 0; r < kRows; ++r) {
          values.push_back(plain::RandomElements<T>(size, static_cast<unsigned>(r), gapsX));
          guarded.emplace_back(values.back(), misalignment + r % 3);
        }
        const T* rows[kRows];
        for (std::size_t r = 0; r < kRows; ++r) rows[r] = guarded[r].get();
        const detail::RowsAhead<T> ahead{rows, kRows};
        double products[kRows];
        double squares[kRows];
        kernels.rowProductsWithGaps(rows, kRows, p.get(), gapsP > 0.0, n, ahead, products, squares);
        for (std::size_t r = 0; r < kRows; ++r) {
          const plain::Sums expected = plain::PairSums(pValues.data(), values[r].data(), size);
          EXPECT_THAT(products[r], SameBits(expected.product)) << size << " elements, row " << r;
          EXPECT_THAT(squares[r], SameBits(expected.pairedSquares)) << size << " elements, row " << r;
        }
        if (gapsX > 0.0 || gapsP > 0.0) continue;
        double complete[kRows];
        kernels.rowProducts(rows, kRows, p.get(), n, ahead, complete);
        for (std::size_t r = 0; r < kRows; ++r) EXPECT_THAT(complete[r], SameBits(products[r]));
      }
    });
  }

  template <typename T>
  static void ColumnSumsEqualThePlainLoops() {
    const auto& kernels = NipalsKernels<T>::Current();
    ForEachShape<T>([&](std::size_t size, std::size_t misalignment) {
      for (const auto& [gaps, anew] : {std::pair{0.0, false}, {0.0, true}, {0.3, false}}) {
        constexpr std::size_t kRows = 14;  // eight together, four, and one by one
        const std::size_t first = size / 5;
        const auto t = plain::RandomElements<T>(kRows, 5);
        const auto weights = plain::RandomElements<T>(kRows, 6);
        std::vector<Guarded<T>> guarded;
        std::vector<double> sums(size, 0.25);
        std::vector<double> weightSums(size, 0.5);
        const T* rows[kRows];
        std::vector<std::vector<T>> values;
        for (std::size_t r = 0; r < kRows; ++r) {
          values.push_back(plain::RandomElements<T>(size, static_cast<unsigned>(r), gaps));
          guarded.emplace_back(values.back(), misalignment);
        }
        for (std::size_t r = 0; r < kRows; ++r) rows[r] = guarded[r].get();
        const detail::RowsAhead<T> ahead{rows, kRows};
        for (std::size_t r = 0; r < kRows; ++r) {
          for (std::size_t j = 0; j < size; ++j) {
            const T x = values[r][j];
            if (!plain::Present(x) || j < first) continue;
            if (anew && r == 0) sums[j] = 0.0;
            sums[j] += plain::Rounded(x, t[r]);
            weightSums[j] += static_cast<double>(weights[r]);
          }
        }
        Guarded<double> actual(std::vector<double>(size, 0.25), 0);
        Guarded<double> actualWeights(std::vector<double>(size, 0.5), 0);
        const int from = static_cast<int>(first);
        const int n = static_cast<int>(size - first);
        if (gaps > 0.0) {
          kernels.addRowsWithGaps(rows, t.data(), weights.data(), kRows, from, n, ahead, actual.get() + first,
                                  actualWeights.get() + first);
        } else {
          kernels.addRows(rows, t.data(), kRows, from, n, ahead, anew, actual.get() + first);
        }
        for (std::size_t j = 0; j < size; ++j) {
          EXPECT_THAT(actual.get()[j], SameBits(sums[j])) << j << " of " << size;
          if (gaps > 0.0) {
            EXPECT_THAT(actualWeights.get()[j], SameBits(weightSums[j])) << j << " of " << size;
          }
        }
        EXPECT_TRUE(actual.GuardsHold(size) && actualWeights.GuardsHold(size));
      }
    });
  }

  /// Eleven rows: some are added together, the rest one by one.
  template <typename T>
  static void SumsAboutCentresEqualThePlainLoops() {
    const auto& kernels = ColumnSumKernels<T>::Current();
    ForEachShape<T>([&](std::size_t size, std::size_t misalignment) {
      for (const double gaps : {0.0, 0.3}) {
        SCOPED_TRACE(::testing::Message() << size << " columns, gaps " << gaps);
        constexpr std::size_t kRows = 11;
        const auto about = plain::RandomElements<double>(size, 50);
        const auto y = plain::RandomElements<double>(kRows, 51);
        std::vector<Guarded<T>> guarded;
        std::vector<std::vector<double>> expected(5, std::vector<double>(size, 0.25));
        for (std::size_t r = 0; r < kRows; ++r) {
          const auto row = plain::RandomElements<T>(size, static_cast<unsigned>(r), gaps);
          guarded.emplace_back(row, misalignment);
          for (std::size_t j = 0; j < size; ++j) {
            if (!plain::Present(row[j])) continue;
            const double difference = static_cast<double>(row[j]) - about[j];
            expected[0][j] += static_cast<double>(row[j]);
            expected[1][j] += difference * difference;
            expected[2][j] += difference * y[r];
            expected[3][j] += difference * difference;
            expected[4][j] += y[r] * y[r];
          }
        }
        std::vector<const T*> rows;
        for (auto& row : guarded) rows.push_back(row.get());
        std::vector<Guarded<double>> sums(5, Guarded<double>(std::vector<double>(size, 0.25), 0));
        const int n = static_cast<int>(size);
        kernels.addElements(rows.data(), kRows, n, gaps > 0.0, sums[0].get());
        kernels.addSquaresAbout(rows.data(), kRows, n, gaps > 0.0, about.data(), sums[1].get());
        for (std::size_t r = 0; r < kRows; ++r) {
          if (gaps > 0.0) {
            kernels.addProductsWithGaps(rows[r], y[r], n, about.data(), sums[2].get(), sums[3].get(), sums[4].get());
          } else {
            kernels.addProducts(rows[r], y[r], n, about.data(), sums[2].get(), sums[3].get());
          }
        }
        for (std::size_t k = 0; k < (gaps > 0.0 ? 5 : 4); ++k) {
          for (std::size_t j = 0; j < size; ++j)
            EXPECT_THAT(sums[k].get()[j], SameBits(expected[k][j])) << k << ", " << j;
          EXPECT_TRUE(sums[k].GuardsHold(size));
        }
      }
    });
  }

  template <typename T>
  static void DeflationEqualsThePlainLoop() {
    const auto& kernels = NipalsKernels<T>::Current();
    ForEachShape<T>([&](std::size_t size, std::size_t misalignment) {
      for (const double gaps : {0.0, 0.3}) {
        const auto x = plain::RandomElements<T>(size, 1, gaps);
        const auto b = plain::RandomElements<T>(size, 2);
        Guarded<T> row(x, misalignment);
        kernels.addScaled(row.get(), T{0.7f}, b.data(), static_cast<int>(size), gaps > 0.0);
        for (std::size_t j = 0; j < size; ++j) {
          const T product = static_cast<T>(plain::Rounded(T{0.7f}, b[j]));
          EXPECT_THAT(row.get()[j], SameBits(plain::Present(x[j]) ? x[j] + product : x[j])) << j << " of " << size;
        }
        EXPECT_TRUE(row.GuardsHold(size));
      }
    });
  }

  /// Eleven rows: some together, the rest one by one.
  template <typename T>
  static void DeflationWithSquaresEqualsThePlainLoops() {
    const auto& kernels = DeflationKernels<T>::Current();
    ForEachShape<T>([&](std::size_t size, std::size_t misalignment) {
      for (const double gaps : {0.0, 0.3}) {
        SCOPED_TRACE(::testing::Message() << size << " columns, gaps " << gaps);
        constexpr std::size_t kRows = 11;
        auto p = plain::RandomElements<T>(size, 2);
        auto factors = plain::RandomElements<T>(kRows, 3);
        factors[9] = T{-1};
        if (size > 0) p.back() = T{0.5};
        std::vector<Guarded<T>> guarded;
        std::vector<std::vector<T>> expected;
        std::vector<double> sums(size, 0.25);
        for (std::size_t r = 0; r < kRows; ++r) {
          auto row = plain::RandomElements<T>(size, static_cast<unsigned>(r), gaps);
          if (r == 9 && size > 0) row.back() = plain::kGap<T> + T{0.5};  // falls on the marker
          guarded.emplace_back(row, misalignment + r % 3);
          for (std::size_t j = 0; j < size; ++j) {
            if (gaps > 0.0 && !plain::Present(row[j])) continue;
            row[j] += static_cast<T>(plain::Rounded(factors[r], p[j]));
            if (gaps > 0.0 && !plain::Present(row[j])) continue;
            sums[j] += static_cast<double>(row[j]) * static_cast<double>(row[j]);
          }
          expected.push_back(row);
        }
        std::vector<T*> rows;
        for (auto& row : guarded) rows.push_back(row.get());
        Guarded<double> actual(std::vector<double>(size, 0.25), 0);
        kernels.deflateAndSumSquares(rows.data(), factors.data(), kRows, p.data(), static_cast<int>(size), gaps > 0.0,
                                     actual.get());
        for (std::size_t j = 0; j < size; ++j) {
          EXPECT_THAT(actual.get()[j], SameBits(sums[j])) << j;
          for (std::size_t r = 0; r < kRows; ++r) EXPECT_THAT(rows[r][j], SameBits(expected[r][j])) << r << ", " << j;
        }
        for (auto& row : guarded) EXPECT_TRUE(row.GuardsHold(size));
        EXPECT_TRUE(actual.GuardsHold(size));
      }
    });
  }

  /// Each operation in every mode against a loop over single elements; the result may stand where an operand stood.
  template <typename T>
  static void ElementwiseEqualsThePlainLoops() {
    const auto& kernels = ElementwiseKernels<T>::Current();
    constexpr T kGap = plain::kGap<T>;
    const auto gapOr = [](bool gap, auto value) { return gap ? kGap : static_cast<T>(value); };
    ForEachShape<T>([&](std::size_t size, std::size_t misalignment) {
      for (const auto& [gapsA, gapsB] : GapShares()) {
        SCOPED_TRACE(::testing::Message() << size << " elements, gaps " << gapsA << " and " << gapsB);
        const auto a = plain::GridElements<T>(size, 1, gapsA);
        auto b = plain::GridElements<T>(size, 2, gapsB);
        const auto c = plain::GridElements<T>(size, 3, 0.0);
        if (size > 2) b[size / 2] = T{0};
        const int n = static_cast<int>(size);
        const GapMode mode = ModeOf(gapsA, gapsB);
        const bool hasGaps = gapsA > 0.0;
        const auto check = [&](const char* what, auto run, auto expected) {
          Guarded<T> out(a, misalignment);
          const int missing = run(out.get());
          int gaps = 0;
          for (std::size_t i = 0; i < size; ++i) {
            const T value = expected(i);
            EXPECT_THAT(out.get()[i], SameBits(value)) << what << ", element " << i;
            gaps += value == kGap ? 1 : 0;
          }
          if (missing >= 0) {
            EXPECT_EQ(missing, gaps) << what;
          }
          EXPECT_TRUE(out.GuardsHold(size)) << what;
        };
        const auto pair = [&](std::size_t i) { return a[i] == kGap || b[i] == kGap; };
        const auto wide = [&](std::size_t i) { return static_cast<double>(a[i]); };
        check(
            "add", [&](T* x) { return kernels.add(x, b.data(), x, n, mode); },
            [&](std::size_t i) { return gapOr(pair(i), a[i] + b[i]); });
        check(
            "subtract", [&](T* x) { return kernels.subtract(x, b.data(), x, n, mode); },
            [&](std::size_t i) { return gapOr(pair(i), a[i] - b[i]); });
        check(
            "multiply", [&](T* x) { return kernels.multiply(x, b.data(), x, n, mode); },
            [&](std::size_t i) { return gapOr(pair(i), a[i] * b[i]); });
        check(
            "divide", [&](T* x) { return kernels.divide(x, b.data(), x, n, mode); },
            [&](std::size_t i) { return b[i] == T{0} ? kGap : gapOr(pair(i), a[i] / b[i]); });
        check(
            "scale", [&](T* x) { return kernels.scale(x, 0.3, x, n, hasGaps); },
            [&](std::size_t i) { return gapOr(a[i] == kGap, wide(i) * 0.3); });
        check(
            "subtract a number", [&](T* x) { return kernels.subtractScalar(x, 0.3, x, n, hasGaps), -1; },
            [&](std::size_t i) { return gapOr(a[i] == kGap, wide(i) - 0.3); });
        check(
            "divide by a number", [&](T* x) { return kernels.divideByScalar(x, 0.3, x, n, hasGaps), -1; },
            [&](std::size_t i) { return gapOr(a[i] == kGap, wide(i) / 0.3); });
        check(
            "standardise", [&](T* x) { return kernels.standardise(x, 0.3, 0.7, x, n, hasGaps), -1; },
            [&](std::size_t i) { return gapOr(a[i] == kGap, (wide(i) - 0.3) / 0.7); });
        auto means = b;
        for (std::size_t i = 1; i < size; i += 5) means[i] = a[i] + T{99};  // differences on the marker
        check(
            "centre and scale", [&](T* x) { return kernels.centreAndScale(x, means.data(), c.data(), n), -1; },
            [&](std::size_t i) {
              const T centred = a[i] - means[i] == kGap ? T(-99.00001) : a[i] - means[i];
              return gapOr(a[i] == kGap, centred * c[i]);
            });
        check(
            "divide a number", [&](T* x) { return kernels.divideByElements(0.3, x, x, n, hasGaps), -1; },
            [&](std::size_t i) { return gapOr(a[i] == kGap, 0.3 / wide(i)); });
        check(
            "subtract a multiple", [&](T* x) { return kernels.subtractScaled(x, 0.3, b.data(), n, mode), -1; },
            [&](std::size_t i) { return gapOr(pair(i), wide(i) - 0.3 * static_cast<double>(b[i])); });
        check(
            "absolute value", [&](T* x) { return kernels.abs(x, n, hasGaps), -1; },
            [&](std::size_t i) { return gapOr(a[i] == kGap, std::abs(a[i])); });
        check(
            "count", [&](T* x) { return kernels.countMissing(x, n); }, [&](std::size_t i) { return a[i]; });
      }
    });
  }

 private:
  std::string before_;
};

TEST_P(Kernels, ElementwiseEqualsThePlainLoops) {
  ElementwiseEqualsThePlainLoops<float>();
  ElementwiseEqualsThePlainLoops<double>();
}

TEST_P(Kernels, ReductionsEqualThePlainLoops) {
  ReductionsEqualThePlainLoops<float>();
  ReductionsEqualThePlainLoops<double>();
}

TEST_P(Kernels, RowProductsEqualThePlainLoops) {
  RowProductsEqualThePlainLoops<float>();
  RowProductsEqualThePlainLoops<double>();
}

TEST_P(Kernels, ColumnSumsEqualThePlainLoops) {
  ColumnSumsEqualThePlainLoops<float>();
  ColumnSumsEqualThePlainLoops<double>();
}

TEST_P(Kernels, SumsAboutCentresEqualThePlainLoops) {
  SumsAboutCentresEqualThePlainLoops<float>();
  SumsAboutCentresEqualThePlainLoops<double>();
}

TEST_P(Kernels, DeflationEqualsThePlainLoop) {
  DeflationEqualsThePlainLoop<float>();
  DeflationEqualsThePlainLoop<double>();
  DeflationWithSquaresEqualsThePlainLoops<float>();
  DeflationWithSquaresEqualsThePlainLoops<double>();
}

TEST_P(Kernels, AGapBesideAnInfinityAddsNothing) {
  // 0 * inf would be a NaN: the product of a missing element must be dropped, not multiplied by zero.
  const float infinity = std::numeric_limits<float>::infinity();
  std::vector<float> p(40, infinity);
  std::vector<float> x(40, -99.0f);
  const float* row = x.data();
  double product;
  double squares;
  NipalsKernels<float>::Current().rowProductsWithGaps(&row, 1, p.data(), false, 40, {}, &product, &squares);
  EXPECT_EQ(product, 0.0);
  EXPECT_EQ(squares, 0.0);
}

TEST_P(Kernels, ANaNBesideAGapIsPresent) {
  std::vector<float> x(40, 1.0f);
  x[3] = -99.0f;
  x[5] = std::numeric_limits<float>::quiet_NaN();
  const float* const row = x.data();
  const std::vector<float> ones(40, 1.0f);
  const std::vector<double> zeros(40);
  const auto& reductions = ReductionKernels<float>::Current();
  EXPECT_TRUE(std::isnan(reductions.sum(row, 40, true)));
  EXPECT_TRUE(std::isnan(reductions.sumOfSquares(row, 40, true)));
  EXPECT_TRUE(std::isnan(reductions.sumOfSquaresAbout(row, 1.0, 40, true)));
  EXPECT_TRUE(std::isnan(reductions.pairSums(ones.data(), row, 40, detail::kSecondHasGaps).product));
  EXPECT_TRUE(std::isnan(reductions.pairSums(row, row, 40, detail::kBothHaveGaps).product));
  const auto& nipals = NipalsKernels<float>::Current();
  double product;
  double squares;
  nipals.rowProductsWithGaps(&row, 1, ones.data(), false, 40, {}, &product, &squares);
  EXPECT_TRUE(std::isnan(product));
  EXPECT_EQ(squares, 39.0);
  nipals.rowProductsWithGaps(&row, 1, row, true, 40, {}, &product, &squares);
  EXPECT_TRUE(std::isnan(squares));
  auto sums = zeros;
  auto weights = zeros;
  nipals.addRowsWithGaps(&row, ones.data(), ones.data(), 1, 0, 40, {}, sums.data(), weights.data());
  EXPECT_TRUE(std::isnan(sums[5]));
  EXPECT_EQ(weights[5], 1.0);
  sums = zeros;
  ColumnSumKernels<float>::Current().addElements(&row, 1, 40, true, sums.data());
  EXPECT_TRUE(std::isnan(sums[5]));
  EXPECT_EQ(sums[3], 0.0);
  std::vector<float> deflated = x;
  nipals.addScaled(deflated.data(), 1.0f, ones.data(), 40, true);
  EXPECT_TRUE(std::isnan(deflated[5]));
  EXPECT_EQ(deflated[3], -99.0f);
}

INSTANTIATE_TEST_SUITE_P(Targets, Kernels, ::testing::ValuesIn(SimdTarget::GetAvailable()),
                         [](const auto& target) { return target.param; });

/// The variable is read once in a process, so each case has one of its own.
TEST(SimdTargetDeathTest, TheEnvironmentChoosesTheSet) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const std::string worst = SimdTarget::GetAvailable().back();
  const auto nameIn = [](const std::string& wanted) {
    setenv("VORAN_SIMD", wanted.c_str(), 1);
    std::string name;
    try {
      ReductionKernels<float>::Current();
      name = SimdTarget::GetName();
    } catch (const InvalidArgument& error) {
      name = std::string("refused: ") + error.what();
    }
    std::fprintf(stderr, "%s", name.c_str());
    std::exit(0);
  };
  EXPECT_EXIT(nameIn(worst), ::testing::ExitedWithCode(0), worst);
  EXPECT_EXIT(nameIn("AVX9"), ::testing::ExitedWithCode(0), "refused: .*AVX9.*" + worst);
}

}  // namespace
