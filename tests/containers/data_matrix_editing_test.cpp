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
  /// A multiple of 1/64, or a gap in one of five.
  template <typename T>
  T Value() {
    return Upto(5) == 1 ? kGap<T> : static_cast<T>(Upto(511) - 256) / static_cast<T>(64);
  }
  template <typename T>
  std::vector<T> Values(int n) {
    std::vector<T> all(static_cast<std::size_t>(n));
    for (T& x : all) x = Value<T>();
    return all;
  }
  template <typename T>
  Rows<T> Cells(int rows, int columns) {
    Rows<T> all;
    for (int i = 0; i < rows; ++i) all.push_back(Values<T>(columns));
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
  void InsertColumns(int pos, const Rows<T>& cells) {
    const int at = std::min(pos - 1, Width());
    for (std::size_t i = 0; i < rows.size(); ++i) {
      rows[i].insert(rows[i].begin() + at, cells[i].begin(), cells[i].end());
    }
  }
  void Append(const Rows<T>& cells) { rows.insert(rows.end(), cells.begin(), cells.end()); }
  Rows<T> Gaps(int height, int width) const {
    return Rows<T>(static_cast<std::size_t>(height), std::vector<T>(static_cast<std::size_t>(width), kGap<T>));
  }
};

template <typename T>
using Mutate = std::function<void(NCDataMatrix<T>&)>;

/// Draws its arguments, edits the plain rows, and returns the same edit for a matrix.
template <typename T>
struct Edit {
  std::string name;
  std::function<Mutate<T>(Plain<T>& x, Dice& dice)> draw;
  bool isAtomic = true;  ///< leaves everything as it was when memory runs out
};

/// f(a, b) of what is present.
template <typename T, class F>
std::vector<T> Combined(std::vector<T> a, const std::vector<T>& b, const F& f) {
  std::transform(a.begin(), a.end(), b.begin(), a.begin(),
                 [&](T p, T q) { return p == kGap<T> || q == kGap<T> ? kGap<T> : static_cast<T>(f(p, q)); });
  return a;
}

template <typename T>
std::vector<Edit<T>> RowEdits() {
  using M = NCDataMatrix<T>;
  using P = Plain<T>;
  return {
      {"Resize",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int height = dice.Upto(9);
         const int width = dice.Upto(9);
         for (auto& row : x.rows) row.resize(static_cast<std::size_t>(width), kGap<T>);
         x.rows.resize(static_cast<std::size_t>(height), x.Gaps(1, width)[0]);
         return [=](M& m) { EXPECT_EQ(&m.Resize(height, width), &m); };
       },
       false},
      {"InsertRows at the end",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int count = dice.Upto(4) - 1;
         const int pos = x.Height() + dice.Upto(3);
         x.Append(x.Gaps(count, x.Width()));
         return [=](M& m) { m.InsertRows(pos, count); };
       }},
      {"RemoveRows",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int first = dice.Upto(x.Height());
         const int count = std::min(dice.Upto(x.Height() - first + 1), x.Height() - 1);
         x.rows.erase(x.rows.begin() + first - 1, x.rows.begin() + first - 1 + count);
         return [=](M& m) { m.RemoveRows(first, count); };
       }},
      {"ConcatRows",
       [](P& x, Dice& dice) -> Mutate<T> {
         const auto cells = dice.Cells<T>(dice.Upto(3), x.Width());
         x.Append(cells);
         return [more = Matrix(cells)](M& m) { m.ConcatRows(more); };
       }},
      {"ConcatRows of itself",
       [](P& x, Dice&) -> Mutate<T> {
         x.Append(Rows<T>(x.rows));
         return [](M& m) { m.ConcatRows(m); };
       }},
      {"SwapRows",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int a = dice.Upto(x.Height());
         const int b = dice.Upto(x.Height());
         std::swap(x.Row(a), x.Row(b));
         return [=](M& m) { m.SwapRows(a, b); };
       }},
      {"SetRow to a number",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int r = dice.Upto(x.Height());
         const T value = dice.Value<T>();
         std::fill(x.Row(r).begin(), x.Row(r).end(), value);
         return [=](M& m) { m.SetRow(r, value); };
       }},
      {"SetRow to a vector",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int r = dice.Upto(x.Height());
         x.Row(r) = dice.Values<T>(x.Width());
         return [r, v = Vector(x.Row(r))](M& m) { m.SetRow(r, v); };
       }},
      {"SetRow to its own row",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int from = dice.Upto(x.Height());
         const int to = dice.Upto(x.Height());
         x.Row(to) = std::vector<T>(x.Row(from));
         return [=](M& m) { m.SetRow(to, m[from]); };
       }},
      {"MultiplyRow",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int from = dice.Upto(x.Height());
         const int to = dice.Upto(x.Height());
         x.Row(to) = Combined(x.Row(from), x.Row(from), [](T p, T) { return -2.0 * static_cast<double>(p); });
         return [=](M& m) { m.MultiplyRow(from, -2.0, to); };
       }},
  };
}

