#include "voran/containers/svd.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <initializer_list>
#include <limits>
#include <memory>
#include <new>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/containers/container_values.h"
#include "tests/containers/failing_allocation.h"
#include "tests/containers/plain_reference.h"

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsNull;
using ::testing::NotNull;

template <typename T>
Rows<T> RandomRows(std::size_t m, std::size_t n, unsigned seed = 1) {
  Rows<T> rows;
  for (unsigned i = 0; i < m; ++i) rows.push_back(plain::RandomElements<T>(n, 1000 * seed + i));
  return rows;
}

template <typename T>
Rows<T> Diagonal(const std::vector<T>& values) {
  Rows<T> rows(values.size(), std::vector<T>(values.size()));
  for (std::size_t i = 0; i < values.size(); ++i) rows[i][i] = values[i];
  return rows;
}

template <typename T>
Rows<T> Hilbert(std::size_t n) {
  Rows<T> rows(n, std::vector<T>(n));
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = 0; j < n; ++j) rows[i][j] = static_cast<T>(1.0 / static_cast<double>(i + j + 1));
  }
  return rows;
}

template <typename T>
double Dot(const NCDataVector<T>& a, const NCDataVector<T>& b) {
  double sum = 0.0;
  for (int i = 1; i <= a.Size(); ++i) sum += static_cast<double>(a[i]) * static_cast<double>(b[i]);
  return sum;
}

template <typename T>
class Svd : public ::testing::Test {
 protected:
  using Decomposition = std::unique_ptr<NCSVD<T>>;

  static Decomposition Decompose(const Rows<T>& rows) { return Decomposition(Matrix(rows).GetSVD()); }

  /// A column takes part in some two rotations for each singular value and in a reflection or two, and each rounds its
  /// elements by a few units in the last place; twice the worst that was seen in some thousand matrices.
  static double Tolerance(int columns) { return 4.0 * (columns + 2) * std::numeric_limits<T>::epsilon(); }

  static void ExpectOrthonormal(const NCDataMatrix<T>& m, int columns) {
    for (int a = 1; a <= columns; ++a) {
      for (int b = a; b <= columns; ++b) {
        ASSERT_NEAR(Dot(m.GetColumn(a), m.GetColumn(b)), a == b ? 1.0 : 0.0, Tolerance(m.SizeColumns()))
            << a << ", " << b;
      }
    }
  }

  static void ExpectDecomposes(const NCSVD<T>& svd, const Rows<T>& a) {
    ASSERT_EQ(svd.GetStatus(), NCSVD<T>::Ok);
    const auto& u = *svd.GetU();
    const auto& v = *svd.GetV();
    const auto w = Elements(*svd.GetW());
    const int m = static_cast<int>(a.size());
    const int n = static_cast<int>(a[0].size());
    ASSERT_THAT((std::vector<int>{u.SizeRows(), u.SizeColumns(), v.SizeRows(), v.SizeColumns()}),
                ElementsAre(m, n, n, n));
    ASSERT_EQ(std::ssize(w), n);
    EXPECT_TRUE(std::is_sorted(w.rbegin(), w.rend())) << "descending";
    EXPECT_GE(w.back(), T{0});
    EXPECT_EQ(u.GetNumMisVal() + v.GetNumMisVal() + svd.GetW()->GetNumMisVal(), 0);
    ExpectOrthonormal(v, n);
    ExpectOrthonormal(u, std::min(m, n));
    const double tolerance = Tolerance(n) * static_cast<double>(w[0]) + std::numeric_limits<T>::denorm_min();
    for (int i = 1; i <= m; ++i) {
      for (int j = 1; j <= n; ++j) {
        double sum = 0.0;
        for (int k = 1; k <= n; ++k) {
          sum += static_cast<double>(u[i][k]) * static_cast<double>((*svd.GetW())[k]) * static_cast<double>(v[j][k]);
        }
        ASSERT_NEAR(sum, a[static_cast<std::size_t>(i - 1)][static_cast<std::size_t>(j - 1)], tolerance)
            << i << ", " << j << " of " << m << " x " << n;
      }
    }
  }

