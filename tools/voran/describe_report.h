#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/column_summary.h"
#include "tools/voran/gap_counts.h"
#include "tools/voran/output_directory.h"
#include "tools/voran/table.h"

namespace tool {

/// Everything that is told of the columns of a table.
struct DescribeReport {
  const Table& table;
  const GapCounts& gaps;
  const std::vector<ColumnSummary>& columns;
};

/// A line for each column; where there are limits, a second table of what meets them.
std::string DescribeText(const DescribeReport& report);

/// The same as one object; the keys are described in docs/command_line.md.
nlohmann::ordered_json DescribeJson(const DescribeReport& report);

/// Writes columns.csv.
void WriteDescribeTables(const DescribeReport& report, OutputDirectory& folder);

}  // namespace tool
