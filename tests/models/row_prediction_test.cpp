#include "voran/models/row_prediction.h"

#include <cmath>
#include <cstddef>
#include <random>

#include <gtest/gtest.h>

#include "tests/containers/container_values.h"
#include "tests/containers/failing_allocation.h"
#include "tests/models/model_samples.h"
#include "voran/models/pls.h"
#include "voran/models/pls_prediction.h"
#include "voran/platform/progress.h"

namespace samples {
namespace {

using detail::PredictRows;
using detail::RowPredictions;

constexpr float kAnyRow = 0.9999f;

FloatMatrix Random(int rows, int columns, unsigned seed) {
  std::mt19937 generator(seed);
  std::normal_distribution<float> normal;
  FloatMatrix m(rows, columns, 0.0f);
  for (int i = 1; i <= rows; ++i) {
    for (int j = 1; j <= columns; ++j) m(i, j, normal(generator));
  }
  return m;
}

/// Not from a fit: what prediction makes of the numbers does not depend on where they come from.
struct Model {
  Model(int components, int columns, int responses, float size = 0.2f)
      : w(Random(components, columns, 11)), p(Random(components, columns, 12)), c(Random(components, responses, 13)) {
    for (int a = 1; a <= components; ++a) p.MultiplyRow(a, static_cast<double>(size), a);
  }

  operator detail::ComponentMatrices() const { return {w, p, c}; }

