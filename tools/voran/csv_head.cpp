#include "tools/voran/csv_head.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "tools/voran/table.h"

namespace tool {
namespace {

constexpr std::size_t kRowsLookedAt = 100;
constexpr std::ptrdiff_t kLeastLines = 3;  // a header and two rows tell more than the header alone

}  // namespace

CsvHead::CsvHead(ByteSource& source, std::string begun, const std::string& name, const CsvDialectRequest& request,
                 Limits limits)
    : source_(source), name_(name), request_(request), limits_(limits), text_(std::move(begun)) {
  ReadSample();
  RefuseOtherEncodings();
  Recognise();
  ReadNames();
}

bool CsvHead::FirstColumnNamesRows() const {
  if (names_.size() < 2) return false;
  if (dialect_.header && firstNameIsId_) return true;
  const CsvSample sample = ReadCsvSample(text_, dialect_.separator, atEnd_, kRowsLookedAt);
  std::set<std::string_view> seen;
  float ignored = 0.0f;
  for (const auto& record : sample) {
    if (ReadNumber(record.front(), dialect_.decimalMark, ignored) != CellKind::kText) return false;
    if (!seen.insert(record.front()).second) return false;
  }
  return !sample.empty();
}

std::vector<std::size_t> CsvHead::TextColumns() const {
  std::vector<bool> holdsText(names_.size());
  std::vector<bool> holdsNumber(names_.size());
  float ignored = 0.0f;
  for (const auto& record : ReadCsvSample(text_, dialect_.separator, atEnd_, kRowsLookedAt)) {
    for (std::size_t c = 0; c < std::min(record.size(), names_.size()); ++c) {
      const CellKind kind = ReadNumber(record[c], dialect_.decimalMark, ignored);
      if (kind == CellKind::kText) holdsText[c] = true;
      if (kind == CellKind::kNumber || kind == CellKind::kNotFinite) holdsNumber[c] = true;
    }
  }
  std::vector<std::size_t> columns;
  for (std::size_t c = 0; c < names_.size(); ++c) {
    if (holdsText[c] && !holdsNumber[c]) columns.push_back(c);
  }
  return columns;
}

void CsvHead::ReadMore(std::size_t count) {
  const std::size_t had = text_.size();
  text_.resize(had + count);
  const std::size_t got = ReadFully(source_, text_.data() + had, count);
  text_.resize(had + got);
  atEnd_ = got < count;
}

void CsvHead::ReadSample() {
  ReadMore(limits_.sampleBytes);
  while (!atEnd_ && std::count(text_.begin(), text_.end(), '\n') < kLeastLines &&
         text_.size() <= limits_.maxRecordBytes) {
    ReadMore(text_.size());
  }
}

void CsvHead::RefuseOtherEncodings() {
  if (text_.starts_with("\xEF\xBB\xBF")) text_.erase(0, 3);
  if (text_.starts_with("\xFF\xFE") || text_.starts_with("\xFE\xFF") || text_.find('\0') != std::string::npos) {
    throw BadData(name_ + ": is not a text table in UTF-8; save it as CSV in UTF-8");
  }
  if (text_.find('\n') == std::string::npos && text_.find('\r') != std::string::npos &&
      text_.find('\r') + 1 < text_.size()) {
    throw BadData(name_ + ": its lines end in carriage returns alone; save it with LF or CR LF line ends");
  }
}

void CsvHead::Recognise() {
  dialect_ = RecogniseCsvDialect(text_, atEnd_, request_);
  const CsvLexer lexer(dialect_.separator);
  while (!atEnd_ && lexer.LastRecordEnd(text_.data(), text_.data() + text_.size()) == text_.data()) {
    if (text_.size() > limits_.maxRecordBytes) throw BadData(fmt::format("{}, line 1: {}", name_, kRecordTooLong));
    ReadMore(text_.size());
    dialect_ = RecogniseCsvDialect(text_, atEnd_, request_);
  }
}

void CsvHead::ReadNames() {
  CsvLexer lexer(dialect_.separator);
  const char* begin = text_.data();
  const char* end = begin + text_.size();
  const char* p = begin;
  while (p != end && lexer.SkipBlankLine(p, end)) {
  }
  if (p == end) throw BadData(name_ + ": is empty");
  const char* first = p;
  for (CellEnd cellEnd = CellEnd::kSeparator; cellEnd == CellEnd::kSeparator;) {
    std::string_view cell;
    cellEnd = lexer.Next(p, end, cell);
    RefuseBadQuotes(cellEnd, std::count(begin, first, '\n') + 1);
    names_.emplace_back(cell);
  }
  if (!dialect_.header) {
    names_ = NumberedNames(names_.size());
    p = first;
  }
  NameTheNameless();
  linesBefore_ = static_cast<std::size_t>(std::count(begin, p, '\n'));
  text_.erase(0, static_cast<std::size_t>(p - text_.data()));
}

void CsvHead::RefuseBadQuotes(CellEnd cellEnd, std::ptrdiff_t line) const {
  if (cellEnd == CellEnd::kUnclosedQuote) {
    throw BadData(fmt::format("{}, line {}, column {}: the quotation mark that opens here is never closed", name_, line,
                              names_.size() + 1));
  }
  if (cellEnd == CellEnd::kTextAfterQuote) {
    throw BadData(
        fmt::format("{}, line {}, column {}: text follows the closing quotation mark", name_, line, names_.size() + 1));
  }
}

void CsvHead::NameTheNameless() {
  firstNameIsId_ = IsIdHeading(names_.front());
  for (std::size_t c = 0; c < names_.size(); ++c) {
    if (names_[c].empty()) names_[c] = c == 0 && names_.size() > 1 ? "id" : fmt::format("x{}", c + 1);
  }
}

}  // namespace tool
