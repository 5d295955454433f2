#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <new>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/containers/failing_allocation.h"
#include "tests/containers/matrix_values.h"
#include "tests/containers/plain_reference.h"
#include "voran/containers/data_matrix.h"
#include "voran/platform/nc_error.h"

namespace {

using plain::kGap;
using ::testing::Each;
using ::testing::ElementsAre;
using values::Elements;
using values::ExpectRightCounts;
using values::Matrix;
using values::Rows;
using values::Vector;

class Dice {
 public:
  explicit Dice(unsigned seed) : generator_(seed) {}
  /// 1..n
  int Upto(int n) { return std::uniform_int_distribution<int>(1, n)(generator_); }
  /// A multiple of 1/64, or a gap in one of five.
  template <typename T>
  T Value() {
    return Upto(5) == 1 ? kGap<T> : static_cast<T>(Upto(511) - 256) / static_cast<T>(64);
  }
  template <typename T>
  std::vector<T> Values(std::size_t n) {
    std::vector<T> all(n);
    for (T& x : all) x = Value<T>();
    return all;
  }
  template <typename T>
  Rows<T> Cells(std::size_t rows, std::size_t columns) {
    Rows<T> all;
    for (std::size_t i = 0; i < rows; ++i) all.push_back(Values<T>(columns));
    return all;
  }

 private:
  std::mt19937 generator_;
};

template <typename T>
using Mutate = std::function<void(NCDataMatrix<T>&)>;

/// Draws its arguments, edits the plain rows, and returns the same edit for a matrix.
template <typename T>
struct Edit {
  std::string name;
  std::function<Mutate<T>(Rows<T>& x, Dice& dice)> draw;
  bool isAtomic = true;  ///< leaves everything as it was when memory runs out
};

template <typename T>
int RowsOf(const Rows<T>& x) {
  return static_cast<int>(x.size());
}
template <typename T>
int ColumnsOf(const Rows<T>& x) {
  return static_cast<int>(x[0].size());
}

template <typename T>
std::vector<T> Column(const Rows<T>& x, int c) {
  std::vector<T> column;
  for (const auto& row : x) column.push_back(row[static_cast<std::size_t>(c - 1)]);
  return column;
}

template <typename T>
void SetColumn(Rows<T>& x, int c, const std::vector<T>& column) {
  for (std::size_t i = 0; i < x.size(); ++i) x[i][static_cast<std::size_t>(c - 1)] = column[i];
}

/// Inserts `cells`, as many rows, before position `pos` or at the end.
template <typename T>
void InsertColumns(Rows<T>& x, int pos, const Rows<T>& cells) {
  const auto at = std::min(pos - 1, ColumnsOf(x));
  for (std::size_t i = 0; i < x.size(); ++i) x[i].insert(x[i].begin() + at, cells[i].begin(), cells[i].end());
}

template <typename T>
T Times(T a, T b) {
  return a == kGap<T> || b == kGap<T> ? kGap<T> : a * b;
}

template <typename T>
std::vector<Edit<T>> RowEdits() {
  using M = NCDataMatrix<T>;
  return {
      {"Resize",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int rows = dice.Upto(9);
         const int columns = dice.Upto(9);
         for (auto& row : x) row.resize(static_cast<std::size_t>(columns), kGap<T>);
         x.resize(static_cast<std::size_t>(rows), std::vector<T>(static_cast<std::size_t>(columns), kGap<T>));
         return [=](M& m) { EXPECT_EQ(&m.Resize(rows, columns), &m); };
       },
       false},
      {"InsertRows at the end",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int count = dice.Upto(4) - 1;
         const int pos = RowsOf(x) + dice.Upto(3);
         x.insert(x.end(), static_cast<std::size_t>(count), std::vector<T>(x[0].size(), kGap<T>));
         return [=](M& m) { m.InsertRows(pos, count); };
       }},
      {"RemoveRows",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int first = dice.Upto(RowsOf(x));
         const int count = std::min(dice.Upto(RowsOf(x) - first + 1), RowsOf(x) - 1);
         x.erase(x.begin() + first - 1, x.begin() + first - 1 + count);
         return [=](M& m) { m.RemoveRows(first, count); };
       }},
      {"ConcatRows",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const auto cells = dice.Cells<T>(static_cast<std::size_t>(dice.Upto(3)), x[0].size());
         x.insert(x.end(), cells.begin(), cells.end());
         return [more = Matrix(cells)](M& m) { m.ConcatRows(more); };
       }},
      {"ConcatRows of itself",
       [](Rows<T>& x, Dice&) -> Mutate<T> {
         const Rows<T> former = x;
         x.insert(x.end(), former.begin(), former.end());
         return [](M& m) { m.ConcatRows(m); };
       }},
      {"SwapRows",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int a = dice.Upto(RowsOf(x));
         const int b = dice.Upto(RowsOf(x));
         std::swap(x[static_cast<std::size_t>(a - 1)], x[static_cast<std::size_t>(b - 1)]);
         return [=](M& m) { m.SwapRows(a, b); };
       }},
      {"SetRow to a number",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int r = dice.Upto(RowsOf(x));
         const T value = dice.Value<T>();
         x[static_cast<std::size_t>(r - 1)].assign(x[0].size(), value);
         return [=](M& m) { m.SetRow(r, value); };
       }},
      {"SetRow to a vector",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int r = dice.Upto(RowsOf(x));
         const auto row = dice.Values<T>(x[0].size());
         x[static_cast<std::size_t>(r - 1)] = row;
         return [r, v = Vector(row)](M& m) { m.SetRow(r, v); };
       }},
      {"SetRow to its own row",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int from = dice.Upto(RowsOf(x));
         const int to = dice.Upto(RowsOf(x));
         x[static_cast<std::size_t>(to - 1)] = x[static_cast<std::size_t>(from - 1)];
         return [=](M& m) { m.SetRow(to, m[from]); };
       }},
      {"MultiplyRow",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int from = dice.Upto(RowsOf(x));
         const int to = dice.Upto(RowsOf(x));
         auto row = x[static_cast<std::size_t>(from - 1)];
         for (T& cell : row) cell = Times(cell, T{-2});
         x[static_cast<std::size_t>(to - 1)] = row;
         return [=](M& m) { m.MultiplyRow(from, -2.0, to); };
       }},
  };
}

