#include "tools/voran/csv_dialect.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <set>

#include "tools/voran/csv_lexer.h"
#include "tools/voran/number_text.h"

namespace tool {
namespace {

constexpr std::size_t kRecordsLookedAt = 100;
constexpr std::array kSeparators = {'\t', ';', ','};

// The share of records that are cut into as many cells as the first; 0 if the first is a single cell.
double Agreement(const CsvSample& sample) {
  if (sample.empty() || sample.front().size() < 2) return 0.0;
  const auto agreeing = std::count_if(sample.begin(), sample.end(),
                                      [&](const auto& record) { return record.size() == sample.front().size(); });
  return static_cast<double>(agreeing) / static_cast<double>(sample.size());
}

char RecogniseSeparator(std::string_view text, bool complete) {
  char best = ',';
  double bestAgreement = 0.0;
  for (const char separator : kSeparators) {
    const double agreement = Agreement(ReadCsvSample(text, separator, complete, kRecordsLookedAt));
    if (agreement > bestAgreement) {
      best = separator;
      bestAgreement = agreement;
    }
  }
  return best;
}

bool IsNumber(std::string_view cell, char decimalMark) {
  float ignored = 0.0f;
  return ReadNumber(cell, decimalMark, ignored) == CellKind::kNumber;
}

char RecogniseDecimalMark(const CsvSample& sample) {
  std::size_t points = 0;
  std::size_t commas = 0;
  for (const auto& record : sample) {
    for (const std::string& cell : record) {
      if (cell.find('.') != std::string::npos && IsNumber(cell, '.')) ++points;
      if (cell.find(',') != std::string::npos && IsNumber(cell, ',')) ++commas;
    }
  }
  return commas > points ? ',' : '.';
}

std::vector<float> Numbers(const std::vector<std::string>& record, char decimalMark) {
  std::vector<float> numbers;
  float value = 0.0f;
  for (const std::string& cell : record) {
    if (ReadNumber(cell, decimalMark, value) == CellKind::kNumber) numbers.push_back(value);
  }
  return numbers;
}

bool OnlyRisesOrFalls(const std::vector<float>& v) {
  return std::adjacent_find(v.begin(), v.end(), std::greater_equal<>()) == v.end() ||
         std::adjacent_find(v.begin(), v.end(), std::less_equal<>()) == v.end();
}

// So many numbers in a row do not rise or fall throughout by chance (2 / 8!).
constexpr std::size_t kLongSeries = 8;

bool LooksLikeAxis(const CsvSample& sample, char decimalMark) {
  const std::vector<float> first = Numbers(sample[0], decimalMark);
  return first.size() >= kLongSeries && first.size() + 1 >= sample[0].size() && OnlyRisesOrFalls(first) &&
         !OnlyRisesOrFalls(Numbers(sample[1], decimalMark));
}

enum class ColumnSample { kNoNumber, kNumbers, kText };

ColumnSample LookAtColumn(const CsvSample& sample, std::size_t column, char decimalMark) {
  ColumnSample seen = ColumnSample::kNoNumber;
  float ignored = 0.0f;
  for (std::size_t r = 1; r < sample.size(); ++r) {
    if (column >= sample[r].size()) continue;
    const CellKind kind = ReadNumber(sample[r][column], decimalMark, ignored);
    if (kind == CellKind::kText) return ColumnSample::kText;
    if (kind != CellKind::kMissing) seen = ColumnSample::kNumbers;
  }
  return seen;
}

// Texts or whole numbers, none of them twice, in all records but the first.
bool NamesRows(const CsvSample& sample, char decimalMark) {
  std::set<std::string_view> seen;
  float number = 0.0f;
  for (std::size_t r = 1; r < sample.size(); ++r) {
    const CellKind kind = ReadNumber(sample[r].front(), decimalMark, number);
    const bool isName = kind == CellKind::kText || (kind == CellKind::kNumber && number == std::floor(number));
    if (!isName || !seen.insert(sample[r].front()).second) return false;
  }
  return true;
}

bool RecogniseHeader(const CsvSample& sample, char decimalMark) {
  const std::vector<std::string>& first = sample.front();
  const bool isAboveIds = first.size() > 1 && IsIdHeading(first.front());
  if (isAboveIds && !first.front().empty()) return true;
  if (sample.size() == 1) return Numbers(first, decimalMark).empty();
  if (isAboveIds && NamesRows(sample, decimalMark)) return true;
  bool numbersInFirst = false;
  float ignored = 0.0f;
  for (std::size_t c = 0; c < first.size(); ++c) {
    if (LookAtColumn(sample, c, decimalMark) != ColumnSample::kNumbers) continue;
    const CellKind kind = ReadNumber(first[c], decimalMark, ignored);
    if (kind == CellKind::kText) return true;
    if (kind == CellKind::kNumber) numbersInFirst = true;
  }
  return !numbersInFirst || LooksLikeAxis(sample, decimalMark);
}

}  // namespace

CsvSample ReadCsvSample(std::string_view text, char separator, bool complete, std::size_t most) {
  CsvLexer lexer(separator);
  const char* p = text.data();
  const char* end = complete ? p + text.size() : lexer.LastRecordEnd(p, p + text.size());
  CsvSample sample;
  while (sample.size() < most) {
    while (p != end && lexer.SkipBlankLine(p, end)) {
    }
    if (p == end) break;
    std::vector<std::string>& record = sample.emplace_back();
    CellEnd cellEnd = CellEnd::kSeparator;
    while (cellEnd == CellEnd::kSeparator) {
      std::string_view cell;
      cellEnd = lexer.Next(p, end, cell);
      record.emplace_back(cell);
    }
    if (cellEnd != CellEnd::kRecord) break;
  }
  return sample;
}

CsvDialect RecogniseCsvDialect(std::string_view text, bool complete, const CsvDialectRequest& request) {
  CsvDialect dialect;
  dialect.separator = request.separator ? *request.separator : RecogniseSeparator(text, complete);
  const CsvSample sample = ReadCsvSample(text, dialect.separator, complete, kRecordsLookedAt);
  const char recognised = dialect.separator == ',' ? '.' : RecogniseDecimalMark(sample);
  dialect.decimalMark = request.decimalMark.value_or(recognised);
  dialect.header = sample.empty() || RecogniseHeader(sample, dialect.decimalMark);
  if (request.header) dialect.header = *request.header;
  return dialect;
}

bool IsIdHeading(std::string_view heading) {
  const auto isLetter = [](char c, char lower) { return c == lower || c == lower - 'a' + 'A'; };
  return heading.empty() || (heading.size() == 2 && isLetter(heading[0], 'i') && isLetter(heading[1], 'd'));
}

std::string_view SeparatorName(char separator) {
  switch (separator) {
    case ';':
      return "semicolon";
    case '\t':
      return "tab";
    default:
      return "comma";
  }
}

}  // namespace tool
