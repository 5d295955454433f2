#include "voran/preprocessing/scale.h"

#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/containers/container_values.h"
#include "tests/platform/catalogue.h"
#include "voran/preprocessing/scale_error.h"

namespace {

using ::testing::ElementsAre;
using Columns = NCIntegralVector<int, -99>;

constexpr float kGap = -99.0F;

NCScale ScaleOf(const std::vector<NCScale::Scaling>& types) {
  NCScale scale(static_cast<int>(types.size()));
  for (int j = 1; j <= scale.Size(); ++j) scale.SetType(j, types[static_cast<std::size_t>(j - 1)]);
  return scale;
}

/// One column by the definition: centred in float, its sum of squares then formed in double.
struct PlainColumn {
  PlainColumn(const Rows<float>& rows, std::size_t j, NCScale::Scaling type) {
    double sum = 0.0;
    int n = 0;
    for (const auto& row : rows) {
      if (row[j] == kGap) continue;
      sum += static_cast<double>(row[j]);
      ++n;
    }
    if (type != NCScale::kNone) mean = static_cast<float>(sum / n);
    if (type == NCScale::kNone || type == NCScale::kCenter) return;
    double squares = 0.0;
    for (const auto& row : rows) {
      const auto centred = static_cast<double>(row[j] - mean);
      if (row[j] != kGap) squares += centred * centred;
    }
    const double s = std::sqrt(squares / (n - 1));
    factor = static_cast<float>(1.0 / (type == NCScale::kPareto ? std::sqrt(s) : s));
  }

  float Scaled(float x) const {
    if (x == kGap) return x;
    volatile float centred = mean == kGap ? x : x - mean;
    return factor == kGap ? centred : centred * factor;
  }

