#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/output_directory.h"
#include "tools/voran/svd_fit.h"

namespace tool {

/// Everything that is told of a singular value decomposition.
struct SvdReport {
  const Table& table;
  const SvdSettings& settings;
  const SvdResult& result;
};

/// A table for the terminal, of the largest singular values.
std::string SvdText(const SvdReport& report);

/// All of it but the vectors, as one object; the keys are described in docs/command_line.md.
nlohmann::ordered_json SvdJson(const SvdReport& report);

/// Writes singular_values.csv, u.csv and v.csv.
void WriteSvdTables(const SvdReport& report, OutputDirectory& folder);

}  // namespace tool
