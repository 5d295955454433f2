#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/containers/container_values.h"
#include "tests/models/model_samples.h"
#include "tests/models/plain_nipals.h"
#include "tests/platform/catalogue.h"
#include "voran/models/component_validator.h"
#include "voran/models/cv_groups.h"
#include "voran/models/pca_cross_validation.h"
#include "voran/models/pls_cross_validation.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/progress.h"
#include "voran/platform/threading_control.h"

namespace {

using samples::ExpectNear;
using samples::Fit;
using samples::FloatMatrix;
using samples::FloatVector;
using samples::kGap;
using samples::PlainMatrix;
using samples::Related;
using samples::ThreeComponents;
using samples::ToMatrix;
using samples::ToPlain;
using samples::WithGaps;
using samples::XY;
using ::testing::Contains;
using ::testing::ElementsAre;
using Groups = NCIntegralVector<int, -99>;
using Plain = std::vector<double>;

constexpr double kTolerance = 1e-4;
constexpr double kPlainGap = plain_nipals::kGap;

/// What is summed over predicted elements, and the Q2 that follow.
struct PlainQ2 {
  explicit PlainQ2(std::size_t columns) : ss(columns), press(columns) {}

  void Add(std::size_t column, double before, double after) {
    ss[column] += before * before;
    press[column] += after * after;
  }
  static double Q2(double press, double ss) { return (ss - press) / ss; }
  static double Cumulative(double old, double press, double ss) {
    return 1.0 - (1.0 - old) * std::min(press / ss, 1.1);
  }
  double TotalSS() const { return std::accumulate(ss.begin(), ss.end(), 0.0); }
  double TotalPress() const { return std::accumulate(press.begin(), press.end(), 0.0); }

  Plain ss;
  Plain press;
};

/// Checks the Q2 of a component and, against those before it, the cumulative ones, which it then keeps.
struct CumulativeQ2 {
  void Expect(const PlainQ2& now, const FloatVector& q2, const FloatVector& cumulative, float total, float totalCum) {
    columns.resize(now.ss.size());
    for (std::size_t j = 0; j < columns.size(); ++j) {
      const int column = static_cast<int>(j) + 1;
      columns[j] = PlainQ2::Cumulative(columns[j], now.press[j], now.ss[j]);
      EXPECT_NEAR(q2[column], PlainQ2::Q2(now.press[j], now.ss[j]), kTolerance) << "column " << column;
      EXPECT_NEAR(cumulative[column], columns[j], kTolerance) << "column " << column;
    }
    all = PlainQ2::Cumulative(all, now.TotalPress(), now.TotalSS());
    EXPECT_NEAR(total, PlainQ2::Q2(now.TotalPress(), now.TotalSS()), kTolerance);
    EXPECT_NEAR(totalCum, all, kTolerance);
  }

  Plain columns;
  double all = 0.0;
};

double Dot(const Plain& a, const Plain& b) {
  double sum = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i) sum += a[i] == kPlainGap || b[i] == kPlainGap ? 0.0 : a[i] * b[i];
  return sum;
}

TEST(CvGroups, NeighboursFallIntoDifferentGroups) {
  const Groups seven = GetDeafultCVGroupsVector(7, 3);
  EXPECT_THAT(std::vector<int>(seven.begin(), seven.end()), ElementsAre(1, 2, 0, 1, 2, 0, 1));
  EXPECT_EQ(GetDeafultCVGroupsVector(2, 0)[2], 0);
}

class CrossValidation : public ::testing::Test {
 protected:
  void TearDown() override {
    NCProgress::SetDisplay(nullptr);
    NCMultiThreading::ThreadingControl::Reset();
  }
};

// PCA.

struct PlainPcaCv {
  PlainMatrix p;
  PlainMatrix t;
  PlainMatrix residuals;
  PlainQ2 q2;

