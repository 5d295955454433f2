#include "voran/orthogonal/y_orthogonal_pls.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <memory>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/models/model_samples.h"
#include "tests/models/plain_nipals.h"
#include "voran/models/pls.h"
#include "voran/orthogonal/osc_component_validator.h"

namespace samples {
namespace {

using plain_nipals::Column;
using plain_nipals::Deflate;
using plain_nipals::Scale;
using plain_nipals::SumOfSquares;
using samples::Equal;

/// Float elements lose a digit by each deflation, of which there are some inside each trial.
constexpr double kTolerance = 1e-3;

class YOrthogonalPls : public ModelTest {};

NCYOrthogonalPLS Fitted(const XY& data, int components, int iterations = 50, int maxInnerComponents = 0) {
  NCYOrthogonalPLS filter(&data.x, &data.y, iterations, maxInnerComponents);
  for (int a = 1; a <= components; ++a) filter.NextComponent(false);
  return filter;
}

/// The squared distance of two residuals of x, which have its rounding errors.
double DistanceShare(const FloatMatrix& a, const FloatMatrix& b, const FloatMatrix& x) {
  return (a - b).GetSS() / x.GetSS();
}

bool Equal(const NCYOrthogonalPLS& a, const NCYOrthogonalPLS& b) {
  return a.GetComponents() == b.GetComponents() && Equal(*a.GetPprim(), *b.GetPprim()) &&
         Equal(*a.GetWprim(), *b.GetWprim()) && Equal(*a.GetTprim(), *b.GetTprim()) &&
         Equal(*a.GetXResiduals(), *b.GetXResiduals());
}

/// Regression over the pairs present, without a floor.
double PlainSlope(const Plain& v, const Plain& y) {
  double squares = 0.0;
  for (std::size_t i = 0; i < v.size(); ++i) squares += y[i] == plain_nipals::kGap ? 0.0 : v[i] * v[i];
  return plain_nipals::Dot(v, y) / squares;
}

/// The method once more, in double and by plain loops, for data in which no row or column is empty.
struct PlainFilter {
  PlainFilter(PlainMatrix xGiven, PlainMatrix y, int iterations, int innerComponents)
      : x(std::move(xGiven)), limit(iterations), inner(innerComponents) {
    const double first = SumOfSquares(y);
    while (SumOfSquares(y) / first > 0.001) {
      const plain_nipals::PcaComponent a = FirstComponent(y);
      Deflate(y, a.t, a.p);
      // An orthonormal basis of the scores serves as well as they.
      Plain t = Orthogonal(a.t);
      Scale(t, 1.0 / std::sqrt(SumOfSquares(t)));
      yScores.push_back(t);
    }
  }

  plain_nipals::PcaComponent FirstComponent(const PlainMatrix& m) const {
    return plain_nipals::FitPca(m, plain_nipals::StartColumn(m), limit);
  }

  Plain Orthogonal(Plain v) const {
    const Plain given = v;
    for (const Plain& t : yScores) plain_nipals::Subtract(v, t, plain_nipals::Dot(t, given));
    return v;
  }

  Plain Scores(const Plain& w) const {
    Plain t;
    for (const Plain& row : x) t.push_back(PlainSlope(w, row));
    return t;
  }

  Plain Regression(const Plain& t) const {
    PlainMatrix y;
    for (const double value : t) y.push_back({value});
    return plain_nipals::PlsCoefficients(
        x, y, [this](int a, const plain_nipals::PlsComponent& /*component*/, const PlainMatrix& left) {
          return a < inner && SumOfSquares(left) >= 1e-4 * SumOfSquares(x);
        });
  }

  void TakeOutOne() {
    Plain w = FirstComponent(x).p;
    double change = 1.0;
    for (trials = 0; trials < limit && change > 1e-7; ++trials) {
      const Plain before = w;
      w = Regression(Orthogonal(Scores(w)));
      Scale(w, 1.0 / std::sqrt(SumOfSquares(w)));
      change = plain_nipals::RelativeChange(w, before);
    }
    ws.push_back(w);
    ts.push_back(Scores(w));
    Plain p;
    for (std::size_t j = 0; j < w.size(); ++j) p.push_back(PlainSlope(ts.back(), Column(x, j)));
    ps.push_back(p);
    Deflate(x, ts.back(), p);
  }

