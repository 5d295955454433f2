#pragma once

#include <span>
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

/// For each of these shares, which ascend, how many of the largest coefficients hold it of the sum of squares.
std::vector<int> CoefficientsHolding(const NCDataVector<float>& coefficients, std::span<const double> shares);

}  // namespace tool
