#include "voran/orthogonal/o2pls_prediction.h"

#include <cstddef>

#include <gtest/gtest.h>

#include "tests/containers/container_values.h"
#include "tests/models/model_samples.h"
#include "tests/orthogonal/o2pls_samples.h"
#include "tests/orthogonal/plain_o2pls.h"
#include "voran/orthogonal/o2pls.h"

namespace samples {
namespace {

using plain_o2pls::Predict;
using plain_o2pls::Side;

/// Float elements, through the deflations of a small model.
constexpr double kRounding = 2e-5;

/// The two directions under the same names; the residual is there for derived classes.
class Forward : public NCO2PLSYPred {
 public:
  Forward(const XY& data, const NCO2PLS& m, int excluded) : NCO2PLSYPred(&data.x, &m, excluded) {}
  using NCO2PLSPred::Residual;
};

class Backward : public NCO2PLSXPred {
 public:
  Backward(const XY& data, const NCO2PLS& m, int excluded) : NCO2PLSXPred(&data.y, &m, excluded) {}
  using NCO2PLSPred::Residual;
};

/// Whatever the model's matrices are, those of the prediction are what the plain algorithm makes of them.
class O2plsPrediction : public ::testing::Test {
 protected:
  XY data = MadeBlocks({.xAlone = 2, .yAlone = 2}, 0.3, 5);
  NCO2PLS model = Fitted(data.x, data.y, 2, 2, 2);