  /// Of component `a` of a model, with groups by position as in GetDeafultCVGroupsVector.
  PlainPcaCv(const NCPCA& model, int a, std::size_t groups)
      : residuals(ToPlain(*model.GetResiduals())), q2(residuals.front().size()) {
    const PlainMatrix x = residuals;
    const Plain pRef = ToPlain(model.GetPprim()->back());
    const Plain tRef = ToPlain(model.GetTprim()->back());
    const int limit = static_cast<int>(std::sqrt(a - 1.0) + 5.0 + 1e-5);
    const auto columns = static_cast<double>(pRef.size());
    for (std::size_t g = 0; g < groups; ++g) {
      PlainMatrix rows;
      for (std::size_t i = 0; i < x.size(); ++i) {
        if ((i + 1) % groups != g) rows.push_back(x[i]);
      }
      p.push_back(plain_nipals::FitPca(rows, plain_nipals::RowSlopes(rows, pRef), limit).p);
      if (Dot(p.back(), pRef) < 0.0) plain_nipals::Scale(p.back(), -1.0);

      PlainMatrix part;
      for (const Plain& row : x) {
        part.emplace_back();
        for (std::size_t j = 0; j < row.size(); ++j) {
          if ((j + 1) % groups != g) part.back().push_back(row[j]);
        }
      }
      t.push_back(plain_nipals::FitPca(part, tRef, limit).t);
      const double length = std::sqrt(columns / static_cast<double>(part.front().size()));
      plain_nipals::Scale(t.back(), Dot(t.back(), tRef) < 0.0 ? -length : length);
    }
    for (std::size_t i = 0; i < x.size(); ++i) {
      for (std::size_t j = 0; j < x[i].size(); ++j) {
        const double pij = p[(i + 1) % groups][j];
        const double tij = t[(j + 1) % groups][i];
        if (pij == kPlainGap || tij == kPlainGap || x[i][j] == kPlainGap) continue;
        residuals[i][j] = x[i][j] - pij * tij;
        q2.Add(j, x[i][j], residuals[i][j]);
      }
    }
  }
};

TEST_F(CrossValidation, OfPcaEqualsPlainRefits) {
  FloatMatrix gaps = WithGaps(ToMatrix(ThreeComponents(30, 11, 3)), 5);
  for (int j = 1; j <= 11; ++j) gaps(4, j, kGap);
  for (const FloatMatrix& x : {ToMatrix(ThreeComponents(30, 11, 3)), ToMatrix(ThreeComponents(9, 14, 4)), gaps}) {
    const int groups = 4;
    NCPCA model(&x, 500);
    PCACrossValidation cv(&model, groups, nullptr, nullptr);
    CumulativeQ2 cumulative;
    for (int a = 1; a <= 3; ++a) {
      SCOPED_TRACE(::testing::Message() << x.SizeRows() << " rows, component " << a);
      model.NextComponent(nullptr, nullptr, 0, nullptr);
      cv.NextComponent(FloatVector(x.SizeColumns(), 1.0f), nullptr);
      const PlainPcaCv expected(model, a, groups);
      ExpectNear(*cv.GetPSet(), expected.p, kTolerance);
      ExpectNear(*cv.GetTSet(), expected.t, kTolerance);
      ExpectNear(*cv.GetXPredResiduals(), expected.residuals, kTolerance * 10.0);
      ExpectRightCounts(*cv.GetXPredResiduals());
      cumulative.Expect(expected.q2, *cv.GetQ2XVar(), *cv.GetQ2XVarCum(), cv.GetQ2Tot(), cv.GetQ2TotCum());
      model.CalculateResiduals();
    }
  }
}

