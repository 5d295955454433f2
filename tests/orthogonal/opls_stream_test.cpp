#include <fstream>
#include <functional>
#include <ios>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/models/model_samples.h"
#include "tests/platform/failing_stream.h"
#include "voran/orthogonal/opls_cross_validation.h"
#include "voran/platform/stream_directory.h"
#include "voran/platform/stream_light.h"
#include "voran/platform/stream_values.h"

namespace {

using samples::FloatMatrix;
using samples::FloatVector;
using samples::Related;
using samples::WithGaps;
using samples::XY;
using Data = OPLSCrossvalidationData;
using Matrices = std::vector<FloatMatrix>;

std::string Written(const Data& data) {
  std::ostringstream stream;
  EXPECT_TRUE(data.WriteObject(stream));
  return stream.str();
}

void Append(const Matrices& matrices, std::ostream& entry) {
  const auto count = static_cast<std::int32_t>(matrices.size());
  WriteFourBytes(&count, 1, entry);
  for (const FloatMatrix& m : matrices) entry << FloatMatrix(m);
}

void Append(const std::vector<Matrices>& sets, std::ostream& entry) {
  const auto count = static_cast<std::int32_t>(sets.size());
  WriteFourBytes(&count, 1, entry);
  for (const Matrices& set : sets) Append(set, entry);
}

/// A stream as a writer of the format would put it together, from the entries that it wants.
std::string Composed(const Data& data, int skippedEntry = 0, unsigned short version = 1, const char* name = "OPLSCVD") {
  std::stringstream stream;
  EXPECT_TRUE(VStreamLight::WriteMagicStringAndVersionNumber(stream, version, name));
  OutputStreamDirectory directory(stream, 11);
  const std::function<void(std::ostream&)> writers[] = {
      [&](std::ostream& entry) { Append(data.WSets, entry); },
      [&](std::ostream& entry) { Append(data.PSets, entry); },
      [&](std::ostream& entry) { Append(data.CSets, entry); },
      [&](std::ostream& entry) { Append(data.WOSets, entry); },
      [&](std::ostream& entry) { Append(data.POSets, entry); },
      [&](std::ostream& entry) { Append(data.COSets, entry); },
      [&](std::ostream& entry) { entry << FloatVector(data.SSYColumnSS); }};
  unsigned short number = 0;
  for (const auto& write : writers) {
    if (++number != skippedEntry) write(directory.GetOutput(number));
  }
  EXPECT_TRUE(directory.Close());
  return stream.str();
}

/// Two rounds of two stages: small numbers, the same on every machine.
Data Made() {
  const FloatMatrix y(3, 2, 0.5f);
  Data data(2, y);
  float next = 1.0f;
  const auto matrix = [&next](int rows, int columns) {
    FloatMatrix m(rows, columns, 0.25f);
    for (int i = 1; i <= rows; ++i) m(i, 1 + i % columns, next++);
    return m;
  };
  for (std::size_t r = 0; r < 2; ++r) {
    for (int stage = 0; stage < 2; ++stage) {
      data.WSets[r].push_back(matrix(2, 4));
      data.PSets[r].push_back(matrix(2, 4));
      data.CSets[r].push_back(matrix(2, 2));
    }
    data.WOSets[r] = matrix(1, 4);
    data.POSets[r] = matrix(1, 4);
    data.COSets[r] = matrix(1, 2);
  }
  data.COSets[1](1, 2, samples::kGap);
  return data;
}

bool Same(const Data& a, const Data& b) {
  return a.WSets == b.WSets && a.PSets == b.PSets && a.CSets == b.CSets && a.WOSets == b.WOSets &&
         a.POSets == b.POSets && a.COSets == b.COSets && a.SSYColumnSS == b.SSYColumnSS;
}

class OplsStream : public ::testing::Test {
 protected:
  /// Reading must fail and leave the data as they were.
  void ExpectRefused(const std::string& bytes, const std::string& what) {
    std::istringstream stream(bytes);
    EXPECT_FALSE(data_.ReadObject(stream)) << what;
    EXPECT_TRUE(Same(data_, made_)) << what;
  }

  const Data made_ = Made();
  Data data_ = Made();
  std::string bytes_ = Written(data_);
};

TEST_F(OplsStream, TheGoldenFileIsReadAndWrittenAgain) {
  std::ifstream file(VORAN_GOLDEN_DIR "/OPLSCVD.v1", std::ios::binary);
  Data read;
  ASSERT_TRUE(read.ReadObject(file));
  EXPECT_EQ(Written(read), bytes_);
  file.seekg(0);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), bytes_);
}

