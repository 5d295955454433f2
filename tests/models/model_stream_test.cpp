#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/models/model_samples.h"
#include "tests/platform/failing_stream.h"
#include "voran/models/pls_cross_validation.h"
#include "voran/platform/stream_directory.h"
#include "voran/platform/stream_light.h"
#include "voran/platform/stream_values.h"

namespace {

using samples::Fit;
using samples::FloatMatrix;
using samples::Related;
using samples::WithGaps;
using samples::XY;

using Matrices = std::vector<FloatMatrix>;

static_assert(std::is_base_of_v<VStreamBase, PLSCrossValidation>);

std::string Written(const VStreamBase& object) {
  std::ostringstream stream;
  EXPECT_TRUE(WriteStreamable(stream, object));
  return stream.str();
}

bool Read(const std::string& bytes, VStreamBase& object) {
  std::istringstream stream(bytes);
  return ReadStreamable(stream, object);
}

/// Small matrices that fit together, the same on every machine.
Matrices Made(const std::vector<std::pair<int, int>>& sizes) {
  Matrices made;
  for (const auto& [rows, columns] : sizes) {
    made.emplace_back(rows, columns, 0.5f);
    for (int i = 1; i <= rows; ++i) made.back()(i, 1 + i % columns, i == 2 ? samples::kGap : static_cast<float>(i));
  }
  return made;
}

// What the two models differ in: the identity, the matrices in the order of their entries, and the numbers behind them.

struct PcaKind {
  using Model = NCPCA;
  static constexpr const char* kName = "NCPCA";

  static std::unique_ptr<Model> Make(const XY& data) { return std::make_unique<NCPCA>(&data.x, 123); }
  static Matrices Of(const Model& m) { return {*m.GetPprim(), *m.GetTprim(), *m.GetResiduals()}; }
  static std::unique_ptr<Model> GoOn(const Matrices& m) { return std::make_unique<NCPCA>(&m[2], &m[0], &m[1], 123); }
  static Matrices Golden() { return Made({{2, 4}, {2, 3}, {3, 4}}); }
};

struct PlsKind {
  using Model = NCPLS;
  static constexpr const char* kName = "NCPLS";

  static std::unique_ptr<Model> Make(const XY& data) { return std::make_unique<NCPLS>(&data.x, &data.y, 123); }
  static Matrices Of(const Model& m) {
    return {*m.GetCprim(), *m.GetPprim(),      *m.GetWprim(),     *m.GetUprim(),
            *m.GetTprim(), *m.GetXResiduals(), *m.GetYResiduals()};
  }
  static std::unique_ptr<Model> GoOn(const Matrices& m) {
    return std::make_unique<NCPLS>(&m[5], &m[6], &m[0], &m[1], &m[2], &m[3], &m[4], 123);
  }
  static Matrices Golden() { return Made({{2, 2}, {2, 4}, {2, 4}, {2, 3}, {2, 3}, {3, 4}, {3, 2}}); }
};

/// A stream as a writer of the format would put it together, from the entries that it wants.
std::string Composed(const char* name, unsigned short version, const Matrices& matrices,
                     const std::vector<int>& numbers, int skippedEntry = -1) {
  std::stringstream stream;
  EXPECT_TRUE(VStreamLight::WriteMagicStringAndVersionNumber(stream, version, name));
  EXPECT_TRUE(VStreamLight::WriteMagicStringAndVersionNumber(stream, 1, "VSB"));
  const auto entries = static_cast<unsigned short>(matrices.size() + numbers.size());
  OutputStreamDirectory directory(stream, entries);
  for (unsigned short i = 0; i < entries; ++i) {
    if (i == skippedEntry) continue;
    std::ostream& entry = directory.GetOutput(i);
    if (i < matrices.size()) {
      entry << FloatMatrix(matrices[i]);
    } else {
      WriteFourBytes(&numbers[i - matrices.size()], 1, entry);
    }
  }
  EXPECT_TRUE(directory.Close());
  return stream.str();
}

template <class Kind>
class ModelStream : public ::testing::Test {
 protected:
  using Model = typename Kind::Model;

  ModelStream() {
    const XY data = Related(7, 4, 2, 3);
    model_ = Kind::Make({WithGaps(data.x, 2), data.y});
    Fit(*model_, 2);
    bytes_ = Written(*model_);
  }

  std::string Expected(const Matrices& matrices, int skippedEntry = -1, unsigned short version = 2) const {
    return Composed(Kind::kName, version, matrices, {123, model_->GetIterations()}, skippedEntry);
  }
  /// Reading must fail and leave a model as it was.
  void ExpectRefused(const std::string& bytes, const std::string& what) {
    const Matrices before = Kind::Of(*model_);
    EXPECT_FALSE(Read(bytes, *model_)) << what;
    EXPECT_TRUE(Kind::Of(*model_) == before) << what;
  }

