#include "voran/containers/data_matrix.h"

#include <cmath>
#include <functional>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/containers/container_values.h"
#include "tests/containers/failing_allocation.h"
#include "tests/containers/plain_reference.h"
#include "voran/containers/simd_target.h"
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

/// The NIPALS kernels from their formulas, on 0-based plain arrays. With inputs from the coarse grid every sum is
/// exact, so that results are equal and not merely near.
template <typename T>
struct PlainKernels {
  const Rows<T>& x;

  std::size_t Columns() const { return x.front().size(); }

  std::vector<T> Column(std::size_t j) const {
    std::vector<T> column;
    for (const auto& row : x) column.push_back(row[j]);
    return column;
  }

  static bool AnyGap(const std::vector<T>& v) { return std::count(v.begin(), v.end(), plain::kGap<T>) != 0; }

  /// One column on v: missing unless the denominator is above 1e-30.
  T ColumnSlope(const std::vector<T>& v, std::size_t j, bool fix) const {
    const auto column = Column(j);
    const bool allMissing = std::count(column.begin(), column.end(), plain::kGap<T>) == std::ssize(column);
    const plain::Sums sums = plain::PairSums(v.data(), column.data(), v.size());
    if (!AnyGap(v) && allMissing) return plain::kGap<T>;
    const double denominator = fix ? std::max(sums.pairedSquares, sums.allSquares / 3.0) : sums.pairedSquares;
    return std::abs(denominator) > 1e-30 ? static_cast<T>(sums.product / denominator) : plain::kGap<T>;
  }

  std::vector<T> Columns(const std::vector<T>& v, bool fix) const {
    std::vector<T> slopes;
    for (std::size_t j = 0; j < Columns(); ++j) slopes.push_back(ColumnSlope(v, j, fix));
    return slopes;
  }

  std::vector<T> RowSlopes(const std::vector<T>& v, bool fix) const {
    std::vector<T> slopes;
    for (const auto& row : x) {
      const plain::Sums sums = plain::PairSums(v.data(), row.data(), v.size());
      const double floor = fix ? 0.3333333333333333 * sums.allSquares : 0.0;
      const double slope = sums.product / std::max(sums.pairedSquares, floor);
      slopes.push_back(sums.pairs == 0 ? plain::kGap<T> : static_cast<T>(slope));
    }
    return slopes;
  }

  std::vector<T> PreMultiply(const std::vector<T>& v) const {
    std::vector<T> products;
    for (std::size_t j = 0; j < Columns(); ++j) {
      const auto column = Column(j);
      const plain::Sums sums = plain::PairSums(v.data(), column.data(), v.size());
      products.push_back(sums.pairs == 0 ? plain::kGap<T> : static_cast<T>(sums.product));
    }
    return products;
  }
};

template <typename T>
class DataMatrix : public ::testing::Test {
 protected:
  void TearDown() override { ThreadingControl::Reset(); }

  static constexpr T kGap = plain::kGap<T>;

  /// 4 x 3, five gaps.
  static Rows<T> SampleRows() { return {{1, kGap, 3}, {4, 5, kGap}, {kGap, kGap, kGap}, {7, 8, 9}}; }

  static Rows<T> RandomRows(std::size_t rows, std::size_t columns, double gaps, bool grid) {
    Rows<T> result;
    for (unsigned i = 0; i < rows; ++i) {
      result.push_back(grid ? plain::GridElements<T>(columns, i, gaps) : plain::RandomElements<T>(columns, i, gaps));
    }
    return result;
  }

