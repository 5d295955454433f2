#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/histogram_fit.h"
#include "tools/voran/output_directory.h"

namespace tool {

/// Everything that is told of histograms.
struct HistogramReport {
  const Table& table;
  const std::vector<ColumnHistogram>& columns;
  bool withDots;  ///< a dot for each row, in place of bars
};

/// The edge of a bin, with the digits that tell the bins of this column apart.
std::string EdgeText(const ColumnHistogram& column, double edge);

/// A table of the columns and, if there are few, the bins of each with bars.
std::string HistogramText(const HistogramReport& report);

/// All of it as one object; the keys are described in docs/command_line.md.
nlohmann::ordered_json HistogramJson(const HistogramReport& report);

/// Writes histogram.csv, and dots.csv with dots.
void WriteHistogramTables(const HistogramReport& report, OutputDirectory& folder);

}  // namespace tool