template <typename T>
std::vector<Edit<T>> ColumnEdits() {
  using M = NCDataMatrix<T>;
  return {
      {"InsertColumn",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int pos = dice.Upto(ColumnsOf(x) + 2);
         const auto cells = dice.Cells<T>(x.size(), 1);
         InsertColumns(x, pos, cells);
         return [pos, v = Vector(Column(cells, 1))](M& m) { m.InsertColumn(pos, v); };
       }},
      {"InsertColumns",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int pos = dice.Upto(ColumnsOf(x) + 2);
         const int count = dice.Upto(4) - 1;
         InsertColumns(x, pos, Rows<T>(x.size(), std::vector<T>(static_cast<std::size_t>(count), kGap<T>)));
         return [=](M& m) { m.InsertColumns(pos, count); };
       }},
      {"InsertColumns of a matrix",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int pos = dice.Upto(ColumnsOf(x) + 2);
         const auto cells = dice.Cells<T>(x.size(), static_cast<std::size_t>(dice.Upto(3)));
         InsertColumns(x, pos, cells);
         return [pos, more = Matrix(cells)](M& m) { m.InsertColumns(pos, more); };
       }},
      {"InsertColumns of itself",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int pos = dice.Upto(ColumnsOf(x));
         InsertColumns(x, pos, Rows<T>(x));
         return [=](M& m) { m.InsertColumns(pos, m); };
       }},
      {"RemoveColumns",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int first = dice.Upto(ColumnsOf(x));
         const int count = std::min(dice.Upto(ColumnsOf(x) - first + 1), ColumnsOf(x) - 1);
         for (auto& row : x) row.erase(row.begin() + first - 1, row.begin() + first - 1 + count);
         return [=](M& m) { m.RemoveColumns(first, count); };
       }},
      {"ConcatColumns",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const auto cells = dice.Cells<T>(x.size(), static_cast<std::size_t>(dice.Upto(3)));
         InsertColumns(x, ColumnsOf(x) + 1, cells);
         return [more = Matrix(cells)](M& m) { m.ConcatColumns(more); };
       }},
      {"ConcatColumns of itself",
       [](Rows<T>& x, Dice&) -> Mutate<T> {
         InsertColumns(x, ColumnsOf(x) + 1, Rows<T>(x));
         return [](M& m) { m.ConcatColumns(m); };
       }},
      {"SwapColumns",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int a = dice.Upto(ColumnsOf(x));
         const int b = dice.Upto(ColumnsOf(x));
         for (auto& row : x) std::swap(row[static_cast<std::size_t>(a - 1)], row[static_cast<std::size_t>(b - 1)]);
         return [=](M& m) { m.ForceUnlink(), m.SwapColumns(a, b); };
       }},
      {"RearrangeColumns",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         std::vector<int> order(static_cast<std::size_t>(dice.Upto(6)));
         for (int& c : order) c = dice.Upto(ColumnsOf(x));
         Rows<T> arranged(x.size(), std::vector<T>(order.size()));
         for (std::size_t k = 0; k < order.size(); ++k) {
           SetColumn(arranged, static_cast<int>(k) + 1, Column(x, order[k]));
         }
         x = arranged;
         return [=](M& m) { m.RearrangeColumns(order); };
       }},
      {"CopyColumn",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int from = dice.Upto(ColumnsOf(x));
         const int to = dice.Upto(ColumnsOf(x));
         SetColumn(x, to, Column(x, from));
         return [=](M& m) { m.CopyColumn(from, to); };
       }},
      {"CopyColumn of another matrix",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int to = dice.Upto(ColumnsOf(x));
         const auto cells = dice.Cells<T>(x.size(), 2);
         SetColumn(x, to, Column(cells, 2));
         return [to, other = Matrix(cells)](M& m) { m.CopyColumn(to, other, 2); };
       }},
      {"SetColumn to a number",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int c = dice.Upto(ColumnsOf(x));
         const T value = dice.Value<T>();
         const auto former = Column(x, c);
         const bool isKept = value == kGap<T> && std::count(former.begin(), former.end(), kGap<T>) == ColumnsOf(x);
         if (!isKept) SetColumn(x, c, std::vector<T>(x.size(), value));
         return [=](M& m) { m.SetColumn(c, value); };
       }},
      {"SetColumn to an array",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int c = dice.Upto(ColumnsOf(x));
         auto column = dice.Values<T>(x.size());
         SetColumn(x, c, column);
         column.insert(column.begin(), T{7});
         return [=](M& m) { m.SetColumn(c, column.data()); };
       }},
  };
}

