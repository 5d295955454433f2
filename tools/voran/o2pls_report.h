#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/o2pls_fit.h"
#include "tools/voran/output_directory.h"

namespace tool {

/// Everything that is told of an O2PLS model.
struct O2plsReport {
  const Table& table;
  const O2plsSettings& settings;
  const O2plsResult& result;
};

/// Tables for the terminal, with what the reader should know before relying on them.
std::string O2plsText(const O2plsReport& report);

/// The same as one object; the keys are described in docs/command_line.md.
nlohmann::ordered_json O2plsJson(const O2plsReport& report);

/// Writes scores.csv, loadings.csv, weights.csv, y_loadings.csv, y_weights.csv, what there is of ortho_scores.csv,
/// ortho_loadings.csv and ortho_weights.csv and of the same three with y_ in front, and the tables of the responses.
void WriteO2plsTables(const O2plsReport& report, OutputDirectory& folder);

}  // namespace tool
