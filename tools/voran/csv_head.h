#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/voran/byte_source.h"
#include "tools/voran/csv_dialect.h"
#include "tools/voran/csv_lexer.h"

namespace tool {

/// What to say of a record that goes beyond every sensible length.
constexpr const char* kRecordTooLong = "the row does not end; a closing quotation mark is missing, or a line end";

/// The beginning of a text table: how it is written, what its columns are called, and where its rows start.
class CsvHead {
 public:
  struct Limits {
    std::size_t sampleBytes;
    std::size_t maxRecordBytes;
  };

  /// Reads as much of `source` as it takes to recognise the table; `begun` has been taken from it before.
  /// Throws `Failure` for an empty source, another encoding, or a header that cannot be read.
  CsvHead(ByteSource& source, std::string begun, const std::string& name, const CsvDialectRequest& request,
          Limits limits);

  const CsvDialect& Dialect() const { return dialect_; }
  /// The header's names; x1, x2, ... where it has none or there is no header.
  const std::vector<std::string>& Names() const { return names_; }
  /// Lines ahead of the first row.
  std::size_t LinesBefore() const { return linesBefore_; }
  /// True if the source holds nothing behind the rest of the sample.
  bool AtEnd() const { return atEnd_; }
  /// The sample behind the header; to be called last.
  std::string TakeRest() { return std::move(text_); }

  /// Whether the first column looks as if it named the rows: it stands under an empty heading or under "id", or it
  /// holds texts of which no two are alike (in the first 100 rows).
  bool FirstColumnNamesRows() const;

  /// The columns, counted from 0, that hold text and no number (in the first 100 rows).
  std::vector<std::size_t> TextColumns() const;

 private:
  void ReadMore(std::size_t count);
  void ReadSample();
  void RefuseOtherEncodings();
  void Recognise();
  void ReadNames();
  void NameTheNameless();
  void RefuseBadQuotes(CellEnd cellEnd, std::ptrdiff_t line) const;

  ByteSource& source_;
  const std::string& name_;
  const CsvDialectRequest request_;
  const Limits limits_;
  std::string text_;
  bool atEnd_ = false;
  CsvDialect dialect_;
  std::vector<std::string> names_;
  bool firstNameIsId_ = false;
  std::size_t linesBefore_ = 0;
};

}  // namespace tool
