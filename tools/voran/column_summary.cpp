#include "tools/voran/column_summary.h"

#include "tools/voran/failure.h"

namespace tool {
namespace {

// The library's -99 for "none" is no use here, since a statistic may be that number: what can be had follows from how
// many cells are present and whether they differ.
ColumnSummary Summarise(const NCDataVector<float>& column) {
  ColumnSummary s;
  s.missing = column.GetNumMisVal();
  s.present = column.Size() - s.missing;
  if (s.present == 0) return s;
  float least = 0.0f;
  float most = 0.0f;
  column.GetMinMax(least, most);
  s.minimum = static_cast<double>(least);
  s.maximum = static_cast<double>(most);
  s.mean = column.GetMean();
  s.median = column.GetMedian();
  if (s.present < 2) return s;
  s.deviation = column.GetStdDev();
  column.GetInterquartiles(s.lowerQuartile, s.median, s.upperQuartile);
  if (!(s.deviation > 0.0)) return s;
  if (s.present >= 3) {
    s.skewness = column.GetSkewness();
    s.skewnessTest = column.GetSkewnessTest();
  }
  if (s.present >= 4) s.kurtosis = column.GetKurtosis();
  return s;
}

void AddCapability(const NCDataMatrix<float>& x, int c, const Limits& limits, ColumnSummary& s) {
  constexpr double kFar = std::numeric_limits<double>::infinity();
  s.limits = limits;
  if (!(s.deviation > 0.0)) return;
  if (limits.low && limits.high) s.cp = x.GetColumnCp(c, *limits.low, *limits.high);
  s.cpk = x.GetColumnCpk(c, limits.low.value_or(-kFar), limits.high.value_or(kFar));
}

}  // namespace

std::vector<ColumnSummary> SummariseColumns(const NCDataMatrix<float>& x,
                                            const std::vector<std::optional<Limits>>& limits, NCProgress* progress) {
  const int columns = x.SizeColumns();
  std::vector<ColumnSummary> summaries;
  for (int c = 1; c <= columns; ++c) {
    summaries.push_back(Summarise(x.GetColumn(c)));
    const auto& own = limits[static_cast<std::size_t>(c - 1)];
    if (own) AddCapability(x, c, *own, summaries.back());
    const bool goOn = progress == nullptr || progress->SetValue(static_cast<float>(c) / static_cast<float>(columns));
    if (!goOn) throw Cancelled();
  }
  return summaries;
}

}  // namespace tool