  static void ExpectKernelsEqualTheFormulas(const Rows<T>& rows, const std::vector<T>& v, const std::vector<T>& w) {
    const NCDataMatrix<T> m = Matrix(rows);
    const PlainKernels<T> plainKernels{rows};
    const auto check = [](const NCDataVector<T>& actual, const std::vector<T>& expected, const char* what) {
      EXPECT_THAT(Elements(actual), ElementsAreArray(expected)) << what;
      ExpectRightCount(actual);
    };
    check(m.RegressColumns(Vector(v)), plainKernels.Columns(v, false), "RegressColumns");
    check(m.SpecialNipalsRegressColumnsFix(Vector(v)), plainKernels.Columns(v, true), "columns Fix");
    check(m.SpecialNipalsRegressColumnsFix(Vector(v), nullptr, 0), plainKernels.Columns(v, true), "with null groups");
    check(m.PreMultiply(Vector(v)), plainKernels.PreMultiply(v), "PreMultiply");
    check(Vector(v) * m, plainKernels.PreMultiply(v), "vector times matrix");
    check(m.RegressRows(Vector(w)), plainKernels.RowSlopes(w, false), "RegressRows");
    check(m.SpecialNipalsRegressRowsFix(Vector(w)), plainKernels.RowSlopes(w, true), "rows Fix");

    if (m.SizeColumns() == 1) return;  // leaving out the only column of complete data is 0 / 0
    Groups groups(m.SizeColumns(), 0);
    groups(m.SizeColumns(), 7);
    auto withoutLast = plainKernels.Columns(v, true);
    withoutLast.back() = kGap;
    check(m.SpecialNipalsRegressColumnsFix(Vector(v), &groups, 7), withoutLast, "columns Fix with a group left out");
    auto marked = w;
    marked.back() = kGap;
    check(m.SpecialNipalsRegressRowsFix(Vector(w), &groups, 7), plainKernels.RowSlopes(marked, true),
          "rows Fix with a group left out");
  }
};

using ElementTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(DataMatrix, ElementTypes);

