#include "tools/voran/number_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <span>

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

bool IsMissingCell(std::string_view cell) {
  float ignored = 0.0f;
  return ReadNumber(cell, '.', ignored) == CellKind::kMissing;
}

void AppendNumber(std::string& to, double value) {
  if (std::isnan(value)) return;
  char digits[32];
  char* const begin = digits;
  const auto narrow = static_cast<float>(value);
  const bool isFloat = static_cast<double>(narrow) == value;
  to.append(begin, isFloat ? std::to_chars(begin, begin + sizeof digits, narrow).ptr
                           : std::to_chars(begin, begin + sizeof digits, value, std::chars_format::general, 9).ptr);
}

double AsWritten(double value) {
  std::string text;
  AppendNumber(text, value);
  return WholeNumber<double>(text).value_or(value);
}

std::string ShortNumber(double value) {
  constexpr double kLargest = 1e7;
  constexpr double kSmallest = 1e-3;
  const double size = std::abs(value);
  if (std::isnan(value)) return "-";
  if (size == 0.0) return "0";
  if (size >= kLargest || size < kSmallest) return fmt::format("{:.3e}", value);
  return fmt::format("{:.{}f}", value, std::clamp(3 - static_cast<int>(std::floor(std::log10(size))), 0, 5));
}

namespace {

bool BeginsCharacter(char byte) {
  return (static_cast<unsigned char>(byte) & 0xc0U) != 0x80U;
}

}  // namespace

std::size_t Length(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), BeginsCharacter));
}

std::string ShortName(std::string_view name, std::size_t most) {
  std::string shown;
  const std::size_t length = Length(name);
  const std::size_t head = (most - 1) / 2;
  const std::size_t tail = most - 2 - head;
  std::size_t position = 0;  // of the character, from 1
  for (const char byte : name) {
    if (BeginsCharacter(byte)) ++position;
    if (length <= most || position <= head || position > length - tail) {
      const auto code = static_cast<unsigned char>(byte);
      shown += code < 0x20 || code == 0x7f ? ' ' : byte;
    } else if (position == head + 1 && BeginsCharacter(byte)) {
      shown += "..";
    }
  }
  return shown;
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

std::string Enumerated(const std::vector<std::string>& items) {
  constexpr std::size_t kShown = 8;
  const std::span shown = std::span(items).first(std::min(items.size(), kShown));
  std::string list = fmt::format("{}", fmt::join(shown, ", "));
  if (items.size() > shown.size()) list += fmt::format(" and {} more", items.size() - shown.size());
  return ShortName(list, list.size());
}

}  // namespace tool
