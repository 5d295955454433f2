#include "tools/voran/scaling.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "tools/voran/table.h"

namespace tool {
namespace {

struct ColumnStatistics {
  std::size_t present = 0;
  double sum = 0.0;
  double squares = 0.0;  // of deviations from the mean
  double least = std::numeric_limits<double>::infinity();
  double most = -std::numeric_limits<double>::infinity();

  double Mean() const { return sum / static_cast<double>(present); }
  double Deviation() const { return std::sqrt(squares / static_cast<double>(present - 1)); }
};

// Calls use(column, value) for every present cell, in memory order.
template <typename Use>
void ForEachPresent(const NCDataMatrix<float>& x, Use use) {
  for (const NCDataVector<float>& row : x) {
    std::size_t c = 0;
    for (const float value : row) {
      if (value != kGap) use(c, static_cast<double>(value));
      ++c;
    }
  }
}

std::vector<ColumnStatistics> Describe(const NCDataMatrix<float>& x) {
  std::vector<ColumnStatistics> columns(static_cast<std::size_t>(x.SizeColumns()));
  ForEachPresent(x, [&](std::size_t c, double value) {
    ColumnStatistics& column = columns[c];
    ++column.present;
    column.sum += value;
    column.least = std::min(column.least, value);
    column.most = std::max(column.most, value);
  });
  std::vector<double> means;
  means.reserve(columns.size());
  for (const ColumnStatistics& column : columns) means.push_back(column.present == 0 ? 0.0 : column.Mean());
  ForEachPresent(x, [&](std::size_t c, double value) {
    const double deviation = value - means[c];
    columns[c].squares += deviation * deviation;
  });
  return columns;
}

ColumnScale ScaleOf(const ColumnStatistics& column, Scaling scaling) {
  switch (scaling) {
    case Scaling::kUnitVariance:
      return {column.Mean(), 1.0 / column.Deviation()};
    case Scaling::kPareto:
      return {column.Mean(), 1.0 / std::sqrt(column.Deviation())};
    case Scaling::kCentre:
      return {column.Mean(), 1.0};
    case Scaling::kNone:
      break;
  }
  return {};
}

// 1 if the largest scaled value lies within a million of 1, else the power of two next below it.
double UnitFor(double largest) {
  constexpr double kOrdinary = 1e6;
  if (largest == 0.0 || (largest <= kOrdinary && largest >= 1.0 / kOrdinary)) return 1.0;
  return std::exp2(std::floor(std::log2(largest)));
}

}  // namespace

NCDataMatrix<float> ApplyScales(NCDataMatrix<float>&& x, const std::vector<std::size_t>& kept,
                                const std::vector<ColumnScale>& scales) {
  NCDataMatrix<float> result;
  result.ReserveRows(x.SizeRows());
  std::vector<float> scaled(kept.size());
  for (int r = 1; r <= x.SizeRows(); ++r) {
    const float* values = x[r].begin();
    for (std::size_t k = 0; k < kept.size(); ++k) {
      const float value = values[kept[k]];
      scaled[k] = value == kGap ? kGap : AsPresent((static_cast<double>(value) - scales[k].centre) * scales[k].weight);
    }
    // Once the matrix has let go of it, the row is written where it is.
    NCDataVector<float> row = x[r];
    x(r) = NCDataVector<float>();
    row.CopyZeroBasedVector(scaled.data(), static_cast<int>(scaled.size()));
    result.push_back(row);
  }
  x = NCDataMatrix<float>();
  return result;
}

ScaledMatrix ScaleColumns(NCDataMatrix<float>&& x, Scaling scaling) {
  const std::vector<ColumnStatistics> columns = Describe(x);
  ScaledMatrix result;
  double largest = 0.0;
  for (std::size_t c = 0; c < columns.size(); ++c) {
    const ColumnStatistics& column = columns[c];
    if (column.present == 0) {
      result.dropped.push_back({c, "all missing"});
    } else if (IsCentred(scaling) && column.least == column.most) {
      result.dropped.push_back({c, "no variance"});
    } else {
      const ColumnScale scale = ScaleOf(column, scaling);
      result.kept.push_back(c);
      result.scales.push_back(scale);
      largest = std::max(
          {largest, (column.most - scale.centre) * scale.weight, (scale.centre - column.least) * scale.weight});
    }
  }
  result.unit = UnitFor(largest);
  for (ColumnScale& scale : result.scales) scale.weight /= result.unit;
  result.x = ApplyScales(std::move(x), result.kept, result.scales);
  return result;
}

}  // namespace tool