TEST_F(CrossValidation, OfPcaTakesGroupsAndEmptyColumnsAsTheyAre) {
  FloatMatrix x = ToMatrix(ThreeComponents(6, 5, 3));
  x.SetColumn(3, 0.0f);
  NCPCA model(&x, 500);
  model.NextComponent(nullptr, nullptr, 0, nullptr);
  FloatVector reference(5, 1.0f);
  PCACrossValidation many(&model, 50, nullptr, nullptr);
  many.NextComponent(reference, nullptr);
  EXPECT_EQ(many.GetPSet()->SizeRows(), 5) << "no more groups than columns";
  EXPECT_EQ((*many.GetQ2XVar())[3], 0.0f);
  EXPECT_EQ((*many.GetQ2XVarCum())[3], 1.0f) << "it had something once";
  for (const float nothing : {0.0f, kGap}) {
    PCACrossValidation again(&model, 50, nullptr, nullptr);
    reference(3, nothing);
    again.NextComponent(reference, nullptr);
    EXPECT_EQ((*again.GetQ2XVarCum())[3], 0.0f);
  }

  const Groups rows = GetDeafultCVGroupsVector(6, 2);
  const Groups oneGroup(5, 0);
  PCACrossValidation given(&model, 2, &rows, &oneGroup);
  EXPECT_THROW(given.NextComponent(reference, nullptr), NCError) << "no column is left";
  const Groups otherGroup(5, 1);
  PCACrossValidation uncovered(&model, 2, &rows, &otherGroup);
  EXPECT_THROW(uncovered.NextComponent(reference, nullptr), NCError);
  ASSERT_EQ(uncovered.GetTSet()->SizeRows(), 1);
  ExpectNear((*uncovered.GetTSet())[1], ToPlain((*model.GetTprim())[1]), kTolerance);
}

TEST_F(CrossValidation, OfPcaHasALimitForQ2) {
  struct {
    int rows, columns, components;
    bool reduce;
    double limit;
  } const cases[] = {{10, 5, 0, false, -99.0}, {10, 5, 1, false, 1.0 / 6.0},
                     {10, 5, 1, true, 0.25},   {10, 5, 3, false, 1.0 - 24.0 / 32.0},
                     {10, 5, 6, false, 1.0},   {3, 2, 5, false, -1.0}};
  for (const auto& c : cases) {
    const FloatMatrix x(c.rows, c.columns, 1.0f);
    NCPCA model(&x, 10);
    PCACrossValidation cv(&model, 2, nullptr, nullptr);
    EXPECT_NEAR(cv.GetQ2Lim(c.components, c.reduce), c.limit, 1e-6) << c.components;
  }
}

TEST_F(CrossValidation, OfPcaShowsItsRounds) {
  const FloatMatrix x = ToMatrix(ThreeComponents(20, 8, 3));
  const FloatVector reference(8, 1.0f);
  NCPCA model(&x, 500);
  model.NextComponent(nullptr, nullptr, 0, nullptr);
  const auto display = std::make_shared<samples::RecordingDisplay>();
  NCProgress::SetDisplay(display);
  PCACrossValidation whole(&model, 2, nullptr, nullptr);
  whole.NextComponent(reference, nullptr);
  EXPECT_THAT(display->texts, ElementsAre("", "CV round 1 of 2 (rows)", "CV round 1 of 2 (columns)",
                                          "CV round 2 of 2 (rows)", "CV round 2 of 2 (columns)"));
  EXPECT_TRUE(std::is_sorted(display->fractions.begin(), display->fractions.end()));
  EXPECT_EQ(display->fractions.back(), 1.0);
  {
    const std::string context = "CV = Cross validation";
    const WithCatalogue translated(
        {InContext(context, "CV round %1% of %2% (rows)"), InContext(context, "CV round %1% of %2% (columns)")});
    display->texts.clear();
    PCACrossValidation(&model, 2, nullptr, nullptr).NextComponent(reference, nullptr);
    EXPECT_THAT(display->texts, Contains(context + ": CV round 1 of 2 (rows)"));
    EXPECT_EQ(display->texts.back(), context + ": CV round 2 of 2 (columns)");
  }
}

