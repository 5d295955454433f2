#include "voran/orthogonal/o2pls_cross_validation.h"

#include <atomic>
#include <cmath>
#include <cstddef>
#include <memory>
#include <string>
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

namespace {

using NCMultiThreading::ThreadingControl;
using plain_o2pls::Predict;
using plain_o2pls::Side;
using samples::Blocks;
using samples::BlockSizes;
using samples::ExpectNear;
using samples::ExpectSame;
using samples::FloatMatrix;
using samples::FloatVector;
using samples::kGap;
using samples::MadeBlocks;
using samples::PlainMatrix;
using samples::ToPlain;
using Groups = NCIntegralVector<int, -99>;
using Values = std::vector<double>;

/// An iterate stops within a relative squared change of 1e-10, and float elements lose a digit with each deflation.
constexpr double kTolerance = 1e-3;
constexpr int kFree = -1;
constexpr int kGroups = 5;

struct Counts {
  int joint, xOrtho, yOrtho;
};

class O2plsCv : public ::testing::Test {
 protected:
  void TearDown() override {
    NCProgress::SetDisplay(nullptr);
    ThreadingControl::Reset();
    SetO2PLSExternalQ2Limit(kGap);
  }
};

O2PLSCVResults CrossValidated(const FloatMatrix& x, const FloatMatrix& y, Counts n, NCProgress* progress = nullptr,
                              int groups = kGroups) {
  return O2PLSCrossValidation(&x, &y, groups, progress, nullptr, 200, n.joint, n.xOrtho, n.yOrtho).GetResults();
}

/// All fields that hold numbers of the models, to compare two results.
std::vector<FloatMatrix> AllOf(const O2PLSCVResults& r) {
  std::vector<FloatMatrix> all = {r.Q2YVar, r.GroupPress};
  const auto row = [&](const FloatVector& v) { all.emplace_back().push_back(v); };
  for (const FloatVector* v : {&r.Q2, &r.Q2X, &r.Q2Y, &r.Q2Start}) row(*v);
  for (const auto* steps : {&r.SSXSteps, &r.SSYSteps}) {
    for (const FloatVector& v : *steps) row(v);
  }
  for (const auto* sets :
       {&r.TSets, &r.USets, &r.PSets, &r.WSets, &r.CSets, &r.QSets, &r.SSets, &r.RSets, &r.ToSets, &r.PoSets, &r.WoSets,
        &r.UoSets, &r.CoSets, &r.QoSets, &r.LambdaSets, &r.XLambdaSets, &r.YPredSets}) {
    all.insert(all.end(), sets->begin(), sets->end());
  }
  for (const auto* verdicts : {&r.PredSignificance, &r.XOrthoSignificance, &r.YOrthoSignificance}) {
    FloatVector v(verdicts->Size());
    for (int i = 1; i <= v.Size(); ++i) v(i, static_cast<float>((*verdicts)[i]));
    row(v);
  }
  return all;
}

void ExpectSameResults(const O2PLSCVResults& a, const O2PLSCVResults& b) {
  EXPECT_EQ(a.PredComps, b.PredComps);
  EXPECT_EQ(a.XOrthoComps, b.XOrthoComps);
  EXPECT_EQ(a.YOrthoComps, b.YOrthoComps);
  ExpectSame(AllOf(a), AllOf(b));
}

std::vector<int> List(const NCIntegralVector<int, -99>& v) {
  return {v.begin(), v.end()};
}

// The oracle: a plain fit for each group and each number of components, with nothing carried over.

Side ForY(const plain_o2pls::Model& m, const PlainMatrix& y) {
  Side side{m.t, m.w, m.p, m.u, m.q, m.wo, m.po, {}};
  for (const Values& t : m.to) side.toTarget.push_back(plain_o2pls::ColumnSlopes(y, t));
  return side;
}

Side ForX(const plain_o2pls::Model& m, const PlainMatrix& x) {
  Side side{m.u, m.c, m.q, m.t, m.p, m.co, m.qo, {}};
  for (const Values& u : m.uo) side.toTarget.push_back(plain_o2pls::ColumnSlopes(x, u));
  return side;
}

struct PlainGroup {
  PlainMatrix x, y, xTest, yTest;

