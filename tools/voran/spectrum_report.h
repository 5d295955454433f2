#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/output_directory.h"
#include "tools/voran/series_report.h"
#include "tools/voran/spectrum_fit.h"

namespace tool {

using SpectrumReport = SeriesReport<SpectrumSettings, SpectrumResult>;

/// As in the options.
std::string WindowName(FFT::DataWindowMode window);
std::string PowerScalingName(FFT::ScalingMode scaling);

/// "segments of 1024, half overlapping, hann window, detrend mean, density".
std::string SegmentText(const SpectrumReport& report);

/// The strongest peaks of the first series.
std::string SpectrumText(const SpectrumReport& report);

/// All of it as one object; the keys are described in docs/command_line.md.
nlohmann::ordered_json SpectrumJson(const SpectrumReport& report);

/// Writes spectrum.csv.
void WriteSpectrumTables(const SpectrumReport& report, OutputDirectory& folder);

/// The spectra of the first series as SVG, with the strongest peaks marked.
std::string SpectrumPicture(const SpectrumReport& report);

}  // namespace tool