TEST_F(CrossValidation, AValidatorAllowsComponentsWhileEnoughIsLeft) {
  FloatMatrix x(4, 3, 0.0f);
  for (int j = 1; j <= 3; ++j) x(j, j, static_cast<float>(1 << (3 - j)));  // shares 16, 4 and 1 of 21
  for (const auto& [limit, components] : {std::pair(0.5f, 1), std::pair(0.1f, 2), std::pair(0.001f, 3)}) {
    NCPCA model(&x, 50);
    PCA_SS_ComponentValidator validator(nullptr, limit);
    EXPECT_TRUE(validator.IsPreComponentValidator());
    validator.SetPCAModel(&model);
    while (validator.IsValid()) Fit(model, 1);
    validator.Done();
    EXPECT_EQ(model.GetComponents(), components);
  }
  for (const float nothing : {0.0f, 1e-17f, kGap}) {
    const FloatMatrix empty(3, 2, nothing);
    NCPCA model(&empty, 50);
    EXPECT_FALSE(PCA_SS_ComponentValidator(&model, 0.001f).IsValid());
  }
  const FloatMatrix infinite(3, 2, std::numeric_limits<float>::infinity());
  NCPCA model(&infinite, 50);
  try {
    PCA_SS_ComponentValidator validator(&model, 0.5f);
    ADD_FAILURE() << "no error";
  } catch (const NCError& error) {
    EXPECT_STREQ(error.what(), "Infinite value encountered, try changing the transformation or trim the dataset.");
    EXPECT_EQ(error.GetLevel(), NCError::Level::kGeneral);
  }
}

// PLS.

struct PlainPlsCv {
  PlainMatrix w, c, p, t, residuals;
  Plain tPred, ssBefore, ssAfter;
  PlainQ2 q2;

  PlainPlsCv(const NCPLS& model, const Groups& rowGroups, int groups)
      : residuals(ToPlain(*model.GetYResiduals())), tPred(residuals.size()), q2(residuals.front().size()) {
    const PlainMatrix x = ToPlain(*model.GetXResiduals());
    const PlainMatrix y = residuals;
    const Plain reference = ToPlain(model.GetWprim()->back());
    for (int g = 0; g < groups; ++g) {
      PlainMatrix xTrain;
      PlainMatrix yTrain;
      for (std::size_t i = 0; i < x.size(); ++i) {
        if (rowGroups[static_cast<int>(i) + 1] == g) continue;
        xTrain.push_back(x[i]);
        yTrain.push_back(y[i]);
      }
      plain_nipals::PlsComponent sub = plain_nipals::FitPls(xTrain, yTrain);
      const double sign = Dot(sub.w, reference) < 0.0 ? -1.0 : 1.0;
      for (Plain* v : {&sub.w, &sub.c, &sub.p, &sub.t}) plain_nipals::Scale(*v, sign);
      ssBefore.push_back(plain_nipals::SumOfSquares(yTrain));
      plain_nipals::Deflate(yTrain, sub.t, sub.c);
      ssAfter.push_back(plain_nipals::SumOfSquares(yTrain));
      t.emplace_back();
      for (std::size_t i = 0, k = 0; i < x.size(); ++i) {
        const bool isLeftOut = rowGroups[static_cast<int>(i) + 1] == g;
        t.back().push_back(isLeftOut ? plain_nipals::Slope(sub.w, x[i], kPlainGap) : sub.t[k++]);
        if (isLeftOut) Predict(i, t.back().back(), sub.c, y[i]);
      }
      w.push_back(sub.w);
      c.push_back(sub.c);
      p.push_back(sub.p);
    }
    for (const Plain& row : y) {
      for (std::size_t m = 0; m < row.size(); ++m) q2.ss[m] += row[m] == kPlainGap ? 0.0 : row[m] * row[m];
    }
  }

  void Predict(std::size_t i, double score, const Plain& weights, const Plain& row) {
    tPred[i] = score;
    for (std::size_t m = 0; m < row.size(); ++m) {
      if (row[m] == kPlainGap) continue;
      if (score != kPlainGap) residuals[i][m] = row[m] - score * weights[m];
      q2.press[m] += residuals[i][m] * residuals[i][m];
    }
  }
};

