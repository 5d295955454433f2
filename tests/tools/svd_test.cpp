#include <cmath>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/tools/program_runner.h"

namespace program {
namespace {

using nlohmann::json;

// Relative to the largest element: a few roundings of a float.
constexpr double kTolerance = 2e-6;

class Svd : public Program {
 protected:
  static double Dot(const Cells& vectors, std::size_t a, std::size_t b) {
    double sum = 0.0;
    for (const auto& row : vectors) sum += row[a] * row[b];
    return sum;
  }
};

TEST_F(Svd, TheFactorsGiveTheTableBack) {
  // A tall table and a wide one.
  for (const char* name : {"usarrests", "gasoline"}) {
    SCOPED_TRACE(name);
    const std::string file = fmt::format("{}/{}.csv", VORAN_DATA, name);
    RunJson({"svd", file, "--out", name});
    const Cells x = Numbers(file);
    const Cells u = Numbers(Path(name) / "u.csv");
    const Cells v = Numbers(Path(name) / "v.csv");
    const Cells w = Numbers(Path(name) / "singular_values.csv");
    const std::size_t count = std::min(x.size(), x[0].size());
    ASSERT_EQ(w.size(), count);
    ASSERT_EQ(u.size(), x.size());
    ASSERT_EQ(v.size(), x[0].size());
    double worst = 0.0;
    for (std::size_t i = 0; i < x.size(); ++i) {
      for (std::size_t j = 0; j < x[0].size(); ++j) {
        double sum = 0.0;
        for (std::size_t k = 0; k < count; ++k) sum += u[i][k] * w[k][0] * v[j][k];
        worst = std::max(worst, std::abs(sum - x[i][j]));
      }
    }
    EXPECT_LT(worst, kTolerance * w[0][0]);
    for (std::size_t a = 0; a < count; ++a) {
      for (std::size_t b = 0; b <= a; ++b) {
        EXPECT_NEAR(Dot(u, a, b), a == b ? 1.0 : 0.0, 10 * kTolerance) << a << ", " << b;
        EXPECT_NEAR(Dot(v, a, b), a == b ? 1.0 : 0.0, 10 * kTolerance) << a << ", " << b;
      }
      EXPECT_LE(w[a][0], w[a == 0 ? 0 : a - 1][0]);
      double largest = 0.0;
      for (const auto& row : v) largest = std::abs(row[a]) > std::abs(largest) ? row[a] : largest;
      EXPECT_GT(largest, 0.0) << "sign of v" << a + 1;
    }
  }
}

TEST_F(Svd, ValuesAgreeWithR) {
  const json summary = RunJson({"svd", std::string(VORAN_DATA) + "/usarrests.csv"});
  const double expected[] = {1419.06139510, 194.82584611, 45.66133763, 18.06955662};
  ASSERT_EQ(summary["components"].size(), 4u);
  for (std::size_t k = 0; k < 4; ++k) {
    EXPECT_NEAR(summary["components"][k]["singular_value"].get<double>(), expected[k], kTolerance * expected[0]);
  }
  EXPECT_EQ(summary["rank"], 4);
  EXPECT_NEAR(summary["condition_number"].get<double>(), expected[0] / expected[3], 1e-3);
  EXPECT_TRUE(summary["log10_determinant"].is_null()) << "not square";
  EXPECT_EQ(summary["scaling"], "none");

  // After scaling, it is a principal component analysis.
  const json scaled = RunJson({"svd", kWine, "--class", "class", "--scaling", "uv"});
  const json pca = json::parse(Run({"pca", kWine, "--class", "class", "--components", "3", "--json", "--quiet"}).out);
  for (const char* key : {"r2x", "r2x_cumulative"}) {
    EXPECT_NEAR(scaled["components"][2][key].get<double>(), pca["components"][2][key].get<double>(), kTolerance);
  }
}

TEST_F(Svd, RankConditionAndDeterminant) {
  struct Case {
    const char* text;
    int rank;
    double condition;    // 0: none
    double determinant;  // decimal logarithm of its magnitude; NaN: none
  };
  const double none = std::nan("");
  const std::vector<Case> cases = {
      {"a,b\n3,0\n0,-4\n", 2, 4.0 / 3.0, std::log10(12.0)},
      {"a,b,c\n1,2,3\n4,5,6\n7,8,10\n", 3, 88.44827993, std::log10(3.0)},
      {"a,b\n1e30,0\n0,2e30\n", 2, 2.0, 60.0 + std::log10(2.0)},
      {"a,b,c\n1,2,4\n2,4,8\n1,1,1\n", 2, -1.0, none},
      {"a,b\n0,0\n0,0\n", 0, 0.0, none},
      {"a,b\n3,4\n", 1, 1.0, none},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    Put("t.csv", c.text);
    const json summary = RunJson({"svd", "t.csv", "--header", "yes"});
    EXPECT_EQ(summary["rank"], c.rank);
    if (c.condition >= 0.0) {
      EXPECT_EQ(summary["condition_number"].is_null(), c.condition == 0.0);
    }
    if (c.condition > 0.0) {
      EXPECT_NEAR(summary["condition_number"].get<double>() / c.condition, 1.0, 1e-4);
    }
    EXPECT_EQ(summary["log10_determinant"].is_null(), std::isnan(c.determinant));
    if (!std::isnan(c.determinant)) {
      EXPECT_NEAR(summary["log10_determinant"].get<double>(), c.determinant, 1e-5);
    }
  }
}

TEST_F(Svd, ATableWithGapsIsRefused) {
  Put("t.csv", "id,a,b\nr,1,2\ns,2,\nt,,1\n");
  const Outcome outcome = Run({"svd", "t.csv", "--out", "made", "--quiet"});
  EXPECT_EQ(outcome.code, 3);
  EXPECT_EQ(outcome.err,
            "voran: t.csv: row \"s\" has no value in column \"b\", the first of 2 gaps, and a table with gaps has no "
            "SVD; leave out the columns with gaps (--exclude \"b\"), or the rows\n");
  EXPECT_FALSE(fs::exists(Path("made")));
}

}  // namespace
}  // namespace program
