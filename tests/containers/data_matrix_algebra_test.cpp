#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/containers/container_values.h"
#include "tests/containers/plain_reference.h"
#include "voran/containers/data_matrix.h"
#include "voran/platform/nc_error.h"

namespace {

template <typename T>
class MatrixAlgebra : public ::testing::Test {
 protected:
  static Rows<T> GridRows(std::size_t rows, std::size_t columns, unsigned seed, double gaps = 0.0) {
    Rows<T> result;
    for (unsigned i = 0; i < rows; ++i) result.push_back(plain::GridElements<T>(columns, seed * 100 + i, gaps));
    return result;
  }

  /// Largest element of |a b - 1|.
  static double DistanceFromIdentity(const Rows<T>& a, const Rows<T>& b) {
    double largest = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
      for (std::size_t j = 0; j < a.size(); ++j) {
        double sum = i == j ? -1.0 : 0.0;
        for (std::size_t k = 0; k < a.size(); ++k) sum += static_cast<double>(a[i][k]) * static_cast<double>(b[k][j]);
        largest = std::max(largest, std::abs(sum));
      }
    }
    return largest;
  }
};

using ElementTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(MatrixAlgebra, ElementTypes);

TYPED_TEST(MatrixAlgebra, SumsKeepTheCountsOfTheFirstAndDifferencesCountAfresh) {
  using T = TypeParam;
  for (const auto& [gapsA, gapsB] : {std::pair(0.0, 0.0), {0.3, 0.0}, {0.0, 0.3}, {0.3, 0.3}}) {
    const auto a = this->GridRows(7, 19, 1, gapsA);
    const auto b = this->GridRows(7, 19, 2, gapsB);
    Rows<T> sums = a;
    Rows<T> differences = a;
    for (std::size_t i = 0; i < a.size(); ++i) {
      sums[i] = Combined(a[i], b[i], std::plus<T>());
      differences[i] = Combined(a[i], b[i], std::minus<T>());
    }
    const NCDataMatrix<T> first = Matrix(a);
    const NCDataMatrix<T> second = Matrix(b);
    NCDataMatrix<T> added = first;
    added += second;
    for (const NCDataMatrix<T>& sum : {first + second, added}) {
      EXPECT_EQ(Elements(sum), sums);
      EXPECT_EQ(sum.GetNumMisVal(), first.GetNumMisVal());
      for (int j = 1; j <= 19; ++j) EXPECT_EQ(sum.GetColumnMisVal(j), first.GetColumnMisVal(j));
      for (const auto& row : sum) EXPECT_EQ(row.GetNumMisVal(), std::count(row.begin(), row.end(), plain::kGap<T>));
    }
    NCDataMatrix<T> subtracted = first;
    subtracted -= second;
    for (const NCDataMatrix<T>& difference : {first - second, subtracted}) {
      EXPECT_EQ(Elements(difference), differences);
      ExpectRightCounts(difference);
    }
    EXPECT_EQ(Elements(first), a) << "shared by every result at first";
    EXPECT_EQ(Elements(second), b);
  }
}

TYPED_TEST(MatrixAlgebra, AMatrixAddsAndSubtractsItself) {
  NCDataMatrix<TypeParam> m = Matrix<TypeParam>({{1, 2}, {-99, 4}});
  const NCDataMatrix<TypeParam>& itself = m;
  m += itself;
  EXPECT_EQ(Elements(m), Rows<TypeParam>({{2, 4}, {-99, 8}}));
  m -= itself;
  EXPECT_EQ(Elements(m), Rows<TypeParam>({{0, 0}, {-99, 0}}));
  ExpectRightCounts(m);
}

