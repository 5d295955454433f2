#include <fstream>
#include <ios>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/models/model_samples.h"
#include "tests/platform/failing_stream.h"
#include "voran/orthogonal/y_orthogonal_pls.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/stream_directory.h"
#include "voran/platform/stream_light.h"
#include "voran/platform/stream_values.h"

namespace {

using samples::FloatMatrix;
using samples::FloatVector;
using samples::Related;
using samples::WithGaps;
using samples::XY;

std::string Written(const VStreamBase& object) {
  std::ostringstream stream;
  EXPECT_TRUE(WriteStreamable(stream, object));
  return stream.str();
}

bool Read(const std::string& bytes, VStreamBase& object) {
  std::istringstream stream(bytes);
  return ReadStreamable(stream, object);
}

/// What the directory holds, by entries.
struct Content {
  std::vector<std::optional<FloatMatrix>> matrices;
  std::vector<std::optional<int>> numbers;
};

/// A stream as a writer of the format would put it together.
std::string Composed(const Content& content, unsigned short version = 2, const char* name = "YOPLS") {
  std::stringstream stream;
  EXPECT_TRUE(VStreamLight::WriteMagicStringAndVersionNumber(stream, version, name));
  EXPECT_TRUE(VStreamLight::WriteMagicStringAndVersionNumber(stream, 1, "VSB"));
  OutputStreamDirectory directory(stream, 8);
  unsigned short entry = 0;
  for (const auto& m : content.matrices) {
    if (m) directory.GetOutput(entry) << FloatMatrix(*m);
    ++entry;
  }
  for (const auto& number : content.numbers) {
    if (number) WriteFourBytes(&*number, 1, directory.GetOutput(entry));
    ++entry;
  }
  EXPECT_TRUE(directory.Close());
  return stream.str();
}

/// Two components of three observations and four variables, and one of Y: the same on every machine.
Content Made() {
  Content made;
  float next = 1.0f;
  const std::pair<int, int> sizes[] = {{2, 4}, {2, 4}, {2, 3}, {3, 4}, {3, 1}, {1, 1}};
  for (const auto& [rows, columns] : sizes) {
    FloatMatrix m(rows, columns, 0.5f);
    for (int i = 1; i <= rows; ++i) m(i, 1 + i % columns, next++);
    made.matrices.emplace_back(m);
  }
  (*made.matrices[3])(2, 2, samples::kGap);
  made.numbers = {2, 123};
  return made;
}

class YoplsStream : public ::testing::Test {
 protected:
  YoplsStream() { EXPECT_TRUE(Read(bytes_, filter_)); }

  /// Reading must fail and leave the model as it was.
  void ExpectRefused(const std::string& bytes, const std::string& what) {
    EXPECT_FALSE(Read(bytes, filter_)) << what;
    EXPECT_EQ(Written(filter_), bytes_) << what;
  }
  void ExpectRefused(const Content& content, const std::string& what) { ExpectRefused(Composed(content), what); }

  const Content made_ = Made();
  const std::string bytes_ = Composed(made_);
  NCYOrthogonalPLS filter_;
};

TEST_F(YoplsStream, HasTheLayoutThatIsDocumented) {
  EXPECT_EQ(Written(filter_), bytes_);
  EXPECT_TRUE(*filter_.GetPprim() == *made_.matrices[0]);
  EXPECT_TRUE(*filter_.GetWprim() == *made_.matrices[1]);
  EXPECT_TRUE(*filter_.GetTprim() == *made_.matrices[2]);
  EXPECT_TRUE(*filter_.GetXResiduals() == *made_.matrices[3]);
  EXPECT_EQ(filter_.GetComponents(), 2);
  EXPECT_EQ(filter_.GetVStreamVersionNumber(), 2);
  EXPECT_EQ(filter_.GetMyVStreamVersionNumber(), 2);
}

TEST_F(YoplsStream, TheGoldenFileIsReadAndWrittenAgain) {
  std::ifstream file(VORAN_GOLDEN_DIR "/YOPLS.v1", std::ios::binary);
  NCYOrthogonalPLS read;
  ASSERT_TRUE(ReadStreamable(file, read));
  EXPECT_EQ(Written(read), bytes_);
  file.seekg(0);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), bytes_);
}

