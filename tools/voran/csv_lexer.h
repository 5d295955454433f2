#pragma once

#include <string>
#include <string_view>

namespace tool {

/// How the reading of a cell ended.
enum class CellEnd {
  kSeparator,       ///< the record has another cell
  kRecord,          ///< the record is complete
  kUnclosedQuote,   ///< the input ended inside quotation marks
  kTextAfterQuote,  ///< something else than blanks stands between the closing mark and the end of the cell
};

/// Cuts separated text into cells, by RFC 4180 and a little more: blanks around a cell are dropped, unless they are
/// quoted; a quotation mark opens a quoted cell only as the cell's first character, and is text elsewhere; lines end
/// in LF or CR LF.
class CsvLexer {
 public:
  explicit CsvLexer(char separator) : separator_(separator) {}

  /// Reads the cell that starts at `p`, and moves `p` behind the separator or the line end that closes it. `cell` stays
  /// valid until the next call. With `p == end` the cell is empty and ends the record.
  CellEnd Next(const char*& p, const char* end, std::string_view& cell);

  /// The end of the last complete record in [begin, end), behind its line end; `begin` if there is none. `begin` is
  /// the start of a record.
  const char* LastRecordEnd(const char* begin, const char* end) const;

  /// If the line at `p` holds nothing but blanks, moves `p` to the next line and returns true.
  bool SkipBlankLine(const char*& p, const char* end) const;

 private:
  bool IsBlank(char c) const { return c == ' ' || (c == '\t' && separator_ != '\t'); }

  CellEnd NextQuoted(const char*& p, const char* end, std::string_view& cell);
  bool OpensCell(const char* quote, const char* begin) const;

  char separator_;
  std::string unescaped_;
};

}  // namespace tool
