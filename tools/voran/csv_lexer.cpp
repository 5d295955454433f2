#include "tools/voran/csv_lexer.h"

#include <cstring>

namespace tool {
namespace {

const char* Find(const char* p, const char* end, char c) {
  const void* found = p == end ? nullptr : std::memchr(p, c, static_cast<std::size_t>(end - p));
  return found == nullptr ? end : static_cast<const char*>(found);
}

// The mark that closes the quoted text starting at `p`; a doubled mark stands for itself. `end` if there is none.
const char* ClosingQuote(const char* p, const char* end) {
  for (;;) {
    p = Find(p, end, '"');
    if (p == end || p + 1 == end || p[1] != '"') return p;
    p += 2;
  }
}

// The position behind the last line feed in [begin, end), or `none`.
const char* BehindLastLineFeed(const char* begin, const char* end, const char* none) {
  while (end != begin) {
    if (*--end == '\n') return end + 1;
  }
  return none;
}

}  // namespace

CellEnd CsvLexer::Next(const char*& p, const char* end, std::string_view& cell) {
  while (p != end && IsBlank(*p)) ++p;
  if (p != end && *p == '"') return NextQuoted(p, end, cell);

  const char* stop = p;
  while (stop != end && *stop != separator_ && *stop != '\n') ++stop;
  const char* last = stop;
  if (last != p && last[-1] == '\r' && (stop == end || *stop == '\n')) --last;
  while (last != p && IsBlank(last[-1])) --last;
  cell = std::string_view(p, static_cast<std::size_t>(last - p));
  const bool more = stop != end && *stop == separator_;
  p = stop == end ? end : stop + 1;
  return more ? CellEnd::kSeparator : CellEnd::kRecord;
}

CellEnd CsvLexer::NextQuoted(const char*& p, const char* end, std::string_view& cell) {
  const char* first = p + 1;
  const char* close = ClosingQuote(first, end);
  cell = std::string_view(first, static_cast<std::size_t>(close - first));
  if (close == end) {
    p = end;
    return CellEnd::kUnclosedQuote;
  }
  if (cell.find('"') != std::string_view::npos) {
    unescaped_.clear();
    for (std::size_t i = 0; i < cell.size(); ++i) {
      unescaped_ += cell[i];
      if (cell[i] == '"') ++i;
    }
    cell = unescaped_;
  }
  p = close + 1;
  while (p != end && IsBlank(*p)) ++p;
  if (p != end && *p == '\r' && (p + 1 == end || p[1] == '\n')) ++p;
  if (p == end) return CellEnd::kRecord;
  if (*p == '\n') {
    ++p;
    return CellEnd::kRecord;
  }
  if (*p != separator_) return CellEnd::kTextAfterQuote;
  ++p;
  return CellEnd::kSeparator;
}

bool CsvLexer::OpensCell(const char* quote, const char* begin) const {
  while (quote != begin && IsBlank(quote[-1])) --quote;
  return quote == begin || quote[-1] == separator_ || quote[-1] == '\n';
}

const char* CsvLexer::LastRecordEnd(const char* begin, const char* end) const {
  const char* lastEnd = begin;
  const char* plain = begin;  // where the text outside quotation marks goes on
  for (const char* quote = Find(begin, end, '"'); quote != end; quote = Find(quote, end, '"')) {
    if (!OpensCell(quote, begin)) {
      ++quote;
      continue;
    }
    lastEnd = BehindLastLineFeed(plain, quote, lastEnd);
    const char* close = ClosingQuote(quote + 1, end);
    if (close == end) return lastEnd;
    plain = quote = close + 1;
  }
  return BehindLastLineFeed(plain, end, lastEnd);
}

bool CsvLexer::SkipBlankLine(const char*& p, const char* end) const {
  const char* q = p;
  while (q != end && (IsBlank(*q) || *q == '\r')) ++q;
  if (q != end && *q != '\n') return false;
  p = q == end ? end : q + 1;
  return true;
}

}  // namespace tool
