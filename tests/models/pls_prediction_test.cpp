#include "voran/models/pls_prediction.h"

#include <gtest/gtest.h>

#include "tests/models/model_samples.h"
#include "voran/models/pls.h"

namespace samples {
namespace {

constexpr float kAnyRow = 0.9999f;
constexpr int kComponents = 3;

NCPLSPred Prediction(const NCPLS& pls, const FloatMatrix& x, float maxMissing = kAnyRow) {
  return {&x, pls.GetWprim(), pls.GetPprim(), pls.GetCprim(), maxMissing};
}

/// A row of the fit, alone or in a batch, with gaps or without, gets the score and the residuals of the fit, bit for
/// bit, and as prediction what the fit has taken out of Y.
TEST(PlsPrediction, ARowOfTheFitGetsWhatItHadThere) {
  const XY complete = Related(40, 9, 2, 3);
  for (const FloatMatrix& x : {complete.x, WithGaps(complete.x, 5)}) {
    NCPLS pls(&x, &complete.y, 500);
    Fit(pls, kComponents);
    NCPLSPred batch = Prediction(pls, x);
    EXPECT_EQ(batch.GetMaxComp(), kComponents);
    for (int a = 1; a <= kComponents; ++a) {
      batch.CalcNextComponent();
      EXPECT_EQ(batch.GetCompComputed(), a);
      EXPECT_TRUE(*batch.GetTPred() == (*pls.GetTprim())[a]) << "component " << a;
    }
    EXPECT_TRUE(*batch.GetXResiduals() == *pls.GetXResiduals());
    for (int i = 1; i <= 40; ++i) {
      NCPLSPred alone = Prediction(pls, x.GetRowSubMatrix(i, i));
      for (int a = 1; a <= kComponents; ++a) alone.CalcNextComponent();
      EXPECT_EQ((*alone.GetTPred())[1], (*pls.GetTprim())[kComponents][i]) << "row " << i;
      EXPECT_TRUE((*alone.GetYPred())[1] == (*batch.GetYPred())[i]) << "row " << i;
      const FloatVector taken = complete.y[i] - (*pls.GetYResiduals())[i];
      for (int m = 1; m <= 2; ++m) EXPECT_NEAR((*alone.GetYPred())[1][m], taken[m], 1e-4f) << "row " << i;
    }
  }
}

/// A row keeps its score while its gaps are at most a share of the variables and fewer than the variables less the
/// components before; without a score it becomes missing altogether.
TEST(PlsPrediction, TooManyGapsGiveNoScore) {
  const XY data = Related(40, 10, 2, 3);
  NCPLS pls(&data.x, &data.y, 500);
  Fit(pls, kComponents);
  struct {
    int gaps;
    float maxMissing;
    int componentsWithScore;
  } const cases[] = {{10, kAnyRow, 0}, {9, kAnyRow, 1}, {8, kAnyRow, 2}, {7, kAnyRow, 3}, {10, 1.0f, 0},
                     {6, 0.5f, 0},     {5, 0.5f, 3},    {1, 0.09f, 0},   {1, 0.1f, 3},    {0, 0.0f, 3}};
  for (const auto& c : cases) {
    FloatMatrix x = Related(3, 10, 2, 8).x;
    for (int j = 1; j <= c.gaps; ++j) x(2, j, kGap);
    NCPLSPred prediction = Prediction(pls, x, c.maxMissing);
    for (int a = 1; a <= kComponents; ++a) {
      SCOPED_TRACE(::testing::Message() << c.gaps << " gaps, " << c.maxMissing << ", component " << a);
      prediction.CalcNextComponent();
      const bool hasScore = a <= c.componentsWithScore;
      EXPECT_EQ((*prediction.GetTPred())[2] != kGap, hasScore);
      EXPECT_EQ(prediction.GetTPred()->GetNumMisVal(), hasScore ? 0 : 1);
      EXPECT_EQ(prediction.GetYPred()->GetNumMisVal(), hasScore ? 0 : 2);
      EXPECT_EQ(prediction.GetXResiduals()->GetNumMisVal(), hasScore ? c.gaps : 10);
    }
  }
}

TEST(PlsPrediction, WorksOnTheCallersMatricesOrOnCopies) {
  const XY data = Related(20, 6, 2, 3);
  NCPLS pls(&data.x, &data.y, 500);
  Fit(pls, 1);
  FloatMatrix x(data.x);
  FloatMatrix predicted(20, 2, 7.0f);
  {
    NCPLSPred onThese(true, &x, &predicted, *pls.GetWprim(), *pls.GetPprim(), *pls.GetCprim(), kAnyRow);
    onThese.CalcNextComponent();
    EXPECT_EQ(onThese.GetYPred(), &predicted);
  }
  EXPECT_TRUE(x == *pls.GetXResiduals());
  FloatMatrix residualsOnly(data.x);
  NCPLSResiduals residuals(&residualsOnly, *pls.GetWprim(), *pls.GetPprim(), kAnyRow);
  residuals.CalcNextComponent();
  EXPECT_TRUE(residualsOnly == x);
  EXPECT_TRUE(residuals == (*pls.GetTprim())[1]) << "the object is the vector of the scores";

  NCPLSPred onCopies(data.x, *pls.GetWprim(), *pls.GetPprim(), *pls.GetCprim(), kAnyRow);
  const FloatMatrix before(data.x);
  onCopies.CalcNextComponent();
  EXPECT_TRUE(data.x == before);
  EXPECT_TRUE(*onCopies.GetYPred() == predicted) << "what stood in the matrix plays no part";
}

}  // namespace
}  // namespace samples
