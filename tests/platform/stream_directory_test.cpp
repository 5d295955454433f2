#include "voran/platform/stream_directory.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
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
  std::stringstream stream;
  const std::int32_t four[] = {0x01020304, -2};
  const std::uint16_t two = 0x0A0B;
  const double eight = -99.0;
  EXPECT_TRUE(WriteFourBytes(four, 2, stream));
  EXPECT_TRUE(WriteTwoBytes(&two, 1, stream));
  EXPECT_TRUE(WriteArray(&eight, 1, 8, stream));
  EXPECT_TRUE(WriteBytes("xyz", 3, stream));
  EXPECT_TRUE(WriteBinaryString(std::string("a\0b", 3), stream));
  using namespace std::string_literals;
  EXPECT_EQ(stream.str(), "\x04\x03\x02\x01\xFE\xFF\xFF\xFF\x0B\x0A\0\0\0\0\0\xC0\x58\xC0xyz\x03\0\0\0a\0b"s);

  std::int32_t fourRead[2];
  std::uint16_t twoRead;
  double eightRead;
  char bytesRead[3];
  std::string stringRead;
  EXPECT_TRUE(ReadFourBytes(fourRead, 2, stream) && ReadTwoBytes(&twoRead, 1, stream) &&
              ReadArray(&eightRead, 1, 8, stream) && ReadBytes(bytesRead, 3, stream) &&
              ReadBinaryString(stringRead, stream));
  EXPECT_EQ(fourRead[0], four[0]);
  EXPECT_EQ(fourRead[1], four[1]);
  EXPECT_EQ(twoRead, two);
  EXPECT_EQ(eightRead, eight);
  EXPECT_EQ(std::string(bytesRead, 3), "xyz");
  EXPECT_EQ(stringRead, std::string("a\0b", 3));

  EXPECT_FALSE(ReadFourBytes(fourRead, 1, stream));  // the end
  stream.clear();
  EXPECT_FALSE(WriteFourBytes(four, -1, stream));
  EXPECT_TRUE(stream.fail());
}

TEST(StreamValues, StringLongerThanTheStreamIsRefused) {
  for (const std::uint32_t length : {4U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    std::istringstream stream(stored::LittleEndian(length, 4) + "abc");
    std::string s = "before";
    EXPECT_FALSE(ReadBinaryString(s, stream)) << length;
    EXPECT_TRUE(stream.fail());
    EXPECT_EQ(s, "");
  }
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

// Random trees of entries, pieces and nested directories, most of them larger than the buffer: the bytes are those that
// the format asks for, and come back.
class RandomTree {
 public:
  explicit RandomTree(unsigned seed) : generator_(seed) {}

  Bytes WriteDirectory(std::ostream& stream, int depth) {
    stored::Entries entries(static_cast<std::size_t>(Draw(4)));
    OutputStreamDirectory directory(stream, static_cast<unsigned short>(entries.size()));
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (Draw(5) == 0) continue;
      entries[i] = WriteEntry(directory.GetOutput(static_cast<unsigned short>(i)), depth);
    }
    EXPECT_TRUE(directory.Close());
    return stored::Directory(entries);
  }

 private:
  Bytes WriteEntry(std::ostream& entry, int depth) {
    static const int kLargest[] = {0, 3, 200, 5000, 40000, 70000, 200000};
    Bytes bytes;
    for (int pieces = Draw(4); pieces >= 0; --pieces) {
      if (depth > 0 && Draw(2) == 0) {
        bytes += WriteDirectory(entry, depth - 1);
      } else {
        std::string own(static_cast<std::size_t>(Draw(kLargest[Draw(6)])), ' ');
        for (char& c : own) c = static_cast<char>(generator_());
        entry << own;
        bytes += own;
      }
    }
    return bytes;
  }

  int Draw(int most) { return std::uniform_int_distribution<int>(0, most)(generator_); }

  std::mt19937 generator_;
};

/// Reads what the library finds at the front of `stream`, guided by the expected bytes alone.
void ReadDirectory(std::istream& stream, const std::string& expected, std::size_t at);

void ReadEntry(std::istream& entry, const std::string& expected, std::size_t at, std::size_t end) {
  while (at < end) {
    if (expected.compare(at, 6, std::string("VDIR\1\0", 6)) == 0) {
      ReadDirectory(entry, expected, at);
      std::uint64_t size = 16;
      const auto field = [&](std::size_t from) {
        std::uint64_t value = 0;
        for (std::size_t i = 8; i > 0; --i) value = value << 8U | static_cast<unsigned char>(expected[from + i - 1]);
        return value;
      };
      const std::size_t entries = static_cast<unsigned char>(expected[at + 6]);
      size += 24 * entries;
      for (std::size_t i = 0; i < entries; ++i) size += field(at + 16 + 24 * i);
      at += size;
      continue;
    }
    const std::size_t next = std::min(expected.find(std::string("VDIR\1\0", 6), at), end);
    std::string piece(next - at, ' ');
    entry.read(piece.data(), static_cast<std::streamsize>(piece.size()));
    ASSERT_TRUE(entry) << at;
    ASSERT_EQ(piece, expected.substr(at, piece.size())) << at;
    at = next;
  }
  EXPECT_EQ(entry.get(), std::istream::traits_type::eof());
  entry.clear();
}

void ReadDirectory(std::istream& stream, const std::string& expected, std::size_t at) {
  const auto field = [&](std::size_t from, std::size_t bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = bytes; i > 0; --i) value = value << 8U | static_cast<unsigned char>(expected[from + i - 1]);
    return value;
  };
  InputStreamDirectory directory(stream);
  const std::size_t entries = field(at + 6, 2);
  for (std::size_t i = entries; i-- > 0;) {  // backwards, so that reading has to seek
    std::istream* const entry = directory.GetInput(static_cast<unsigned short>(i));
    const std::size_t offset = field(at + 8 + 24 * i, 8);
    ASSERT_EQ(entry == nullptr, offset == 0);
    if (entry == nullptr) continue;
    ReadEntry(*entry, expected, at + offset, at + offset + field(at + 16 + 24 * i, 8));
  }
  EXPECT_TRUE(directory.Close());
}