  float mean = kGap;
  float factor = kGap;
};

TEST(Scale, LearnsEveryTypeByItsDefinitionAndAppliesItToRowsAgain) {
  const std::vector<NCScale::Scaling> types = {NCScale::kUnitVariance, NCScale::kNone, NCScale::kPareto,
                                               NCScale::kCenter, NCScale::kUnitVariance};
  for (const double gapShare : {0.0, 0.2}) {
    Rows<float> rows;
    for (unsigned i = 0; i < 300; ++i) rows.push_back(plain::RandomElements<float>(types.size(), i, gapShare));
    const NCDataMatrix<float> original = Matrix(rows);
    NCDataMatrix<float> x = original;
    NCScale scale = ScaleOf(types);
    scale.ScaleMatrix(&x, true);
    for (std::size_t j = 0; j < types.size(); ++j) {
      const PlainColumn column(rows, j, types[j]);
      const int c = static_cast<int>(j) + 1;
      EXPECT_FLOAT_EQ(scale.GetMeans()[c], column.mean) << "column " << c;
      EXPECT_FLOAT_EQ(scale.GetScales()[c], column.factor) << "column " << c;
      for (std::size_t i = 0; i < rows.size(); ++i) {
        ASSERT_NEAR(x[static_cast<int>(i) + 1][c], column.Scaled(rows[i][j]), 1e-6) << "row " << i + 1;
      }
    }
    ExpectRightCounts(x);
    EXPECT_EQ(Elements(original), rows);

    NCDataMatrix<float> again = original.GetRowSubMatrix(100, 130);
    scale.ScaleMatrix(&again, false);
    EXPECT_EQ(Elements(again), Elements(x.GetRowSubMatrix(100, 130)));
    EXPECT_EQ(Elements(original), rows);
  }
}

TEST(Scale, FaultyColumnIsToldAndLeavesTheMatrixCentredOnly) {
  const std::string few = "Too few non missing values.";
  const std::string little = "Too little variance.";
  const std::string large = "The values are too large.";
  const struct {
    std::string name;
    Rows<float> rows;
    NCScale::Scaling type;  ///< of columns 2 and 3; column 1 has unit variance
    int column;
    NCScaleError::Error error;
    std::string text;
  } faults[] = {
      {"one value", {{1, 5, 1}, {3, kGap, 2}}, NCScale::kPareto, 2, NCScaleError::kTooFewValues, few},
      {"no value", {{1, 5, kGap}, {3, 4, kGap}}, NCScale::kUnitVariance, 3, NCScaleError::kTooFewValues, few},
      {"constant", {{1, 5, 1}, {3, 5, 2}}, NCScale::kPareto, 2, NCScaleError::kTooLittleVariance, little},
      {"nearly so", {{1, 0, 1}, {3, 1e-36F, 2}}, NCScale::kUnitVariance, 2, NCScaleError::kTooLittleVariance, little},
      {"huge", {{1, 3e38F, 1}, {3, -3e38F, 2}}, NCScale::kUnitVariance, 2, NCScaleError::kValuesTooLarge, large},
  };
  for (const auto& fault : faults) {
    NCDataMatrix<float> x = Matrix(fault.rows);
    NCScale scale = ScaleOf({NCScale::kUnitVariance, fault.type, fault.type});
    try {
      scale.ScaleMatrix(&x, true);
      ADD_FAILURE() << fault.name;
    } catch (const NCScaleError& error) {
      const std::unique_ptr<NCScaleError> clone(error.Clone());
      EXPECT_EQ(clone->what(), "Could not scale matrix. " + fault.text) << fault.name;
      EXPECT_EQ(clone->GetLevel(), NCError::Level::kGeneral);
      EXPECT_EQ(clone->GetColumn(), fault.column) << fault.name;
      EXPECT_EQ(clone->GetError(), fault.error) << fault.name;
    }
    for (int j = 1; j <= 3; ++j) {
      const PlainColumn column(fault.rows, static_cast<std::size_t>(j - 1), NCScale::kCenter);
      for (int i = 1; i <= 2; ++i) {
        const float before = fault.rows[static_cast<std::size_t>(i - 1)][static_cast<std::size_t>(j - 1)];
        EXPECT_EQ(x[i][j], column.Scaled(before)) << fault.name << ", row " << i << ", column " << j;
      }
      EXPECT_EQ(scale.GetScales()[j] == kGap, j >= fault.column) << fault.name << ", column " << j;
    }
  }
}

TEST(Scale, MatrixOfAnotherWidthIsLeftAloneUnlessItIsLearnt) {
  const Rows<float> rows = {{1, 2, 7}, {3, 6, 8}};
  NCScale scale = ScaleOf({NCScale::kCenter, NCScale::kUnitVariance});
  NCDataMatrix<float> x = Matrix(rows);
  try {
    scale.ScaleMatrix(&x, false);
    ADD_FAILURE();
  } catch (const NCScaleError& error) {
    EXPECT_STREQ(error.what(), "Could not scale matrix. The matrix has the wrong number of columns.");
    EXPECT_EQ(error.GetColumn(), 0);
    EXPECT_EQ(error.GetError(), NCScaleError::kWrongNumberOfColumns);
  }
  EXPECT_EQ(Elements(x), rows);
  scale.ScaleMatrix(&x, true);
  const auto unit = static_cast<float>(1.0 / std::sqrt(8.0));
  EXPECT_EQ(Elements(x), (Rows<float>{{-1, -2 * unit, 7}, {1, 2 * unit, 8}}));
}

TEST(Scale, UnscaledAndCentredColumnsNeverFail) {
  NCDataMatrix<float> x = Matrix<float>({{kGap, 5, kGap, 5}, {kGap, kGap, kGap, 5}});
  NCScale scale = ScaleOf({NCScale::kCenter, NCScale::kCenter, NCScale::kNone, NCScale::kCenter});
  scale.ScaleMatrix(&x, true);
  EXPECT_EQ(Elements(x), (Rows<float>{{kGap, 0, kGap, 0}, {kGap, kGap, kGap, 0}}));
  EXPECT_THAT(scale.GetMeans(), ElementsAre(kGap, 5, kGap, 5));
  NCDataMatrix<float> none(0, 4, 0.0F);
  scale.ScaleMatrix(&none, true);
  EXPECT_THAT(scale.GetMeans(), ElementsAre(0, 0, kGap, 0));
  NCScale nothing;
  NCDataMatrix<float> empty;
  nothing.ScaleMatrix(&empty, true);
  nothing.ScaleMatrix(&empty, false);
}

TEST(Scale, NewTypeForgetsWhatWasLearnt) {
  NCScale scale = ScaleOf({NCScale::kUnitVariance, NCScale::kUnitVariance});
  NCDataMatrix<float> x = Matrix<float>({{1, 1}, {3, 3}});
  scale.ScaleMatrix(&x, true);
  scale.SetType(1, NCScale::kUnitVariance);
  EXPECT_THAT(scale.GetMeans(), ElementsAre(2, 2));
  scale.SetType(1, NCScale::kPareto);
  scale.SetType(1, NCScale::kUnitVariance);
  EXPECT_THAT(scale.GetMeans(), ElementsAre(kGap, 2));
  EXPECT_THAT(scale.GetScales(), ElementsAre(kGap, static_cast<float>(1.0 / std::sqrt(2.0))));

  NCDataMatrix<float> fresh = Matrix<float>({{7, 2}});
  scale.ScaleMatrix(&fresh, false);
  EXPECT_EQ(Elements(fresh), (Rows<float>{{7, 0}}));
}

TEST(Scale, TypesAreNamed) {
  const std::vector<std::string> names = {"None", "None", "Center", "Pareto", "Unit variance", "None"};
  Texts texts;
  for (const std::string& name : names) texts.insert(InContext("Scale type", name));
  const WithCatalogue translated(texts);
  for (std::size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(NCScale::GetScaleString(static_cast<NCScale::Scaling>(i)), "Scale type: " + names[i]);
  }
}

/// An ordinary value may be as far below its mean as the marker is below zero: it stays a value, in every kind of row.
TEST(Scale, ADifferenceThatIsTheMarkerIsNoGap) {
  const Rows<float> rows = {{1, kGap, 1}, {199, 5, 199}, {100, 7, 100}};
  const auto unit = static_cast<float>(1.0 / 99.0);
  for (const bool newModel : {true, false}) {
    NCDataMatrix<float> x = Matrix(rows);
    const NCDataMatrix<float> original = x;
    NCScale scale = ScaleOf({NCScale::kUnitVariance, NCScale::kCenter, NCScale::kCenter});
    scale.ScaleMatrix(&x, true);
    if (!newModel) {
      x = original;
      scale.ScaleMatrix(&x, false);
    }
    EXPECT_FLOAT_EQ(scale.GetScales()[1], unit);
    EXPECT_FLOAT_EQ(x[1][1], -1.0F);
    EXPECT_NE(x[1][3], kGap);
    EXPECT_FLOAT_EQ(x[1][3], -99.0F);
    EXPECT_EQ(x[1][2], kGap);
    ExpectRightCounts(x);
    EXPECT_EQ(Elements(original), rows);
  }
}

TEST(Scale, FollowsTheColumnsThatAreRemoved) {
  NCScale scale = ScaleOf({NCScale::kNone, NCScale::kCenter, NCScale::kPareto, NCScale::kUnitVariance});
  NCDataMatrix<float> x = Matrix<float>({{1, 2, 3, 4}, {3, 4, 5, 6}});
  scale.ScaleMatrix(&x, true);
  NCScale other(scale);
  scale.RemoveValues(1, 2);
  const int removed[] = {3, 1};
  other.Remove(Columns(removed, 2));
  for (const NCScale& left : {scale, other}) {
    EXPECT_EQ(left.Size(), 2);
    EXPECT_EQ(left.GetScaleType(2), NCScale::kUnitVariance);
    EXPECT_EQ(left.GetScales().Size(), 2);
  }
  EXPECT_EQ(scale.GetScaleType(1), NCScale::kPareto);
  EXPECT_THAT(scale.GetMeans(), ElementsAre(4, 5));
  EXPECT_EQ(other.GetScaleType(1), NCScale::kCenter);
  EXPECT_THAT(other.GetMeans(), ElementsAre(3, 5));
}

TEST(Scale, AssignmentSharesAndFreesNothing) {
  NCScale scale = ScaleOf({NCScale::kCenter});
  // Only one of the two may be destroyed, and what the other held is lost: both stay reachable for a leak checker.
  static NCScale* const target = new NCScale(2);
  alignas(NCScale) static unsigned char former[sizeof(NCScale)];
  std::memcpy(former, static_cast<const void*>(target), sizeof(former));
  const NCDataVector<float>& abandoned = target->GetMeans();
  *target = scale;
  EXPECT_THAT(abandoned, ElementsAre(kGap, kGap));
  EXPECT_EQ(target->Size(), 1);
  NCDataMatrix<float> x = Matrix<float>({{1}, {3}});
  target->ScaleMatrix(&x, true);
  EXPECT_THAT(scale.GetMeans(), ElementsAre(2));
  scale.SetType(1, NCScale::kPareto);
  EXPECT_EQ(target->GetScaleType(1), NCScale::kPareto);
}

}  // namespace
