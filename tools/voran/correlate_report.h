#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/correlate_fit.h"
#include "tools/voran/output_directory.h"
#include "tools/voran/series_report.h"

namespace tool {

using CorrelateReport = SeriesReport<CorrelateSettings, CorrelateResult>;

/// "Autocorrelation", or "Correlation with NAME".
std::string CorrelateTitle(const CorrelateReport& report);

/// The lags of the first series where the correlation is highest and lowest.
std::string CorrelateText(const CorrelateReport& report);

/// All of it as one object; the keys are described in docs/command_line.md.
nlohmann::ordered_json CorrelateJson(const CorrelateReport& report);

/// Writes correlate.csv.
void WriteCorrelateTables(const CorrelateReport& report, OutputDirectory& folder);

/// The correlations of the first series by lag as SVG.
std::string CorrelatePicture(const CorrelateReport& report);

}  // namespace tool
