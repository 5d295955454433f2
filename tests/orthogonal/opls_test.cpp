#include "voran/orthogonal/opls.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include <gtest/gtest.h>

#include "tests/models/model_samples.h"
#include "tests/orthogonal/plain_opls.h"
#include "voran/platform/progress.h"

namespace samples {
namespace {

/// Float elements lose a digit by each deflation, and weights by PCA stop within some 1e-5 of the end.
constexpr double kTolerance = 1e-4;

class Opls : public ModelTest {};

NCOPLS Fitted(const XY& data, int predictive, int orthogonal) {
  NCOPLS opls(&data.x, &data.y, predictive, plain_opls::kPcaLimit);
  for (int k = 0; k <= orthogonal; ++k) opls.NextComponent(nullptr);
  return opls;
}

TEST_F(Opls, EqualsAPlainFitWithAndWithoutGaps) {
  struct {
    std::size_t responses;
    int predictive;
  } const cases[] = {{1, 1}, {3, 1}, {3, 2}};
  for (const auto& c : cases) {
    for (const bool gaps : {false, true}) {
      XY data = Related(60, 14, c.responses, 7);
      if (gaps) data = Riddled(data);
      NCOPLS opls = Fitted(data, c.predictive, 0);
      plain_opls::Model expected(ToPlain(data.x), ToPlain(data.y), c.predictive);
      const int most = 3 - c.predictive;  // what is left then is noise
      for (int n = 0; n <= most; ++n) {
        SCOPED_TRACE(::testing::Message() << c.responses << ", " << c.predictive << " + " << n << ", gaps " << gaps);
        if (n > 0) {
          opls.NextComponent(nullptr);
          expected.TakeOutOne();
        }
        ASSERT_EQ(opls.SizeComponents(), c.predictive);
        ASSERT_EQ(opls.SizeOrthogonalComponents(), n);
        EXPECT_TRUE(!gaps || expected.passes > 1) << "the refinement is not tried";
        ExpectNear(*opls.GetTprim(), expected.t, kTolerance);
        ExpectNear(*opls.GetUprim(), expected.u, kTolerance);
        ExpectNear(*opls.GetTOprim(), expected.to, kTolerance);
        ExpectNear(*opls.GetPOprim(), expected.po, kTolerance);
        ExpectNear(*opls.GetWOprim(), expected.wo, kTolerance);
        const bool carriesY = n > 0 && opls.GetUOprim()->back().GetNumMisVal() < 60;
        EXPECT_EQ(carriesY, n > 0 && (gaps || c.responses > 1)) << "orthogonal scores are, to a single complete Y";
        if (carriesY) {
          ExpectNear(*opls.GetCOprim(), expected.co, kTolerance * 10.0);
          ExpectNear(*opls.GetUOprim(), expected.uo, kTolerance * 10.0);
        }
        ExpectNear(opls.GetYResiduals(), expected.yResiduals, kTolerance * 10.0);
        ExpectNear(opls.GetXResiduals(), expected.xResiduals, kTolerance * 10.0);
      }
      ASSERT_EQ(opls.GetWMatrices()->size(), expected.w.size());
      for (std::size_t stage = 0; stage < expected.w.size(); ++stage) {
        ExpectNear((*opls.GetWMatrices())[stage], expected.w[stage], kTolerance);
        ExpectNear((*opls.GetPMatrices())[stage], expected.p[stage], kTolerance);
        ExpectNear((*opls.GetCMatrices())[stage], expected.c[stage], kTolerance);
      }
    }
  }
}

TEST_F(Opls, RefinementEndsAtTheLimit) {
  const XY data = Riddled(Related(60, 14, 1, 7));
  ASSERT_GT(plain_opls::Model(ToPlain(data.x), ToPlain(data.y), 1).passes, 1) << "there is nothing to cut short";
  NCOPLS opls(&data.x, &data.y, 1, 1);
  opls.NextComponent(nullptr);
  const plain_opls::Model expected(ToPlain(data.x), ToPlain(data.y), 1, 1);
  ExpectNear(*opls.GetWprim(), expected.w.back(), kTolerance);
  ExpectNear(*opls.GetTprim(), expected.t, kTolerance);
}

TEST_F(Opls, PredictiveComponentsAreClampedOrEstimated) {
  const XY three = Related(40, 10, 3, 5);
  const XY twoRows = Related(2, 10, 3, 5);
  const XY one = Related(40, 10, 1, 5);
  EXPECT_EQ(Fitted(three, 7, 0).SizeComponents(), 3);
  EXPECT_EQ(Fitted(twoRows, 7, 0).SizeComponents(), 2);
  for (const int asked : {2, 0}) EXPECT_EQ(Fitted(one, asked, 1).SizeComponents(), 1);

  // X is the identity, so that Y'X is Y', whose singular values are given: a component counts from 1 % of the first
  // one's square on.
  struct {
    std::vector<double> values;
    int components;
  } const cases[] = {{{1.0, 0.05, 0.01}, 1}, {{1.0, 0.5, 0.11}, 3}, {{1.0, 0.5, 0.09}, 2}};
  for (const auto& c : cases) {
    XY data{FloatMatrix(5, 5, 0.0f), FloatMatrix(5, 3, 0.0f)};
    for (int i = 1; i <= 5; ++i) data.x(i, i, 1.0f);
    for (int m = 1; m <= 3; ++m) data.y(m, m, static_cast<float>(c.values[static_cast<std::size_t>(m - 1)]));
    for (const int asked : {0, -3}) EXPECT_EQ(Fitted(data, asked, 0).SizeComponents(), c.components) << c.values[1];
  }
}

/// With X of two columns, y + z and y, and a second response of e z, the orthogonal component is z, and its share of Y
/// is e.
TEST_F(Opls, AComponentWithoutShareOfYHasNoYScores) {
  for (const double e : {0.85e-6, 0.55e-6}) {
    const XY data = {ToMatrix({{2, 1}, {0, 1}, {0, -1}, {-2, -1}}), ToMatrix({{1, e}, {1, -e}, {-1, e}, {-1, -e}})};
    const NCOPLS opls = Fitted(data, 1, 1);
    EXPECT_EQ((*opls.GetUOprim())[1].GetNumMisVal(), e > 1e-6 / std::sqrt(2.0) ? 0 : 4);
    EXPECT_EQ(opls.GetUOprim()->GetNumMisVal(), (*opls.GetUOprim())[1].GetNumMisVal());
    EXPECT_NEAR((*opls.GetCOprim())[1][2] / (std::sqrt(2.0) * e), 1.0, 1e-3);
  }
  const XY constant = {FloatMatrix(4, 2, 1.0f), FloatMatrix(4, 1, 0.0f)};
  EXPECT_EQ((*Fitted(constant, 1, 1).GetUOprim())[1].GetNumMisVal(), 4) << "0/0";
}

TEST_F(Opls, ABlockWithoutColumnsHasAComponentOfNothing) {
  const FloatMatrix x(6, 0, 0.0f);
  const FloatMatrix y(6, 1, 1.5f);
  NCOPLS model(&x, &y, 1, 20);
  for (int stage = 0; stage < 2; ++stage) {
    model.NextComponent(nullptr);
    EXPECT_EQ(model.SizeComponents(), 1);
    EXPECT_EQ(model.GetTprim()->SizeColumns(), 6);
    EXPECT_EQ(model.GetPprim()->SizeColumns(), 0);
  }
}

TEST_F(Opls, ARestoredModelGoesOnAsIfNothingHadBeen) {
  for (const std::size_t responses : {1U, 3U}) {
    for (const bool gaps : {false, true}) {
      XY data = Related(30, 12, responses, 9);
      if (gaps) data = Riddled(data);
      NCOPLS opls = Fitted(data, responses > 1 ? 2 : 1, 2);
      opls.NegateOComp(2);
      opls.NegatePredictiveComp(1);
      NCOPLS restored(&data.x, &data.y, opls.GetWMatrices(), opls.GetPMatrices(), opls.GetCMatrices(), opls.GetWOprim(),
                      opls.GetPOprim(), opls.GetCOprim(), 7, plain_opls::kPcaLimit);
      EXPECT_TRUE(*restored.GetTprim() == *opls.GetTprim());
      EXPECT_TRUE(*restored.GetTOprim() == *opls.GetTOprim());
      EXPECT_EQ(restored.GetUprim()->SizeRows(), 0);
      ASSERT_EQ(restored.GetUOprim()->SizeRows(), 2);
      if (opls.GetUOprim()->begin()->GetNumMisVal() < 30) {
        EXPECT_TRUE((*restored.GetUOprim())[1] == (*opls.GetUOprim())[1]);
      }
      EXPECT_TRUE(restored.GetXResiduals() == opls.GetXResiduals());
      for (NCOPLS* model : {&opls, &restored}) model->NextComponent(nullptr);
      EXPECT_TRUE(*restored.GetWMatrices() == *opls.GetWMatrices());
      EXPECT_TRUE(*restored.GetTOprim() == *opls.GetTOprim());
      EXPECT_TRUE(*restored.GetUprim() == *opls.GetUprim());
      EXPECT_TRUE(restored.GetYResiduals() == opls.GetYResiduals());
    }
  }
}

TEST_F(Opls, TurningASignLeavesYScoresAndOtherStagesAlone) {
  const XY data = Related(30, 12, 3, 9);
  const NCOPLS before = Fitted(data, 2, 1);
  NCOPLS turned = before;
  turned.NegatePredictiveComp(2);
  turned.NegateOComp(1);
  const auto expectTurned = [&](const auto& getters, int row) {
    for (const auto get : getters) {
      const FloatMatrix& now = *(turned.*get)();
      const FloatMatrix& then = *(before.*get)();
      for (int a = 1; a <= now.SizeRows(); ++a) EXPECT_TRUE(now[a] == then[a] * (a == row ? -1.0 : 1.0)) << a;
    }
  };
  expectTurned(std::array{&NCOPLS::GetWprim, &NCOPLS::GetPprim, &NCOPLS::GetCprim, &NCOPLS::GetTprim}, 2);
  expectTurned(std::array{&NCOPLS::GetWOprim, &NCOPLS::GetPOprim, &NCOPLS::GetCOprim, &NCOPLS::GetTOprim}, 1);
  expectTurned(std::array{&NCOPLS::GetUprim, &NCOPLS::GetUOprim}, 0);
  EXPECT_TRUE(turned.GetWMatrices()->front() == before.GetWMatrices()->front());
  EXPECT_TRUE(turned.GetXResiduals() == before.GetXResiduals());
  EXPECT_TRUE(turned.GetYResiduals() == before.GetYResiduals());
  turned.NegatePredictiveComp(2);
  turned.NegateOComp(1);
  EXPECT_TRUE(*turned.GetTprim() == *before.GetTprim() && *turned.GetTOprim() == *before.GetTOprim());
  EXPECT_TRUE(*turned.GetWMatrices() == *before.GetWMatrices());
}

TEST_F(Opls, ProgressRunsFromEndToEnd) {
  const XY related = Related(20, 8, 1, 3);
  const XY data = {WithGaps(related.x, 5), related.y};
  NCOPLS opls(&data.x, &data.y, 1, 200);
  for (int n = 0; n <= 1; ++n) {
    const auto display = Shown([&] {
      NCProgress progress("", 0.0f, 1.0f, false, false, true, "");
      opls.NextComponent(&progress);
    });
    EXPECT_TRUE(std::is_sorted(display->fractions.begin(), display->fractions.end()));
    EXPECT_NEAR(display->fractions[1], n * 0.1, 1e-6) << "a tenth is for the orthogonal component";
    EXPECT_NEAR(display->fractions.back(), 1.0, 1e-6);
  }
}

}  // namespace
}  // namespace samples
