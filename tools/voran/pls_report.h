#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/output_directory.h"
#include "tools/voran/pls_fit.h"

namespace tool {

/// Everything that is told of a PLS model.
struct PlsReport {
  const Table& table;
  const PlsSettings& settings;
  const PlsResult& result;
};

/// Tables for the terminal, with what the reader should know before relying on them.
std::string PlsText(const PlsReport& report);

/// The same as one object; the keys are described in docs/command_line.md.
nlohmann::ordered_json PlsJson(const PlsReport& report);

/// Writes scores.csv, loadings.csv, weights.csv, y_weights.csv, coefficients.csv, fitted.csv, and with cross-validation
/// q2.csv and predicted_cv.csv.
void WritePlsTables(const PlsReport& report, OutputDirectory& folder);

}  // namespace tool
