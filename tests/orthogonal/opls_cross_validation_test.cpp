#include "voran/orthogonal/opls_cross_validation.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/models/model_samples.h"
#include "tests/orthogonal/plain_opls.h"
#include "voran/models/cv_groups.h"
#include "voran/orthogonal/opls.h"
#include "voran/platform/progress.h"

namespace samples {
namespace {

/// Of float elements after several deflations, against double.
constexpr double kTolerance = 1e-3;
constexpr double kPlainGap = plain_opls::kGap;

class OplsCv : public ModelTest {};

/// All rounds, refitted from the start for every number of orthogonal components.
struct PlainOplsCv {
  PlainOplsCv(const XY& data, const Groups& rowGroups, int groups, int predictive, int orthogonal)
      : t(static_cast<std::size_t>(predictive)), yPred(ToPlain(data.y)) {
    const PlainMatrix x = ToPlain(data.x);
    const PlainMatrix y = yPred;
    std::vector<plain_opls::Model> models;
    for (int g = 0; g < groups; ++g) {
      const auto isOut = [&](std::size_t i) { return rowGroups[static_cast<int>(i) + 1] == g; };
      const PlainMatrix yTrain = plain_nipals::Split(y, isOut).kept;
      plain_opls::Model& model = models.emplace_back(plain_nipals::Split(x, isOut).kept, yTrain, predictive);
      for (int k = 0; k < orthogonal; ++k) model.TakeOutOne();
      const plain_opls::Prediction prediction(model, plain_nipals::Split(x, isOut).leftOut);
      ssBefore.push_back(plain_opls::SumOfSquares(yTrain));
      ssAfter.push_back(plain_opls::SumOfSquares(model.yResiduals));
      yPred = plain_nipals::Joined(plain_nipals::Split(yPred, isOut).kept, prediction.y, isOut);

      const auto joined = [&](const Plain& fitted, const Plain& predicted, const Plain& weight, const Plain& first) {
        Plain all = plain_nipals::Joined(fitted, predicted, isOut);
        plain_opls::Scale(all, plain_nipals::Dot(weight, first) < 0.0 ? -1.0 : 1.0);
        return all;
      };
      for (std::size_t a = 0; a < t.size(); ++a) {
        t[a].push_back(joined(model.t[a], prediction.t[a], model.w.back()[a], models.front().w.back()[a]));
      }
      if (orthogonal > 0) {
        to.push_back(joined(model.to.back(), prediction.to.back(), model.wo.back(), models.front().wo.back()));
      }
    }
    SumUp(y);
  }

  void SumUp(const PlainMatrix& y) {
    double allPress = 0.0;
    for (std::size_t m = 0; m < y.front().size(); ++m) {
      double press = 0.0;
      for (std::size_t i = 0; i < y.size(); ++i) {
        if (y[i][m] == kPlainGap || yPred[i][m] == kPlainGap) continue;
        press += (y[i][m] - yPred[i][m]) * (y[i][m] - yPred[i][m]);
      }
      q2.push_back(1.0 - press / plain_opls::SumOfSquares(plain_opls::Column(y, m)));
      allPress += press;
    }
    q2Total = 1.0 - allPress / plain_opls::SumOfSquares(y);
  }

