#include <algorithm>
#include <cmath>
#include <cstddef>
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
#include "voran/containers/data_matrix.h"
#include "voran/containers/simd_target.h"
#include "voran/platform/threading_control.h"

namespace {

using NCMultiThreading::ThreadingControl;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

/// A matrix that knows its shape even without rows or columns.
template <typename T>
struct Table {
  Table(std::size_t rowCount, std::size_t columnCount, unsigned seed, double gapShare)
      : rows(rowCount), columns(columnCount) {
    for (unsigned i = 0; i < rowCount; ++i) {
      cells.push_back(plain::RandomElements<T>(columnCount, seed * 1000 + i, gapShare));
    }
  }
  NCDataMatrix<T> ToMatrix() const {
    return rows == 0 ? NCDataMatrix<T>(0, static_cast<int>(columns), T{0}) : Matrix(cells);
  }
  Table Transposed() const {
    Table t(columns, rows, 0, 0.0);
    t.cells = ::Transposed(cells, columns);
    return t;
  }

  std::size_t rows;
  std::size_t columns;
  Rows<T> cells;
};

/// A B as a triple loop: each element one sum over its pairs, in their order.
template <typename T>
Rows<T> PlainProduct(const Table<T>& a, const Table<T>& b, bool keepMissing) {
  Rows<T> result(a.rows, std::vector<T>(b.columns));
  for (std::size_t i = 0; i < a.rows; ++i) {
    for (std::size_t j = 0; j < b.columns; ++j) {
      double sum = 0.0;
      bool anyPair = a.columns == 0;  // a sum over no terms at all is 0
      for (std::size_t k = 0; k < a.columns; ++k) {
        if (!plain::Present(a.cells[i][k]) || !plain::Present(b.cells[k][j])) continue;
        sum += plain::Rounded(a.cells[i][k], b.cells[k][j]);
        anyPair = true;
      }
      result[i][j] = anyPair || !keepMissing ? static_cast<T>(sum) : plain::kGap<T>;
    }
  }
  return result;
}

template <typename T>
void ExpectSame(const NCDataMatrix<T>& actual, const Rows<T>& expected) {
  ASSERT_EQ(actual.SizeRows(), std::ssize(expected));
  const auto isSame = [](T a, T e) { return a == e || (std::isnan(a) && std::isnan(e)); };
  for (int i = 1; i <= actual.SizeRows(); ++i) {
    ASSERT_TRUE(std::ranges::equal(actual[i], expected[static_cast<std::size_t>(i) - 1], isSame)) << "row " << i;
  }
  ExpectRightCounts(actual);
}

/// The four products of a and b by way of their transposes, against the triple loop.
template <typename T>
void ExpectProductsOf(const Table<T>& a, const Table<T>& b) {
  const NCDataMatrix<T> left[] = {a.ToMatrix(), a.Transposed().ToMatrix()};
  const NCDataMatrix<T> right[] = {b.ToMatrix(), b.Transposed().ToMatrix()};
  const Rows<T> kept = PlainProduct(a, b, true);
  const Rows<T> filled = PlainProduct(a, b, false);
  for (unsigned form = 0; form < 8; ++form) {
    const bool transposeLeft = (form & 1) != 0;
    const bool transposeRight = (form & 2) != 0;
    const bool keepMissing = (form & 4) != 0;
    SCOPED_TRACE(::testing::Message() << a.rows << " x " << a.columns << " by " << b.columns << ", transposed "
                                      << transposeLeft << transposeRight << ", keepMissing " << keepMissing);
    const auto product =
        left[transposeLeft].MatrixMultiply(right[transposeRight], transposeLeft, transposeRight, keepMissing);
    const bool keepsAnyway = !transposeLeft && !transposeRight;
    ExpectSame(product, keepMissing || keepsAnyway ? kept : filled);
  }
  ExpectSame(left[0] * right[0], kept);
}

template <typename T>
class MatrixProducts : public ::testing::Test {
 protected:
  void TearDown() override {
    SimdTarget::Set(target_);
    ThreadingControl::Reset();
  }

