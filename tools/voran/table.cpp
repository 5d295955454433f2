#include "tools/voran/table.h"

#include <fmt/format.h>

#include "tools/voran/number_text.h"

namespace tool {

std::vector<std::string> NumberedNames(std::size_t columns) {
  std::vector<std::string> names;
  names.reserve(columns);
  for (std::size_t c = 1; c <= columns; ++c) names.push_back(fmt::format("x{}", c));
  return names;
}

std::vector<std::string> NumberedIds(std::size_t rows) {
  std::vector<std::string> ids;
  ids.reserve(rows);
  for (std::size_t r = 1; r <= rows; ++r) ids.push_back(std::to_string(r));
  return ids;
}

void NoteMarkerCells(Table& table, std::size_t cells) {
  if (cells == 0) return;
  table.notes.push_back(
      fmt::format("{} held exactly -99, which marks a gap, and counted as missing; if that is a datum, "
                  "add a constant to the column",
                  Counted(cells, "cell")));
}

}  // namespace tool
