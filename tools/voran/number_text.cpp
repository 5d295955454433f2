#include "tools/voran/number_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include <fast_float/fast_float.h>
#include <fmt/format.h>

namespace tool {
namespace {

bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}

bool EqualNoCase(std::string_view text, std::string_view upper) {
  const auto toUpper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; };
  return std::equal(text.begin(), text.end(), upper.begin(), upper.end(),
                    [&](char a, char b) { return toUpper(a) == b; });
}

bool MeansMissing(std::string_view cell) {
  return cell.empty() || cell == "?" || EqualNoCase(cell, "NA") || EqualNoCase(cell, "NAN") ||
         EqualNoCase(cell, "#N/A");
}

}  // namespace

CellKind ReadNumber(std::string_view cell, char decimalMark, float& value) {
  while (!cell.empty() && IsBlank(cell.front())) cell.remove_prefix(1);
  while (!cell.empty() && IsBlank(cell.back())) cell.remove_suffix(1);
  if (MeansMissing(cell)) return CellKind::kMissing;
  if (cell.size() > 1 && cell[0] == '+' && cell[1] != '-') cell.remove_prefix(1);
  const fast_float::parse_options options(fast_float::chars_format::general, decimalMark);
  float parsed = 0.0f;
  const auto [next, error] = fast_float::from_chars_advanced(cell.data(), cell.data() + cell.size(), parsed, options);
  if (next != cell.data() + cell.size() || std::isnan(parsed)) return CellKind::kText;
  if (std::isinf(parsed) || error == std::errc::result_out_of_range) return CellKind::kNotFinite;
  if (error != std::errc()) return CellKind::kText;
  value = parsed;
  return CellKind::kNumber;
}

void AppendNumber(std::string& to, double value) {
  if (std::isnan(value)) return;
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general, 9).ptr;
  to.append(digits, end);
}

std::string Quoted(std::string_view text) {
  constexpr std::size_t kShown = 40;
  std::string shown = "\"";
  for (const char c : text.substr(0, kShown)) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7f) {
      shown += fmt::format("\\x{:02x}", byte);
    } else {
      shown += c;
    }
  }
  return shown + (text.size() > kShown ? "...\"" : "\"");
}

std::string Counted(std::size_t count, std::string_view noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

}  // namespace tool
