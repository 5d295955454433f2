#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/control_chart_fit.h"
#include "tools/voran/output_directory.h"

namespace tool {

/// Everything that is told of a control chart.
struct ControlChartReport {
  const Table& table;
  const Table* reference;  ///< may be null
  const ControlChartSettings& settings;
  const ControlChartResult& result;
};

/// "individual", "range", "stddev", "cusum" or "ewma", as in the option.
std::string ControlTypeName(ControlChart::ControlType type);

/// The ids of the first and the last row of a subgroup, counted from 0.
std::string FirstRow(const ControlChartReport& report, std::size_t subgroup);
std::string LastRow(const ControlChartReport& report, std::size_t subgroup);

/// What is charted: "value, mean and range of 5 subgroups of 20 rows".
std::string ChartTitle(const ControlChartReport& report);

/// Limits, and the points beyond them.
std::string ControlChartText(const ControlChartReport& report);

/// All of it as one object; the keys are described in docs/command_line.md.
nlohmann::ordered_json ControlChartJson(const ControlChartReport& report);

/// Writes chart.csv.
void WriteControlChartTables(const ControlChartReport& report, OutputDirectory& folder);

}  // namespace tool
