#pragma once

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "tools/voran/table_reader.h"

/// What the tests of fitted models have in common: tables, and the same numbers as plain arrays of double.
namespace tool {

using Rows = std::vector<std::vector<double>>;

inline Table ReadData(const std::string& name, const RoleRequest& roles) {
  CsvOptions options;
  options.roles = roles;
  return ReadTable(fmt::format("{}/{}.csv", VORAN_DATA, name), options, nullptr);
}

inline Table TableOf(const std::string& text, const RoleRequest& roles = {}) {
  const auto source = SourceFromMemory(text);
  CsvOptions options;
  options.roles = roles;
  return ReadTable(*source, "t.csv", options);
}

inline Rows ToRows(const NCDataMatrix<float>& x) {
  Rows rows;
  for (const NCDataVector<float>& row : x) rows.emplace_back(row.begin(), row.end());
  return rows;
}

/// A table with its gaps, scaled, and how its columns were.
struct PlainTable {
  Rows rows;
  std::vector<double> means;
  std::vector<double> deviations;  ///< what the centred values were divided by
};

/// Centred, and divided by the standard deviation if asked.
inline PlainTable Prepared(const NCDataMatrix<float>& x, bool toUnitVariance) {
  constexpr double kMissing = kGap;
  PlainTable table{ToRows(x), {}, {}};
  for (std::size_t c = 0; c < table.rows[0].size(); ++c) {
    double n = 0.0;
    double sum = 0.0;
    double squares = 0.0;
    for (const auto& row : table.rows) {
      if (row[c] == kMissing) continue;
      n += 1.0;
      sum += row[c];
    }
    const double mean = sum / n;
    for (const auto& row : table.rows) squares += row[c] == kMissing ? 0.0 : (row[c] - mean) * (row[c] - mean);
    const double deviation = toUnitVariance ? std::sqrt(squares / (n - 1.0)) : 1.0;
    for (auto& row : table.rows) {
      if (row[c] != kMissing) row[c] = (row[c] - mean) / deviation;
    }
    table.means.push_back(mean);
    table.deviations.push_back(deviation);
  }
  return table;
}

/// The largest difference, relative to the largest element that is expected.
inline double LargestGap(const std::vector<double>& got, const std::vector<double>& expected) {
  double gap = got.size() == expected.size() ? 0.0 : HUGE_VAL;
  double largest = 0.0;
  for (std::size_t i = 0; i < std::min(got.size(), expected.size()); ++i) {
    gap = std::isnan(got[i]) ? HUGE_VAL : std::max(gap, std::abs(got[i] - expected[i]));
    largest = std::max(largest, std::abs(expected[i]));
  }
  return gap / largest;
}

}  // namespace tool
