#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

#include "tools/voran/byte_source.h"
#include "tools/voran/csv_lexer.h"

namespace tool {

/// A stretch of whole records. The buffer is kept from one use to the next.
struct CsvChunk {
  std::size_t number = 0;  ///< position in the file's sequence of chunks, from 0
  std::vector<char> buffer;
  std::size_t size = 0;  ///< the bytes in use

  const char* Begin() const { return buffer.data(); }
  const char* End() const { return buffer.data() + size; }
};

/// Hands out a source in stretches of whole records, one after another, to any number of threads. No more of the text
/// is in memory than one chunk a thread, whatever the size of the file.
class CsvChunkQueue {
 public:
  struct Limits {
    std::size_t chunkBytes;
    std::size_t maxRecordBytes;
  };

  enum class Outcome { kChunk, kEnd, kRecordTooLong };

  /// `begun` is what has been read already, from the start of a record; `atEnd` says that nothing follows it.
  CsvChunkQueue(ByteSource& source, char separator, std::string begun, bool atEnd, Limits limits);

  /// Fills `chunk` with the next stretch. Its number is set in any case, also when the source throws: chunks with lower
  /// numbers have all been handed out before.
  Outcome Next(CsvChunk& chunk);

  /// No further chunk is handed out.
  void Stop();

  std::size_t BytesTaken() const;

 private:
  Outcome CutRecords(CsvChunk& chunk, std::size_t filled);

  mutable std::mutex mutex_;
  ByteSource& source_;
  CsvLexer lexer_;
  std::string rest_;  // the beginning of a record that the chunk before broke off
  bool atEnd_;
  const Limits limits_;
  bool stopped_ = false;
  std::size_t nextNumber_ = 0;
  std::size_t bytesTaken_;
};

}  // namespace tool