TYPED_TEST(DataMatrix, MutatorsKeepAllCountsAndWriteToThisMatrixAlone) {
  using T = TypeParam;
  using M = NCDataMatrix<T>;
  constexpr T gap = TestFixture::kGap;
  struct Mutator {
    std::string name;
    std::function<void(M&)> mutate;
    Rows<T> expected;
  };
  const auto s = this->SampleRows();
  const NCDataVector<T> row{10, gap, 12};
  const std::vector<Mutator> mutators = {
      {"set", [](M& m) { m(1, 2, 2); }, {{1, 2, 3}, s[1], s[2], s[3]}},
      {"set missing", [](M& m) { m(4, 1, gap); }, {s[0], s[1], s[2], {gap, 8, 9}}},
      {"set missing again", [](M& m) { m(1, 2, gap); }, s},
      {"same size", [](M& m) { m.SetSize(4, 3); }, s},
      {"smaller", [](M& m) { m.SetSize(2, 2); }, {{gap, gap}, {gap, gap}}},
      {"larger", [](M& m) { m.SetSize(5, 4); }, Rows<T>(5, std::vector<T>(4, gap))},
      {"reserve", [](M& m) { m.ReserveRows(50), m.ReserveColumns(20); }, s},
      {"insert a row", [=](M& m) { m.InsertRow(2, row); }, {s[0], {10, gap, 12}, s[1], s[2], s[3]}},
      {"insert beyond the end", [=](M& m) { m.InsertRow(99, row); }, {s[0], s[1], s[2], s[3], {10, gap, 12}}},
      {"insert its own row", [](M& m) { m.InsertRow(1, m[2]); }, {s[1], s[0], s[1], s[2], s[3]}},
      {"push back", [=](M& m) { EXPECT_EQ((*m.push_back(row))[1], T{10}); }, {s[0], s[1], s[2], s[3], {10, gap, 12}}},
      {"copy content",
       [=](M& m) {
         m.CopyContent(Matrix<T>({{1, gap}}));
       },
       {{1, gap}}},
      {"set all", [](M& m) { m.SetAllValues(2); }, Rows<T>(4, std::vector<T>(3, 2))},
      {"set all missing", [](M& m) { m.SetAllValues(gap); }, Rows<T>(4, std::vector<T>(3, gap))},
      {"clear", [](M& m) { m.Clear(); }, {}},
      {"deflate",
       [](M& m) {
         m.TransformToSub_V_x_Vt({1, 1, 1, 2}, {1, 2, 3});
       },
       {{0, gap, 0}, {3, 3, gap}, s[2], {5, 4, 3}}},
      {"add with a missing loading",
       [](M& m) {
         m.TransformToAdd_V_x_Vt({1, 1, 1, 2}, {1, gap, 1});
       },
       {{2, gap, 4}, {5, gap, gap}, s[2], {9, gap, 11}}},
      {"add with missing scores",
       [](M& m) {
         m.AddVprimV({gap, 1, gap, gap}, {1, 1, 1}, 2.0f);
       },
       {std::vector<T>(3, gap), {6, 7, gap}, s[2], std::vector<T>(3, gap)}},
      {"force unlink", [](M& m) { m.ForceUnlink(); }, s},
  };
  for (const auto& mutator : mutators) {
    SCOPED_TRACE(mutator.name);
    M alone = Matrix(s);
    mutator.mutate(alone);
    EXPECT_EQ(Elements(alone), mutator.expected);
    ExpectRightCounts(alone);

    M kept = Matrix(s);
    M copy = kept;
    mutator.mutate(copy);
    EXPECT_EQ(Elements(copy), mutator.expected);
    EXPECT_EQ(Elements(kept), s) << "written through a copy";
    ExpectRightCounts(kept);

    M source = Matrix(s);
    const M taken = source;
    const NCDataVector<T> takenRow = source[2];
    mutator.mutate(source);
    EXPECT_EQ(Elements(taken), s) << "written through the source";
    EXPECT_EQ(Elements(takenRow), s[1]) << "written through a shared row";

    if (!FailingAllocation::IsAvailable()) continue;
    for (int k = 1, failed = 1; failed != 0; ++k) {
      M target = Matrix(s);
      const M other = target;
      failed = 0;
      {
        const FailingAllocation failing(k);
        try {
          mutator.mutate(target);
        } catch (const std::bad_alloc&) {
          failed = 1;
        }
      }
      EXPECT_EQ(Elements(other), s) << "allocation " << k << " failed";
      ExpectRightCounts(target);
      target.push_back(NCDataVector<T>(target.SizeColumns()));
      ExpectRightCounts(target);
    }
  }
}

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
  grown.push_back({1, -99});
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
  const NCDataMatrix<TypeParam> m = Matrix<TypeParam>({{1, 2}, {3, 4}});
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
  const Rows<TypeParam> complete = this->RandomRows(3, 3, 0.0, true);
  const auto v = plain::GridElements<TypeParam>(3, 50);
  const auto w = plain::GridElements<TypeParam>(3, 60);
  for (unsigned pattern = 0; pattern < 512; ++pattern) {
    for (unsigned vectorPattern = 0; vectorPattern < 8; ++vectorPattern) {
      SCOPED_TRACE(::testing::Message() << "gaps " << pattern << ", vector gaps " << vectorPattern);
      auto rows = complete;
      auto vGaps = v;
      auto wGaps = w;
      for (unsigned i = 0; i < 9; ++i) {
        if ((pattern >> i & 1) != 0) rows[i / 3][i % 3] = this->kGap;
      }
      for (unsigned i = 0; i < 3; ++i) {
        if ((vectorPattern >> i & 1) == 0) continue;
        vGaps[i] = this->kGap;
        wGaps[i] = this->kGap;
      }
      this->ExpectKernelsEqualTheFormulas(rows, vGaps, wGaps);
    }
  }
}

/// Shapes that cross the blocks and groups in which rows are worked through.
TYPED_TEST(DataMatrix, KernelsEqualTheFormulasAcrossBlocks) {
  const std::pair<std::size_t, std::size_t> shapes[] = {{1, 1}, {1, 200}, {200, 1}, {67, 33}, {1300, 100}, {70, 1100}};
  for (const auto& [rows, columns] : shapes) {
    for (const double gaps : {0.0, 0.001, 0.2}) {
      SCOPED_TRACE(::testing::Message() << rows << " x " << columns << ", gaps " << gaps);
      this->ExpectKernelsEqualTheFormulas(this->RandomRows(rows, columns, gaps, true),
                                          plain::GridElements<TypeParam>(rows, 1000),
                                          plain::GridElements<TypeParam>(columns, 1001));
    }
  }
}