template <typename T>
std::vector<Edit<T>> ColumnEdits() {
  using M = NCDataMatrix<T>;
  using P = Plain<T>;
  return {
      {"InsertColumn",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int pos = dice.Upto(x.Width() + 2);
         const P cells{dice.Cells<T>(x.Height(), 1)};
         x.InsertColumns(pos, cells.rows);
         return [pos, v = Vector(cells.Column(1))](M& m) { m.InsertColumn(pos, v); };
       }},
      {"InsertColumns",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int pos = dice.Upto(x.Width() + 2);
         const int count = dice.Upto(4) - 1;
         x.InsertColumns(pos, x.Gaps(x.Height(), count));
         return [=](M& m) { m.InsertColumns(pos, count); };
       }},
      {"InsertColumns of a matrix",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int pos = dice.Upto(x.Width() + 2);
         const auto cells = dice.Cells<T>(x.Height(), dice.Upto(3));
         x.InsertColumns(pos, cells);
         return [pos, more = Matrix(cells)](M& m) { m.InsertColumns(pos, more); };
       }},
      {"InsertColumns of itself",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int pos = dice.Upto(x.Width());
         x.InsertColumns(pos, Rows<T>(x.rows));
         return [=](M& m) { m.InsertColumns(pos, m); };
       }},
      {"RemoveColumns",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int first = dice.Upto(x.Width());
         const int count = std::min(dice.Upto(x.Width() - first + 1), x.Width() - 1);
         for (auto& row : x.rows) row.erase(row.begin() + first - 1, row.begin() + first - 1 + count);
         return [=](M& m) { m.RemoveColumns(first, count); };
       }},
      {"ConcatColumns",
       [](P& x, Dice& dice) -> Mutate<T> {
         const auto cells = dice.Cells<T>(x.Height(), dice.Upto(3));
         x.InsertColumns(x.Width() + 1, cells);
         return [more = Matrix(cells)](M& m) { m.ConcatColumns(more); };
       }},
      {"SwapColumns",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int a = dice.Upto(x.Width());
         const int b = dice.Upto(x.Width());
         const auto former = x.Column(a);
         x.SetColumn(a, x.Column(b));
         x.SetColumn(b, former);
         return [=](M& m) { m.ForceUnlink(), m.SwapColumns(a, b); };
       }},
      {"RearrangeColumns",
       [](P& x, Dice& dice) -> Mutate<T> {
         std::vector<int> order(static_cast<std::size_t>(dice.Upto(6)));
         for (int& c : order) c = dice.Upto(x.Width());
         P arranged{x.Gaps(x.Height(), static_cast<int>(order.size()))};
         for (std::size_t k = 0; k < order.size(); ++k) arranged.SetColumn(static_cast<int>(k) + 1, x.Column(order[k]));
         x = arranged;
         return [=](M& m) { m.RearrangeColumns(order); };
       }},
      {"CopyColumn",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int from = dice.Upto(x.Width());
         const int to = dice.Upto(x.Width());
         x.SetColumn(to, x.Column(from));
         return [=](M& m) { m.CopyColumn(from, to); };
       }},
      {"CopyColumn of another matrix",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int to = dice.Upto(x.Width());
         const P other{dice.Cells<T>(x.Height(), 2)};
         x.SetColumn(to, other.Column(2));
         return [to, more = Matrix(other.rows)](M& m) { m.CopyColumn(to, more, 2); };
       }},
      {"SetColumn to a number",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int c = dice.Upto(x.Width());
         const T value = dice.Value<T>();
         const auto former = x.Column(c);
         const bool isKept = value == kGap<T> && std::count(former.begin(), former.end(), kGap<T>) == x.Width();
         if (!isKept) x.SetColumn(c, std::vector<T>(former.size(), value));
         return [=](M& m) { m.SetColumn(c, value); };
       }},
      {"SetColumn to an array",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int c = dice.Upto(x.Width());
         auto array = dice.Values<T>(x.Height());
         x.SetColumn(c, array);
         array.insert(array.begin(), T{7});
         return [=](M& m) { m.SetColumn(c, array.data()); };
       }},
  };
}

