#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/orthogonal/plain_o2pls.h"
#include "tests/tools/value_samples.h"
#include "tools/voran/failure.h"
#include "tools/voran/o2pls_fit.h"
#include "voran/orthogonal/pls_missing_value_estimator.h"

namespace tool {
namespace {

using plain_o2pls::AddOuter;
using plain_o2pls::Dot;
using plain_o2pls::SumOfSquares;

// Iterations end at a relative change of 1e-5, and numbers are floats.
constexpr double kTolerance = 2e-4;

// Chemistry, and sensory properties.
RoleRequest OilRoles() {
  RoleRequest roles;
  roles.classes = {"class"};
  roles.variables = {"Acidity..DK"};
  roles.responses = {"yellow..syrup"};
  return roles;
}

O2plsSettings Fixed(const O2plsCounts& counts) {
  O2plsSettings settings;
  settings.counts = counts;
  return settings;
}

struct OilFit {
  Table table = ReadData("oliveoil", OilRoles());
  PlainTable x = Prepared(table.x, true);
  PlainTable y = Prepared(table.y, true);
  O2plsResult result;

  explicit OilFit(const O2plsSettings& settings) { result = FitO2pls(table, settings, nullptr); }
};

// A plain model of the rows, and its predictions.
struct Plain {
  Rows x, y;
  plain_o2pls::Model m;

  Plain(Rows rowsX, Rows rowsY, const O2plsCounts& counts)
      : x(std::move(rowsX)),
        y(std::move(rowsY)),
        m(plain_o2pls::Fit(x, y, At(counts.joint), At(counts.xOrthogonal), At(counts.yOrthogonal))) {}
  Rows PredictY(const Rows& newX) const { return Predict(ToY(m, y), newX, m.t.size(), m.t.size()).target; }
  Rows PredictX(const Rows& newY) const { return Predict(ToX(m, x), newY, m.t.size(), m.t.size()).target; }

