#include "voran/orthogonal/o2pls_cross_validation.h"

#include <atomic>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/models/model_samples.h"
#include "tests/orthogonal/o2pls_samples.h"
#include "tests/orthogonal/plain_o2pls.h"
#include "voran/models/cv_groups.h"
#include "voran/models/significance.h"
#include "voran/orthogonal/o2pls_component_estimator.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/progress.h"
#include "voran/platform/threading_control.h"

namespace samples {
namespace {

using plain_o2pls::Predict;
using plain_o2pls::Side;
using Estimator = O2PLSPredictiveComponentEstimator;

/// An iterate stops within a relative squared change of 1e-10, and float elements lose a digit with each deflation.
constexpr double kTolerance = 1e-3;
constexpr int kFree = -1;
constexpr int kGroups = 5;

struct Counts {
  int joint, xOrtho, yOrtho;
};

class O2plsCv : public ModelTest {
 protected:
  void TearDown() override {
    SetO2PLSExternalQ2Limit(kGap);
    ModelTest::TearDown();
  }
};

O2PLSCVResults CrossValidated(const FloatMatrix& x, const FloatMatrix& y, Counts n, NCProgress* progress = nullptr,
                              int groups = kGroups) {
  return O2PLSCrossValidation(&x, &y, groups, progress, nullptr, 200, n.joint, n.xOrtho, n.yOrtho).GetResults();
}

/// All fields that hold numbers of the models.
auto AllOf(const O2PLSCVResults& r) {
  return std::tie(r.PredComps, r.XOrthoComps, r.YOrthoComps, r.Q2, r.Q2X, r.Q2Y, r.Q2Start, r.Q2YVar, r.GroupPress,
                  r.SSXSteps, r.SSYSteps, r.TSets, r.USets, r.PSets, r.WSets, r.CSets, r.QSets, r.SSets, r.RSets,
                  r.ToSets, r.PoSets, r.WoSets, r.UoSets, r.CoSets, r.QoSets, r.LambdaSets, r.XLambdaSets, r.YPredSets,
                  r.PredSignificance, r.XOrthoSignificance, r.YOrthoSignificance);
}

void ExpectCounts(const O2PLSCVResults& r, Counts n) {
  EXPECT_EQ(r.PredComps, n.joint);
  EXPECT_EQ(r.XOrthoComps, n.xOrtho);
  EXPECT_EQ(r.YOrthoComps, n.yOrtho);
}

bool Same(const O2PLSCVResults& a, const O2PLSCVResults& b) {
  return AllOf(a) == AllOf(b) && AllOf(b) == AllOf(a);  // a matrix equals one that has more rows
}

// The oracle: a plain fit for each group and each number of components, with nothing carried over.

auto IsOut(std::size_t group) {
  return [group, cv = GetDeafultCVGroupsVector(30, kGroups)](std::size_t i) {
    return cv[static_cast<int>(i) + 1] == static_cast<int>(group);
  };
}

struct PlainGroup {
  PlainMatrix x, y, xTest, yTest;

  plain_o2pls::Model Fit(Counts n) const {
    return plain_o2pls::Fit(x, y, static_cast<std::size_t>(n.joint), static_cast<std::size_t>(n.xOrtho),
                            static_cast<std::size_t>(n.yOrtho));
  }
  Side ToY(Counts n) const { return plain_o2pls::ToY(Fit(n), y); }
  Side ToX(Counts n) const { return plain_o2pls::ToX(Fit(n), x); }
};

PlainMatrix Difference(PlainMatrix a, const PlainMatrix& b) {
  for (std::size_t i = 0; i < a.size(); ++i) plain_nipals::Subtract(a[i], b[i], 1.0);
  return a;
}

class AgainstPlain : public O2plsCv {
 protected:
  AgainstPlain() {
    for (std::size_t g = 0; g < kGroups; ++g) {
      const plain_nipals::Parts x = plain_nipals::Split(ToPlain(data.x), IsOut(g));
      const plain_nipals::Parts y = plain_nipals::Split(ToPlain(data.y), IsOut(g));
      groups.push_back({x.kept, y.kept, x.leftOut, y.leftOut});
    }
  }
  /// The share of a block that is not predicted from the other one.
  double YPress(Counts n) const {
    double press = 0.0;
    for (const PlainGroup& g : groups) press += Press(g.ToY(n), g.xTest, g.yTest, n);
    return press / data.y.GetSS();
  }
  double XPress(Counts n) const {
    double press = 0.0;
    for (const PlainGroup& g : groups) press += Press(g.ToX(n), g.yTest, g.xTest, n);
    return press / data.x.GetSS();
  }
  static double Press(const Side& side, const PlainMatrix& from, const PlainMatrix& target, Counts n) {
    const auto all = static_cast<std::size_t>(n.joint);
    return plain_o2pls::SumOfSquares(Difference(Predict(side, from, all, all).target, target));
  }

