#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/output_directory.h"
#include "tools/voran/roc_fit.h"

namespace tool {

/// Everything that is told of a ROC curve.
struct RocReport {
  const Table& table;
  const RocSettings& settings;
  const RocResult& result;
};

/// The area under the curve, and the best threshold.
std::string RocText(const RocReport& report);

/// All of it as one object; the keys are described in docs/command_line.md.
nlohmann::ordered_json RocJson(const RocReport& report);

/// Writes roc.csv.
void WriteRocTables(const RocReport& report, OutputDirectory& folder);

/// The curve as SVG, with the diagonal of a score that tells nothing and the best point.
std::string RocPicture(const RocReport& report);

}  // namespace tool
