#include "tools/voran/npy_reader.h"

#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/value_samples.h"
#include "tools/voran/failure.h"

namespace tool {
namespace {

using ::testing::HasSubstr;

template <typename Number>
std::string Npy(int version, const std::string& dictionary, const std::vector<Number>& numbers) {
  std::string file = "\x93NUMPY";
  file += static_cast<char>(version);
  file += '\0';
  const std::size_t length = dictionary.size();
  for (std::size_t i = 0; i < (version == 1 ? 2u : 4u); ++i) file += static_cast<char>(length >> (8 * i) & 0xff);
  return (file + dictionary).append(reinterpret_cast<const char*>(numbers.data()), numbers.size() * sizeof(Number));
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

Rows Read(const std::string& bytes, const RoleRequest& roles = {}) {
  return ToRows(TableOf(bytes, roles).x);
}

Rows ReadPipe(const std::string& bytes) {
  Pipe pipe(bytes);
  return ToRows(ReadTable(pipe, "-", {}).x);
}

TEST(NpyReader, ReadsEveryLayout) {
  const Rows expected = {{1, 2, 3}, {4, kGap, 6}};
  const std::vector<double> byRow = {1, 2, 3, 4, std::nan(""), 6};
  const std::vector<double> byColumn = {1, 4, 2, std::nan(""), 3, 6};
  for (const bool columnMajor : {false, true}) {
    const std::vector<double>& wide = columnMajor ? byColumn : byRow;
    const std::vector<float> narrow(wide.begin(), wide.end());
    for (int version = 1; version <= 3; ++version) {
      EXPECT_EQ(Read(Npy(version, Dictionary("<f4", columnMajor, "(2, 3)"), narrow)), expected);
      EXPECT_EQ(Read(Npy(version, Dictionary("<f8", columnMajor, "(2, 3)"), wide)), expected);
    }
  }
  EXPECT_EQ(ReadPipe(Npy(1, Dictionary("<f8", false, "(2, 3)"), byRow)), expected);
  EXPECT_EQ(Read(Npy<float>(1, Dictionary("<f4", false, "(2,)"), {1, 2})), (Rows{{1}, {2}}));
}

TEST(NpyReader, LeavesOutColumnsInBothOrders) {
  std::vector<float> byRow(40);  // 2 x 20, counted up row by row
  std::vector<float> byColumn(40);
  for (std::size_t i = 0; i < 40; ++i) byRow[i] = byColumn[i % 20 * 2 + i / 20] = static_cast<float>(i);
  RoleRequest roles;
  roles.unused = {"#2..#17", "x19"};
  const Rows expected = {{0, 17, 19}, {20, 37, 39}};
  EXPECT_EQ(Read(Npy(1, Dictionary("<f4", false, "(2, 20)"), byRow), roles), expected);
  EXPECT_EQ(Read(Npy(1, Dictionary("<f4", true, "(2, 20)"), byColumn), roles), expected);
}

TEST(NpyReader, EveryShorterFileIsRefused) {
  for (const bool columnMajor : {false, true}) {
    const std::string whole = Npy<float>(2, Dictionary("<f4", columnMajor, "(2, 3)"), {1, 2, 3, 4, 5, 6});
    ASSERT_EQ(Read(whole).size(), 2u);
    for (std::size_t length = 6; length < whole.size(); ++length) {
      EXPECT_THROW(Read(whole.substr(0, length)), Failure) << length;
      EXPECT_THROW(ReadPipe(whole.substr(0, length)), Failure) << length;
    }
  }
}

TEST(NpyReader, RefusesWhatIsNoTableOfNumbers) {
  const auto refuses = [](const std::string& file, const std::string& complaint) {
    try {
      Read(file);
      ADD_FAILURE() << complaint;
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.Code(), ExitCode::kBadData);
      EXPECT_THAT(failure.what(), HasSubstr(complaint));
    }
  };
  const std::vector<std::pair<std::string, const char*>> dictionaries = {
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
      {"{'descr': '<f4', 'shape': (1, 2), }", "damaged"},
      {"", "damaged"},
  };
  for (const auto& [dictionary, complaint] : dictionaries) refuses(Npy<float>(1, dictionary, {1, 2}), complaint);
  refuses(Npy<double>(1, Dictionary("<f8", false, "(2, 2)"), {1, 2, 3, 1e39}),
          "t.csv, row 2, column 2: 1e+39 is beyond the range");
  EXPECT_THROW(ReadPipe(Npy<float>(1, Dictionary("<f4", false, "(1, 2147483647)"), {1, 2})), Failure);
}

}  // namespace
}  // namespace tool