TEST_F(CrossValidation, OfPlsEqualsPlainRefits) {
  Groups uneven(30, 1);
  for (int i = 1; i <= 30; i += 4) uneven(i, 0);
  for (int i = 2; i <= 30; i += 7) uneven(i, 2);
  Groups ones(30, 0);  // each row left out once
  for (int i = 1; i <= 30; ++i) ones(i, 30 - i);
  const std::pair<const Groups*, int> choices[] = {{nullptr, 7}, {&uneven, 3}, {&ones, 30}};
  for (const std::size_t responses : {1U, 3U}) {
    for (const bool gaps : {false, true}) {
      XY data = Related(30, 11, responses, 3);
      if (gaps) {
        data = {WithGaps(data.x, 5), WithGaps(data.y, 6)};
        for (int j = 1; j <= 11; ++j) data.x(7, j, kGap);
        for (int j = 1; j <= 9; ++j) data.x(12, j, kGap);  // is predicted all the same
      }
      for (const auto& [given, groups] : choices) {
        NCPLS model(&data.x, &data.y, 200);
        PLSCrossValidation cv(&model, groups, given);
        CumulativeQ2 cumulative;
        for (int a = 1; a <= 2; ++a) {
          SCOPED_TRACE(::testing::Message() << responses << " responses, gaps " << gaps << ", component " << a);
          model.NextComponent(nullptr, nullptr, true, true);
          const FloatVector before = *cv.GetSSY();
          cv.NextComponent(&model.GetWprim()->back(), 200, FloatVector(static_cast<int>(responses), 1.0f), nullptr,
                           false);
          const PlainPlsCv expected(model, given == nullptr ? GetDeafultCVGroupsVector(30, 7) : *given, groups);
          ExpectNear(*cv.GetWSet(), expected.w, kTolerance);
          ExpectNear(*cv.GetCSet(), expected.c, kTolerance);
          ExpectNear(*cv.GetPSet(), expected.p, kTolerance);
          ExpectNear(*cv.GetTSet(), expected.t, kTolerance);
          ExpectNear(*cv.GetTPred(), expected.tPred, kTolerance);
          ExpectNear(*cv.GetYPredResiduals(), expected.residuals, kTolerance * 10.0);
          ExpectRightCounts(*cv.GetYPredResiduals());
          ExpectNear(*cv.GetSSY(), expected.ssAfter, kTolerance);
          if (a == 1) {
            ExpectNear(*cv.GetSSYOriginal(), expected.ssBefore, kTolerance);
          } else {
            EXPECT_TRUE(*cv.GetSSYOriginal() == before);
          }
          cumulative.Expect(expected.q2, *cv.GetQ2YVar(), *cv.GetQ2YVarCum(), cv.GetQ2Tot(), cv.GetQ2TotCum());
          model.CalculateResiduals();
        }
      }
    }
  }
}

/// Of one response all are fitted together.
TEST_F(CrossValidation, OfPlsHasTheSumsOfSquaresOfItsSubModelsToTheBit) {
  constexpr int kRows = 300;
  const XY data = Related(kRows, 10, 1, 3);
  NCPLS model(&data.x, &data.y, 200);
  PLSCrossValidation cv(&model, kRows, nullptr);
  model.NextComponent(nullptr, nullptr, true, true);
  cv.NextComponent(&model.GetWprim()->back(), 200, {1.0f}, nullptr, true);
  for (int i = 1; i <= kRows; ++i) {
    XY kept = data;
    kept.x.RemoveRows(i, 1);
    kept.y.RemoveRows(i, 1);
    const int group = GetDeafultCVGroupsVector(kRows, kRows)[i] + 1;
    EXPECT_EQ((*cv.GetSSYOriginal())[group], static_cast<float>(kept.y.GetSS()));
    NCPLS sub(&kept.x, &kept.y, 200);
    sub.NextComponent(nullptr, nullptr, true, false);
    sub.CalculateResiduals();
    EXPECT_EQ((*cv.GetSSY())[group], static_cast<float>(sub.GetYResiduals()->GetSS()));
    EXPECT_EQ((*cv.GetCSet())[group],
              sub.GetCprim()->back() * (sub.GetWprim()->back() * model.GetWprim()->back() < 0.0 ? -1.0 : 1.0));
  }
}

