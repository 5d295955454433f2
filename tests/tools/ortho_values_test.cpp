#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "tests/tools/value_samples.h"
#include "tools/voran/component_numbers.h"
#include "tools/voran/failure.h"
#include "tools/voran/opls_fit.h"
#include "tools/voran/ortho_fit.h"
#include "tools/voran/pls_fit.h"
#include "tools/voran/yopls_fit.h"
#include "voran/models/cv_groups.h"
#include "voran/models/cv_split.h"
#include "voran/models/pls.h"
#include "voran/models/row_prediction.h"
#include "voran/orthogonal/opls_cross_validation.h"
#include "voran/orthogonal/y_orthogonal_pls.h"

namespace tool {
namespace {

using Plain = std::vector<double>;

constexpr double kTolerance = 1e-4;  // roundings of floats through several deflations

struct Case {
  const char* data;
  RoleRequest roles;
  int components;
  int ortho;
  const char* what;
};

RoleRequest Roles(const std::vector<std::string>& responses, const std::vector<std::string>& variables = {}) {
  RoleRequest roles;
  roles.responses = responses;
  roles.variables = variables;
  return roles;
}

const std::vector<Case>& Cases() {
  static const std::vector<Case> cases = {{"gasoline", Roles({"octane"}), 1, 3, "one response"},
                                          {"wine", Roles({"class"}), 2, 2, "three classes"},
                                          {"wine", Roles({"class"}), 1, 0, "no orthogonal component"},
                                          {"linnerud", Roles({"y_weight..y_pulse"}), 2, 1, "three responses"}};
  return cases;
}

OrthoSettings SettingsOf(const Case& c) {
  OrthoSettings settings;
  settings.components = c.components;
  settings.ortho = c.ortho;
  return settings;
}

// What is left of a prepared table when components are taken out of it.
void TakeOut(const std::vector<OrthoComponent>& components, Plain OrthoComponent::*loading, Rows& rows) {
  for (const OrthoComponent& component : components) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
      for (std::size_t k = 0; k < rows[i].size(); ++k) rows[i][k] -= component.score[i] * (component.*loading)[k];
    }
  }
}

double Squares(const Rows& rows) {
  double sum = 0.0;
  for (const Plain& row : rows) {
    for (const double value : row) sum += value * value;
  }
  return sum;
}

TEST(OrthoValues, SharesAreThoseOfWhatTheComponentsLeave) {
  for (const MakeOrthoFitter make : {MakeOplsFitter, MakeYoplsFitter}) {
    for (const Case& c : Cases()) {
      SCOPED_TRACE(c.what);
      Table table = ReadData(c.data, c.roles);
      Rows x = Prepared(table.x, true).rows;
      Rows y = Prepared(table.y, true).rows;
      const OrthoResult result = FitOrtho(table, SettingsOf(c), make, nullptr);
      ASSERT_EQ(result.components.size(), static_cast<std::size_t>(c.components));
      ASSERT_EQ(result.orthoComponents.size(), static_cast<std::size_t>(c.ortho));
      ASSERT_EQ(result.stages.size(), result.orthoComponents.size() + 1);
      const double ssX = Squares(x);
      const double ssY = Squares(y);
      const auto rowsLeft = static_cast<double>(x.size()) - 1.0;
      double sumX = 0.0;
      double sumY = 0.0;
      const auto check = [&](const std::vector<OrthoComponent>& components) {
        for (const OrthoComponent& component : components) {
          const double beforeX = Squares(x);
          const double beforeY = Squares(y);
          TakeOut({component}, &OrthoComponent::loading, x);
          TakeOut({component}, &OrthoComponent::yWeight, y);
          EXPECT_NEAR(component.r2x, (beforeX - Squares(x)) / ssX, kTolerance);
          EXPECT_NEAR(component.r2y, (beforeY - Squares(y)) / ssY, kTolerance);
          double tt = 0.0;
          for (const double t : component.score) tt += t * t;
          EXPECT_NEAR(component.eigenvalue, tt / rowsLeft, kTolerance * component.eigenvalue);
          sumX += component.r2x;
          sumY += component.r2y;
        }
      };
      check(result.orthoComponents);
      check(result.components);
      EXPECT_NEAR(result.stages.back().r2x, sumX, 1e-9);
      EXPECT_NEAR(result.stages.back().r2y, sumY, 1e-9);
      EXPECT_NEAR(result.stages.back().r2x, 1.0 - Squares(x) / ssX, kTolerance);
    }
  }
}