TEST(StreamDirectory, RandomTreesHaveTheBytesOfTheFormatAndComeBack) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    std::stringstream stream;
    const std::string expected = RandomTree(seed).WriteDirectory(stream, 3).All();
    ASSERT_TRUE(stream.str() == expected) << "seed " << seed;
    ReadDirectory(stream, expected, 0);
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

/// Counts the bytes that it is asked to write, and looks at none.
class CountingSink : public std::streambuf {
 public:
  std::streamsize count = 0;

 protected:
  std::streamsize xsputn(const char* /*bytes*/, std::streamsize n) override { return count += n, n; }
};

TEST(StreamValues, ArraysOfMoreThanFourGiBAreNotCutShort) {
  CountingSink sink;
  std::ostream stream(&sink);
  const char nothing = 0;
  EXPECT_TRUE(WriteArray(&nothing, 0x7FFFFFFF, 8, stream));
  EXPECT_EQ(sink.count, std::streamsize{8} * 0x7FFFFFFF);
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
      {{64, 3, abc}, {67, 4, def}},       // beyond the end
      {{64, 3, abc}, {66, 3, def}},       // overlap
      {{64, 3, abc}, {68, 2, def}},       // gap
      {{65, 3, abc}, {68, 2, def}},       // gap ahead
      {{63, 3, abc}, {66, 3, def}},       // within the table
      {{64, huge, abc}, {63, 3, def}},    // sums that wrap
      {{64, huge - 63, abc}, {0, 0, 0}},  //
      {{huge, 3, abc}, {64, 3, def}},     //
      {{64, 3, abc}, {0, 3, 0}},          // length without a place
      {{64, 3, abc}, {0, 0, def}},        // checksum without a place
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
  const std::vector<std::function<void(OutputStreamDirectory&)>> misuses = {
      [](OutputStreamDirectory& d) { d.GetOutput(2); },
      [](OutputStreamDirectory& d) { d.GetOutput(0), d.GetOutput(1), d.GetOutput(0); },
      [](OutputStreamDirectory& d) { d.GetOutput(0).seekp(0); },
      [](OutputStreamDirectory& d) {
        OutputStreamDirectory inner(d.GetOutput(0), 1);
        d.GetOutput(0) << "x";  // into the entry of which `inner` is a part
      },
      [](OutputStreamDirectory& d) {
        OutputStreamDirectory inner(d.GetOutput(0), 1);
        d.GetOutput(1);
        inner.Close();
      },
      [](OutputStreamDirectory& d) {
        OutputStreamDirectory inner(d.GetOutput(0), 1);
        OutputStreamDirectory second(d.GetOutput(0), 1);
      },
      [](OutputStreamDirectory& d) {
        OutputStreamDirectory inner(d.GetOutput(0), 1);
        d.Close();
        inner.GetOutput(0) << "x";
      },
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
  {
    std::ofstream file(path, std::ios::binary | std::ios::app);
    EXPECT_FALSE(WriteLarge(file));
    EXPECT_TRUE(file.fail());
  }
  {
    std::fstream file(path, std::ios::binary | std::ios::trunc | std::ios::in | std::ios::out);
    EXPECT_TRUE(WriteLarge(file));
    EXPECT_TRUE(WriteLarge(file));
    std::ostringstream memory;
    EXPECT_TRUE(WriteLarge(memory));
    file.seekg(0);
    EXPECT_TRUE(ReadAll(&file) == memory.str() + memory.str());
  }
  std::remove(path.c_str());
}

}  // namespace
