#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/output_directory.h"
#include "tools/voran/pca_fit.h"

namespace tool {

/// Everything that is told of a PCA.
struct PcaReport {
  const Table& table;
  const PcaSettings& settings;
  const PcaResult& result;
};

/// A table for the terminal, with what the reader should know before relying on it.
std::string PcaText(const PcaReport& report);

/// The same as one object; the keys are described in docs/command_line.md.
nlohmann::ordered_json PcaJson(const PcaReport& report);

/// Writes scores.csv and loadings.csv.
void WritePcaTables(const PcaReport& report, OutputDirectory& folder);

}  // namespace tool
