#include "voran/platform/stream_directory.h"

#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/failing_stream.h"
#include "tests/platform/stream_bytes.h"
#include "voran/platform/stream_light.h"
#include "voran/platform/stream_values.h"

namespace {

using stored::Bytes;
using ::testing::IsNull;
using ::testing::NotNull;

std::string ReadAll(std::istream* entry) {
  return entry == nullptr ? "(absent)" : std::string(std::istreambuf_iterator<char>(*entry), {});
}

TEST(StreamValues, AreLittleEndianAndGuardTheirCounts) {
  using namespace std::string_literals;
  std::stringstream stream;
  const std::int32_t four[] = {0x01020304, -2};
  const std::uint16_t two = 0x0A0B;
  const double eight = -99.0;
  EXPECT_TRUE(WriteFourBytes(four, 2, stream) && WriteTwoBytes(&two, 1, stream) && WriteArray(&eight, 1, 8, stream) &&
              WriteBytes("xyz", 3, stream) && WriteBinaryString("a\0b"s, stream));
  EXPECT_EQ(stream.str(), "\x04\x03\x02\x01\xFE\xFF\xFF\xFF\x0B\x0A\0\0\0\0\0\xC0\x58\xC0xyz\x03\0\0\0a\0b"s);

  std::int32_t fourRead[2] = {};
  std::uint16_t twoRead = 0;
  double eightRead = 0.0;
  std::string bytesRead(3, ' ');
  std::string stringRead;
  EXPECT_TRUE(ReadFourBytes(fourRead, 2, stream) && ReadTwoBytes(&twoRead, 1, stream) &&
              ReadArray(&eightRead, 1, 8, stream) && ReadBytes(bytesRead.data(), 3, stream) &&
              ReadBinaryString(stringRead, stream));
  EXPECT_EQ(std::tuple(fourRead[0], fourRead[1], twoRead, eightRead), std::tuple(four[0], four[1], two, eight));
  EXPECT_EQ(bytesRead + stringRead, "xyza\0b"s);

  EXPECT_FALSE(ReadFourBytes(fourRead, 1, stream));  // the end
  stream.clear();
  EXPECT_FALSE(WriteFourBytes(four, -1, stream));
  EXPECT_TRUE(stream.fail());
}

TEST(StreamValues, StringLongerThanTheStreamIsRefused) {
  for (const std::uint32_t length : {4U, 0xFFFFFFFFU}) {
    std::istringstream stream(stored::LittleEndian(length, 4) + "abc");
    std::string s = "before";
    EXPECT_FALSE(ReadBinaryString(s, stream)) << length;
    EXPECT_TRUE(stream.fail());
    EXPECT_EQ(s, "");
  }
}

TEST(StreamValues, ArraysOfMoreThanFourGiBAreNotCutShort) {
  SparseFile file;
  std::ostream stream(&file);
  const char nothing = 0;
  EXPECT_TRUE(WriteArray(&nothing, 0x7FFFFFFF, 8, stream));
  EXPECT_EQ(file.Size(), std::streamoff{8} * 0x7FFFFFFF);
}

TEST(StreamLight, HeaderTellsNameAndVersion) {
  std::stringstream stream;
  EXPECT_TRUE(VStreamLight::WriteMagicStringAndVersionNumber(stream, 0x0102, "Magic"));
  EXPECT_EQ(stream.str(), stored::Header("Magic", 0x0102).All());
  unsigned short version = 7;
  EXPECT_FALSE(VStreamLight::CheckMagicStringAndVersionNumber(stream, version, "Magik"));
  EXPECT_EQ(version, 7);
  stream.seekg(0);
  EXPECT_TRUE(VStreamLight::CheckMagicStringAndVersionNumber(stream, version, "Magic"));
  EXPECT_EQ(version, 0x0102);
  EXPECT_FALSE(VStreamLight::WriteMagicStringAndVersionNumber(stream, 1, std::string(256, 'x').c_str()));
}

/// A stream with a directory of three entries, of which 2 is written first and 1 never.
std::string ThreeEntries() {
  std::stringstream stream;
  stream << "before";
  OutputStreamDirectory directory(stream, 3);
  directory.GetOutput(2) << "two";
  directory.GetOutput(0);
  EXPECT_TRUE(directory.Close());
  stream << "behind";
  return stream.str();
}

TEST(StreamDirectory, FindsEntriesByNumberAndTellsAnAbsentOneFromAnEmptyOne) {
  const std::string bytes = ThreeEntries();
  EXPECT_EQ(bytes, "before" + stored::Directory({Bytes(), std::nullopt, Bytes("two")}, {2, 0, 1}).All() + "behind");

  std::istringstream stream(bytes);
  stream.seekg(6);
  InputStreamDirectory directory(stream);
  EXPECT_EQ(ReadAll(directory.GetInput(0)), "");
  EXPECT_THAT(directory.GetInput(1), IsNull());
  EXPECT_THAT(directory.GetInput(3), IsNull());
  EXPECT_EQ(ReadAll(directory.GetInput(2)), "two");
  EXPECT_EQ(ReadAll(directory.GetInput(0)), "");
  EXPECT_EQ(ReadAll(directory.GetInput(2)), "two");  // again
  EXPECT_TRUE(directory.Close());
  EXPECT_EQ(ReadAll(&stream), "behind");
}

TEST(StreamDirectory, EntryLeftHalfReadFails) {
  std::istringstream stream(ThreeEntries());
  stream.seekg(6);
  InputStreamDirectory directory(stream);
  EXPECT_EQ(directory.GetInput(2)->get(), 't');
  EXPECT_EQ(directory.GetInput(2)->get(), 'w');  // the same one goes on
  EXPECT_EQ(directory.GetInput(2)->tellg(), std::streampos(2));
  EXPECT_TRUE(directory.GetInput(0)->fail());
  EXPECT_FALSE(directory.Close());
  EXPECT_TRUE(stream.fail());
}

// The checksum of an entry does not tell that a directory in it was passed over.
TEST(StreamDirectory, EntryWithADirectoryLeftUnreadFails) {
  std::istringstream stream(stored::Directory({Bytes("ab") + stored::Directory({Bytes("inner")})}).All());
  InputStreamDirectory directory(stream);
  char own[2];
  EXPECT_TRUE(directory.GetInput(0)->read(own, 2));
  EXPECT_FALSE(directory.Close());
}

/// Some bytes of an entry, or a directory in it, whose entries are lists of such pieces or absent.
struct Piece;
using Tree = std::vector<std::optional<std::vector<Piece>>>;
struct Piece {
  bool isDirectory = false;
  std::string own;
  Tree directory;
};

/// Most trees are larger than the buffer.
class RandomTrees {
 public:
  explicit RandomTrees(unsigned seed) : generator_(seed) {}