  static Rows<T> WithEqualColumns(std::size_t m, std::size_t n) {
    auto rows = RandomRows<T>(m, n);
    for (auto& row : rows) row[n / 2] = row[2];
    return rows;
  }
};

using ElementTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Svd, ElementTypes);

TYPED_TEST(Svd, MultipliesBackToTheMatrixFromOrthonormalFactors) {
  using T = TypeParam;
  for (const auto& [m, n] : {std::pair{1, 1}, {5, 1}, {1, 5}, {2, 2}, {7, 4}, {4, 7}, {40, 40}, {150, 33}, {33, 150}}) {
    for (unsigned seed = 1; seed <= 5; ++seed) {
      const auto rows = RandomRows<T>(static_cast<std::size_t>(m), static_cast<std::size_t>(n), seed);
      this->ExpectDecomposes(*this->Decompose(rows), rows);
    }
  }
}

TYPED_TEST(Svd, KeepsInRangeWhatIsGradedHugeOrSingular) {
  using T = TypeParam;
  const T most = std::numeric_limits<T>::max();
  const auto scaled = [](double from, double to) {
    auto rows = RandomRows<T>(9, 6);
    for (std::size_t i = 0; i < rows.size(); ++i) {
      for (T& x : rows[i]) x *= static_cast<T>(std::pow(10.0, from + (to - from) * static_cast<double>(i) / 8.0));
    }
    return rows;
  };
  auto withZeros = RandomRows<T>(6, 5);
  withZeros[2].assign(5, T{0});
  for (auto& row : withZeros) row[3] = T{0};
  const std::vector<Rows<T>> cases = {scaled(-30, 30),
                                      scaled(30, -30),
                                      scaled(-20, -20),
                                      {{most / 4, -most / 4}, {most / 8, most / 3}},
                                      Rows<T>(4, std::vector<T>(3)),
                                      {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}},
                                      this->WithEqualColumns(20, 10),
                                      withZeros,
                                      Diagonal<T>({-2, 5, 0, 3}),
                                      // a zero inside a bidiagonal, with a whole row to rotate away
                                      {{1, 2, 0, 0}, {0, 0, 3, 0}, {0, 0, 4, 5}, {0, 0, 0, 6}}};
  for (const auto& rows : cases) this->ExpectDecomposes(*this->Decompose(rows), rows);
}

TYPED_TEST(Svd, EqualValuesKeepTheirOrder) {
  using T = TypeParam;
  const auto svd = this->Decompose(Diagonal<T>({2, 3, 3, 2}));
  EXPECT_THAT(Elements(*svd->GetW()), ElementsAre(3, 3, 2, 2));
  const int from[] = {2, 3, 1, 4};
  for (int k = 1; k <= 4; ++k) {
    EXPECT_EQ(std::abs((*svd->GetV())[from[k - 1]][k]), T{1}) << k;
    EXPECT_EQ(std::abs((*svd->GetU())[from[k - 1]][k]), T{1}) << k;
  }
}

TYPED_TEST(Svd, WhatIsNextToNothingBesideTheLargestIsZero) {
  using T = TypeParam;
  const auto least = [&](double largest, double small) {
    const auto rows = Diagonal<T>({static_cast<T>(small), static_cast<T>(largest)});
    return static_cast<double>((*this->Decompose(rows)->GetW())[2]);
  };
  EXPECT_NEAR(least(1.0, 1e-15) / 1e-15, 1.0, 1e-6);
  EXPECT_EQ(least(1.0, 0.9e-16), 0.0);
  EXPECT_EQ(least(1e4, 0.9e-12), 0.0);
  EXPECT_EQ(least(1e-30, 1.1e-38), 0.0) << "below the least normal float, in double as well";
  EXPECT_GT(least(1e-30, 1.2e-38), 0.0);
  if constexpr (std::is_same_v<T, double>) {
    EXPECT_EQ(least(1e60, 0.9e44), 0.0);
    EXPECT_NEAR(least(1e60, 1.1e44), 1.1e44, 1e30) << "where the threshold exceeds a float";
  }
}

