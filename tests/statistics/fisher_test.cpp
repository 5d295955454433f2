#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/platform/catalogue.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/progress.h"
#include "voran/statistics/contingency_table.h"
#include "voran/statistics/fisher_bounds.h"
#include "voran/statistics/fisher_exact.h"

namespace {

using Sta::SidedNess;
using Sta::detail::fexact;
using Table = std::vector<std::vector<int>>;

constexpr double kRounding = 1e-9;  // of sums of at most a million probabilities and of their logarithms
constexpr int kWorkspace = 2000000;

std::vector<int> Sums(const Table& table, bool ofRows) {
  std::vector<int> sums(ofRows ? table.size() : table[0].size());
  for (std::size_t i = 0; i < table.size(); ++i) {
    for (std::size_t j = 0; j < table[0].size(); ++j) sums[ofRows ? i : j] += table[i][j];
  }
  return sums;
}

double LogFactorial(int n) {
  double sum = 0.0;
  for (int k = 2; k <= n; ++k) sum += std::log(k);
  return sum;
}

/// Calls `visit` with the sum of ln x! of every table with these margins that fills the cells from `cell` on.
void ForEachTable(std::vector<int>& rows, std::vector<int>& columns, std::size_t cell, double sum,
                  const std::function<void(double)>& visit) {
  if (cell == rows.size() * columns.size()) return visit(sum);
  int& ofRow = rows[cell / columns.size()];
  int& ofColumn = columns[cell % columns.size()];
  const bool isLastOfRow = (cell + 1) % columns.size() == 0;
  for (int x = isLastOfRow ? ofRow : 0; x <= std::min(ofRow, ofColumn); ++x) {
    ofRow -= x;
    ofColumn -= x;
    ForEachTable(rows, columns, cell + 1, sum + LogFactorial(x), visit);
    ofRow += x;
    ofColumn += x;
  }
}

double LogFactorialsOf(const std::vector<int>& counts) {
  double sum = 0.0;
  for (const int x : counts) sum += LogFactorial(x);
  return sum;
}

struct Probabilities {
  double observed = 0.0;
  double p = 0.0;
};

Probabilities Enumerated(const Table& table) {
  std::vector<int> rows = Sums(table, true);
  std::vector<int> columns = Sums(table, false);
  const double scale =
      LogFactorialsOf(rows) + LogFactorialsOf(columns) - LogFactorial(std::accumulate(rows.begin(), rows.end(), 0));
  double own = 0.0;
  for (const auto& row : table) own += LogFactorialsOf(row);
  Probabilities result{std::exp(scale - own), 0.0};
  ForEachTable(rows, columns, 0, 0.0, [&](double sum) {
    if (sum >= own - 1e-7) result.p += std::exp(scale - sum);
  });
  return result;
}

double Exact(const Table& table, bool hybrid = false, int workspace = kWorkspace) {
  std::vector<int> cells;
  for (const auto& row : table) cells.insert(cells.end(), row.begin(), row.end());
  return Sta::GetFisherExactProbability(cells.data(), static_cast<int>(table.size()), static_cast<int>(table[0].size()),
                                        hybrid, SidedNess::kTwoSided, workspace);
}

/// What fexact makes of a table that is stored with a gap of one between its columns.
Probabilities ByColumns(const Table& table) {
  std::vector<int> cells;
  for (std::size_t j = 0; j < table[0].size(); ++j) {
    for (const auto& row : table) cells.push_back(row[j]);
    cells.push_back(-7);
  }
  Probabilities result;
  const int rows = static_cast<int>(table.size());
  fexact(rows, static_cast<int>(table[0].size()), cells.data(), rows + 1, {}, result.observed, result.p, kWorkspace,
         30);
  return result;
}

TEST(Fisher, AgreesWithFullEnumerationOnSmallTables) {
  std::mt19937 random(5);
  const struct {
    std::size_t rows, columns;
    unsigned below;
  } shapes[] = {{2, 3, 12}, {3, 2, 12}, {2, 5, 6}, {3, 3, 7}, {4, 3, 3}, {3, 5, 2}, {4, 4, 2}, {5, 4, 2}, {3, 3, 2}};
  for (int repeat = 0; repeat < 15; ++repeat) {
    for (const auto& shape : shapes) {
      Table table(shape.rows, std::vector<int>(shape.columns));
      for (auto& row : table) {
        for (int& x : row) x = static_cast<int>(random() % shape.below);
      }
      table[0][0] += 1;
      const Probabilities expected = Enumerated(table);
      const Probabilities result = ByColumns(table);
      ASSERT_NEAR(result.p / expected.p, 1.0, kRounding) << shape.rows << " x " << shape.columns << ", " << repeat;
      ASSERT_NEAR(result.observed / expected.observed, 1.0, kRounding);
      if (shape.rows != 2 || shape.columns != 2) {
        ASSERT_EQ(Exact(table), result.p);
      }
    }
  }
}

const Table kSatisfaction = {{1, 3, 10, 6}, {2, 3, 10, 7}, {1, 6, 14, 12}, {0, 1, 9, 11}};
const Table kTitanic = {{122, 203}, {167, 118}, {528, 178}, {673, 212}};
const Table kEighty = {{9, 4, 3, 5}, {3, 8, 5, 2}, {4, 3, 9, 6}, {5, 2, 4, 8}};

// The first two tables are Agresti's job satisfaction and the Titanic's passengers; all values by fisher.test of R 4.2.
TEST(Fisher, AgreesWithPublishedValues) {
  const struct {
    Table table;
    double p;
  } cases[] = {{kSatisfaction, 0.782684938966},
               {kTitanic, 5.29111045715e-39},
               {{{20, 10, 5}, {8, 25, 12}, {6, 14, 50}}, 3.26591409e-11},
               {{{8, 3, 6, 2}, {4, 9, 3, 5}, {2, 5, 6, 7}}, 0.0962888861},
               {kEighty, 0.10113771}};
  for (const auto& c : cases) EXPECT_NEAR(Exact(c.table) / c.p, 1.0, 1e-8) << c.p;
}

// By fisher.test(hybrid = TRUE) of R 4.2; of the last table the exact p-value is out of its reach.
TEST(Fisher, HybridUsesChiSquareWhereCountsAreLarge) {
  const struct {
    Table table;
    double p;
  } cases[] = {{{{20, 10, 5}, {8, 25, 12}, {6, 14, 50}}, 4.599432102e-11},
               {{{8, 3, 6, 2}, {4, 9, 3, 5}, {2, 5, 6, 7}}, 0.09622664663},
               {kEighty, 0.1018025958},
               {{{20, 22, 24}, {25, 28, 26}, {30, 19, 27}}, 0.6085715515},
               {{{2, 1, 10, 5, 11, 5}, {3, 3, 4, 8, 3, 6}}, 0.131442007908},  // exactly 80 % of expected counts reach 5
               {{{1, 0, 1}, {25, 14, 10}, {14, 16, 13}}, 0.267337079925},     // a row is used up on the way
               {{{20, 68, 5, 15}, {94, 7, 16, 10}, {84, 119, 29, 54}, {17, 26, 14, 14}}, 7.05228007e-27}};
  for (const auto& c : cases) EXPECT_NEAR(Exact(c.table, true, 20000000) / c.p, 1.0, 1e-8) << c.p;
}

TEST(Fisher, EmptyRowsAndColumnsPlayNoPart) {
  EXPECT_EQ(Exact({{8, 3, 0, 6, 2}, {0, 0, 0, 0, 0}, {4, 9, 0, 3, 5}, {2, 5, 0, 6, 7}}),
            Exact({{8, 3, 6, 2}, {4, 9, 3, 5}, {2, 5, 6, 7}}));
  EXPECT_EQ(Exact({{20, 22, 24}, {0, 0, 0}, {25, 28, 26}, {30, 19, 27}}, true),
            Exact({{20, 22, 24}, {25, 28, 26}, {30, 19, 27}}, true));
  EXPECT_EQ(Exact({{3, 4, 5}}), 1.0);
  EXPECT_EQ(Exact({{3, 0, 0}, {4, 0, 0}}), 1.0);
}

std::string MessageOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const NCError& error) {
    EXPECT_EQ(error.GetLevel(), NCError::Level::kGeneral);
    return error.what();
  }
  return "none";
}