  Tree Make(int depth) {
    Tree tree(Draw(4));
    for (auto& entry : tree) {
      if (Draw(5) == 0) continue;
      entry.emplace(Draw(4) + 1);
      for (Piece& piece : *entry) Fill(piece, depth);
    }
    return tree;
  }

 private:
  void Fill(Piece& piece, int depth) {
    static const std::size_t kLargest[] = {0, 3, 200, 5000, 40000, 70000, 200000};
    piece.isDirectory = depth > 0 && Draw(2) == 0;
    if (piece.isDirectory) {
      piece.directory = Make(depth - 1);
    } else {
      piece.own.resize(Draw(kLargest[Draw(6)]));
      for (char& c : piece.own) c = static_cast<char>(generator_());
    }
  }

  std::size_t Draw(std::size_t most) { return std::uniform_int_distribution<std::size_t>(0, most)(generator_); }

  std::mt19937 generator_;
};

Bytes BytesOf(const Tree& tree) {
  stored::Entries entries(tree.size());
  for (std::size_t i = 0; i < tree.size(); ++i) {
    if (!tree[i]) continue;
    entries[i].emplace();
    for (const Piece& piece : *tree[i]) *entries[i] += piece.isDirectory ? BytesOf(piece.directory) : Bytes(piece.own);
  }
  return stored::Directory(entries);
}

void Write(std::ostream& stream, const Tree& tree) {
  OutputStreamDirectory directory(stream, static_cast<unsigned short>(tree.size()));
  for (std::size_t i = 0; i < tree.size(); ++i) {
    if (!tree[i]) continue;
    std::ostream& entry = directory.GetOutput(static_cast<unsigned short>(i));
    for (const Piece& piece : *tree[i]) {
      entry << piece.own;
      if (piece.isDirectory) Write(entry, piece.directory);
    }
  }
  EXPECT_TRUE(directory.Close());
}

void ReadBack(std::istream& stream, const Tree& tree) {
  InputStreamDirectory directory(stream);
  for (std::size_t i = tree.size(); i-- > 0;) {  // backwards, so that reading has to seek
    std::istream* const entry = directory.GetInput(static_cast<unsigned short>(i));
    ASSERT_EQ(entry != nullptr, tree[i].has_value());
    if (entry == nullptr) continue;
    for (const Piece& piece : *tree[i]) {
      std::string own(piece.own.size(), ' ');
      entry->read(own.data(), static_cast<std::streamsize>(own.size()));
      ASSERT_TRUE(*entry && own == piece.own);
      if (piece.isDirectory) ReadBack(*entry, piece.directory);
    }
    EXPECT_EQ(entry->get(), std::istream::traits_type::eof());
    entry->clear();
  }
  EXPECT_TRUE(directory.Close());
}

TEST(StreamDirectory, RandomTreesHaveTheBytesOfTheFormatAndComeBack) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    const Tree tree = RandomTrees(seed).Make(3);
    const std::string expected = BytesOf(tree).All();
    std::stringstream stream;
    Write(stream, tree);
    ASSERT_TRUE(stream.str() == expected) << "seed " << seed;
    ReadBack(stream, tree);
    EXPECT_EQ(stream.tellg(), std::streampos(static_cast<std::streamoff>(expected.size()))) << "seed " << seed;
    if (HasFailure()) FAIL() << "seed " << seed;
  }
}