TEST_F(CrossValidation, OfPlsLeavesOutWhatItSays) {
  for (const int responses : {1, 2}) {
    const XY data = Related(20, 8, static_cast<std::size_t>(responses), 3);
    NCPLS model(&data.x, &data.y, 200);
    model.NextComponent(nullptr, nullptr, true, true);
    const auto validate = [&](const FloatMatrix& x, const FloatMatrix& y) {
      NCPLS same(&x, &y, model.GetCprim(), model.GetPprim(), model.GetWprim(), model.GetUprim(), model.GetTprim(), 200);
      PLSCrossValidation cv(&same, 4, nullptr);
      cv.NextComponent(&model.GetWprim()->back(), 200, FloatVector(responses, 1.0f), nullptr, true);
      return cv;
    };
    const PLSCrossValidation cv = validate(data.x, data.y);
    for (int g = 0; g < 4; ++g) {
      XY wild = data;
      for (int i = g == 0 ? 4 : g; i <= 20; i += 4) {
        for (int j = 1; j <= 8; ++j) wild.x(i, j, static_cast<float>(1000 * i - j));
        for (int m = 1; m <= responses; ++m) wild.y(i, m, static_cast<float>(500 * i + m));
      }
      const PLSCrossValidation other = validate(wild.x, wild.y);
      for (int k = 1; k <= 4; ++k) {
        EXPECT_EQ((*other.GetWSet())[k] == (*cv.GetWSet())[k], k == g + 1);
        EXPECT_EQ((*other.GetCSet())[k] == (*cv.GetCSet())[k], k == g + 1);
        EXPECT_EQ((*other.GetPSet())[k] == (*cv.GetPSet())[k], k == g + 1);
      }
    }
  }
}

/// Nor does an infinity in it reach the sub-model that leaves it out.
TEST_F(CrossValidation, OfPlsLeavesOutAnInfinity) {
  XY data = Related(20, 8, 1, 3);
  NCPLS model(&data.x, &data.y, 200);
  model.NextComponent(nullptr, nullptr, true, true);
  const FloatVector weight = model.GetWprim()->back();
  PLSCrossValidation cv(&model, 17, nullptr);  // the last group is fitted by itself
  cv.NextComponent(&weight, 200, {1.0f}, nullptr, true);
  data.x(16, 2, std::numeric_limits<float>::infinity());
  NCPLS wild(&data.x, &data.y, model.GetCprim(), model.GetPprim(), model.GetWprim(), model.GetUprim(), model.GetTprim(),
             200);
  PLSCrossValidation other(&wild, 17, nullptr);
  other.NextComponent(&weight, 200, {1.0f}, nullptr, true);
  for (int j = 1; j <= 8; ++j) {
    EXPECT_NEAR((*other.GetWSet())[17][j], (*cv.GetWSet())[17][j], 1e-6);
    EXPECT_NEAR((*other.GetPSet())[17][j], (*cv.GetPSet())[17][j], 1e-6);
  }
}

/// Without its two rows that hold something, the response is nothing: their sub-model has nothing to fit.
TEST_F(CrossValidation, OfPlsLetsASubModelBeEmpty) {
  XY data = Related(20, 8, 1, 3);
  for (int i = 1; i <= 20; ++i) data.y(i, 1, i == 3 || i == 13 ? 1.0f : 0.0f);
  NCPLS model(&data.x, &data.y, 200);
  model.NextComponent(nullptr, nullptr, true, true);
  PLSCrossValidation cv(&model, 5, nullptr);
  cv.NextComponent(&model.GetWprim()->back(), 200, {1.0f}, nullptr, true);
  EXPECT_EQ((*cv.GetYPredResiduals())[3][1], 1.0f);
  EXPECT_EQ((*cv.GetYPredResiduals())[13][1], 1.0f);
  EXPECT_EQ((*cv.GetCSet())[4][1], kGap);
  EXPECT_GT((*cv.GetCSet())[1].GetSS(), 0.0);
}