template <typename T>
std::vector<Edit<T>> ArithmeticEdits() {
  using M = NCDataMatrix<T>;
  using P = Plain<T>;
  const auto unlessGap = [](std::vector<T> row, const std::vector<T>& v, const auto& f) {
    for (std::size_t j = 0; j < row.size(); ++j) {
      if (v[j] != kGap<T> && row[j] != kGap<T>) row[j] = f(row[j], v[j]);
    }
    return row;
  };
  return {
      {"LagColumn",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int c = dice.Upto(x.Width());
         const int k = dice.Upto(2 * x.Height() + 3) - x.Height() - 2;
         auto column = x.Column(c);
         const auto shift = std::min(std::abs(k), x.Height());
         if (k > 0) column.insert(column.begin(), static_cast<std::size_t>(shift), kGap<T>);
         if (k < 0) column.erase(column.begin(), column.begin() + shift);
         column.resize(x.rows.size(), kGap<T>);
         x.SetColumn(c, column);
         return [=](M& m) { m.ForceUnlink(), m.LagColumn(c, k); };
       }},
      {"MultiplyColumn",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int c = dice.Upto(x.Width());
         const int to = dice.Upto(x.Width());
         x.SetColumn(to, Combined(x.Column(c), x.Column(c), [](T p, T) { return static_cast<double>(p) * 0.7; }));
         return [=](M& m) { m.MultiplyColumn(c, 0.7, to); };
       }},
      {"MultiplyColumns",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int a = dice.Upto(x.Width());
         const int b = dice.Upto(x.Width());
         const int to = dice.Upto(x.Width());
         x.SetColumn(to, Combined(x.Column(a), x.Column(b), std::multiplies<T>()));
         return [=](M& m) { m.MultiplyColumns(a, b, to); };
       }},
      {"SubtractFromColumn",
       [](P& x, Dice& dice) -> Mutate<T> {
         const int c = dice.Upto(x.Width());
         const double d = dice.Upto(6) == 1 ? -99.0 : 0.3;
         x.SetColumn(c, Combined(x.Column(c), x.Column(c),
                                 [=](T p, T) { return d == -99.0 ? d : static_cast<double>(p) - d; }));
         return [=](M& m) { m.SubtractFromColumn(c, d); };
       }},
      {"TransformToColumnScaled",
       [=](P& x, Dice& dice) -> Mutate<T> {
         const auto factors = dice.Values<T>(x.Width());
         for (auto& row : x.rows) row = unlessGap(row, factors, std::multiplies<T>());
         return [v = Vector(factors)](M& m) mutable { m.ForceUnlink(), m.TransformToColumnScaled(v); };
       }},
      {"TransformToDotSubRowVector",
       [=](P& x, Dice& dice) -> Mutate<T> {
         const auto terms = dice.Values<T>(x.Width());
         for (auto& row : x.rows) row = unlessGap(row, terms, std::minus<T>());
         return [v = Vector(terms)](M& m) { m.TransformToDotSubRowVector(v); };
       }},
  };
}

template <typename T>
class DataMatrixEditing : public ::testing::Test {
 protected:
  static bool IsUnwieldy(const Plain<T>& x) {
    const auto isLarge = [](T cell) { return std::abs(cell) > T{1e6}; };
    return x.Height() > 12 || x.Width() > 12 || std::any_of(x.rows.begin(), x.rows.end(), [&](const auto& row) {
             return std::any_of(row.begin(), row.end(), isLarge);
           });
  }

