#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/ortho_model.h"
#include "tools/voran/output_directory.h"
#include "tools/voran/regression_report.h"
#include "tools/voran/table.h"

namespace tool {

/// Everything that is told of a model with orthogonal components.
struct OrthoReport {
  const Table& table;
  const OrthoSettings& settings;
  const OrthoResult& result;
  const char* command;  ///< "opls" or "yopls"
  const char* title;    ///< "OPLS"

  RegressionReport Common() const { return {table, settings, result}; }
};

/// Tables for the terminal, with what the reader should know before relying on them.
std::string OrthoText(const OrthoReport& report);

/// The same as one object; the keys are described in docs/command_line.md.
nlohmann::ordered_json OrthoJson(const OrthoReport& report);

/// Writes scores.csv, loadings.csv, weights.csv, y_weights.csv, those of the orthogonal components with "ortho_" in
/// front, with cross-validation q2.csv, and what WriteResponseTables() writes.
void WriteOrthoTables(const OrthoReport& report, OutputDirectory& folder);

}  // namespace tool
