#include "voran/orthogonal/o2pls_prediction.h"

#include <cstddef>
#include <vector>

#include <gtest/gtest.h>

#include "tests/containers/container_values.h"
#include "tests/models/model_samples.h"
#include "tests/orthogonal/o2pls_samples.h"
#include "tests/orthogonal/plain_o2pls.h"
#include "voran/orthogonal/o2pls.h"

namespace {

using samples::Blocks;
using samples::ExpectNear;
using samples::ExpectSame;
using samples::Fitted;
using samples::FloatMatrix;
using samples::kGap;
using samples::MadeBlocks;
using samples::PlainMatrix;
using samples::ToPlain;

/// Float elements, through the deflations of a small model.
constexpr double kRounding = 2e-5;

/// The two directions under the same names; the residual is there for derived classes.
class Forward : public NCO2PLSYPred {
 public:
  Forward(const Blocks& data, const NCO2PLS& m, int excluded) : NCO2PLSYPred(&data.x, &m, excluded) {}
  using NCO2PLSPred::Residual;
};

class Backward : public NCO2PLSXPred {
 public:
  Backward(const Blocks& data, const NCO2PLS& m, int excluded) : NCO2PLSXPred(&data.y, &m, excluded) {}
  using NCO2PLSPred::Residual;
};

/// scores' times loadings, each components x something.
PlainMatrix Outer(const PlainMatrix& scores, const PlainMatrix& loadings) {
  return plain_o2pls::Times(plain_o2pls::Transposed(scores), loadings);
}

/// An empty b adds nothing.
PlainMatrix Sum(PlainMatrix a, const PlainMatrix& b, double factor = 1.0) {
  for (std::size_t i = 0; i < b.size(); ++i) {
    for (std::size_t j = 0; j < a[i].size(); ++j) a[i][j] += factor * b[i][j];
  }
  return a;
}

PlainMatrix FirstRows(PlainMatrix m, int n) {
  m.resize(static_cast<std::size_t>(n));
  return m;
}

class O2plsPrediction : public ::testing::Test {
 protected:
  Blocks data = MadeBlocks({.xAlone = 2, .yAlone = 2}, 0.3, 5);
  NCO2PLS model = Fitted(data.x, data.y, 2, 2, 2);

  PlainMatrix InnerY(int components) const {
    return FirstOf(components, Outer(ToPlain(model.GetLambda()), ToPlain(model.GetT())), model.GetQ());
  }
  PlainMatrix OrthoY(int components) const { return FirstOf(components, ToPlain(model.GetTo()), model.GetS()); }

