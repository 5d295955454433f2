#include <cstdint>
#include <fstream>
#include <functional>
#include <iterator>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/containers/failing_allocation.h"
#include "tests/platform/failing_stream.h"
#include "tests/platform/stream_bytes.h"
#include "voran/containers/bool_vector.h"
#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/string_vector.h"

namespace {

using stored::Bytes;
using stored::Directory;
using stored::Elements;
using stored::Header;
using stored::Headers;
using stored::Int;

constexpr std::int64_t kHuge = 0x7FFFFFFF;

template <typename T>
bool IsEmpty(const NCDataMatrix<T>& m) {
  return m.SizeColumns() == 0 && m.GetNumMisVal() == 0 && m.begin() == nullptr;
}

template <typename Object>
bool IsEmpty(const Object& v) {
  return v.Size() == 0;
}

template <typename Object>
std::string Written(const Object& object) {
  std::ostringstream stream;
  EXPECT_TRUE(WriteStreamable(stream, object));
  return stream.str();
}

template <typename Object>
bool Read(const std::string& bytes, Object& object) {
  std::istringstream stream(bytes);
  return ReadStreamable(stream, object);
}

/// The stored bytes tell all of an object, its counts too, as the golden files show.
template <typename Object>
bool Same(const Object& a, const Object& b) {
  return Written(a) == Written(b);
}

// The bytes that the format asks for.

template <typename T>
Bytes VectorBytes(const std::vector<T>& values, int missing) {
  return Headers("NCDV", 4) + Directory({Int(static_cast<int>(values.size())), Int(missing), Elements(values)});
}

Bytes IntsBytes(const std::vector<std::int64_t>& values) {
  Bytes entry = Int(static_cast<int>(values.size()));
  for (const std::int64_t value : values) entry += Int(value);
  return Headers("NCIV", 4) + Directory({entry});
}

std::string FileBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

constexpr std::size_t kHeaderBytes = 21;  ///< of a class with a name of four letters and of its base

/// A container with the bytes of an object of it, from a file that the first version of the format wrote, with the type
/// left behind.
struct Kind {
  std::string name;
  std::string bytes;
  std::function<bool(std::ostream&)> write;
  std::function<std::string(std::istream&)> readBack;
  std::function<std::string(const std::string&, std::size_t)> refuse;
};

/// Reads bad bytes, of which the one at `damage` is the first that is wrong; what is amiss afterwards, if anything is.
template <typename Object>
std::string Refuse(const std::string& bytes, bool leavesAsItWas, const Object& value, const Object& before) {
  Object object(before);
  const AllocationWatch watch;
  if (Read(bytes, object)) return "was accepted";
  if (watch.Largest() >= 4096) return "took much memory";
  if (leavesAsItWas && !Same(object, before)) return "did not leave the object as it was";
  if (!leavesAsItWas && !IsEmpty(object)) return "left something in the object";
  Object another(before);
  std::istringstream stream(bytes);
  stream >> another;
  if (!stream.fail()) return "failed without failbit";
  another = object;  // both are good for this at least
  object = value;
  return Same(object, value) ? "" : "left an object that cannot be assigned to";
}

/// Damage before `headerBytes` leaves an object as it was.
template <typename Object>
Kind MakeKind(const std::string& name, const Object& value, const Object& before,
              std::size_t headerBytes = kHeaderBytes) {
  return {name, FileBytes(VORAN_GOLDEN_DIR "/" + name + ".v1"),
          [value](std::ostream& stream) { return WriteStreamable(stream, value); },
          [value, before](std::istream& stream) -> std::string {
            Object object(before);
            if (!ReadStreamable(stream, object)) return "was refused";
            return Same(object, value) ? "" : "came back as something else";
          },
          [value, before, headerBytes](const std::string& bad, std::size_t damage) {
            return Refuse(bad, damage < headerBytes, value, before);
          }};
}

template <typename T>
NCDataMatrix<T> SampleMatrix() {
  NCDataMatrix<T> m(2, 3, 1);
  m(1, 2, -99);
  m(2, 2, -99);
  m(2, 3, 6.5);
  return m;
}

template <typename T>
void AddDataKinds(const std::string& type, std::vector<Kind>& kinds) {
  using Vector = NCDataVector<T>;
  using Matrix = NCDataMatrix<T>;
  const Vector other = {5, 6};
  const Matrix otherMatrix(3, 2, T{4});
  kinds.push_back(MakeKind<Vector>("NCDataVector_" + type + "_", {1, -99, T(2.5)}, other));
  kinds.push_back(MakeKind<Vector>("empty_NCDataVector_" + type + "_", {}, other));
  const std::string matrix = "NCDataMatrix_" + type + "_";
  kinds.push_back(MakeKind(matrix, SampleMatrix<T>(), otherMatrix));
  kinds.push_back(MakeKind(matrix + "_without_rows", Matrix(0, 2, T{0}), otherMatrix));
  kinds.push_back(MakeKind(matrix + "_without_columns", Matrix(2, 0, T{0}), otherMatrix));
}

std::vector<Kind> AllKinds() {
  using Ints = NCIntegralVector<int, -99>;
  using Unsigned = NCIntegralVector<unsigned long, 0>;
  using Flags = NCIntegralVector<bool, 0>;
  const int ints[] = {7, -99, 0x7FFFFFFF};
  const unsigned long numbers[] = {1, 0xFFFFFFFF};
  const bool flags[] = {true, false, true};
  BoolVector bools(3, true);
  bools(2, false);
  const std::vector<std::string> strings = {"a", "", std::string("\xC3\xB6\0x", 4)};

  std::vector<Kind> kinds;
  AddDataKinds<float>("float", kinds);
  AddDataKinds<double>("double", kinds);
  kinds.push_back(MakeKind("NCIntegralVector_int_", Ints(ints, 3), Ints(2, 1)));
  kinds.push_back(MakeKind("NCIntegralVector_unsigned_long_", Unsigned(numbers, 2), Unsigned(2, 1UL)));
  kinds.push_back(MakeKind("NCIntegralVector_bool_", Flags(flags, 3), Flags(2, true)));
  kinds.push_back(MakeKind("BoolVector", bools, BoolVector(2, true), Header("BoolVector", 3).All().size()));
  kinds.push_back(MakeKind("NCStringVector", NCStringVector(strings), NCStringVector(2)));
  return kinds;
}

/// One after another in one stream; every later version of the format has to read the files of the first.
TEST(Streams, EveryContainerIsWrittenAsInItsGoldenFileAndComesBack) {
  std::stringstream stream;
  std::string expected;
  for (const Kind& kind : AllKinds()) {
    EXPECT_TRUE(kind.write(stream)) << kind.name;
    expected += kind.bytes;
    ASSERT_TRUE(stream.str() == expected) << kind.name;
  }
  for (const Kind& kind : AllKinds()) EXPECT_EQ(kind.readBack(stream), "") << kind.name;
  EXPECT_EQ(stream.get(), std::stringstream::traits_type::eof());
}

TEST(Streams, EveryPrefixIsRefused) {
  for (const Kind& kind : AllKinds()) {
    for (std::size_t length = 0; length < kind.bytes.size(); ++length) {
      EXPECT_EQ(kind.refuse(kind.bytes.substr(0, length), length), "") << kind.name << ", " << length << " bytes";
    }
  }
}

TEST(Streams, EveryFlippedBitIsRefused) {
  for (const Kind& kind : AllKinds()) {
    for (std::size_t bit = 0; bit < 8 * kind.bytes.size(); ++bit) {
      std::string bad = kind.bytes;
      bad[bit / 8] = static_cast<char>(bad[bit / 8] ^ (1 << bit % 8));
      EXPECT_EQ(kind.refuse(bad, bit / 8), "") << kind.name << ", bit " << bit;
    }
  }
}

TEST(Streams, FailureOfAnyWriteIsTold) {
  for (const Kind& kind : AllKinds()) {
    int k = 1;
    for (bool isWritten = false; !isWritten; ++k) {
      ASSERT_LT(k, 20);
      FailingFile file(k);
      std::ostream stream(&file);
      isWritten = kind.write(stream);
      EXPECT_EQ(isWritten, stream.good()) << kind.name << ", write " << k;
    }
    EXPECT_GT(k, 4) << kind.name;
  }
}

/// Bytes in which every checksum is right and something else is not.
struct Lie {
  std::string name;
  Bytes bytes;
  bool isInHeader = false;
};

template <typename Object>
void ExpectRefused(const std::vector<Lie>& lies, const Object& value, const Object& before) {
  for (const Lie& lie : lies) EXPECT_EQ(Refuse(lie.bytes.All(), lie.isInHeader, value, before), "") << lie.name;
}

TEST(Streams, VectorThatLiesIsRefused) {
  const Bytes two = Elements<float>({1, 2});
  const auto with = [](const stored::Entries& entries) { return Headers("NCDV", 4) + Directory(entries); };
  const Bytes good = Directory({Int(2), Int(0), two});
  ExpectRefused<NCDataVector<float>>(
      {
          {"another class", Headers("NCIV", 4) + good, true},
          {"an older version", Headers("NCDV", 3) + good, true},
          {"a newer version", Headers("NCDV", 5) + good, true},
          {"another base", Header("NCDV", 4) + Header("VSC", 1) + good, true},
          {"another version of the base", Header("NCDV", 4) + Header("VSB", 2) + good, true},
          {"no size", with({std::nullopt, Int(0), two})},
          {"no count", with({Int(2), std::nullopt, two})},
          {"no elements", with({Int(2), Int(0), std::nullopt})},
          {"fewer entries", with({Int(2), Int(0)})},
          {"huge size", with({Int(kHuge), Int(0), two})},
          {"size -1", with({Int(-1), Int(0), two})},
          {"one element too few", with({Int(3), Int(0), two})},
          {"one element too many", with({Int(1), Int(0), two})},
          {"count above size", with({Int(2), Int(3), two})},
          {"count below zero", with({Int(2), Int(-1), two})},
      },
      {1, 2}, {5});
}

TEST(Streams, IntegralVectorThatLiesIsRefused) {
  const auto with = [](const stored::Entries& entries) { return Headers("NCIV", 4) + Directory(entries); };
  const std::vector<Lie> lies = {
      {"another version", Headers("NCIV", 3) + Directory({Int(0)}), true},
      {"no entry", with({})},
      {"huge size", with({Int(kHuge) + Int(7)})},
      {"size -1", with({Int(-1) + Int(7)})},
      {"one element too few", with({Int(2) + Int(7)})},
      {"more than the elements", with({Int(1) + Int(7) + Int(8)})},
  };
  ExpectRefused(lies, NCIntegralVector<int, -99>(2, 7), NCIntegralVector<int, -99>(3, 1));
  ExpectRefused(lies, NCIntegralVector<unsigned long, 0>(2, 7), NCIntegralVector<unsigned long, 0>(3, 1));
  ExpectRefused({{"neither true nor false", with({Int(1) + Bytes("\2")})}}, NCIntegralVector<bool, 0>(2, true),
                NCIntegralVector<bool, 0>(3, true));
  const Bytes flags = with({Int(1) + Bytes("\1")});
  const Bytes strings = Headers("NCSV", 2) + Directory({Int(0)});
  ExpectRefused({{"version of the base class", Header("BoolVector", 4) + flags + Directory({})},
                 {"another base class", Header("BoolVector", 3) + strings + Directory({})},
                 {"no directory of its own", Header("BoolVector", 3) + flags}},
                BoolVector(2, true), BoolVector(3, true));
}

TEST(Streams, StringVectorThatLiesIsRefused) {
  const auto with = [](const Bytes& entry) { return Headers("NCSV", 2) + Directory({entry}); };
  ExpectRefused({{"another version", Headers("NCSV", 1) + Directory({Int(0)})},
                 {"huge count", with(Int(kHuge) + Int(1) + Bytes("a"))},
                 {"count -1", with(Int(-1) + Int(1) + Bytes("a"))},
                 {"one string too few", with(Int(2) + Int(1) + Bytes("a"))},
                 {"one string too many", with(Int(1) + Int(1) + Bytes("a") + Int(0))},
                 {"huge string", with(Int(1) + Int(kHuge) + Bytes("a"))},
                 {"length -1", with(Int(1) + Int(-1) + Bytes("a"))}},
                NCStringVector(1), NCStringVector(2));
}

TEST(Streams, MatrixThatLiesIsRefused) {
  const Bytes row = VectorBytes<float>({1, -99}, 1);
  const Bytes counts = IntsBytes({0, 2});
  const auto with = [](const stored::Entries& entries) { return Headers("NCDM", 4) + Directory(entries); };
  const stored::Entries good = {Int(2), Int(2), Int(2), row + row, counts};
  const auto but = [&](std::size_t i, const std::optional<Bytes>& entry) {
    stored::Entries entries = good;
    entries[i] = entry;
    return with(entries);
  };
  NCDataMatrix<float> value;
  EXPECT_TRUE(Read(with(good).All(), value));

  std::vector<Lie> lies = {
      {"another version", Headers("NCDM", 3) + Directory(good), true},
      {"huge number of rows", but(0, Int(kHuge))},
      {"-1 rows", but(0, Int(-1))},
      {"too few rows", but(0, Int(3))},
      {"huge number of columns", but(1, Int(kHuge))},
      {"-1 columns", but(1, Int(-1))},
      {"other number of columns", but(1, Int(3))},
      {"too many gaps", but(2, Int(5))},
      {"-1 gaps", but(2, Int(-1))},
      {"a longer row", but(3, row + VectorBytes<float>({1, -99, 1}, 1))},
      {"a row that lies", but(3, row + Headers("NCDV", 4) + Directory({Int(kHuge), Int(0), Bytes("abcd")}))},
      {"too few counts", but(4, IntsBytes({2}))},
      {"a count above the rows", but(4, IntsBytes({0, 3}))},
      {"a count below zero", but(4, IntsBytes({0, -1}))},
      {"another class for the counts", but(4, row)},
      {"huge without columns", with({Int(kHuge), Int(0), Int(0), Bytes(), IntsBytes({})})},
      {"huge without rows", with({Int(0), Int(kHuge), Int(0), std::nullopt, IntsBytes({})})},
  };
  for (std::size_t i = 0; i < good.size(); ++i) lies.push_back({"no entry " + std::to_string(i), but(i, std::nullopt)});
  ExpectRefused(lies, value, NCDataMatrix<float>(3, 1, 7.0F));

  NCDataMatrix<float> failed;
  EXPECT_FALSE(Read(but(3, row).All(), failed));
  EXPECT_EQ(failed.SizeRows(), 2);  // as read
  std::ostringstream stream;
  EXPECT_FALSE(WriteStreamable(stream, failed));
  EXPECT_TRUE(stream.fail());
  failed.SetSize(1, 1);
  EXPECT_EQ(failed.GetNumMisVal(), 1);
}

TEST(Streams, CountsThatDriftedOutOfRangeAreWrittenAsRecounted) {
  NCDataVector<float> v = {1, -99, 2, -99};
  v.Remove(-99.0F);
  ASSERT_EQ(v.GetNumMisVal(), -1);
  EXPECT_EQ(Written(v), VectorBytes<float>({1, 2}, 0).All());
  v.SetNumMisVal(1);
  EXPECT_EQ(Written(v), VectorBytes<float>({1, 2}, 1).All());  // a possible one is not
  NCDataMatrix<double> m = SampleMatrix<double>();
  m(1).SetNumMisVal(100);
  EXPECT_TRUE(Same(m, SampleMatrix<double>()));
}

TEST(Streams, FailedAllocationLeavesAUsableObject) {
  if (!FailingAllocation::IsAvailable()) GTEST_SKIP() << "no allocation fails in this build";
  const NCDataMatrix<float> value = SampleMatrix<float>();
  const std::string bytes = Written(value);
  bool isRead = false;
  int k = 1;
  for (; !isRead; ++k) {
    ASSERT_LT(k, 1000);
    NCDataMatrix<float> m(2, 2, 3.0F);
    std::istringstream stream(bytes);
    try {
      const FailingAllocation failure(k);
      isRead = ReadStreamable(stream, m);
    } catch (const std::bad_alloc&) {
    }
    EXPECT_TRUE(isRead || IsEmpty(m) || Same(m, NCDataMatrix<float>(2, 2, 3.0F))) << k;
    m = value;
    EXPECT_TRUE(Same(m, value)) << k;
  }
  EXPECT_GT(k, 10);
}

// The walk.

TEST(StreamWalk, VisitsAnObjectOnceUntilItIsReset) {
  std::ostringstream stream;
  NCDataVector<float> v = {1, 2};
  const std::string once = VectorBytes<float>({1, 2}, 0).All();
  stream << v << v;
  EXPECT_EQ(stream.str(), once);
  const NCDataVector<float> copy(v);  // without the mark
  stream << copy;
  EXPECT_EQ(stream.str(), once + once);
  NCDataVector<float> assigned;
  assigned = v;
  EXPECT_TRUE(assigned.VStreamableStartWrite(stream));
  EXPECT_EQ(stream.str(), once + once + once);
  v.VStreamableReset();
  stream << v;
  EXPECT_EQ(stream.str(), once + once + once + once);

  std::istringstream in(once + VectorBytes<float>({3}, 0).All());
  NCDataVector<float> read;
  in >> read >> read;
  EXPECT_EQ(read, v);
  read.VStreamableReset();
  in >> read;
  EXPECT_EQ(read, NCDataVector<float>({3}));

  BoolVector flags(1, true);
  std::ostringstream flagStream;
  flagStream << flags;
  flags.VStreamableReset();  // of the base class too
  flagStream << flags;
  EXPECT_EQ(flagStream.str(), Written(flags) + Written(flags));
}

TEST(StreamWalk, MatrixIsCompleteWhateverWasWrittenBefore) {
  const NCDataMatrix<float> m = SampleMatrix<float>();
  const NCDataMatrix<float> sharesRows(m);
  std::ostringstream stream;
  stream << m[1] << m << sharesRows;  // a row by itself, and two matrices of one array of rows
  EXPECT_EQ(stream.str(), Written(NCDataVector<float>(m[1])) + Written(m) + Written(m));
}

TEST(StreamWalk, WhatWasReadCanBeWrittenAtOnce) {
  const std::string bytes = Written(SampleMatrix<double>());
  NCDataMatrix<double> m;
  ASSERT_TRUE(Read(bytes, m));
  std::ostringstream stream;
  stream << m[1];
  EXPECT_EQ(stream.str(), VectorBytes<double>({1, -99, 1}, 1).All());
  EXPECT_EQ(Written(m), bytes);
}

TEST(StreamWalk, ReadingIntoASharedObjectLeavesTheSharersAlone) {
  const NCDataMatrix<float> original = SampleMatrix<float>();
  NCDataMatrix<float> m(original);
  ASSERT_TRUE(Read(Written(NCDataMatrix<float>(1, 1, 5.0F)), m));
  EXPECT_EQ(m[1][1], 5.0F);
  EXPECT_TRUE(Same(original, SampleMatrix<float>()));
  const NCDataVector<float> source = {1, 2, 3};
  NCDataVector<float> v(source);
  ASSERT_TRUE(Read(VectorBytes<float>({4}, 0).All(), v));
  EXPECT_EQ(source, NCDataVector<float>({1, 2, 3}));
  NCDataVector<float> failed(source);
  EXPECT_FALSE(Read(VectorBytes<float>({4}, 2).All(), failed));
  failed.SetSize(2);  // within the former capacity
  EXPECT_EQ(failed.GetNumMisVal(), 2);
}

// The pairs of hexadecimal digits in the example of docs/file_formats.md.
TEST(Streams, ExampleInTheDocumentationIsWhatIsWritten) {
  std::istringstream lines(FileBytes(VORAN_SOURCE_DIR "/docs/file_formats.md"));
  std::string bytes;
  bool isInside = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("```", 0) == 0) {
      isInside = line == "```hex";
    } else if (isInside) {
      std::istringstream pairs(line.substr(0, line.find('#')));
      for (std::string pair; pairs >> pair;) bytes += static_cast<char>(std::stoi(pair, nullptr, 16));
    }
  }
  EXPECT_EQ(bytes, Written(NCDataVector<float>({1, -99})));
}

}  // namespace
