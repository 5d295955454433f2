#include <cstdint>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/models/model_samples.h"
#include "tests/models/stream_suite.h"
#include "voran/orthogonal/opls_cross_validation.h"

namespace samples {
namespace {

using Data = OPLSCrossvalidationData;

/// Two rounds of two stages: small numbers, the same on every machine.
Data MadeData() {
  Data data(2, FloatMatrix(3, 2, 0.5f));
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
  data.COSets[1](1, 2, kGap);
  return data;
}

using samples::EntryOf;

template <class Element>
Entry EntryOf(const std::vector<Element>& list) {
  return [list](std::ostream& entry) {
    EntryOf(static_cast<int>(list.size()))(entry);
    for (const Element& element : list) EntryOf(element)(entry);
  };
}

Entries EntriesOf(const Data& d) {
  const Entry squares = [v = d.SSYColumnSS](std::ostream& entry) { entry << FloatVector(v); };
  return {EntryOf(d.WSets),  EntryOf(d.PSets),  EntryOf(d.CSets), EntryOf(d.WOSets),
          EntryOf(d.POSets), EntryOf(d.COSets), squares};
}

struct OplsKind {
  using Model = Data;
  static constexpr const char* kName = "OPLSCVD";
  static constexpr unsigned short kVersion = 1;
  static constexpr unsigned short kFirst = 1;
  static constexpr unsigned short kSlots = 11;
  static constexpr bool kHasBase = false;
  static constexpr std::size_t kDamageStep = 7;

  static bool Write(std::ostream& stream, const Data& data) { return data.WriteObject(stream); }
  static bool Read(std::istream& stream, Data& data) { return data.ReadObject(stream); }
  static Entries MadeEntries() { return EntriesOf(MadeData()); }

  static std::vector<Entries> Misfits() {
    const FloatMatrix other(1, 3, 1.0f);
    const std::function<void(Data&)> changes[] = {[&](Data& d) { d.WSets[1][1] = other; },
                                                  [&](Data& d) { d.PSets[0][1] = other; },
                                                  [&](Data& d) { d.CSets[1][0] = other; },
                                                  [&](Data& d) { d.WOSets[0] = other; },
                                                  [&](Data& d) { d.POSets[1] = other; },
                                                  [&](Data& d) { d.COSets[0] = other; },
                                                  [](Data& d) { d.WSets[0].pop_back(); },
                                                  [](Data& d) { d.PSets[1].pop_back(); },
                                                  [](Data& d) { d.CSets.pop_back(); },
                                                  [](Data& d) { d.WOSets.pop_back(); },
                                                  [](Data& d) { d.SSYColumnSS.push_back(1); },
                                                  [](Data& d) { d.WOSets[0].Clear(); },
                                                  [](Data& d) {  // a round that is a step behind
                                                    for (auto* sets : {&d.WSets, &d.PSets, &d.CSets})
                                                      (*sets)[1].pop_back();
                                                    for (auto* sets : {&d.WOSets, &d.POSets, &d.COSets})
                                                      (*sets)[1].Clear();
                                                  }};
    std::vector<Entries> misfits;
    for (const auto& change : changes) {
      Data bad = MadeData();
      change(bad);
      misfits.push_back(EntriesOf(bad));
    }
    for (const std::int32_t count : {-1, 2147483647}) {  // is not believed
      misfits.emplace_back(6, EntryOf(count));
      misfits.back().push_back(MadeEntries().back());
    }
    return misfits;
  }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Opls, StoredModel, OplsKind);

TEST(OplsStream, WhatIsWrittenComesBack) {
  const XY related = Related(9, 4, 2, 3);
  const XY gapped = {WithGaps(related.x, 2), related.y};
  OPLSCrossValidation cv(&gapped.x, &gapped.y, 2, 3, nullptr, nullptr);
  for (int n = 0; n <= 2; ++n) {
    if (n > 0) cv.NextComponent(nullptr);
    const Data& d = *cv.GetData();
    Data read = MadeData();
    ASSERT_TRUE(IsRead<OplsKind>(Written<OplsKind>(d), read)) << n;
    EXPECT_EQ(read.ReadVersion, 1);
    EXPECT_TRUE(read.WSets == d.WSets && read.PSets == d.PSets && read.CSets == d.CSets && read.WOSets == d.WOSets &&
                read.POSets == d.POSets && read.COSets == d.COSets && read.SSYColumnSS == d.SSYColumnSS);
  }
  Data cleared = MadeData();
  cleared.clear();
  for (const Data& empty : {cleared, Data(3, FloatMatrix(2, 2, 1.0f))}) {
    Data read = MadeData();
    EXPECT_TRUE(IsRead<OplsKind>(Written<OplsKind>(empty), read)) << "without models";
    EXPECT_EQ(read.WSets.size(), empty.WSets.size());
    EXPECT_TRUE(read.COSets == empty.COSets && read.SSYColumnSS == empty.SSYColumnSS);
  }
  Data other;
  EXPECT_FALSE(IsRead<OplsKind>(Composed<OplsKind>(OplsKind::MadeEntries(), -1, 2), other));
  EXPECT_EQ(other.ReadVersion, 2) << "of what was refused, too";
  EXPECT_TRUE(cleared.WSets.empty() && cleared.PSets.empty() && cleared.CSets.empty() && cleared.WOSets.empty() &&
              cleared.POSets.empty() && cleared.COSets.empty() && cleared.SSYColumnSS.Size() == 0);
}

}  // namespace
}  // namespace samples
