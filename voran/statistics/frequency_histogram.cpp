#include "voran/statistics/frequency_histogram.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "voran/containers/missing_value.h"
#include "voran/statistics/histogram_bins.h"
#include "voran/statistics/relative_tolerance.h"

inline namespace voran {
namespace {

using detail::Differ;
using detail::HistogramBins;

constexpr float kGap = detail::kMissing<float>;
constexpr double kEdgeTolerance = 5e-6;  // of a bin's number: a value this close to an edge lies on it

bool IsOnEdge(double edge, double binNumber) {
  return !Differ(edge, binNumber, kEdgeTolerance);
}

/// The bin of infinite or undefined numbers is as good as any, as long as there is one.
int ToIndex(double bin) {
  constexpr double kMost = std::numeric_limits<int>::max() - 1;  // leaves room for one more, at either end
  return std::isnan(bin) ? 0 : static_cast<int>(std::clamp(bin, -kMost, kMost));
}

/// How many bins it takes to reach `high`.
int CountUpTo(double high, double low, double width) {
  return std::max(FrequencyHistogram::bindex(high, low, width, -1), 0) + 1;
}

/// The power of ten that stretches a range with this logarithm to 1 or more.
double StretchFor(double log10OfRange) {
  return log10OfRange < 0.0 ? std::pow(10.0, std::ceil(-log10OfRange)) : 1.0;
}

NCDataVector<float> CentersOf(const HistogramBins& bins) {
  NCDataVector<float> centers(bins.count);
  for (int k = 1; k <= bins.count; ++k) {
    centers(k, static_cast<float>((k - 0.5) * bins.width / bins.scale + bins.low / bins.scale));
  }
  return centers;
}

/// Moves the present ones of data[1]..data[size] to the front and returns how many there are.
int RemoveMissing(double* data, int size) {
  double* const first = data + 1;
  return static_cast<int>(std::remove(first, first + size, detail::kMissing<double>) - first);
}

HistogramBins BinsOf(double low, double high, int count) {
  HistogramBins bins;
  bins.low = low;
  const bool differ = Differ(high, low);
  if (count < 3 || !differ) {
    bins.count = count >= 3 ? 3 : (differ ? count : 1);
    return bins;
  }
  bins.scale = StretchFor(std::log10(high - low));
  high *= bins.scale;
  bins.low *= bins.scale;
  const double range = high - bins.low;
  if (range > 20.0) {
    bins.low = std::floor(bins.low);
  } else if (range > 1.0) {
    bins.low = std::floor(bins.low * 10.0) / 10.0;
  }
  bins.width = FrequencyHistogram::binwidth(bins.low, high, count - 1);
  bins.count = CountUpTo(high, bins.low, bins.width);
  return bins;
}

}  // namespace

int detail::HistogramBins::IndexOf(double value) const {
  return std::max(FrequencyHistogram::bindex(value * scale, low, width, count - 1), 0);
}

HistogramBins detail::HistogramBinsOf(const NCDataVector<float>& values) {
  HistogramBins bins;
  float smallest = 0.0F;
  float largest = 0.0F;
  values.GetMinMax(smallest, largest);
  if (largest > smallest) bins.scale = StretchFor(std::log10(largest - smallest));
  bins.high = static_cast<float>(static_cast<double>(largest) * bins.scale);
  bins.low = std::floor(static_cast<float>(static_cast<double>(smallest) * bins.scale));
  bins.width = FrequencyHistogram::binwidth(bins.low, bins.high, values.Size() - values.GetNumMisVal());
  bins.count = CountUpTo(bins.high, bins.low, bins.width);
  return bins;
}

double FrequencyHistogram::binwidth(double low, double high, int count) {
  if (low == high) return 1.0;
  const double raw = (high - low) / std::sqrt(static_cast<double>(count));
  const double exponent = std::floor(std::log10(raw));
  const double unit = std::pow(10.0, exponent);
  const double perUnit = std::pow(10.0, -exponent);
  const double digit = std::floor(perUnit * raw);
  const bool isHalfMore = Differ(std::floor((unit * 0.5 + raw) * perUnit), digit);
  return isHalfMore ? unit * digit + unit * 0.5 : unit * digit;
}

int FrequencyHistogram::bindex(double value, double low, double width, int maxIndex) {
  if (IsOnEdge(value, low)) return 0;
  const double q = (value - low) / width;
  const double above = std::ceil(q);
  const int bin = ToIndex(IsOnEdge(above, q) ? above : std::floor(q));
  if (maxIndex >= 0) return std::min(bin, maxIndex);
  return IsOnEdge(std::floor(q), q) ? bin - 1 : bin;
}

void FrequencyHistogram::CreateHistogram(const NCDataVector<float>& values, HistogramInfo& info) const {
  const HistogramBins bins = detail::HistogramBinsOf(values);
  info.BinCenters = CentersOf(bins);
  info.Members.assign(static_cast<std::size_t>(bins.count), {});
  for (int i = 1; i <= values.Size(); ++i) {
    if (values[i] == kGap) continue;
    info.Members[static_cast<std::size_t>(bins.IndexOf(values[i]))].push_back(i);
  }
  info.Frequencies = NCDataVector<float>(bins.count, 0.0F);
  int bin = 0;
  for (const std::list<int>& members : info.Members) info.Frequencies(++bin, static_cast<float>(members.size()));
}

void FrequencyHistogram::CreateDotPlotHistogram(const NCDataVector<float>& values, NCDataVector<float>& x,
                                                NCDataVector<float>& y, float& minimum, float& maximum) const {
  const HistogramBins bins = detail::HistogramBinsOf(values);
  const NCDataVector<float> centers = CentersOf(bins);
  std::vector<int> counts(static_cast<std::size_t>(bins.count));
  NCDataVector<float> places(values.Size());
  NCDataVector<float> heights(values.Size());
  for (int i = 1; i <= values.Size(); ++i) {
    if (values[i] == kGap) continue;
    const int bin = bins.IndexOf(values[i]);
    places(i, centers[bin + 1]);
    heights(i, static_cast<float>(++counts[static_cast<std::size_t>(bin)]));
  }
  x = places;
  y = heights;
  minimum = static_cast<float>(bins.low / bins.scale);
  maximum = static_cast<float>(bins.high / bins.scale);
}

void FrequencyHistogram::MakeHistogram(double* data, int size, std::vector<double>& counts,
                                       std::vector<double>& centres, double& start, double& width) {
  counts.clear();
  const int present = RemoveMissing(data, size);
  if (present == 0) return;
  const double* const first = data + 1;
  const auto [smallest, largest] = std::minmax_element(first, first + present);
  const HistogramBins bins = BinsOf(*smallest, *largest, present);
  counts.assign(static_cast<std::size_t>(bins.count), 0.0);
  centres.assign(counts.size(), 0.0);
  start = bins.low / bins.scale;
  width = bins.width / bins.scale;
  for (int k = 1; k <= bins.count; ++k) centres[static_cast<std::size_t>(k) - 1] = (k - 0.5) * width + start;
  std::for_each(first, first + present,
                [&](double value) { counts[static_cast<std::size_t>(bins.IndexOf(value))] += 1.0; });
}

}  // namespace voran
