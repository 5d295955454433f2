#include "voran/orthogonal/pls_missing_value_estimator.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <numeric>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/containers/container_values.h"
#include "tests/models/model_samples.h"
#include "tests/models/plain_nipals.h"
#include "voran/containers/mat_utilities.h"
#include "voran/models/pls_cross_validation.h"
#include "voran/orthogonal/o2pls.h"

namespace samples {
namespace {

using plain_nipals::Column;
using plain_nipals::Deflate;
using plain_nipals::SumOfSquares;

class PlsMissingValues : public ModelTest {};

/// Everything that was present is there to the bit, and nothing is missing, in the counts either.
void ExpectFilled(const FloatMatrix& filled, const FloatMatrix& gapped) {
  EXPECT_EQ(filled.GetNumMisVal(), 0);
  ExpectRightCounts(filled);
  for (int i = 1; i <= gapped.SizeRows(); ++i) {
    for (int j = 1; j <= gapped.SizeColumns(); ++j) {
      if (gapped[i][j] != kGap) {
        EXPECT_EQ(filled[i][j], gapped[i][j]);
      }
    }
  }
}

/// The method once more, in double and by plain loops.
struct PlainEstimate {
  PlainEstimate(const PlainMatrix& x, const PlainMatrix& y) : e(x), f(y), filled(x) {
    const Plain atFirst = ColumnSums(y);
    bool isSignificant = true;
    while (isSignificant) {
      const plain_nipals::PlsComponent a = plain_nipals::FitPls(e, f);
      const Plain before = ColumnSums(f);
      const Plain press = ColumnSums(PredictionErrors());
      Deflate(e, a.t, a.p);
      Deflate(f, a.t, a.c);
      t.push_back(a.t);
      p.push_back(a.p);
      const Plain after = ColumnSums(f);
      FloatVector r2y;
      FloatVector q2y;
      for (std::size_t m = 0; m < after.size(); ++m) {
        r2y.push_back(static_cast<float>((before[m] - after[m]) / atFirst[m]));
        q2y.push_back(static_cast<float>(1.0 - press[m] / before[m]));
      }
      const auto sum = [](const Plain& v) { return std::accumulate(v.begin(), v.end(), 0.0); };
      isSignificant = SignificanceE::IsSignificant(PLSCrossValidation::GetSignificance(
          static_cast<int>(x.size()), static_cast<int>(x.front().size()), r2y.Size(), static_cast<int>(t.size()),
          static_cast<float>((sum(before) - sum(after)) / sum(atFirst)), r2y,
          static_cast<float>(1.0 - sum(press) / sum(before)), q2y, x.size() > 100 ? 0.0f : 0.05f));
      kept += isSignificant ? 1 : 0;
    }
    for (std::size_t i = 0; i < x.size(); ++i) {
      for (std::size_t j = 0; j < x[i].size(); ++j) {
        if (x[i][j] != plain_nipals::kGap) continue;
        filled[i][j] = 0.0;
        for (std::size_t a = 0; a < kept; ++a) filled[i][j] += t[a][i] * p[a][j];
      }
    }
  }

  static Plain ColumnSums(const PlainMatrix& m) {
    Plain sums;
    for (std::size_t j = 0; j < m.front().size(); ++j) sums.push_back(SumOfSquares(Column(m, j)));
    return sums;
  }

  /// Every seventh row is left out, from the seventh, the first, the second, ...
  PlainMatrix PredictionErrors() const {
    PlainMatrix errors = f;
    for (std::size_t g = 0; g < 7; ++g) {
      const auto isOut = [g](std::size_t i) { return (i + 1) % 7 == g; };
      const plain_nipals::PlsComponent a =
          plain_nipals::FitPls(plain_nipals::Split(e, isOut).kept, plain_nipals::Split(f, isOut).kept);
      for (std::size_t i = 0; i < e.size(); ++i) {
        if (!isOut(i)) continue;
        const double score = plain_nipals::Slope(a.w, e[i], plain_nipals::kGap);
        for (std::size_t m = 0; m < errors[i].size(); ++m) {
          if (f[i][m] != plain_nipals::kGap) errors[i][m] -= score * a.c[m];
        }
      }
    }
    return errors;
  }