  PlainMatrix x, yScores, ws, ts, ps;
  int limit, inner;
  int trials = 0;  ///< of the last component
};

/// Some gaps, but no row of them alone.
FloatMatrix Gapped(const FloatMatrix& m, unsigned seed) {
  FloatMatrix gapped = WithGaps(m, seed);
  for (int i = 1; i <= m.SizeRows(); ++i) {
    if (gapped[i].GetNumMisVal() == m.SizeColumns()) gapped.SetRow(i, m[i]);
  }
  return gapped;
}

TEST_F(YOrthogonalPls, EqualsAPlainFitWithAndWithoutGaps) {
  const struct {
    std::size_t responses;
    int iterations, inner;
  } cases[] = {{1, 8, 2}, {2, 8, 3}, {2, 1, 3}, {1, 3, 1}};
  for (const auto& c : cases) {
    for (const bool gaps : {false, true}) {
      SCOPED_TRACE(::testing::Message() << c.responses << ", " << c.iterations << ", " << c.inner << ", gaps " << gaps);
      XY data = Related(40, 12, c.responses, 5);
      if (gaps) data = {Gapped(data.x, 3), Gapped(data.y, 4)};
      const NCYOrthogonalPLS filter = Fitted(data, 2, c.iterations, c.inner);
      PlainFilter expected(ToPlain(data.x), ToPlain(data.y), c.iterations, c.inner);
      for (int a = 1; a <= 2; ++a) expected.TakeOutOne();
      ExpectNear(*filter.GetWprim(), expected.ws, kTolerance);
      ExpectNear(*filter.GetTprim(), expected.ts, kTolerance);
      ExpectNear(*filter.GetPprim(), expected.ps, kTolerance);
      ExpectNear(*filter.GetXResiduals(), expected.x, kTolerance);
      EXPECT_EQ(filter.GetComponents(), 2);
    }
  }
}

TEST_F(YOrthogonalPls, ScoresAndResidualsFollowFromTheMatrices) {
  for (const bool gaps : {false, true}) {
    XY data = Related(25, 10, 2, 8);
    if (gaps) data.x = WithGaps(data.x, 5);
    NCYOrthogonalPLS filter = Fitted(data, 3);
    FloatMatrix left = data.x;
    filter.CalculateResiduals(&left);
    EXPECT_TRUE(Equal(left, *filter.GetXResiduals()));

    const PlainMatrix x = ToPlain(data.x);
    PlainMatrix rest = x;
    for (int a = 1; a <= 3; ++a) Deflate(rest, ToPlain((*filter.GetTprim())[a]), ToPlain((*filter.GetPprim())[a]));
    EXPECT_LT(DistanceShare(left, ToMatrix(rest), data.x), 1e-12);
    if (gaps) continue;
    PlainMatrix scores;
    for (const FloatVector& w : filter.GetWStarPrim()) {
      scores.emplace_back();
      for (const Plain& row : x) scores.back().push_back(plain_nipals::Dot(row, ToPlain(w)));
    }
    ExpectNear(*filter.GetTprim(), scores, 1e-4);
  }
}

TEST_F(YOrthogonalPls, RemovalUndoesAComponent) {
  XY data = Related(25, 10, 1, 9);
  data.x = WithGaps(data.x, 6);
  NCYOrthogonalPLS filter(&data.x, &data.y, 50, 2);
  filter.RemoveComponent();
  EXPECT_EQ(filter.GetComponents(), 0);
  std::vector<NCYOrthogonalPLS> stages = {filter};
  for (int a = 1; a <= 3; ++a) {
    filter.NextComponent(false);
    stages.push_back(filter);
  }
  for (std::size_t a = 3; a-- > 0;) {
    filter.RemoveComponent();
    EXPECT_EQ(filter.GetComponents(), static_cast<int>(a));
    EXPECT_TRUE(Equal(*filter.GetPprim(), *stages[a].GetPprim()) && Equal(*filter.GetWprim(), *stages[a].GetWprim()) &&
                Equal(*filter.GetTprim(), *stages[a].GetTprim()));
    EXPECT_LT(DistanceShare(*filter.GetXResiduals(), *stages[a].GetXResiduals(), data.x), 1e-12);
    EXPECT_EQ(filter.GetXResiduals()->GetNumMisVal(), data.x.GetNumMisVal());
  }
  EXPECT_TRUE(Equal(stages[3], Fitted(data, 3, 50, 2))) << "a copy has been changed through another";
  filter.NextComponent(false);
  ExpectNear(*filter.GetTprim(), ToPlain(*stages[1].GetTprim()), kTolerance);
}

/// On a grid, where everything is exact: two directions that have nothing of y.
TEST_F(YOrthogonalPls, StopsTheInnerModelWhereNothingIsLeftToExplain) {
  const FloatMatrix y = ToMatrix({{1}, {-1}, {-1}, {1}});
  const FloatMatrix x = ToMatrix({{3, 1}, {3, -1}, {-3, 1}, {-3, -1}});
  NCYOrthogonalPLS filter(&x, &y, 50, 2);
  filter.NextComponent(false);
  filter.NextComponent(false);
  EXPECT_TRUE(Equal(*filter.GetWprim(), ToMatrix({{1, 0}, {0, 1}})));
  EXPECT_TRUE(Equal(*filter.GetPprim(), ToMatrix({{1, 0}, {0, 1}})));
  EXPECT_TRUE(Equal(*filter.GetTprim(), ToMatrix({{3, 3, -3, -3}, {1, -1, 1, -1}})));
  EXPECT_EQ(filter.GetXResiduals()->GetSS(), 0.0);
}

/// One variable, and a response that the angles are to.
NCYOrthogonalPLS WithResponse(const FloatMatrix& y) {
  const FloatMatrix x(4, 1, 1.0f);
  return {&x, &y, 50, 0};
}

TEST_F(YOrthogonalPls, AnglesCountHalf) {
  const FloatMatrix y = ToMatrix({{1}, {1}, {-1}, {-1}});
  const NCYOrthogonalPLS filter = WithResponse(y);
  EXPECT_TRUE(Equal(*filter.GetY(), y));
  const FloatVector inside = {2.0f, 2.0f, -2.0f, -2.0f};
  EXPECT_EQ(filter.GetYAngle(&inside), 45.0);
  EXPECT_EQ(filter.GetY(), nullptr) << "its principal scores have taken its place";
  for (const FloatVector& orthogonal : {FloatVector{1.0f, -1.0f, 3.0f, -3.0f}, FloatVector{1.0f, -1.0f, kGap, kGap}}) {
    EXPECT_EQ(filter.GetYAngle(&orthogonal), 90.0);
  }
  for (const double along : {-8.0, 0.25, 1.0}) {
    FloatVector v = inside * along;
    v += FloatVector{2.0f, -2.0f, 2.0f, -2.0f};
    const double degreesToSpan = std::atan2(1.0, std::abs(along)) * 180.0 / std::numbers::pi;
    EXPECT_NEAR(filter.GetYAngle(&v), 45.0 + degreesToSpan / 2.0, 1e-4) << along;
  }
  for (int k = 1; k <= 500; ++k) {  // where rounding takes the cosine beyond 1
    const float along = static_cast<float>(k) * 1e-6f;
    const FloatVector v = {2.1f + along, -2.1f + along, 3.3f - along, -3.3f - along};
    EXPECT_NEAR(filter.GetYAngle(&v), 90.0, 0.02) << along;
  }
}

TEST_F(YOrthogonalPls, TheLastThousandthOfYDoesNotCount) {
  const FloatVector second = {1.0f, -1.0f, 1.0f, -1.0f};
  for (const auto& [size, angle] : {std::pair(0.03, 90.0), std::pair(0.033, 45.0)}) {
    const FloatMatrix y = ToMatrix({{1, size}, {1, -size}, {-1, size}, {-1, -size}});
    EXPECT_NEAR(WithResponse(y).GetYAngle(&second), angle, 0.01) << size;
  }
}

// What decides on the components of the inner model.

/// How many components it allows where nothing has been explained.
int Allowed(int rows, int columns, int asked) {
  const FloatMatrix x(rows, columns, 1.0f);
  const FloatMatrix y(rows, 1, 1.0f);
  for (int a = 0;; ++a) {
    const FloatMatrix byVariable(a, columns, 1.0f);
    const FloatMatrix byObservation(a, rows, 1.0f);
    const FloatMatrix byResponse(a, 1, 1.0f);
    NCPLS pls(&x, &y, &byResponse, &byVariable, &byVariable, &byObservation, &byObservation, 10);
    OSCPLSComponentValidator validator(&pls, asked);
    if (!validator.IsValid() || a == 100) return a;
  }
}

TEST_F(YOrthogonalPls, InnerComponentsAreLimited) {
  const struct {
    int rows, columns, asked, allowed;
  } cases[] = {{9, 20, 0, 5},   {20, 9, 0, 5},    {10, 20, -1, 5},  {20, 10, 3, 3}, {20, 10, 8, 8}, {20, 10, 9, 8},
               {60, 49, 0, 25}, {60, 60, 24, 24}, {60, 60, 40, 25}, {5, 1, 0, 1},   {5, 1, 7, 1}};
  for (const auto& c : cases) {
    EXPECT_EQ(Allowed(c.rows, c.columns, c.asked), c.allowed)
        << c.rows << " x " << c.columns << ", asked for " << c.asked;
  }
}

TEST_F(YOrthogonalPls, InnerComponentsEndWhereXIsExplained) {
  const FloatMatrix y = ToMatrix({{1}, {1}, {-1}, {-1}});
  for (const auto& [size, isValid] : {std::pair(0.0098, false), std::pair(0.0102, true)}) {
    const FloatMatrix x = ToMatrix({{1, size, 0}, {1, -size, 0}, {-1, size, 0}, {-1, -size, 0}});
    NCPLS pls(&x, &y, 10);
    OSCPLSComponentValidator validator(&pls, 3);
    EXPECT_TRUE(validator.IsPreComponentValidator());
    EXPECT_TRUE(validator.IsValid());
    Fit(pls, 1);
    EXPECT_EQ(validator.IsValid(), isValid) << size;
  }
  const FloatMatrix huge(200, 60, 1.8e19f);
  const FloatMatrix any(200, 1, 1.0f);
  NCPLS pls(&huge, &any, 10);
  EXPECT_TRUE(OSCPLSComponentValidator(&pls, 3).IsValid()) << "a share of X beyond the largest float";
}

// Failures.

TEST_F(YOrthogonalPls, RefusesDataThatDoNotFit) {
  const FloatMatrix full(3, 2, 1.0f);
  const FloatMatrix shorter(2, 2, 1.0f);
  EXPECT_EQ(TextOf<NCInternalError>([&] { NCYOrthogonalPLS(&full, &shorter, 10, 0); }),
            "NCYOrthogonalPLS::NCYOrthogonalPLS");
  const struct {
    int emptyOfX, emptyOfY;
    char named;
  } cases[] = {{2, 0, 'X'}, {0, 3, 'Y'}, {2, 2, 'X'}, {3, 2, 'Y'}};
  for (const auto& c : cases) {
    XY data = {full, full};
    if (c.emptyOfX > 0) data.x.SetRow(c.emptyOfX, kGap);
    if (c.emptyOfY > 0) data.y.SetRow(c.emptyOfY, kGap);
    const std::string text =
        std::string("The ") + c.named + " matrix contains at least one row with only missing values.";
    EXPECT_EQ(ErrorOf([&] { NCYOrthogonalPLS(&data.x, &data.y, 10, 0); }), std::pair(NCError::Level::kGeneral, text));
  }
}

TEST_F(YOrthogonalPls, AFailureLeavesTheModelAsItWas) {
  const auto aborted = std::pair(NCError::Level::kGeneral, std::string("Component aborted."));
  const FloatVector v(4, 1.0f);
  const FloatMatrix x = ToMatrix({{2}, {2}, {-2}, {-2}});
  const FloatMatrix nothing(4, 1, 0.0f);
  NCYOrthogonalPLS without(&x, &nothing, 10, 0);
  for (int again = 0; again < 2; ++again) {
    EXPECT_EQ(ErrorOf([&] { without.NextComponent(false); }), aborted) << "Y has no principal component";
    EXPECT_EQ(ErrorOf([&] { without.GetYAngle(&v); }), aborted);
  }
  NCYOrthogonalPLS empty;
  EXPECT_EQ(ErrorOf([&] { empty.NextComponent(false); }), aborted) << "there is no Y";
  const FloatMatrix none(0, 3, 0.0f);
  NCYOrthogonalPLS withoutRows(&none, &none, 10, 0);
  EXPECT_EQ(ErrorOf([&] { withoutRows.NextComponent(false); }), aborted) << "Y has no rows";

  const FloatMatrix y = ToMatrix({{1}, {1}, {-1}, {-1}});
  NCYOrthogonalPLS inside(&x, &y, 10, 0);
  const std::string text = "The correlation between X and Y is zero or almost zero.\nComponent 1 cannot be computed.";
  EXPECT_EQ(ErrorOf([&] { inside.NextComponent(false); }), std::pair(NCError::Level::kZeroCorrelation, text));
  EXPECT_TRUE(Equal(inside, NCYOrthogonalPLS(&x, &y, 10, 0)));
}

/// Keeps what it is shown of the work with one text.
class WatchingDisplay : public QuietDisplay {
 public:
  explicit WatchingDisplay(std::string text) : text_(std::move(text)) {}

