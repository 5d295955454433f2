#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/output_directory.h"
#include "tools/voran/pls_fit.h"
#include "tools/voran/regression_report.h"

namespace tool {

/// Everything that is told of a PLS model.
struct PlsReport {
  const Table& table;
  const PlsSettings& settings;
  const PlsResult& result;

  RegressionReport Common() const { return {table, settings, result}; }
};

/// Tables for the terminal, with what the reader should know before relying on them.
std::string PlsText(const PlsReport& report);

/// The same as one object; the keys are described in docs/command_line.md.
nlohmann::ordered_json PlsJson(const PlsReport& report);

/// Writes scores.csv, loadings.csv, weights.csv, y_weights.csv, with cross-validation q2.csv, and what
/// WriteResponseTables() writes.
void WritePlsTables(const PlsReport& report, OutputDirectory& folder);

}  // namespace tool