  PlainMatrix e, f, t, p, filled;
  std::size_t kept = 0;
};

TEST_F(PlsMissingValues, EqualAPlainEstimate) {
  const struct {
    std::size_t rows, columns, responses;
    unsigned seed;
  } cases[] = {{40, 12, 2, 2}, {40, 12, 1, 3}, {30, 4, 5, 4}, {105, 8, 1, 5},
               {7, 9, 1, 6},   {20, 8, 3, 30},  // where five, six or eight groups give another number of components
               {20, 8, 1, 3},                   // and where one counts by its share of all responses alone
               {5, 9, 1, 1},   {5, 9, 2, 2}};   // and where rows are too few for more
  std::set<std::size_t> kept;
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.rows << " rows, " << c.responses << " responses");
    const XY data = Related(c.rows, c.columns, c.responses, c.seed);
    FloatMatrix x = WithGaps(data.x, 7);
    FloatMatrix y = WithGaps(data.y, 8);
    const FloatMatrix xBefore = x;
    const FloatMatrix yBefore = y;
    PLSMissingValueEstimator(x, y, false, nullptr);
    const PlainEstimate expected(ToPlain(xBefore), ToPlain(y));
    ExpectFilled(x, xBefore);
    ExpectNear(x, expected.filled, 1e-3);
    EXPECT_TRUE(Equal(y, yBefore));
    kept.insert(expected.kept);
  }
  EXPECT_GE(*kept.rbegin(), 3U) << "the cases have too few components";
}

TEST_F(PlsMissingValues, AreShownOnceFilled) {
  using ShownMatrices = std::vector<std::pair<std::string, FloatMatrix>>;
  ShownMatrices shown;
  NCMatUtilities::SetShowMatrixCallback(
      [&shown](const FloatMatrix& m, const char* title) { shown.emplace_back(title, m); });
  const XY data = Related(30, 8, 4, 5);
  const XY gapped = {WithGaps(data.x, 1), WithGaps(data.y, 2)};
  const auto title = [](const char* block, const FloatMatrix& a, const FloatMatrix& b) {
    const std::size_t kept = PlainEstimate(ToPlain(a), ToPlain(b)).kept;
    return block + (" after missing value substitution " + std::to_string(kept)) + " components";
  };
  for (const bool show : {false, true}) {
    NCO2PLS::SetShowMissingValueSupstitution(show);
    for (const bool bothBlocks : {true, false}) {
      auto [x, y] = gapped;
      shown.clear();
      PLSMissingValueEstimator(x, y, bothBlocks, nullptr);
      ShownMatrices expected;
      if (show) expected.emplace_back(title(bothBlocks ? "X" : "Y", gapped.x, gapped.y), x);
      if (show && bothBlocks) expected.emplace_back(title("Y", gapped.y, x), y);
      EXPECT_EQ(shown, expected);
    }
  }
  NCO2PLS::SetShowMissingValueSupstitution(false);
  NCMatUtilities::SetShowMatrixCallback({});
}

TEST_F(PlsMissingValues, BothBlocksAreXByYAndThenYByTheCompletedX) {
  const XY data = Related(30, 8, 4, 5);
  const XY gapped = {WithGaps(data.x, 1), WithGaps(data.y, 2)};
  XY both = gapped;
  PLSMissingValueEstimator(both.x, both.y, true, nullptr);
  XY oneByOne = gapped;
  PLSMissingValueEstimator(oneByOne.x, oneByOne.y, false, nullptr);
  PLSMissingValueEstimator(oneByOne.y, oneByOne.x, false, nullptr);
  EXPECT_TRUE(Equal(both.x, oneByOne.x) && Equal(both.y, oneByOne.y));
  ExpectFilled(both.x, gapped.x);
  ExpectFilled(both.y, gapped.y);

  XY complete = {data.x, gapped.y};
  PLSMissingValueEstimator(complete.x, complete.y, false, nullptr);
  EXPECT_TRUE(Equal(complete.y, gapped.y)) << "there is nothing to do";
  PLSMissingValueEstimator(complete.x, complete.y, true, nullptr);
  EXPECT_TRUE(Equal(complete.x, data.x));
  ExpectFilled(complete.y, gapped.y);
}