TEST(StreamDirectory, EntriesMayLieBeyondFourGiB) {
  SparseFile file;
  std::iostream stream(&file);
  const std::string zeros(std::size_t{1} << 26U, '\0');
  constexpr int kBlocks = 65;
  OutputStreamDirectory directory(stream, 2);
  for (int i = 0; i < kBlocks; ++i) directory.GetOutput(0) << zeros;
  OutputStreamDirectory(directory.GetOutput(1), 1).GetOutput(0) << "beyond";
  EXPECT_TRUE(directory.Close());
  EXPECT_EQ(file.Size(), kBlocks * static_cast<std::streamoff>(zeros.size()) + 64 + 40 + 6);

  stream.seekg(0);
  InputStreamDirectory read(stream);
  ASSERT_THAT(read.GetInput(1), NotNull());
  EXPECT_EQ(ReadAll(InputStreamDirectory(*read.GetInput(1)).GetInput(0)), "beyond");
  EXPECT_TRUE(read.Close());
}

TEST(StreamDirectory, TableThatDoesNotFitIsRefused) {
  const auto table = [](std::vector<std::array<std::uint64_t, 3>> slots) { return stored::Table(slots) + "abcdef"; };
  const std::uint64_t abc = stored::Checksum("abc");
  const std::uint64_t def = stored::Checksum("def");
  const std::uint64_t huge = ~std::uint64_t{0};
  const auto opens = [](const std::string& bytes) {
    std::istringstream stream(bytes);
    InputStreamDirectory directory(stream);
    const bool found = directory.GetInput(0) != nullptr;
    EXPECT_NE(found, stream.fail());
    return found;
  };
  EXPECT_TRUE(opens(table({{64, 3, abc}, {67, 3, def}})));
  EXPECT_TRUE(opens(table({{67, 3, def}, {64, 3, abc}})));
  const std::vector<std::vector<std::array<std::uint64_t, 3>>> bad = {
      {{64, 3, abc}, {67, 4, def}},     // beyond the end
      {{64, 3, abc}, {66, 3, def}},     // overlap
      {{64, 3, abc}, {68, 2, def}},     // gap
      {{65, 3, abc}, {68, 2, def}},     // gap ahead
      {{63, 3, abc}, {66, 3, def}},     // within the table
      {{64, huge, abc}, {63, 3, def}},  // sums that wrap
      {{64, huge - 63, abc}, {0, 0, 0}}, {{huge, 3, abc}, {64, 3, def}},
      {{64, 3, abc}, {0, 3, 0}},    // length without a place
      {{64, 3, abc}, {0, 0, def}},  // checksum without a place
  };
  for (std::size_t i = 0; i < bad.size(); ++i) EXPECT_FALSE(opens(table(bad[i]))) << "case " << i;
}

TEST(StreamDirectory, NestedOneEndsWithinItsEntry) {
  // The nested table claims three bytes, of which only two are in the entry; three more follow in the next.
  const std::string nested = stored::Table({{40, 3, stored::Checksum("abc")}}) + "ab";
  std::istringstream stream(stored::Directory({Bytes::OfDirectory(nested), Bytes("cde")}).All());
  InputStreamDirectory directory(stream);
  std::istream& entry = *directory.GetInput(0);
  InputStreamDirectory inner(entry);
  EXPECT_THAT(inner.GetInput(0), IsNull());
  EXPECT_TRUE(entry.fail());
  EXPECT_FALSE(directory.Close());
}

