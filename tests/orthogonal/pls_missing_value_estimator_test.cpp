#include "voran/orthogonal/pls_missing_value_estimator.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/models/model_samples.h"
#include "tests/models/plain_nipals.h"
#include "voran/containers/mat_utilities.h"
#include "voran/models/pls.h"
#include "voran/models/pls_cross_validation.h"
#include "voran/orthogonal/o2pls.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/progress.h"

namespace {

using plain_nipals::Column;
using plain_nipals::Deflate;
using plain_nipals::SumOfSquares;
using samples::FloatMatrix;
using samples::FloatVector;
using samples::kGap;
using samples::PlainMatrix;
using samples::Related;
using samples::ToPlain;
using samples::WithGaps;
using samples::XY;
using Plain = std::vector<double>;

class PlsMissingValues : public ::testing::Test {
 protected:
  void TearDown() override { NCProgress::SetDisplay(nullptr); }
};

bool Equal(const FloatMatrix& a, const FloatMatrix& b) {
  return a.SizeRows() == b.SizeRows() && a.SizeColumns() == b.SizeColumns() && a == b;
}

/// Everything that was present is there to the bit, and nothing is missing, in the counts either.
void ExpectFilled(const FloatMatrix& filled, const FloatMatrix& gapped) {
  EXPECT_EQ(filled.GetNumMisVal(), 0);
  for (int i = 1; i <= gapped.SizeRows(); ++i) {
    EXPECT_EQ(filled[i].GetNumMisVal(), 0);
    for (int j = 1; j <= gapped.SizeColumns(); ++j) {
      EXPECT_NE(filled[i][j], kGap);
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
    const double total = SumOfSquares(y);
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
      const int responses = static_cast<int>(after.size());
      FloatVector r2y(responses);
      FloatVector q2y(responses);
      double sums[3] = {};
      for (int m = 0; m < responses; ++m) {
        const auto at = static_cast<std::size_t>(m);
        r2y(m + 1, static_cast<float>((before[at] - after[at]) / atFirst[at]));
        q2y(m + 1, static_cast<float>(1.0 - press[at] / before[at]));
        sums[0] += before[at];
        sums[1] += after[at];
        sums[2] += press[at];
      }
      isSignificant = SignificanceE::IsSignificant(PLSCrossValidation::GetSignificance(
          static_cast<int>(x.size()), static_cast<int>(x.front().size()), responses, static_cast<int>(t.size()),
          static_cast<float>((sums[0] - sums[1]) / total), r2y, static_cast<float>(1.0 - sums[2] / sums[0]), q2y,
          x.size() > 100 ? 0.0f : 0.05f));
      kept += isSignificant ? 1 : 0;
    }
    for (std::size_t i = 0; i < x.size(); ++i) {
      for (std::size_t j = 0; j < x[i].size(); ++j) {
        if (x[i][j] == plain_nipals::kGap) filled[i][j] = Rebuilt(i, j);
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
      PlainMatrix x;
      PlainMatrix y;
      for (std::size_t i = 0; i < e.size(); ++i) {
        if ((i + 1) % 7 == g) continue;
        x.push_back(e[i]);
        y.push_back(f[i]);
      }
      const plain_nipals::PlsComponent a = plain_nipals::FitPls(x, y);
      for (std::size_t i = 0; i < e.size(); ++i) {
        if ((i + 1) % 7 != g) continue;
        const double score = plain_nipals::Slope(a.w, e[i], plain_nipals::kGap);
        for (std::size_t m = 0; m < errors[i].size(); ++m) {
          if (f[i][m] != plain_nipals::kGap) errors[i][m] -= score * a.c[m];
        }
      }
    }
    return errors;
  }

  double Rebuilt(std::size_t i, std::size_t j) const {
    double value = 0.0;
    for (std::size_t a = 0; a < kept; ++a) value += t[a][i] * p[a][j];
    return value;
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
    samples::ExpectNear(x, expected.filled, 1e-3);
    EXPECT_TRUE(Equal(y, yBefore));
    kept.insert(expected.kept);
  }
  EXPECT_GE(*kept.rbegin(), 3U) << "the cases have too few components";
}

TEST_F(PlsMissingValues, AreShownOnceFilled) {
  std::vector<std::pair<std::string, FloatMatrix>> shown;
  NCMatUtilities::SetShowMatrixCallback(
      [&shown](const FloatMatrix& m, const char* title) { shown.emplace_back(title, m); });
  const XY data = Related(30, 8, 4, 5);
  for (const bool show : {false, true}) {
    NCO2PLS::SetShowMissingValueSupstitution(show);
    for (const bool bothBlocks : {true, false}) {
      FloatMatrix x = WithGaps(data.x, 1);
      FloatMatrix y = WithGaps(data.y, 2);
      const auto title = [](char block, const FloatMatrix& a, const FloatMatrix& b) {
        return block +
               (" after missing value substitution " + std::to_string(PlainEstimate(ToPlain(a), ToPlain(b)).kept)) +
               " components";
      };
      shown.clear();
      const std::string first = title(bothBlocks ? 'X' : 'Y', x, y);
      PLSMissingValueEstimator(x, y, bothBlocks, nullptr);
      std::vector<std::pair<std::string, FloatMatrix>> expected;
      if (show) expected.emplace_back(first, x);
      if (show && bothBlocks) expected.emplace_back(title('Y', WithGaps(data.y, 2), x), y);
      EXPECT_EQ(shown, expected);
    }
  }
  NCO2PLS::SetShowMissingValueSupstitution(false);
  NCMatUtilities::SetShowMatrixCallback({});
}

TEST_F(PlsMissingValues, BothBlocksAreXByYAndThenYByTheCompletedX) {
  const XY data = Related(30, 8, 4, 5);
  const FloatMatrix x = WithGaps(data.x, 1);
  const FloatMatrix y = WithGaps(data.y, 2);
  FloatMatrix bothX = x;
  FloatMatrix bothY = y;
  PLSMissingValueEstimator(bothX, bothY, true, nullptr);
  FloatMatrix onlyX = x;
  FloatMatrix onlyY = y;
  PLSMissingValueEstimator(onlyX, onlyY, false, nullptr);
  PLSMissingValueEstimator(onlyY, onlyX, false, nullptr);
  EXPECT_TRUE(Equal(bothX, onlyX));
  EXPECT_TRUE(Equal(bothY, onlyY));
  ExpectFilled(bothX, x);
  ExpectFilled(bothY, y);

  FloatMatrix complete = data.x;
  FloatMatrix gapped = y;
  PLSMissingValueEstimator(complete, gapped, false, nullptr);
  EXPECT_TRUE(Equal(gapped, y)) << "there is nothing to do";
  PLSMissingValueEstimator(complete, gapped, true, nullptr);
  EXPECT_TRUE(Equal(complete, data.x));
  ExpectFilled(gapped, y);
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
  FloatMatrix truth;
  FloatMatrix y;
  for (const float u : {1.0f, -3.0f, 2.0f, 5.0f, -4.0f, -2.0f, 3.0f, -1.0f, -1.0f}) {
    truth.push_back(FloatVector(4, u));
    y.push_back(FloatVector(1, u));
  }
  FloatMatrix x = truth;
  for (int j = 1; j <= 4; ++j) x(2 * j, j, kGap);
  PLSMissingValueEstimator(x, y, false, nullptr);
  EXPECT_TRUE(Equal(x, truth));
}

TEST_F(PlsMissingValues, CanBeCancelledAtAnyPoll) {
  const XY data = Related(14, 6, 1, 3);
  const FloatMatrix xGiven = WithGaps(data.x, 1);
  FloatMatrix yGiven = data.y;
  yGiven(5, 1, kGap);
  ASSERT_GT(PlainEstimate(ToPlain(xGiven), ToPlain(yGiven)).kept, 1U) << "fewer components would go unnoticed";
  FloatMatrix xFilled = xGiven;
  FloatMatrix yFilled = yGiven;
  PLSMissingValueEstimator(xFilled, yFilled, true, nullptr);
  std::set<bool> wasXFilled;
  bool done = false;
  for (int k = 1; !done; ++k) {
    ASSERT_LT(k, 1000);
    NCProgress::SetDisplay(std::make_shared<samples::StoppingDisplay>(k));
    NCProgress progress("", 0.0f, 1.0f, false, false, true, "");
    FloatMatrix x = xGiven;
    FloatMatrix y = yGiven;
    try {
      PLSMissingValueEstimator(x, y, true, &progress);
      done = true;
    } catch (const NCError&) {
      wasXFilled.insert(Equal(x, xFilled));
      EXPECT_TRUE(Equal(x, xGiven) || Equal(x, xFilled)) << k;
      EXPECT_TRUE(Equal(y, yGiven)) << k;
    }
    NCProgress::SetDisplay(nullptr);
    if (done) {
      EXPECT_TRUE(Equal(x, xFilled) && Equal(y, yFilled));
    }
  }
  EXPECT_EQ(wasXFilled.size(), 2U);
}

/// Keeps what it is shown of the outermost work.
class OuterDisplay : public samples::RecordingDisplay {
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
  samples::Fit(pls, 1);
  const double explained = 1.0 - pls.GetYResiduals()->GetSS() / data.y.GetSS();
  for (const bool bothBlocks : {false, true}) {
    const auto display = std::make_shared<OuterDisplay>();
    NCProgress::SetDisplay(display);
    FloatMatrix x = gapped;
    FloatMatrix y = WithGaps(data.y, 4);
    if (!bothBlocks) y = data.y;
    {
      NCProgress progress("", 0.0f, 1.0f, false, false, true, "");
      PLSMissingValueEstimator(x, y, bothBlocks, &progress);
    }
    NCProgress::SetDisplay(nullptr);
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
