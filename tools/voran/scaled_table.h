#pragma once

#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "tools/voran/scaling.h"
#include "tools/voran/table.h"

namespace tool {

/// Names of columns that were left out, each with the reason.
using DroppedColumns = std::vector<std::pair<std::string, std::string>>;

/// A table scaled for a model, with the names of its columns.
struct ScaledTable {
  ScaledMatrix matrix;
  std::vector<std::string> variables;  ///< the columns that were kept
  DroppedColumns dropped;
};

/// Scales the variables. The matrix is taken out of the table, so that no second copy of it comes to be. Throws
/// `Failure` (bad data) if no column is left.
ScaledTable ScaleTable(Table& table, Scaling scaling);

/// "a (no variance), b (all missing)", the first few of them.
std::string DroppedText(const DroppedColumns& dropped);

/// The array under the key `dropped_columns`.
nlohmann::ordered_json DroppedJson(const DroppedColumns& dropped);

}  // namespace tool
