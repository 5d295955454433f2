#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/output_directory.h"
#include "tools/voran/table.h"
#include "tools/voran/transformed_table.h"

namespace tool {

/// Everything that is told of a transformed table. The matrix of `table` has been used up.
struct TransformReport {
  const Table& table;
  const TransformSettings& settings;
  const TransformedTable& result;
};

/// A line for each column that has changed.
std::string TransformText(const TransformReport& report);

/// The same as one object, with all columns; the keys are described in docs/command_line.md.
nlohmann::ordered_json TransformJson(const TransformReport& report);

/// Writes transform.csv, which holds the table.
void WriteTransformTables(const TransformReport& report, OutputDirectory& folder);

}  // namespace tool
