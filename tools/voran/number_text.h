#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tool {

/// What a cell of a table holds.
enum class CellKind {
  kNumber,
  kMissing,    ///< empty, NA, NaN, #N/A (in any case) or ?
  kText,       ///< anything else
  kNotFinite,  ///< an infinity, or a number beyond the range of `float`
};

/// Reads one cell, given without its quotation marks; blanks around the content do not count. `value` is set for a
/// number only.
/// A plus sign in front is accepted. The locale plays no part.
CellKind ReadNumber(std::string_view cell, char decimalMark, float& value);

/// Appends `value` with 9 significant digits, enough to give back any `float`; nothing for a NaN, which stands for a
/// value that cannot be had.
void AppendNumber(std::string& to, double value);

/// Up to 40 bytes of `text` in quotation marks, fit for a terminal: control characters are shown as \xHH.
std::string Quoted(std::string_view text);

/// "1 row", "2 rows".
std::string Counted(std::size_t count, std::string_view noun);

}  // namespace tool