TYPED_TEST(MatrixAlgebra, EqualityComparesRowsAndNotSizes) {
  const auto m = Matrix<TypeParam>({{1, 2}, {3, 4}});
  const auto longer = Matrix<TypeParam>({{1, 2}, {3, 4}, {5, 6}});
  const NCDataMatrix<TypeParam> empty;
  EXPECT_TRUE(m == longer);
  EXPECT_TRUE(longer != m);
  EXPECT_TRUE(m != Matrix<TypeParam>({{1, 2}, {3, 5}}));
  EXPECT_TRUE(empty == m);
  EXPECT_TRUE(m != empty);
}

TYPED_TEST(MatrixAlgebra, TransposingExchangesElementsAndCounts) {
  using T = TypeParam;
  for (const auto& [rows, columns] : {std::pair(1u, 1u), {1u, 9u}, {9u, 1u}, {4u, 4u}, {40u, 17u}, {16u, 33u}}) {
    for (const double gaps : {0.0, 0.3, 1.0}) {
      const auto cells = this->GridRows(rows, columns, 1, gaps);
      NCDataMatrix<T> m = Matrix(cells);
      const NCDataMatrix<T> copy = m;
      EXPECT_EQ(&m.Transpose(), &m);
      EXPECT_EQ(Elements(m), Transposed(cells, columns));
      ExpectRightCounts(m);
      m(1, 1, T{77});
      EXPECT_EQ(Elements(copy), cells);
      m(1, 1, cells[0][0]);
      EXPECT_EQ(Elements(m.Transpose()), cells);
      ExpectRightCounts(m);
    }
  }
  NCDataMatrix<T> noRows(0, 3, T{0});
  EXPECT_EQ(Elements(noRows.Transpose()), Rows<T>(3));
  EXPECT_EQ(noRows.SizeColumns(), 0);
}

TYPED_TEST(MatrixAlgebra, AnInverseUndoesTheMatrix) {
  using T = TypeParam;
  for (const unsigned n : {1u, 2u, 3u, 17u, 60u}) {
    auto rows = this->GridRows(n, n, n);
    for (unsigned i = 0; i < n; ++i) {
      for (T& x : rows[i]) x *= static_cast<T>(1 + i % 5);                     // rows of different scale
      rows[i][(i + 1) % n] += static_cast<T>(8 * (1 + i % 5) * std::sqrt(n));  // far from singular, pivots off-diagonal
    }
    const NCDataMatrix<T> m = Matrix(rows);
    NCDataMatrix<T> inverse = m;
    EXPECT_TRUE(inverse.TransformToInverse());
    const double tolerance = (sizeof(T) == 4 ? 1e-6 : 1e-15) * 10.0 * n;
    EXPECT_LT(this->DistanceFromIdentity(rows, Elements(inverse)), tolerance) << n;
    EXPECT_LT(this->DistanceFromIdentity(Elements(inverse), rows), tolerance) << n;
    ExpectRightCounts(inverse);
    EXPECT_EQ(Elements(m), rows) << "shared until then";
  }
}

TYPED_TEST(MatrixAlgebra, KnownInverses) {
  using T = TypeParam;
  const T huge = static_cast<T>(std::pow(2.0, sizeof(T) == 4 ? 40 : 80));  // beside which a 1 is lost
  const std::pair<Rows<T>, Rows<T>> cases[] = {
      {{{0, 2, 0}, {0, 0, 4}, {8, 0, 0}}, {{0, 0, 0.125}, {0.5, 0, 0}, {0, 0.25, 0}}},
      {{{2, 1}, {1, 1}}, {{1, -1}, {-1, 2}}},
      // pivots are chosen relative to their rows
      {{{0, 2, huge}, {0, 1, 1}, {1, 0, 0}}, {{0, 0, 1}, {-1 / huge, 1, 0}, {1 / huge, -2 / huge, 0}}},
      {{}, {}}};
  for (const auto& [rows, expected] : cases) {
    NCDataMatrix<T> m = Matrix(rows);
    EXPECT_TRUE(m.TransformToInverse());
    EXPECT_EQ(Elements(m), expected);
  }
}

