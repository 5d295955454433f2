#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/cluster_fit.h"
#include "tools/voran/output_directory.h"

namespace tool {

/// Everything that is told of a clustering.
struct ClusterReport {
  const Table& table;
  const ClusterSettings& settings;
  const ClusterResult& result;
};

/// Tables for the terminal: between which heights the tree has so many groups, and the groups if it is cut.
std::string ClusterText(const ClusterReport& report);

/// All of it as one object; the keys are described in docs/command_line.md.
nlohmann::ordered_json ClusterJson(const ClusterReport& report);

/// Writes merges.csv and order.csv, and groups.csv if the tree is cut.
void WriteClusterTables(const ClusterReport& report, OutputDirectory& folder);

}  // namespace tool
