#include "tools/voran/npy_reader.h"

#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/voran/failure.h"
#include "tools/voran/table_reader.h"

namespace tool {
namespace {

using ::testing::HasSubstr;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

template <typename Number>
std::string Npy(int version, const std::string& dictionary, const std::vector<Number>& numbers) {
  std::string file = "\x93NUMPY";
  file += static_cast<char>(version);
  file += '\0';
  const std::size_t length = dictionary.size();
  for (std::size_t i = 0; i < (version == 1 ? 2u : 4u); ++i) file += static_cast<char>(length >> (8 * i) & 0xff);
  file += dictionary;
  std::string bytes(numbers.size() * sizeof(Number), '\0');
  std::memcpy(bytes.data(), numbers.data(), bytes.size());
  return file + bytes;
}

std::string Dictionary(const char* type, bool columnMajor, const char* shape) {
  return fmt::format("{{'descr': '{}', 'fortran_order': {}, 'shape': {}, }}\n", type, columnMajor ? "True" : "False",
                     shape);
}

// A source that does not know its size, as a pipe.
class Pipe : public ByteSource {
 public:
  explicit Pipe(std::string bytes) : bytes_(std::move(bytes)), inner_(SourceFromMemory(bytes_)) {}
  std::size_t Read(char* to, std::size_t count) override { return inner_->Read(to, std::min<std::size_t>(count, 5)); }
  std::optional<std::uint64_t> TotalSize() const override { return std::nullopt; }

 private:
  std::string bytes_;
  std::unique_ptr<ByteSource> inner_;
};

Table Read(const std::string& bytes, const RoleRequest& roles = {}) {
  const auto source = SourceFromMemory(bytes);
  CsvOptions options;
  options.roles = roles;
  return ReadTable(*source, "t.npy", options);
}

std::vector<std::vector<float>> Cells(const Table& table) {
  std::vector<std::vector<float>> cells;
  for (const NCDataVector<float>& row : table.x) cells.emplace_back(row.begin(), row.end());
  return cells;
}

const std::vector<std::vector<float>> kExpected = {{1, 2, 3}, {4, kGap, 6}};

TEST(NpyReader, ReadsEveryLayout) {
  const std::vector<float> byRow = {1, 2, 3, 4, kNaN, 6};
  const std::vector<float> byColumn = {1, 4, 2, kNaN, 3, 6};
  const std::vector<double> wideByRow(byRow.begin(), byRow.end());
  const std::vector<double> wideByColumn(byColumn.begin(), byColumn.end());
  for (int version = 1; version <= 3; ++version) {
    EXPECT_EQ(Cells(Read(Npy(version, Dictionary("<f4", false, "(2, 3)"), byRow))), kExpected);
    EXPECT_EQ(Cells(Read(Npy(version, Dictionary("<f4", true, "(2, 3)"), byColumn))), kExpected);
    EXPECT_EQ(Cells(Read(Npy(version, Dictionary("<f8", false, "(2, 3)"), wideByRow))), kExpected);
    EXPECT_EQ(Cells(Read(Npy(version, Dictionary("<f8", true, "(2, 3)"), wideByColumn))), kExpected);
  }
  Pipe pipe(Npy(1, Dictionary("<f4", false, "(2, 3)"), byRow));
  EXPECT_EQ(Cells(ReadTable(pipe, "-", {})), kExpected);
  EXPECT_EQ(Cells(Read(Npy<float>(1, Dictionary("<f4", false, "(2,)"), {1, 2}))),
            (std::vector<std::vector<float>>{{1}, {2}}));
}

TEST(NpyReader, LeavesOutColumnsInBothOrders) {
  std::vector<float> byRow(40);  // 2 x 20, counted up row by row
  std::vector<float> byColumn(40);
  for (std::size_t row = 0; row < 2; ++row) {
    for (std::size_t column = 0; column < 20; ++column) {
      byRow[row * 20 + column] = byColumn[column * 2 + row] = static_cast<float>(row * 20 + column);
    }
  }
  RoleRequest roles;
  roles.unused = {"#2..#17", "x19"};
  const std::vector<std::vector<float>> expected = {{0, 17, 19}, {20, 37, 39}};
  EXPECT_EQ(Cells(Read(Npy(1, Dictionary("<f4", false, "(2, 20)"), byRow), roles)), expected);
  EXPECT_EQ(Cells(Read(Npy(1, Dictionary("<f4", true, "(2, 20)"), byColumn), roles)), expected);
}

TEST(NpyReader, EveryShorterFileIsRefused) {
  for (const bool columnMajor : {false, true}) {
    const std::string whole = Npy<float>(2, Dictionary("<f4", columnMajor, "(2, 3)"), {1, 2, 3, 4, 5, 6});
    ASSERT_EQ(Read(whole).x.SizeRows(), 2);
    for (std::size_t length = 6; length < whole.size(); ++length) {
      EXPECT_THROW(Read(whole.substr(0, length)), Failure) << length;
      Pipe pipe(whole.substr(0, length));
      EXPECT_THROW(ReadTable(pipe, "-", {}), Failure) << length;
    }
  }
}

TEST(NpyReader, RefusesWhatIsNoTableOfNumbers) {
  const std::vector<std::pair<std::string, const char*>> cases = {
      {Dictionary("<i4", false, "(1, 2)"), "items of type \"<i4\""},
      {Dictionary(">f4", false, "(1, 2)"), "items of type"},
      {"{'descr': [('a', '<f4')], 'fortran_order': False, 'shape': (1,), }", "items of type"},
      {Dictionary("<f4", false, "(1, 1, 2)"), "3 dimensions"},
      {Dictionary("<f4", false, "()"), "0 dimensions"},
      {Dictionary("<f4", false, "(0, 2)"), "without cells"},
      {Dictionary("<f4", false, "(2147483647, 2147483647)"), "more than"},
      {Dictionary("<f4", false, "(18446744073709551615, 2)"), "more than"},
      {Dictionary("<f4", false, "(99999999999999999999, 2)"), "damaged"},
      {Dictionary("<f4", false, "(2147483647, 1)"), "does not fit its"},
      {Dictionary("<f4", true, "(1, 2147483647)"), "does not fit its"},
      {Dictionary("<f4", false, "(-1, 2)"), "damaged"},
      {Dictionary("<f4", false, "(1, 2"), "damaged"},
      {"{'descr': '<f4', 'shape': (1, 2), }", "damaged"},
      {"", "damaged"},
  };
  for (const auto& [dictionary, complaint] : cases) {
    try {
      Read(Npy<float>(1, dictionary, {1, 2}));
      ADD_FAILURE() << dictionary;
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.Code(), ExitCode::kBadData);
      EXPECT_THAT(failure.what(), HasSubstr(complaint));
    }
  }
  Pipe bomb(Npy<float>(1, Dictionary("<f4", false, "(1, 2147483647)"), {1, 2}));
  EXPECT_THROW(ReadTable(bomb, "-", {}), Failure);
}

TEST(NpyReader, NumbersBeyondFloatAreNamedByPlace) {
  try {
    Read(Npy<double>(1, Dictionary("<f8", false, "(2, 2)"), {1, 2, 3, 1e39}));
    ADD_FAILURE();
  } catch (const Failure& failure) {
    EXPECT_THAT(failure.what(), HasSubstr("t.npy, row 2, column 2: 1e+39 is beyond the range"));
  }
}

}  // namespace
}  // namespace tool
