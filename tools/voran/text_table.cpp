#include "tools/voran/text_table.h"

#include <algorithm>

#include <fmt/format.h>

#include "tools/voran/number_text.h"

namespace tool {

std::string TextTable::Text() const {
  std::vector<std::size_t> widths(rows_.front().size());
  for (const auto& row : rows_) {
    for (std::size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], Length(row[c]));
  }
  std::string text;
  for (const auto& row : rows_) {
    text += "  " + row[0] + std::string(widths[0] - Length(row[0]), ' ');
    for (std::size_t c = 1; c < row.size(); ++c) {
      text += "  " + std::string(widths[c] - Length(row[c]), ' ') + row[c];
    }
    while (text.ends_with(' ')) text.pop_back();  // of cells at the end that are empty
    text += '\n';
  }
  return text;
}

}  // namespace tool