  /// Lets the k-th allocation fail, for every k. What was taken before does not change.
  static void ExpectSafeWithoutMemory(const Edit<T>& edit, const Mutate<T>& mutate, const Rows<T>& before,
                                      bool isShared) {
    const NCDataMatrix<T> taken = Matrix(before);
    for (int k = 1, failed = 1; failed != 0; ++k) {
      NCDataMatrix<T> target = isShared ? taken : Matrix(before);
      failed = 0;
      {
        const FailingAllocation failing(k);
        try {
          mutate(target);
        } catch (const std::bad_alloc&) {
          failed = 1;
        }
      }
      SCOPED_TRACE(::testing::Message() << "allocation " << k << " failed");
      EXPECT_EQ(Elements(taken), before);
      if (failed != 0 && edit.isAtomic) {
        EXPECT_EQ(Elements(target), before);
      }
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
    Plain<T> x{dice.Cells<T>(dice.Upto(6), dice.Upto(6))};
    NCDataMatrix<T> m = Matrix(x.rows);
    std::string history;
    for (int step = 0; step < 30 && !this->IsUnwieldy(x); ++step) {
      const auto e = static_cast<std::size_t>(dice.Upto(static_cast<int>(edits.size())) - 1);
      ++runs[e];
      history += ", " + edits[e].name;
      SCOPED_TRACE(::testing::Message() << "seed " << seed << history);
      const Rows<T> before = x.rows;
      const auto mutate = edits[e].draw(x, dice);
      const NCDataMatrix<T> taken = step % 4 == 3 ? NCDataMatrix<T>() : m;  // now and then nothing is shared
      mutate(m);
      ASSERT_EQ(Elements(m), x.rows);
      ExpectRightCounts(m);
      if (taken.SizeRows() != 0) {
        EXPECT_EQ(Elements(taken), before) << "written through a copy";
      }
      ExpectRightCounts(taken);
      if (runs[e] <= 6 && FailingAllocation::IsAvailable()) {
        this->ExpectSafeWithoutMemory(edits[e], mutate, before, runs[e] % 2 == 0);
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

TYPED_TEST(DataMatrixEditing, StandardisedRowsBringTheCountsOfTheMatrix) {
  using T = TypeParam;
  constexpr T gap = kGap<T>;
  NCDataMatrix<T> m = Matrix<T>({{1, 2, 3}, {4, 4, 4}, {gap, 6, 4}});
  const auto standard = m.SNV();
  EXPECT_EQ(Elements(standard[1]), std::vector<T>({-1, 0, 1}));
  EXPECT_EQ(Elements(standard[2]), std::vector<T>(3, gap));
  EXPECT_EQ(standard[3][2], static_cast<T>(1.0 / std::sqrt(2.0)));
  EXPECT_EQ(standard[2].GetNumMisVal(), 3);
  EXPECT_EQ(standard.GetNumMisVal(), 1) << "a row that became missing is not counted";
  EXPECT_EQ(standard.GetColumnMisVal(1), 1);
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
  const auto check = [](const NCDataMatrix<T>& actual, const Plain<T>& expected) {
    EXPECT_EQ(Elements(actual), expected.rows);
    ExpectRightCounts(actual);
  };
  for (unsigned pattern = 0; pattern < 64; ++pattern) {
    SCOPED_TRACE(::testing::Message() << "gaps " << pattern);
    const auto cell = [pattern](unsigned bit, T value) { return (pattern >> bit & 1) != 0 ? kGap<T> : value; };
    const Plain<T> x{{{cell(0, T{33}), cell(1, T{7})}, {cell(2, T{1.5}), cell(3, T{-33})}}};
    const std::vector<T> v = {cell(4, T{-3}), cell(5, T{3})};
    Plain<T> products = x;
    Plain<T> quotients = x;
    for (int c = 1; c <= 2; ++c) {
      products.SetColumn(c, Combined(x.Column(c), v, std::multiplies<T>()));
      quotients.SetColumn(c, Combined(x.Column(c), v, std::divides<T>()));
    }
    const NCDataMatrix<T> m = Matrix(x.rows);
    check(m.DotMultiplyVector(Vector(v)), products);
    check(m.DotDivideVector(Vector(v)), quotients);
    for (int r = 1; r <= 2; ++r) {
      products.Row(r) = Combined(x.rows[static_cast<std::size_t>(r - 1)], v, std::multiplies<T>());
      quotients.Row(r) = Combined(x.rows[static_cast<std::size_t>(r - 1)], v, std::divides<T>());
    }
    check(m.DotPreMultiplyVector(Vector(v)), products);
    check(m.DotPreDivideVector(Vector(v)), quotients);
  }
  const auto m = Matrix<T>({{1, -1}});
  constexpr T infinity = std::numeric_limits<T>::infinity();
  EXPECT_EQ(Elements(m.DotDivideVector({T{0}})), Rows<T>({{infinity, -infinity}})) << "zeros are not guarded against";
  EXPECT_EQ(Elements(m.DotPreDivideVector({T{0}, T{4}})), Rows<T>({{infinity, T{-0.25}}}));
}

}  // namespace