TYPED_TEST(MatrixAlgebra, AResultGoesToTheDestinationThatIsNamed) {
  using T = TypeParam;
  const NCDataMatrix<T> a = Matrix<T>({{1, 2}, {3, 4}});
  NCDataMatrix<T> m;
  m.Result(&m) = a + a;
  EXPECT_EQ(Elements(m), Rows<T>({{2, 4}, {6, 8}}));
  NCDataVector<T> v;
  v.Result(&v) = a[1] + a[2];
  EXPECT_EQ(Elements(v), std::vector<T>({4, 6}));
  EXPECT_THROW(m.Result(nullptr), NCError);
  EXPECT_THROW(v.Result(nullptr), NCError);
}

TYPED_TEST(MatrixAlgebra, ARowOfZerosHasNoInverseAndOtherSingularMatricesAHugeOne) {
  NCDataMatrix<TypeParam> zeroRow = Matrix<TypeParam>({{1, 2}, {0, 0}});
  EXPECT_FALSE(zeroRow.TransformToInverse());
  EXPECT_EQ(zeroRow.SizeRows(), 2);
  EXPECT_EQ(zeroRow.SizeColumns(), 2);
  EXPECT_EQ(zeroRow.GetNumMisVal(), 0);
  NCDataMatrix<TypeParam> singular = Matrix<TypeParam>({{1, 2}, {2, 4}});
  EXPECT_TRUE(singular.TransformToInverse());
  const double expected[2][2] = {{-2e20, 1e20}, {1e20, -0.5e20}};  // the pivot is the last of two equal candidates
  for (int k = 0; k < 4; ++k) EXPECT_NEAR(singular[k / 2 + 1][k % 2 + 1] / expected[k / 2][k % 2], 1.0, 1e-5);
}

TYPED_TEST(MatrixAlgebra, RegressionFindsTheLineAndThePlane) {
  using T = TypeParam;
  const NCDataMatrix<T> a = Matrix<T>({{1, 1, 1, 1, 1}, {0, 1, 2, 3, 4}, {1, 0, 2, 0, 1}});
  const NCDataMatrix<T> y = Matrix<T>({{4, 5, 12, 11, 16}, {1, 1, 1, 1, 1}});  // 2 + 3 x + 2 z, and 1
  const NCDataMatrix<T> coefficients = a.GetRegressionCoefficients(y);
  const double expected[3][2] = {{2, 1}, {3, 0}, {2, 0}};
  ASSERT_EQ(coefficients.SizeRows(), 3);
  ASSERT_EQ(coefficients.SizeColumns(), 2);
  for (int k = 0; k < 6; ++k) {
    EXPECT_NEAR(coefficients[k / 2 + 1][k % 2 + 1], expected[k / 2][k % 2], sizeof(T) == 4 ? 2e-5 : 1e-13);
  }
  EXPECT_EQ(a[2][5], T{4}) << "the operands stay";
}

TYPED_TEST(MatrixAlgebra, RegressionDoesNotLookAtWhetherItsInverseExists) {
  const NCDataMatrix<TypeParam> a = Matrix<TypeParam>({{1, 2, 3}, {0, 0, 0}});
  const NCDataMatrix<TypeParam> coefficients = a.GetRegressionCoefficients(a);
  EXPECT_EQ(coefficients.SizeRows(), 2);
  EXPECT_EQ(coefficients.SizeColumns(), 2);
}

TYPED_TEST(MatrixAlgebra, RegressionRefusesGaps) {
  const NCDataMatrix<TypeParam> complete = Matrix<TypeParam>({{1, 2}});
  const NCDataMatrix<TypeParam> gapped = Matrix<TypeParam>({{1, -99}});
  EXPECT_THROW(complete.GetRegressionCoefficients(gapped), NCInternalError);
  EXPECT_THROW(gapped.GetRegressionCoefficients(complete), NCInternalError);
}

}  // namespace