TEST(OrthoValues, CoefficientsGiveTheFittedValues) {
  for (const MakeOrthoFitter make : {MakeOplsFitter, MakeYoplsFitter}) {
    for (const Case& c : Cases()) {
      SCOPED_TRACE(c.what);
      Table table = ReadData(c.data, c.roles);
      const Rows x = ToRows(table.x);
      const OrthoResult result = FitOrtho(table, SettingsOf(c), make, nullptr);
      for (const ResponseFit& fit : result.responses) {
        Plain byCoefficients;
        for (const Plain& row : x) {
          double sum = fit.intercept;
          for (std::size_t k = 0; k < row.size(); ++k) sum += row[k] * fit.coefficients[k];
          byCoefficients.push_back(sum);
        }
        EXPECT_LT(LargestGap(byCoefficients, fit.fitted), kTolerance);
      }
    }
  }
}

TEST(OrthoValues, OplsOfOneResponsePredictsWhatPlsPredicts) {
  for (const int ortho : {0, 1, 3, 5}) {
    Table table = ReadData("gasoline", Roles({"octane"}));
    Table same = ReadData("gasoline", Roles({"octane"}));
    OrthoSettings settings;
    settings.ortho = ortho;
    settings.scaling = Scaling::kCentre;
    const OrthoResult opls = FitOrtho(table, settings, MakeOplsFitter, nullptr);
    PlsSettings plsSettings;
    plsSettings.components = ortho + 1;
    plsSettings.scaling = Scaling::kCentre;
    const PlsResult pls = FitPls(same, plsSettings, nullptr);
    EXPECT_LT(LargestGap(opls.responses[0].fitted, pls.responses[0].fitted), kTolerance);
    EXPECT_LT(LargestGap(opls.responses[0].coefficients, pls.responses[0].coefficients), 20 * kTolerance);
    EXPECT_NEAR(opls.responses[0].rmsee, pls.responses[0].rmsee, 1e-3);
    EXPECT_NEAR(opls.spread.residual, pls.spread.residual, kTolerance * pls.spread.residual);
    const OrthoComponent& predictive = opls.components[0];
    for (const OrthoComponent& component : opls.orthoComponents) {
      double product = 0.0;
      double to = 0.0;
      double t = 0.0;
      for (std::size_t i = 0; i < component.score.size(); ++i) {
        product += component.score[i] * predictive.score[i];
        to += component.score[i] * component.score[i];
        t += predictive.score[i] * predictive.score[i];
      }
      EXPECT_LT(std::abs(product), 1e-3 * std::sqrt(to * t));
      EXPECT_NEAR(component.r2y, 0.0, 1e-4);
    }
  }
}

// Data as the fit prepares them.
RegressionData DataOf(const Case& c) {
  Table table = ReadData(c.data, c.roles);
  RegressionResult ignored;
  return PrepareRegression(table, SettingsOf(c), ignored);
}

// Q2 and predictions of a fit held against those of left-out rows, observations x responses, scaled.
void ExpectPredictions(const OrthoResult& result, const RegressionData& data, const NCDataMatrix<float>& predicted) {
  double ss = 0.0;
  double press = 0.0;
  for (int m = 1; m <= data.y.SizeColumns(); ++m) {
    Plain original;
    for (int i = 1; i <= data.y.SizeRows(); ++i) {
      const auto y = static_cast<double>(data.y[i][m]);
      const auto yHat = static_cast<double>(predicted[i][m]);
      ss += y * y;
      press += (y - yHat) * (y - yHat);
      const ColumnScale& scale = result.y.scales[static_cast<std::size_t>(m) - 1];
      original.push_back(yHat / scale.weight + scale.centre);
    }
    EXPECT_LT(LargestGap(result.responses[static_cast<std::size_t>(m) - 1].predictedCv, original), kTolerance);
  }
  EXPECT_NEAR(result.stages.back().q2->q2Cumulative, 1.0 - press / ss, kTolerance);
}

TEST(OrthoValues, Q2OfOplsIsThatOfTheCrossValidationClass) {
  for (const Case& c : Cases()) {
    SCOPED_TRACE(c.what);
    Table table = ReadData(c.data, c.roles);
    const OrthoResult result = FitOrtho(table, SettingsOf(c), MakeOplsFitter, nullptr);
    const RegressionData data = DataOf(c);
    OPLSCrossValidation cv(&data.x, &data.y, c.components, 7, nullptr, nullptr);
    double before = 1.0;
    for (int n = 0;; ++n) {
      const ComponentQ2& q2 = *result.stages[static_cast<std::size_t>(n)].q2;
      const auto cumulative = static_cast<double>(cv.GetQ2TotCum());
      EXPECT_NEAR(q2.q2Cumulative, cumulative, 1e-6);
      EXPECT_NEAR(q2.q2, 1.0 - (1.0 - cumulative) / before, 1e-4);
      EXPECT_FLOAT_EQ(static_cast<float>(q2.limit), cv.GetQ2Lim());
      before = 1.0 - cumulative;
      if (n == c.ortho) break;
      cv.NextComponent(nullptr);
    }
    ExpectPredictions(result, data, *cv.GetYPred());
  }
}