  std::vector<PlainMatrix> t;
  PlainMatrix to, yPred;
  Plain ssBefore, ssAfter, q2;
  double q2Total = 0.0;
};

TEST_F(OplsCv, EqualsPlainRefits) {
  Groups uneven(30, 1);
  for (int i = 1; i <= 30; i += 4) uneven(i, 0);
  for (int i = 2; i <= 30; i += 7) uneven(i, 2);
  struct {
    std::size_t responses;
    int predictive;
    bool gaps;
    Groups* groups;
  } const cases[] = {{1, 1, false, nullptr}, {1, 1, true, &uneven}, {3, 1, true, nullptr}, {3, 2, false, &uneven}};
  for (const auto& c : cases) {
    XY data = Related(30, 11, c.responses, 3);
    if (c.gaps) {
      data = {WithGaps(data.x, 5), WithGaps(data.y, 6)};
      data.x.SetRow(7, kGap);
    }
    const int groups = c.groups == nullptr ? 5 : 3;
    OPLSCrossValidation cv(&data.x, &data.y, c.predictive, groups, nullptr, c.groups);
    EXPECT_EQ(cv.GetToSet()->GetNumMisVal(), groups * 30);
    for (int n = 0; n <= 3 - c.predictive; ++n) {
      SCOPED_TRACE(::testing::Message() << c.responses << ", " << c.predictive << " + " << n << ", gaps " << c.gaps);
      if (n > 0) cv.NextComponent(nullptr);
      const PlainOplsCv expected(data, c.groups == nullptr ? GetDeafultCVGroupsVector(30, 5) : uneven, groups,
                                 c.predictive, n);
      EXPECT_EQ(cv.SizeCVRounds(), groups);
      EXPECT_EQ(cv.SizeOComponents(), n);
      ASSERT_EQ(cv.GetTSets()->size(), static_cast<std::size_t>(c.predictive));
      for (std::size_t a = 0; a < expected.t.size(); ++a) ExpectNear((*cv.GetTSets())[a], expected.t[a], kTolerance);
      if (n > 0) ExpectNear(*cv.GetToSet(), expected.to, kTolerance);
      ExpectNear(*cv.GetYPred(), expected.yPred, kTolerance);
      ExpectNear(*cv.GetSSYcv(), expected.ssAfter, kTolerance);
      ExpectNear(*cv.GetSSYcvOriginal(), expected.ssBefore, kTolerance);
      ExpectNear(*cv.GetQ2YVarCum(), expected.q2, kTolerance);
      EXPECT_NEAR(cv.GetQ2TotCum(), expected.q2Total, kTolerance);
      EXPECT_TRUE(cv.GetYPredResiduals() == data.y - *cv.GetYPred());
    }
  }
}

TEST_F(OplsCv, GoesOnFromStoredDataAsIfNothingHadBeen) {
  XY data = Related(25, 9, 2, 3);
  data = {WithGaps(data.x, 5), WithGaps(data.y, 6)};
  OPLSCrossValidation whole(&data.x, &data.y, 2, 4, nullptr, nullptr);
  whole.NextComponent(nullptr);
  std::stringstream file;
  ASSERT_TRUE(whole.GetData()->WriteObject(file));
  OPLSCrossvalidationData stored;
  ASSERT_TRUE(stored.ReadObject(file));
  OPLSCrossValidation rest(&data.x, &data.y, &stored, nullptr);
  EXPECT_EQ(rest.SizeCVRounds(), 4);
  EXPECT_EQ(rest.SizeOComponents(), 1);
  EXPECT_EQ(rest.GetYPred()->GetNumMisVal(), 50);
  ASSERT_EQ(rest.GetTSets()->size(), 2U);
  EXPECT_EQ(rest.GetTSets()->back().GetNumMisVal(), 100);
  rest.NextComponent(nullptr);
  whole.NextComponent(nullptr);
  EXPECT_EQ(rest.GetSSYcvOriginal()->Size(), 0);
  EXPECT_TRUE(*rest.GetTSets() == *whole.GetTSets() && *rest.GetToSet() == *whole.GetToSet());
  EXPECT_TRUE(*rest.GetYPred() == *whole.GetYPred());
  EXPECT_TRUE(*rest.GetSSYcv() == *whole.GetSSYcv());
  EXPECT_TRUE(*rest.GetQ2YVarCum() == *whole.GetQ2YVarCum());
  EXPECT_EQ(rest.GetQ2TotCum(), whole.GetQ2TotCum());
}

TEST_F(OplsCv, TakesGroupsAsTheyAre) {
  const XY data = Related(6, 5, 1, 3);
  const OPLSCrossValidation many(&data.x, &data.y, 1, 50, nullptr, nullptr);
  EXPECT_EQ(many.SizeCVRounds(), 6) << "no more rounds than rows";
  EXPECT_EQ(many.GetYPred()->GetNumMisVal(), 0);

  Groups some(6, 0);
  some(5, 9);
  some(6, 9);
  OPLSCrossValidation uncovered(&data.x, &data.y, 1, 2, nullptr, &some);
  uncovered.NextComponent(nullptr);
  EXPECT_EQ(uncovered.GetYPred()->GetNumMisVal(), 2) << "rows that no round leaves out";
  EXPECT_EQ((*uncovered.GetYPred())[6][1], kGap);
  NCOPLS whole(&data.x, &data.y, 1, 200);
  whole.NextComponent(nullptr);
  EXPECT_TRUE(uncovered.GetData()->WSets[1][0] == *whole.GetWprim()) << "the second round leaves nothing out";
}

TEST_F(OplsCv, EveryRoundCanEstimateItsPredictiveComponents) {
  const XY data = Related(24, 9, 3, 12);
  OPLSCrossValidation cv(&data.x, &data.y, 0, 4, nullptr, nullptr);
  cv.NextComponent(nullptr);
  std::set<int> counts;
  for (const auto& stages : cv.GetData()->WSets) {
    EXPECT_EQ(stages[0].SizeRows(), stages[1].SizeRows());
    counts.insert(stages[0].SizeRows());
  }
  EXPECT_GE(cv.GetTSets()->size(), static_cast<std::size_t>(*counts.rbegin()));
  EXPECT_EQ(cv.GetTSets()->front().GetNumMisVal(), 0);
  const XY one = Related(24, 9, 1, 12);
  EXPECT_EQ(OPLSCrossValidation(&one.x, &one.y, 3, 4, nullptr, nullptr).GetTSets()->size(), 1U);
}

TEST_F(OplsCv, AnExactPredictionHasQ2One) {
  XY data = Related(12, 6, 3, 3);
  data.y.SetColumn(1, 0.0f);
  data.y.SetColumn(3, 0.0f);
  const OPLSCrossValidation first(&data.x, &data.y, 1, 4, nullptr, nullptr);
  EXPECT_EQ((*first.GetQ2YVarCum())[1], 1.0f);
  EXPECT_FALSE((*first.GetQ2YVarCum())[3] == 1.0f) << "the errors of the second response count for it too";

  const FloatMatrix same = ToMatrix({{1}, {-1}, {2}, {-2}});
  const OPLSCrossValidation exact(&same, &same, 1, 4, nullptr, nullptr);
  EXPECT_EQ((*exact.GetQ2YVarCum())[1], 1.0f);
  EXPECT_EQ(exact.GetQ2TotCum(), 1.0f);
  const FloatMatrix zero(4, 1, 0.0f);
  EXPECT_EQ(OPLSCrossValidation(&same, &zero, 1, 4, nullptr, nullptr).GetQ2TotCum(), 1.0f) << "nothing to explain";
}

TEST_F(OplsCv, AResponseWithoutDataDoesNotCount) {
  const XY one = Related(12, 6, 1, 3);
  FloatMatrix y(12, 2, kGap);
  y.SetColumn(1, one.y.GetColumn(1));
  const OPLSCrossValidation alone(&one.x, &one.y, 1, 4, nullptr, nullptr);
  const OPLSCrossValidation beside(&one.x, &y, 1, 4, nullptr, nullptr);
  ASSERT_LT(alone.GetQ2TotCum(), 0.99f);
  EXPECT_NEAR(beside.GetQ2TotCum(), alone.GetQ2TotCum(), kTolerance);
}

TEST_F(OplsCv, AsksMoreOfFewRows) {
  for (const auto& [rows, limit] : {std::pair(100, 0.05f), std::pair(101, 0.0f)}) {
    const XY data = Related(static_cast<std::size_t>(rows), 2, 1, 3);
    EXPECT_EQ(OPLSCrossValidation(&data.x, &data.y, 1, 2, nullptr, nullptr).GetQ2Lim(), limit) << rows;
  }
}

TEST_F(OplsCv, ProgressRunsFromEndToEnd) {
  const XY data = Related(20, 8, 1, 3);
  const auto display = std::make_shared<RecordingDisplay>();
  NCProgress::SetDisplay(display);
  NCProgress progress("", 0.0f, 1.0f, false, false, true, "");
  OPLSCrossValidation cv(&data.x, &data.y, 1, 3, &progress, nullptr);
  for (int n = 0; n <= 1; ++n) {
    EXPECT_TRUE(std::is_sorted(display->fractions.begin(), display->fractions.end()));
    EXPECT_EQ(display->fractions.back(), 1.0);
    EXPECT_THAT(display->fractions, ::testing::Contains(::testing::DoubleNear(0.95 / 3.0, 1e-6))) << "the end of a fit";
    display->fractions.clear();
    if (n == 0) cv.NextComponent(&progress);
  }
}

}  // namespace
}  // namespace samples