TYPED_TEST(DataMatrix, ResultsHaveTheSameBitsAtAnyThreadCountAndOnAnyTarget) {
  using T = TypeParam;
  const auto results = [](const NCDataMatrix<T>& m, double gaps) {
    const auto v = Vector(plain::RandomElements<T>(static_cast<std::size_t>(m.SizeRows()), 1));
    const auto w = Vector(plain::RandomElements<T>(static_cast<std::size_t>(m.SizeColumns()), 2));
    std::vector<NCDataVector<T>> all = {m.RegressColumns(v),
                                        m.SpecialNipalsRegressColumnsFix(v),
                                        m.SpecialNipalsRegressColumnsFix(v, nullptr, 0),
                                        m.SpecialNipalsRegressRowsFix(w),
                                        m.PreMultiply(v),
                                        m.GetNIPALSStartColumn(),
                                        {static_cast<T>(m.GetColumnSS(1, 0.3)), static_cast<T>(m.GetColumnSS(1, 0.0))}};
    // New gaps in rows of different threads reach the same columns.
    NCDataMatrix<T> deflated = m;
    deflated.TransformToSub_V_x_Vt(Vector(plain::RandomElements<T>(static_cast<std::size_t>(v.Size()), 3, gaps)),
                                   Vector(plain::RandomElements<T>(static_cast<std::size_t>(w.Size()), 4, gaps)));
    ExpectRightCounts(deflated);
    all.insert(all.end(), deflated.begin(), deflated.end());
    return all;
  };
  const std::string best = SimdTarget::GetName();
  for (const double gaps : {0.0, 0.05}) {
    const NCDataMatrix<T> m = Matrix(this->RandomRows(1500, 360, gaps, false));  // enough for several threads
    ThreadingControl::SetThreadingIsOn(false);
    const auto expected = results(m, gaps);
    for (const int threads : {2, 3, 7}) {
      ThreadingControl::SetNumberOfProcessors(threads);
      ThreadingControl::SetThreadingIsOn(true);
      EXPECT_TRUE(results(m, gaps) == expected) << threads << " threads, gaps " << gaps;
    }
    for (const std::string& target : SimdTarget::GetAvailable()) {
      SimdTarget::Set(target);
      EXPECT_TRUE(results(m, gaps) == expected) << target << ", gaps " << gaps;
    }
    SimdTarget::Set(best);
  }
}

TYPED_TEST(DataMatrix, TheStartColumnHasTheLargestSumOfSquares) {
  using T = TypeParam;
  EXPECT_THAT(Elements(Matrix<T>({{1, 3, 3}, {2, 4, 4}}).GetNIPALSStartColumn()), ElementsAre(3, 4));
  EXPECT_THAT(Elements(Matrix<T>({{0, 0}, {0, 0}}).GetNIPALSStartColumn()), ElementsAre(0, 0));
  const auto filled = Matrix<T>({{1, -99}, {1, -500}, {1, -99}, {1, -99}}).GetNIPALSStartColumn();
  EXPECT_THAT(Elements(filled), ElementsAre(5, -500, -5, 5));
  EXPECT_EQ(filled.GetNumMisVal(), 0);
  EXPECT_THAT(Elements(Matrix<T>({{-99}, {2}}).GetNIPALSStartColumn()), ElementsAre(-99, 2)) << "an only column";
  EXPECT_THAT(Elements(Matrix<T>({{-99, -99}, {-99, -99}}).GetNIPALSStartColumn()), ElementsAre(-99, -99));
  const T nearTie = static_cast<T>(1.0000001);
  EXPECT_THAT(Elements(Matrix<T>({{1, nearTie}}).GetNIPALSStartColumn()), ElementsAre(1)) << "a near tie";
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
    NCDataMatrix<T> both = Matrix(this->RandomRows(3001, 175, gaps, false));
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
  const NCDataMatrix<T> m = Matrix(this->RandomRows(300, 5, 0.1, false));
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
