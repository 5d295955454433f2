#include <algorithm>
#include <cstdint>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/containers/container_values.h"
#include "tests/containers/failing_allocation.h"
#include "tests/platform/stream_bytes.h"
#include "voran/preprocessing/scale.h"
#include "voran/preprocessing/transform.h"

namespace {

using stored::Bytes;
using stored::Directory;
using stored::Elements;
using stored::Header;
using stored::Headers;
using stored::Int;

constexpr std::int64_t kHuge = 0x7FFFFFFF;

// The bytes that the format asks for.

Bytes VectorBytes(const std::vector<float>& values, int missing) {
  stored::Entries entries = {Int(std::ssize(values)), Int(missing), std::nullopt};
  if (!values.empty()) entries[2] = Elements(values);
  return Headers("NCDV", 4) + Directory(entries);
}

Bytes TransformBytes(unsigned type, const std::vector<float>& constants) {
  return Headers("TS", 1) + Directory({stored::LittleEndian(type, 2), Elements(constants)});
}

const Bytes kUnused = TransformBytes(1, {-99, -99, -99, -99});
const Bytes kPower = TransformBytes(7, {0, 2, 1, 0.5F});
const stored::Entries kScaleEntries = {VectorBytes({5, -99}, 1), VectorBytes({0.5F, -99}, 1), Int(4) + Int(1)};

// What the bytes hold, spelt out, and an object that is in the way of what is read.

std::string Spelt(const TransformStruct& transform) {
  std::ostringstream text;
  text << transform.GetTransform();
  for (int i = 0; i < 4; ++i) text << ' ' << transform.GetConstant(i);
  return text.str();
}

std::string Spelt(const NCTransform& transform) {
  std::string text;
  for (int j = 1; j <= transform.Size(); ++j) text += Spelt(transform[j]) + '\n';
  return text;
}

std::string Spelt(const NCScale& scale) {
  std::ostringstream text;
  for (int j = 1; j <= scale.Size(); ++j) {
    text << scale.GetScaleType(j) << ' ' << scale.GetMeans()[j] << ' ' << scale.GetScales()[j] << '\n';
  }
  if (scale.GetMeans().Size() != scale.Size() || scale.GetScales().Size() != scale.Size()) text << "sizes differ";
  return text.str();
}

struct Outcome {
  bool isRead;
  std::string spelt;
  std::string rewritten;
};

template <typename Object, int... kColumns>
Outcome ReadInto(const std::string& bytes) {
  Object object(kColumns...);
  std::istringstream stream(bytes);
  Outcome outcome;
  outcome.isRead = ReadStreamable(stream, object);
  EXPECT_EQ(outcome.isRead, stream.good());
  outcome.spelt = Spelt(object);
  std::ostringstream out;
  EXPECT_TRUE(WriteStreamable(out, object));
  outcome.rewritten = out.str();
  return outcome;
}

/// A class, with the bytes of an object, what they hold, and how other bytes of it come out.
struct Kind {
  std::string name;
  Bytes bytes;
  std::size_t headerBytes;
  std::string spelt;
  std::string before;   ///< the object that is read into, which damage to the header leaves
  std::string refused;  ///< what other damage leaves
  std::function<Outcome(const std::string&)> read;
};

std::vector<Kind> AllKinds() {
  const std::string none = "1 -99 -99 -99 -99";
  const std::string power = "7 0 2 1 0.5";
  return {
      {"NCScale", Headers("NCS", 2) + Directory(kScaleEntries), Headers("NCS", 2).All().size(), "4 5 0.5\n1 -99 -99\n",
       Spelt(NCScale(3)), "", ReadInto<NCScale, 3>},
      {"TransformStruct", kPower, Headers("TS", 1).All().size(), power, none, none, ReadInto<TransformStruct>},
      {"NCTransform", Headers("NCT", 2) + Directory({Int(2) + kUnused + kPower}), Headers("NCT", 2).All().size(),
       power + '\n', Spelt(NCTransform(3)), "", ReadInto<NCTransform, 3>},
      {"empty NCTransform", Headers("NCT", 2) + Directory({Int(0)}), Headers("NCT", 2).All().size(), "",
       Spelt(NCTransform(3)), "", ReadInto<NCTransform, 3>},
  };
}

// The buffer of a directory, and nothing that a count in the file asks for.
constexpr std::size_t kBuffer = 65536;

void ExpectRefused(const Kind& kind, const std::string& bytes, std::size_t damage, const std::string& what) {
  const AllocationWatch watch;
  const Outcome outcome = kind.read(bytes);
  EXPECT_LE(watch.Largest(), kBuffer) << kind.name << ", " << what;
  EXPECT_FALSE(outcome.isRead) << kind.name << ", " << what;
  EXPECT_EQ(outcome.spelt, damage < kind.headerBytes ? kind.before : kind.refused) << kind.name << ", " << what;
}

TEST(PreprocessingStreams, HaveTheBytesOfTheFormatWhichGoldenFilesKeepAndComeBack) {
  for (const Kind& kind : AllKinds()) {
    std::string file = kind.name;
    std::replace(file.begin(), file.end(), ' ', '_');
    std::ifstream stream(std::string(VORAN_GOLDEN_DIR) + "/" + file + ".v1", std::ios::binary);
    const std::string golden(std::istreambuf_iterator<char>(stream), {});
    EXPECT_TRUE(golden == kind.bytes.All()) << kind.name;
    const Outcome outcome = kind.read(golden);
    EXPECT_TRUE(outcome.isRead) << kind.name;
    EXPECT_EQ(outcome.spelt, kind.spelt) << kind.name;
    EXPECT_TRUE(outcome.rewritten == golden) << kind.name;
  }
}

TEST(PreprocessingStreams, EveryPrefixAndEveryFlippedBitIsRefused) {
  for (const Kind& kind : AllKinds()) {
    const std::string good = kind.bytes.All();
    for (std::size_t length = 0; length < good.size(); ++length) {
      ExpectRefused(kind, good.substr(0, length), length, std::to_string(length) + " bytes");
    }
    for (std::size_t bit = 0; bit < 8 * good.size(); ++bit) {
      std::string bad = good;
      bad[bit / 8] = static_cast<char>(bad[bit / 8] ^ (1 << bit % 8));
      ExpectRefused(kind, bad, bit / 8, "bit " + std::to_string(bit));
    }
  }
}

// Bytes in which every checksum is right and something else is not.

TEST(PreprocessingStreams, ScaleThatLiesIsRefused) {
  const Kind kind = AllKinds()[0];
  const auto but = [&](std::size_t i, const std::optional<Bytes>& entry) {
    stored::Entries entries = kScaleEntries;
    entries[i] = entry;
    return (Headers("NCS", 2) + Directory(entries)).All();
  };
  for (std::size_t i = 0; i < 3; ++i) ExpectRefused(kind, but(i, {}), kHuge, "no entry " + std::to_string(i));
  ExpectRefused(kind, but(1, VectorBytes({1}, 0)), kHuge, "fewer scales than means");
  ExpectRefused(kind, but(0, VectorBytes({1, 2, 3}, 0)), kHuge, "more means than scales");
  ExpectRefused(kind, but(2, Int(1)), kHuge, "too few types");
  ExpectRefused(kind, but(2, Int(1) + Int(1) + Int(1)), kHuge, "too many types");
  for (const unsigned version : {1U, 3U}) {
    ExpectRefused(kind, (Headers("NCS", version) + Directory(kScaleEntries)).All(), 0, "another version");
  }
}

TEST(PreprocessingStreams, TransformThatLiesIsRefused) {
  const auto kinds = AllKinds();
  const auto one = [&](const stored::Entries& entries) { return (Headers("TS", 1) + Directory(entries)).All(); };
  const Bytes type = stored::LittleEndian(3, 2);
  const Bytes constants = Elements<float>({1, 2, 3, 4});
  ExpectRefused(kinds[1], one({std::nullopt, constants}), kHuge, "no type");
  ExpectRefused(kinds[1], one({type, std::nullopt}), kHuge, "no constants");
  ExpectRefused(kinds[1], one({type, Elements<float>({1, 2, 3})}), kHuge, "three constants");
  ExpectRefused(kinds[1], one({Int(3), constants}), kHuge, "type of four bytes");
  ExpectRefused(kinds[1], (Headers("TS", 2) + Directory({type, constants})).All(), 0, "another version");

  const auto all = [](const stored::Entries& entries) { return (Headers("NCT", 2) + Directory(entries)).All(); };
  ExpectRefused(kinds[2], all({}), kHuge, "no entry");
  ExpectRefused(kinds[2], all({Int(kHuge) + kUnused}), kHuge, "huge count");
  ExpectRefused(kinds[2], all({Int(1000) + kUnused}), kHuge, "count beyond what is there");
  ExpectRefused(kinds[2], all({Int(-1) + kUnused}), kHuge, "count -1");
  ExpectRefused(kinds[2], all({Int(3) + kUnused + kPower}), kHuge, "one element too few");
  ExpectRefused(kinds[2], all({Int(1) + kUnused + kPower}), kHuge, "one element too many");
  ExpectRefused(kinds[2], all({Int(2) + kUnused + VectorBytes({1}, 0)}), kHuge, "another class for an element");
  ExpectRefused(kinds[2], (Headers("NCT", 1) + Directory({Int(0)})).All(), 0, "another version");
}

TEST(PreprocessingStreams, TypeThatNobodyKnowsKeepsItsNumbers) {
  for (const float mean : {3.0F, -99.0F}) {
    const Bytes directory =
        Directory({VectorBytes({-99, mean}, mean == -99.0F ? 2 : 1), VectorBytes({2, -99}, 1), Int(9) + Int(-5)});
    std::istringstream stream((Headers("NCS", 2) + directory).All());
    NCScale scale;
    ASSERT_TRUE(ReadStreamable(stream, scale));
    const std::string before = Spelt(scale);
    EXPECT_EQ(NCScale::GetScaleString(scale.GetScaleType(1)), "None");
    NCDataMatrix<float> x = Matrix<float>({{1, 2}, {3, 4}});
    const NCDataMatrix<float> original = x;
    scale.ScaleMatrix(&x, true);
    EXPECT_EQ(Spelt(scale), before);
    const float subtracted = mean == -99.0F ? 0.0F : mean;
    EXPECT_EQ(::Elements(x), (Rows<float>{{2, 2 - subtracted}, {6, 4 - subtracted}}));
    EXPECT_EQ(::Elements(original), (Rows<float>{{1, 2}, {3, 4}}));
  }
  const Outcome outcome = ReadInto<TransformStruct>(TransformBytes(0xFFFE, {1, 2, 3, 4}).All());
  EXPECT_EQ(outcome.spelt, "-2 1 2 3 4");
}

}  // namespace