  Side ToY() const {
    return {ToPlain(model.GetT()), ToPlain(model.GetW()),  ToPlain(model.GetP()),  ToPlain(model.GetU()),
            ToPlain(model.GetQ()), ToPlain(model.GetWo()), ToPlain(model.GetPo()), ToPlain(model.GetS())};
  }
  Side ToX() const {
    return {ToPlain(model.GetU()), ToPlain(model.GetC()),  ToPlain(model.GetQ()),  ToPlain(model.GetT()),
            ToPlain(model.GetP()), ToPlain(model.GetCo()), ToPlain(model.GetQo()), ToPlain(model.GetR())};
  }
};

TEST_F(O2plsPrediction, EqualsThePlainAlgorithmInBothDirections) {
  for (const int excluded : {0, 1, 2}) {
    SCOPED_TRACE(::testing::Message() << excluded << " kept out");
    const auto out = static_cast<std::size_t>(excluded);
    const Forward y(data, model, excluded);
    const auto plainY = Predict(ToY(), ToPlain(data.x), 2, 2, out);
    ExpectNear(y.GetYPred(), plainY.target, kRounding);
    ExpectNear(y.GetT(), plainY.scores, kRounding);
    ExpectNear(y.GetTo(), plainY.orthoScores, kRounding);
    ExpectNear(y.Residual(), plainY.rest, kRounding * 10.0);
    const Backward x(data, model, excluded);
    const auto plainX = Predict(ToX(), ToPlain(data.y), 2, 2, out);
    ExpectNear(x.GetXPred(), plainX.target, kRounding);
    ExpectNear(x.GetU(), plainX.scores, kRounding);
    ExpectNear(x.GetUo(), plainX.orthoScores, kRounding);
    ExpectNear(x.Residual(), plainX.rest, kRounding * 10.0);
    // From fewer components, but from all orthogonal ones, whichever were kept out above.
    for (int a = 0; a <= 2; ++a) {
      PlainMatrix some = Predict(ToY(), ToPlain(data.x), 2, static_cast<std::size_t>(a), out).target;
      for (std::size_t j = 2 - out; j < 2; ++j) {
        plain_o2pls::AddOuter(some, plainY.orthoScores[j], ToY().toTarget[j], 1.0);
      }
      ExpectNear(y.GetYPred(a), some, kRounding);
    }
  }
}

TEST_F(O2plsPrediction, AnOrthogonalComponentOfNothingEndsTheOrthogonalShare) {
  FloatMatrix wo = model.GetWo();
  for (int j = 1; j <= wo.SizeColumns(); ++j) wo(1, j, j == 1 ? 1.0f : 0.0f);
  FloatMatrix x = data.x;
  x.SetColumn(1, 0.0f);
  FloatMatrix w = model.GetW();
  w.SetColumn(1, 0.0f);
  const NCO2PLSYPred y(x, model.GetP(), w, model.GetQ(), wo, model.GetPo(), model.GetS(), model.GetLambda(), 8, 0);
  ASSERT_EQ(y.GetTo()[1].GetSS(), 0.0);
  ASSERT_GT(y.GetTo()[2].GetSS(), 0.0);
  EXPECT_TRUE(y.GetYPred(0) == FloatMatrix(40, 8, 0.0f));
}

TEST_F(O2plsPrediction, WhatThePredictiveWeightsTakeIsNoOrthogonalScore) {
  // In a fitted model the two kinds of weights are orthogonal; here they are not.
  FloatMatrix wo = model.GetWo();
  wo.SetRow(1, wo[1] + model.GetW()[1]);
  const NCO2PLSYPred y(data.x, model.GetP(), model.GetW(), model.GetQ(), wo, model.GetPo(), model.GetS(),
                       model.GetLambda(), 8, 0);
  Side side = ToY();
  side.wo = ToPlain(wo);
  ExpectNear(y.GetTo(), Predict(side, ToPlain(data.x), 2, 2).orthoScores, kRounding);
}

TEST_F(O2plsPrediction, GapsStayInTheirRows) {
  FloatMatrix x = data.x;
  x(3, 5, kGap);
  for (int j = 1; j <= x.SizeColumns(); ++j) x(6, j, kGap);
  const NCO2PLSYPred y(&x, &model, 0);
  const NCO2PLSYPred complete(&data.x, &model, 0);
  for (int i = 1; i <= x.SizeRows(); ++i) {
    EXPECT_EQ(y.GetYPred()[i] == complete.GetYPred()[i], i != 3 && i != 6) << "row " << i;
    EXPECT_EQ(y.GetYPred()[i].GetNumMisVal(), i == 6 ? 8 : 0) << "row " << i;
    EXPECT_EQ(y.GetYPred(1)[i].GetNumMisVal(), i == 6 ? 8 : 0) << "row " << i;
  }
  for (const FloatMatrix& m : {y.GetYPred(), y.GetYPred(1), y.GetT(), y.GetTo()}) ExpectRightCounts(m);
  EXPECT_EQ(y.GetT()[2][6], kGap);
  EXPECT_EQ(y.GetTo()[2][6], kGap);
  model.Fit(2, 0, 0);
  ExpectRightCounts(NCO2PLSYPred(&x, &model, 0).GetYPred());
}

TEST_F(O2plsPrediction, RemovedObservationsLeaveEveryMatrix) {
  Forward y(data, model, 0);
  const Forward all(data, model, 0);
  const int rows[] = {40, 3, 1, 3, 99, 0};
  y.RemoveObservations(NCIntegralVector<int, -99>(rows, 6));
  ASSERT_EQ(y.GetYPred().SizeRows(), 37);
  EXPECT_TRUE(y.GetYPred()[1] == all.GetYPred()[2]);
  EXPECT_TRUE(y.GetYPred()[37] == all.GetYPred()[39]);
  EXPECT_TRUE(y.Residual()[2] == all.Residual()[4]);
  for (const FloatMatrix& m : {y.GetT(), y.GetTo()}) EXPECT_EQ(m.SizeColumns(), 37);
  EXPECT_EQ(y.GetT()[2][2], all.GetT()[2][4]);
  EXPECT_EQ(y.GetTo()[2][37], all.GetTo()[2][39]);
  EXPECT_EQ(y.GetYPred(1).SizeRows(), 37);
}

}  // namespace
}  // namespace samples