TYPED_TEST(Svd, ASingularMatrixHasNoConditionNumberDeterminantOrInverse) {
  using T = TypeParam;
  const std::vector<Rows<T>> cases = {{{1, 2}, {2, 4}},
                                      {{1, 2}, {0, 0}},
                                      {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}},
                                      {{5, 0, 0}, {0, 1, 2}, {0, 2, 4}},
                                      {{1, 0, 2}, {3, 0, 4}, {5, 0, 7}},
                                      this->WithEqualColumns(60, 20),
                                      RandomRows<T>(3, 4),
                                      {{0}}};
  for (const auto& rows : cases) {
    const auto svd = this->Decompose(rows);
    EXPECT_EQ(svd->GetConditionNumber(), T{-99});
    EXPECT_EQ(svd->GetLogDeterminant(), T{0});
    EXPECT_THAT(svd->GetInverse(1e30f), IsNull());
    const std::unique_ptr<NCDataMatrix<T>> unchecked(svd->GetInverse(-99.0f));
    ASSERT_THAT(unchecked, NotNull());
    EXPECT_FALSE(std::isfinite((*unchecked)[1][1])) << "divided by zero";
  }
}

TEST(SvdOfFloats, KeepsSmallValuesThatAreNoRounding) {
  // Hilbert 6 has condition number 1.495e7, near what rounding in float leaves of a zero; in double it is well within
  // reach. Rounding the elements to float moves it by a few per cent.
  auto mixedUnits = RandomRows<float>(200, 5);
  for (auto& row : mixedUnits) row[4] *= 1e-8f;
  for (const Rows<float>& rows : {Hilbert<float>(6), mixedUnits}) {
    Rows<double> wide;
    for (const auto& row : rows) wide.emplace_back(row.begin(), row.end());
    const std::unique_ptr<NCSVD<float>> narrow(Matrix(rows).GetSVD());
    const std::unique_ptr<NCSVD<double>> reference(Matrix(wide).GetSVD());
    ASSERT_EQ(narrow->GetStatus(), NCSVD<float>::Ok);
    for (int k = 1; k <= narrow->GetW()->Size(); ++k) {
      EXPECT_NEAR((*narrow->GetW())[k] / (*reference->GetW())[k], 1.0, 1e-6) << k;
    }
  }
}

TYPED_TEST(Svd, ConditionNumberAndDeterminantOfARegularMatrix) {
  using T = TypeParam;
  const auto svd = this->Decompose(Hilbert<T>(3));
  const double share = 524.0567775860644 * std::numeric_limits<T>::epsilon();  // relative error of the least value
  EXPECT_NEAR(svd->GetConditionNumber() / 524.0567775860644, 1.0, 4.0 * share);
  EXPECT_NEAR(svd->GetLogDeterminant(), -std::log10(2160.0), 4.0 * share);
}

TYPED_TEST(Svd, InverseTimesMatrixIsTheIdentity) {
  using T = TypeParam;
  for (const auto& [m, n] : {std::pair{1, 1}, {3, 3}, {20, 20}, {40, 19}}) {
    const auto a = Matrix(RandomRows<T>(static_cast<std::size_t>(m), static_cast<std::size_t>(n)));
    const std::unique_ptr<NCSVD<T>> svd(a.GetSVD());
    const std::unique_ptr<NCDataMatrix<T>> inverse(svd->GetInverse(1e4f));
    ASSERT_THAT(inverse, NotNull());
    ASSERT_EQ(inverse->SizeRows(), n);
    ASSERT_EQ(inverse->SizeColumns(), m);
    EXPECT_EQ(inverse->GetNumMisVal(), 0);
    const double tolerance = this->Tolerance(n) * static_cast<double>(svd->GetConditionNumber());
    for (int i = 1; i <= n; ++i) {
      for (int j = 1; j <= n; ++j) EXPECT_NEAR(Dot((*inverse)[i], a.GetColumn(j)), i == j ? 1 : 0, tolerance);
    }
  }
}

