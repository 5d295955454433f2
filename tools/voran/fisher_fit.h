#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/voran/table.h"
#include "voran/statistics/contingency_table.h"

namespace tool {

struct FisherSettings {
  std::string rows;     ///< selects the column that names the row of a count; empty if the table holds the counts
  std::string columns;  ///< the same of the column
  std::string counts;   ///< selects the counts; empty means that each row of the table counts once
  Sta::SidedNess sidedness = Sta::SidedNess::kTwoSided;
  bool isHybrid = false;
  int workspace = 2000000;

  bool IsLong() const { return !rows.empty(); }
};

/// Counts by row and column.
struct CountTable {
  std::vector<std::string> rows;
  std::vector<std::string> columns;
  std::vector<int> counts;      ///< row by row
  std::size_t withoutName = 0;  ///< rows of the input left out because a class is missing

  int At(std::size_t row, std::size_t column) const { return counts[row * columns.size() + column]; }
  bool IsTwoByTwo() const { return rows.size() == 2 && columns.size() == 2; }
  std::vector<long long> RowSums() const;
  std::vector<long long> ColumnSums() const;
};

/// The counts that a table holds, or that its rows make. Throws `Failure` (bad data) for what is no count.
CountTable ReadCounts(const Table& table, const FisherSettings& settings);

/// The p-value. Throws `Failure`.
double TestCounts(const CountTable& table, const std::string& source, const FisherSettings& settings);

/// a d / (b c) of a 2 x 2 table; nothing for another, and where b or c is 0.
std::optional<double> OddsRatio(const CountTable& table);

}  // namespace tool