 private:
  static PlainMatrix FirstOf(int components, const PlainMatrix& scores, const FloatMatrix& loadings) {
    PlainMatrix sum(40, std::vector<double>(8));
    for (int a = 1; a <= components; ++a) {
      plain_o2pls::AddOuter(sum, scores[static_cast<std::size_t>(a - 1)], ToPlain(loadings[a]), 1.0);
    }
    return sum;
  }
};

TEST_F(O2plsPrediction, RowsOfTheFitGetTheirScoresAndFittedValues) {
  const Forward y(data, model, 0);
  ExpectNear(y.GetT(), ToPlain(model.GetT()), kRounding);
  ExpectNear(y.GetTo(), ToPlain(model.GetTo()), kRounding);
  ExpectNear(y.GetYPred(), Sum(InnerY(2), OrthoY(2)), kRounding);
  const PlainMatrix modelled =
      Sum(Outer(ToPlain(model.GetTo()), ToPlain(model.GetPo())), Outer(ToPlain(model.GetT()), ToPlain(model.GetP())));
  ExpectNear(y.Residual(), Sum(ToPlain(data.x), modelled, -1.0), kRounding * 10.0);

  const Backward x(data, model, 0);
  ExpectNear(x.GetU(), ToPlain(model.GetU()), kRounding);
  ExpectNear(x.GetUo(), ToPlain(model.GetUo()), kRounding);
  const PlainMatrix t = Outer(ToPlain(model.GetXLambda()), ToPlain(model.GetU()));
  ExpectNear(x.GetXPred(), Sum(Outer(t, ToPlain(model.GetP())), Outer(ToPlain(model.GetUo()), ToPlain(model.GetR()))),
             kRounding);
}

TEST_F(O2plsPrediction, ARowDoesNotDependOnTheOthers) {
  const NCO2PLSYPred all(&data.x, &model, 0);
  const FloatMatrix row = data.x.GetRowSubMatrix(7, 7);
  const NCO2PLSYPred one(&row, &model, 0);
  EXPECT_TRUE(one.GetYPred()[1] == all.GetYPred()[7]);
  EXPECT_EQ(one.GetT()[2][1], all.GetT()[2][7]);
  EXPECT_EQ(one.GetTo()[2][1], all.GetTo()[2][7]);
}

TEST_F(O2plsPrediction, StoredMatricesPredictAsTheModel) {
  const NCO2PLSYPred y(data.x, model.GetP(), model.GetW(), model.GetQ(), model.GetWo(), model.GetPo(), model.GetS(),
                       model.GetLambda(), model.SizeYColumns(), 1);
  const NCO2PLSYPred yOfModel(&data.x, &model, 1);
  ExpectSame({y.GetYPred(), y.GetT(), y.GetTo()}, {yOfModel.GetYPred(), yOfModel.GetT(), yOfModel.GetTo()});
  const NCO2PLSXPred x(data.y, model.GetQ(), model.GetC(), model.GetP(), model.GetCo(), model.GetQo(), model.GetR(),
                       model.GetXLambda(), model.SizeXColumns(), 1);
  const NCO2PLSXPred xOfModel(&data.y, &model, 1);
  ExpectSame({x.GetXPred(), x.GetU(), x.GetUo()}, {xOfModel.GetXPred(), xOfModel.GetU(), xOfModel.GetUo()});
}

TEST_F(O2plsPrediction, FewerPredictiveComponentsKeepTheOrthogonalShare) {
  const NCO2PLSYPred y(&data.x, &model, 0);
  for (int a = 0; a <= 2; ++a) ExpectNear(y.GetYPred(a), Sum(InnerY(a), OrthoY(2)), kRounding);
}

TEST_F(O2plsPrediction, ExcludedComponentsHaveScoresAndNoShare) {
  const Forward all(data, model, 0);
  for (const int excluded : {1, 2}) {
    const Forward some(data, model, excluded);
    // The scores of the used components do not depend on the excluded ones, which come after.
    for (int j = 1; j <= 2 - excluded; ++j) EXPECT_TRUE(some.GetTo()[j] == all.GetTo()[j]);
    // By hand: correct, take out the predictive components, and then the rest of the orthogonal ones.
    PlainMatrix left = Sum(
        ToPlain(data.x),
        Outer(FirstRows(ToPlain(all.GetTo()), 2 - excluded), FirstRows(ToPlain(model.GetPo()), 2 - excluded)), -1.0);
    PlainMatrix scores;
    for (int a = 1; a <= 2; ++a) {
      scores.push_back(plain_o2pls::RowSlopes(left, ToPlain(model.GetW()[a])));
      plain_o2pls::AddOuter(left, scores.back(), ToPlain(model.GetP()[a]), -1.0);
    }
    ExpectNear(some.GetT(), scores, kRounding);
    for (int j = 3 - excluded; j <= 2; ++j) {
      const auto t = plain_o2pls::RowSlopes(left, ToPlain(model.GetWo()[j]));
      ExpectNear(some.GetTo()[j], t, kRounding);
      plain_o2pls::AddOuter(left, t, ToPlain(model.GetPo()[j]), -1.0);
    }
    const PlainMatrix u = Outer(ToPlain(model.GetLambda()), scores);
    ExpectNear(some.GetYPred(), Sum(Outer(u, ToPlain(model.GetQ())), OrthoY(2 - excluded)), kRounding);
    const PlainMatrix modelled =
        Sum(Outer(ToPlain(some.GetTo()), ToPlain(model.GetPo())), Outer(ToPlain(some.GetT()), ToPlain(model.GetP())));
    ExpectNear(some.Residual(), Sum(ToPlain(data.x), modelled, -1.0), kRounding * 10.0);
    ExpectNear(some.GetYPred(0), Outer(ToPlain(some.GetTo()), ToPlain(model.GetS())), kRounding);
  }
}

TEST_F(O2plsPrediction, WithoutOrthogonalComponentsTheInnerRelationIsAll) {
  model.Fit(2, 0, 0);
  const NCO2PLSYPred y(&data.x, &model, 0);
  EXPECT_EQ(y.GetTo().SizeRows(), 0);
  ExpectNear(y.GetYPred(), InnerY(2), kRounding);
  model.Fit(0, 0, 0);
  EXPECT_TRUE(NCO2PLSYPred(&data.x, &model, 0).GetYPred() == FloatMatrix(40, 8, 0.0f));
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
  PlainMatrix rest = ToPlain(data.x);
  for (const auto& w : ToPlain(model.GetW())) {
    plain_o2pls::AddOuter(rest, plain_o2pls::RowSlopes(rest, w), w, -1.0);
  }
  ExpectNear(y.GetTo()[1], plain_o2pls::RowSlopes(rest, ToPlain(wo[1])), kRounding);
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
