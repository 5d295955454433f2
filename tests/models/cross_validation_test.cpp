#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <utility>
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

namespace samples {
namespace {

using plain_nipals::Dot;
using ::testing::ElementsAre;

constexpr double kTolerance = 1e-4;
constexpr double kPlainGap = plain_nipals::kGap;
const char* const kContext = "CV = Cross validation";

/// What is summed over predicted elements, by columns.
struct Sums {
  explicit Sums(std::size_t columns) : ss(columns), press(columns) {}

  Plain ss, press;
};

/// Checks the Q2 of a component and, against those before it, the cumulative ones, which it then keeps.
struct CumulativeQ2 {
  void Expect(const Sums& now, const FloatVector& q2, const FloatVector& cumulative, float total, float totalCum) {
    double ss = 0.0;
    double press = 0.0;
    kept.resize(now.ss.size() + 1, 1.0);
    for (std::size_t j = 0; j + 1 < kept.size(); ++j) {
      SCOPED_TRACE(::testing::Message() << "column " << j + 1);
      Check(j, now.press[j] / now.ss[j], q2[static_cast<int>(j) + 1], cumulative[static_cast<int>(j) + 1]);
      ss += now.ss[j];
      press += now.press[j];
    }
    Check(now.ss.size(), press / ss, total, totalCum);
  }
  void Check(std::size_t place, double ratio, float q2, float cumulative) {
    kept[place] *= std::min(ratio, 1.1);
    EXPECT_NEAR(q2, 1.0 - ratio, kTolerance);
    EXPECT_NEAR(cumulative, 1.0 - kept[place], kTolerance);
  }

  Plain kept;  ///< what the components so far leave unexplained
};

TEST(CvGroups, NeighboursFallIntoDifferentGroups) {
  const Groups seven = GetDeafultCVGroupsVector(7, 3);
  EXPECT_THAT(std::vector<int>(seven.begin(), seven.end()), ElementsAre(1, 2, 0, 1, 2, 0, 1));
  EXPECT_EQ(GetDeafultCVGroupsVector(2, 0)[2], 0);
}

class CrossValidation : public ModelTest {};

// PCA.

struct PlainPcaCv {
  PlainMatrix p, t, residuals;
  Sums sums;

