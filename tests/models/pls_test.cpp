#include "voran/models/pls.h"

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/containers/container_values.h"
#include "tests/models/model_samples.h"
#include "tests/models/plain_nipals.h"
#include "tests/platform/catalogue.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/progress.h"
#include "voran/platform/threading_control.h"

namespace {

using NCMultiThreading::ThreadingControl;
using samples::Dot;
using samples::ExpectNear;
using samples::Fit;
using samples::FloatMatrix;
using samples::FloatVector;
using samples::kGap;
using samples::PlainMatrix;
using samples::Related;
using samples::ToMatrix;
using samples::ToPlain;
using samples::WithGaps;
using samples::XY;

/// An iterate stops within a relative squared change of 1e-10, so within some 1e-5 of the end; float elements lose
/// another digit by deflation.
constexpr double kTolerance = 1e-4;

class Pls : public ::testing::Test {
 protected:
  void TearDown() override {
    NCProgress::SetDisplay(nullptr);
    ThreadingControl::Reset();
  }
};

TEST_F(Pls, EqualsAPlainFitWithAndWithoutGaps) {
  for (const int responses : {1, 3}) {
    for (const bool gaps : {false, true}) {
      SCOPED_TRACE(::testing::Message() << responses << " responses" << (gaps ? ", gaps" : ""));
      XY data = Related(70, 16, static_cast<std::size_t>(responses), 7);
      if (gaps) {
        data = {WithGaps(data.x, 3), WithGaps(data.y, 4)};
        for (int j = 1; j <= 16; ++j) data.x(5, j, kGap);
        for (int m = 1; m <= responses; ++m) data.y(9, m, kGap);
        for (int i = 1; i <= 70; ++i) data.x(i, 2, kGap);
      }
      PlainMatrix x = ToPlain(data.x);
      PlainMatrix y = ToPlain(data.y);
      NCPLS pls(&data.x, &data.y, 500);
      for (int a = 1; a <= 3; ++a) {
        SCOPED_TRACE(::testing::Message() << "component " << a);
        Fit(pls, 1);
        const plain_nipals::PlsComponent expected = plain_nipals::FitPls(x, y);
        ExpectNear((*pls.GetWprim())[a], expected.w, kTolerance);
        ExpectNear((*pls.GetTprim())[a], expected.t, kTolerance);
        ExpectNear((*pls.GetCprim())[a], expected.c, kTolerance);
        ExpectNear((*pls.GetUprim())[a], expected.u, kTolerance);
        ExpectNear((*pls.GetPprim())[a], expected.p, kTolerance);
        plain_nipals::Deflate(x, expected.t, expected.p);
        plain_nipals::Deflate(y, expected.t, expected.c);
      }
      EXPECT_EQ(pls.GetXResiduals()->GetNumMisVal(), data.x.GetNumMisVal());
      ExpectNear(*pls.GetYResiduals(), y, kTolerance * (gaps ? 10.0 : 1.0));
    }
  }
}

TEST_F(Pls, TheComponentsKeepTheirIdentities) {
  const XY data = Related(50, 12, 2, 3);
  const int components = 4;
  NCPLS pls(&data.x, &data.y, 500);
  Fit(pls, components);
  ASSERT_EQ(pls.GetComponents(), components);
  const FloatMatrix wStar = pls.GetWStarPrim();
  const FloatMatrix b = pls.GetRegressionCoefficients(-1);
  EXPECT_TRUE(b == pls.GetRegressionCoefficients(components));
  EXPECT_TRUE(pls.GetRegressionCoefficients(0) == FloatMatrix(12, 2, 0.0f));
  const FloatMatrix firstOnly = NCPLS::GetWStarPrim(pls.GetWprim()->GetRowSubMatrix(1, 1), *pls.GetPprim());
  EXPECT_TRUE(firstOnly == pls.GetWprim()->GetRowSubMatrix(1, 1));

  for (int i = 1; i <= 50; ++i) {
    for (int a = 1; a <= components; ++a) {
      const double scale = std::sqrt((*pls.GetTprim())[a].GetSS());
      EXPECT_NEAR(Dot(data.x[i], wStar[a]), (*pls.GetTprim())[a][i], kTolerance * scale) << "T = X Wstar";
    }
    for (int j = 1; j <= 12; ++j) {
      double sum = static_cast<double>((*pls.GetXResiduals())[i][j]);
      for (int a = 1; a <= components; ++a) sum += Dot({(*pls.GetTprim())[a][i]}, {(*pls.GetPprim())[a][j]});
      EXPECT_NEAR(sum, data.x[i][j], kTolerance) << "X = TP' + E";
    }
    for (int m = 1; m <= 2; ++m) {
      const double fitted = Dot(data.x[i], b.GetColumn(m));
      EXPECT_NEAR(fitted + static_cast<double>((*pls.GetYResiduals())[i][m]), data.y[i][m], kTolerance) << "Y = XB + F";
    }
  }
  const auto expectOrthogonal = [](const FloatMatrix& rows, const char* what) {
    for (int a = 1; a <= rows.SizeRows(); ++a) {
      for (int k = 1; k < a; ++k) {
        EXPECT_NEAR(Dot(rows[a], rows[k]) / std::sqrt(rows[a].GetSS() * rows[k].GetSS()), 0.0, kTolerance) << what;
      }
    }
  };
  expectOrthogonal(*pls.GetTprim(), "scores");
  expectOrthogonal(*pls.GetWprim(), "weights");
  for (const FloatVector& w : *pls.GetWprim()) EXPECT_NEAR(w.GetSS(), 1.0, 1e-6);
}

/// By hand: the second weights lose d = 4 * 0.5 + 1 * 0.25 + 2 * 1 times the first.
TEST_F(Pls, AVariableWithoutAWeightHasNoCoefficient) {
  const FloatMatrix w = ToMatrix({{kGap, 1.0, 0.0}, {0.5, 0.25, 1.0}});
  const FloatMatrix p = ToMatrix({{4.0, 1.0, 2.0}, {1.0, 1.0, 1.0}});
  const FloatMatrix c = ToMatrix({{2.0}, {4.0}});
  const FloatMatrix wStar = NCPLS::GetWStarPrim(w, p);
  EXPECT_TRUE(wStar == ToMatrix({{kGap, 1.0, 0.0}, {kGap, -4.0, 1.0}}));
  ExpectRightCounts(wStar);
  EXPECT_TRUE(NCPLS::GetRegressionCoefficients(p, w, c) == ToMatrix({{kGap}, {-14.0}, {4.0}}));
}

/// One component in its single steps, each through the public interface of the matrix.
struct StepwiseFit {
  FloatVector w, t, c, u, p;
  int rounds = 0;