TEST_F(PlsMissingValues, AreZeroWhereNothingIsKnown) {
  XY data = Related(25, 8, 2, 6);
  data.x.SetRow(4, kGap);
  FloatMatrix x = data.x;
  PLSMissingValueEstimator(x, data.y, false, nullptr);
  ExpectFilled(x, data.x);
  EXPECT_EQ(x[4].GetSS(), 0.0) << "the row has no score";
}

/// Where the first component explains everything, to the bit, the second one cannot be fitted.
TEST_F(PlsMissingValues, AnExactFitIsEnough) {
  FloatMatrix y = ToMatrix({{1}, {-3}, {2}, {5}, {-4}, {-2}, {3}, {-1}, {-1}});
  FloatMatrix truth(9, 4, 0.0f);
  for (int j = 1; j <= 4; ++j) truth.SetColumn(j, y.GetColumn(1));
  FloatMatrix x = truth;
  for (int j = 1; j <= 4; ++j) x(2 * j, j, kGap);
  PLSMissingValueEstimator(x, y, false, nullptr);
  EXPECT_TRUE(Equal(x, truth));
}

TEST_F(PlsMissingValues, ACancelAtAnyLookLeavesABlockAsItWasOrFilled) {
  XY given = Related(14, 6, 1, 3);
  given.x = WithGaps(given.x, 1);
  given.y(5, 1, kGap);
  ASSERT_GT(PlainEstimate(ToPlain(given.x), ToPlain(given.y)).kept, 1U) << "fewer components would go unnoticed";
  XY filled = given;
  PLSMissingValueEstimator(filled.x, filled.y, true, nullptr);
  std::set<bool> wasXFilled;
  bool done = false;
  for (int k = 1; !done; ++k) {
    ASSERT_LT(k, 1000);
    NCProgress::SetDisplay(std::make_shared<StoppingDisplay>(k));
    NCProgress progress("", 0.0f, 1.0f, false, false, true, "");
    auto [x, y] = given;
    done = TextOf([&, &x = x, &y = y] { PLSMissingValueEstimator(x, y, true, &progress); }) == "no error";
    NCProgress::SetDisplay(nullptr);
    EXPECT_TRUE(Equal(x, filled.x) || (!done && Equal(x, given.x))) << k;
    EXPECT_TRUE(Equal(y, done ? filled.y : given.y)) << k;
    if (!done) wasXFilled.insert(Equal(x, filled.x));
  }
  EXPECT_EQ(wasXFilled.size(), 2U);
}

/// Keeps what it is shown of the outermost work.
class OuterDisplay : public RecordingDisplay {
 public:
  void Begin(const ProgressView&) override {}
  void ShowPosition(const ProgressView& view) override {
    if (view.depth == 0) RecordingDisplay::ShowPosition(view);
  }
  void ShowSpin(const ProgressView&) override {}
};

TEST_F(PlsMissingValues, ProgressIsWhatIsExplainedOfTheOtherBlock) {
  const XY data = Related(20, 6, 2, 3);
  const FloatMatrix gapped = WithGaps(data.x, 1);
  NCPLS pls(&gapped, &data.y, 200);
  Fit(pls, 1);
  const double explained = 1.0 - pls.GetYResiduals()->GetSS() / data.y.GetSS();
  for (const bool bothBlocks : {false, true}) {
    XY filled = {gapped, bothBlocks ? WithGaps(data.y, 4) : data.y};
    const auto display = Shown<OuterDisplay>([&] {
      NCProgress progress("", 0.0f, 1.0f, false, false, true, "");
      PLSMissingValueEstimator(filled.x, filled.y, bothBlocks, &progress);
    });
    EXPECT_THAT(display->texts, ::testing::Contains("Estimating missing values."));
    EXPECT_TRUE(std::is_sorted(display->fractions.begin(), display->fractions.end()));
    if (bothBlocks) {
      EXPECT_EQ(display->fractions.back(), 1.0);
      EXPECT_THAT(display->fractions, ::testing::Contains(0.5));
    } else {
      EXPECT_THAT(display->fractions, ::testing::Contains(::testing::DoubleNear(explained, 1e-6)));
    }
  }
}

}  // namespace
}  // namespace samples
