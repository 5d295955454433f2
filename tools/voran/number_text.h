#pragma once

#include <charconv>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

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

/// Whether a cell of text says that there is none.
bool IsMissingCell(std::string_view cell);

/// The number that `text` is, and nothing else: no blanks, a decimal point.
template <typename Number>
std::optional<Number> WholeNumber(std::string_view text) {
  Number value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

/// Appends `value`: a number that is a `float` in as few digits as give that back, any other with 9 significant digits;
/// nothing for a NaN, which stands for a value that cannot be had.
void AppendNumber(std::string& to, double value);

/// The number that AppendNumber() writes, for JSON; a NaN, which becomes null there, stays one.
double AsWritten(double value);

/// For a table on the terminal: four digits (all of a larger integral part, no more than five decimals); "-" for a NaN.
std::string ShortNumber(double value);

/// How many characters of UTF-8 `text` is.
std::size_t Length(std::string_view text);

/// `name` in at most `most` characters, fit for a terminal: what is too much is cut out of the middle, since names that
/// belong together differ at their ends, and control characters become blanks. The default is for tables of several
/// columns.
std::string ShortName(std::string_view name, std::size_t most = 24);

/// Up to 40 bytes of `text` in quotation marks, fit for a terminal: control characters are shown as \xHH.
std::string Quoted(std::string_view text);

/// "1 row", "2 rows".
std::string Counted(std::size_t count, std::string_view noun);

/// "a, b, c", the first eight of them: "... and 3 more"; control characters become blanks.
std::string Enumerated(const std::vector<std::string>& items);

}  // namespace tool