  /// Of component `a` of a model, with groups by position as in GetDeafultCVGroupsVector.
  PlainPcaCv(const NCPCA& model, int a, std::size_t groups)
      : residuals(ToPlain(*model.GetResiduals())), sums(residuals.front().size()) {
    const PlainMatrix x = residuals;
    const Plain pRef = ToPlain(model.GetPprim()->back());
    const Plain tRef = ToPlain(model.GetTprim()->back());
    const int limit = static_cast<int>(std::sqrt(a - 1.0) + 5.0 + 1e-5);
    const auto columns = static_cast<double>(pRef.size());
    for (std::size_t g = 0; g < groups; ++g) {
      const auto isOut = [&](std::size_t i) { return (i + 1) % groups == g; };
      const PlainMatrix rows = plain_nipals::Split(x, isOut).kept;
      p.push_back(plain_nipals::FitPca(rows, plain_nipals::RowSlopes(rows, pRef), limit).p);
      if (Dot(p.back(), pRef) < 0.0) plain_nipals::Scale(p.back(), -1.0);

      PlainMatrix part(x.size());
      for (std::size_t i = 0; i < x.size(); ++i) {
        for (std::size_t j = 0; j < x[i].size(); ++j) {
          if (!isOut(j)) part[i].push_back(x[i][j]);
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
        sums.ss[j] += x[i][j] * x[i][j];
        sums.press[j] += residuals[i][j] * residuals[i][j];
      }
    }
  }
};

TEST_F(CrossValidation, OfPcaEqualsPlainRefits) {
  FloatMatrix gaps = WithGaps(ToMatrix(ThreeComponents(30, 11, 3)), 5);
  gaps.SetRow(4, kGap);
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
      cumulative.Expect(expected.sums, *cv.GetQ2XVar(), *cv.GetQ2XVarCum(), cv.GetQ2Tot(), cv.GetQ2TotCum());
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
  for (const auto& [ofColumn, cumulative] : {std::pair(1.0f, 1.0f), std::pair(0.0f, 0.0f), std::pair(kGap, 0.0f)}) {
    PCACrossValidation many(&model, 50, nullptr, nullptr);
    reference(3, ofColumn);
    many.NextComponent(reference, nullptr);
    EXPECT_EQ(many.GetPSet()->SizeRows(), 5) << "no more groups than columns";
    EXPECT_EQ((*many.GetQ2XVar())[3], 0.0f);
    EXPECT_EQ((*many.GetQ2XVarCum())[3], cumulative) << "1 if it had something once";
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
  NCPCA model(&x, 500);
  model.NextComponent(nullptr, nullptr, 0, nullptr);
  const WithCatalogue translated(
      {InContext(kContext, "CV round %1% of %2% (rows)"), InContext(kContext, "CV round %1% of %2% (columns)")});
  const auto display =
      Shown([&] { PCACrossValidation(&model, 2, nullptr, nullptr).NextComponent(FloatVector(8, 1.0f), nullptr); });
  const std::string round = kContext + std::string(": CV round ");
  EXPECT_THAT(display->texts, ElementsAre("", round + "1 of 2 (rows)", round + "1 of 2 (columns)",
                                          round + "2 of 2 (rows)", round + "2 of 2 (columns)"));
  EXPECT_TRUE(std::is_sorted(display->fractions.begin(), display->fractions.end()));
  EXPECT_EQ(display->fractions.back(), 1.0);
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
  const std::string text = "Infinite value encountered, try changing the transformation or trim the dataset.";
  EXPECT_EQ(ErrorOf([&] { PCA_SS_ComponentValidator(&model, 0.5f); }), std::pair(NCError::Level::kGeneral, text));
}

// PLS.

struct PlainPlsCv {
  PlainMatrix w, c, p, t, residuals;
  Plain tPred, ssBefore, ssAfter;
  Sums sums;

  /// The fits start from the reference, and their sets turn to it; scores of rows left out, and residuals, do not.
  PlainPlsCv(const NCPLS& model, const Plain& reference, const Groups& rowGroups, int groups)
      : residuals(ToPlain(*model.GetYResiduals())), tPred(residuals.size()), sums(residuals.front().size()) {
    const PlainMatrix x = ToPlain(*model.GetXResiduals());
    const PlainMatrix y = residuals;
    for (int g = 0; g < groups; ++g) {
      const auto isOut = [&](std::size_t i) { return rowGroups[static_cast<int>(i) + 1] == g; };
      PlainMatrix yTrain = plain_nipals::Split(y, isOut).kept;
      plain_nipals::PlsComponent sub =
          plain_nipals::FitPls(plain_nipals::Split(x, isOut).kept, yTrain, plain_nipals::kNoLimit, reference);
      ssBefore.push_back(plain_nipals::SumOfSquares(yTrain));
      plain_nipals::Deflate(yTrain, sub.t, sub.c);
      ssAfter.push_back(plain_nipals::SumOfSquares(yTrain));
      const Plain scores = plain_nipals::RowSlopes(plain_nipals::Split(x, isOut).leftOut, sub.w);
      t.push_back(plain_nipals::Joined(sub.t, scores, isOut));
      for (std::size_t i = 0; i < x.size(); ++i) {
        if (isOut(i)) Predict(i, t.back()[i], sub.c, y[i]);
      }
      const double sign = Dot(sub.w, reference) < 0.0 ? -1.0 : 1.0;
      for (Plain* v : {&sub.w, &sub.c, &sub.p, &t.back()}) plain_nipals::Scale(*v, sign);
      w.push_back(sub.w);
      c.push_back(sub.c);
      p.push_back(sub.p);
    }
    for (std::size_t m = 0; m < sums.ss.size(); ++m)
      sums.ss[m] = plain_nipals::SumOfSquares(plain_nipals::Column(y, m));
  }

  void Predict(std::size_t i, double score, const Plain& weights, const Plain& row) {
    tPred[i] = score;
    for (std::size_t m = 0; m < row.size(); ++m) {
      if (row[m] == kPlainGap) continue;
      if (score != kPlainGap) residuals[i][m] = row[m] - score * weights[m];
      sums.press[m] += residuals[i][m] * residuals[i][m];
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
  for (const int responses : {1, 3}) {
    for (const bool gaps : {false, true}) {
      XY data = Related(30, 11, static_cast<std::size_t>(responses), 3);
      if (gaps) {
        data = {WithGaps(data.x, 5), WithGaps(data.y, 6)};
        data.x.SetRow(7, kGap);
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
          const FloatVector weight = model.GetWprim()->back() * (a == 2 ? -1.0 : 1.0);
          cv.NextComponent(&weight, 200, FloatVector(responses, 1.0f), nullptr, false);
          const PlainPlsCv expected(model, ToPlain(weight), given == nullptr ? GetDeafultCVGroupsVector(30, 7) : *given,
                                    groups);
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
          cumulative.Expect(expected.sums, *cv.GetQ2YVar(), *cv.GetQ2YVarCum(), cv.GetQ2Tot(), cv.GetQ2TotCum());
          model.CalculateResiduals();
        }
      }
    }
  }
}

/// A model of one component, to be cross-validated.
struct OneComponent {
  explicit OneComponent(XY given) : data(std::move(given)) { model.NextComponent(nullptr, nullptr, true, true); }

  PLSCrossValidation Validated(int groups, const FloatVector& reference = {1.0f}, const Groups* rowGroups = nullptr) {
    return Validated(PLSCrossValidation(&model, groups, rowGroups), reference);
  }
  PLSCrossValidation Validated(PLSCrossValidation cv, const FloatVector& reference, bool silent = true) {
    cv.NextComponent(&model.GetWprim()->back(), 200, reference, nullptr, silent);
    return cv;
  }

  XY data;
  NCPLS model{&data.x, &data.y, 200};
};

/// An infinity in a group does not reach the sub-model that leaves it out.
TEST_F(CrossValidation, OfPlsLeavesOutAnInfinity) {
  OneComponent whole(Related(20, 8, 1, 3));
  const NCPLS& m = whole.model;
  const PLSCrossValidation cv = whole.Validated(17);  // the last group is fitted by itself
  FloatMatrix x = whole.data.x;
  x(16, 2, std::numeric_limits<float>::infinity());
  NCPLS wild(&x, &whole.data.y, m.GetCprim(), m.GetPprim(), m.GetWprim(), m.GetUprim(), m.GetTprim(), 200);
  PLSCrossValidation other(&wild, 17, nullptr);
  other.NextComponent(&m.GetWprim()->back(), 200, {1.0f}, nullptr, true);
  for (int j = 1; j <= 8; ++j) {
    EXPECT_NEAR((*other.GetWSet())[17][j], (*cv.GetWSet())[17][j], 1e-6);
    EXPECT_NEAR((*other.GetPSet())[17][j], (*cv.GetPSet())[17][j], 1e-6);
  }
}

/// Without its two rows that hold something, the response is nothing: their sub-model has nothing to fit.
TEST_F(CrossValidation, OfPlsLetsASubModelBeEmpty) {
  XY data = Related(20, 8, 1, 3);
  for (int i = 1; i <= 20; ++i) data.y(i, 1, i == 3 || i == 13 ? 1.0f : 0.0f);
  const PLSCrossValidation cv = OneComponent(data).Validated(5);
  EXPECT_EQ((*cv.GetYPredResiduals())[3][1], 1.0f);
  EXPECT_EQ((*cv.GetYPredResiduals())[13][1], 1.0f);
  EXPECT_EQ((*cv.GetCSet())[4][1], kGap);
  EXPECT_GT((*cv.GetCSet())[1].GetSS(), 0.0);
}

TEST_F(CrossValidation, OfPlsKeepsARatioToElevenTenths) {
  OneComponent one(
      {Related(12, 40, 1, 3).x, ToMatrix({{1}, {-1}, {1}, {1}, {-1}, {-1}, {1}, {-1}, {-1}, {1}, {-1}, {1}})});
  const PLSCrossValidation cv = one.Validated(PLSCrossValidation(&one.model, 0.5f, {0.25f}, 6, nullptr), {1.0f});
  ASSERT_LT(cv.GetQ2Tot(), -0.1f);
  EXPECT_FLOAT_EQ(cv.GetQ2TotCum(), static_cast<float>(1.0 - 0.5 * 1.1));
  EXPECT_FLOAT_EQ((*cv.GetQ2YVarCum())[1], static_cast<float>(1.0 - 0.75 * 1.1));
}

TEST_F(CrossValidation, OfPlsTakesGroupsAndEmptyResponsesAsTheyAre) {
  XY data = Related(12, 6, 2, 3);
  data.y.SetColumn(2, 0.0f);
  OneComponent one(data);
  for (const auto& [reference, cumulative] : {std::pair(0.0f, 0.0f), std::pair(kGap, 0.0f), std::pair(5.0f, 1.0f)}) {
    const PLSCrossValidation cv = one.Validated(50, {1.0f, reference});
    EXPECT_EQ(cv.GetWSet()->SizeRows(), 12) << "no more groups than rows";
    EXPECT_EQ(cv.GetSSY()->Size(), 50);
    EXPECT_EQ((*cv.GetQ2YVar())[2], 0.0f);
    EXPECT_EQ((*cv.GetQ2YVarCum())[2], cumulative);
  }
  data.y.SetColumn(2, kGap);
  const PLSCrossValidation withoutSecond = OneComponent(data).Validated(4, {1.0f, 1.0f});
  EXPECT_EQ((*withoutSecond.GetQ2YVar())[2], 0.0f);
  EXPECT_EQ(withoutSecond.GetQ2Tot(), (*withoutSecond.GetQ2YVar())[1]) << "a response without data adds nothing";

  const Groups first(12, 0);
  const PLSCrossValidation emptyGroup = one.Validated(2, {1.0f, 1.0f}, &first);
  ASSERT_EQ(emptyGroup.GetWSet()->SizeRows(), 2);
  ExpectNear((*emptyGroup.GetWSet())[2], ToPlain(one.model.GetWprim()->back()), kTolerance);
  ExpectNear((*emptyGroup.GetTSet())[2], ToPlain(one.model.GetTprim()->back()), kTolerance);
}

TEST_F(CrossValidation, OfPlsShowsItsRoundsUnlessSilent) {
  const WithCatalogue translated({InContext(kContext, "CV round %1% of %2%")});
  for (const int responses : {1, 2}) {
    OneComponent one(Related(12, 6, static_cast<std::size_t>(responses), 3));
    const auto validate = [&](bool silent) {
      return one.Validated(PLSCrossValidation(&one.model, 2, nullptr), FloatVector(responses, 1.0f), silent);
    };
    const auto display = Shown([&] { validate(false); });
    const std::string round = kContext + std::string(": CV round ");
    EXPECT_THAT(display->texts, ElementsAre("", round + "1 of 2", round + "2 of 2"));
    EXPECT_TRUE(std::is_sorted(display->fractions.begin(), display->fractions.end()));
    EXPECT_THAT(display->fractions, ::testing::Contains(0.5));
    EXPECT_EQ(display->fractions.back(), 1.0);
    EXPECT_TRUE(Shown([&] { validate(true); })->texts.empty());
    NCProgress::SetDisplay(std::make_shared<StoppingDisplay>(1));
    EXPECT_GT(validate(false).GetQ2Tot(), 0.0f) << "it is not to be stopped";
    NCProgress::SetDisplay(nullptr);
  }
}

TEST_F(CrossValidation, OfPlsAsksMoreOfFewRows) {
  for (const auto& [rows, limit] : {std::pair(2, 0.05f), std::pair(100, 0.05f), std::pair(101, 0.0f)}) {
    const FloatMatrix x(rows, 2, 1.0f);
    NCPLS model(&x, &x, 10);
    EXPECT_EQ(PLSCrossValidation(&model, 2, nullptr).GetQ2Lim(), limit) << rows;
  }
}

}  // namespace
}  // namespace samples
