#include "voran/models/pca_prediction.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "tests/models/model_samples.h"
#include "tests/models/plain_nipals.h"
#include "voran/models/score_estimator.h"

namespace samples {
namespace {

constexpr int kLimit = 100;
constexpr double kTolerance = 1e-4;

class PcaPrediction : public ModelTest {
 protected:
  PcaPrediction() { Fit(pca_, 3); }

  FloatMatrix data_ = ToMatrix(ThreeComponents(40, 12, 7));
  NCPCA pca_{&data_, 500};
};

TEST_F(PcaPrediction, ACompleteRowOfTheFitGetsItsScoresAndResiduals) {
  NCPCAPred batch(&data_, pca_.GetPprim(), kLimit, 0.5f);
  EXPECT_EQ(batch.GetMaxComp(), 3);
  for (int a = 1; a <= 3; ++a) {
    ExpectNear((*batch.GetTPredPrim())[a], ToPlain((*pca_.GetTprim())[a]), kTolerance);
    batch.CalcNextResidual();
    EXPECT_EQ(batch.GetResidualsCompComputed(), a);
  }
  for (int i = 1; i <= 40; ++i) {
    for (int j = 1; j <= 12; ++j) EXPECT_NEAR((*batch.GetXResiduals())[i][j], (*pca_.GetResiduals())[i][j], 1e-3f);
    const FloatMatrix row = data_.GetRowSubMatrix(i, i);
    const NCPCAPred alone(&row, pca_.GetPprim(), kLimit, 0.5f);
    for (int a = 1; a <= 3; ++a) EXPECT_EQ((*alone.GetTPredPrim())[a][1], (*batch.GetTPredPrim())[a][i]);
  }
}

/// Loadings need not be orthogonal: each component is taken out before the next one is looked at.
TEST_F(PcaPrediction, ACompleteRowIsDeflatedBetweenTheComponents) {
  const PlainMatrix loadings = {{0.6, 0.8, 0.0}, {0.8, 0.6, 0.0}, {0.0, 0.6, 0.8}};
  PlainMatrix x = {{1.0, -2.0, 3.0}};
  Plain expected;
  for (const Plain& p : loadings) {
    expected.push_back(plain_nipals::Dot(p, x[0]));
    plain_nipals::Deflate(x, {expected.back()}, p);
  }
  FloatVector t(3);
  ScoreEstimator(ToMatrix(loadings), kLimit).GetT(t, {1.0f, -2.0f, 3.0f});
  ExpectNear(t, expected, 1e-6);
}

/// The rule for a row with gaps once more: a PLS of the row on the loadings, with its stops.
Plain PlainScores(const FloatMatrix& loadings, const FloatVector& row) {
  PlainMatrix p, y;
  for (int j = 1; j <= row.Size(); ++j) {
    p.push_back(ToPlain(loadings.GetColumn(j)));
    y.push_back({row[j]});
  }
  const double ss = plain_nipals::SumOfSquares(y);
  const int most = std::min(loadings.SizeRows(), row.Size() - row.GetNumMisVal());
  return plain_nipals::PlsCoefficients(
      p, y, [&](int a, const plain_nipals::PlsComponent& component, const PlainMatrix& left) {
        return a < most && component.c[0] < 2.0 && plain_nipals::SumOfSquares(left) > ss * 1e-5;
      });
}

TEST_F(PcaPrediction, ARowWithGapsIsRegressedOnTheLoadings) {
  for (const float size : {1.0f, 0.05f}) {  // large scores stop it early
    FloatMatrix x(data_);
    for (int i = 1; i <= 40; ++i) {
      for (int j = 1; j <= 12; ++j) x(i, j, (i + j) % (2 + i % 4) == 0 ? kGap : x[i][j] * size);
    }
    const NCPCAPred prediction(&x, pca_.GetPprim(), kLimit, 1.0f);
    for (int i = 1; i <= 40; ++i) {
      if (x[i].GetNumMisVal() == 0) continue;
      SCOPED_TRACE(::testing::Message() << "row " << i << ", " << x[i].GetNumMisVal() << " gaps");
      ExpectNear(prediction.GetTPredPrim()->GetColumn(i), PlainScores(*pca_.GetPprim(), x[i]), kTolerance);
    }
  }
}

/// A second component would take up what is left of the first variables; beside the third there is nothing to gain.
TEST_F(PcaPrediction, ARowFarFromTheLoadingsIsEstimatedInFewerSteps) {
  const FloatMatrix loadings = ToMatrix({{0.6, 0.8, 0.0, 0.0}, {0.8, -0.5, 0.0, 0.0}});
  const FloatVector row = {1.0f, 0.2f, 1000.0f, kGap};
  FloatVector t(2);
  ScoreEstimator(loadings, kLimit).GetT(t, row);
  ExpectNear(t, PlainScores(loadings, row), kTolerance);
}

TEST_F(PcaPrediction, TooManyGapsGiveNoScores) {
  struct {
    int gaps;
    float maxMissing;
    bool hasScores;
  } const cases[] = {{6, 0.5f, true}, {7, 0.5f, false}, {1, 0.0f, false}, {0, 0.0f, true}, {12, 1.0f, true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.gaps << " gaps, " << c.maxMissing);
    FloatMatrix x = data_.GetRowSubMatrix(1, 3);
    for (int j = 1; j <= c.gaps; ++j) x(2, j, kGap);
    NCPCAPred prediction(&x, pca_.GetPprim(), kLimit, c.maxMissing);
    EXPECT_EQ(prediction.GetTPredPrim()->GetNumMisVal(), c.hasScores ? 0 : 3);
    if (c.gaps == 12) {
      EXPECT_TRUE(prediction.GetTPredPrim()->GetColumn(2) == FloatVector(3, 0.0f));
    }
    prediction.CalcNextResidual();
    EXPECT_EQ((*prediction.GetXResiduals())[2].GetNumMisVal(), c.hasScores ? c.gaps : 12);
  }
}

TEST_F(PcaPrediction, ForgottenObservationsLeaveScoresAndResiduals) {
  Groups positions(3, 0);
  for (const int i : {1, 2, 3}) positions(i, 50 - 15 * i);  // 35, 20, 5
  NCPCAPred prediction(&data_, pca_.GetPprim(), kLimit, 0.5f);
  const FloatMatrix scores = *prediction.GetTPredPrim();
  prediction.RemoveObservations(positions);
  ASSERT_EQ(prediction.SizeObservations(), 37);
  ASSERT_EQ(prediction.GetTPredPrim()->SizeColumns(), 37);
  for (int i = 1, from = 1; i <= 37; ++i, ++from) {
    if (from % 15 == 5) ++from;
    EXPECT_TRUE((*prediction.GetXResiduals())[i] == data_[from]);
    EXPECT_TRUE(prediction.GetTPredPrim()->GetColumn(i) == scores.GetColumn(from));
  }
  NCPCAPred(prediction).RemoveObservations(Groups(0));
  EXPECT_EQ(prediction.SizeObservations(), 37);
}

}  // namespace
}  // namespace samples
