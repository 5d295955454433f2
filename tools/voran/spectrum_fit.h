#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/voran/series_set.h"
#include "voran/signal/fft.h"

namespace tool {

struct SpectrumSettings {
  bool areRows = false;
  std::optional<int> segment;  ///< elements, a power of two; nothing means as SegmentFor() has it
  bool overlap = true;
  Detrending detrending = Detrending::kMean;
  FFT::DataWindowMode window = FFT::DataWindowMode::kHann;
  FFT::ScalingMode scaling = FFT::ScalingMode::kDensity;
  double step = 1.0;  ///< between elements
};

struct SpectrumResult {
  int segment = 0;
  std::vector<double> frequencies;          ///< in cycles per unit of the step, from 0 up
  std::vector<std::vector<double>> powers;  ///< one for each series; NaN for one without a value
};

/// A local maximum of a spectrum.
struct SpectrumPeak {
  std::size_t place;  ///< among the frequencies
  double share;       ///< its power in the sum of all powers
};

/// The largest power of two that a series of this length holds twice, and at least 2.
int SegmentFor(int length);

/// Throws `Failure`: bad data for series of one element, wrong use for a segment that is longer than the series.
SpectrumResult ComputeSpectra(const SeriesSet& series, const SpectrumSettings& settings, const std::string& source);

/// Above the frequency 0, the highest first, `most` of them at most.
std::vector<SpectrumPeak> PeaksOf(const std::vector<double>& powers, std::size_t most);

/// NaN at the frequency 0.
double PeriodOf(double frequency);

}  // namespace tool
