#include "tools/voran/csv_reader.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/voran/failure.h"

namespace tool {
namespace {

using ::testing::HasSubstr;

Table Read(const std::string& text, const CsvOptions& options = {}) {
  const auto source = SourceFromMemory(text);
  return ReadCsv(*source, "", "t.csv", options);
}

std::string ComplaintAbout(const std::string& text, const CsvOptions& options = {}) {
  try {
    Read(text, options);
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.Code(), ExitCode::kBadData);
    return failure.what();
  }
  return "(none)";
}

std::vector<std::vector<float>> Cells(const Table& table) {
  std::vector<std::vector<float>> cells;
  for (const NCDataVector<float>& row : table.x) cells.emplace_back(row.begin(), row.end());
  return cells;
}

// A table with everything that the format allows, made together with what must come out of it.
class RandomTable {
 public:
  RandomTable(unsigned seed, char separator, char decimalMark)
      : random_(seed), separator_(separator), decimalMark_(decimalMark) {
    const std::size_t columns = 1 + Below(6);
    text = "name";
    for (std::size_t c = 0; c < columns; ++c) text += separator_ + fmt::format("v{}", c);
    text += separator_ + std::string("group\r\n");
    for (std::size_t rows = 1 + Below(12); rows > 0; --rows) AddRow(columns, rows == 1);
  }

  std::string text;
  std::vector<std::string> ids;
  std::vector<std::string> groups;
  std::vector<std::vector<float>> cells;
  std::vector<std::size_t> rowStarts;

 private:
  std::size_t Below(std::size_t n) { return random_() % n; }
  template <typename... T>
  std::string OneOf(const T&... choices) {
    const std::vector<std::string> list = {choices...};
    return list[Below(list.size())];
  }

  void AddRow(std::size_t columns, bool last) {
    rowStarts.push_back(text.size());
    AddText(ids);
    auto& row = cells.emplace_back();
    for (std::size_t c = 0; c < columns; ++c) {
      text += separator_;
      AddNumber(row);
    }
    text += separator_;
    AddText(groups);
    text += last ? OneOf("", "\n", "\r\n", "\n\n \r\n") : OneOf("\n", "\r\n");
  }

  void AddText(std::vector<std::string>& column) {
    column.push_back(OneOf("plain", "a,b;c", "two\nlines", "say \"so\"", "\"", "", "\r\n\r\n", "5\" pipe", "\xC3\xA9"));
    const std::string& value = column.back();
    if (value == "5\" pipe") {
      text += value;  // a mark that does not open a cell is text
      return;
    }
    std::string quoted = value;
    for (std::size_t i = 0; (i = quoted.find('"', i)) != std::string::npos; i += 2) quoted.insert(i, 1, '"');
    const bool plain = value == "plain" || value.empty();
    text += plain ? value : OneOf("", "  ") + '"' + quoted + '"' + OneOf("", " ");
  }

  void AddNumber(std::vector<float>& row) {
    if (Below(5) == 0) {
      row.push_back(-99.0f);
      text += OneOf("", "NA", "NaN", "#N/A", "?", " ", " na ", "\"\"", "\"NA\"");
      return;
    }
    const int thousandths = static_cast<int>(Below(2000000)) - 1000000;
    row.push_back(static_cast<float>(thousandths) / 1000.0f);
    std::string digits = fmt::format("{:.3f}", thousandths / 1000.0);
    std::replace(digits.begin(), digits.end(), '.', decimalMark_);
    text += OneOf(digits, digits, " " + digits + " ", '"' + digits + '"', digits + "e0");
  }

