#include "voran/orthogonal/opls_prediction.h"

#include <cstddef>
#include <vector>

#include <gtest/gtest.h>

#include "tests/models/model_samples.h"
#include "voran/orthogonal/opls.h"

namespace samples {
namespace {

/// Over several deflations in float.
constexpr double kTolerance = 1e-4;

NCOPLS Fitted(const XY& data, int predictive, int orthogonal) {
  NCOPLS opls(&data.x, &data.y, predictive, 500);
  for (int k = 0; k <= orthogonal; ++k) opls.NextComponent(nullptr);
  return opls;
}

TEST(OplsPrediction, ARowOfTheFitGetsWhatItHasThere) {
  for (const std::size_t responses : {1U, 3U}) {
    for (const bool gaps : {false, true}) {
      const XY complete = Related(40, 12, responses, 9);
      const XY data = gaps ? XY{WithGaps(complete.x, 3), complete.y} : complete;
      NCOPLS opls(&data.x, &data.y, responses > 1 ? 2 : 1, 500);
      for (int n = 0; n <= 3; ++n) {
        opls.NextComponent(nullptr);
        NCOPLSPred batch(&data.x, &opls);
        EXPECT_EQ(batch.GetMaxComp(), n);
        while (batch.SizeOComps() < n) batch.CalcNextComponent();
        EXPECT_TRUE(*batch.GetTPred() == *opls.GetTprim());
        EXPECT_TRUE(*batch.GetTOPred() == *opls.GetTOprim());
        EXPECT_EQ(batch.SizePComps(), opls.SizeComponents());
        ExpectNear(data.y - *batch.GetYPred(), ToPlain(opls.GetYResiduals()), 10.0 * kTolerance);

        const FloatMatrix row = data.x.GetRowSubMatrix(7, 7);
        NCOPLSPred alone(&row, opls.GetWMatrices(), opls.GetPMatrices(), opls.GetCMatrices(), opls.GetWOprim(),
                         opls.GetPOprim(), opls.GetCOprim());
        while (alone.SizeOComps() < n) alone.CalcNextComponent();
        EXPECT_TRUE((*alone.GetYPred())[1] == (*batch.GetYPred())[7]);
        EXPECT_TRUE(alone.GetXOrthoResiduals()[1] == batch.GetXOrthoResiduals()[7]);
      }
    }
  }
}

TEST(OplsPrediction, EachStageIsThatOfTheSmallerModel) {
  const XY data = Related(40, 12, 3, 9);
  const FloatMatrix fresh = WithGaps(Related(15, 12, 3, 9).x, 4);
  NCOPLS model = Fitted(data, 2, 2);
  NCOPLSPred prediction(&fresh, &model);
  for (int n = 0; n <= 2; ++n) {
    if (n > 0) prediction.CalcNextComponent();
    NCOPLS smaller = Fitted(data, 2, n);
    NCOPLSPred expected(&fresh, &smaller);
    for (int k = 0; k < n; ++k) expected.CalcNextComponent();
    EXPECT_TRUE(*prediction.GetYPred() == *expected.GetYPred()) << n;
    EXPECT_TRUE(*prediction.GetTPred() == *expected.GetTPred()) << n;
  }
}

TEST(OplsPrediction, RowsWithoutDataAndNoRows) {
  const XY data = Related(20, 6, 2, 9);
  NCOPLS opls = Fitted(data, 2, 1);
  FloatMatrix fresh = data.x.GetRowSubMatrix(1, 3);
  fresh.SetRow(2, kGap);
  fresh(3, 4, kGap);
  NCOPLSPred prediction(&fresh, &opls);
  prediction.CalcNextComponent();
  EXPECT_EQ((*prediction.GetTOPred())[1][2], kGap);
  EXPECT_EQ(prediction.GetTPred()->GetNumMisVal(), 2);
  EXPECT_EQ(prediction.GetYPred()->GetNumMisVal(), 2) << "what could not be predicted is not 0";
  EXPECT_EQ((*prediction.GetYPred())[2].GetNumMisVal(), 2);
  EXPECT_EQ(prediction.GetXOrthoResiduals()[3][4], kGap);

  const FloatMatrix none(0, 6, 0.0f);
  NCOPLSPred empty(&none, &opls);
  empty.CalcNextComponent();
  EXPECT_EQ(empty.GetYPred()->SizeRows(), 0);
  EXPECT_EQ((*empty.GetTPred())[2].Size(), 0);
  EXPECT_EQ(empty.SizeOComps(), 1);
}

/// Gaps in weights and loadings, which a fit does not give and a stored model may: the numbers are those of the
/// matrices' own steps.
TEST(OplsPrediction, GapsInTheModelActAsInTheStepsOfTheMatrix) {
  const FloatMatrix x = WithGaps(Related(20, 9, 1, 9).x, 2);
  FloatMatrix someGaps = Related(3, 9, 1, 5).x;
  FloatMatrix p = Related(3, 9, 1, 6).x;
  someGaps(1, 3, kGap);
  p(1, 4, kGap);
  p(2, 5, kGap);
  FloatMatrix emptyRow = someGaps;
  emptyRow.SetRow(1, kGap);
  const FloatMatrix none;
  for (const FloatMatrix& w : {someGaps, emptyRow}) {
    const std::vector<FloatMatrix> ws = {w}, ps = {p}, cs = {FloatMatrix(3, 1, 1.0f)};
    const NCOPLSPred prediction(&x, &ws, &ps, &cs, &none, &none, &none);
    FloatMatrix left = x;
    for (int a = 1; a <= 3; ++a) {
      const FloatVector t = left.SpecialNipalsRegressRowsFix(w[a]);
      EXPECT_TRUE((*prediction.GetTPred())[a] == t) << a;
      left.AddVprimV(t, p[a], -1.0f);
    }
  }
}

}  // namespace
}  // namespace samples
