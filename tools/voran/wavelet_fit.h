#pragma once

#include <string>
#include <vector>

#include "tools/voran/series_set.h"
#include "tools/voran/wavelet_form.h"

namespace tool {

struct WaveletSettings {
  bool areRows = false;
  WaveletChoice wavelet;
  Detrending detrending = Detrending::kMean;
  bool pad = false;
  bool bestBasis = false;  ///< pads too
};

struct WaveletResult {
  WaveletForm form;
  NCDataMatrix<float> coefficients;  ///< series x coefficients
  std::vector<std::string> names;    ///< of the coefficients
  std::vector<double> energies;      ///< shares of the levels over all series, the finest first; none for a best basis
};

/// Throws `Failure`: computation failed if a number overflows, cancelled if the user breaks off.
WaveletResult TransformSeries(const SeriesSet& series, const std::string& heading, const WaveletSettings& settings,
                              const std::string& source);

/// The series x elements that the coefficients of `form` stand for; a series of the form that has none here is left
/// out. Throws `Failure` (bad data) if they are not those of the form, or have gaps.
NCDataMatrix<float> RestoreSeries(const SeriesSet& coefficients, const WaveletForm& form, const std::string& source);

/// How many of the largest coefficients hold this share of the sum of squares.
int CoefficientsHolding(const NCDataVector<float>& coefficients, double share);

}  // namespace tool
