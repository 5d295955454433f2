#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/containers/container_values.h"
#include "tests/containers/failing_allocation.h"
#include "tests/containers/plain_reference.h"
#include "voran/containers/data_matrix.h"
#include "voran/platform/nc_error.h"

namespace {

using plain::kGap;
using ::testing::Each;
using ::testing::ElementsAre;

class Dice {
 public:
  explicit Dice(unsigned seed) : generator_(seed) {}
  /// 1..n
  int Upto(int n) { return std::uniform_int_distribution<int>(1, n)(generator_); }
  /// Multiples of 1/64, and a gap in one of five.
  template <typename T>
  Rows<T> Cells(int rows, int columns) {
    Rows<T> all(static_cast<std::size_t>(rows), std::vector<T>(static_cast<std::size_t>(columns)));
    for (auto& row : all) {
      for (T& x : row) x = Upto(5) == 1 ? kGap<T> : static_cast<T>(Upto(511) - 256) / static_cast<T>(64);
    }
    return all;
  }

 private:
  std::mt19937 generator_;
};

/// A matrix as plain rows, with 1-based cells.
template <typename T>
struct Plain {
  Rows<T> rows;

  int Height() const { return static_cast<int>(rows.size()); }
  int Width() const { return static_cast<int>(rows[0].size()); }
  std::vector<T>& Row(int r) { return rows[static_cast<std::size_t>(r - 1)]; }
  std::vector<T> Column(int c) const {
    std::vector<T> column;
    for (const auto& row : rows) column.push_back(row[static_cast<std::size_t>(c - 1)]);
    return column;
  }
  void SetColumn(int c, const std::vector<T>& column) {
    for (std::size_t i = 0; i < rows.size(); ++i) rows[i][static_cast<std::size_t>(c - 1)] = column[i];
  }
  /// Before position `pos`, or at the end.
  void InsertRows(int pos, const Rows<T>& cells) {
    rows.insert(rows.begin() + std::min(pos - 1, Height()), cells.begin(), cells.end());
  }
  void InsertColumns(int pos, const Rows<T>& cells) {
    const int at = std::min(pos - 1, Width());
    for (std::size_t i = 0; i < rows.size(); ++i) {
      rows[i].insert(rows[i].begin() + at, cells[i].begin(), cells[i].end());
    }
  }
};

template <typename T>
Rows<T> Gaps(int height, int width) {
  return Rows<T>(static_cast<std::size_t>(height), std::vector<T>(static_cast<std::size_t>(width), kGap<T>));
}

/// f(a, b) of what is present in each row and in v; where v is missing, the rows stay.
template <typename T, class F>
void ChangeRows(Plain<T>& x, const std::vector<T>& v, const F& f) {
  for (auto& row : x.rows) {
    for (std::size_t j = 0; j < v.size(); ++j) {
      if (v[j] != kGap<T> && row[j] != kGap<T>) row[j] = f(row[j], v[j]);
    }
  }
}

/// What an edit of x may take.
template <typename T>
struct Draw {
  const Plain<T>& x;
  Dice& dice;

