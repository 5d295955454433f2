#include "tools/voran/csv_chunks.h"

#include <algorithm>
#include <utility>

namespace tool {

CsvChunkQueue::CsvChunkQueue(ByteSource& source, char separator, std::string begun, bool atEnd, Limits limits)
    : source_(source),
      lexer_(separator),
      rest_(std::move(begun)),
      atEnd_(atEnd),
      limits_(limits),
      bytesTaken_(rest_.size()) {}

CsvChunkQueue::Outcome CsvChunkQueue::Next(CsvChunk& chunk) {
  const std::lock_guard lock(mutex_);
  chunk.number = nextNumber_++;
  chunk.size = 0;
  if (stopped_) return Outcome::kEnd;

  std::size_t filled = rest_.size();
  for (;;) {
    // A record longer than a chunk makes the buffer double, so that it is not searched over and over.
    const std::size_t more = atEnd_ ? 0 : std::max(limits_.chunkBytes, filled);
    if (chunk.buffer.size() < filled + more) chunk.buffer.resize(filled + more);
    if (!rest_.empty()) std::copy(rest_.begin(), rest_.end(), chunk.buffer.begin());
    const std::size_t got = ReadFully(source_, chunk.buffer.data() + filled, more);
    rest_.clear();
    filled += got;
    bytesTaken_ += got;
    if (got < more || atEnd_) {
      atEnd_ = stopped_ = true;
      chunk.size = filled;
      return filled == 0 ? Outcome::kEnd : Outcome::kChunk;
    }
    const Outcome outcome = CutRecords(chunk, filled);
    if (outcome != Outcome::kEnd) return outcome;
  }
}

// kEnd means that there is no whole record yet.
CsvChunkQueue::Outcome CsvChunkQueue::CutRecords(CsvChunk& chunk, std::size_t filled) {
  const char* begin = chunk.Begin();
  const char* cut = lexer_.LastRecordEnd(begin, begin + filled);
  if (cut != begin) {
    rest_.assign(cut, begin + filled);
    chunk.size = static_cast<std::size_t>(cut - begin);
    return Outcome::kChunk;
  }
  if (filled <= limits_.maxRecordBytes) return Outcome::kEnd;
  stopped_ = true;
  return Outcome::kRecordTooLong;
}

void CsvChunkQueue::Stop() {
  const std::lock_guard lock(mutex_);
  stopped_ = true;
}

std::size_t CsvChunkQueue::BytesTaken() const {
  const std::lock_guard lock(mutex_);
  return bytesTaken_;
}

}  // namespace tool