  std::unique_ptr<Model> model_;
  std::string bytes_;
};

using Kinds = ::testing::Types<PcaKind, PlsKind>;
TYPED_TEST_SUITE(ModelStream, Kinds);

TYPED_TEST(ModelStream, HasTheLayoutThatIsDocumented) {
  EXPECT_EQ(this->bytes_, this->Expected(TypeParam::Of(*this->model_)));
  EXPECT_EQ(this->model_->GetMyVStreamVersionNumber(), 2);
}

TYPED_TEST(ModelStream, TheGoldenFileIsReadAndWrittenAgain) {
  std::ifstream file(std::string(VORAN_GOLDEN_DIR "/") + TypeParam::kName + ".v1", std::ios::binary);
  const std::string bytes(std::istreambuf_iterator<char>(file), {});
  ASSERT_TRUE(Read(bytes, *this->model_));
  EXPECT_EQ(Written(*this->model_), bytes);
  EXPECT_TRUE(TypeParam::Of(*this->model_) == TypeParam::Golden());
  EXPECT_EQ(this->model_->GetIterations(), 7);
}

TYPED_TEST(ModelStream, AModelComesBackAndGoesOn) {
  typename TypeParam::Model read;
  ASSERT_TRUE(Read(this->bytes_, read));
  EXPECT_TRUE(TypeParam::Of(read) == TypeParam::Of(*this->model_));
  EXPECT_EQ(read.GetIterations(), this->model_->GetIterations());
  EXPECT_EQ(read.GetComponents(), 0) << "the count is not in the stream";
  EXPECT_EQ(read.GetVStreamVersionNumber(), 2);
  EXPECT_EQ(Written(read), this->bytes_);

  const auto rest = TypeParam::GoOn(TypeParam::Of(read));
  Fit(*rest, 1);
  Fit(*this->model_, 1);
  EXPECT_TRUE(TypeParam::Of(*rest) == TypeParam::Of(*this->model_));

  ASSERT_TRUE(Read(Written(typename TypeParam::Model()), *rest)) << "an empty model is one";
  EXPECT_EQ(rest->GetPprim()->SizeRows(), 0);
}

TYPED_TEST(ModelStream, OneWalkWritesAnObjectOnce) {
  std::ostringstream stream;
  stream << *this->model_ << *this->model_;
  EXPECT_EQ(stream.str(), this->bytes_);
  this->model_->VStreamableReset();
  stream << *this->model_;
  EXPECT_EQ(stream.str(), this->bytes_ + this->bytes_);
}

TYPED_TEST(ModelStream, OtherClassesAndVersionsAreRefused) {
  const Matrices matrices = TypeParam::Of(*this->model_);
  this->ExpectRefused(this->Expected(matrices, -1, 1), "version 1");
  this->ExpectRefused(this->Expected(matrices, -1, 3), "version 3");
  this->ExpectRefused(Composed("NCDM", 2, matrices, {123, 1}), "another class");
}

TYPED_TEST(ModelStream, WhatIsMissingOrDamagedIsRefused) {
  Matrices matrices = TypeParam::Of(*this->model_);
  for (int i = 0; i < static_cast<int>(matrices.size()) + 2; ++i) {
    this->ExpectRefused(this->Expected(matrices, i), "without entry " + std::to_string(i));
  }
  for (std::size_t length = 0; length < this->bytes_.size(); ++length) {
    this->ExpectRefused(this->bytes_.substr(0, length), "cut to " + std::to_string(length));
  }
  for (std::size_t i = 0; i < this->bytes_.size(); ++i) {
    std::string flipped = this->bytes_;
    flipped[i] = static_cast<char>(flipped[i] ^ (1 << (i % 8)));
    this->ExpectRefused(flipped, "flipped byte " + std::to_string(i));
  }
}

TYPED_TEST(ModelStream, MatricesThatDoNotFitTogetherAreRefused) {
  const Matrices matrices = TypeParam::Of(*this->model_);
  for (std::size_t i = 0; i < matrices.size(); ++i) {
    const int rows = matrices[i].SizeRows();
    const int columns = matrices[i].SizeColumns();
    for (const auto& [otherRows, otherColumns] : {std::pair(rows + 1, columns), std::pair(rows, columns + 1)}) {
      Matrices bad = matrices;
      bad[i] = FloatMatrix(otherRows, otherColumns, 1.0f);
      this->ExpectRefused(this->Expected(bad), "matrix " + std::to_string(i));
    }
  }
  this->ExpectRefused(Composed(TypeParam::kName, 2, matrices, {123, -1}), "iterations below none");
}

TYPED_TEST(ModelStream, AFailedWriteIsTold) {
  bool failed = true;
  for (int k = 1; failed; ++k) {
    ASSERT_LT(k, 1000);
    FailingFile file(k);
    std::iostream stream(&file);
    failed = !WriteStreamable(stream, *this->model_);
    EXPECT_EQ(failed, stream.fail());
  }
}

}  // namespace
