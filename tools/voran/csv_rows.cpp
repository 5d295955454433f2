#include "tools/voran/csv_rows.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "tools/voran/number_text.h"
#include "tools/voran/table.h"

namespace tool {
namespace {

// A column as an argument of an option: by position if its name holds what a list gives a meaning.
std::string AsArgument(const std::string& name, std::size_t column) {
  const bool plain = !name.empty() && name.find_first_of(" ,'\"\\$`#&;|<>()*?!\n\r\t") == std::string::npos;
  return plain ? name : fmt::format("'#{}'", column + 1);
}

}  // namespace

CsvRowParser::CsvRowParser(const CsvDialect& dialect, const ColumnPlan& plan)
    : dialect_(dialect),
      plan_(plan),
      lexer_(dialect.separator),
      numberFormat_(fast_float::chars_format::general, dialect.decimalMark) {
  numbers_.reserve(plan.NumberColumns().size());
}

CsvRows CsvRowParser::Parse(const char* begin, const char* end) {
  CsvRows result;
  result.texts.resize(plan_.TextColumns().size());
  const char* p = begin;
  while (p != end) {
    recordLine_ = result.lines;
    if (lexer_.SkipBlankLine(p, end)) {
      if (plan_.names.size() == 1 && !result.blankLine) result.blankLine = recordLine_;
      ++result.lines;
      continue;
    }
    if (result.blankLine) {
      Complain(result, *result.blankLine, ": is blank; write NA for a missing value");
      break;
    }
    if (!ParseRecord(p, end, result)) break;
  }
  return result;
}

bool CsvRowParser::ParseRecord(const char*& p, const char* end, CsvRows& result) {
  const std::size_t columns = plan_.names.size();
  numbers_.clear();
  texts_.clear();
  for (std::size_t c = 0; c < columns; ++c) {
    const char stop = c + 1 == columns ? '\n' : dialect_.separator;
    if (HoldsNumbers(plan_.roles[c]) && PlainCell(p, end, stop, result)) continue;
    if (!AnyCell(p, end, c, result)) return false;
  }
  result.rows.emplace_back().CopyZeroBasedVector(numbers_.data(), static_cast<int>(numbers_.size()));
  for (std::size_t k = 0; k < texts_.size(); ++k) result.texts[k].push_back(std::move(texts_[k]));
  return true;
}

// The plain case, which is nearly every cell of a large table: nothing, or a finite number, with the expected stop
// right behind it. Anything else leaves `p` where it is and returns false.
inline bool CsvRowParser::PlainCell(const char*& p, const char* end, char stop, CsvRows& result) {
  if (p == end) return false;
  float value = kGap;
  const char* next = p;
  if (*p != stop) {
    const auto parsed = fast_float::from_chars_advanced(p, end, value, numberFormat_);
    next = parsed.ptr;
    if (parsed.ec != std::errc() || next == end || *next != stop || !std::isfinite(value)) return false;
    if (value == kGap) ++result.markerCells;
  }
  numbers_.push_back(value);
  p = next + 1;
  if (stop == '\n') ++result.lines;
  return true;
}

bool CsvRowParser::AnyCell(const char*& p, const char* end, std::size_t column, CsvRows& result) {
  const char* start = p;
  std::string_view cell;
  const CellEnd cellEnd = lexer_.Next(p, end, cell);
  if (!CheckQuotes(cellEnd, column, result)) return false;
  if (HoldsNumbers(plan_.roles[column])) {
    if (!NumberCell(cell, column, result)) return false;
  } else if (plan_.roles[column] != ColumnRole::kUnused) {
    texts_.emplace_back(cell);
  }
  result.lines += static_cast<std::size_t>(std::count(start, p, '\n'));
  return CheckCount(cellEnd, column, p, end, result);
}

bool CsvRowParser::CheckQuotes(CellEnd cellEnd, std::size_t column, CsvRows& result) const {
  if (cellEnd == CellEnd::kUnclosedQuote) {
    return Complain(result, result.lines, ColumnPlace(column) + ": the quotation mark that opens here is never closed");
  }
  if (cellEnd == CellEnd::kTextAfterQuote) {
    return Complain(result, result.lines,
                    ColumnPlace(column) +
                        ": text follows the closing quotation mark; a quotation mark inside a quoted "
                        "cell is written twice");
  }
  return true;
}

bool CsvRowParser::CheckCount(CellEnd cellEnd, std::size_t column, const char* p, const char* end, CsvRows& result) {
  const std::size_t columns = plan_.names.size();
  std::size_t found = column + 1;
  if ((cellEnd == CellEnd::kRecord) == (found == columns)) return true;
  for (; cellEnd == CellEnd::kSeparator; ++found) {
    std::string_view ignored;
    cellEnd = lexer_.Next(p, end, ignored);
  }
  return Complain(
      result, recordLine_,
      fmt::format(": has {} where {} {} expected", Counted(found, "cell"), columns, columns == 1 ? "is" : "are"));
}

bool CsvRowParser::NumberCell(std::string_view cell, std::size_t column, CsvRows& result) {
  float value = kGap;
  switch (ReadNumber(cell, dialect_.decimalMark, value)) {
    case CellKind::kNumber:
      if (value == kGap) ++result.markerCells;
      break;
    case CellKind::kMissing:
      break;
    case CellKind::kText:
      if (plan_.isForModel && plan_.roles[column] == ColumnRole::kResponse) break;  // not measured yet
      return Complain(result, result.lines, ColumnPlace(column) + ": " + NotANumber(cell, column));
    case CellKind::kNotFinite:
      return Complain(result, result.lines,
                      fmt::format("{}: {} is beyond the range of a number; numbers go up to 3.4e38, and NA marks a gap",
                                  ColumnPlace(column), Quoted(cell)));
  }
  numbers_.push_back(value);
  return true;
}

bool CsvRowParser::Complain(CsvRows& result, std::size_t line, std::string what) const {
  result.complaint = CsvComplaint{line, std::move(what)};
  return false;
}

std::string CsvRowParser::NotANumber(std::string_view cell, std::size_t column) const {
  if (plan_.isForModel) return Quoted(cell) + " is not a number, which the model wants here; NA marks a gap";
  if (plan_.roles[column] == ColumnRole::kResponse) return Quoted(cell) + " is not a number; NA marks a gap";
  const std::string& option = plan_.givenBy[column];
  if (!option.empty()) return fmt::format("{} is not a number, which {} wants; NA marks a gap", Quoted(cell), option);
  const std::string argument = AsArgument(plan_.names[column], column);
  const std::string id = column == 0 ? fmt::format("--id {} if the column names the rows, ", argument) : "";
  const std::string group = plan_.mayHaveClasses ? fmt::format("--class {} if it names groups, ", argument) : "";
  const std::string others = id + group;
  return fmt::format("{} is not a number; add {}{}--exclude {}", Quoted(cell), others, others.empty() ? "" : "or ",
                     argument);
}

std::string CsvRowParser::ColumnPlace(std::size_t column) const {
  return fmt::format(", column {} ({})", column + 1, Quoted(plan_.names[column]));
}

}  // namespace tool