template <typename T>
std::vector<Edit<T>> ArithmeticEdits() {
  using M = NCDataMatrix<T>;
  return {
      {"LagColumn",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int c = dice.Upto(ColumnsOf(x));
         const int k = dice.Upto(2 * RowsOf(x) + 3) - RowsOf(x) - 2;
         const auto former = Column(x, c);
         auto lagged = std::vector<T>(former.size(), kGap<T>);
         for (int i = 0; i < RowsOf(x); ++i) {
           if (i - k >= 0 && i - k < RowsOf(x))
             lagged[static_cast<std::size_t>(i)] = former[static_cast<std::size_t>(i - k)];
         }
         SetColumn(x, c, lagged);
         return [=](M& m) { m.ForceUnlink(), m.LagColumn(c, k); };
       }},
      {"MultiplyColumn",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int from = dice.Upto(ColumnsOf(x));
         const int to = dice.Upto(ColumnsOf(x));
         auto column = Column(x, from);
         // In double, and rounded once.
         for (T& cell : column) cell = cell == kGap<T> ? cell : static_cast<T>(static_cast<double>(cell) * 0.7);
         SetColumn(x, to, column);
         return [=](M& m) { m.MultiplyColumn(from, 0.7, to); };
       }},
      {"MultiplyColumns",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int a = dice.Upto(ColumnsOf(x));
         const int b = dice.Upto(ColumnsOf(x));
         const int to = dice.Upto(ColumnsOf(x));
         auto product = Column(x, a);
         const auto other = Column(x, b);
         std::transform(product.begin(), product.end(), other.begin(), product.begin(), Times<T>);
         SetColumn(x, to, product);
         return [=](M& m) { m.MultiplyColumns(a, b, to); };
       }},
      {"SubtractFromColumn",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const int c = dice.Upto(ColumnsOf(x));
         const double d = dice.Upto(6) == 1 ? -99.0 : 0.3;
         auto column = Column(x, c);
         for (T& cell : column) {
           if (cell != kGap<T>) cell = d == -99.0 ? kGap<T> : static_cast<T>(static_cast<double>(cell) - d);
         }
         SetColumn(x, c, column);
         return [=](M& m) { m.SubtractFromColumn(c, d); };
       }},
      {"TransformToColumnScaled",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const auto factors = dice.Values<T>(x[0].size());
         for (auto& row : x) {
           for (std::size_t j = 0; j < row.size(); ++j) {
             if (factors[j] != kGap<T> && row[j] != kGap<T>) row[j] *= factors[j];
           }
         }
         return [v = Vector(factors)](M& m) mutable { m.ForceUnlink(), m.TransformToColumnScaled(v); };
       }},
      {"TransformToDotSubRowVector",
       [](Rows<T>& x, Dice& dice) -> Mutate<T> {
         const auto terms = dice.Values<T>(x[0].size());
         for (auto& row : x) {
           for (std::size_t j = 0; j < row.size(); ++j) {
             if (terms[j] != kGap<T> && row[j] != kGap<T>) row[j] -= terms[j];
           }
         }
         return [v = Vector(terms)](M& m) { m.TransformToDotSubRowVector(v); };
       }},
  };
}