TEST(Fisher, RefusesWhatItCannotTest) {
  const std::string start = "Error in fexact.\n";
  const std::string negative = start + "All elements of TABLE may not be negative.";
  const std::string nodes = start + "LDKEY is too small for this problem.\nTry increasing the size of the workspace.";
  const std::string paths = start + "LDSTP is too small for this problem.\nTry increasing the size of the workspace.";
  const std::string keys =
      start +
      "The hash table key cannot be computed because the largest key\nis larger than the largest "
      "representable int.\nThe algorithm cannot proceed.\nReduce the workspace size or use another "
      "algorithm.";
  const struct {
    Table table;
    int workspace;
    std::string message;
  } cases[] = {{{{1}, {2}}, kWorkspace, start + "NCOL must be at least 2"},
               {{{1, -1, 2}, {1, 1, 1}}, kWorkspace, negative},
               {{{1, -1}, {1, 1}}, kWorkspace, negative},
               {{{0, 0, 0}, {0, 0, 0}},
                kWorkspace,
                start + "All elements of TABLE are zero.\nPRT and PRE are set to missing values."},
               {kEighty, 635, nodes},  // which makes LDKEY 0
               {kEighty, -635, nodes},
               {kEighty, 318 * 51, nodes},
               {{{8, 4, 5, 3, 6}, {3, 9, 4, 5, 2}, {6, 3, 8, 4, 5}, {4, 5, 3, 9, 4}}, 318 * 900, paths},
               {{{1290, 0, 0}, {0, 1290, 0}, {0, 0, 1290}}, kWorkspace, keys},
               {{{2147483647, 0, 1}, {0, 1, 1}}, kWorkspace, keys}};
  for (const auto& c : cases) {
    EXPECT_EQ(MessageOf([&] { Exact(c.table, false, c.workspace); }), c.message);
  }
  const int cells[] = {1, 2, 3, 4};
  Probabilities result;
  EXPECT_EQ(MessageOf([&] { fexact(2, 2, cells, 1, {}, result.observed, result.p, kWorkspace, 30); }),
            start + "The number of rows must be less than or equal to LDTABL.");
  const WithCatalogue german(Texts{{"Error in fexact.\n{1}", "Fehler: {1}"}});
  EXPECT_EQ(MessageOf([&] { Exact({{1}, {2}}); }), "Fehler: NCOL must be at least 2");
}