  plain_o2pls::Model Fit(Counts n) const {
    return plain_o2pls::Fit(x, y, static_cast<std::size_t>(n.joint), static_cast<std::size_t>(n.xOrtho),
                            static_cast<std::size_t>(n.yOrtho));
  }
};

std::vector<PlainGroup> Split(const Blocks& data) {
  const Groups groups = GetDeafultCVGroupsVector(data.x.SizeRows(), kGroups);
  std::vector<PlainGroup> split(kGroups);
  for (int i = 1; i <= data.x.SizeRows(); ++i) {
    for (int g = 0; g < kGroups; ++g) {
      PlainGroup& group = split[static_cast<std::size_t>(g)];
      (groups[i] == g ? group.xTest : group.x).push_back(ToPlain(data.x[i]));
      (groups[i] == g ? group.yTest : group.y).push_back(ToPlain(data.y[i]));
    }
  }
  return split;
}

PlainMatrix Difference(PlainMatrix a, const PlainMatrix& b) {
  for (std::size_t i = 0; i < a.size(); ++i) {
    for (std::size_t j = 0; j < a[i].size(); ++j) a[i][j] -= b[i][j];
  }
  return a;
}

double YPress(const std::vector<PlainGroup>& groups, Counts n) {
  const auto all = static_cast<std::size_t>(n.joint);
  double press = 0.0;
  for (const PlainGroup& g : groups) {
    const Side side = ForY(g.Fit(n), g.y);
    press += plain_o2pls::SumOfSquares(Difference(Predict(side, g.xTest, all, all).target, g.yTest));
  }
  return press;
}

double XPress(const std::vector<PlainGroup>& groups, Counts n) {
  const auto all = static_cast<std::size_t>(n.joint);
  double press = 0.0;
  for (const PlainGroup& g : groups) {
    const Side side = ForX(g.Fit(n), g.x);
    press += plain_o2pls::SumOfSquares(Difference(Predict(side, g.yTest, all, all).target, g.xTest));
  }
  return press;
}

/// Row g of a set holds what a group's model, or its prediction of the rows left out, has for component a.
void ExpectRowUpToSign(const FloatVector& row, const Values& model, const Values& leftOut, std::size_t group,
                       double& sign) {
  Values expected;
  const Groups groups = GetDeafultCVGroupsVector(row.Size(), kGroups);
  std::size_t next = 0;
  std::size_t nextOut = 0;
  for (int i = 1; i <= row.Size(); ++i) {
    const bool isOut = !leftOut.empty() && groups[i] == static_cast<int>(group);
    expected.push_back(isOut ? leftOut[nextOut++] : model[next++]);
  }
  if (sign == 0.0) sign = plain_o2pls::Dot(ToPlain(row), expected) < 0.0 ? -1.0 : 1.0;
  plain_o2pls::Scale(expected, sign);
  ExpectNear(row, expected, kTolerance);
}

class AgainstPlain : public O2plsCv {
 protected:
  Blocks data = MadeBlocks({.rows = 30}, 0.3, 21);
  std::vector<PlainGroup> groups = Split(data);
  double ssX = plain_o2pls::SumOfSquares(ToPlain(data.x));
  double ssY = plain_o2pls::SumOfSquares(ToPlain(data.y));
};

TEST_F(AgainstPlain, MeasuresOfFit) {
  const Counts n{2, 2, 1};
  const O2PLSCVResults r = CrossValidated(data.x, data.y, n);
  Values q2;
  PlainMatrix q2YVar;
  PlainMatrix groupPress(3, Values(kGroups));
  for (std::size_t a = 1; a <= 2; ++a) {
    Values press(static_cast<std::size_t>(data.y.SizeColumns()));
    for (std::size_t g = 0; g < groups.size(); ++g) {
      const Side side = ForY(groups[g].Fit(n), groups[g].y);
      const PlainMatrix errors = Difference(Predict(side, groups[g].xTest, a, a).target, groups[g].yTest);
      for (const Values& row : errors) {
        for (std::size_t m = 0; m < row.size(); ++m) press[m] += row[m] * row[m];
      }
      groupPress[0][g] = plain_o2pls::SumOfSquares(groups[g].yTest);
      groupPress[a][g] =
          plain_o2pls::SumOfSquares(Difference(Predict(side, groups[g].xTest, 2, a).target, groups[g].yTest));
    }
    double total = 0.0;
    q2YVar.emplace_back();
    for (std::size_t m = 0; m < press.size(); ++m) {
      total += press[m];
      q2YVar.back().push_back(1.0 - press[m] / data.y.GetColumnSS(static_cast<int>(m) + 1, 0.0));
    }
    q2.push_back(1.0 - total / ssY);
  }
  ExpectNear(r.Q2, q2, kTolerance);
  ExpectNear(r.Q2YVar, q2YVar, kTolerance);
  ExpectNear(r.GroupPress, groupPress, kTolerance);
  ExpectNear(r.Q2X, {1.0 - YPress(groups, {2, 1, 1}) / ssY, 1.0 - YPress(groups, {2, 2, 1}) / ssY}, kTolerance);
  ExpectNear(r.Q2Y, {1.0 - XPress(groups, {2, 2, 1}) / ssX}, kTolerance);
  const auto verdict = [](double before, double after) {
    return before - after > 0.01 ? SignificanceE::kR1 : SignificanceE::kNS;
  };
  EXPECT_EQ(List(r.XOrthoSignificance),
            (std::vector<int>{verdict(YPress(groups, {2, 0, 1}) / ssY, YPress(groups, {2, 1, 1}) / ssY),
                              verdict(YPress(groups, {2, 1, 1}) / ssY, YPress(groups, {2, 2, 1}) / ssY)}));
  EXPECT_EQ(List(r.YOrthoSignificance),
            std::vector<int>{verdict(XPress(groups, {2, 2, 0}) / ssX, XPress(groups, {2, 2, 1}) / ssX)});
  EXPECT_EQ(r.PredComps, 2);
  EXPECT_EQ(r.XOrthoComps, 2);
  EXPECT_EQ(r.YOrthoComps, 1);
  EXPECT_EQ(r.Q2Start.Size(), 0);
  EXPECT_TRUE(r.YPredSets.empty());
}

TEST_F(AgainstPlain, TheSecondSearchInXStartsBesideTheComponentsOfY) {
  const double with = YPress(groups, {2, 1, 1}) / ssY;
  const double beside = YPress(groups, {2, 0, 1}) / ssY - with;
  const double alone = YPress(groups, {2, 0, 0}) / ssY - with;
  ASSERT_GT(std::abs(beside - alone), 3e-4) << "the limit has to fit between";
  SetO2PLSExternalQ2Limit(static_cast<float>((beside + alone) / 2.0));
  const O2PLSCVResults r = CrossValidated(data.x, data.y, {2, 1, 1});
  EXPECT_EQ(r.XOrthoSignificance[1], beside > alone ? SignificanceE::kR1 : SignificanceE::kNS);
}

TEST_F(AgainstPlain, Sets) {
  const O2PLSCVResults r = CrossValidated(data.x, data.y, {2, 2, 1});
  for (std::size_t g = 0; g < groups.size(); ++g) {
    SCOPED_TRACE(::testing::Message() << "group " << g);
    const int row = static_cast<int>(g) + 1;
    const plain_o2pls::Model m = groups[g].Fit({2, 2, 1});
    const Side toY = ForY(m, groups[g].y);
    const Side toX = ForX(m, groups[g].x);
    const plain_o2pls::Prediction y = Predict(toY, groups[g].xTest, 2, 2);
    const plain_o2pls::Prediction x = Predict(toX, groups[g].yTest, 2, 2);
    const auto expectSets = [&](const std::vector<const std::vector<FloatMatrix>*>& sets,
                                const std::vector<const PlainMatrix*>& fitted, const PlainMatrix& leftOut) {
      ASSERT_EQ(sets.front()->size(), fitted.front()->size());
      for (std::size_t a = 0; a < fitted.front()->size(); ++a) {
        double sign = 0.0;
        for (std::size_t k = 0; k < sets.size(); ++k) {
          SCOPED_TRACE(::testing::Message() << "set " << k << ", component " << a);
          ASSERT_EQ((*sets[k])[a].SizeRows(), kGroups);
          ExpectRowUpToSign((*sets[k])[a][row], (*fitted[k])[a], k == 0 ? leftOut[a] : Values(), g, sign);
        }
      }
    };
    expectSets({&r.TSets, &r.WSets, &r.PSets}, {&m.t, &m.w, &m.p}, y.scores);
    expectSets({&r.USets, &r.CSets, &r.QSets}, {&m.u, &m.c, &m.q}, x.scores);
    expectSets({&r.ToSets, &r.WoSets, &r.PoSets, &r.SSets}, {&m.to, &m.wo, &m.po, &toY.toTarget}, y.orthoScores);
    expectSets({&r.UoSets, &r.CoSets, &r.QoSets, &r.RSets}, {&m.uo, &m.co, &m.qo, &toX.toTarget}, x.orthoScores);
    // The inner relations, with the signs that the scores have.
    const auto scores = [&](const std::vector<FloatMatrix>& sets) {
      PlainMatrix all;
      for (const FloatMatrix& set : sets) {
        all.emplace_back();
        const Groups cv = GetDeafultCVGroupsVector(30, kGroups);
        for (int i = 1; i <= 30; ++i) {
          if (cv[i] != static_cast<int>(g)) all.back().push_back(set[row][i]);
        }
      }
      return all;
    };
    const PlainMatrix t = scores(r.TSets);
    const PlainMatrix u = scores(r.USets);
    for (int a = 1; a <= 2; ++a) {
      for (int b = 1; b <= 2; ++b) {
        const Values& ta = t[static_cast<std::size_t>(a - 1)];
        const Values& ub = u[static_cast<std::size_t>(b - 1)];
        const double product = plain_o2pls::Dot(ta, ub);
        EXPECT_NEAR(r.LambdaSets[g][a][b], product / plain_o2pls::Dot(ta, ta), kTolerance);
        EXPECT_NEAR(r.XLambdaSets[g][b][a], product / plain_o2pls::Dot(ub, ub), kTolerance);
      }
    }
  }
  for (const auto* sets : {&r.PSets, &r.CSets, &r.PoSets, &r.CoSets}) {
    for (const FloatMatrix& set : *sets) {
      for (const FloatVector& row : set) EXPECT_GT(samples::Dot(row, set[1]), 0.0) << "the signs of the first group";
    }
  }
}

TEST_F(AgainstPlain, SumsOfSquaresStepByStep) {
  const O2PLSCVResults r = CrossValidated(data.x, data.y, {2, 1, 1});
  using namespace plain_o2pls;
  for (std::size_t g = 0; g < groups.size(); ++g) {
    const plain_o2pls::Model m = groups[g].Fit({2, 1, 1});
    PlainMatrix x = groups[g].x;
    PlainMatrix y = groups[g].y;
    Values xSteps{SumOfSquares(x)};
    Values ySteps{SumOfSquares(y)};
    const auto step = [&] {
      xSteps.push_back(SumOfSquares(x));
      ySteps.push_back(SumOfSquares(y));
    };
    AddOuter(x, m.to[0], m.po[0], -1.0);
    AddOuter(y, m.to[0], ColumnSlopes(groups[g].y, m.to[0]), -1.0);
    step();
    for (std::size_t b = 0; b < 2; ++b) {
      AddOuter(x, m.t[b], m.p[b], -1.0);
      for (const Values& t : m.t) AddOuter(y, t, m.q[b], -Dot(t, m.u[b]) / Dot(t, t));
      step();
    }
    ExpectNear(r.SSXSteps[g], xSteps, kTolerance);
    ExpectNear(r.SSYSteps[g], ySteps, kTolerance);
  }
}

TEST_F(AgainstPlain, ASinglePredictiveComponentKeepsItsPredictions) {
  const O2PLSCVResults r = CrossValidated(data.x, data.y, {1, 2, 0});
  Values q2;
  ASSERT_EQ(r.YPredSets.size(), 3U);
  for (int j = 0; j <= 2; ++j) {
    q2.push_back(1.0 - YPress(groups, {1, j, 0}) / ssY);
    const Groups cv = GetDeafultCVGroupsVector(30, kGroups);
    std::vector<PlainMatrix> predicted;
    for (const PlainGroup& g : groups) {
      predicted.push_back(Predict(ForY(g.Fit({1, j, 0}), g.y), g.xTest, 1, 1).target);
    }
    std::vector<std::size_t> next(kGroups);
    PlainMatrix ordered;
    for (int i = 1; i <= 30; ++i) {
      const auto g = static_cast<std::size_t>(cv[i]);
      ordered.push_back(predicted[g][next[g]++]);
    }
    ExpectNear(r.YPredSets[static_cast<std::size_t>(j)], ordered, kTolerance);
  }
  ExpectNear(r.Q2Start, q2, kTolerance);
  ExpectNear(r.Q2X, {q2[1], q2[2]}, kTolerance);
}

// Choice of the numbers.

TEST_F(O2plsCv, FindsTheNumbersThatTheDataWereMadeWith) {
  for (const Counts n : {Counts{2, 1, 1}, Counts{1, 2, 0}, Counts{1, 0, 2}, Counts{2, 0, 0}}) {
    SCOPED_TRACE(::testing::Message() << n.joint << " + " << n.xOrtho << " + " << n.yOrtho);
    // What a block has alone disturbs the joint scores, so that it pays to take it out.
    const Blocks data = MadeBlocks({.rows = 150,
                                    .xColumns = 30,
                                    .yColumns = 20,
                                    .joint = static_cast<std::size_t>(n.joint),
                                    .xAlone = static_cast<std::size_t>(n.xOrtho),
                                    .yAlone = static_cast<std::size_t>(n.yOrtho),
                                    .overlap = 2.0},
                                   0.05, 8);
    const O2PLSCVResults r = CrossValidated(data.x, data.y, {kFree, kFree, kFree});
    EXPECT_EQ(r.PredComps, n.joint);
    EXPECT_EQ(r.XOrthoComps, n.xOrtho);
    EXPECT_EQ(r.YOrthoComps, n.yOrtho);
    ExpectSameResults(r, CrossValidated(data.x, data.y, n));
    EXPECT_EQ(r.GroupPress.SizeRows(), n.joint + 1);
  }
}

TEST_F(O2plsCv, AFreeSearchThatLeavesNoDoubtIsTheFixedOne) {
  // With a single column there is one predictive component at most, nothing to choose, and no second run. What was
  // tried in vain is undone: in X, where one component counts, and in Y, where none does.
  for (const bool inX : {true, false}) {
    const BlockSizes sizes = {.rows = 60,
                              .xColumns = inX ? 11U : 1U,
                              .yColumns = inX ? 1U : 8U,
                              .joint = 1,
                              .xAlone = inX ? 1U : 0U,
                              .yAlone = 0,
                              .overlap = 2.0};
    const Blocks data = MadeBlocks(sizes, 0.1, 8);
    O2PLSCVResults r = CrossValidated(data.x, data.y, {kFree, kFree, kFree});
    EXPECT_EQ(r.PredComps, 1);
    EXPECT_EQ(r.XOrthoComps, inX ? 1 : 0);
    EXPECT_EQ(r.YOrthoComps, 0);
    EXPECT_EQ(r.Q2X.Size(), inX ? 2 : 0);
    EXPECT_EQ(r.Q2Y.Size(), inX ? 0 : 1);
    const O2PLSCVResults fixed = CrossValidated(data.x, data.y, {1, r.XOrthoComps, 0});
    r.Q2X = fixed.Q2X;
    r.Q2Y = fixed.Q2Y;
    ExpectSameResults(r, fixed);
  }
}

TEST_F(O2plsCv, BlocksWithoutAJointComponentEndQuietly) {
  const Blocks data = MadeBlocks({.joint = 0}, 1.0, 4);
  const O2PLSCVResults r = CrossValidated(data.x, data.y, {kFree, kFree, kFree});
  EXPECT_EQ(r.PredComps, 0);
  EXPECT_EQ(r.XOrthoComps, -1);
  EXPECT_EQ(r.YOrthoComps, -1);
  EXPECT_EQ(List(r.PredSignificance), std::vector<int>{SignificanceE::kNS});
  EXPECT_EQ(CrossValidated(data.x, data.y, {0, 3, 3}).PredComps, 0);
}

TEST_F(O2plsCv, AComponentThatCountsAddsMoreThanTheLimit) {
  const Blocks data = MadeBlocks(
      {.rows = 150, .xColumns = 30, .yColumns = 20, .joint = 1, .xAlone = 1, .yAlone = 0, .overlap = 2.0}, 0.05, 8);
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
  const Blocks data = MadeBlocks({.rows = 60, .xColumns = 2, .joint = 2, .xAlone = 0}, 0.05, 8);
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
    const Blocks data = MadeBlocks({.rows = 20, .xColumns = 6, .yColumns = 4, .joint = 3}, 0.5, seed);
    auto verdicts = List(O2PLSPredictiveComponentEstimator(&data.x, &data.y, kGroups, nullptr, 4).GetSignificance());
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
  const Blocks data = MadeBlocks({.xColumns = 1, .yColumns = 1, .joint = 1, .xAlone = 0, .yAlone = 0}, 0.2, 8);
  const O2PLSCVResults r = CrossValidated(data.x, data.y, {1, 2, 2});
  ExpectSameResults(r, CrossValidated(data.x, data.y, {1, 0, 0}));
  EXPECT_EQ(r.XOrthoComps, 0);
  EXPECT_EQ(r.YOrthoComps, 0);
}

// Groups.

TEST_F(O2plsCv, AnEmptyGroupHasAModelAndNoPress) {
  const Blocks data = MadeBlocks({.rows = 30}, 0.3, 21);
  Groups groups = GetDeafultCVGroupsVector(30, kGroups);
  const O2PLSCVResults plain = CrossValidated(data.x, data.y, {2, 1, 1});
  for (int i = 1; i <= 30; ++i) groups(i, groups[i] < 2 ? groups[i] : groups[i] + 1);
  const O2PLSCVResults r = O2PLSCrossValidation(&data.x, &data.y, -1, nullptr, &groups, 200, 2, 1, 1).GetResults();
  EXPECT_TRUE(r.Q2 == plain.Q2);
  EXPECT_TRUE(r.Q2X == plain.Q2X);
  EXPECT_TRUE(r.Q2YVar == plain.Q2YVar);
  ASSERT_EQ(r.GroupPress.SizeColumns(), kGroups + 1);
  for (int a = 1; a <= 3; ++a) EXPECT_EQ(r.GroupPress[a][3], 0.0f);
  EXPECT_TRUE(r.TSets[1][1] == plain.TSets[1][1]);
  EXPECT_EQ(r.TSets[1][3].GetNumMisVal(), 0);
}

// Signs.

TEST_F(O2plsCv, FlippedResultsTurnWhatBelongsTogether) {
  const Blocks data = MadeBlocks({.rows = 30}, 0.3, 21);
  const O2PLSCVResults whole = CrossValidated(data.x, data.y, {2, 1, 1});
  O2PLSCVResults r = whole;
  r.FlipPredictiveModel({true, false}, {true, true});
  const auto sign = [](const FloatMatrix& a, const FloatMatrix& b) { return a == b ? 1 : a == b * -1.0 ? -1 : 0; };
  const auto signs = [&](const std::vector<FloatMatrix>& a, const std::vector<FloatMatrix>& b) {
    return std::vector<int>{sign(a[0], b[0]), sign(a[1], b[1])};
  };
  for (const auto set : {&O2PLSCVResults::TSets, &O2PLSCVResults::PSets, &O2PLSCVResults::WSets}) {
    EXPECT_EQ(signs(r.*set, whole.*set), (std::vector<int>{-1, 1}));
  }
  for (const auto set : {&O2PLSCVResults::USets, &O2PLSCVResults::CSets, &O2PLSCVResults::QSets}) {
    EXPECT_EQ(signs(r.*set, whole.*set), (std::vector<int>{-1, -1}));
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
  ExpectSameResults(r, whole);
}

// Errors, and breaking off.

/// The text of the error of level 2; of another outcome, which one it was.
template <class Work>
std::string ErrorOf(const Work& work) {
  try {
    work();
  } catch (const NCError& error) {
    return error.GetLevel() == NCError::Level::kGeneral ? error.what() : "another level";
  } catch (const NCInternalError& error) {
    return std::string("internal ") + error.what();
  }
  return "nothing thrown";
}

TEST_F(O2plsCv, TellsWhatIsWrong) {
  const Blocks data = MadeBlocks({.rows = 20}, 0.3, 21);
  const auto error = [&](const FloatMatrix& x, const FloatMatrix& y, Counts n) {
    return ErrorOf([&] { CrossValidated(x, y, n); });
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
  EXPECT_EQ(ErrorOf([&] { O2PLSCrossValidation(&data.x, &data.y, 1, nullptr, &groups, 200, 1, 0, 0); }), notComputed);
  groups = Groups(19, 0);
  EXPECT_EQ(ErrorOf([&] { O2PLSCrossValidation(&data.x, &data.y, 1, nullptr, &groups, 200, 1, 0, 0); }),
            "internal O2PLSCrossValidation::O2PLSCrossValidation");
}

/// Keeps what the caller's object shows, and not what those of single components do.
class PhaseDisplay : public samples::RecordingDisplay {
 public:
  void ShowPosition(const ProgressView& view) override {
    if (view.title == "phases" && !view.text.empty()) samples::RecordingDisplay::ShowPosition(view);
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
  const Blocks data = MadeBlocks({.rows = 30}, 0.1, 21);
  const std::vector<std::string> phases = {"Estimating X-Y predictive components",
                                           "Estimating Orthogonal components in X",
                                           "Estimating Orthogonal components in Y",
                                           "Final estimation of OPLS prediction model",
                                           "Calculating CV results",
                                           "Saving CV results"};
  ThreadingControl::SetNumberOfProcessors(3);
  ThreadingControl::SetThreadingIsOn(true);
  const auto display = std::make_shared<PhaseDisplay>();
  NCProgress::SetDisplay(display);
  NCProgress progress("", 0.0f, 1.0f, false, false, true, "phases");
  CrossValidated(data.x, data.y, {2, 1, 1}, &progress);
  EXPECT_EQ(display->texts, phases);
  EXPECT_EQ(display->fractions.back(), 1.0);
  EXPECT_FALSE(display->isForeign);
}

}  // namespace
