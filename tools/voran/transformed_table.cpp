#include "tools/voran/transformed_table.h"

#include <cmath>
#include <utility>

namespace tool {
namespace {

// Of each column, in one walk in memory order; the values are those of `x` times `unit`.
std::vector<Extremes> ExtremesOf(const NCDataMatrix<float>& x, double unit) {
  std::vector<Extremes> extremes(static_cast<std::size_t>(x.SizeColumns()));
  for (const NCDataVector<float>& row : x) {
    std::size_t c = 0;
    for (const float cell : row) {
      Extremes& e = extremes[c++];
      if (cell == kGap) continue;
      const double value = unit * static_cast<double>(cell);
      e.least = std::fmin(e.least, value);  // which passes over a NaN
      e.most = std::fmax(e.most, value);
    }
  }
  return extremes;
}

// What is known before the values change; `failed` counts down from the gaps that there are.
std::vector<TransformedColumn> DescribeInput(const Table& table, const NCTransform& transform) {
  const std::vector<Extremes> before = ExtremesOf(table.x, 1.0);
  std::vector<TransformedColumn> columns;
  for (std::size_t c = 0; c < table.variables.size(); ++c) {
    const int position = static_cast<int>(c) + 1;
    columns.push_back({table.variables[c], transform[position], -table.x.GetColumnMisVal(position), before[c], {}});
  }
  return columns;
}

// Columns that scaling has left out go.
void ScaleVariables(Table& table, Scaling scaling, TransformedTable& result) {
  PreparedTable scaled = PrepareVariables(table, {}, scaling);
  result.x = scaled.x;
  result.unit = scaled.columns.unit;
  result.dropped = std::move(scaled.columns.dropped);
  std::vector<TransformedColumn> kept;
  for (TransformedColumn& column : result.columns) {
    if (column.name == scaled.columns.names[kept.size()]) kept.push_back(std::move(column));
    if (kept.size() == scaled.columns.names.size()) break;
  }
  result.columns = std::move(kept);
}

}  // namespace

TransformedTable TransformTable(Table& table, const NCTransform& transform, const TransformSettings& settings) {
  TransformedTable result;
  result.gaps = CountGaps(table.x, table.rowIds);
  result.columns = DescribeInput(table, transform);
  result.failure = TransformColumns(table.x, transform, table.variables, table.rowIds, settings.back).value_or("");
  for (std::size_t c = 0; c < result.columns.size(); ++c) {
    result.columns[c].failed += table.x.GetColumnMisVal(static_cast<int>(c) + 1);
  }
  result.failed = table.x.GetNumMisVal() - result.gaps.cells;
  if (settings.scaling == Scaling::kNone) {
    result.x = std::exchange(table.x, NCDataMatrix<float>());
  } else {
    ScaleVariables(table, settings.scaling, result);
  }
  const std::vector<Extremes> after = ExtremesOf(result.x, result.unit);
  for (std::size_t c = 0; c < after.size(); ++c) result.columns[c].after = after[c];
  return result;
}

}  // namespace tool