  int h = x.Height(), w = x.Width();
  int r = dice.Upto(h), s = dice.Upto(h);                    // rows
  int a = dice.Upto(w), b = dice.Upto(w), c = dice.Upto(w);  // columns
  int rowsFromR = std::min(dice.Upto(h - r + 1), h - 1);
  int columnsFromA = std::min(dice.Upto(w - a + 1), w - 1);
  int rowPos = dice.Upto(h + 2), columnPos = dice.Upto(w + 2), over = dice.Upto(3);
  int count = dice.Upto(4) - 1, lag = dice.Upto(2 * h + 3) - h - 2;
  bool isSameSize = dice.Upto(4) == 1;
  int height = isSameSize ? h : dice.Upto(9), width = isSameSize ? w : dice.Upto(9);
  Rows<T> below = dice.Cells<T>(dice.Upto(3), w), beside = dice.Cells<T>(h, dice.Upto(3));
  int besideWidth = Plain<T>{beside}.Width();
  std::vector<T> row = below[0], column = Plain<T>{beside}.Column(besideWidth);
  T value = dice.Cells<T>(1, 1)[0][0];
};

/// An edit of the plain rows, and the same of a matrix.
template <typename T>
struct Edit {
  const char* name;
  std::function<void(Plain<T>& x, const Draw<T>& d)> plain;
  std::function<void(NCDataMatrix<T>& m, const Draw<T>& d)> matrix;
  bool isAtomic = true;  ///< leaves everything as it was when memory runs out
};

template <typename T>
std::vector<Edit<T>> Edits() {
  return {
      {"a cell", [](auto& x, auto& d) { x.Row(d.r)[static_cast<std::size_t>(d.a - 1)] = d.value; },
       [](auto& m, auto& d) { m(d.r, d.a, d.value); }},
      {"SetAllValues",
       [](auto& x, auto& d) { x.rows.assign(x.rows.size(), std::vector<T>(x.rows[0].size(), d.value)); },
       [](auto& m, auto& d) { m.SetAllValues(d.value); }},
      {"CopyContent", [](auto& x, auto& d) { x.rows = d.beside; },
       [](auto& m, auto& d) { m.CopyContent(Matrix(d.beside)); }},
      {"SetSize",
       [](auto& x, auto& d) {
         if (d.h != d.height || d.w != d.width) x.rows = Gaps<T>(d.height, d.width);
       },
       [](auto& m, auto& d) { m.SetSize(d.height, d.width); }},
      {"Resize",
       [](auto& x, auto& d) {
         for (auto& row : x.rows) row.resize(static_cast<std::size_t>(d.width), kGap<T>);
         x.rows.resize(static_cast<std::size_t>(d.height), Gaps<T>(1, d.width)[0]);
       },
       [](auto& m, auto& d) { EXPECT_EQ(&m.Resize(d.height, d.width), &m); }, false},
      {"Reserve", [](auto&, auto&) {}, [](auto& m, auto&) { m.ReserveRows(50), m.ReserveColumns(20); }},
      {"InsertRow", [](auto& x, auto& d) { x.InsertRows(d.rowPos, {d.row}); },
       [](auto& m, auto& d) { m.InsertRow(d.rowPos, Vector(d.row)); }},
      {"InsertRow of its own", [](auto& x, auto& d) { x.InsertRows(d.rowPos, Rows<T>{x.Row(d.r)}); },
       [](auto& m, auto& d) { m.InsertRow(d.rowPos, m[d.r]); }},
      {"InsertRows at the end", [](auto& x, auto& d) { x.InsertRows(d.h + 1, Gaps<T>(d.count, d.w)); },
       [](auto& m, auto& d) { m.InsertRows(d.h + d.over, d.count); }},
      {"RemoveRows",
       [](auto& x, auto& d) { x.rows.erase(x.rows.begin() + d.r - 1, x.rows.begin() + d.r - 1 + d.rowsFromR); },
       [](auto& m, auto& d) { m.RemoveRows(d.r, d.rowsFromR); }},
      {"ConcatRows", [](auto& x, auto& d) { x.InsertRows(d.h + 1, d.below); },
       [](auto& m, auto& d) { m.ConcatRows(Matrix(d.below)); }},
      {"ConcatRows of itself", [](auto& x, auto& d) { x.InsertRows(d.h + 1, Rows<T>(x.rows)); },
       [](auto& m, auto&) { m.ConcatRows(m); }},
      {"SwapRows", [](auto& x, auto& d) { std::swap(x.Row(d.r), x.Row(d.s)); },
       [](auto& m, auto& d) { m.SwapRows(d.r, d.s); }},
      {"SetRow to a number", [](auto& x, auto& d) { x.Row(d.r).assign(d.row.size(), d.value); },
       [](auto& m, auto& d) { m.SetRow(d.r, d.value); }},
      {"SetRow to a vector", [](auto& x, auto& d) { x.Row(d.r) = d.row; },
       [](auto& m, auto& d) { m.SetRow(d.r, Vector(d.row)); }},
      {"SetRow to its own row", [](auto& x, auto& d) { x.Row(d.s) = std::vector<T>(x.Row(d.r)); },
       [](auto& m, auto& d) { m.SetRow(d.s, m[d.r]); }},
      {"MultiplyRow",
       [](auto& x, auto& d) {
         x.Row(d.s) = Combined(x.Row(d.r), x.Row(d.r), [](T p, T) { return -2.0 * static_cast<double>(p); });
       },
       [](auto& m, auto& d) { m.MultiplyRow(d.r, -2.0, d.s); }},

      {"InsertColumn",
       [](auto& x, auto& d) {
         x.InsertColumns(d.columnPos, Gaps<T>(d.h, 1));
         x.SetColumn(std::min(d.columnPos, d.w + 1), d.column);
       },
       [](auto& m, auto& d) { m.InsertColumn(d.columnPos, Vector(d.column)); }},
      {"InsertColumns", [](auto& x, auto& d) { x.InsertColumns(d.columnPos, Gaps<T>(d.h, d.count)); },
       [](auto& m, auto& d) { m.InsertColumns(d.columnPos, d.count); }},
      {"InsertColumns of a matrix", [](auto& x, auto& d) { x.InsertColumns(d.columnPos, d.beside); },
       [](auto& m, auto& d) { m.InsertColumns(d.columnPos, Matrix(d.beside)); }},
      {"InsertColumns of itself", [](auto& x, auto& d) { x.InsertColumns(d.a, Rows<T>(x.rows)); },
       [](auto& m, auto& d) { m.InsertColumns(d.a, m); }},
      {"RemoveColumns",
       [](auto& x, auto& d) {
         for (auto& row : x.rows) row.erase(row.begin() + d.a - 1, row.begin() + d.a - 1 + d.columnsFromA);
       },
       [](auto& m, auto& d) { m.RemoveColumns(d.a, d.columnsFromA); }},
      {"ConcatColumns", [](auto& x, auto& d) { x.InsertColumns(d.w + 1, d.beside); },
       [](auto& m, auto& d) { m.ConcatColumns(Matrix(d.beside)); }},
      {"SwapColumns",
       [](auto& x, auto& d) {
         const auto former = x.Column(d.a);
         x.SetColumn(d.a, x.Column(d.b)), x.SetColumn(d.b, former);
       },
       [](auto& m, auto& d) { m.ForceUnlink(), m.SwapColumns(d.a, d.b); }},
      {"RearrangeColumns",
       [](auto& x, auto& d) {
         const Plain<T> former = x;
         x.rows = Gaps<T>(d.h, 4);
         for (int k = 1; const int from : {d.b, d.a, d.c, d.a}) x.SetColumn(k++, former.Column(from));
       },
       [](auto& m, auto& d) {
         m.RearrangeColumns({d.b, d.a, d.c, d.a});
       }},
      {"CopyColumn", [](auto& x, auto& d) { x.SetColumn(d.b, x.Column(d.a)); },
       [](auto& m, auto& d) { m.CopyColumn(d.a, d.b); }},
      {"CopyColumn of another matrix", [](auto& x, auto& d) { x.SetColumn(d.a, d.column); },
       [](auto& m, auto& d) { m.CopyColumn(d.a, Matrix(d.beside), d.besideWidth); }},
      {"SetColumn to a number",
       [](auto& x, auto& d) {
         const auto former = x.Column(d.a);
         const bool isKept = d.value == kGap<T> && std::count(former.begin(), former.end(), kGap<T>) == d.w;
         if (!isKept) x.SetColumn(d.a, std::vector<T>(former.size(), d.value));
       },
       [](auto& m, auto& d) { m.SetColumn(d.a, d.value); }},
      {"SetColumn to an array", [](auto& x, auto& d) { x.SetColumn(d.a, d.column); },
       [](auto& m, auto& d) { m.SetColumn(d.a, Vector(d.column).GetVector()); }},

      {"LagColumn",
       [](auto& x, auto& d) {
         auto column = x.Column(d.a);
         const auto shift = std::min(std::abs(d.lag), d.h);
         if (d.lag > 0) column.insert(column.begin(), static_cast<std::size_t>(shift), kGap<T>);
         if (d.lag < 0) column.erase(column.begin(), column.begin() + shift);
         column.resize(x.rows.size(), kGap<T>);
         x.SetColumn(d.a, column);
       },
       [](auto& m, auto& d) { m.ForceUnlink(), m.LagColumn(d.a, d.lag); }},
      {"MultiplyColumn",
       [](auto& x, auto& d) {
         const auto column = x.Column(d.a);
         x.SetColumn(d.b, Combined(column, column, [](T p, T) { return static_cast<double>(p) * 0.7; }));
       },
       [](auto& m, auto& d) { m.MultiplyColumn(d.a, 0.7, d.b); }},
      {"MultiplyColumns",
       [](auto& x, auto& d) { x.SetColumn(d.c, Combined(x.Column(d.a), x.Column(d.b), std::multiplies<T>())); },
       [](auto& m, auto& d) { m.MultiplyColumns(d.a, d.b, d.c); }},
      {"SubtractFromColumn",
       [](auto& x, auto& d) {
         const auto column = x.Column(d.a);
         const auto lessened = [&](T p, T) { return d.value == kGap<T> ? -99.0 : static_cast<double>(p) - 0.3; };
         x.SetColumn(d.a, Combined(column, column, lessened));
       },
       [](auto& m, auto& d) { m.SubtractFromColumn(d.a, d.value == kGap<T> ? -99.0 : 0.3); }},
      {"TransformToColumnScaled", [](auto& x, auto& d) { ChangeRows(x, d.row, std::multiplies<T>()); },
       [](auto& m, auto& d) {
         auto factors = Vector(d.row);
         m.ForceUnlink(), m.TransformToColumnScaled(factors);
       }},
      {"TransformToDotSubRowVector", [](auto& x, auto& d) { ChangeRows(x, d.row, std::minus<T>()); },
       [](auto& m, auto& d) { m.TransformToDotSubRowVector(Vector(d.row)); }},
      {"AddVprimV",
       [](auto& x, auto& d) {
         for (std::size_t i = 0; i < x.rows.size(); ++i) {
           const std::vector<T> scores(d.row.size(), d.column[i]);
           const auto product = Combined(scores, d.row, plain::Rounded<T>);
           x.rows[i] = Combined(x.rows[i], product, [](T p, T q) { return p + T{2} * q; });
         }
       },
       [](auto& m, auto& d) { m.AddVprimV(Vector(d.column), Vector(d.row), 2.0f); }, false},
  };
}

template <typename T>
bool IsUnwieldy(const Plain<T>& x) {
  const auto hasLarge = [](const auto& row) {
    return std::ranges::any_of(row, [](T cell) { return std::abs(cell) > T{1e6}; });
  };
  return x.Height() > 12 || x.Width() > 12 || std::ranges::any_of(x.rows, hasLarge);
}

template <typename T>
class DataMatrixEditing : public ::testing::Test {};

using ElementTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(DataMatrixEditing, ElementTypes);

TYPED_TEST(DataMatrixEditing, SequencesOfEditsEqualThoseOfPlainRows) {
  using T = TypeParam;
  const auto edits = Edits<T>();
  std::vector<int> runs(edits.size());
  for (unsigned seed = 1; seed <= 90; ++seed) {
    Dice dice(seed);
    Plain<T> x{dice.Cells<T>(dice.Upto(6), dice.Upto(6))};
    NCDataMatrix<T> m = Matrix(x.rows);
    std::string history;
    for (int step = 0; step < 30 && !IsUnwieldy(x); ++step) {
      const auto e = static_cast<std::size_t>(dice.Upto(static_cast<int>(edits.size())) - 1);
      const Edit<T>& edit = edits[e];
      ++runs[e];
      history += std::string(", ") + edit.name;
      SCOPED_TRACE(::testing::Message() << "seed " << seed << history);
      const Rows<T> before = x.rows;
      const Draw<T> draw{x, dice};
      const bool isShared = step % 4 != 3;
      const NCDataMatrix<T> taken = isShared ? m : NCDataMatrix<T>();
      const NCDataVector<T> takenRow = isShared ? m[draw.r] : NCDataVector<T>();
      edit.plain(x, draw);
      edit.matrix(m, draw);
      ASSERT_EQ(Elements(m), x.rows);
      ExpectRightCounts(m);
      if (isShared) {
        EXPECT_EQ(Elements(taken), before) << "written through a copy";
        EXPECT_EQ(Elements(takenRow), before[static_cast<std::size_t>(draw.r - 1)]) << "written through a shared row";
      }
      ExpectRightCounts(taken);
      if (runs[e] <= 6 && FailingAllocation::IsAvailable()) {
        ExpectSafeWithoutMemory<T>(
            before, [&](auto& target) { edit.matrix(target, draw); }, edit.isAtomic, runs[e] % 2 == 0);
      }
      if (this->HasFailure()) return;
    }
  }
  EXPECT_THAT(runs, Each(::testing::Gt(10)));
}

TYPED_TEST(DataMatrixEditing, InsertedRowsKeepWhatStoodThereOnlyInsideAnArrayWithRoom) {
  using T = TypeParam;
  const Rows<T> s = {{1, 2}, {3, kGap<T>}, {5, 6}};
  const std::vector<T> gaps(2, kGap<T>);

  NCDataMatrix<T> full = Matrix(s);
  full.UnlinkMe();
  NCDataMatrix<T> copy = full;  // its array has no room
  copy.InsertRows(2, 2);
  EXPECT_EQ(Elements(copy), Rows<T>({s[0], gaps, gaps, s[1], s[2]}));
  ExpectRightCounts(copy);

  NCDataMatrix<T> roomy = Matrix(s);
  roomy.ReserveRows(20);
  roomy.InsertRows(2, 3);  // two former rows, and a slot that has never been used
  EXPECT_EQ(Elements(roomy), Rows<T>({s[0], s[1], s[2], gaps, s[1], s[2]}));
  EXPECT_EQ(roomy.GetNumMisVal(), 1 + 3 * 2) << "the counts take all of them for missing";
  EXPECT_EQ(roomy.GetColumnMisVal(2), 1 + 3);
}

TYPED_TEST(DataMatrixEditing, ConcatRowsRefusesAnotherWidthAndLeavesTheCapacity) {
  using T = TypeParam;
  NCDataMatrix<T> m = Matrix<T>({{1, 2}, {3, 4}});
  EXPECT_THROW(m.ConcatRows(Matrix<T>({{1}})), NCInternalError);
  const auto more = Matrix<T>({{5, 6}, {7, 8}, {9, 10}});
  m.ConcatRows(more);
  EXPECT_EQ(m[3].GetVector(), more[1].GetVector()) << "rows are shared";
  m.push_back({T{1}, T{2}});  // from the old capacity of 4 to 8, and not from 5 to 10
  m.InsertRows(2, 3);
  EXPECT_EQ(m[2][1], kGap<T>) << "the insertion takes a new array";
  ExpectRightCounts(m);

  NCDataMatrix<T> stale = Matrix<T>({{1, 2}});
  stale.ConcatRows(more);
  stale.ConcatRows(more);
  stale.ReserveRows(5);  // more than the capacity of 4, and fewer than there are rows
  EXPECT_EQ(stale.SizeRows(), 7);
  EXPECT_EQ(stale[7][2], T{10});

  NCDataMatrix<T> roomy = Matrix<T>({{1, 2}});
  roomy.ReserveRows(10);
  roomy.ConcatRows(more);
  for (int i = 0; i < 8; ++i) roomy.push_back({T{1}, kGap<T>});
  EXPECT_EQ(roomy.SizeRows(), 12);
  ExpectRightCounts(roomy);
}

TYPED_TEST(DataMatrixEditing, TheOddRulesHold) {
  using T = TypeParam;
  constexpr T gap = kGap<T>;
  // As many gaps as there are columns: not made missing.
  NCDataMatrix<T> tall = Matrix<T>({{1, gap}, {2, gap}, {3, 7}});
  tall.SetColumn(2, gap);
  EXPECT_EQ(tall[3][2], T{7});
  tall.SetColumn(1, gap);
  EXPECT_EQ(tall.GetColumnMisVal(1), 3);

  // The counts of CopyRow follow the diagonal, and the total nothing.
  NCDataMatrix<T> m = Matrix<T>({{gap, 2, gap}, {4, gap, 6}, {7, 8, 9}});
  m.CopyRow(1, 3);
  EXPECT_EQ(Elements(m[3]), Elements(m[1]));
  EXPECT_EQ(m[3].GetVector(), m[1].GetVector());
  const int counts[] = {m.GetColumnMisVal(1), m.GetColumnMisVal(2), m.GetColumnMisVal(3)};
  EXPECT_THAT(counts, ElementsAre(1, 0, 2));
  EXPECT_EQ(m.GetNumMisVal(), 3);
  m = Matrix<T>({{1, gap, 3}});
  m.CopyRow(1, 1);
  ExpectRightCounts(m);

  // The marker as a factor.
  const auto factors = Matrix<T>({{1, 2}, {3, gap}});
  NCDataMatrix<T> product = factors;
  product.MultiplyColumn(1, -99.0, 2);
  EXPECT_EQ(Elements(product), Rows<T>({{gap, 2}, {gap, gap}}));
  ExpectRightCounts(product);
  product = factors;
  product.MultiplyRow(1, -99.0, 2);
  EXPECT_EQ(Elements(product), Rows<T>({{1, 2}, {gap, gap}}));
  EXPECT_EQ(product.GetColumnMisVal(1) + product.GetColumnMisVal(2), 2);
  EXPECT_EQ(product.GetNumMisVal(), 1) << "the total is left alone";

  // A difference that falls on the marker stays present.
  NCDataMatrix<T> data = Matrix<T>({{1, 5}, {gap, 6}});
  data.SubtractFromColumn(1, 100.0);
  EXPECT_EQ(data[1][1], static_cast<T>(-99.00001));
  EXPECT_EQ(data[2][1], gap);
  ExpectRightCounts(data);
}

TYPED_TEST(DataMatrixEditing, StandardisedRowsBringTheCountsOfTheMatrix) {
  using T = TypeParam;
  const auto standard = Matrix<T>({{1, 2, 3}, {4, 4, 4}, {kGap<T>, 6, 4}}).SNV();
  const T half = static_cast<T>(1.0 / std::sqrt(2.0));
  EXPECT_EQ(Elements(standard), Rows<T>({{-1, 0, 1}, std::vector<T>(3, kGap<T>), {kGap<T>, half, -half}}));
  EXPECT_EQ(standard[2].GetNumMisVal(), 3);
  EXPECT_EQ(standard.GetNumMisVal(), 1) << "a row that became missing is not counted";
  EXPECT_EQ(standard.GetColumnMisVal(1), 1);
}

TYPED_TEST(DataMatrixEditing, SomeOperationsWriteToSharedRows) {
  using T = TypeParam;
  using M = NCDataMatrix<T>;
  const Rows<T> s = {{1, 2}, {3, 4}, {5, 6}};
  NCDataVector<T> factors{10, kGap<T>};
  const std::tuple<std::function<void(M&)>, Rows<T>, Rows<T>> cases[] = {
      {[](M& m) { m.SwapColumns(1, 2); }, {{2, 1}, {4, 3}, {6, 5}}, {{2, 1}, {4, 3}, {6, 5}}},
      {[&](M& m) { m.TransformToColumnScaled(factors); }, {{10, 2}, {30, 4}, {50, 6}}, {{10, 2}, {30, 4}, {50, 6}}},
      // but not where a gap moves in
      {[](M& m) { m.LagColumn(1, 1); }, {{kGap<T>, 2}, {1, 4}, {3, 6}}, {{1, 2}, {1, 4}, {3, 6}}},
  };
  for (const auto& [edit, expected, expectedOfCopy] : cases) {
    M m = Matrix(s);
    const M copy = m;
    edit(m);
    EXPECT_EQ(Elements(m), expected);
    EXPECT_EQ(Elements(copy), expectedOfCopy);
    EXPECT_NE(m.begin(), copy.begin());
    ExpectRightCounts(m);
  }
  M gaps = Matrix<T>({{1, 2}, {kGap<T>, 4}, {5, 6}});
  const M copy = gaps;
  gaps.LagColumn(1, -1);
  EXPECT_EQ(Elements(copy), Rows<T>({{1, 2}, {kGap<T>, 4}, {5, 6}})) << "a column with gaps is written cell by cell";
}

TYPED_TEST(DataMatrixEditing, ShapesWithoutCells) {
  using M = NCDataMatrix<TypeParam>;
  using T = TypeParam;
  M m;
  m.Resize(2, 3);
  EXPECT_EQ(m.GetNumMisVal(), 6);
  m.Resize(0, 3);
  EXPECT_EQ(m.SizeColumns(), 3);
  ExpectRightCounts(m);
  m.Resize(2, 0);
  m.InsertColumn(9, {1, kGap<T>});
  EXPECT_EQ(Elements(m), Rows<T>({{1}, {kGap<T>}}));
  ExpectRightCounts(m);
  m.Clear();
  EXPECT_EQ(m.SizeRows() + m.SizeColumns() + m.GetNumMisVal(), 0);

  const M other = Matrix<T>({{1, kGap<T>}, {3, 4}});
  M byColumns;
  byColumns.ConcatColumns(other);
  M byRows;
  byRows.ConcatRows(other);
  EXPECT_EQ(byRows.begin(), other.begin()) << "assigned";
  EXPECT_EQ(Elements(byColumns), Elements(other));
  ExpectRightCounts(byColumns);
  byRows.ConcatRows(M());
  byRows.ConcatColumns(M(2, 0, 0));
  byRows.InsertColumns(1, M(2, 0, 0));
  byRows.InsertRows(1, 0);
  EXPECT_EQ(byRows.begin(), other.begin()) << "there was nothing to do";

  byRows.RearrangeColumns({});
  EXPECT_EQ(byRows.SizeRows() + byRows.SizeColumns(), 0);
  EXPECT_EQ(M(2, 0, 0).DotMultiplyVector({1, 2}).SizeRows(), 2);
}

TYPED_TEST(DataMatrixEditing, ARowMayBeTheOperand) {
  using T = TypeParam;
  using M = NCDataMatrix<T>;
  constexpr T gap = kGap<T>;
  const std::pair<std::function<void(M&)>, Rows<T>> cases[] = {
      {[](M& m) { m.SetColumn(1, m[1]); }, {{1, 2, gap}, {2, 5, 6}, {gap, gap, 9}}},
      // written in row 1 before it is read for row 3
      {[](M& m) { m.SetColumn(3, m[1]); }, {{1, 2, 1}, {4, 5, 2}, {7, gap, gap}}},
      {[](M& m) { m.SetColumn(1, m[2].GetVector()); }, {{4, 2, gap}, {5, 5, 6}, {6, gap, 9}}},
      {[](M& m) { m.InsertColumn(1, m[1]); }, {{1, 1, 2, gap}, {2, 4, 5, 6}, {gap, 7, gap, 9}}},
      {[](M& m) { m.TransformToDotSubRowVector(m[1]); }, {{0, 0, gap}, {3, 3, 6}, {6, gap, 9}}},
      {[](M& m) { m.TransformToColumnScaled(m(2)); }, {{4, 10, gap}, {16, 25, 36}, {28, gap, 54}}},
      {[](M& m) { m.DotPreMultiplyVectorImpl(m[1], m); }, {{1, 4, gap}, {4, 10, gap}, {7, gap, gap}}},
  };
  for (const auto& [edit, expected] : cases) {
    M m = Matrix<T>({{1, 2, gap}, {4, 5, 6}, {7, gap, 9}});
    edit(m);
    EXPECT_EQ(Elements(m), expected);
    ExpectRightCounts(m);
  }
}

/// Every pattern of gaps of a 2 x 2 matrix and of the vector, and two products that fall on the marker.
TYPED_TEST(DataMatrixEditing, ScalingByAVectorEqualsTheFormulas) {
  using T = TypeParam;
  for (unsigned pattern = 0; pattern < 64; ++pattern) {
    SCOPED_TRACE(::testing::Message() << "gaps " << pattern);
    const auto cell = [pattern](unsigned bit, T value) { return (pattern >> bit & 1) != 0 ? kGap<T> : value; };
    const Rows<T> x = {{cell(0, T{33}), cell(1, T{7})}, {cell(2, T{1.5}), cell(3, T{-33})}};
    const std::vector<T> v = {cell(4, T{-3}), cell(5, T{3})};
    const auto check = [&](const NCDataMatrix<T>& actual, bool isPre, const auto& f) {
      Rows<T> expected = x;
      for (std::size_t i = 0; i < 2; ++i) {
        expected[i] = Combined(x[i], isPre ? v : std::vector<T>(2, v[i]), f);
      }
      EXPECT_EQ(Elements(actual), expected);
      ExpectRightCounts(actual);
    };
    const NCDataMatrix<T> m = Matrix(x);
    check(m.DotMultiplyVector(Vector(v)), false, std::multiplies<T>());
    check(m.DotDivideVector(Vector(v)), false, std::divides<T>());
    check(m.DotPreMultiplyVector(Vector(v)), true, std::multiplies<T>());
    check(m.DotPreDivideVector(Vector(v)), true, std::divides<T>());
  }
  const auto m = Matrix<T>({{1, -1}});
  constexpr T infinity = std::numeric_limits<T>::infinity();
  EXPECT_EQ(Elements(m.DotDivideVector({T{0}})), Rows<T>({{infinity, -infinity}})) << "zeros are not guarded against";
  EXPECT_EQ(Elements(m.DotPreDivideVector({T{0}, T{4}})), Rows<T>({{infinity, T{-0.25}}}));
}

}  // namespace
