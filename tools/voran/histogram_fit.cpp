#include "tools/voran/histogram_fit.h"

#include <algorithm>
#include <utility>

#include "tools/voran/failure.h"
#include "voran/statistics/frequency_histogram.h"
#include "voran/statistics/histogram_bins.h"

namespace tool {
namespace {

void AddBins(const NCDataVector<float>& values, ColumnHistogram& column) {
  FrequencyHistogram::HistogramInfo info;
  FrequencyHistogram().CreateHistogram(values, info);
  const detail::HistogramBins bins = detail::HistogramBinsOf(values);
  column.width = bins.width / bins.scale;
  for (std::size_t k = 0; k < info.Members.size(); ++k) {
    const auto edge = [&](std::size_t number) {
      return (bins.low + static_cast<double>(number) * bins.width) / bins.scale;
    };
    HistogramBin bin = {edge(k), edge(k + 1), static_cast<double>(info.BinCenters[static_cast<int>(k) + 1]), {}};
    for (const int row : info.Members[k]) bin.rows.push_back(static_cast<std::size_t>(row) - 1);
    column.bins.push_back(std::move(bin));
  }
}

ColumnHistogram HistogramOf(const NCDataVector<float>& values, const std::string& name) {
  ColumnHistogram column;
  column.name = name;
  column.missing = values.GetNumMisVal();
  column.present = values.Size() - column.missing;
  if (column.present == 0) return column;
  float minimum = 0.0f;
  float maximum = 0.0f;
  values.GetMinMax(minimum, maximum);
  column.minimum = static_cast<double>(minimum);
  column.maximum = static_cast<double>(maximum);
  AddBins(values, column);
  return column;
}

}  // namespace

std::size_t ColumnHistogram::Highest() const {
  std::size_t highest = 0;
  for (const HistogramBin& bin : bins) highest = std::max(highest, bin.rows.size());
  return highest;
}

std::vector<ColumnHistogram> MakeHistograms(const Table& table, NCProgress* progress) {
  std::vector<ColumnHistogram> columns;
  const std::size_t count = table.variables.size();
  for (std::size_t c = 0; c < count; ++c) {
    if (progress != nullptr && !progress->SetValue(static_cast<float>(c) / static_cast<float>(count)))
      throw Cancelled();
    columns.push_back(HistogramOf(table.x.GetColumn(static_cast<int>(c) + 1), table.variables[c]));
  }
  const bool hasAny =
      std::any_of(columns.begin(), columns.end(), [](const auto& column) { return column.present > 0; });
  if (!hasAny) throw BadData(table.source + ": no column holds a value; there is nothing to count");
  return columns;
}

}  // namespace tool
