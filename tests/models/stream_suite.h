#pragma once

#include <cstddef>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/models/model_samples.h"
#include "tests/platform/failing_stream.h"
#include "voran/platform/stream_directory.h"
#include "voran/platform/stream_light.h"
#include "voran/platform/stream_values.h"
#include "voran/platform/streamable.h"

/// What every stored model promises. A kind of them tells its Model, kName and kVersion, the kSlots of its directory,
/// of which kFirst is the first in use, its MadeEntries(), which are those of its golden file, and Misfits() of them.
/// It may damage the bytes in steps of more than one: 7 meets every place of a field of 4 or 8 bytes, and every bit.
namespace samples {

using Entry = std::function<void(std::ostream&)>;
using Entries = std::vector<Entry>;

inline Entry EntryOf(const FloatMatrix& m) {
  return [m](std::ostream& entry) { entry << FloatMatrix(m); };
}
inline Entry EntryOf(int number) {
  return [number](std::ostream& entry) { WriteFourBytes(&number, 1, entry); };
}

inline Entries EntriesOf(const std::vector<FloatMatrix>& matrices, const std::vector<int>& numbers) {
  Entries entries;
  for (const FloatMatrix& m : matrices) entries.push_back(EntryOf(m));
  for (const int number : numbers) entries.push_back(EntryOf(number));
  return entries;
}

/// Each matrix in turn with a row or a column too many.
inline std::vector<Entries> MisfitsOf(const std::vector<FloatMatrix>& matrices, const std::vector<int>& numbers) {
  std::vector<Entries> misfits;
  for (std::size_t i = 0; i < matrices.size(); ++i) {
    const int rows = matrices[i].SizeRows();
    const int columns = matrices[i].SizeColumns();
    for (const auto& [otherRows, otherColumns] : {std::pair(rows + 1, columns), std::pair(rows, columns + 1)}) {
      misfits.push_back(EntriesOf(matrices, numbers));
      misfits.back()[i] = EntryOf(FloatMatrix(otherRows, otherColumns, 1.0f));
    }
  }
  return misfits;
}

/// Small matrices, the same on every machine.
inline std::vector<FloatMatrix> Made(const std::vector<std::pair<int, int>>& sizes) {
  std::vector<FloatMatrix> made;
  for (const auto& [rows, columns] : sizes) {
    made.emplace_back(rows, columns, 0.5f);
    for (int i = 1; i <= rows; ++i) made.back()(i, 1 + i % columns, i == 2 ? kGap : static_cast<float>(i));
  }
  return made;
}

/// What a streamable model is written and read by.
struct StreamableKind {
  static constexpr unsigned short kVersion = 2;
  static constexpr unsigned short kFirst = 0;
  static constexpr bool kHasBase = true;
  static constexpr std::size_t kDamageStep = 1;

  static bool Write(std::ostream& stream, const VStreamBase& object) { return WriteStreamable(stream, object); }
  static bool Read(std::istream& stream, VStreamBase& object) { return ReadStreamable(stream, object); }
};

template <class Kind>
std::string Written(const typename Kind::Model& model) {
  std::ostringstream stream;
  EXPECT_TRUE(Kind::Write(stream, model));
  return stream.str();
}

template <class Kind>
bool IsRead(const std::string& bytes, typename Kind::Model& model) {
  std::istringstream stream(bytes);
  return Kind::Read(stream, model);
}

/// A stream as a writer of the format would put it together, from the entries that it wants.
template <class Kind>
std::string Composed(const Entries& entries, int skipped = -1, int version = Kind::kVersion,
                     const std::string& name = Kind::kName) {
  std::stringstream stream;
  const auto number = static_cast<unsigned short>(version);
  EXPECT_TRUE(VStreamLight::WriteMagicStringAndVersionNumber(stream, number, name.c_str()));
  EXPECT_TRUE(!Kind::kHasBase || VStreamLight::WriteMagicStringAndVersionNumber(stream, 1, "VSB"));
  OutputStreamDirectory directory(stream, Kind::kSlots);
  for (int i = 0; i < static_cast<int>(entries.size()); ++i) {
    if (i == skipped) continue;
    entries[static_cast<std::size_t>(i)](directory.GetOutput(static_cast<unsigned short>(Kind::kFirst + i)));
  }
  EXPECT_TRUE(directory.Close());
  return stream.str();
}

template <class Kind>
class StoredModel : public ::testing::Test {
 protected:
  StoredModel() { EXPECT_TRUE(IsRead<Kind>(bytes_, model_)); }

  /// Reading must fail and leave the model as it was.
  void ExpectRefused(const std::string& bytes, const std::string& what) {
    EXPECT_FALSE(IsRead<Kind>(bytes, model_)) << what;
    EXPECT_EQ(Written<Kind>(model_), bytes_) << what;
  }

  const Entries entries_ = Kind::MadeEntries();
  const std::string bytes_ = Composed<Kind>(entries_);
  typename Kind::Model model_;
};

TYPED_TEST_SUITE_P(StoredModel);

TYPED_TEST_P(StoredModel, HasTheLayoutThatIsDocumentedAndThatOfTheGoldenFile) {
  EXPECT_EQ(Written<TypeParam>(this->model_), this->bytes_);
  std::ifstream file(std::string(VORAN_GOLDEN_DIR "/") + TypeParam::kName + ".v1", std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), this->bytes_);
}

TYPED_TEST_P(StoredModel, WhatIsOfAnotherKindMissingOrDamagedIsRefused) {
  const std::string& bytes = this->bytes_;
  const std::string name = TypeParam::kName;
  this->ExpectRefused(Composed<TypeParam>(this->entries_, -1, TypeParam::kVersion - 1), "an earlier version");
  this->ExpectRefused(Composed<TypeParam>(this->entries_, -1, TypeParam::kVersion + 1), "a later version");
  this->ExpectRefused(Composed<TypeParam>(this->entries_, -1, TypeParam::kVersion, name.substr(1)), "another class");
  for (int i = 0; i < static_cast<int>(this->entries_.size()); ++i) {
    this->ExpectRefused(Composed<TypeParam>(this->entries_, i), "without entry " + std::to_string(i));
  }
  for (std::size_t i = 0; i < bytes.size(); i += TypeParam::kDamageStep) {
    this->ExpectRefused(bytes.substr(0, i), "cut to " + std::to_string(i));
    std::string flipped = bytes;
    flipped[i] = static_cast<char>(flipped[i] ^ (1 << (i % 8)));
    this->ExpectRefused(flipped, "flipped byte " + std::to_string(i));
  }
}

TYPED_TEST_P(StoredModel, WhatDoesNotFitTogetherIsRefused) {
  int number = 0;
  for (const Entries& misfit : TypeParam::Misfits()) {
    this->ExpectRefused(Composed<TypeParam>(misfit), "misfit " + std::to_string(++number));
  }
}

TYPED_TEST_P(StoredModel, AFailedWriteIsTold) {
  bool failed = true;
  for (int k = 1; failed; ++k) {
    ASSERT_LT(k, 1000);
    FailingFile file(k);
    std::iostream stream(&file);
    failed = !TypeParam::Write(stream, this->model_);
    EXPECT_EQ(failed, stream.fail());
  }
}

REGISTER_TYPED_TEST_SUITE_P(StoredModel, HasTheLayoutThatIsDocumentedAndThatOfTheGoldenFile,
                            WhatIsOfAnotherKindMissingOrDamagedIsRefused, WhatDoesNotFitTogetherIsRefused,
                            AFailedWriteIsTold);

}  // namespace samples
