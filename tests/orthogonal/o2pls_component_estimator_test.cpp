#include "voran/orthogonal/o2pls_component_estimator.h"

#include <cmath>
#include <cstddef>
#include <vector>

#include <gtest/gtest.h>

#include "tests/models/model_samples.h"
#include "tests/orthogonal/o2pls_samples.h"
#include "tests/orthogonal/plain_o2pls.h"
#include "voran/models/cv_groups.h"
#include "voran/models/significance.h"

namespace samples {
namespace {

using Estimator = O2PLSPredictiveComponentEstimator;

/// An iterate stops within a relative squared change of 1e-10.
constexpr double kTolerance = 1e-4;

class O2plsEstimator : public ::testing::Test {
 protected:
  void TearDown() override { SetO2PLSInternalQ2Limit(-99.0f); }
};

/// Joint components of training blocks, and what they leave of test blocks.
struct PlainRound {
  PlainMatrix x, y, xTest, yTest, scoresT, scoresU, w, c;

  void Next() {
    using namespace plain_o2pls;
    w.push_back(LeadingDirection(Times(Transposed(y), x)));
    const Plain t = RowSlopes(x, w.back());
    c.push_back(ColumnSlopes(y, t));
    Scale(c.back(), 1.0 / std::sqrt(SumOfSquares(c.back())));
    scoresT.push_back(RowSlopes(xTest, w.back()));
    scoresU.push_back(RowSlopes(yTest, c.back()));
    AddOuter(y, RowSlopes(y, c.back()), c.back(), -1.0);
    AddOuter(x, t, w.back(), -1.0);
    AddOuter(xTest, scoresT.back(), w.back(), -1.0);
    AddOuter(yTest, scoresU.back(), c.back(), -1.0);
  }
  /// C' U T' W
  PlainMatrix Predicted() const {
    using namespace plain_o2pls;
    return Times(Times(Transposed(c), TimesTransposed(scoresU, scoresT)), w);
  }
};

double AbsoluteSum(const PlainMatrix& m) {
  double total = 0.0;
  for (const Plain& row : m) {
    for (const double value : row) total += std::abs(value);
  }
  return total;
}

struct Shares {
  Plain cross, x, y;
};

Shares PlainQ2(const PlainMatrix& x, const PlainMatrix& y, const Groups& groups, int last, int components) {
  using namespace plain_o2pls;
  std::vector<PlainRound> rounds;
  for (int g = 0; g <= last; ++g) {
    const auto isOut = [&](std::size_t i) { return groups[static_cast<int>(i) + 1] == g; };
    const plain_nipals::Parts ofX = plain_nipals::Split(x, isOut);
    const plain_nipals::Parts ofY = plain_nipals::Split(y, isOut);
    rounds.push_back({ofX.kept, ofY.kept, ofX.leftOut, ofY.leftOut, {}, {}, {}, {}});
  }
  const PlainMatrix cross = Times(Transposed(y), x);
  Shares shares;
  for (int a = 1; a <= components; ++a) {
    PlainMatrix left = cross;
    double pressX = 0.0;
    double pressY = 0.0;
    for (PlainRound& round : rounds) {
      round.Next();
      pressX += SumOfSquares(round.xTest);
      pressY += SumOfSquares(round.yTest);
      const PlainMatrix predicted = round.Predicted();
      for (std::size_t m = 0; m < left.size(); ++m) plain_nipals::Subtract(left[m], predicted[m], 1.0);
    }
    shares.cross.push_back(1.0 - AbsoluteSum(left) / AbsoluteSum(cross));
    shares.x.push_back(1.0 - pressX / SumOfSquares(x));
    shares.y.push_back(1.0 - pressY / SumOfSquares(y));
  }
  return shares;
}

TEST_F(O2plsEstimator, EqualsThePlainCrossValidation) {
  const XY data = MadeBlocks({.rows = 30}, 0.3, 21);
  const PlainMatrix x = ToPlain(data.x);
  const PlainMatrix y = ToPlain(data.y);
  const Groups groups = GetDeafultCVGroupsVector(30, 5);
  const Estimator e(&data.x, &data.y, -1, &groups, 3);
  const Shares q2 = PlainQ2(x, y, groups, 4, 3);
  ExpectNear(e.GetQ2(), q2.cross, kTolerance);
  ExpectNear(e.GetQ2X(), q2.x, kTolerance);
  ExpectNear(e.GetQ2Y(), q2.y, kTolerance);
  EXPECT_EQ(e.GetNumberOfPredictiveComponents(), 3) << "as many as were asked for";
  // Fitting all is leaving out nothing: one model, whose test blocks are its own. Only (u't) c w' of each component
  // counts there, not the mixed terms.
  PlainRound all{x, y, x, y, {}, {}, {}, {}};
  const PlainMatrix cross = plain_o2pls::Times(plain_o2pls::Transposed(y), x);
  PlainMatrix left = cross;
  for (int a = 1; a <= 3; ++a) {
    all.Next();
    EXPECT_NEAR(e.GetR2X()[a], 1.0 - plain_o2pls::SumOfSquares(all.xTest) / plain_o2pls::SumOfSquares(x), kTolerance);
    EXPECT_NEAR(e.GetR2Y()[a], 1.0 - plain_o2pls::SumOfSquares(all.yTest) / plain_o2pls::SumOfSquares(y), kTolerance);
    const double inner = plain_o2pls::Dot(all.scoresU.back(), all.scoresT.back());
    plain_o2pls::AddOuter(left, all.c.back(), all.w.back(), -inner);
    EXPECT_NEAR(e.GetR2()[a], 1.0 - AbsoluteSum(left) / AbsoluteSum(cross), kTolerance);
  }
  // The default division is what the number of groups asks for.
  const Estimator byNumber(&data.x, &data.y, 5, nullptr, 3);
  EXPECT_TRUE(byNumber.GetQ2() == e.GetQ2());
}

TEST_F(O2plsEstimator, FindsTheJointComponents) {
  for (const int joint : {0, 1, 2, 3}) {
    const BlockSizes sizes = {.rows = joint == 0 ? 40U : 60U, .joint = static_cast<std::size_t>(joint)};
    const XY data = MadeBlocks(sizes, joint == 0 ? 1.0 : 0.05, 4);
    const Estimator e(&data.x, &data.y, 7, nullptr, -1);
    EXPECT_EQ(e.GetNumberOfPredictiveComponents(), joint);
    std::vector<int> verdicts(static_cast<std::size_t>(joint), SignificanceE::kR1);
    verdicts.push_back(SignificanceE::kNS);
    EXPECT_EQ(List(e.GetSignificance()), verdicts) << "one more was tried";
    EXPECT_EQ(e.GetQ2().Size(), joint + 1);
    EXPECT_EQ(e.GetR2().Size(), joint);
  }
}

TEST_F(O2plsEstimator, AFixedNumberIsKept) {
  const XY data = MadeBlocks({.joint = 1}, 0.05, 4);
  const Estimator three(&data.x, &data.y, 7, nullptr, 3);
  EXPECT_EQ(three.GetNumberOfPredictiveComponents(), 3);
  EXPECT_EQ(List(three.GetSignificance()),
            (std::vector<int>{SignificanceE::kR1, SignificanceE::kNS, SignificanceE::kR1}))
      << "one that adds nothing does not end it";
  EXPECT_EQ(three.GetR2X().Size(), 3);
  const Estimator none(&data.x, &data.y, 7, nullptr, 0);
  EXPECT_EQ(none.GetNumberOfPredictiveComponents(), 0);
  EXPECT_EQ(none.GetQ2().Size(), 0);
}

TEST_F(O2plsEstimator, FewObservationsAllowFewComponents) {
  const XY data = MadeBlocks({.rows = 5, .joint = 2, .xAlone = 0, .yAlone = 0}, 0.01, 4);
  const Estimator e(&data.x, &data.y, 5, nullptr, 2);
  EXPECT_EQ(List(e.GetSignificance()), (std::vector<int>{SignificanceE::kR1, SignificanceE::kN3}));
  const Estimator four(&data.x, &data.y, 5, nullptr, -1);
  EXPECT_EQ(four.GetNumberOfPredictiveComponents(), 1);
}

TEST_F(O2plsEstimator, StopsWhereNothingIsLeft) {
  // One component is all of X, which leaves nothing to another, and counts.
  const XY data = MadeBlocks({.yColumns = 4, .joint = 1, .xAlone = 0, .yAlone = 2}, 0.0, 4);
  const Estimator e(&data.x, &data.y, 7, nullptr, -1);
  EXPECT_EQ(List(e.GetSignificance()), std::vector<int>{SignificanceE::kR1});
  EXPECT_EQ(e.GetNumberOfPredictiveComponents(), 1);
  // There cannot be more than columns.
  const FloatMatrix y = ToMatrix(plain_o2pls::Transposed({ToPlain(data.y.GetColumn(1))}));
  const Estimator single(&data.x, &y, 7, nullptr, -1);
  EXPECT_EQ(single.GetQ2().Size(), 1);
}

TEST_F(O2plsEstimator, TheLimitIsASetting) {
  const XY data = MadeBlocks({.joint = 2}, 0.05, 4);
  const auto components = [&] { return Estimator(&data.x, &data.y, 7, nullptr, -1).GetNumberOfPredictiveComponents(); };
  ASSERT_EQ(components(), 2);
  SetO2PLSInternalQ2Limit(0.9f);
  ASSERT_LT(components(), 2);
  for (const float refused : {1.0f, -0.5f, -98.0f, NAN}) SetO2PLSInternalQ2Limit(refused);
  EXPECT_LT(components(), 2) << "what is no limit changes nothing";
  SetO2PLSInternalQ2Limit(-99.0f);
  EXPECT_EQ(components(), 2);
}

}  // namespace
}  // namespace samples
