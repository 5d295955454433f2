#include "tools/voran/scaling.h"

#include <cmath>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "tests/tools/value_samples.h"

namespace tool {
namespace {

// A float has 24 bits; the values below stay within 4 of 0.
constexpr double kRounding = 4.0 / (1 << 24);

TEST(Scaling, ValuesFollowTheFormulasAndGapsStay) {
  std::mt19937 random(7);
  std::normal_distribution<float> normal(50.0f, 3.0f);
  std::string text = "a,b,c,d\n";
  for (int i = 0; i < 4 * 23; ++i) {
    text += (random() % 5 == 0 ? "NA" : fmt::format("{}", normal(random))) + (i % 4 == 3 ? '\n' : ',');
  }
  const NCDataMatrix<float> x = TableOf(text).x;
  ASSERT_GT(x.GetNumMisVal(), 10);
  const PlainTable plain = Prepared(x, true);
  for (const auto& [scaling, power] :
       {std::pair{Scaling::kUnitVariance, 1.0}, {Scaling::kPareto, 0.5}, {Scaling::kCentre, 0.0}}) {
    const ScaledMatrix scaled = ScaleColumns(NCDataMatrix<float>(x), scaling);
    EXPECT_EQ(scaled.unit, 1.0);
    const Rows got = ToRows(scaled.x);
    for (std::size_t r = 0; r < 23; ++r) {
      for (std::size_t c = 0; c < 4; ++c) {
        const bool isGap = plain.rows[r][c] == static_cast<double>(kGap);
        const double expected = plain.rows[r][c] * (isGap ? 1.0 : std::pow(plain.deviations[c], 1.0 - power));
        EXPECT_NEAR(got[r][c], expected, isGap ? 0.0 : 4 * kRounding);
      }
    }
  }
}

TEST(Scaling, ColumnsThatHoldNothingAreDroppedWithTheReason) {
  const NCDataMatrix<float> x = TableOf("a,b,c,d,e\n1,5,,,2\n2,5,,7,3\n4,5,,,9\n").x;
  const ScaledMatrix uv = ScaleColumns(NCDataMatrix<float>(x), Scaling::kUnitVariance);
  EXPECT_EQ(uv.kept, (std::vector<std::size_t>{0, 4}));
  std::vector<std::string_view> reasons;
  for (const DroppedColumn& dropped : uv.dropped) reasons.push_back(dropped.reason);
  EXPECT_EQ(reasons, (std::vector<std::string_view>{"no variance", "all missing", "no variance"}));
  EXPECT_EQ(uv.x.SizeColumns(), 2);
  EXPECT_EQ(uv.x.GetNumMisVal(), 0);
  const ScaledMatrix none = ScaleColumns(NCDataMatrix<float>(x), Scaling::kNone);
  EXPECT_EQ(none.kept, (std::vector<std::size_t>{0, 1, 3, 4}));
  EXPECT_EQ(none.x[2][3], 7.0f);
}

TEST(Scaling, AScaledValueThatEqualsTheMarkerStaysADatum) {
  const ScaledMatrix scaled = ScaleColumns(TableOf("a\n1\n100\n199\n").x, Scaling::kCentre);
  EXPECT_EQ(scaled.x.GetNumMisVal(), 0);
  EXPECT_NEAR(scaled.x[1][1], -99.0f, 1e-4f);
}

TEST(Scaling, ExtremeMagnitudesStayWithinTheRangeOfFloat) {
  for (const char* const text :
       {"a,b\n3e38,-3e38\n-3e38,1.5e38\n7.5e37,0\n", "a,b\n1e-38,-1e-38\n-1e-38,5e-39\n2.5e-39,0\n"}) {
    for (const Scaling scaling : {Scaling::kUnitVariance, Scaling::kPareto, Scaling::kCentre, Scaling::kNone}) {
      const ScaledMatrix scaled = ScaleColumns(TableOf(text).x, scaling);
      double largest = 0.0;
      for (const auto& row : ToRows(scaled.x)) {
        for (const double value : row) largest = std::max(largest, std::abs(value));
      }
      EXPECT_GT(largest, 1e-6);
      EXPECT_LT(largest, 1e6);
      EXPECT_EQ(std::exp2(std::round(std::log2(scaled.unit))), scaled.unit);
    }
  }
}

}  // namespace
}  // namespace tool