TEST_F(YoplsStream, AModelComesBackAndGoesOn) {
  const XY data = Related(12, 6, 2, 3);
  const FloatMatrix x = WithGaps(data.x, 4);
  NCYOrthogonalPLS filter(&x, &data.y, 20, 0);
  filter.NextComponent(false);
  const std::string bytes = Written(filter);
  NCYOrthogonalPLS other(&x, &data.y, 3, 1);  // its limits must not outlive the reading, nor its Y
  NCYOrthogonalPLS empty;
  filter.NextComponent(false);
  const FloatVector y = data.y.GetColumn(1);
  for (NCYOrthogonalPLS* read : {&other, &empty}) {
    ASSERT_TRUE(Read(bytes, *read));
    EXPECT_EQ(read->GetY(), nullptr);
    EXPECT_EQ(Written(*read), bytes);
    EXPECT_EQ(read->GetYAngle(&y), filter.GetYAngle(&y));
    read->NextComponent(false);
    EXPECT_EQ(Written(*read), Written(filter));
  }
}

TEST_F(YoplsStream, WithoutPrincipalScoresAModelCannotGoOn) {
  const XY data = Related(12, 6, 2, 3);
  const NCYOrthogonalPLS fresh(&data.x, &data.y, 20, 0);
  const FloatVector y = data.y.GetColumn(1);
  for (const std::string& bytes : {Written(fresh), Written(NCYOrthogonalPLS())}) {
    ASSERT_TRUE(Read(bytes, filter_));
    EXPECT_EQ(Written(filter_), bytes);
    EXPECT_THROW(filter_.NextComponent(false), NCError);
    EXPECT_THROW(filter_.GetYAngle(&y), NCError);
  }
  EXPECT_TRUE(*fresh.GetY() == data.y) << "writing changes nothing";
}

TEST_F(YoplsStream, OthersAndDamageAreRefused) {
  ExpectRefused(Composed(made_, 2, "YOPL"), "another class");
  ExpectRefused(Composed(made_, 1), "an earlier version");
  ExpectRefused(Composed(made_, 3), "a later version");
  for (std::size_t length = 0; length < bytes_.size(); ++length) {
    ExpectRefused(bytes_.substr(0, length), "cut to " + std::to_string(length));
  }
  for (std::size_t i = 0; i < bytes_.size(); ++i) {
    std::string flipped = bytes_;
    flipped[i] = static_cast<char>(flipped[i] ^ (1 << (i % 8)));
    ExpectRefused(flipped, "flipped byte " + std::to_string(i));
  }
}

TEST_F(YoplsStream, WhatDoesNotFitTogetherIsRefused) {
  for (std::size_t i = 0; i < made_.matrices.size(); ++i) {
    const int rows = made_.matrices[i]->SizeRows();
    const int columns = made_.matrices[i]->SizeColumns();
    Content bad = made_;
    bad.matrices[i].reset();
    ExpectRefused(bad, "without matrix " + std::to_string(i));
    for (const auto& [otherRows, otherColumns] : {std::pair(rows + 1, columns), std::pair(rows, columns + 1)}) {
      bad.matrices[i] = FloatMatrix(otherRows, otherColumns, 1.0f);
      ExpectRefused(bad, "matrix " + std::to_string(i));
    }
  }
  for (const std::optional<int> components : {std::optional<int>(), std::optional(1), std::optional(-2)}) {
    Content bad = made_;
    bad.numbers[0] = components;
    ExpectRefused(bad, "components");
  }
  Content bad = made_;
  bad.numbers[1].reset();
  ExpectRefused(bad, "without a limit");
  bad = made_;
  for (const std::size_t byObservation : {2U, 3U, 4U}) bad.matrices[byObservation]->SetSize(0, 0);
  for (const std::size_t byComponent : {0U, 1U}) bad.matrices[byComponent]->SetSize(0, 0);
  bad.matrices[5]->SetSize(0, 0);
  bad.numbers[0] = 0;
  ExpectRefused(bad, "principal scores of no observation");
}

}  // namespace
