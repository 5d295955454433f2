#pragma once

#include <string>
#include <vector>

#include "tools/voran/table.h"

namespace tool {

/// That a row holds this text in a column.
struct RowCondition {
  std::string column;  ///< an item that selects columns
  std::string value;
};

/// Reads "COLUMN=VALUE". Throws `Failure` (wrong use).
RowCondition ReadCondition(const std::string& argument);

/// Leaves in the table the rows that meet the conditions: of those on one column one, and on every column. The columns
/// are ids or classes of the table, which has no responses. Throws `Failure` (wrong use) if no row is left.
void KeepRows(Table& table, const std::vector<RowCondition>& conditions);

}  // namespace tool
