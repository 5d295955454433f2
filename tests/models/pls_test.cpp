#include "voran/models/pls.h"

#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/containers/container_values.h"
#include "tests/models/model_samples.h"
#include "tests/models/plain_nipals.h"
#include "tests/platform/catalogue.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/progress.h"

namespace samples {
namespace {

/// An iterate stops within a relative squared change of 1e-10, so within some 1e-5 of the end; float elements lose
/// another digit by deflation.
constexpr double kTolerance = 1e-4;

class Pls : public ModelTest {};

TEST_F(Pls, EqualsAPlainFitWithAndWithoutGapsAtAnyLimitAndFromAnyStart) {
  const std::pair<int, bool> cases[] = {{500, false}, {0, false}, {4, false}, {500, true}, {1, true}};
  const XY one = Related(70, 16, 1, 7);
  const XY three = Related(70, 16, 3, 7);
  const XY large = Related(700, 40, 3, 4);
  for (const XY& data : {one, Riddled(one), three, Riddled(three), XY{Riddled(three).x, three.y}, large}) {
    const bool isRough = data.x.GetNumMisVal() > 0 || data.x.SizeRows() > 70;
    for (const auto& [limit, isStarted] : cases) {
      const FloatVector start(isStarted ? data.x.SizeColumns() : 0, 0.5f);
      PlainMatrix x = ToPlain(data.x);
      PlainMatrix y = ToPlain(data.y);
      NCPLS pls(&data.x, &data.y, limit);
      for (int a = 1; a <= 3; ++a) {
        SCOPED_TRACE(::testing::Message() << data.y.SizeColumns() << " responses, limit " << limit << ", " << a);
        pls.NextComponent(nullptr, isStarted ? &start : nullptr, true, true);
        pls.CalculateResiduals();
        const plain_nipals::PlsComponent expected = plain_nipals::FitPls(x, y, limit, ToPlain(start));
        EXPECT_NEAR(pls.GetIterations(), expected.rounds, expected.rounds < 4 ? 0 : 1);
        ExpectNear((*pls.GetWprim())[a], expected.w, kTolerance);
        ExpectNear((*pls.GetTprim())[a], expected.t, kTolerance);
        ExpectNear((*pls.GetCprim())[a], expected.c, kTolerance);
        ExpectNear((*pls.GetUprim())[a], expected.u, kTolerance);
        ExpectNear((*pls.GetPprim())[a], expected.p, kTolerance);
        for (const FloatMatrix* m : {pls.GetWprim(), pls.GetTprim(), pls.GetCprim(), pls.GetUprim(), pls.GetPprim()}) {
          ExpectRightCounts(*m);
        }
        plain_nipals::Deflate(x, expected.t, expected.p);
        plain_nipals::Deflate(y, expected.t, expected.c);
      }
      EXPECT_EQ(pls.GetXResiduals()->GetNumMisVal(), data.x.GetNumMisVal());
      ExpectNear(*pls.GetYResiduals(), y, kTolerance * (isRough ? 10.0 : 1.0));
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
  const FloatMatrix w1 = pls.GetWprim()->GetRowSubMatrix(1, 1);
  EXPECT_TRUE(NCPLS::GetWStarPrim(w1, *pls.GetPprim()) == w1);
  for (int i = 1; i <= 50; ++i) {
    for (int a = 1; a <= components; ++a) {
      const double scale = std::sqrt((*pls.GetTprim())[a].GetSS());
      EXPECT_NEAR(Dot(data.x[i], wStar[a]), (*pls.GetTprim())[a][i], kTolerance * scale) << "T = X Wstar";
    }
    for (int j = 1; j <= 12; ++j) {
      const double rest = static_cast<double>((*pls.GetXResiduals())[i][j]);
      const double fitted = Dot(pls.GetTprim()->GetColumn(i), pls.GetPprim()->GetColumn(j));
      EXPECT_NEAR(fitted + rest, data.x[i][j], kTolerance) << "X = TP' + E";
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

TEST_F(Pls, WithoutCorrelationThereIsNoComponent) {
  const XY data = Related(8, 3, 1, 6);
  // Two responses, whose weights have squares that count as nothing.
  XY tiny = Related(12, 5, 2, 6);
  for (int i = 1; i <= 12; ++i) {
    tiny.x.MultiplyRow(i, 1e8, i);
    tiny.y.MultiplyRow(i, 1e-9, i);
  }
  const XY sets[] = {{FloatMatrix(8, 3, 0.0f), data.y},
                     {FloatMatrix(8, 3, kGap), data.y},
                     {data.x, FloatMatrix(8, 1, 0.0f)},
                     {data.x, FloatMatrix(8, 1, kGap)},
                     {ToMatrix({{1.0}, {1.0}, {-1.0}, {-1.0}}), ToMatrix({{1.0}, {-1.0}, {1.0}, {-1.0}})},
                     tiny};
  const auto error = [](NCPLS& pls) { return ErrorOf([&] { pls.NextComponent(nullptr, nullptr, true, true); }); };
  const auto expected = [](int component) {
    const std::string text = "The correlation between X and Y is zero or almost zero.\nComponent ";
    return std::pair(NCError::Level::kZeroCorrelation, text + std::to_string(component) + " cannot be computed.");
  };
  for (const auto& [x, y] : sets) {
    NCPLS pls(&x, &y, 50);
    EXPECT_EQ(error(pls), expected(1));
    EXPECT_EQ(pls.GetComponents() + pls.GetWprim()->SizeRows() + pls.GetCprim()->SizeRows(), 0);
    pls.NextComponent(nullptr, nullptr, true, false);
    EXPECT_EQ(pls.GetComponents(), 1) << "without a word where nobody watches";
  }
  const FloatMatrix rankOne = ToMatrix({{1.0, 2.0}, {2.0, 4.0}, {-3.0, -6.0}});
  const FloatVector y = {1.0f, 2.5f, -3.5f};
  NCPLS exhausted(&rankOne, &y, 50);
  Fit(exhausted, 1);
  EXPECT_EQ(error(exhausted), expected(2));
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
    EXPECT_EQ(TextOf([&] { pls.NextComponent(nullptr, nullptr, true, true); }) == "no error", c.isEnough) << c.g;
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
  EXPECT_EQ(ErrorOf([&] { pls.ShuffleYResiduals(permutation); }),
            std::pair(NCError::Level::kGeneral, std::string("Unable to permutate PLS model.")));
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

std::unique_ptr<NCProgress> Given(bool isGiven) {
  return isGiven ? std::make_unique<NCProgress>("given", 0.0f, 1.0f, false, false, true, "") : nullptr;
}

/// What a component shows, by its flags: on the given object or on one of its own.
TEST_F(Pls, ProgressShowsHowFarTheIterationIsFromItsEnd) {
  const WithCatalogue translated(Texts{{"PLS Component %1%", "PLS-Komponente %1%"}});
  const XY sets[] = {Related(60, 12, 3, 6), Related(60, 12, 1, 6)};
  struct {
    bool given, silent, interactive;
    const char* text;
    double last;
  } const cases[] = {{false, false, true, "PLS-Komponente 1", 1.0},
                     {false, false, false, "PLS-Komponente 1", 0.0},
                     {false, true, true, "", 0.0},
                     {true, false, true, "given", 1.0},
                     {true, false, false, "given", 0.0},
                     {true, true, true, "given", 0.0}};
  for (const auto& c : cases) {
    for (const auto& [x, y] : sets) {
      SCOPED_TRACE(::testing::Message() << c.given << c.silent << c.interactive << y.SizeColumns());
      const auto display = Shown([&, &x = x, &y = y] {
        const auto progress = Given(c.given);
        NCPLS(&x, &y, 500).NextComponent(progress.get(), nullptr, c.silent, c.interactive);
      });
      EXPECT_EQ(display->text, c.text);
      if (y.SizeColumns() == 1) continue;  // is there at once, in a range that may have no length
      EXPECT_EQ(display->fractions.empty() ? 0.0 : display->fractions.back(), c.last);
    }
  }
}

/// Silent, it asks at the end, and where it has a progress object to ask.
TEST_F(Pls, AsksForACancelAsItsFlagsAllow) {
  const WithCatalogue translated({InContext("Calculation of", "PLS component aborted.")});
  const XY data = Related(60, 12, 3, 6);
  const auto stopped = [&](bool given, bool silent, bool interactive) {
    NCProgress::SetDisplay(std::make_shared<StoppingDisplay>(1));
    const auto progress = Given(given);
    return ErrorOf([&] { NCPLS(&data.x, &data.y, 500).NextComponent(progress.get(), nullptr, silent, interactive); });
  };
  const std::string text = "Calculation of: PLS component aborted.";
  for (const bool given : {false, true}) {
    EXPECT_EQ(stopped(given, false, true), std::pair(NCError::Level::kGeneral, text));
    for (const bool silent : {false, true}) EXPECT_EQ(stopped(given, silent, false).second, "no error");
  }
  EXPECT_EQ(stopped(true, true, true), std::pair(NCError::Level::kCancel, text));
  EXPECT_EQ(stopped(false, true, true).second, "no error");
}

}  // namespace
}  // namespace samples
