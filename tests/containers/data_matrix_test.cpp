#include "voran/containers/data_matrix.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/containers/container_values.h"
#include "tests/containers/plain_reference.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/threading_control.h"

namespace {

using NCMultiThreading::ThreadingControl;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using Groups = NCIntegralVector<int, -99>;

template <typename T>
void ExpectRightCount(const NCDataVector<T>& v) {
  EXPECT_EQ(v.GetNumMisVal(), std::count(v.begin(), v.end(), plain::kGap<T>));
}

/// f of the regression sums of each line on v.
template <typename T, class F>
std::vector<T> FromSums(const Rows<T>& lines, const std::vector<T>& v, const F& f) {
  std::vector<T> results;
  for (const auto& line : lines) {
    results.push_back(static_cast<T>(f(plain::PairSums(v.data(), line.data(), v.size()))));
  }
  return results;
}

template <typename T>
class DataMatrix : public ::testing::Test {
 protected:
  void TearDown() override { ThreadingControl::Reset(); }

  static constexpr T kGap = plain::kGap<T>;

  /// 4 x 3, five gaps.
  static Rows<T> SampleRows() { return {{1, kGap, 3}, {4, 5, kGap}, {kGap, kGap, kGap}, {7, 8, 9}}; }

  /// From `elements`, a series for each row.
  static Rows<T> RowsOf(std::vector<T> (*elements)(std::size_t, unsigned, double), std::size_t rows,
                        std::size_t columns, double gaps) {
    Rows<T> result;
    for (unsigned i = 0; i < rows; ++i) result.push_back(elements(columns, i, gaps));
    return result;
  }

