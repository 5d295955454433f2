#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "voran/containers/data_matrix.h"

namespace tool {

/// Gaps of a table over its variables.
struct GapCounts {
  int cells = 0;
  int rows = 0;
  int columns = 0;
  std::vector<std::string> emptyRows;  ///< ids of the rows that hold nothing
};

/// Counts the gaps; `ids` has one for each row.
GapCounts CountGaps(const NCDataMatrix<float>& x, const std::vector<std::string>& ids);

/// The ids of the rows that hold nothing.
std::vector<std::string> EmptyRows(const NCDataMatrix<float>& x, const std::vector<std::string>& ids);

/// "no gaps", or "gaps in 3 cells, 2 rows, 1 column".
std::string GapText(const GapCounts& gaps);

/// The object under the key `missing`.
nlohmann::ordered_json GapJson(const GapCounts& gaps);

}  // namespace tool