TYPED_TEST(Svd, AnInverseIsRefusedAboveTheConditionNumberAsked) {
  using T = TypeParam;
  const auto svd = this->Decompose(Diagonal<T>({8, 2, 4}));  // condition number 4
  for (const float limit : {4.0f, 1e10f, -99.0f}) {
    const std::unique_ptr<NCDataMatrix<T>> inverse(svd->GetInverse(limit));
    ASSERT_THAT(inverse, NotNull()) << limit;
    EXPECT_THAT(Elements(*inverse), ElementsAreArray(Diagonal<T>({T{0.125}, T{0.5}, T{0.25}})));
  }
  for (const float limit : {3.9f, 0.0f, -98.0f}) EXPECT_THAT(svd->GetInverse(limit), IsNull()) << limit;
}

TYPED_TEST(Svd, RemovingZerosKeepsTheFirstOfThem) {
  using T = TypeParam;
  const struct {
    std::vector<T> diagonal;
    std::vector<T> kept;
  } cases[] = {{{5, 0, 3, 0, 0}, {5, 3, 0}}, {{5, 3, 0}, {5, 3, 0}}, {{5, 3}, {5, 3}}, {{0, 0, 0}, {0}}};
  for (const auto& [diagonal, kept] : cases) {
    const auto svd = this->Decompose(Diagonal(diagonal));
    const auto u = Elements(*svd->GetU());
    svd->RemoveZeroSingularValues();
    EXPECT_THAT(Elements(*svd->GetW()), ElementsAreArray(kept));
    for (const auto* m : {svd->GetU(), svd->GetV()}) {
      EXPECT_EQ(m->SizeRows(), std::ssize(diagonal));
      EXPECT_EQ(m->SizeColumns(), std::ssize(kept));
    }
    for (std::size_t i = 0; i < u.size(); ++i) {
      const auto& row = (*svd->GetU())[static_cast<int>(i) + 1];
      EXPECT_TRUE(std::equal(row.begin(), row.end(), u[i].begin())) << "row " << i;
    }
    if (kept.size() < diagonal.size()) {
      EXPECT_THAT(svd->GetInverse(1e30f), IsNull()) << "V is not square";
    }
  }
}

TYPED_TEST(Svd, AFailureLeavesNothingButTheStatus) {
  using T = TypeParam;
  using Status = typename NCSVD<T>::Status;
  const T infinity = std::numeric_limits<T>::infinity();
  const T nan = std::numeric_limits<T>::quiet_NaN();
  auto oneNan = RandomRows<T>(300, 100);
  oneNan[299][99] = nan;
  const Rows<T> tooLarge(4, std::vector<T>(4, std::numeric_limits<T>::max()));
  const std::pair<Rows<T>, Status> cases[] = {{{{1, 2}, {3, -99}}, NCSVD<T>::MissingValues},
                                              {{{nan, -99}}, NCSVD<T>::MissingValues},
                                              {{{1, infinity}}, NCSVD<T>::NotConverged},
                                              {{{1, 2}, {nan, 4}}, NCSVD<T>::NotConverged},
                                              {tooLarge, NCSVD<T>::NotConverged},
                                              {oneNan, NCSVD<T>::NotConverged}};
  for (const auto& [rows, status] : cases) {
    auto matrix = Matrix(rows);  // stays ours
    for (const auto& svd :
         {std::shared_ptr<NCSVD<T>>(matrix.GetSVD()), std::shared_ptr<NCSVD<T>>(matrix.TransformToSVD())}) {
      svd->RemoveZeroSingularValues();
      EXPECT_EQ(svd->GetStatus(), status);
      EXPECT_THAT(svd->GetU(), IsNull());
      EXPECT_THAT(svd->GetV(), IsNull());
      EXPECT_THAT(svd->GetW(), IsNull());
      EXPECT_THAT(svd->GetInverse(-99.0f), IsNull());
      EXPECT_EQ(svd->GetConditionNumber(), T{-99});
      EXPECT_EQ(svd->GetLogDeterminant(), T{0});
    }
  }
}

