#include "tools/voran/spectrum_fit.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include <fmt/format.h>

#include "tools/voran/component_numbers.h"
#include "tools/voran/failure.h"

namespace tool {

int SegmentFor(int length) {
  return static_cast<int>(std::bit_floor(static_cast<unsigned>(std::max(length / 2, 2))));
}

SpectrumResult ComputeSpectra(const SeriesSet& series, const SpectrumSettings& settings, const std::string& source) {
  const int length = series.Length();
  if (length < 2) throw BadData(source + ": a spectrum needs series of two elements or more");
  SpectrumResult result;
  result.segment = settings.segment.value_or(SegmentFor(length));
  if (result.segment > length) {
    throw WrongUse(
        fmt::format("--segment: {} elements are more than the series of {} have, {}", result.segment, source, length));
  }
  const int last = result.segment / 2;
  for (int k = 0; k <= last; ++k) result.frequencies.push_back(k / (result.segment * settings.step));
  const double unit = settings.scaling == FFT::ScalingMode::kDensity ? settings.step : 1.0;
  const std::vector<double> none(result.frequencies.size(), kNoValue);
  result.powers.assign(series.Size(), none);
  ForEachSeries(series, source, "spectrum", [&](std::size_t s) {
    NCDataVector<float> powers(last + 1, 0.0f);
    FFT::PowerSpectrum(&series[s], result.segment, settings.overlap, static_cast<FFT::DetrendMode>(settings.detrending),
                       settings.scaling, settings.window, &powers);
    for (int k = 0; k <= last; ++k) {
      result.powers[s][static_cast<std::size_t>(k)] = unit * static_cast<double>(powers[k + 1]);
    }
  });
  return result;
}

std::vector<SpectrumPeak> PeaksOf(const std::vector<double>& powers, std::size_t most) {
  const double total = Total(powers);
  std::vector<SpectrumPeak> peaks;
  for (std::size_t k = 1; k < powers.size(); ++k) {
    const bool isLast = k + 1 == powers.size();
    if (powers[k] > powers[k - 1] && (isLast || powers[k] >= powers[k + 1])) peaks.push_back({k, powers[k] / total});
  }
  std::stable_sort(peaks.begin(), peaks.end(),
                   [&](const auto& a, const auto& b) { return powers[a.place] > powers[b.place]; });
  if (peaks.size() > most) peaks.resize(most);
  return peaks;
}

double PeriodOf(double frequency) {
  return frequency > 0.0 ? 1.0 / frequency : kNoValue;
}

}  // namespace tool