  FloatMatrix w;
  FloatMatrix p;
  FloatMatrix c;
};

void ExpectSame(const FloatMatrix& m, const FloatMatrix& expected) {
  ASSERT_EQ(m.SizeRows(), expected.SizeRows());
  ASSERT_EQ(m.SizeColumns(), expected.SizeColumns());
  EXPECT_TRUE(m == expected);
  ExpectRightCounts(m);
}

/// Component after component, of all rows.
void ExpectNumbersOfNCPLSPred(const FloatMatrix& x, const Model& model, float maxMissing) {
  const FloatMatrix before(x);
  const RowPredictions predicted = PredictRows(x, model, maxMissing, nullptr);
  NCPLSPred expected(x, model.w, model.p, model.c, maxMissing);
  FloatMatrix scores(0, x.SizeRows(), kGap);
  for (int a = 1; a <= model.p.SizeRows(); ++a) {
    expected.CalcNextComponent();
    scores.push_back(*expected.GetTPred());
  }
  ExpectSame(predicted.TPrim, scores);
  ExpectSame(predicted.Y, *expected.GetYPred());
  ASSERT_EQ(predicted.residualSS.Size(), x.SizeRows());
  int empty = 0;
  for (int i = 1; i <= x.SizeRows(); ++i) {
    const double ss = (*expected.GetXResiduals())[i].GetSS();
    EXPECT_EQ(predicted.residualSS[i], ss) << "row " << i;
    empty += ss == -99.0 ? 1 : 0;
  }
  EXPECT_EQ(predicted.residualSS.GetNumMisVal(), empty);
  EXPECT_TRUE(x == before) << "X stays as it is";
}

class RowPrediction : public ModelTest {};

TEST_F(RowPrediction, GivesTheBitsOfComponentByComponent) {
  struct {
    int rows, columns, components, responses;
  } const shapes[] = {{40, 9, 3, 2},  {3, 1, 1, 1}, {100, 17, 4, 0}, {7, 3000, 2, 3}, {600, 128, 5, 1},
                      {33, 64, 0, 2}, {0, 5, 2, 2}, {5, 4, 6, 1},    {4, 0, 0, 1},    {1, 50, 12, 20}};
  for (const auto& shape : shapes) {
    SCOPED_TRACE(::testing::Message() << shape.rows << " x " << shape.columns << ", " << shape.components);
    const FloatMatrix x = Random(shape.rows, shape.columns, 5);
    const Model model(shape.components, shape.columns, shape.responses);
    ExpectNumbersOfNCPLSPred(x, model, kAnyRow);
    ExpectNumbersOfNCPLSPred(WithGaps(x, 6), model, kAnyRow);
  }
}

/// Rows of every number of gaps, among complete ones; also where a row loses its score after some components.
TEST_F(RowPrediction, RefusesTheSameRows) {
  FloatMatrix x = Random(60, 10, 5);
  for (int i = 2; i <= 60; i += 2) {
    for (int j = 1; j <= i % 11; ++j) x(i, j, kGap);
  }
  const Model model(4, 10, 2);
  for (const float maxMissing : {kAnyRow, 1.0f, 0.5f, 0.1f, 0.09f, 0.0f, -1.0f}) {
    SCOPED_TRACE(maxMissing);
    ExpectNumbersOfNCPLSPred(x, model, maxMissing);
  }
}

TEST_F(RowPrediction, TakesModelsWithGapsInAnyMatrix) {
  const FloatMatrix x = Random(50, 20, 5);
  for (int gapsIn = 0; gapsIn < 4; ++gapsIn) {
    SCOPED_TRACE(gapsIn);
    Model model(4, 20, 3);
    if (gapsIn == 0) model.w(2, 7, kGap);
    if (gapsIn == 1) model.p(2, 7, kGap);
    if (gapsIn == 2) model.c(2, 1, kGap);
    if (gapsIn == 3) model = Model(4, 20, 3), model.p(1, 7, kGap), model.w(3, 7, kGap), model.w(3, 8, kGap);
    ExpectNumbersOfNCPLSPred(x, model, kAnyRow);
    ExpectNumbersOfNCPLSPred(WithGaps(x, 6), model, kAnyRow);
  }
}

/// A score that comes out as the marker is a missing one; weights of nothing give scores that are no numbers.
TEST_F(RowPrediction, TakesTheMarkerAndNaNsForWhatTheyAre) {
  const FloatMatrix x = Random(40, 16, 5);
  Model model(3, 16, 2);
  for (int j = 1; j <= 16; ++j) model.w(2, j, j == 3 ? 1.0f : 0.0f);
  for (int a : {1, 2}) {
    for (int j = 1; j <= 16; ++j) model.p(a, j, j == 4 ? 1.0f : 0.0f);
  }
  FloatMatrix withMarker(x);
  withMarker(7).GetWritableVector()[3] = 2.0f * kGap;
  model.w(2, 3, 2.0f);
  ExpectNumbersOfNCPLSPred(withMarker, model, kAnyRow);
  const RowPredictions predicted = PredictRows(withMarker, model, kAnyRow, nullptr);
  EXPECT_EQ(predicted.TPrim.GetNumMisVal(), 2);
  EXPECT_EQ(predicted.Y.GetNumMisVal(), 2);

  for (int j = 1; j <= 16; ++j) model.w(2, j, 0.0f);
  const RowPredictions undefined = PredictRows(x, model, kAnyRow, nullptr);
  EXPECT_EQ(undefined.Y.GetNumMisVal(), 0);
  for (int i = 1; i <= x.SizeRows(); ++i) {
    EXPECT_FALSE(std::isnan(undefined.TPrim[1][i]));
    EXPECT_TRUE(std::isnan(undefined.TPrim[2][i]) && std::isnan(undefined.Y[i][1]));
  }
}

/// Large enough for several looks at the progress object.
TEST_F(RowPrediction, ShowsProgress) {
  const FloatMatrix x = Random(2500, 400, 5);
  const Model model(60, 400, 1, 0.0f);
  const auto recording = Shown([&] {
    NCProgress progress("", -1.0f, 0.0f, false, false, true, "");
    PredictRows(x, model, kAnyRow, &progress);
  });
  EXPECT_GE(recording->fractions.size(), 3U);
  EXPECT_EQ(recording->fractions.front(), 0.0);
  EXPECT_EQ(recording->fractions.back(), 1.0);
}

/// Less than a matrix of the size of X is taken at a time.
TEST_F(RowPrediction, TakesNoMatrixOfTheSizeOfX) {
  if (!FailingAllocation::IsAvailable()) GTEST_SKIP() << "no allocation is watched in this build";
  const FloatMatrix x = Random(2000, 500, 5);
  const Model model(3, 500, 1);
  NCMultiThreading::ThreadingControl::SetNumberOfProcessors(2);
  const AllocationWatch watch;
  PredictRows(x, model, kAnyRow, nullptr);
  EXPECT_LT(AllocationWatch::Largest(), std::size_t{300000});
}

}  // namespace
}  // namespace samples