TYPED_TEST(Svd, EmptyMatrices) {
  using T = TypeParam;
  const std::unique_ptr<NCSVD<T>> nothing(NCDataMatrix<T>().GetSVD());
  EXPECT_EQ(nothing->GetStatus(), NCSVD<T>::Ok);
  EXPECT_EQ(nothing->GetConditionNumber(), T{-99});
  nothing->RemoveZeroSingularValues();
  const std::unique_ptr<NCSVD<T>> noRows(NCDataMatrix<T>(0, 3, T{0}).GetSVD());
  EXPECT_THAT(Elements(*noRows->GetW()), ElementsAre(0, 0, 0));
  EXPECT_THAT(Elements(*noRows->GetV()), ElementsAreArray(Diagonal<T>({1, 1, 1})));
}

TYPED_TEST(Svd, TheResultOwnsTheMatrixThatBecameU) {
  using T = TypeParam;
  const auto rows = RandomRows<T>(6, 4);
  auto matrix = std::make_unique<NCDataMatrix<T>>(Matrix(rows));
  const NCDataMatrix<T> sharer(*matrix);
  const std::unique_ptr<NCSVD<T>> fromCopy(matrix->GetSVD());
  EXPECT_EQ(Elements(*matrix), rows);
  const NCDataMatrix<T>* const address = matrix.get();
  const std::unique_ptr<NCSVD<T>> svd(matrix.release()->TransformToSVD());
  EXPECT_EQ(svd->GetU(), address);
  EXPECT_EQ(Elements(sharer), rows);
  EXPECT_EQ(Elements(*svd->GetU()), Elements(*fromCopy->GetU()));
}

TYPED_TEST(Svd, AFailedAllocationLeaksNothingAndTakesNothing) {
  using T = TypeParam;
  if (!FailingAllocation::IsAvailable()) GTEST_SKIP();
  /// Calls work with the k-th allocation failing, for every k, until none does; returns how many did.
  const auto failEach = [](const std::function<void()>& work) {
    for (int k = 1;; ++k) {
      try {
        const FailingAllocation failing(k);
        work();
        return k - 1;
      } catch (const std::bad_alloc&) {
      }
    }
  };
  const auto source = Matrix(Diagonal<T>({5, 0, 0, 3, 0}));
  std::unique_ptr<NCSVD<T>> svd;
  std::unique_ptr<NCDataMatrix<T>> given;
  EXPECT_GT(failEach([&] {
              given = std::make_unique<NCDataMatrix<T>>(source);
              svd.reset(given->TransformToSVD());
              static_cast<void>(given.release());
            }),
            20);

  std::unique_ptr<NCDataMatrix<T>> inverse;
  EXPECT_GT(failEach([&] { inverse.reset(svd->GetInverse(-99.0f)); }), 3);
  EXPECT_GT(failEach([&] {
              EXPECT_EQ(svd->GetW()->Size() + svd->GetU()->SizeColumns() + svd->GetV()->SizeColumns(), 15);
              svd->RemoveZeroSingularValues();
            }),
            3);
  EXPECT_THAT(Elements(*svd->GetW()), ElementsAre(5, 3, 0));
}

}  // namespace