TEST(StreamDirectory, MisuseFailsAndDamagesNothing) {
  using Misuse = std::function<void(OutputStreamDirectory&)>;
  const auto withInner = [](const std::function<void(OutputStreamDirectory&, OutputStreamDirectory&)>& misuse) {
    return [misuse](OutputStreamDirectory& d) {
      OutputStreamDirectory inner(d.GetOutput(0), 1);
      misuse(d, inner);
    };
  };
  const std::vector<Misuse> misuses = {
      [](auto& d) { d.GetOutput(2); },
      [](auto& d) { d.GetOutput(0), d.GetOutput(1), d.GetOutput(0); },
      [](auto& d) { d.GetOutput(0).seekp(0); },
      withInner([](auto& d, auto&) { d.GetOutput(0) << "x"; }),  // into the entry of which `inner` is a part
      withInner([](auto& d, auto& inner) { d.GetOutput(1), inner.Close(); }),
      withInner([](auto& d, auto&) { OutputStreamDirectory(d.GetOutput(0), 1); }),
      withInner([](auto& d, auto& inner) { d.Close(), inner.GetOutput(0) << "x"; }),
  };
  for (std::size_t i = 0; i < misuses.size(); ++i) {
    std::stringstream stream;
    OutputStreamDirectory directory(stream, 2);
    misuses[i](directory);
    EXPECT_FALSE(directory.Close()) << "case " << i;
    EXPECT_TRUE(stream.fail());
    stream.clear();
    EXPECT_THAT(InputStreamDirectory(stream).GetInput(0), IsNull()) << "case " << i;
  }
  std::stringstream stream;
  OutputStreamDirectory directory(stream, 1);
  EXPECT_TRUE(directory.Close());
  EXPECT_TRUE(directory.Close());
  EXPECT_TRUE(directory.GetOutput(0).fail());
}

TEST(StreamDirectory, AnExceptionLeavesNoDirectoryThatCouldPassForWhole) {
  std::stringstream stream;
  try {
    OutputStreamDirectory directory(stream, 1);
    directory.GetOutput(0) << "half of it";
    throw 1;
  } catch (int) {
  }
  EXPECT_TRUE(stream.fail());
  stream.clear();
  EXPECT_THAT(InputStreamDirectory(stream).GetInput(0), IsNull());
}

/// Two entries of more than a buffer, with a nested directory between, so that tables are patched behind the buffer.
bool WriteLarge(std::ostream& stream) {
  const std::string large(100000, 'x');
  OutputStreamDirectory directory(stream, 2);
  directory.GetOutput(0) << large;
  OutputStreamDirectory inner(directory.GetOutput(1), 1);
  for (int i = 0; i < 40; ++i) inner.GetOutput(0).write(large.data(), 4000);
  return inner.Close() && directory.Close();
}

TEST(StreamDirectory, FailureOfAnyWriteIsTold) {
  int k = 1;
  for (bool isWritten = false; !isWritten; ++k) {
    FailingFile file(k);
    std::ostream stream(&file);
    isWritten = WriteLarge(stream);
    EXPECT_EQ(isWritten, stream.good()) << "write " << k;
    ASSERT_LT(k, 100);
    if (isWritten) break;
    std::istringstream stored(file.str());
    InputStreamDirectory directory(stored);
    const bool isComplete = directory.GetInput(0) != nullptr;
    EXPECT_TRUE(!isComplete || k >= 6) << "write " << k;  // the last ones put the table and flush
  }
  EXPECT_GT(k, 6);
}

TEST(StreamDirectory, StreamThatThrowsThrows) {
  FailingFile file(2);
  std::ostream stream(&file);
  stream.exceptions(std::ios::badbit | std::ios::failbit);
  OutputStreamDirectory directory(stream, 1);
  directory.GetOutput(0) << std::string(100000, 'x') << "more";
  EXPECT_THROW(directory.Close(), std::ios_base::failure);
}

TEST(StreamDirectory, StreamThatCannotSeekIsLeftAlone) {
  Pipe pipe("VDIR");
  std::ostream out(&pipe);
  EXPECT_FALSE(WriteLarge(out));
  EXPECT_TRUE(out.fail());
  out.clear();
  EXPECT_FALSE(VStreamLight::WriteMagicStringAndVersionNumber(out, 1, "Magic"));
  EXPECT_TRUE(out.fail());
  EXPECT_EQ(pipe.Written(), "");
  std::istream in(&pipe);
  EXPECT_THAT(InputStreamDirectory(in).GetInput(0), IsNull());
  EXPECT_TRUE(in.fail());
}

TEST(StreamDirectory, FileOpenedForAppendingIsToldToBeUnfit) {
  const std::string path = ::testing::TempDir() + "voran_append";
  std::remove(path.c_str());
  std::ofstream file(path, std::ios::binary | std::ios::app);
  EXPECT_FALSE(WriteLarge(file));
  EXPECT_TRUE(file.fail());
  std::remove(path.c_str());
}

}  // namespace