/// The sets follow the sign of the model's weight; the score of a left-out row and its residual do not.
TEST_F(CrossValidation, OfPlsTurnsTheSetsToTheModel) {
  const XY data = Related(20, 8, 1, 3);
  NCPLS model(&data.x, &data.y, 200);
  model.NextComponent(nullptr, nullptr, true, true);
  const FloatVector weight = model.GetWprim()->back();
  const FloatVector opposite = weight * -1.0;
  PLSCrossValidation cv(&model, 4, nullptr);
  PLSCrossValidation turned(&model, 4, nullptr);
  cv.NextComponent(&weight, 200, {1.0f}, nullptr, true);
  turned.NextComponent(&opposite, 200, {1.0f}, nullptr, true);
  EXPECT_TRUE(*turned.GetWSet() == *cv.GetWSet() * -1.0);
  EXPECT_TRUE(*turned.GetPSet() == *cv.GetPSet() * -1.0);
  EXPECT_TRUE(*turned.GetTSet() == *cv.GetTSet() * -1.0);
  EXPECT_TRUE(*turned.GetCSet() == *cv.GetCSet() * -1.0);
  EXPECT_TRUE(*turned.GetTPred() == *cv.GetTPred());
  EXPECT_TRUE(*turned.GetYPredResiduals() == *cv.GetYPredResiduals());
}

TEST_F(CrossValidation, OfPlsKeepsARatioToElevenTenths) {
  XY data = Related(12, 40, 1, 3);
  data.y = ToMatrix({{1}, {-1}, {1}, {1}, {-1}, {-1}, {1}, {-1}, {-1}, {1}, {-1}, {1}});
  NCPLS model(&data.x, &data.y, 200);
  model.NextComponent(nullptr, nullptr, true, true);
  PLSCrossValidation cv(&model, 0.5f, {0.25f}, 6, nullptr);
  cv.NextComponent(&model.GetWprim()->back(), 200, {1.0f}, nullptr, true);
  ASSERT_LT(cv.GetQ2Tot(), -0.1f);
  EXPECT_FLOAT_EQ(cv.GetQ2TotCum(), static_cast<float>(1.0 - 0.5 * 1.1));
  EXPECT_FLOAT_EQ((*cv.GetQ2YVarCum())[1], static_cast<float>(1.0 - 0.75 * 1.1));
}

TEST_F(CrossValidation, OfPlsTakesGroupsAndEmptyResponsesAsTheyAre) {
  XY data = Related(12, 6, 2, 3);
  data.y.SetColumn(2, 0.0f);
  NCPLS model(&data.x, &data.y, 200);
  model.NextComponent(nullptr, nullptr, true, true);
  const FloatVector weight = model.GetWprim()->back();
  struct {
    float reference;
    float cumulative;
  } const cases[] = {{0.0f, 0.0f}, {kGap, 0.0f}, {5.0f, 1.0f}};
  for (const auto& c : cases) {
    PLSCrossValidation cv(&model, 50, nullptr);
    cv.NextComponent(&weight, 200, {1.0f, c.reference}, nullptr, true);
    EXPECT_EQ(cv.GetWSet()->SizeRows(), 12) << "no more groups than rows";
    EXPECT_EQ(cv.GetSSY()->Size(), 50);
    EXPECT_EQ((*cv.GetQ2YVar())[2], 0.0f);
    EXPECT_EQ((*cv.GetQ2YVarCum())[2], c.cumulative);
  }
  XY unknown = data;
  unknown.y.SetColumn(2, kGap);
  NCPLS other(&unknown.x, &unknown.y, 200);
  other.NextComponent(nullptr, nullptr, true, true);
  PLSCrossValidation withoutSecond(&other, 4, nullptr);
  withoutSecond.NextComponent(&other.GetWprim()->back(), 200, {1.0f, 1.0f}, nullptr, true);
  EXPECT_EQ((*withoutSecond.GetQ2YVar())[2], 0.0f);
  EXPECT_EQ(withoutSecond.GetQ2Tot(), (*withoutSecond.GetQ2YVar())[1]) << "a response without data adds nothing";

  const Groups first(12, 0);
  PLSCrossValidation emptyGroup(&model, 2, &first);
  emptyGroup.NextComponent(&weight, 200, {1.0f, 1.0f}, nullptr, true);
  ASSERT_EQ(emptyGroup.GetWSet()->SizeRows(), 2);
  ExpectNear((*emptyGroup.GetWSet())[2], ToPlain(weight), kTolerance);
  ExpectNear((*emptyGroup.GetTSet())[2], ToPlain(model.GetTprim()->back()), kTolerance);
}