/// By fisher.test of R 4.2, whose messages name LDKEY: what it needs is the bound here.
TEST(Fisher, NeedsNoMoreKeysThanPublished) {
  const struct {
    Table table;
    int ldkey;
  } cases[] = {{{{0, 2, 0, 3}, {0, 2, 3, 1}, {1, 1, 3, 1}, {1, 3, 3, 3}}, 21},
               {{{1, 0, 4, 1, 3}, {2, 4, 1, 0, 0}, {4, 3, 5, 0, 4}}, 22},
               {kSatisfaction, 154}};
  for (const auto& c : cases) {
    EXPECT_EQ(Exact(c.table, false, 318 * (c.ldkey + 1)), Exact(c.table)) << c.ldkey;
    EXPECT_NE(MessageOf([&] { Exact(c.table, false, 318 * (c.ldkey / 2)); }), "none") << c.ldkey;
  }
}

TEST(Fisher, CanBeBrokenOffAndRunsAgain) {
  NCProgress::RequestCancelAll();
  EXPECT_THROW(Exact(kEighty), CancelException);
  EXPECT_THROW(Exact({{100000, 99000}, {99000, 100000}}), CancelException);
  EXPECT_THROW(Exact({{1, 0, 0}, {1000000, 1000000, 1000000}}), CancelException);  // amid its log factorials
  NCProgress::ClearCancelAll();
  EXPECT_NEAR(Exact(kEighty), 0.10113771, kRounding);
}

}  // namespace