  StepwiseFit(const FloatMatrix& x, const FloatMatrix& y, int limit, const FloatVector* start) {
    const bool isSingle = y.SizeColumns() == 1;
    u = y.GetNIPALSStartColumn();
    if (start != nullptr && !isSingle) {
      const FloatVector c0 = y.SpecialNipalsRegressColumnsFix(x.SpecialNipalsRegressRowsFix(*start));
      u = y.SpecialNipalsRegressRowsFix(c0);
    }
    double change;
    do {
      const FloatVector old = u;
      w = x.SpecialNipalsRegressColumnsFix(u);
      w.Normalise();
      t = x.SpecialNipalsRegressRowsFix(w);
      c = y.SpecialNipalsRegressColumnsFix(t);
      u = y.SpecialNipalsRegressRowsFix(c);
      change = isSingle ? 0.0 : u.Difference(old);
      ++rounds;
    } while (change > 1e-10 && rounds < limit);
    p = x.SpecialNipalsRegressColumnsFix(t);
  }
};

/// Bit for bit where there are gaps or a single response; otherwise to what float elements can tell, since a complete
/// matrix leaves a choice of ways to the same numbers.
TEST_F(Pls, EqualsTheSingleSteps) {
  constexpr double kFloatTolerance = 1e-5;
  const FloatVector start(40, 0.5f);
  for (const std::size_t responses : {1U, 3U}) {
    const XY complete = Related(700, 40, responses, 4);
    const XY sets[] = {complete,
                       {WithGaps(complete.x, 9), complete.y},
                       {complete.x, WithGaps(complete.y, 8)},
                       {WithGaps(complete.x, 9), WithGaps(complete.y, 8)}};
    for (const XY& data : sets) {
      for (const FloatVector* given : {static_cast<const FloatVector*>(nullptr), &start}) {
        for (const int limit : {0, 1, 3, 200}) {
          SCOPED_TRACE(::testing::Message() << responses << " responses, " << data.x.GetNumMisVal() << " and "
                                            << data.y.GetNumMisVal() << " gaps, limit " << limit);
          NCPLS pls(&data.x, &data.y, limit);
          pls.NextComponent(nullptr, given, true, false);
          const StepwiseFit steps(data.x, data.y, limit, given);
          const FloatVector* const expected[] = {&steps.w, &steps.t, &steps.c, &steps.u, &steps.p};
          const FloatMatrix* const fitted[] = {pls.GetWprim(), pls.GetTprim(), pls.GetCprim(), pls.GetUprim(),
                                               pls.GetPprim()};
          const bool mayDiffer = responses > 1 && data.x.GetNumMisVal() + data.y.GetNumMisVal() == 0;
          EXPECT_NEAR(pls.GetIterations(), steps.rounds, mayDiffer ? 1 : 0);
          for (std::size_t k = 0; k < 5; ++k) {
            if (mayDiffer) {
              ExpectNear((*fitted[k])[1], ToPlain(*expected[k]), kFloatTolerance);
            } else {
              EXPECT_TRUE((*fitted[k])[1] == *expected[k]) << "wtcup"[k];
              EXPECT_EQ((*fitted[k])[1].GetNumMisVal(), expected[k]->GetNumMisVal()) << "wtcup"[k];
            }
          }
        }
      }
    }
  }
}

FloatMatrix Times(FloatMatrix m, float factor) {
  for (int i = 1; i <= m.SizeRows(); ++i) m.MultiplyRow(i, static_cast<double>(factor), i);
  return m;
}

TEST_F(Pls, WithoutCorrelationThereIsNoComponent) {
  const XY data = Related(8, 3, 1, 6);
  const FloatMatrix zeroX(8, 3, 0.0f);
  const FloatMatrix emptyX(8, 3, kGap);
  const FloatMatrix zeroY(8, 1, 0.0f);
  const FloatMatrix emptyY(8, 1, kGap);
  const FloatMatrix evenX = ToMatrix({{1.0}, {1.0}, {-1.0}, {-1.0}});
  const FloatMatrix oddY = ToMatrix({{1.0}, {-1.0}, {1.0}, {-1.0}});
  // Two responses, whose weights have squares that count as nothing.
  const XY related = Related(12, 5, 2, 6);
  const FloatMatrix largeX = Times(related.x, 1e8f);
  const FloatMatrix smallY = Times(related.y, 1e-9f);
  const std::pair<const FloatMatrix*, const FloatMatrix*> sets[] = {{&zeroX, &data.y}, {&emptyX, &data.y},
                                                                    {&data.x, &zeroY}, {&data.x, &emptyY},
                                                                    {&evenX, &oddY},   {&largeX, &smallY}};
  for (const auto& [x, y] : sets) {
    NCPLS pls(x, y, 50);
    try {
      pls.NextComponent(nullptr, nullptr, true, true);
      ADD_FAILURE() << "no error";
    } catch (const NCError& error) {
      EXPECT_STREQ(error.what(),
                   "The correlation between X and Y is zero or almost zero.\nComponent 1 cannot be computed.");
      EXPECT_EQ(error.GetLevel(), NCError::Level::kZeroCorrelation);
    }
    EXPECT_EQ(pls.GetComponents() + pls.GetWprim()->SizeRows() + pls.GetCprim()->SizeRows(), 0);
    pls.NextComponent(nullptr, nullptr, true, false);
    EXPECT_EQ(pls.GetComponents(), 1) << "without a word where nobody watches";
  }
  const FloatMatrix rankOne = ToMatrix({{1.0, 2.0}, {2.0, 4.0}, {-3.0, -6.0}});
  const FloatVector y = {1.0f, 2.5f, -3.5f};
  NCPLS exhausted(&rankOne, &y, 50);
  Fit(exhausted, 1);
  try {
    exhausted.NextComponent(nullptr, nullptr, true, true);
    ADD_FAILURE() << "no error";
  } catch (const NCError& error) {
    EXPECT_NE(std::string(error.what()).find("Component 2 cannot"), std::string::npos) << error.what();
  }
  EXPECT_EQ(exhausted.GetComponents(), 1);
}

/// g = |u| |w| / |X| must reach 1e-6 over the root of the number of variables. With X of equal columns (1, 1) and
/// y = (1, 2g - 1) it is just g.
TEST_F(Pls, TheLeastCorrelationIsAsDefined) {
  struct {
    int columns;
    double g;
    bool isEnough;
  } const cases[] = {{1, 1.5e-6, true}, {1, 0.7e-6, false}, {4, 0.7e-6, true}, {4, 0.3e-6, false}};
  for (const auto& c : cases) {
    const FloatMatrix x(2, c.columns, 1.0f);
    const FloatVector y = {1.0f, static_cast<float>(2.0 * c.g - 1.0)};
    NCPLS pls(&x, &y, 50);
    if (c.isEnough) {
      EXPECT_NO_THROW(pls.NextComponent(nullptr, nullptr, true, true)) << c.g;
    } else {
      EXPECT_THROW(pls.NextComponent(nullptr, nullptr, true, true), NCError) << c.g;
    }
  }
}

TEST_F(Pls, FlippingAndShuffling) {
  XY data = Related(20, 6, 2, 8);
  data.y(4, 2, kGap);
  NCPLS pls(&data.x, &data.y, 100);
  int permutation[21] = {-1, 4, 3, 2, 1};
  for (int i = 5; i <= 20; ++i) permutation[i] = 25 - i;
  pls.ShuffleYResiduals(permutation);
  for (int i = 1; i <= 20; ++i) EXPECT_TRUE((*pls.GetYResiduals())[i] == data.y[permutation[i]]);
  EXPECT_EQ(pls.GetYResiduals()->GetColumnMisVal(2), 1);
  pls.ShuffleYResiduals(permutation);
  EXPECT_TRUE(*pls.GetYResiduals() == data.y) << "its own inverse";

  Fit(pls, 2);
  try {
    pls.ShuffleYResiduals(permutation);
    ADD_FAILURE() << "no error";
  } catch (const NCError& error) {
    EXPECT_STREQ(error.what(), "Unable to permutate PLS model.");
    EXPECT_EQ(error.GetLevel(), NCError::Level::kGeneral);
  }
  EXPECT_THROW(NCPLS().ShuffleYResiduals(permutation), NCError);

  const FloatMatrix b = pls.GetRegressionCoefficients(-1);
  const FloatMatrix residuals = *pls.GetXResiduals();
  const FloatMatrix* const sets[] = {pls.GetCprim(), pls.GetPprim(), pls.GetWprim(), pls.GetUprim(), pls.GetTprim()};
  std::vector<FloatMatrix> before;
  for (const FloatMatrix* m : sets) before.push_back(*m);
  pls.FlipComponent(2);
  for (std::size_t k = 0; k < before.size(); ++k) {
    EXPECT_TRUE((*sets[k])[1] == before[k][1]);
    EXPECT_TRUE((*sets[k])[2] == before[k][2] * -1.0);
  }
  EXPECT_TRUE(*pls.GetXResiduals() == residuals);
  EXPECT_TRUE(pls.GetRegressionCoefficients(-1) == b);
}

/// What a component shows, by its flags: on the given object or on one of its own.
TEST_F(Pls, ProgressShowsHowFarTheIterationIsFromItsEnd) {
  const XY several = Related(60, 12, 3, 6);
  const XY one = Related(60, 12, 1, 6);
  struct {
    bool given, silent, interactive;
    const char* text;
    bool reachesTheEnd;
  } const cases[] = {{false, false, true, "PLS Component 1", true},
                     {false, false, false, "PLS Component 1", false},
                     {false, true, true, "", false},
                     {true, false, true, "given", true},
                     {true, false, false, "given", false},
                     {true, true, true, "given", false}};
  for (const auto& c : cases) {
    for (const XY* data : {&several, &one}) {
      SCOPED_TRACE(::testing::Message() << c.given << c.silent << c.interactive << data->y.SizeColumns());
      const auto display = std::make_shared<samples::RecordingDisplay>();
      NCProgress::SetDisplay(display);
      std::unique_ptr<NCProgress> progress;
      if (c.given) progress = std::make_unique<NCProgress>("given", 0.0f, 1.0f, false, false, true, "");
      NCPLS pls(&data->x, &data->y, 500);
      pls.NextComponent(progress.get(), nullptr, c.silent, c.interactive);
      NCProgress::SetDisplay(nullptr);
      EXPECT_EQ(display->text, c.text);
      if (data == &one) continue;  // is there at once, in a range that may have no length
      const double last = display->fractions.empty() ? 0.0 : display->fractions.back();
      EXPECT_EQ(last, c.reachesTheEnd ? 1.0 : 0.0);
    }
  }
}

TEST_F(Pls, ACancelAtAnyPollLeavesTheModelAsItWas) {
  const XY data = Related(60, 12, 3, 6);
  NCPLS reference(&data.x, &data.y, 500);
  Fit(reference, 1);
  ASSERT_GE(reference.GetIterations(), 4);
  for (const bool given : {false, true}) {
    for (const bool silent : {false, true}) {
      const int atTheEnd = given || !silent ? 1 : 0;
      const int polls = (silent ? 0 : reference.GetIterations()) + atTheEnd;
      for (int k = 1; k <= polls + 1; ++k) {
        SCOPED_TRACE(::testing::Message() << given << silent << ", poll " << k << " of " << polls);
        NCProgress::SetDisplay(std::make_shared<samples::StoppingDisplay>(k));
        std::unique_ptr<NCProgress> progress;
        if (given) progress = std::make_unique<NCProgress>("PLS", 0.0f, 1.0f, false, false, true, "");
        NCPLS pls(&data.x, &data.y, 500);
        try {
          pls.NextComponent(progress.get(), nullptr, silent, true);
          EXPECT_EQ(k, polls + 1) << "was not stopped";
        } catch (const NCError& error) {
          EXPECT_STREQ(error.what(), "PLS component aborted.");
          EXPECT_EQ(error.GetLevel(), k == polls ? NCError::Level::kCancel : NCError::Level::kGeneral);
          EXPECT_EQ(pls.GetComponents() + pls.GetWprim()->SizeRows() + pls.GetUprim()->SizeRows(), 0);
          EXPECT_NO_THROW(pls.NextComponent(progress.get(), nullptr, silent, false)) << "does not ask";
        }
        progress.reset();
        NCProgress::SetDisplay(nullptr);
      }
    }
  }
}

TEST_F(Pls, WhatItShowsAndThrowsIsTranslated) {
  const WithCatalogue translated(
      {InContext("Calculation of", "PLS component aborted."), {"PLS Component %1%", "PLS-Komponente %1%"}});
  const XY data = Related(20, 6, 2, 8);
  NCPLS pls(&data.x, &data.y, 100);
  const auto display = std::make_shared<samples::RecordingDisplay>();
  NCProgress::SetDisplay(display);
  pls.NextComponent(nullptr, nullptr, false, false);
  EXPECT_EQ(display->text, "PLS-Komponente 1");
  NCProgress::SetDisplay(std::make_shared<samples::StoppingDisplay>(1));
  try {
    pls.NextComponent(nullptr, nullptr, false, true);
    ADD_FAILURE() << "was not stopped";
  } catch (const NCError& error) {
    EXPECT_STREQ(error.what(), "Calculation of: PLS component aborted.");
  }
}

}  // namespace
