#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <fast_float/fast_float.h>

#include "tools/voran/csv_dialect.h"
#include "tools/voran/csv_lexer.h"
#include "tools/voran/table_roles.h"
#include "voran/containers/data_vector.h"

namespace tool {

/// What stopped the reading of a chunk.
struct CsvComplaint {
  std::size_t line = 0;  ///< counted from 0 at the start of the chunk
  std::string what;      ///< goes on after "FILE, line N"
};

/// The rows of one chunk.
struct CsvRows {
  std::vector<NCDataVector<float>> rows;        ///< the columns of numbers, gaps as missing elements
  std::vector<std::vector<std::string>> texts;  ///< the columns kept as text, in table order
  std::size_t lines = 0;                        ///< how many lines the chunk has
  std::size_t markerCells = 0;                  ///< numbers in the text that equal the marker of missing elements
  std::optional<std::size_t> blankLine;         ///< in a table of one column: a blank line that no row follows yet
  std::optional<CsvComplaint> complaint;        ///< the first; nothing behind it was read
};

/// Turns whole records into rows. One parser serves one thread.
class CsvRowParser {
 public:
  CsvRowParser(const CsvDialect& dialect, const ColumnPlan& plan);

  CsvRows Parse(const char* begin, const char* end);

 private:
  bool ParseRecord(const char*& p, const char* end, CsvRows& result);
  bool PlainCell(const char*& p, const char* end, char stop, CsvRows& result);
  bool AnyCell(const char*& p, const char* end, std::size_t column, CsvRows& result);
  bool CheckQuotes(CellEnd cellEnd, std::size_t column, CsvRows& result) const;
  bool CheckCount(CellEnd cellEnd, std::size_t column, const char* p, const char* end, CsvRows& result);
  bool NumberCell(std::string_view cell, std::size_t column, CsvRows& result);
  bool Complain(CsvRows& result, std::size_t line, std::string what) const;
  std::string NotANumber(std::string_view cell, std::size_t column) const;
  std::string ColumnPlace(std::size_t column) const;

  const CsvDialect dialect_;
  const ColumnPlan& plan_;
  CsvLexer lexer_;
  const fast_float::parse_options numberFormat_;
  std::vector<float> numbers_;  // of the record under way
  std::vector<std::string> texts_;
  std::size_t recordLine_ = 0;
};

}  // namespace tool
