#pragma once

#include <cstddef>
#include <string>

#include "tools/voran/byte_source.h"
#include "tools/voran/csv_dialect.h"
#include "tools/voran/table.h"
#include "tools/voran/table_roles.h"

namespace tool {

struct CsvOptions {
  // What changes the result.
  CsvDialectRequest dialect;
  RoleRequest roles;
  /// The dialect is recognised from so many bytes, and at least three lines if there are so many.
  std::size_t sampleBytes = 128 * 1024;
  /// A longer record is refused: far more often a quotation mark is missing than a row is that wide.
  std::size_t maxRecordBytes = 256 * 1024 * 1024;

  // What changes the speed alone.
  std::size_t chunkBytes = 1024 * 1024;
  ReadControl control;
};

/// Reads a table from separated text in UTF-8, with or without a byte-order mark. `begun` is what has been taken from
/// `source` already; `name` is the file as the user named it.
///
/// The text is parsed in stretches of whole records, by several threads, straight into rows; of the text no more is in
/// memory than one stretch a thread. The result and the error that is reported (the first in the file) do not depend on
/// the number of threads.
/// Throws `Failure` with file, line and column of what cannot be read.
Table ReadCsv(ByteSource& source, std::string begun, const std::string& name, const CsvOptions& options);

}  // namespace tool
