#include "tools/voran/scaling.h"

#include <cmath>
#include <random>
#include <utility>

#include <gtest/gtest.h>

#include "tools/voran/table.h"

namespace tool {
namespace {

using Rows = std::vector<std::vector<float>>;

// A float has 24 bits; the values below stay within 4 of 0.
constexpr double kRounding = 4.0 / (1 << 24);

NCDataMatrix<float> MatrixOf(const Rows& rows) {
  NCDataMatrix<float> x;
  for (const auto& cells : rows) {
    NCDataVector<float> row;
    row.CopyZeroBasedVector(cells.data(), static_cast<int>(cells.size()));
    x.push_back(row);
  }
  return x;
}

Rows RandomRows(int rows, int columns, float gapShare) {
  std::mt19937 random(7);
  std::normal_distribution<float> normal(50.0f, 3.0f);
  std::uniform_real_distribution<float> uniform;
  Rows made(static_cast<std::size_t>(rows), std::vector<float>(static_cast<std::size_t>(columns)));
  for (auto& row : made) {
    for (float& cell : row) cell = uniform(random) < gapShare ? kGap : normal(random);
  }
  return made;
}

// Mean and standard deviation of the present cells of a column, straight from the formulas.
std::pair<double, double> MeanAndDeviation(const Rows& rows, std::size_t c) {
  double n = 0.0;
  double sum = 0.0;
  double squares = 0.0;
  for (const auto& row : rows) n += row[c] == kGap ? 0.0 : 1.0;
  for (const auto& row : rows) sum += row[c] == kGap ? 0.0 : static_cast<double>(row[c]);
  for (const auto& row : rows) squares += row[c] == kGap ? 0.0 : std::pow(static_cast<double>(row[c]) - sum / n, 2);
  return {sum / n, std::sqrt(squares / (n - 1.0))};
}

TEST(Scaling, ValuesFollowTheFormulasAndGapsStay) {
  const Rows rows = RandomRows(23, 4, 0.2f);
  const std::vector<std::pair<Scaling, double>> powers = {
      {Scaling::kUnitVariance, 1.0}, {Scaling::kPareto, 0.5}, {Scaling::kCentre, 0.0}};
  for (const auto& [scaling, power] : powers) {
    const ScaledMatrix scaled = ScaleColumns(MatrixOf(rows), scaling);
    EXPECT_EQ(scaled.unit, 1.0);
    for (std::size_t c = 0; c < 4; ++c) {
      const auto [mean, deviation] = MeanAndDeviation(rows, c);
      for (std::size_t r = 0; r < rows.size(); ++r) {
        const float got = scaled.x[static_cast<int>(r + 1)][static_cast<int>(c + 1)];
        if (rows[r][c] == kGap) {
          EXPECT_EQ(got, kGap);
        } else {
          EXPECT_NEAR(got, (static_cast<double>(rows[r][c]) - mean) / std::pow(deviation, power), 4 * kRounding);
        }
      }
    }
  }
}

TEST(Scaling, ColumnsThatHoldNothingAreDroppedWithTheReason) {
  const Rows rows = {{1, 5, kGap, kGap, 2}, {2, 5, kGap, 7, 3}, {4, 5, kGap, kGap, 9}};
  const ScaledMatrix uv = ScaleColumns(MatrixOf(rows), Scaling::kUnitVariance);
  EXPECT_EQ(uv.kept, (std::vector<std::size_t>{0, 4}));
  ASSERT_EQ(uv.dropped.size(), 3u);
  EXPECT_EQ(uv.dropped[0].reason, "no variance");
  EXPECT_EQ(uv.dropped[1].reason, "all missing");
  EXPECT_EQ(uv.dropped[2].reason, "no variance");
  EXPECT_EQ(uv.x.SizeColumns(), 2);
  EXPECT_EQ(uv.x.GetNumMisVal(), 0);
  const ScaledMatrix none = ScaleColumns(MatrixOf(rows), Scaling::kNone);
  EXPECT_EQ(none.kept, (std::vector<std::size_t>{0, 1, 3, 4}));
  EXPECT_EQ(none.x[2][3], 7.0f);
}

TEST(Scaling, AScaledValueThatEqualsTheMarkerStaysADatum) {
  const ScaledMatrix scaled = ScaleColumns(MatrixOf({{1}, {100}, {199}}), Scaling::kCentre);
  EXPECT_EQ(scaled.x.GetNumMisVal(), 0);
  EXPECT_NEAR(scaled.x[1][1], -99.0f, 1e-4f);
}

TEST(Scaling, ExtremeMagnitudesStayWithinTheRangeOfFloat) {
  for (const float size : {3e38f, 1e-38f}) {
    for (const Scaling scaling : {Scaling::kUnitVariance, Scaling::kPareto, Scaling::kCentre, Scaling::kNone}) {
      const ScaledMatrix scaled = ScaleColumns(MatrixOf({{size, -size}, {-size, size / 2}, {size / 4, 0}}), scaling);
      double largest = 0.0;
      for (const auto& row : scaled.x) {
        for (const float value : row) largest = std::max(largest, std::abs(static_cast<double>(value)));
      }
      EXPECT_GT(largest, 1e-6);
      EXPECT_LT(largest, 1e6);
      EXPECT_EQ(std::exp2(std::round(std::log2(scaled.unit))), scaled.unit);
    }
  }
}

}  // namespace
}  // namespace tool