  XY data = MadeBlocks({.rows = 30}, 0.3, 21);
  std::vector<PlainGroup> groups;
};

TEST_F(AgainstPlain, MeasuresOfFit) {
  const Counts n{2, 2, 1};
  const O2PLSCVResults r = CrossValidated(data.x, data.y, n);
  Plain q2;
  PlainMatrix q2YVar;
  PlainMatrix groupPress(3, Plain(kGroups));
  for (std::size_t a = 1; a <= 2; ++a) {
    Plain press(static_cast<std::size_t>(data.y.SizeColumns()));
    for (std::size_t g = 0; g < groups.size(); ++g) {
      const Side side = groups[g].ToY(n);
      const PlainMatrix errors = Difference(Predict(side, groups[g].xTest, a, a).target, groups[g].yTest);
      for (std::size_t m = 0; m < press.size(); ++m) {
        press[m] += plain_o2pls::SumOfSquares(plain_nipals::Column(errors, m));
      }
      groupPress[0][g] = plain_o2pls::SumOfSquares(groups[g].yTest);
      groupPress[a][g] =
          plain_o2pls::SumOfSquares(Difference(Predict(side, groups[g].xTest, 2, a).target, groups[g].yTest));
    }
    q2.push_back(1.0 - std::accumulate(press.begin(), press.end(), 0.0) / data.y.GetSS());
    for (std::size_t m = 0; m < press.size(); ++m) {
      press[m] = 1.0 - press[m] / data.y.GetColumnSS(static_cast<int>(m) + 1, 0.0);
    }
    q2YVar.push_back(press);
  }
  ExpectNear(r.Q2, q2, kTolerance);
  ExpectNear(r.Q2YVar, q2YVar, kTolerance);
  ExpectNear(r.GroupPress, groupPress, kTolerance);
  const double ofY[] = {YPress({2, 0, 1}), YPress({2, 1, 1}), YPress({2, 2, 1})};
  const double ofX[] = {XPress({2, 2, 0}), XPress({2, 2, 1})};
  ExpectNear(r.Q2X, {1.0 - ofY[1], 1.0 - ofY[2]}, kTolerance);
  ExpectNear(r.Q2Y, {1.0 - ofX[1]}, kTolerance);
  const auto verdict = [](const double* before) -> int {
    return before[0] - before[1] > 0.01 ? SignificanceE::kR1 : SignificanceE::kNS;
  };
  EXPECT_EQ(List(r.XOrthoSignificance), (std::vector<int>{verdict(ofY), verdict(ofY + 1)}));
  EXPECT_EQ(List(r.YOrthoSignificance), std::vector<int>{verdict(ofX)});
  ExpectCounts(r, n);
  EXPECT_EQ(r.Q2Start.Size(), 0);
  EXPECT_TRUE(r.YPredSets.empty());
}

TEST_F(AgainstPlain, TheSecondSearchInXStartsBesideTheComponentsOfY) {
  const double with = YPress({2, 1, 1});
  const double beside = YPress({2, 0, 1}) - with;
  const double alone = YPress({2, 0, 0}) - with;
  ASSERT_GT(std::abs(beside - alone), 3e-4) << "the limit has to fit between";
  SetO2PLSExternalQ2Limit(static_cast<float>((beside + alone) / 2.0));
  const O2PLSCVResults r = CrossValidated(data.x, data.y, {2, 1, 1});
  EXPECT_EQ(r.XOrthoSignificance[1], beside > alone ? SignificanceE::kR1 : SignificanceE::kNS);
}

TEST_F(AgainstPlain, Sets) {
  const O2PLSCVResults r = CrossValidated(data.x, data.y, {2, 2, 1});
  for (std::size_t g = 0; g < groups.size(); ++g) {
    const int row = static_cast<int>(g) + 1;
    const plain_o2pls::Model m = groups[g].Fit({2, 2, 1});
    const Side toY = plain_o2pls::ToY(m, groups[g].y);
    const Side toX = plain_o2pls::ToX(m, groups[g].x);
    const plain_o2pls::Prediction y = Predict(toY, groups[g].xTest, 2, 2);
    const plain_o2pls::Prediction x = Predict(toX, groups[g].yTest, 2, 2);
    // Row g of a set holds what the group's model has for component a, that of scores also the rows left out: up to a
    // sign of the component.
    const auto expectSets = [&](const std::vector<const std::vector<FloatMatrix>*>& sets,
                                const std::vector<const PlainMatrix*>& fitted, const PlainMatrix& leftOut) {
      ASSERT_EQ(sets.front()->size(), fitted.front()->size());
      for (std::size_t a = 0; a < fitted.front()->size(); ++a) {
        std::vector<Plain> expected = {plain_nipals::Joined((*fitted[0])[a], leftOut[a], IsOut(g))};
        for (std::size_t k = 1; k < sets.size(); ++k) expected.push_back((*fitted[k])[a]);
        const double product = plain_o2pls::Dot(ToPlain((*sets[0])[a][row]), expected[0]);
        for (std::size_t k = 0; k < sets.size(); ++k) {
          SCOPED_TRACE(::testing::Message() << "group " << g << ", set " << k << ", component " << a);
          ASSERT_EQ((*sets[k])[a].SizeRows(), kGroups);
          plain_o2pls::Scale(expected[k], product < 0.0 ? -1.0 : 1.0);
          ExpectNear((*sets[k])[a][row], expected[k], kTolerance);
        }
      }
    };
    expectSets({&r.TSets, &r.WSets, &r.PSets}, {&m.t, &m.w, &m.p}, y.scores);
    expectSets({&r.USets, &r.CSets, &r.QSets}, {&m.u, &m.c, &m.q}, x.scores);
    expectSets({&r.ToSets, &r.WoSets, &r.PoSets, &r.SSets}, {&m.to, &m.wo, &m.po, &toY.toTarget}, y.orthoScores);
    expectSets({&r.UoSets, &r.CoSets, &r.QoSets, &r.RSets}, {&m.uo, &m.co, &m.qo, &toX.toTarget}, x.orthoScores);
    // The inner relations, with the signs that the scores have.
    for (std::size_t a = 0; a < 2; ++a) {
      for (std::size_t b = 0; b < 2; ++b) {
        const auto kept = [&](const FloatMatrix& set) {
          PlainMatrix column;
          for (const float score : set[row]) column.push_back({score});
          return plain_nipals::Column(plain_nipals::Split(column, IsOut(g)).kept, 0);
        };
        const Plain t = kept(r.TSets[a]);
        const Plain u = kept(r.USets[b]);
        const double product = plain_o2pls::Dot(t, u);
        const int atA = static_cast<int>(a) + 1;
        const int atB = static_cast<int>(b) + 1;
        EXPECT_NEAR(r.LambdaSets[g][atA][atB], product / plain_o2pls::Dot(t, t), kTolerance);
        EXPECT_NEAR(r.XLambdaSets[g][atB][atA], product / plain_o2pls::Dot(u, u), kTolerance);
      }
    }
  }
  for (const auto* sets : {&r.PSets, &r.CSets, &r.PoSets, &r.CoSets}) {
    for (const FloatMatrix& set : *sets) {
      for (const FloatVector& row : set) EXPECT_GT(Dot(row, set[1]), 0.0) << "the signs of the first group";
    }
  }
}

TEST_F(AgainstPlain, SumsOfSquaresStepByStep) {
  const O2PLSCVResults r = CrossValidated(data.x, data.y, {2, 1, 1});
  using namespace plain_o2pls;
  using plain_o2pls::Dot;  // not the one of library vectors
  for (std::size_t g = 0; g < groups.size(); ++g) {
    const plain_o2pls::Model m = groups[g].Fit({2, 1, 1});
    PlainMatrix x = groups[g].x;
    PlainMatrix y = groups[g].y;
    Plain xSteps{SumOfSquares(x)};
    Plain ySteps{SumOfSquares(y)};
    const auto step = [&] {
      xSteps.push_back(SumOfSquares(x));
      ySteps.push_back(SumOfSquares(y));
    };
    AddOuter(x, m.to[0], m.po[0], -1.0);
    AddOuter(y, m.to[0], ColumnSlopes(groups[g].y, m.to[0]), -1.0);
    step();
    for (std::size_t b = 0; b < 2; ++b) {
      AddOuter(x, m.t[b], m.p[b], -1.0);
      for (const Plain& t : m.t) AddOuter(y, t, m.q[b], -Dot(t, m.u[b]) / Dot(t, t));
      step();
    }
    ExpectNear(r.SSXSteps[g], xSteps, kTolerance);
    ExpectNear(r.SSYSteps[g], ySteps, kTolerance);
  }
}

TEST_F(AgainstPlain, ASinglePredictiveComponentKeepsItsPredictions) {
  const O2PLSCVResults r = CrossValidated(data.x, data.y, {1, 2, 0});
  Plain q2;
  ASSERT_EQ(r.YPredSets.size(), 3U);
  for (int j = 0; j <= 2; ++j) {
    q2.push_back(1.0 - YPress({1, j, 0}));
    PlainMatrix ordered = ToPlain(data.y);
    for (std::size_t g = 0; g < groups.size(); ++g) {
      ordered = plain_nipals::Joined(plain_nipals::Split(ordered, IsOut(g)).kept,
                                     Predict(groups[g].ToY({1, j, 0}), groups[g].xTest, 1, 1).target, IsOut(g));
    }
    ExpectNear(r.YPredSets[static_cast<std::size_t>(j)], ordered, kTolerance);
  }
  ExpectNear(r.Q2Start, q2, kTolerance);
  ExpectNear(r.Q2X, {q2[1], q2[2]}, kTolerance);
}

// Choice of the numbers.

/// What a block has alone disturbs the joint scores, so that it pays to take it out.
XY Overlapping(Counts n) {
  const auto at = [](int count) { return static_cast<std::size_t>(count); };
  return MadeBlocks({150, 30, 20, at(n.joint), at(n.xOrtho), at(n.yOrtho), 2.0}, 0.05, 8);
}

TEST_F(O2plsCv, FindsTheNumbersThatTheDataWereMadeWith) {
  for (const Counts n : {Counts{2, 1, 1}, Counts{1, 2, 0}, Counts{1, 0, 2}, Counts{2, 0, 0}}) {
    SCOPED_TRACE(::testing::Message() << n.joint << " + " << n.xOrtho << " + " << n.yOrtho);
    const XY data = Overlapping(n);
    const O2PLSCVResults r = CrossValidated(data.x, data.y, {kFree, kFree, kFree});
    ExpectCounts(r, n);
    EXPECT_TRUE(Same(r, CrossValidated(data.x, data.y, n)));
    EXPECT_EQ(r.GroupPress.SizeRows(), n.joint + 1);
  }
}

TEST_F(O2plsCv, AFreeSearchThatLeavesNoDoubtIsTheFixedOne) {
  // With a single column there is one predictive component at most, nothing to choose, and no second run. What was
  // tried in vain is undone: in X, where one component counts, and in Y, where none does.
  for (const bool inX : {true, false}) {
    const XY data = MadeBlocks({60, inX ? 11U : 1U, inX ? 1U : 8U, 1, inX ? 1U : 0U, 0, 2.0}, 0.1, 8);
    O2PLSCVResults r = CrossValidated(data.x, data.y, {kFree, kFree, kFree});
    ExpectCounts(r, {1, inX ? 1 : 0, 0});
    EXPECT_EQ(r.Q2X.Size(), inX ? 2 : 0);
    EXPECT_EQ(r.Q2Y.Size(), inX ? 0 : 1);
    const O2PLSCVResults fixed = CrossValidated(data.x, data.y, {1, r.XOrthoComps, 0});
    r.Q2X = fixed.Q2X;
    r.Q2Y = fixed.Q2Y;
    EXPECT_TRUE(Same(r, fixed));
  }
}

TEST_F(O2plsCv, BlocksWithoutAJointComponentEndQuietly) {
  const XY data = MadeBlocks({.joint = 0}, 1.0, 4);
  const O2PLSCVResults r = CrossValidated(data.x, data.y, {kFree, kFree, kFree});
  ExpectCounts(r, {0, -1, -1});
  EXPECT_EQ(List(r.PredSignificance), std::vector<int>{SignificanceE::kNS});
  EXPECT_EQ(CrossValidated(data.x, data.y, {0, 3, 3}).PredComps, 0);
}

TEST_F(O2plsCv, AComponentThatCountsAddsMoreThanTheLimit) {
  const XY data = Overlapping({1, 1, 0});
  const FloatVector q2 = CrossValidated(data.x, data.y, {1, 1, 0}).Q2Start;
  EXPECT_EQ(O2PLSCrossValidation::GetQ2Lim(3, 4), 0.01f);
  const float gain = q2[2] - q2[1];
  ASSERT_GT(gain, 0.01f);
  for (const bool isAbove : {true, false}) {
    SetO2PLSExternalQ2Limit(gain + (isAbove ? -1e-4f : 1e-4f));
    EXPECT_EQ(CrossValidated(data.x, data.y, {kFree, kFree, kFree}).XOrthoComps, isAbove ? 1 : 0);
  }
}

TEST_F(O2plsCv, OrthogonalComponentsHaveTheDimensionsThatAreLeft) {
  const XY data = MadeBlocks({.rows = 60, .xColumns = 2, .joint = 2, .xAlone = 0}, 0.05, 8);
  const O2PLSCVResults r = CrossValidated(data.x, data.y, {kFree, kFree, kFree});
  ASSERT_EQ(r.PredComps, 2);
  EXPECT_EQ(r.XOrthoComps, 0);
  EXPECT_EQ(r.Q2X.Size(), 0) << "none was tried";
}

TEST_F(O2plsCv, PredictiveComponentsBehindTheBestAreJudgedByResponse) {
  // Of four responses two have to gain.
  int counted = 0;
  int refused = 0;
  for (unsigned seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE(::testing::Message() << "seed " << seed);
    const XY data = MadeBlocks({.rows = 20, .xColumns = 6, .yColumns = 4, .joint = 3}, 0.5, seed);
    auto verdicts = List(Estimator(&data.x, &data.y, kGroups, nullptr, 4).GetSignificance());
    const O2PLSCVResults r = CrossValidated(data.x, data.y, {4, 0, 0});
    int last = 1;
    for (int a = 2; a <= 4; ++a) last = r.Q2[a] > r.Q2[last] ? a : last;
    for (int a = last + 1; a <= 4; ++a) {
      int& verdict = verdicts[static_cast<std::size_t>(a - 1)];
      if (verdict != SignificanceE::kR1) continue;
      int gaining = 0;
      for (int m = 1; m <= 4; ++m) gaining += r.Q2YVar[a][m] - r.Q2YVar[a - 1][m] > 0.01f ? 1 : 0;
      const bool counts = a == last + 1 && gaining >= 2;
      verdict = counts ? SignificanceE::kR2 : SignificanceE::kNS;
      ++(counts ? counted : refused);
      if (counts) last = a;
    }
    EXPECT_EQ(List(r.PredSignificance), verdicts);
  }
  EXPECT_GT(counted, 0);
  EXPECT_GT(refused, 0);
}

TEST_F(O2plsCv, AnOrthogonalComponentThatCannotBeFormedIsUndone) {
  // A single column has nothing beside its joint component.
  const XY data = MadeBlocks({.xColumns = 1, .yColumns = 1, .joint = 1, .xAlone = 0, .yAlone = 0}, 0.2, 8);
  const O2PLSCVResults r = CrossValidated(data.x, data.y, {1, 2, 2});
  EXPECT_TRUE(Same(r, CrossValidated(data.x, data.y, {1, 0, 0})));
  ExpectCounts(r, {1, 0, 0});
}

// Groups.

TEST_F(O2plsCv, AnEmptyGroupHasAModelAndNoPress) {
  const XY data = MadeBlocks({.rows = 30}, 0.3, 21);
  Groups groups = GetDeafultCVGroupsVector(30, kGroups);
  const O2PLSCVResults plain = CrossValidated(data.x, data.y, {2, 1, 1});
  for (int i = 1; i <= 30; ++i) groups(i, groups[i] < 2 ? groups[i] : groups[i] + 1);
  const O2PLSCVResults r = O2PLSCrossValidation(&data.x, &data.y, -1, nullptr, &groups, 200, 2, 1, 1).GetResults();
  EXPECT_TRUE(r.Q2 == plain.Q2 && r.Q2X == plain.Q2X && r.Q2YVar == plain.Q2YVar);
  ASSERT_EQ(r.GroupPress.SizeColumns(), kGroups + 1);
  const Estimator estimated(&data.x, &data.y, -1, &groups, 2);
  const Estimator plainlyEstimated(&data.x, &data.y, kGroups, nullptr, 2);
  EXPECT_TRUE(estimated.GetQ2() == plainlyEstimated.GetQ2() && estimated.GetQ2X() == plainlyEstimated.GetQ2X());
  for (int a = 1; a <= 3; ++a) EXPECT_EQ(r.GroupPress[a][3], 0.0f);
  EXPECT_TRUE(r.TSets[1][1] == plain.TSets[1][1]);
  EXPECT_EQ(r.TSets[1][3].GetNumMisVal(), 0);
}

// Signs.

TEST_F(O2plsCv, FlippedResultsTurnWhatBelongsTogether) {
  const XY data = MadeBlocks({.rows = 30}, 0.3, 21);
  const O2PLSCVResults whole = CrossValidated(data.x, data.y, {2, 1, 1});
  O2PLSCVResults r = whole;
  r.FlipPredictiveModel({true, false}, {true, true});
  const auto sign = [](const FloatMatrix& a, const FloatMatrix& b) { return a == b ? 1 : a == b * -1.0 ? -1 : 0; };
  using R = O2PLSCVResults;
  for (const auto set : {&R::TSets, &R::PSets, &R::WSets, &R::USets, &R::CSets, &R::QSets}) {
    const bool isOfY = set == &R::USets || set == &R::CSets || set == &R::QSets;
    EXPECT_EQ(sign((r.*set)[0], (whole.*set)[0]), -1);
    EXPECT_EQ(sign((r.*set)[1], (whole.*set)[1]), isOfY ? -1 : 1);
  }
  for (std::size_t g = 0; g < kGroups; ++g) {
    for (int b = 1; b <= 2; ++b) {
      EXPECT_EQ(r.LambdaSets[g][1][b], whole.LambdaSets[g][1][b]) << "turned twice";
      EXPECT_EQ(r.LambdaSets[g][2][b], -whole.LambdaSets[g][2][b]);
      EXPECT_EQ(r.XLambdaSets[g][b][1], whole.XLambdaSets[g][b][1]);
      EXPECT_EQ(r.XLambdaSets[g][b][2], -whole.XLambdaSets[g][b][2]);
    }
  }
  r.FlipPredictiveModel({true, false}, {true, true});
  EXPECT_TRUE(Same(r, whole));
}

// Errors, and breaking off.

TEST_F(O2plsCv, TellsWhatIsWrong) {
  const XY data = MadeBlocks({.rows = 20}, 0.3, 21);
  const auto error = [&](const FloatMatrix& x, const FloatMatrix& y, Counts n) {
    const auto [level, text] = ErrorOf([&] { CrossValidated(x, y, n); });
    EXPECT_EQ(level, NCError::Level::kGeneral);
    return text;
  };
  for (const Counts n : {Counts{-1, 0, 0}, Counts{0, -1, 0}, Counts{1, 1, -2}, Counts{1, -1, -1}}) {
    EXPECT_EQ(error(data.x, data.y, n), "O2PLSCrossValidation, all or none of the number of components must be fixed");
  }
  FloatMatrix gap = data.x;
  gap(20, 3, kGap);
  for (const bool inX : {true, false}) {
    EXPECT_EQ(error(inX ? gap : data.x, inX ? data.y : gap, {1, 0, 0}),
              "X and Y can not contain missing values in O2PLSCrossValidation::O2PLSCrossValidation");
  }
  const FloatMatrix nothing(20, 3, 0.0f);
  const FloatMatrix noColumns(20, 0, 0.0f);
  for (const FloatMatrix* const y : {&nothing, &noColumns}) {
    EXPECT_EQ(error(data.x, *y, {1, 0, 0}), "There is no correlation between X and Y.");
    EXPECT_EQ(error(*y, noColumns, {1, 0, 0}), "There is no correlation between X and Y.");
  }
  EXPECT_EQ(error(noColumns, data.y, {1, 0, 0}), "There is no correlation between X and Y.");
  // A response that varies in one group alone leaves that group's model without one.
  FloatMatrix once(20, 1, 0.0f);
  once(1, 1, 1.0f);
  const std::string notComputed =
      "Cross validation could not be computed.\nThis can be due to low variance/missing values in the X and/or Y "
      "matrices.";
  EXPECT_EQ(error(data.x, once, {1, 0, 0}), notComputed);
  EXPECT_EQ(error(nothing, data.y, {1, 0, 0}), notComputed);
  Groups groups(20, 0);
  const auto withGroups = [&] { O2PLSCrossValidation(&data.x, &data.y, 1, nullptr, &groups, 200, 1, 0, 0); };
  EXPECT_EQ(ErrorOf(withGroups), std::pair(NCError::Level::kGeneral, notComputed));
  groups = Groups(19, 0);
  EXPECT_EQ(TextOf<NCInternalError>(withGroups), "O2PLSCrossValidation::O2PLSCrossValidation");
}

/// Keeps what the caller's object shows, and not what those of single components do.
class PhaseDisplay : public RecordingDisplay {
 public:
  void ShowPosition(const ProgressView& view) override {
    if (view.title == "phases" && !view.text.empty()) RecordingDisplay::ShowPosition(view);
  }
  bool IsCancelRequested() const noexcept override {
    if (std::this_thread::get_id() != caller_) isForeign = true;
    return false;
  }

  mutable std::atomic<bool> isForeign = false;  ///< whether another thread has asked

 private:
  std::thread::id caller_ = std::this_thread::get_id();
};

TEST_F(O2plsCv, ShowsItsPhasesOnTheThreadOfTheCaller) {
  const XY data = MadeBlocks({.rows = 30}, 0.1, 21);
  const std::vector<std::string> phases = {"Estimating X-Y predictive components",
                                           "Estimating Orthogonal components in X",
                                           "Estimating Orthogonal components in Y",
                                           "Final estimation of OPLS prediction model",
                                           "Calculating CV results",
                                           "Saving CV results"};
  NCMultiThreading::ThreadingControl::SetNumberOfProcessors(3);
  NCMultiThreading::ThreadingControl::SetThreadingIsOn(true);
  const auto display = Shown<PhaseDisplay>([&] {
    NCProgress progress("", 0.0f, 1.0f, false, false, true, "phases");
    CrossValidated(data.x, data.y, {2, 1, 1}, &progress);
  });
  EXPECT_EQ(display->texts, phases);
  EXPECT_EQ(display->fractions.back(), 1.0);
  EXPECT_FALSE(display->isForeign);
}

}  // namespace
}  // namespace samples
