#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/fisher_fit.h"
#include "tools/voran/output_directory.h"

namespace tool {

/// Everything that is told of an exact test.
struct FisherReport {
  const Table& table;
  const FisherSettings& settings;
  const CountTable& counts;
  double p;
};

/// Which p this is: "two-sided", "less" or "greater" of a 2 x 2 table, "two-sided" or "hybrid" of others.
std::string MethodName(const FisherReport& report);

/// The counts with their sums, and the p-value.
std::string FisherText(const FisherReport& report);

/// All of it as one object; the keys are described in docs/command_line.md.
nlohmann::ordered_json FisherJson(const FisherReport& report);

/// Writes fisher.csv, the counts with their sums.
void WriteFisherTables(const FisherReport& report, OutputDirectory& folder);

/// The counts as SVG: a column of the picture for each column of the table, as wide as its share, divided by the shares
/// of the rows in it (Hartigan and Kleiner's mosaic).
std::string FisherPicture(const FisherReport& report);

}  // namespace tool
