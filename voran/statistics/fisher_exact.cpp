#include "voran/statistics/fisher_exact.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <limits>
#include <mutex>
#include <thread>

#include "voran/platform/exception_message.h"
#include "voran/platform/progress.h"
#include "voran/statistics/fisher_error.h"

inline namespace voran {
namespace Sta {
namespace detail {
namespace {

// The probability of equally probable tables differs by rounding: a table counts if its length is above that of the
// observed one by no more than this.
constexpr double kLengthTolerance = 3.45254e-7;

std::mutex theOnlyTest;

/// Waits for the tests that run before this one; the user may tire of it.
std::unique_lock<std::mutex> WaitForTurn(NCProgress& progress) {
  std::unique_lock<std::mutex> turn(theOnlyTest, std::try_to_lock);
  while (!turn.owns_lock()) {
    if (!progress.NextSpin()) throw CancelException();
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    turn.try_lock();
  }
  return turn;
}

/// A table as it was passed in, column by column.
struct ColumnTable {
  const int* cells;
  int numRows;
  int numColumns;
  int columnStep;

  const int* Column(int j) const { return cells + static_cast<std::ptrdiff_t>(j) * columnStep; }

  template <typename Visit>
  void ForEachCell(Visit visit) const {
    for (int j = 0; j < numColumns; ++j) {
      for (int i = 0; i < numRows; ++i) visit(i, j, Column(j)[i]);
    }
  }
};

void ExpectTestable(const ColumnTable& table) {
  if (table.numRows > table.columnStep) FailExactTest("The number of rows must be less than or equal to LDTABL.");
  if (table.numColumns < 2) FailExactTest("NCOL must be at least 2");
  double total = 0.0;
  for (int j = 0; j < table.numColumns; ++j) ExpectNoNegativeCell(table.Column(j), table.Column(j) + table.numRows);
  table.ForEachCell([&](int, int, int count) { total += count; });
  if (total == 0.0) FailExactTest("All elements of TABLE are zero.\nPRT and PRE are set to missing values.");
  if (total >= std::numeric_limits<int>::max()) FailExactTest(kKeyTooLarge);
}

/// Rows and columns without a count are left out: they allow nothing.
Margins MarginsOf(const ColumnTable& table) {
  Margins margins;
  margins.rows.resize(static_cast<std::size_t>(table.numRows));
  margins.columns.resize(static_cast<std::size_t>(table.numColumns));
  table.ForEachCell([&](int i, int j, int count) {
    margins.rows[static_cast<std::size_t>(i)] += count;
    margins.columns[static_cast<std::size_t>(j)] += count;
  });
  std::erase(margins.rows, 0);
  std::erase(margins.columns, 0);
  if (margins.rows.size() > margins.columns.size()) std::swap(margins.rows, margins.columns);
  return margins;
}

StageCapacity CapacityOf(int workspace, int mult) {
  const long long ldkey = workspace / (mult * 10 + 18) - 1;
  if (ldkey <= 0) FailExactTest(kTooManyNodes);
  return {static_cast<int>(ldkey), static_cast<int>(ldkey * mult)};
}

}  // namespace

void ExpectNoNegativeCell(const int* first, const int* last) {
  const bool hasNegative = std::any_of(first, last, [](int count) { return count < 0; });
  if (hasNegative) FailExactTest("All elements of TABLE may not be negative.");
}

void fexact(int nrow, int ncol, const int* table, int ldtabl, const HybridControls& controls, double& prt, double& pre,
            int workspace, int mult) {
  NCProgress progress(voran::detail::TranslateText(kTestName).c_str(), 0.0F, 0.0F, false, true, true, "");
  const std::unique_lock<std::mutex> turn = WaitForTurn(progress);
  const ColumnTable observed = {table, nrow, ncol, ldtabl};
  ExpectTestable(observed);
  const StageCapacity capacity = CapacityOf(workspace, mult);
  const Margins margins = MarginsOf(observed);
  if (margins.rows.size() == 1) {  // its only table
    prt = 1.0;
    pre = 1.0;
    return;
  }
  FisherNetwork network(margins, controls, capacity, [&] { return !progress.NextSpin(); });
  double length = 0.0;
  observed.ForEachCell([&](int, int, int count) { length -= network.LogFactorial(count); });
  prt = std::exp(network.LogScale() + length);
  pre = network.ProbabilityUpTo(length + kLengthTolerance);
}

}  // namespace detail
}  // namespace Sta
}  // namespace voran
