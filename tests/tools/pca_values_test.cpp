#include <algorithm>
#include <cmath>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "tests/tools/value_samples.h"
#include "tools/voran/pca_fit.h"

namespace tool {
namespace {

// Largest difference allowed, relative to the largest element of the vector.
constexpr double kVectorTolerance = 1e-4;
// The fit stops when a round moves the score by 1e-5 of its length. A round removes the share 1 - r of what is wrong, r
// being the ratio of the next eigenvalue to this one, so up to 1e-5 / (1 - r) may be left; an element of the vector may
// take twice its share. What is left in one component turns up in the next.
constexpr double kStepAtStop = 2e-5;
constexpr double kEigenvalueTolerance = 1e-6;

struct Eigen {
  std::vector<double> values;  // falling
  Rows vectors;                // vectors[k] belongs to values[k]
};

// Cyclic Jacobi rotations: slow, and right to the last digits.
Eigen EigenOf(Rows a) {
  const std::size_t n = a.size();
  Rows v(n, std::vector<double>(n, 0.0));
  for (std::size_t i = 0; i < n; ++i) v[i][i] = 1.0;
  for (int sweep = 0; sweep < 30; ++sweep) {
    for (std::size_t p = 0; p < n; ++p) {
      for (std::size_t q = p + 1; q < n; ++q) {
        if (a[p][q] == 0.0) continue;
        const double theta = (a[q][q] - a[p][p]) / (2.0 * a[p][q]);
        const double t = std::copysign(1.0, theta) / (std::abs(theta) + std::sqrt(theta * theta + 1.0));
        const double c = 1.0 / std::sqrt(t * t + 1.0);
        const double s = t * c;
        const auto rotate = [&](double& x, double& y) {
          const double old = x;
          x = c * old - s * y;
          y = s * old + c * y;
        };
        for (std::size_t k = 0; k < n; ++k) rotate(a[k][p], a[k][q]);
        for (std::size_t k = 0; k < n; ++k) rotate(a[p][k], a[q][k]);
        for (std::size_t k = 0; k < n; ++k) rotate(v[p][k], v[q][k]);
      }
    }
  }
  std::vector<std::size_t> order(n);
  std::iota(order.begin(), order.end(), 0u);
  std::sort(order.begin(), order.end(), [&](std::size_t i, std::size_t j) { return a[i][i] > a[j][j]; });
  Eigen sorted;
  for (const std::size_t i : order) {
    sorted.values.push_back(a[i][i]);
    sorted.vectors.push_back(v[i]);
  }
  return sorted;
}

// Scores and loadings by the eigenvectors of X'X or XX', whichever is smaller.
struct Decomposition {
  std::vector<double> variances;
  std::vector<double> ratios;  // of the next variance to this one
  Rows scores;
  Rows loadings;
};

double Dot(const std::vector<double>& a, const std::vector<double>& b) {
  return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
}

Rows Transposed(const Rows& x) {
  Rows t(x[0].size(), std::vector<double>(x.size()));
  for (std::size_t i = 0; i < x.size(); ++i) {
    for (std::size_t j = 0; j < x[i].size(); ++j) t[j][i] = x[i][j];
  }
  return t;
}

// x v, to unit length.
std::vector<double> UnitProduct(const Rows& x, const std::vector<double>& v) {
  std::vector<double> product;
  for (const auto& row : x) product.push_back(Dot(row, v));
  const double length = std::sqrt(Dot(product, product));
  for (double& element : product) element /= length;
  return product;
}

Decomposition Decompose(const Rows& x, std::size_t components) {
  const Rows xt = Transposed(x);
  const bool isTall = x.size() > xt.size();
  const Rows& factors = isTall ? xt : x;
  Rows products(factors.size());
  for (std::size_t i = 0; i < factors.size(); ++i) {
    for (const auto& other : factors) products[i].push_back(Dot(factors[i], other));
  }
  const Eigen eigen = EigenOf(products);
  Decomposition d;
  for (std::size_t a = 0; a < components; ++a) {
    std::vector<double> loading = isTall ? eigen.vectors[a] : UnitProduct(xt, eigen.vectors[a]);
    const auto largest =
        std::max_element(loading.begin(), loading.end(), [](double p, double q) { return std::abs(p) < std::abs(q); });
    const double sign = *largest < 0.0 ? -1.0 : 1.0;
    for (double& p : loading) p *= sign;
    std::vector<double> score;
    for (const auto& row : x) score.push_back(Dot(row, loading));
    d.variances.push_back(eigen.values[a]);
    d.ratios.push_back(a + 1 < eigen.values.size() ? std::max(0.0, eigen.values[a + 1] / eigen.values[a]) : 0.0);
    d.loadings.push_back(loading);
    d.scores.push_back(score);
  }
  return d;
}

struct DataSet {
  const char* name;
  std::vector<std::string> classes;
  int components;
};

class PcaValues : public ::testing::TestWithParam<DataSet> {};

TEST_P(PcaValues, AgreeWithAnEigenvalueDecomposition) {
  for (const auto& [scaling, hasWarmStart] :
       {std::pair(Scaling::kUnitVariance, false), {Scaling::kCentre, false}, {Scaling::kCentre, true}}) {
    RoleRequest roles;
    roles.classes = GetParam().classes;
    Table table = ReadData(GetParam().name, roles);
    const Rows x = Prepared(table.x, scaling == Scaling::kUnitVariance).rows;
    const Decomposition expected = Decompose(x, static_cast<std::size_t>(GetParam().components));
    double total = 0.0;
    for (const auto& row : x) total += Dot(row, row);

    PcaSettings settings;
    settings.components = GetParam().components;
    settings.scaling = scaling;
    settings.iterationLimit = 10000;
    settings.hasWarmStart = hasWarmStart;
    const PcaResult result = FitPca(table, settings, nullptr);
    ASSERT_EQ(result.components.size(), static_cast<std::size_t>(GetParam().components));
    double cumulative = 0.0;
    double tolerance = kVectorTolerance;
    for (std::size_t a = 0; a < result.components.size(); ++a) {
      SCOPED_TRACE(
          fmt::format("component {}, scaling {}, warm start {}", a + 1, static_cast<int>(scaling), hasWarmStart));
      const PcaComponent& component = result.components[a];
      tolerance = std::max(tolerance, kStepAtStop / (1.0 - expected.ratios[a]));
      EXPECT_LT(LargestGap(component.loading, expected.loadings[a]), tolerance);
      EXPECT_LT(LargestGap(component.score, expected.scores[a]), tolerance);
      const double eigenvalue = expected.variances[a] / (static_cast<double>(x.size()) - 1.0);
      EXPECT_NEAR(component.eigenvalue / eigenvalue, 1.0, kEigenvalueTolerance);
      cumulative += expected.variances[a] / total;
      EXPECT_NEAR(component.r2x, expected.variances[a] / total, kEigenvalueTolerance);
      EXPECT_NEAR(component.r2xCumulative, cumulative, kEigenvalueTolerance);
      EXPECT_TRUE(component.converged);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Data, PcaValues,
                         ::testing::Values(DataSet{"wine", {"class"}, 5}, DataSet{"gasoline", {}, 5},
                                           DataSet{"iris", {"class"}, 4}, DataSet{"usarrests", {}, 4}),
                         [](const auto& set) { return set.param.name; });

TEST(PcaGaps, ResidualsAccountForR2X) {
  RoleRequest roles;
  roles.classes = {"class_hours"};
  Table table = ReadData("metabolites", roles);
  PcaSettings settings;
  settings.components = 4;
  const PcaResult result = FitPca(table, settings, nullptr);
  EXPECT_EQ(result.gaps.cells, 419);
  EXPECT_EQ(result.gaps.columns, 77);
  EXPECT_TRUE(result.gaps.emptyRows.empty());

  // X - TP' over the present cells, from the scores and loadings that the user sees.
  const Table again = ReadData("metabolites", roles);
  const ScaledMatrix scaled = ScaleColumns(NCDataMatrix<float>(again.x), settings.scaling);
  double total = 0.0;
  double left = 0.0;
  for (int i = 1; i <= scaled.x.SizeRows(); ++i) {
    for (int j = 1; j <= scaled.x.SizeColumns(); ++j) {
      const double value = static_cast<double>(scaled.x[i][j]);
      if (value == static_cast<double>(kGap)) continue;
      double residual = value;
      for (const PcaComponent& c : result.components) {
        residual -= c.score[static_cast<std::size_t>(i - 1)] * c.loading[static_cast<std::size_t>(j - 1)];
      }
      total += value * value;
      left += residual * residual;
    }
  }
  EXPECT_NEAR(result.components.back().r2xCumulative, 1.0 - left / total, kEigenvalueTolerance);
}

TEST(PcaWarmStart, NeedsFewerRoundsWhereComponentsAreClose) {
  int rounds[2] = {};
  for (const bool hasWarmStart : {false, true}) {
    RoleRequest roles;
    roles.classes = {"class_hours"};
    Table table = ReadData("metabolites", roles);
    PcaSettings settings;
    settings.components = 4;
    settings.hasWarmStart = hasWarmStart;
    for (const PcaComponent& c : FitPca(table, settings, nullptr).components) rounds[hasWarmStart] += c.iterations;
  }
  EXPECT_LT(rounds[1], rounds[0]);
}

TEST(PcaOutcomes, ComponentsEndWhereTheTableEnds) {
  struct Case {
    const char* text;
    int asked;
    std::size_t got;
  };
  const std::vector<Case> cases = {
      {"a,b\n1,2\n2,4\n3,6\n5,10\n", 2, 1},           // rank one
      {"a,b,c\n1,2,4\n2,4,1\n3,5,9\n", 3, 2},         // three rows, centred
      {"a\n1\n2\n4\n", 9, 1},                         // one column
      {"a,b,c\n1,0,1\n0,1,1\n3,1,4\n2,7,9\n", 3, 2},  // c = a + b
  };
  for (const Case& c : cases) {
    Table table = TableOf(c.text);
    PcaSettings settings;
    settings.components = c.asked;
    const PcaResult result = FitPca(table, settings, nullptr);
    EXPECT_EQ(result.components.size(), c.got) << c.text;
    EXPECT_FALSE(result.stopped.empty()) << c.text;
  }
}

TEST(PcaOutcomes, ARowWithoutDataGetsNoScoreAndChangesNothing) {
  Table with = TableOf("id,a,b,c\nr,1,2,5\ns,2,3,1\nempty,,,\nt,7,1,2\nu,4,4,4\n");
  Table without = TableOf("id,a,b,c\nr,1,2,5\ns,2,3,1\nt,7,1,2\nu,4,4,4\n");
  const PcaResult a = FitPca(with, {}, nullptr);
  const PcaResult b = FitPca(without, {}, nullptr);
  EXPECT_EQ(a.gaps.emptyRows, std::vector<std::string>{"empty"});
  ASSERT_EQ(a.components.size(), b.components.size());
  EXPECT_TRUE(std::isnan(a.components[0].score[2]));
  EXPECT_NEAR(a.components[0].score[3], b.components[0].score[2], kVectorTolerance);
  EXPECT_NEAR(a.components[0].eigenvalue, b.components[0].eigenvalue, kEigenvalueTolerance);
}

TEST(PcaOutcomes, TheUnitOfTheDataDoesNotMatter) {
  PcaSettings settings;
  settings.scaling = Scaling::kCentre;
  Table ordinary = TableOf("a,b\n1,-3\n-1,2\n3,3\n");
  const PcaResult expected = FitPca(ordinary, settings, nullptr);
  for (const char* text :
       {"a,b\n1e38,-3e38\n-1e38,2e38\n3e38,3e38\n", "a,b\n1e-30,-3e-30\n-1e-30,2e-30\n3e-30,3e-30\n"}) {
    Table table = TableOf(text);
    const double unit = text[5] == 'e' && text[6] == '3' ? 1e38 : 1e-30;
    const PcaResult result = FitPca(table, settings, nullptr);
    ASSERT_EQ(result.components.size(), 2u);
    for (std::size_t a = 0; a < 2; ++a) {
      EXPECT_NEAR(result.components[a].r2x, expected.components[a].r2x, kEigenvalueTolerance);
      EXPECT_NEAR(result.components[a].score[0] / unit, expected.components[a].score[0], kVectorTolerance);
    }
  }
}

}  // namespace
}  // namespace tool
