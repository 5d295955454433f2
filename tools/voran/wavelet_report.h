#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/output_directory.h"
#include "tools/voran/table.h"
#include "tools/voran/wavelet_fit.h"

namespace tool {

/// Everything that is told of a forward transform.
struct WaveletReport {
  const Table& table;
  const SeriesSet& series;
  const WaveletResult& result;
};

/// Everything that is told of restored series.
struct RestoredReport {
  const Table& table;             ///< of the coefficients
  const SeriesSet& coefficients;  ///< the same
  const WaveletForm& form;
  const NCDataMatrix<float>& x;  ///< series x elements
};

/// "Daubechies 4, detrend mean, 2820 elements padded to 4096".
std::string WaveletFormText(const WaveletForm& form);

/// The energies of the levels, and how few coefficients of the first series hold most of their energy.
std::string WaveletText(const WaveletReport& report);
std::string RestoredText(const RestoredReport& report);

/// The same as one object; the keys are described in docs/command_line.md. That of the forward transform holds what the
/// inverse one needs.
nlohmann::ordered_json WaveletJson(const WaveletReport& report);
nlohmann::ordered_json RestoredJson(const RestoredReport& report);

/// Writes wavelet.csv: the coefficients, or the series.
void WriteWaveletTables(const WaveletReport& report, OutputDirectory& folder);
void WriteRestoredTables(const RestoredReport& report, OutputDirectory& folder);

/// The scalograms of the first series as SVG. The number of coefficients is a power of two.
std::string WaveletPicture(const WaveletReport& report);

}  // namespace tool
