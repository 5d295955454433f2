#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/output_directory.h"
#include "tools/voran/series_report.h"
#include "tools/voran/smooth_fit.h"

namespace tool {

using SmoothReport = SeriesReport<SmoothSettings, SmoothResult>;

/// "Smoothing", or "First derivative" and so on.
std::string SmoothTitle(const SmoothSettings& settings);
/// "polynomials of order 2 in windows of 7".
std::string PolynomialText(const SmoothSettings& settings);

/// A line for each of the first series.
std::string SmoothText(const SmoothReport& report);

/// All of them as one object; the keys are described in docs/command_line.md.
nlohmann::ordered_json SmoothJson(const SmoothReport& report);

/// Writes smooth.csv, which has the form of the table.
void WriteSmoothTables(const SmoothReport& report, OutputDirectory& folder);

/// The first series as SVG, each with what became of it.
std::string SmoothPicture(const SmoothReport& report);

}  // namespace tool