  std::mt19937 random_;
  char separator_;
  char decimalMark_;
};

CsvOptions Cut(char separator, char decimalMark, std::size_t chunkBytes, int threads) {
  CsvOptions options;
  options.dialect = {separator, decimalMark, true};
  options.roles.id = {"name"};
  options.roles.classes = {"group"};
  options.chunkBytes = options.sampleBytes = chunkBytes;
  options.control.threads = threads;
  return options;
}

TEST(CsvReader, EveryCutAndThreadCountGivesTheTableThatWasWritten) {
  for (unsigned seed = 0; seed < 150; ++seed) {
    const char separator = ",;\t"[seed % 3];
    const char decimalMark = separator == ',' ? '.' : ".,"[seed / 3 % 2];
    const RandomTable made(seed, separator, decimalMark);
    for (const std::size_t chunkBytes : {1U, 2U, 3U, 5U, 16U, 100U, 100000U}) {
      SCOPED_TRACE(fmt::format("seed {}, chunks of {}\n{}", seed, chunkBytes, made.text));
      const Table table = Read(made.text, Cut(separator, decimalMark, chunkBytes, 1 + static_cast<int>(seed % 3)));
      ASSERT_EQ(Cells(table), made.cells);
      ASSERT_EQ(table.rowIds, made.ids);
      ASSERT_EQ(table.classes.at(0).values, made.groups);
    }
  }
}

TEST(CsvReader, TheFirstFaultInTheFileIsReportedWhateverTheCut) {
  for (unsigned seed = 0; seed < 60; ++seed) {
    RandomTable made(seed, ',', '.');
    if (made.rowStarts.size() < 3) continue;
    const std::size_t bad = made.rowStarts[made.rowStarts.size() / 2];
    made.text.insert(made.rowStarts.back(), "late,late,late\n");
    made.text.insert(bad, "x,oops,\n");
    const auto line = 1 + std::count(made.text.begin(), made.text.begin() + static_cast<std::ptrdiff_t>(bad), '\n');
    for (const std::size_t chunkBytes : {1U, 4U, 30U, 100000U}) {
      for (const int threads : {1, 3}) {
        ASSERT_THAT(ComplaintAbout(made.text, Cut(',', '.', chunkBytes, threads)),
                    HasSubstr(fmt::format("t.csv, line {}, column 2 (\"v0\"): \"oops\" is not a number", line)))
            << "seed " << seed << ", chunks of " << chunkBytes << '\n'
            << made.text;
      }
    }
  }
}

TEST(CsvReader, RecognisesTheDialect) {
  // The name of the first row, the variables and the rows.
  const std::vector<std::pair<const char*, const char*>> cases = {
      {"1,2\n3,4\n", "1: x1 x2 | 1 2 | 3 4"},
      {"a;b\n1,5;2\n3;4,25\n", "1: a b | 1.5 2 | 3 4.25"},
      {"a\tb\n1.5\t2\n", "1: a b | 1.5 2"},
      {"\xEF\xBB\xBFid,a\r\n7,1\r\n8,2\r\n", "7: a | 1 | 2"},
      {",a\n7,1\n8,2\n", "7: a | 1 | 2"},
      {"who,a\nann,1\nbob,2\n", "ann: a | 1 | 2"},
      {",1900,1910\n7,1,2\n8,3,4\n", "7: 1900 1910 | 1 2 | 3 4"},
      {",900,902\nq,1,2\nr,3,4\n", "q: 900 902 | 1 2 | 3 4"},
      {"Id,900,902\nq,1,2\nr,3,4\n", "q: 900 902 | 1 2 | 3 4"},
      {",1.5\n2.5,3\n4.5,5\n", "1: x1 x2 | -99 1.5 | 2.5 3 | 4.5 5"},
      {"\"a,b\",\"c \"\"d\"\"\"\n1,2\n", "1: a,b c \"d\" | 1 2"},
      {"s,900,902,904,906,908,910,912,914\nq,1,3,2,4,3,5,4,6\n",
       "q: 900 902 904 906 908 910 912 914 | 1 3 2 4 3 5 4 6"},
      {"a\n1\n+2\n3", "1: a | 1 | 2 | 3"},
      {"\n\na,b\n1,2\n\n3,4\n\n", "1: a b | 1 2 | 3 4"},
      {"a,b,\n1,2,\n3,4,\n", "1: a b x3 | 1 2 -99 | 3 4 -99"},
  };
  for (const auto& [text, expected] : cases) {
    const Table table = Read(text);
    std::string shown = fmt::format("{}: {}", table.rowIds.at(0), fmt::join(table.variables, " "));
    for (const auto& row : Cells(table)) shown += fmt::format(" | {}", fmt::join(row, " "));
    EXPECT_EQ(shown, expected) << text;
  }
}

TEST(CsvReader, SaysWhereAndWhatIsWrong) {
  const std::vector<std::pair<std::string, const char*>> cases = {
      {"\n \r\n", "t.csv: is empty"},
      {"a,b\n", "t.csv: has a header and no rows"},
      {"a,b\n1,2\n3\n", "t.csv, line 3: has 1 cell where 2 are expected"},
      {"a,b\n1,2\n3,4,5,6\n", "t.csv, line 3: has 4 cells where 2 are expected"},
      {"a;b\n1;x;y\n", "t.csv, line 2"},
      {"a,b\n1,2\n3,4x\n",
       "t.csv, line 3, column 2 (\"b\"): \"4x\" is not a number; add --class b if it names groups, or --exclude b"},
      {"a,b\n1,2\n3,1e39\n", "line 3, column 2 (\"b\"): \"1e39\" is beyond the range"},
      {"a,b\n1,2\n-inf,1\n", "line 3, column 1 (\"a\"): \"-inf\" is beyond the range"},
      {"a,b\n1,2\n\"3\n4,5\n", "line 3, column 1 (\"a\"): the quotation mark that opens here is never closed"},
      {"a,b\n1,2\n\"3\"4,5\n", "line 3, column 1 (\"a\"): text follows the closing quotation mark"},
      {"\"a,b\n1,2\n", "line 1, column 1: the quotation mark"},
      {"a\n1\n\n2\n", "line 3: is blank; write NA"},
      {std::string("a,b\n1,\0\n", 8), "is not a text table in UTF-8"},
      {"\xFF\xFE\x61,b\n1,2\n", "is not a text table in UTF-8"},
      {"a,b\r1,2\r", "carriage returns alone"},
      {"a,b\n1,\x1b[2J\n", "\"\\x1b[2J\""},
  };
  for (const auto& [text, complaint] : cases) EXPECT_THAT(ComplaintAbout(text), HasSubstr(complaint)) << text;
}

TEST(CsvReader, ARecordWithoutEndIsRefusedBeforeItFillsTheMemory) {
  CsvOptions options;
  options.maxRecordBytes = 1000;
  options.chunkBytes = options.sampleBytes = 16;
  const std::string rows = "a,b\n1,2\n3,4\n";
  EXPECT_THAT(ComplaintAbout(rows + '"' + std::string(5000, 'x') + "\",1\n", options),
              HasSubstr("t.csv, line 4: the row does not end"));
  EXPECT_THAT(ComplaintAbout(std::string(5000, 'x'), options), HasSubstr("the row does not end"));
  const std::string padded = std::string(900, ' ') + "5,6\n";
  EXPECT_EQ(Cells(Read(rows + padded, options)).back(), (std::vector<float>{5, 6}));
}

TEST(CsvReader, TellsOfDataThatEqualTheMarkerOfGaps) {
  const Table table = Read("a,b\n-99,-99.0\n,1\n\" -99\",2\n");
  EXPECT_EQ(table.x.GetNumMisVal(), 4);
  EXPECT_THAT(table.notes, ::testing::Contains(HasSubstr("3 cells held exactly -99")));
  for (const char* const quiet : {"a,b\n,1\n2,\n", "gr\xC3\xB6\xC3\x9F\x65,b\n1,1\n2,5\n"}) {
    EXPECT_EQ(Read(quiet).notes.size(), 1u) << quiet;
  }
  for (const char* const latin1 : {"gr\xF6\xDF\x65,b\n1,1\n2,5\n", "id,b\nM\xFCller,1\nMeier,5\n"}) {
    EXPECT_THAT(Read(latin1).notes, ::testing::Contains(HasSubstr("not in UTF-8")));
  }
}

class SourceThatFails : public ByteSource {
 public:
  std::size_t Read(char* to, std::size_t count) override {
    if (++calls_ > 20) throw BadData("t.csv: the disk is gone");
    const std::size_t taken = std::min<std::size_t>(count, 4);
    std::copy_n("1,2\n", taken, to);
    return taken;
  }
  std::optional<std::uint64_t> TotalSize() const override { return std::nullopt; }

 private:
  int calls_ = 0;
};

TEST(CsvReader, AnErrorOfTheSourceReachesTheCallerFromAnyThread) {
  for (const int threads : {1, 4}) {
    SourceThatFails source;
    CsvOptions options;
    options.chunkBytes = options.sampleBytes = 4;
    options.control.threads = threads;
    EXPECT_THROW(ReadCsv(source, "", "t.csv", options), Failure);
  }
}

}  // namespace
}  // namespace tool