TEST(OrthoValues, YoplsPredictsLeftOutRowsByWholeModels) {
  for (const Case& c : Cases()) {
    SCOPED_TRACE(c.what);
    Table table = ReadData(c.data, c.roles);
    const OrthoResult result = FitOrtho(table, SettingsOf(c), MakeYoplsFitter, nullptr);
    const RegressionData data = DataOf(c);
    NCDataMatrix<float> predicted(data.y.SizeRows(), data.y.SizeColumns(), kGap);
    const auto groups = GetDeafultCVGroupsVector(data.x.SizeRows(), 7);
    for (int g = 0; g < 7; ++g) {
      const voran::detail::CvSplit split(data.x, data.y, groups, g);
      NCYOrthogonalPLS filter(&split.xTrain, &split.yTrain, 200, 5);
      for (int n = 0; n < c.ortho; ++n) filter.NextComponent(false);
      NCDataMatrix<float> test = split.xTest;
      filter.CalculateResiduals(&test);
      NCPLS pls(filter.GetXResiduals(), &split.yTrain, 200);
      for (int a = 0; a < c.components; ++a) {
        pls.NextComponent(nullptr, nullptr, true, true);
        pls.CalculateResiduals();
      }
      const auto rows =
          voran::detail::PredictRows(test, {*pls.GetWprim(), *pls.GetPprim(), *pls.GetCprim()}, 1.0f, nullptr);
      for (int k = 1; k <= test.SizeRows(); ++k) {
        predicted.SetRow(split.test[static_cast<std::size_t>(k) - 1], rows.Y[k]);
      }
    }
    ExpectPredictions(result, data, predicted);
  }
}

TEST(OrthoValues, YoplsTakesOutWhatSaysNothingOfY) {
  for (const char* const data : {"gasoline", "wine"}) {
    Table table = ReadData(data, Roles({std::string(data) == "wine" ? "class" : "octane"}));
    const Rows y = Prepared(table.y, true).rows;
    OrthoSettings settings;
    settings.ortho = 2;
    const OrthoResult result = FitOrtho(table, settings, MakeYoplsFitter, nullptr);
    for (const OrthoComponent& component : result.orthoComponents) {
      EXPECT_GT(*component.angle, 89.9);
      for (std::size_t m = 0; m < y[0].size(); ++m) {
        double product = 0.0;
        double tt = 0.0;
        for (std::size_t i = 0; i < y.size(); ++i) {
          product += component.score[i] * y[i][m];
          tt += component.score[i] * component.score[i];
        }
        // The cosine of an angle, for a Y of n - 1 as its sum of squares.
        EXPECT_LT(std::abs(product) / std::sqrt(tt * (static_cast<double>(y.size()) - 1.0)), 2e-3);
      }
    }
  }
}

TEST(OrthoValues, RowsWithoutResponsesOrWithoutDataTakeNoPart) {
  const std::string header = "id,a,b,c,y\n";
  const std::string rows = "p,1,2,7,3\nq,2,1,3,5\nr,3,5,4,4\ns,5,4,1,9\nt,4,4,3,6\nu,2,2,5,4\n";
  for (const MakeOrthoFitter make : {MakeOplsFitter, MakeYoplsFitter}) {
    OrthoSettings settings;
    settings.ortho = 1;
    settings.isCrossValidated = false;
    Table table = TableOf(header + rows, Roles({"y"}));
    const OrthoResult plain = FitOrtho(table, settings, make, nullptr);
    Table longer = TableOf(header + rows + "none,,,,8\n", Roles({"y"}));
    const OrthoResult result = FitOrtho(longer, settings, make, nullptr);
    Plain fitted = result.responses[0].fitted;
    EXPECT_TRUE(std::isnan(fitted.back()));
    fitted.pop_back();
    EXPECT_EQ(fitted, plain.responses[0].fitted);
    EXPECT_EQ(result.stages.back().r2y, plain.stages.back().r2y);
    Table open = TableOf(header + rows + "open,3,3,4,\n", Roles({"y"}));
    EXPECT_FALSE(std::isnan(FitOrtho(open, settings, make, nullptr).responses[0].fitted.back()));
  }
}

}  // namespace
}  // namespace tool
