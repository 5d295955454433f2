#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "tools/voran/table.h"

namespace tool {

/// Writes a table as CSV with the ids and classes of `table`, but other values: `unit` times `x`, rows x `columns`; a
/// gap is an empty cell. Throws `Failure` (cancelled) if the user breaks off.
void WriteTable(std::ostream& out, const Table& table, const std::vector<std::string>& columns,
                const NCDataMatrix<float>& x, double unit = 1.0);

}  // namespace tool
