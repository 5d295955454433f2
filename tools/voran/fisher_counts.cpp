#include <cmath>
#include <limits>
#include <numeric>

#include <fmt/format.h>

#include "tools/voran/failure.h"
#include "tools/voran/fisher_fit.h"
#include "tools/voran/number_text.h"

namespace tool {
namespace {

// Floats hold whole numbers below this exactly.
constexpr float kCountLimit = 16777216.0f;

int CountOf(float cell, const std::string& source, const std::string& row, const std::string& column) {
  const auto fail = [&](const std::string& what) {
    return BadData(fmt::format("{}: row {}, column {} {}", source, Quoted(row), Quoted(column), what));
  };
  if (cell == kGap) throw fail("holds no count; write 0 where nothing was counted");
  if (cell < 0.0f || cell != std::floor(cell)) {
    throw fail(fmt::format("holds {}, and a count is a whole number of 0 or above", cell));
  }
  if (cell >= kCountLimit) throw fail(fmt::format("holds {:.0f}; counts go up to 16777215", cell));
  return static_cast<int>(cell);
}

CountTable CountsOfCells(const Table& table) {
  CountTable result = {table.rowIds, table.variables, {}, 0};
  for (std::size_t i = 0; i < table.rowIds.size(); ++i) {
    for (std::size_t j = 0; j < table.variables.size(); ++j) {
      const float cell = table.x[static_cast<int>(i) + 1][static_cast<int>(j) + 1];
      result.counts.push_back(CountOf(cell, table.source, table.rowIds[i], table.variables[j]));
    }
  }
  return result;
}

CountTable CountsOfRows(const Table& table, const FisherSettings& settings) {
  const ClassColumn rows = ReadClasses(TextOf(table, settings.rows));
  const ClassColumn columns = ReadClasses(TextOf(table, settings.columns));
  CountTable result = {rows.classes, columns.classes, {}, 0};
  result.counts.assign(rows.classes.size() * columns.classes.size(), 0);
  for (std::size_t i = 0; i < table.rowIds.size(); ++i) {
    if (rows.ofRow[i] == kNoClass || columns.ofRow[i] == kNoClass) {
      ++result.withoutName;
      continue;
    }
    const int count = settings.counts.empty() ? 1
                                              : CountOf(table.x[static_cast<int>(i) + 1][1], table.source,
                                                        table.rowIds[i], table.variables.front());
    int& cell = result.counts[static_cast<std::size_t>(rows.ofRow[i]) * columns.classes.size() +
                              static_cast<std::size_t>(columns.ofRow[i])];
    if (cell > std::numeric_limits<int>::max() - count) {
      throw BadData(
          fmt::format("{}: the counts of one cell sum to more than {}", table.source, std::numeric_limits<int>::max()));
    }
    cell += count;
  }
  return result;
}

}  // namespace

std::vector<long long> CountTable::RowSums() const {
  std::vector<long long> sums(rows.size());
  for (std::size_t i = 0; i < counts.size(); ++i) sums[i / columns.size()] += counts[i];
  return sums;
}

std::vector<long long> CountTable::ColumnSums() const {
  std::vector<long long> sums(columns.size());
  for (std::size_t i = 0; i < counts.size(); ++i) sums[i % columns.size()] += counts[i];
  return sums;
}

CountTable ReadCounts(const Table& table, const FisherSettings& settings) {
  CountTable counts = settings.IsLong() ? CountsOfRows(table, settings) : CountsOfCells(table);
  if (counts.columns.size() < 2) {
    throw BadData(fmt::format("{}: a table of counts with {}; the test compares two or more", table.source,
                              Counted(counts.columns.size(), "column")));
  }
  const std::vector<long long> sums = counts.RowSums();
  const long long total = std::accumulate(sums.begin(), sums.end(), 0LL);
  if (total == 0) throw BadData(table.source + ": all counts are 0; there is nothing to test");
  if (total >= std::numeric_limits<int>::max()) {
    throw BadData(fmt::format("{}: {} are counted, more than can be tested; give smaller counts", table.source, total));
  }
  return counts;
}

}  // namespace tool
