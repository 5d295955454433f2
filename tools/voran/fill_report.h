#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/filled_table.h"
#include "tools/voran/output_directory.h"

namespace tool {

/// Everything that is told of a table whose gaps were filled.
struct FillReport {
  const Table& table;
  const FillSettings& settings;
  const FilledTable& result;
};

/// A table for the terminal, of the columns that had gaps.
std::string FillText(const FillReport& report);

/// The same as one object; the keys are described in docs/command_line.md.
nlohmann::ordered_json FillJson(const FillReport& report);

/// Writes filled.csv.
void WriteFillTables(const FillReport& report, OutputDirectory& folder);

}  // namespace tool