TEST_F(OplsStream, WhatIsWrittenComesBack) {
  const XY related = Related(9, 4, 2, 3);
  const XY gapped = {WithGaps(related.x, 2), related.y};
  OPLSCrossValidation cv(&gapped.x, &gapped.y, 2, 3, nullptr, nullptr);
  for (int n = 0; n <= 2; ++n) {
    if (n > 0) cv.NextComponent(nullptr);
    Data read = Made();
    std::istringstream stream(Written(*cv.GetData()));
    ASSERT_TRUE(read.ReadObject(stream)) << n;
    EXPECT_EQ(read.ReadVersion, 1);
    EXPECT_TRUE(Same(read, *cv.GetData()));
    EXPECT_EQ(Written(read), Written(*cv.GetData()));
  }
  data_.clear();
  EXPECT_TRUE(data_.WSets.empty() && data_.PSets.empty() && data_.CSets.empty() && data_.WOSets.empty() &&
              data_.POSets.empty() && data_.COSets.empty() && data_.SSYColumnSS.Size() == 0);
  for (const Data& empty : {data_, Data(3, FloatMatrix(2, 2, 1.0f))}) {
    std::istringstream stream(Written(empty));
    Data read = Made();
    EXPECT_TRUE(read.ReadObject(stream)) << "without models";
    EXPECT_EQ(read.WSets.size(), empty.WSets.size());
  }
}

TEST_F(OplsStream, WhatIsMissingOrDamagedIsRefused) {
  for (int i = 1; i <= 7; ++i) ExpectRefused(Composed(data_, i), "without entry " + std::to_string(i));
  ExpectRefused(Composed(data_, 0, 1, "OPLSCV"), "another name");
  ExpectRefused(Composed(data_, 0, 2), "another version");
  EXPECT_EQ(data_.ReadVersion, 2);
  constexpr std::size_t kStep = 7;  // meets every place of a field of 4 or 8 bytes, and every bit
  for (std::size_t length = 0; length < bytes_.size(); length += kStep) {
    ExpectRefused(bytes_.substr(0, length), "cut to " + std::to_string(length));
  }
  for (std::size_t i = 0; i < bytes_.size(); i += kStep) {
    std::string flipped = bytes_;
    flipped[i] = static_cast<char>(flipped[i] ^ (1 << (i % 8)));
    ExpectRefused(flipped, "flipped byte " + std::to_string(i));
  }
}

TEST_F(OplsStream, MatricesThatDoNotFitTogetherAreRefused) {
  const FloatMatrix other(1, 3, 1.0f);
  const std::vector<std::function<void(Data&)>> changes = {[&](Data& d) { d.WSets[1][1] = other; },
                                                           [&](Data& d) { d.PSets[0][1] = other; },
                                                           [&](Data& d) { d.CSets[1][0] = other; },
                                                           [&](Data& d) { d.WOSets[0] = other; },
                                                           [&](Data& d) { d.POSets[1] = other; },
                                                           [&](Data& d) { d.COSets[0] = other; },
                                                           [&](Data& d) { d.WSets[0].pop_back(); },
                                                           [&](Data& d) { d.PSets[1].pop_back(); },
                                                           [&](Data& d) { d.CSets.pop_back(); },
                                                           [&](Data& d) { d.WOSets.pop_back(); },
                                                           [&](Data& d) { d.SSYColumnSS.push_back(1); },
                                                           [&](Data& d) { d.WOSets[0].Clear(); },
                                                           [&](Data& d) {  // a round that is a step behind
                                                             for (auto* sets : {&d.WSets, &d.PSets, &d.CSets})
                                                               (*sets)[1].pop_back();
                                                             for (auto* sets : {&d.WOSets, &d.POSets, &d.COSets})
                                                               (*sets)[1].Clear();
                                                           }};
  int number = 0;
  for (const auto& change : changes) {
    Data bad = Made();
    change(bad);
    ExpectRefused(Composed(bad), "change " + std::to_string(++number));
  }
}

TEST_F(OplsStream, CountsAreNotBelieved) {
  for (const std::int32_t count : {-1, 2147483647}) {
    std::stringstream stream;
    VStreamLight::WriteMagicStringAndVersionNumber(stream, 1, "OPLSCVD");
    OutputStreamDirectory directory(stream, 11);
    for (unsigned short i = 1; i <= 6; ++i) WriteFourBytes(&count, 1, directory.GetOutput(i));
    directory.GetOutput(7) << FloatVector();
    EXPECT_TRUE(directory.Close());
    ExpectRefused(stream.str(), std::to_string(count));
  }
}

TEST_F(OplsStream, AFailedWriteIsTold) {
  bool failed = true;
  for (int k = 1; failed; ++k) {
    ASSERT_LT(k, 1000);
    FailingFile file(k);
    std::iostream stream(&file);
    failed = !data_.WriteObject(stream);
    EXPECT_EQ(failed, stream.fail());
  }
}

}  // namespace