 private:
  const std::string target_ = SimdTarget::GetName();
};

using ElementTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(MatrixProducts, ElementTypes);

struct Shape {
  std::size_t rows, terms, columns;
};

TYPED_TEST(MatrixProducts, EqualTheTripleLoopWithEverySetOfInstructions) {
  using T = TypeParam;
  // Nothing, one, around tiles, blocks and stretches of terms; few columns beside many rows.
  const Shape shapes[] = {{0, 3, 2},   {3, 0, 2},     {3, 2, 0},    {1, 1, 1},  {1, 9, 1},
                          {4, 5, 8},   {5, 4, 9},     {3, 2, 7},    {8, 1, 4},  {2, 64, 17},
                          {7, 65, 16}, {129, 3, 130}, {6, 513, 33}, {20, 9, 5}, {137, 70, 3}};
  const std::pair<double, double> gapShares[] = {{0.0, 0.0}, {0.3, 0.0}, {0.0, 0.3}, {0.8, 0.8}, {1.0, 0.0}};
  for (const std::string& target : SimdTarget::GetAvailable()) {
    SCOPED_TRACE(target);
    SimdTarget::Set(target);
    for (const Shape& shape : shapes) {
      for (const auto& [gapsA, gapsB] : gapShares) {
        ExpectProductsOf(Table<T>(shape.rows, shape.terms, 1, gapsA), Table<T>(shape.terms, shape.columns, 2, gapsB));
        if (this->HasFatalFailure()) return;
      }
    }
  }
}

TYPED_TEST(MatrixProducts, EqualTheTripleLoopOnSeveralThreads) {
  using T = TypeParam;
  ThreadingControl::SetThreadingIsOn(true);
  for (const Shape& shape : {Shape{1000, 1100, 4}, {5, 1100, 900}, {400, 70, 260}}) {
    for (const double gaps : {0.0, 0.5}) {
      const Table<T> a(shape.rows, shape.terms, 1, gaps);
      const Table<T> b(shape.terms, shape.columns, 2, gaps);
      const auto expected = PlainProduct(a, b, true);
      for (const int threads : {2, 7}) {
        ThreadingControl::SetNumberOfProcessors(threads);
        ExpectSame(a.ToMatrix() * b.ToMatrix(), expected);
      }
    }
  }
  const Table<T> table(300, 40, 3, 0.0);
  const NCDataMatrix<T> m = table.ToMatrix();
  ExpectSame(m.MatrixMultiply(m, false, true, true), PlainProduct(table, table.Transposed(), true));
}

TYPED_TEST(MatrixProducts, AGapHidesAnInfinityAndANaN) {
  using T = TypeParam;
  Table<T> a(9, 20, 1, 0.3);
  Table<T> b(20, 10, 2, 0.3);
  a.cells[2][5] = std::numeric_limits<T>::infinity();
  a.cells[7][0] = std::numeric_limits<T>::quiet_NaN();
  b.cells[11][3] = -std::numeric_limits<T>::infinity();
  for (const std::string& target : SimdTarget::GetAvailable()) {
    SimdTarget::Set(target);
    ExpectProductsOf(a, b);
  }
}

TYPED_TEST(MatrixProducts, OfAMatrixWithItselfAreFormedOnceForBothTriangles) {
  using T = TypeParam;
  for (const double gaps : {0.0, 0.4, 0.99}) {
    for (const std::size_t columns : {1u, 20u, 300u}) {
      const Table<T> table(13, columns, 3, gaps);
      const NCDataMatrix<T> m = table.ToMatrix();
      const auto expected = PlainProduct(table.Transposed(), table, true);
      ExpectSame(m.MatrixMultiply(m, true, false, true), expected);
      ExpectSame(m.MatrixMultiply(m, false, true, true), PlainProduct(table, table.Transposed(), true));
      NCDataMatrix<T> transformed = m;
      ExpectSame(transformed.TransformToMprim_mul_M(), expected);
    }
  }
  NCDataMatrix<T> noRows(0, 3, T{0});
  ExpectSame(noRows.TransformToMprim_mul_M(), Rows<T>(3, std::vector<T>(3, T{0})));
}

TYPED_TEST(MatrixProducts, ASumOnTheMarkerCountsAsMissingOnlyWhereSpecified) {
  using M = NCDataMatrix<TypeParam>;
  const M complete = Matrix<TypeParam>({{9}, {1}});
  const M gapped = Matrix<TypeParam>({{9, 0}, {-99, 1}});
  const M right = Matrix<TypeParam>({{-11}, {0}});
  const M transposedRight = Matrix<TypeParam>({{-11, 0}});
  EXPECT_EQ((complete * Matrix<TypeParam>({{-11}})).GetNumMisVal(), 0);
  const M counted = gapped * right;
  EXPECT_THAT(Elements(counted.GetColumn(1)), ElementsAre(-99, 0));
  ExpectRightCounts(counted);
  const M raw = gapped.MatrixMultiply(transposedRight, false, true, true);
  EXPECT_EQ(raw[1][1], -99);
  EXPECT_EQ(raw.GetNumMisVal(), 0);
  M square = Matrix<TypeParam>({{9, -11}, {-99, 0}});
  ExpectRightCounts(square.TransformToMprim_mul_M());
  EXPECT_EQ(square.GetNumMisVal(), 2);
}

TYPED_TEST(MatrixProducts, TheResultMayBeOrShareAnOperand) {
  using T = TypeParam;
  for (const double gaps : {0.0, 0.2}) {
    const Table<T> a(6, 6, 1, gaps);
    const Table<T> b(6, 6, 2, gaps);
    const auto expected = PlainProduct(a, b, true);
    NCDataMatrix<T> left = a.ToMatrix();
    NCDataMatrix<T> right = b.ToMatrix();
    NCDataMatrix<T> shared = right;
    const NCDataMatrix<T> rows = right.GetRowSubMatrix(2, 3);
    left.MatrixMultiplyImpl(right, false, false, shared, true);
    ExpectSame(shared, expected);
    left.MatrixMultiplyImpl(right, false, false, right, true);
    ExpectSame(right, expected);
    EXPECT_THAT(Elements(rows[1]), ElementsAreArray(b.cells[1]));
    right = b.ToMatrix();
    left.MatrixMultiplyImpl(right, false, false, left, true);
    ExpectSame(left, expected);
  }
}

TYPED_TEST(MatrixProducts, MemoryThatRunsOutLeavesAllAsItWas) {
  if (!FailingAllocation::IsAvailable()) GTEST_SKIP();
  using T = TypeParam;
  using M = NCDataMatrix<T>;
  const Table<T> a(5, 5, 1, 0.2);
  const Table<T> b(5, 5, 2, 0.0);
  const M right = b.ToMatrix();
  const std::vector<std::function<void(M&)>> operations = {
      [&](M& m) { m.MatrixMultiplyImpl(right, false, true, m, true); },
      [&](M& m) { right.MatrixMultiplyImpl(right, false, false, m, true); },
      [](M& m) { m.TransformToMprim_mul_M(); },
      [](M& m) { m.TransformToInverse(); },
      [](M& m) { m.Transpose(); },
      [&](M& m) { m += right; },
      [&](M& m) { m -= right; },
      [&](M& m) { m = (m + right) * 2.0; }};
  for (std::size_t operation = 0; operation < operations.size(); ++operation) {
    SCOPED_TRACE(operation);
    EXPECT_GT(ExpectSafeWithoutMemory(a.cells, operations[operation], true, true), 3);
    ExpectSame(right, b.cells);
  }
}

TYPED_TEST(MatrixProducts, WithAVectorAreItsDotProducts) {
  using T = TypeParam;
  for (const auto& [matrixGaps, vectorGaps] : {std::pair(0.0, 0.0), {0.3, 0.0}, {0.0, 0.3}, {0.9, 0.9}}) {
    const Table<T> table(1100, 50, 5, matrixGaps);
    const auto v = plain::RandomElements<T>(50, 9, vectorGaps);
    std::vector<T> expected;
    for (const auto& row : table.cells) {
      plain::Accumulators<T> sum;
      int pairs = 0;
      for (std::size_t j = 0; j < row.size(); ++j) {
        if (!plain::Present(row[j]) || !plain::Present(v[j])) continue;
        sum.Add(j, static_cast<T>(plain::Rounded(row[j], v[j])));
        ++pairs;
      }
      expected.push_back(pairs == 0 ? plain::kGap<T> : sum.Sum());
    }
    const auto product = table.ToMatrix() * Vector(v);
    EXPECT_EQ(Elements(product), expected);
    EXPECT_EQ(product.GetNumMisVal(), std::count(expected.begin(), expected.end(), plain::kGap<T>));
  }
}

TYPED_TEST(MatrixProducts, WithANumberCountWhatFallsOnTheMarker) {
  using T = TypeParam;
  const NCDataMatrix<T> m = Matrix<T>({{1, -99, 3}, {49.5, 5, 6}});
  const NCDataMatrix<T> product = m * -2.0;
  ExpectSame(product, {{-2, -99, -6}, {-99, -10, -12}});
  ExpectSame(m * 0.1, {{static_cast<T>(0.1), -99, static_cast<T>(3 * 0.1)},
                       {static_cast<T>(49.5 * 0.1), static_cast<T>(0.5), static_cast<T>(6 * 0.1)}});
  ExpectSame(m * -99.0, Rows<T>(2, std::vector<T>(3, T{-99})));
  ExpectSame(m, {{1, -99, 3}, {49.5, 5, 6}});
}

}  // namespace