  /// The NIPALS kernels from their formulas. With inputs from the coarse grid every sum is exact, so that results are
  /// equal and not merely near.
  static void ExpectKernelsEqualTheFormulas(const Rows<T>& rows, const std::vector<T>& v, const std::vector<T>& w) {
    const Rows<T> columns = Transposed(rows, rows[0].size());
    const bool isComplete = std::count(v.begin(), v.end(), kGap) == 0;
    const auto columnSlope = [&](bool fix) {
      return FromSums(columns, v, [=](const plain::Sums& s) {
        const double denominator = std::max(s.pairedSquares, fix ? s.allSquares / 3.0 : 0.0);
        const bool isMissing = denominator <= 1e-30 || (isComplete && s.pairs == 0);
        return isMissing ? -99.0 : s.product / denominator;
      });
    };
    const auto rowSlope = [&rows](const std::vector<T>& on, bool fix) {
      return FromSums(rows, on, [=](const plain::Sums& s) {
        return s.pairs == 0 ? -99.0 : s.product / std::max(s.pairedSquares, fix ? s.allSquares * (1.0 / 3.0) : 0.0);
      });
    };
    const auto products = FromSums(columns, v, [](const plain::Sums& s) { return s.pairs == 0 ? -99.0 : s.product; });
    const auto check = [](const NCDataVector<T>& actual, const std::vector<T>& expected, const char* what) {
      EXPECT_THAT(Elements(actual), ElementsAreArray(expected)) << what;
      ExpectRightCount(actual);
    };
    const NCDataMatrix<T> m = Matrix(rows);
    const NCDataVector<T> left = Vector(v);
    const NCDataVector<T> right = Vector(w);
    check(m.RegressColumns(left), columnSlope(false), "RegressColumns");
    check(m.SpecialNipalsRegressColumnsFix(left), columnSlope(true), "columns Fix");
    check(m.SpecialNipalsRegressColumnsFix(left, nullptr, 0), columnSlope(true), "columns Fix without groups");
    check(m.PreMultiply(left), products, "PreMultiply");
    check(left * m, products, "vector times matrix");
    check(m.RegressRows(right), rowSlope(w, false), "RegressRows");
    check(m.SpecialNipalsRegressRowsFix(right), rowSlope(w, true), "rows Fix");

    if (m.SizeColumns() == 1) return;  // leaving out the only column of complete data is 0 / 0
    Groups groups(m.SizeColumns(), 0);
    groups(m.SizeColumns(), 7);
    auto withoutLast = columnSlope(true);
    withoutLast.back() = kGap;
    check(m.SpecialNipalsRegressColumnsFix(left, &groups, 7), withoutLast, "columns Fix but for a group");
    auto marked = w;
    marked.back() = kGap;
    check(m.SpecialNipalsRegressRowsFix(right, &groups, 7), rowSlope(marked, true), "rows Fix but for a group");
  }
};

using ElementTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(DataMatrix, ElementTypes);

TYPED_TEST(DataMatrix, MatricesWithoutRowsOrColumns) {
  using M = NCDataMatrix<TypeParam>;
  M narrow(3, 0, 0);
  EXPECT_EQ(narrow.RegressColumns({1, 2, 3}).Size(), 0);
  EXPECT_EQ(narrow.PreMultiply({1, 2, 3}).Size(), 0);
  EXPECT_EQ(narrow.SpecialNipalsRegressColumnsFix({1, 2, 3}, nullptr, 0).Size(), 0);
  EXPECT_EQ(narrow.SpecialNipalsRegressRowsFix(NCDataVector<TypeParam>()).Size(), 3);
  narrow.AddVprimV({1, 2, 3}, NCDataVector<TypeParam>(), 1.0f);
  const M flat(0, 3, 0);
  EXPECT_EQ(flat.RegressColumns(NCDataVector<TypeParam>()).GetNumMisVal(), 3);
  EXPECT_EQ(flat.RegressRows({1, 2, 3}).Size(), 0);
  M grown(0, 5, 0);
  EXPECT_EQ((*grown.push_back({1, -99}))[1], 1);
  EXPECT_EQ(grown.SizeColumns(), 2) << "a matrix without rows takes the width of its first";
  ExpectRightCounts(grown);
}

TYPED_TEST(DataMatrix, CountsThatAreSetByHandAreBelieved) {
  NCDataMatrix<TypeParam> m(2, 2, -99);
  m.ForceUnlink();
  for (int i = 1; i <= 2; ++i) std::fill_n(m(i).GetWritableVector() + 1, 2, TypeParam{3});
  m.SetNoMisVal();
  ExpectRightCounts(m);
  m(1)(2, -99);  // through the row: the matrix does not know
  EXPECT_THAT(Elements(m.RegressColumns({1, 1})), ElementsAre(3, -48));
}

TYPED_TEST(DataMatrix, ANaNIsPassedOnOrKeptOut) {
  const auto m = Matrix<TypeParam>({{1, 2}, {3, 4}});
  const NCDataVector<TypeParam> v{std::numeric_limits<TypeParam>::quiet_NaN(), 1};
  EXPECT_EQ(m.RegressColumns(v).GetNumMisVal(), 2);
  const auto grouped = m.SpecialNipalsRegressColumnsFix(v, nullptr, 0);
  EXPECT_EQ(grouped.GetNumMisVal(), 0);
  EXPECT_TRUE(std::isnan(grouped[1]));
}

TYPED_TEST(DataMatrix, CopyingCopiesNoElementAndUnlinkingKeepsRowsShared) {
  NCDataMatrix<TypeParam> source = Matrix(this->SampleRows());
  NCDataMatrix<TypeParam> copy = source;
  EXPECT_EQ(copy.begin(), source.begin()) << "the array of rows is shared";
  copy(1, 1, TypeParam{5});
  EXPECT_NE(copy.begin(), source.begin());
  EXPECT_EQ(copy[2].GetVector(), source[2].GetVector()) << "a row that was not written is still shared";
  EXPECT_NE(copy[1].GetVector(), source[1].GetVector());
  copy.ForceUnlink();
  EXPECT_NE(copy[2].GetVector(), source[2].GetVector());
}

TYPED_TEST(DataMatrix, PartsOfAMatrix) {
  const NCDataMatrix<TypeParam> m = Matrix(this->SampleRows());
  const auto s = this->SampleRows();
  EXPECT_THAT(Elements(m.GetColumn(2)), ElementsAre(-99, 5, -99, 8));
  EXPECT_EQ(m.GetColumn(2).GetNumMisVal(), 2);
  const auto part = m.GetRowSubMatrix(2, 3);
  EXPECT_EQ(Elements(part), Rows<TypeParam>({s[1], s[2]}));
  ExpectRightCounts(part);
  EXPECT_EQ(part[1].GetVector(), m[2].GetVector());
  EXPECT_EQ(m.GetRowSubMatrix(1, 4).begin(), m.begin());
  TypeParam min;
  TypeParam max;
  m.GetColumnMinMax(1, min, max);
  EXPECT_EQ(min + max, TypeParam{8});
  m.GetRowMinMax(3, min, max);
  EXPECT_EQ(min, TypeParam{-99});
}

/// Every pattern of gaps in a 3 x 3 matrix and in the vectors that meet it.
TYPED_TEST(DataMatrix, KernelsEqualTheFormulasForEveryPatternOfGaps) {
  const Rows<TypeParam> complete = this->RowsOf(plain::GridElements, 3, 3, 0.0);
  const auto v = plain::GridElements<TypeParam>(3, 50);
  const auto w = plain::GridElements<TypeParam>(3, 60);
  for (unsigned pattern = 0; pattern < 4096; ++pattern) {
    SCOPED_TRACE(::testing::Message() << "gaps " << pattern % 512 << ", vector gaps " << pattern / 512);
    auto rows = complete;
    auto vGaps = v;
    auto wGaps = w;
    for (unsigned i = 0; i < 12; ++i) {
      if ((pattern >> i & 1) == 0) continue;
      if (i < 9) rows[i / 3][i % 3] = this->kGap;
      if (i >= 9) vGaps[i - 9] = wGaps[i - 9] = this->kGap;
    }
    this->ExpectKernelsEqualTheFormulas(rows, vGaps, wGaps);
  }
}

/// Shapes that cross the blocks, groups and shares of threads in which rows and columns are worked through.
TYPED_TEST(DataMatrix, KernelsEqualTheFormulasAcrossBlocks) {
  const std::pair<std::size_t, std::size_t> shapes[] = {{1, 1}, {1, 200}, {200, 1}, {67, 33}, {1300, 100}, {70, 1100}};
  ThreadingControl::SetNumberOfProcessors(3);
  ThreadingControl::SetThreadingIsOn(true);
  for (const auto& [rows, columns] : shapes) {
    for (const double gaps : {0.0, 0.001, 0.2}) {
      SCOPED_TRACE(::testing::Message() << rows << " x " << columns << ", gaps " << gaps);
      this->ExpectKernelsEqualTheFormulas(this->RowsOf(plain::GridElements, rows, columns, gaps),
                                          plain::GridElements<TypeParam>(rows, 1000),
                                          plain::GridElements<TypeParam>(columns, 1001));
    }
  }
}

TYPED_TEST(DataMatrix, TheStartColumnHasTheLargestSumOfSquares) {
  using T = TypeParam;
  const auto start = [](const Rows<T>& rows) { return Elements(Matrix(rows).GetNIPALSStartColumn()); };
  EXPECT_THAT(start({{1, 3, 3}, {2, 4, 4}}), ElementsAre(3, 4));
  EXPECT_THAT(start({{0, 0}, {0, 0}}), ElementsAre(0, 0));
  EXPECT_THAT(start({{-99}, {2}}), ElementsAre(-99, 2)) << "an only column";
  EXPECT_THAT(start({{-99, -99}, {-99, -99}}), ElementsAre(-99, -99));
  EXPECT_THAT(start({{1, static_cast<T>(1.0000001)}}), ElementsAre(1)) << "a near tie";
  const auto filled = Matrix<T>({{1, -99}, {1, -500}, {1, -99}, {1, -99}}).GetNIPALSStartColumn();
  EXPECT_THAT(Elements(filled), ElementsAre(5, -500, -5, 5));
  EXPECT_EQ(filled.GetNumMisVal(), 0);
  EXPECT_THROW(Matrix<T>({{1, 2}}).GetNIPALSStartColumnImpl(nullptr), NCError);
}

TYPED_TEST(DataMatrix, SumOfSquaresOfAColumn) {
  const NCDataMatrix<TypeParam> m = Matrix(this->SampleRows());
  EXPECT_EQ(m.GetColumnSS(1, 4.0), 9.0 + 0.0 + 9.0);
  EXPECT_EQ(NCDataMatrix<TypeParam>(2, 1, -99).GetColumnSS(1, 0.0), -99.0);
}

TYPED_TEST(DataMatrix, AProductThatFallsOnTheMarkerIsNotAMissingScore) {
  NCDataMatrix<TypeParam> m = Matrix<TypeParam>({{1, 2}});
  m.AddVprimV({TypeParam{-49.5}}, {1, 1}, 2.0f);
  EXPECT_THAT(Elements(m[1]), ElementsAre(-98, -97));
  EXPECT_EQ(m.GetNumMisVal(), 0);
}

/// By blocks and threads, with rows that have gaps between others that have none; and where a missing score or loading
/// makes new gaps, which leaves the sums to be formed.
TYPED_TEST(DataMatrix, DeflatesAndSumsSquaresAsOneAfterTheOther) {
  using T = TypeParam;
  for (const auto& [gaps, gapsInA, gapsInB] :
       {std::tuple{0.0, 0.0, 0.0}, {0.0001, 0.0, 0.0}, {0.1, 0.0, 0.0}, {0.1, 0.1, 0.0}, {0.0, 0.0, 0.1}}) {
    SCOPED_TRACE(::testing::Message() << gaps << ", " << gapsInA << ", " << gapsInB);
    NCDataMatrix<T> both = Matrix(this->RowsOf(plain::RandomElements, 3001, 175, gaps));
    NCDataMatrix<T> expected = both;
    const auto a = Vector(plain::RandomElements<T>(3001, 9, gapsInA));
    const auto b = Vector(plain::RandomElements<T>(175, 10, gapsInB));
    std::vector<double> squares{1.0};
    both.AddVprimV(a, b, -1.0f, squares);
    expected.AddVprimV(a, b, -1.0f);
    EXPECT_EQ(both, expected);
    EXPECT_EQ(both.GetNumMisVal(), expected.GetNumMisVal());
    EXPECT_EQ(squares.empty(), gapsInA + gapsInB > 0.0);
    for (int c = 1; c <= static_cast<int>(squares.size()); ++c) {
      EXPECT_EQ(squares[static_cast<std::size_t>(c - 1)], expected.GetColumnSS(c, 0.0)) << c;
    }
    EXPECT_EQ(both.GetNIPALSStartColumn(squares), expected.GetNIPALSStartColumn());
  }
}

/// The protected half of the interface, as a derived class sees it.
template <typename T>
class Derived : public NCDataMatrix<T> {
 public:
  using NCDataMatrix<T>::GetMatrixAsPointerPointer;
  using NCDataMatrix<T>::DeleteHandedOver;
  using NCDataMatrix<T>::AddFV;
  using NCDataMatrix<T>::RegressOneColumn;
  using NCDataMatrix<T>::SpecialNipalsRegressOneColumnFix;
};

TYPED_TEST(DataMatrix, OneColumnRegressesAsAllColumnsDo) {
  using T = TypeParam;
  const NCDataMatrix<T> m = Matrix(this->RowsOf(plain::RandomElements, 300, 5, 0.1));
  const auto v = Vector(plain::RandomElements<T>(300, 9));
  const auto plainResult = m.RegressColumns(v);
  const auto fixResult = m.SpecialNipalsRegressColumnsFix(v);
  for (int c = 1; c <= 5; ++c) {
    NCDataVector<T> one(5);
    int missing = 5;
    Derived<T>::RegressOneColumn(one.GetWritableVector(), c, m, v, v.GetSS(), 1, missing);
    EXPECT_EQ(one[c], plainResult[c]);
    Derived<T>::SpecialNipalsRegressOneColumnFix(one.GetWritableVector(), c, m, v, v.GetSS(), 1, missing);
    EXPECT_EQ(one[c], fixResult[c]);
    EXPECT_EQ(missing, 3);
  }
}

TYPED_TEST(DataMatrix, AMissingFactorMakesTheRowMissing) {
  NCDataMatrix<TypeParam> m = Matrix<TypeParam>({{1, -99, 3}});
  const TypeParam loadings[] = {0, 1, 1, 1};
  int added = 0;
  int columns[4] = {};
  Derived<TypeParam>::AddFV(m, TypeParam{-99}, loadings, 1, 1, added, columns);
  EXPECT_EQ(m[1].GetNumMisVal(), 3);
  EXPECT_THAT(columns, ElementsAre(0, 1, 0, 1));
  EXPECT_EQ(added, 2);
}

TYPED_TEST(DataMatrix, RowPointersAreBorrowedOrHandedOver) {
  NCDataMatrix<TypeParam> m = Matrix(this->SampleRows());
  const NCDataMatrix<TypeParam> kept = m;
  TypeParam** borrowed = Derived<TypeParam>::GetMatrixAsPointerPointer(m, true);
  EXPECT_EQ(borrowed[2], m[2].GetVector());
  delete[] borrowed;
  TypeParam** owned = Derived<TypeParam>::GetMatrixAsPointerPointer(m, false);
  EXPECT_EQ(m.SizeRows() + m.SizeColumns() + m.GetNumMisVal(), 0);
  owned[4][3] = 1;
  EXPECT_EQ(kept[4][3], TypeParam{9});
  Derived<TypeParam>::DeleteHandedOver(owned, 4);
}

}  // namespace
