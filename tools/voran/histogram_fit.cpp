#include "tools/voran/histogram_fit.h"

#include <algorithm>
#include <cmath>

#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "voran/statistics/frequency_histogram.h"

namespace tool {
namespace {

// A bin's width has two digits at most; those are what the rounding of the centres to floats leaves of it.
double TwoDigits(double width) {
  const double unit = std::pow(10.0, 1.0 - std::floor(std::log10(width)));
  return std::round(width * unit) / unit;
}

double WidthOf(const NCDataVector<float>& centres, double start) {
  const auto first = static_cast<double>(centres[1]);
  const int count = centres.Size();
  const double width = count == 1 ? 2.0 * (first - start) : (static_cast<double>(centres[count]) - first) / (count - 1);
  return width > 0.0 ? TwoDigits(width) : width;
}

void AddBins(const NCDataVector<float>& values, ColumnHistogram& column) {
  const FrequencyHistogram histogram;
  FrequencyHistogram::HistogramInfo info;
  histogram.CreateHistogram(values, info);
  NCDataVector<float> places;
  NCDataVector<float> heights;
  float start = 0.0f;
  float end = 0.0f;
  histogram.CreateDotPlotHistogram(values, places, heights, start, end);
  const double lowest = AsWritten(static_cast<double>(start));
  column.width = WidthOf(info.BinCenters, lowest);
  for (std::size_t k = 0; k < info.Members.size(); ++k) {
    const double lower = lowest + static_cast<double>(k) * column.width;
    HistogramBin bin = {lower, lower + column.width, static_cast<double>(info.BinCenters[static_cast<int>(k) + 1]), {}};
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
