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

namespace {

using samples::Blocks;
using samples::ExpectNear;
using samples::FloatMatrix;
using samples::MadeBlocks;
using samples::PlainMatrix;
using samples::ToPlain;
using Estimator = O2PLSPredictiveComponentEstimator;
using Groups = NCIntegralVector<int, -99>;
using Values = std::vector<double>;

/// An iterate stops within a relative squared change of 1e-10.
constexpr double kTolerance = 1e-4;

class O2plsEstimator : public ::testing::Test {
 protected:
  void TearDown() override { SetO2PLSInternalQ2Limit(-99.0f); }
};

std::vector<int> Verdicts(const Estimator& e) {
  const auto verdicts = e.GetSignificance();
  return {verdicts.begin(), verdicts.end()};
}

struct Shares {
  Values cross, x, y;
};

/// Joint components of training blocks, and what they leave of test blocks.
struct PlainRound {
  PlainMatrix x, y, xTest, yTest, predicted, scoresT, scoresU, w, c;

  void Next() {
    using namespace plain_o2pls;
    w.push_back(LeadingDirection(Times(Transposed(y), x)));
    const Values t = RowSlopes(x, w.back());
    c.push_back(ColumnSlopes(y, t));
    Scale(c.back(), 1.0 / std::sqrt(Dot(c.back(), c.back())));
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

Shares PlainQ2(const PlainMatrix& x, const PlainMatrix& y, const Groups& groups, int last, int components) {
  using namespace plain_o2pls;
  std::vector<PlainRound> rounds(static_cast<std::size_t>(last) + 1);
  for (std::size_t i = 0; i < x.size(); ++i) {
    for (std::size_t g = 0; g < rounds.size(); ++g) {
      const bool isOut = groups[static_cast<int>(i) + 1] == static_cast<int>(g);
      (isOut ? rounds[g].xTest : rounds[g].x).push_back(x[i]);
      (isOut ? rounds[g].yTest : rounds[g].y).push_back(y[i]);
    }
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
      for (std::size_t m = 0; m < left.size(); ++m) {
        for (std::size_t k = 0; k < left[m].size(); ++k) left[m][k] -= predicted[m][k];
      }
    }
    const auto sum = [](const PlainMatrix& m) {
      double total = 0.0;
      for (const Values& row : m) {
        for (const double value : row) total += std::abs(value);
      }
      return total;
    };
    shares.cross.push_back(1.0 - sum(left) / sum(cross));
    shares.x.push_back(1.0 - pressX / SumOfSquares(x));
    shares.y.push_back(1.0 - pressY / SumOfSquares(y));
  }
  return shares;
}

TEST_F(O2plsEstimator, EqualsThePlainCrossValidation) {
  const Blocks data = MadeBlocks({.rows = 30}, 0.3, 21);
  const Groups groups = GetDeafultCVGroupsVector(30, 5);
  const Estimator e(&data.x, &data.y, -1, &groups, 3);
  const Shares q2 = PlainQ2(ToPlain(data.x), ToPlain(data.y), groups, 4, 3);
  ExpectNear(e.GetQ2(), q2.cross, kTolerance);
  ExpectNear(e.GetQ2X(), q2.x, kTolerance);
  ExpectNear(e.GetQ2Y(), q2.y, kTolerance);
  EXPECT_EQ(e.GetNumberOfPredictiveComponents(), 3) << "as many as were asked for";
  // Fitting all is leaving out nothing: one model, whose test blocks are its own.
  PlainRound all{ToPlain(data.x), ToPlain(data.y), ToPlain(data.x), ToPlain(data.y), {}, {}, {}, {}, {}};
  for (int a = 1; a <= 3; ++a) {
    all.Next();
    const double sx = plain_o2pls::SumOfSquares(ToPlain(data.x));
    const double sy = plain_o2pls::SumOfSquares(ToPlain(data.y));
    EXPECT_NEAR(e.GetR2X()[a], 1.0 - plain_o2pls::SumOfSquares(all.xTest) / sx, kTolerance);
    EXPECT_NEAR(e.GetR2Y()[a], 1.0 - plain_o2pls::SumOfSquares(all.yTest) / sy, kTolerance);
  }
  // Only (u't) c w' of each component counts there, not the mixed terms.
  const PlainMatrix cross = plain_o2pls::Times(plain_o2pls::Transposed(ToPlain(data.y)), ToPlain(data.x));
  PlainMatrix left = cross;
  for (std::size_t a = 0; a < 3; ++a) {
    Values c = all.c[a];
    plain_o2pls::Scale(c, plain_o2pls::Dot(all.scoresU[a], all.scoresT[a]));
    plain_o2pls::AddOuter(left, c, all.w[a], -1.0);
    double rest = 0.0;
    double whole = 0.0;
    for (std::size_t m = 0; m < left.size(); ++m) {
      for (std::size_t k = 0; k < left[m].size(); ++k) {
        rest += std::abs(left[m][k]);
        whole += std::abs(cross[m][k]);
      }
    }
    EXPECT_NEAR(e.GetR2()[static_cast<int>(a) + 1], 1.0 - rest / whole, kTolerance);
  }
  // The default division is what the number of groups asks for.
  const Estimator byNumber(&data.x, &data.y, 5, nullptr, 3);
  EXPECT_TRUE(byNumber.GetQ2() == e.GetQ2());
}

TEST_F(O2plsEstimator, FindsTheJointComponents) {
  for (const std::size_t joint : {1U, 2U, 3U}) {
    const Blocks data = MadeBlocks({.rows = 60, .joint = joint, .xAlone = 1, .yAlone = 1}, 0.05, 4);
    const Estimator e(&data.x, &data.y, 7, nullptr, -1);
    EXPECT_EQ(e.GetNumberOfPredictiveComponents(), static_cast<int>(joint));
    std::vector<int> verdicts(joint, SignificanceE::kR1);
    verdicts.push_back(SignificanceE::kNS);
    EXPECT_EQ(Verdicts(e), verdicts) << "one more was tried";
    EXPECT_EQ(e.GetQ2().Size(), static_cast<int>(joint) + 1);
    EXPECT_EQ(e.GetR2().Size(), static_cast<int>(joint));
  }
}

TEST_F(O2plsEstimator, UnrelatedBlocksShareNothing) {
  const Blocks data = MadeBlocks({.joint = 0, .xAlone = 1, .yAlone = 1}, 1.0, 4);
  const Estimator e(&data.x, &data.y, 7, nullptr, -1);
  EXPECT_EQ(e.GetNumberOfPredictiveComponents(), 0);
  EXPECT_EQ(Verdicts(e), std::vector<int>{SignificanceE::kNS});
  EXPECT_EQ(e.GetR2().Size(), 0);
}

TEST_F(O2plsEstimator, AFixedNumberIsKept) {
  const Blocks data = MadeBlocks({.joint = 1}, 0.05, 4);
  const Estimator three(&data.x, &data.y, 7, nullptr, 3);
  EXPECT_EQ(three.GetNumberOfPredictiveComponents(), 3);
  EXPECT_EQ(Verdicts(three), (std::vector<int>{SignificanceE::kR1, SignificanceE::kNS, SignificanceE::kR1}))
      << "one that adds nothing does not end it";
  EXPECT_EQ(three.GetR2X().Size(), 3);
  const Estimator none(&data.x, &data.y, 7, nullptr, 0);
  EXPECT_EQ(none.GetNumberOfPredictiveComponents(), 0);
  EXPECT_EQ(none.GetQ2().Size(), 0);
}

TEST_F(O2plsEstimator, FewObservationsAllowFewComponents) {
  const Blocks data = MadeBlocks({.rows = 5, .joint = 2, .xAlone = 0, .yAlone = 0}, 0.01, 4);
  const Estimator e(&data.x, &data.y, 5, nullptr, 2);
  EXPECT_EQ(Verdicts(e), (std::vector<int>{SignificanceE::kR1, SignificanceE::kN3}));
  const Estimator four(&data.x, &data.y, 5, nullptr, -1);
  EXPECT_EQ(four.GetNumberOfPredictiveComponents(), 1);
}

TEST_F(O2plsEstimator, StopsWhereNothingIsLeft) {
  // One component is all of X, which leaves nothing to another, and counts.
  const Blocks data = MadeBlocks({.yColumns = 4, .joint = 1, .xAlone = 0, .yAlone = 2}, 0.0, 4);
  const Estimator e(&data.x, &data.y, 7, nullptr, -1);
  EXPECT_EQ(Verdicts(e), std::vector<int>{SignificanceE::kR1});
  EXPECT_EQ(e.GetNumberOfPredictiveComponents(), 1);
  // There cannot be more than columns.
  const FloatMatrix y = samples::ToMatrix(plain_o2pls::Transposed({ToPlain(data.y.GetColumn(1))}));
  const Estimator single(&data.x, &y, 7, nullptr, -1);
  EXPECT_EQ(single.GetQ2().Size(), 1);
}

TEST_F(O2plsEstimator, TheLimitIsASetting) {
  const Blocks data = MadeBlocks({.joint = 2}, 0.05, 4);
  const auto components = [&] { return Estimator(&data.x, &data.y, 7, nullptr, -1).GetNumberOfPredictiveComponents(); };
  ASSERT_EQ(components(), 2);
  SetO2PLSInternalQ2Limit(0.9f);
  ASSERT_LT(components(), 2);
  for (const float refused : {1.0f, -0.5f, -98.0f, NAN}) SetO2PLSInternalQ2Limit(refused);
  EXPECT_LT(components(), 2) << "what is no limit changes nothing";
  SetO2PLSInternalQ2Limit(-99.0f);
  EXPECT_EQ(components(), 2);
}

TEST_F(O2plsEstimator, AnEmptyGroupChangesNothing) {
  const Blocks data = MadeBlocks({.rows = 30}, 0.3, 21);
  const Groups groups = GetDeafultCVGroupsVector(30, 5);
  Groups withEmpty = groups;
  for (int i = 1; i <= 30; ++i) withEmpty(i, groups[i] < 2 ? groups[i] : groups[i] + 1);
  const Estimator e(&data.x, &data.y, -1, &groups, 2);
  const Estimator same(&data.x, &data.y, -1, &withEmpty, 2);
  EXPECT_TRUE(same.GetQ2() == e.GetQ2());
  EXPECT_TRUE(same.GetQ2X() == e.GetQ2X());
}

}  // namespace