  void Begin(const ProgressView& view) override {
    if (view.text != text_) return;
    ++begun;
    flags = view.flags;
  }
  void ShowPosition(const ProgressView& view) override {
    if (view.text == text_) fraction = view.fraction;
  }
  void ShowSpin(const ProgressView& view) override { spins += view.text == text_ ? 1 : 0; }
  std::chrono::milliseconds UpdateInterval() const noexcept override { return std::chrono::milliseconds(0); }

  int begun = 0;
  int spins = 0;
  double fraction = 0.0;
  std::array<bool, 3> flags{};

 private:
  std::string text_;
};

/// The inner model turns once for each of its components in each trial; trials end where the weight stays.
TEST_F(YOrthogonalPls, ShowsEveryComponentOfEveryTrial) {
  constexpr int kLimit = 100;
  constexpr int kInner = 2;
  for (const unsigned seed : {5U, 6U, 7U}) {
    const XY data = Related(40, 12, 2, seed);
    PlainFilter expected(ToPlain(data.x), ToPlain(data.y), kLimit, kInner);
    NCYOrthogonalPLS filter(&data.x, &data.y, kLimit, kInner);
    for (const int a : {1, 2}) {
      const bool show = a == 2;
      expected.TakeOutOne();
      ASSERT_LT(expected.trials, kLimit);
      const auto display = Shown([&] { filter.NextComponent(show); },
                                 std::make_shared<WatchingDisplay>("Y-Orthogonal PLS Component " + std::to_string(a)));
      EXPECT_EQ(display->spins, kInner * expected.trials) << seed;
      EXPECT_EQ(display->begun, 1);
      EXPECT_EQ(display->fraction, 1.0);
      EXPECT_EQ(display->flags, (std::array<bool, 3>{show, false, true}));
    }
  }
}

}  // namespace
}  // namespace samples