 private:
  static std::size_t At(int count) { return static_cast<std::size_t>(count); }
};

// The share of the sum of squares of `block` that `predicted` takes.
double Explained(Rows block, const Rows& predicted) {
  const double total = SumOfSquares(block);
  for (std::size_t i = 0; i < block.size(); ++i) {
    for (std::size_t k = 0; k < block[i].size(); ++k) block[i][k] -= predicted[i][k];
  }
  return 1.0 - SumOfSquares(block) / total;
}

// Takes the components from `rest`, of which `total` was the sum of squares.
void ExpectComponents(const std::vector<BlockComponent>& got, const Rows& scores, const Rows& loadings,
                      const Rows& weights, double total, Rows& rest) {
  ASSERT_EQ(got.size(), scores.size());
  for (std::size_t a = 0; a < got.size(); ++a) {
    EXPECT_LT(LargestGap(got[a].score, scores[a]), kTolerance);
    EXPECT_LT(LargestGap(got[a].loading, loadings[a]), kTolerance);
    EXPECT_LT(LargestGap(got[a].weight, weights[a]), kTolerance);
    const double before = SumOfSquares(rest);
    AddOuter(rest, scores[a], loadings[a], -1.0);
    EXPECT_NEAR(got[a].r2, (before - SumOfSquares(rest)) / total, kTolerance);
    const double squares = Dot(scores[a], scores[a]);
    EXPECT_NEAR(got[a].eigenvalue, squares / static_cast<double>(rest.size() - 1), kTolerance * squares);
  }
}

TEST(O2plsValues, AgreeWithAPlainModel) {
  for (const O2plsCounts counts : {O2plsCounts{1, 0, 0}, {1, 2, 1}, {2, 1, 2}}) {
    SCOPED_TRACE(counts.joint * 100 + counts.xOrthogonal * 10 + counts.yOrthogonal);
    O2plsSettings settings = Fixed(counts);
    settings.isCrossValidated = false;
    const OilFit fit(settings);
    const Plain plain(fit.x.rows, fit.y.rows, counts);
    const auto expectRest = [](const O2plsBlock& got, const Rows& block, const Rows& rest, const Rows& predicted) {
      EXPECT_NEAR(got.R2Residual(), SumOfSquares(rest) / SumOfSquares(block), kTolerance);
      EXPECT_NEAR(got.r2Predicted, Explained(block, predicted), kTolerance);
    };
    const plain_o2pls::Model& m = plain.m;
    Rows rest = plain.x;
    double total = SumOfSquares(rest);
    ExpectComponents(fit.result.xBlock.orthogonal, m.to, m.po, m.wo, total, rest);
    ExpectComponents(fit.result.xBlock.joint, m.t, m.p, m.w, total, rest);
    expectRest(fit.result.xBlock, plain.x, rest, plain.PredictX(plain.y));
    rest = plain.y;
    total = SumOfSquares(rest);
    ExpectComponents(fit.result.yBlock.orthogonal, m.uo, m.qo, m.co, total, rest);
    ExpectComponents(fit.result.yBlock.joint, m.u, m.q, m.c, total, rest);
    expectRest(fit.result.yBlock, plain.y, rest, plain.PredictY(plain.x));
  }
}

TEST(O2plsValues, ResponsesAreInTheirOwnUnits) {
  const O2plsCounts counts = {1, 1, 1};
  O2plsSettings settings = Fixed(counts);
  settings.isCrossValidated = false;
  const Table raw = ReadData("oliveoil", OilRoles());
  const OilFit fit(settings);
  const Rows rawX = ToRows(raw.x);
  const Rows rawY = ToRows(raw.y);
  const Rows predicted = Plain(fit.x.rows, fit.y.rows, counts).PredictY(fit.x.rows);
  for (std::size_t m = 0; m < rawY[0].size(); ++m) {
    const ResponseFit& response = fit.result.responses[m];
    std::vector<double> fitted;
    std::vector<double> byCoefficients;
    double squares = 0.0;
    double total = 0.0;
    for (std::size_t i = 0; i < rawY.size(); ++i) {
      fitted.push_back(fit.y.means[m] + fit.y.deviations[m] * predicted[i][m]);
      byCoefficients.push_back(response.intercept);
      for (std::size_t k = 0; k < rawX[0].size(); ++k) byCoefficients[i] += response.coefficients[k] * rawX[i][k];
      squares += (rawY[i][m] - fitted[i]) * (rawY[i][m] - fitted[i]);
      total += (rawY[i][m] - fit.y.means[m]) * (rawY[i][m] - fit.y.means[m]);
    }
    EXPECT_LT(LargestGap(response.fitted, fitted), kTolerance);
    EXPECT_LT(LargestGap(byCoefficients, fitted), kTolerance);
    // One joint and one orthogonal component of X, and the mean.
    EXPECT_NEAR(response.rmsee, std::sqrt(squares / (static_cast<double>(rawY.size()) - 3.0)), 1e-2);
    EXPECT_NEAR(response.r2y, 1.0 - squares / total, kTolerance);
  }
}

TEST(O2plsValues, CrossValidationFitsModelsWithoutEachGroup) {
  for (const O2plsCounts counts : {O2plsCounts{1, 1, 1}, {2, 1, 0}}) {
    SCOPED_TRACE(counts.joint);
    O2plsSettings settings = Fixed(counts);
    settings.cvGroups = 4;
    const OilFit fit(settings);
    Rows predictedX(fit.x.rows.size());
    Rows predictedY(fit.x.rows.size());
    for (std::size_t g = 0; g < 4; ++g) {
      Rows x;
      Rows y;
      for (std::size_t i = 0; i < fit.x.rows.size(); ++i) {
        if ((i + 1) % 4 == g) continue;
        x.push_back(fit.x.rows[i]);
        y.push_back(fit.y.rows[i]);
      }
      const Plain model(x, y, counts);
      for (std::size_t i = 0; i < fit.x.rows.size(); ++i) {
        if ((i + 1) % 4 != g) continue;
        predictedX[i] = model.PredictX({fit.y.rows[i]})[0];
        predictedY[i] = model.PredictY({fit.x.rows[i]})[0];
      }
    }
    ASSERT_TRUE(fit.result.cv);
    const double q2Y = Explained(fit.y.rows, predictedY);
    EXPECT_NEAR(fit.result.cv->q2Y, q2Y, 10 * kTolerance);
    EXPECT_NEAR(fit.result.cv->joint.back().q2Cumulative, q2Y, 10 * kTolerance);
    EXPECT_NEAR(fit.result.cv->q2X, Explained(fit.x.rows, predictedX), 10 * kTolerance);
    for (std::size_t m = 0; m < fit.y.means.size(); ++m) {
      std::vector<double> expected;
      double squares = 0.0;
      for (std::size_t i = 0; i < predictedY.size(); ++i) {
        expected.push_back(fit.y.means[m] + fit.y.deviations[m] * predictedY[i][m]);
        const double error = fit.y.deviations[m] * (predictedY[i][m] - fit.y.rows[i][m]);
        squares += error * error;
      }
      const ResponseFit& response = fit.result.responses[m];
      EXPECT_LT(LargestGap(response.predictedCv, expected), 10 * kTolerance);
      const double rmsecv = std::sqrt(squares / static_cast<double>(predictedY.size()));
      EXPECT_NEAR(response.rmsecv, rmsecv, 10 * kTolerance * rmsecv);
    }
  }
}

std::vector<double> Wave(int waves) {
  std::vector<double> wave(60);
  for (std::size_t i = 0; i < wave.size(); ++i) {
    wave[i] = std::cos(2.0 * M_PI * waves * static_cast<double>(i) / 60.0);
  }
  return wave;
}

// Two blocks of 60 rows that have one wave in common, and another one each alone.
Table KnownParts() {
  std::mt19937 engine(7);
  std::normal_distribution<double> noise(0.0, 0.05);
  std::string text = "x1,x2,x3,x4,x5,x6,x7,x8,y1,y2,y3,y4,y5,y6\n";
  const double joint[] = {1, -1, 0.5, 1, 0, 0, 1, -0.5, 1, 1, -1, 0.5, 0, 1};
  const double alone[] = {1, 1, -1, 0, 1, 1, 0, 1, 1, -1, 0, 1, 1, 0.5};
  for (std::size_t i = 0; i < 60; ++i) {
    for (std::size_t k = 0; k < 14; ++k) {
      const double value = Wave(1)[i] * joint[k] + Wave(k < 8 ? 7 : 11)[i] * alone[k] + noise(engine);
      text += std::to_string(value) + (k < 13 ? "," : "\n");
    }
  }
  RoleRequest roles;
  roles.responses = {"y1..y6"};
  return TableOf(text, roles);
}

// Of a score with a wave; both have mean 0, about.
double Likeness(const std::vector<double>& score, const std::vector<double>& wave) {
  return std::abs(Dot(score, wave)) / std::sqrt(Dot(score, score) * Dot(wave, wave));
}

TEST(O2plsValues, CrossValidationFindsThePartsThatTheDataHave) {
  Table table = KnownParts();
  const O2plsResult result = FitO2pls(table, {}, nullptr);
  const O2plsBlock& x = result.xBlock;
  const O2plsBlock& y = result.yBlock;
  ASSERT_EQ(x.joint.size(), 1u);
  ASSERT_GE(x.orthogonal.size(), 1u);
  ASSERT_GE(y.orthogonal.size(), 1u);
  for (const O2plsBlock* block : {&x, &y}) {
    EXPECT_GT(Likeness(block->joint[0].score, Wave(1)), 0.99);
    EXPECT_GT(Likeness(block->orthogonal[0].score, Wave(block == &x ? 7 : 11)), 0.98);
    EXPECT_GT(block->orthogonal[0].r2, 0.95 * block->r2Orthogonal);  // what else was found is noise
    EXPECT_LT(block->R2Residual(), 0.02);
  }
}

TEST(O2plsValues, GapsAreFilledAsTheLibraryDoesIt) {
  Table table = ReadData("oliveoil", OilRoles());
  table.x(2, 3, kGap);
  table.x(7, 1, kGap);
  table.y(5, 2, kGap);
  O2plsSettings settings = Fixed({1, 0, 0});
  settings.isCrossValidated = false;
  Table refused = table;
  EXPECT_THROW(FitO2pls(refused, settings, nullptr), Failure);
  settings.isFilled = true;
  RegressionResult prepared;
  Table copy = table;
  RegressionData data = PrepareRegression(copy, settings, prepared);
  PLSMissingValueEstimator(data.x, data.y, true, nullptr);
  const O2plsResult result = FitO2pls(table, settings, nullptr);
  EXPECT_EQ(result.xBlock.filled.cells, 2);
  EXPECT_EQ(result.yBlock.filled.cells, 1);
  const Plain plain(ToRows(data.x), ToRows(data.y), {1, 0, 0});
  EXPECT_LT(LargestGap(result.xBlock.joint[0].score, plain.m.t[0]), kTolerance);
  EXPECT_LT(LargestGap(result.yBlock.joint[0].score, plain.m.u[0]), kTolerance);
}

}  // namespace
}  // namespace tool