TEST_F(CrossValidation, OfPlsShowsItsRoundsUnlessSilent) {
  for (const std::size_t responses : {1U, 2U}) {
    const XY data = Related(12, 6, responses, 3);
    NCPLS model(&data.x, &data.y, 200);
    model.NextComponent(nullptr, nullptr, true, true);
    const auto display = std::make_shared<samples::RecordingDisplay>();
    NCProgress::SetDisplay(display);
    PLSCrossValidation(&model, 2, nullptr)
        .NextComponent(&model.GetWprim()->back(), 200, FloatVector(static_cast<int>(responses), 1.0f), nullptr, false);
    NCProgress::SetDisplay(nullptr);
    EXPECT_THAT(display->texts, ElementsAre("", "CV round 1 of 2", "CV round 2 of 2"));
    EXPECT_TRUE(std::is_sorted(display->fractions.begin(), display->fractions.end()));
    EXPECT_THAT(display->fractions, ::testing::Contains(0.5));
    EXPECT_EQ(display->fractions.back(), 1.0);
  }
  const XY data = Related(12, 6, 2, 3);
  NCPLS model(&data.x, &data.y, 200);
  model.NextComponent(nullptr, nullptr, true, true);
  const FloatVector weight = model.GetWprim()->back();
  {
    const auto display = std::make_shared<samples::RecordingDisplay>();
    NCProgress::SetDisplay(display);
    PLSCrossValidation(&model, 2, nullptr).NextComponent(&weight, 200, {1.0f, 1.0f}, nullptr, true);
    NCProgress::SetDisplay(nullptr);
    EXPECT_TRUE(display->texts.empty());
  }
  {
    const WithCatalogue translated({InContext("CV = Cross validation", "CV round %1% of %2%")});
    const auto display = std::make_shared<samples::RecordingDisplay>();
    NCProgress::SetDisplay(display);
    PLSCrossValidation(&model, 1, nullptr).NextComponent(&weight, 200, {1.0f, 1.0f}, nullptr, false);
    EXPECT_EQ(display->texts.back(), "CV = Cross validation: CV round 1 of 1");
  }
  NCProgress::SetDisplay(std::make_shared<samples::StoppingDisplay>(1));
  PLSCrossValidation cv(&model, 2, nullptr);
  EXPECT_NO_THROW(cv.NextComponent(&weight, 200, {1.0f, 1.0f}, nullptr, false)) << "it is not to be stopped";
  EXPECT_GT(cv.GetQ2Tot(), 0.0f);
}

TEST_F(CrossValidation, OfPlsAsksMoreOfFewRows) {
  for (const auto& [rows, limit] : {std::pair(2, 0.05f), std::pair(100, 0.05f), std::pair(101, 0.0f)}) {
    const FloatMatrix x(rows, 2, 1.0f);
    NCPLS model(&x, &x, 10);
    EXPECT_EQ(PLSCrossValidation(&model, 2, nullptr).GetQ2Lim(), limit) << rows;
  }
}

}  // namespace