template <typename T>
class DataMatrixEditing : public ::testing::Test {
 protected:
  static bool IsUnwieldy(const Rows<T>& x) {
    const auto isLarge = [](T cell) { return std::abs(cell) > T{1e6}; };
    return x.size() > 12 || x[0].size() > 12 || std::any_of(x.begin(), x.end(), [&](const auto& row) {
             return std::any_of(row.begin(), row.end(), isLarge);
           });
  }

  /// Lets the k-th allocation fail, for every k. What was taken before does not change.
  static void ExpectSafeWithoutMemory(const Edit<T>& edit, const Mutate<T>& mutate, const NCDataMatrix<T>& taken,
                                      const Rows<T>& before) {
    if (!FailingAllocation::IsAvailable()) return;
    for (int k = 1, failed = 1; failed != 0; ++k) {
      NCDataMatrix<T> target = taken;
      failed = 0;
      {
        const FailingAllocation failing(k);
        try {
          mutate(target);
        } catch (const std::bad_alloc&) {
          failed = 1;
        }
      }
      EXPECT_EQ(Elements(taken), before) << "allocation " << k << " failed";
      if (failed != 0 && edit.isAtomic) {
        EXPECT_EQ(Elements(target), before) << "allocation " << k << " failed";
      }
      ExpectRightCounts(target);
      target.push_back(NCDataVector<T>(target.SizeColumns()));
      ExpectRightCounts(target);
    }
  }
};

using ElementTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(DataMatrixEditing, ElementTypes);

