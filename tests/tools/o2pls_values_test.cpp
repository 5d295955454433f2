#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/tools/plain_o2pls.h"
#include "tests/tools/value_samples.h"
#include "tools/voran/failure.h"
#include "tools/voran/o2pls_fit.h"
#include "voran/orthogonal/pls_missing_value_estimator.h"

namespace tool {
namespace {

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

void ExpectComponents(const std::vector<BlockComponent>& got, const std::vector<PlainComponent>& expected,
                      const std::vector<double>& shares, double degreesOfFreedom) {
  ASSERT_EQ(got.size(), expected.size());
  for (std::size_t a = 0; a < got.size(); ++a) {
    EXPECT_LT(LargestGap(got[a].score, expected[a].score), kTolerance);
    EXPECT_LT(LargestGap(got[a].loading, expected[a].loading), kTolerance);
    EXPECT_LT(LargestGap(got[a].weight, expected[a].weight), kTolerance);
    EXPECT_NEAR(got[a].r2, shares[a], kTolerance);
    double squares = 0.0;
    for (const double t : expected[a].score) squares += t * t;
    EXPECT_NEAR(got[a].eigenvalue, squares / degreesOfFreedom, kTolerance * squares);
  }
}

TEST(O2plsValues, AgreeWithAPlainModel) {
  for (const O2plsCounts counts : {O2plsCounts{1, 0, 0}, {1, 2, 1}, {2, 1, 2}}) {
    SCOPED_TRACE(counts.joint * 100 + counts.xOrthogonal * 10 + counts.yOrthogonal);
    O2plsSettings settings = Fixed(counts);
    settings.isCrossValidated = false;
    const OilFit fit(settings);
    const PlainO2pls plain(fit.x.rows, fit.y.rows, counts.joint, counts.xOrthogonal, counts.yOrthogonal);
    const double n = static_cast<double>(fit.x.rows.size());
    const auto expectBlock = [&](const O2plsBlock& got, const PlainBlock& expected, const Rows& block,
                                 const Rows& predicted) {
      const auto [orthogonal, joint] = expected.Shares(block);
      ExpectComponents(got.orthogonal, expected.orthogonal, orthogonal, n - 1.0);
      ExpectComponents(got.joint, expected.joint, joint, n - 1.0);
      double left = 1.0;
      for (const double share : orthogonal) left -= share;
      for (const double share : joint) left -= share;
      EXPECT_NEAR(got.R2Residual(), left, kTolerance);
      EXPECT_NEAR(got.r2Predicted, 1.0 - SquaredDistance(block, predicted) / SquaredDistance(block, {}), kTolerance);
    };
    expectBlock(fit.result.xBlock, plain.x, fit.x.rows, plain.PredictX(fit.y.rows));
    expectBlock(fit.result.yBlock, plain.y, fit.y.rows, plain.PredictY(fit.x.rows));
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
  const Rows predicted = PlainO2pls(fit.x.rows, fit.y.rows, 1, 1, 1).PredictY(fit.x.rows);
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
      const PlainO2pls model(x, y, counts.joint, counts.xOrthogonal, counts.yOrthogonal);
      for (std::size_t i = 0; i < fit.x.rows.size(); ++i) {
        if ((i + 1) % 4 != g) continue;
        predictedX[i] = model.PredictX({fit.y.rows[i]})[0];
        predictedY[i] = model.PredictY({fit.x.rows[i]})[0];
      }
    }
    ASSERT_TRUE(fit.result.cv);
    const double q2Y = 1.0 - SquaredDistance(fit.y.rows, predictedY) / SquaredDistance(fit.y.rows, {});
    EXPECT_NEAR(fit.result.cv->q2Y, q2Y, 10 * kTolerance);
    EXPECT_NEAR(fit.result.cv->joint.back().q2Cumulative, q2Y, 10 * kTolerance);
    EXPECT_NEAR(fit.result.cv->q2X, 1.0 - SquaredDistance(fit.x.rows, predictedX) / SquaredDistance(fit.x.rows, {}),
                10 * kTolerance);
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
  const PlainO2pls plain(ToRows(data.x), ToRows(data.y), 1, 0, 0);
  EXPECT_LT(LargestGap(result.xBlock.joint[0].score, plain.x.joint[0].score), kTolerance);
  EXPECT_LT(LargestGap(result.yBlock.joint[0].score, plain.y.joint[0].score), kTolerance);
}

}  // namespace
}  // namespace tool
