#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// How a text table is written.
struct CsvDialect {
  char separator = ',';
  char decimalMark = '.';
  bool header = true;
};

/// What the user has laid down; the rest is recognised.
struct CsvDialectRequest {
  std::optional<char> separator;
  std::optional<char> decimalMark;
  std::optional<bool> header;
};

/// The cells of the first records of a table.
using CsvSample = std::vector<std::vector<std::string>>;

/// The first records of `text`, at most `most`; a record that `text` breaks off counts only if `complete` says that
/// nothing follows. Blank lines are passed over.
CsvSample ReadCsvSample(std::string_view text, char separator, bool complete, std::size_t most);

/// Recognises the dialect from the beginning of a table.
///
/// - Separator: the one of tab, semicolon and comma (in this order) that cuts all records into equally many cells, more
///   than one; failing that, the one that agrees with the first record most often.
/// - Decimal mark: a comma if the separator is another and more cells are numbers with a comma than with a point.
/// - Header: there is one unless the first record holds numbers where the others do. Numbers that only rise or only
///   fall (wavelengths) are a header too if the second record's do neither, and so is what begins with the heading of
///   row names, if that is "id" or stands above names or numbers of rows.
CsvDialect RecogniseCsvDialect(std::string_view text, bool complete, const CsvDialectRequest& request);

/// "comma", "semicolon" or "tab".
std::string_view SeparatorName(char separator);

/// Whether a first column of this heading names the rows: it is empty, or "id" in any case.
bool IsIdHeading(std::string_view heading);

}  // namespace tool