TYPED_TEST(DataMatrixEditing, SequencesOfEditsEqualThoseOfPlainRows) {
  using T = TypeParam;
  auto edits = RowEdits<T>();
  for (auto&& more : {ColumnEdits<T>(), ArithmeticEdits<T>()}) edits.insert(edits.end(), more.begin(), more.end());
  std::vector<int> runs(edits.size());
  for (unsigned seed = 1; seed <= 60; ++seed) {
    Dice dice(seed);
    Rows<T> x = dice.Cells<T>(static_cast<std::size_t>(dice.Upto(6)), static_cast<std::size_t>(dice.Upto(6)));
    NCDataMatrix<T> m = Matrix(x);
    std::string history;
    for (int step = 0; step < 30 && !this->IsUnwieldy(x); ++step) {
      const auto e = static_cast<std::size_t>(dice.Upto(static_cast<int>(edits.size())) - 1);
      ++runs[e];
      history += ", " + edits[e].name;
      SCOPED_TRACE(::testing::Message() << "seed " << seed << history);
      const Rows<T> before = x;
      const auto mutate = edits[e].draw(x, dice);
      NCDataMatrix<T> taken = m;
      if (step % 4 == 3) taken = NCDataMatrix<T>();  // now and then nothing is shared
      mutate(m);
      ASSERT_EQ(Elements(m), x);
      ExpectRightCounts(m);
      if (taken.SizeRows() != 0) {
        EXPECT_EQ(Elements(taken), before) << "written through a copy";
        ExpectRightCounts(taken);
      }
      if (runs[e] <= 4) this->ExpectSafeWithoutMemory(edits[e], mutate, Matrix(before), before);
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

  NCDataMatrix<T> cleared = Matrix(s);
  cleared.ReserveRows(20);
  cleared.RemoveRows(1, 2);
  cleared.InsertRows(2, 4);
  EXPECT_EQ(Elements(cleared), Rows<T>({s[2], gaps, gaps, gaps, gaps}));
  ExpectRightCounts(cleared);
  cleared(5, 1, T{1});
  EXPECT_EQ(cleared[4][1], kGap<T>) << "the new rows are not one";
}

TYPED_TEST(DataMatrixEditing, ConcatRowsRefusesAnotherWidthAndLeavesTheCapacity) {
  using T = TypeParam;
  NCDataMatrix<T> m = Matrix<T>({{1, 2}, {3, 4}});
  try {
    m.ConcatRows(Matrix<T>({{1}}));
    ADD_FAILURE() << "a matrix of another width was taken";
  } catch (const NCInternalError& error) {
    EXPECT_STREQ(error.what(), "NCDataMatrix<FloatType>::ConcatRows: Matrices are different size.");
  }
  const auto more = Matrix<T>({{5, 6}, {7, 8}, {9, 10}});
  m.ConcatRows(more);
  EXPECT_EQ(m[3].GetVector(), more[1].GetVector()) << "rows are shared";
  m.ReserveRows(1);
  m.ReserveRows(5);  // more than the capacity of 4, and no more than there are rows
  m.InsertRows(2, 1);
  EXPECT_EQ(m[2][1], kGap<T>) << "the insertion takes a new array";
  ExpectRightCounts(m);

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
  EXPECT_THAT(std::vector<int>({m.GetColumnMisVal(1), m.GetColumnMisVal(2), m.GetColumnMisVal(3)}),
              ElementsAre(1, 0, 2));
  EXPECT_EQ(m.GetNumMisVal(), 3);
  NCDataMatrix<T> flat = Matrix<T>({{1, gap, 3}});
  flat.CopyRow(1, 1);
  ExpectRightCounts(flat);

  // The marker as a factor.
  NCDataMatrix<T> product = Matrix<T>({{1, 2}, {3, gap}});
  product.MultiplyColumn(1, -99.0, 2);
  EXPECT_EQ(Elements(product), Rows<T>({{gap, 2}, {gap, gap}}));
  ExpectRightCounts(product);
  product = Matrix<T>({{1, 2}, {3, gap}});
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

TYPED_TEST(DataMatrixEditing, SomeOperationsWriteToSharedRows) {
  using T = TypeParam;
  using M = NCDataMatrix<T>;
  const Rows<T> s = {{1, 2}, {3, 4}, {5, 6}};
  NCDataVector<T> factors{10, kGap<T>};
  struct Case {
    const char* name;
    std::function<void(M&)> mutate;
    Rows<T> result;
    Rows<T> copy;
  };
  const std::vector<Case> cases = {
      {"SwapColumns", [](M& m) { m.SwapColumns(1, 2); }, {{2, 1}, {4, 3}, {6, 5}}, {{2, 1}, {4, 3}, {6, 5}}},
      {"TransformToColumnScaled",
       [&](M& m) { m.TransformToColumnScaled(factors); },
       {{10, 2}, {30, 4}, {50, 6}},
       {{10, 2}, {30, 4}, {50, 6}}},
      {"LagColumn, where nothing is vacated",
       [](M& m) { m.LagColumn(1, 1); },
       {{kGap<T>, 2}, {1, 4}, {3, 6}},
       {{1, 2}, {1, 4}, {3, 6}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    M m = Matrix(s);
    const M copy = m;
    c.mutate(m);
    EXPECT_EQ(Elements(m), c.result);
    EXPECT_EQ(Elements(copy), c.copy);
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
  M narrow(2, 0, 0);
  EXPECT_EQ(narrow.DotMultiplyVector({1, 2}).SizeRows(), 2);
  narrow.SwapRows(1, 2);
}

TYPED_TEST(DataMatrixEditing, ARowMayBeTheOperand) {
  using T = TypeParam;
  const Rows<T> s = {{1, 2, kGap<T>}, {4, 5, 6}, {7, kGap<T>, 9}};
  NCDataMatrix<T> m = Matrix(s);
  m.SetColumn(1, m[1]);
  EXPECT_EQ(Elements(m), Rows<T>({{1, 2, kGap<T>}, {2, 5, 6}, {kGap<T>, kGap<T>, 9}}));
  m.SetColumn(1, m[2].GetVector());
  EXPECT_EQ(Elements(m), Rows<T>({{2, 2, kGap<T>}, {5, 5, 6}, {6, kGap<T>, 9}}));
  m.InsertColumn(1, m[1]);
  EXPECT_EQ(Elements(m.GetColumn(1)), std::vector<T>({2, 2, kGap<T>}));
  ExpectRightCounts(m);
  NCDataMatrix<T> square = Matrix(s);
  square.TransformToDotSubRowVector(square[1]);
  EXPECT_EQ(Elements(square), Rows<T>({{0, 0, kGap<T>}, {3, 3, 6}, {6, kGap<T>, 9}}));
  square = Matrix(s);
  square.TransformToColumnScaled(square(1));
  EXPECT_EQ(Elements(square), Rows<T>({{1, 4, kGap<T>}, {4, 10, 6}, {7, kGap<T>, 9}}));
  const auto before = Matrix(s);
  NCDataMatrix<T> self = before;
  self.DotPreMultiplyVectorImpl(self[1], self);
  EXPECT_EQ(Elements(self), Elements(before.DotPreMultiplyVector(before[1])));
}

/// Every pattern of gaps of a 2 x 2 matrix and of the vector, and two products that fall on the marker.
TYPED_TEST(DataMatrixEditing, ScalingByAVectorEqualsTheFormulas) {
  using T = TypeParam;
  const auto quotient = [](T a, T b) { return a == kGap<T> || b == kGap<T> ? kGap<T> : a / b; };
  for (unsigned pattern = 0; pattern < 64; ++pattern) {
    SCOPED_TRACE(::testing::Message() << "gaps " << pattern);
    const auto cell = [pattern](unsigned bit, T value) { return (pattern >> bit & 1) != 0 ? kGap<T> : value; };
    const Rows<T> x = {{cell(0, T{33}), cell(1, T{7})}, {cell(2, T{1.5}), cell(3, T{-33})}};
    const std::vector<T> v = {cell(4, T{-3}), cell(5, T{3})};
    Rows<T> byRow[2] = {x, x};
    Rows<T> byColumn[2] = {x, x};
    for (std::size_t i = 0; i < 2; ++i) {
      for (std::size_t j = 0; j < 2; ++j) {
        byRow[0][i][j] = Times(x[i][j], v[i]);
        byRow[1][i][j] = quotient(x[i][j], v[i]);
        byColumn[0][i][j] = Times(x[i][j], v[j]);
        byColumn[1][i][j] = quotient(x[i][j], v[j]);
      }
    }
    const NCDataMatrix<T> m = Matrix(x);
    const auto check = [](const NCDataMatrix<T>& actual, const Rows<T>& expected) {
      EXPECT_EQ(Elements(actual), expected);
      ExpectRightCounts(actual);
    };
    check(m.DotMultiplyVector(Vector(v)), byRow[0]);
    check(m.DotDivideVector(Vector(v)), byRow[1]);
    check(m.DotPreMultiplyVector(Vector(v)), byColumn[0]);
    check(m.DotPreDivideVector(Vector(v)), byColumn[1]);
  }
  const auto m = Matrix<T>({{1, -1}});
  constexpr T infinity = std::numeric_limits<T>::infinity();
  EXPECT_EQ(Elements(m.DotDivideVector({T{0}})), Rows<T>({{infinity, -infinity}})) << "zeros are not guarded against";
  EXPECT_EQ(Elements(m.DotPreDivideVector({T{0}, T{4}})), Rows<T>({{infinity, T{-0.25}}}));
}

}  // namespace
