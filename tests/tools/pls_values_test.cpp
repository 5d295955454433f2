#include <algorithm>
#include <cmath>
#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/models/plain_nipals.h"
#include "tests/tools/value_samples.h"
#include "tools/voran/failure.h"
#include "tools/voran/pls_fit.h"

namespace tool {
namespace {

using Plain = std::vector<double>;

constexpr double kMissing = kGap;
// Vectors relative to their largest element, shares and Q2 as they are. A single response takes no iteration.
constexpr double kSingleTolerance = 1e-4;
// With several, the fit stops when a round moves u by 1e-5 of its length; later components take over what is left.
constexpr double kSeveralTolerance = 1e-3;

// Sums of squares of the columns before a component, and of what was not predicted of rows that were left out.
struct PlainPress {
  Plain ss;
  Plain press;

  double Q2(std::size_t m) const { return 1.0 - press[m] / ss[m]; }
  double Total() const { return 1.0 - Sum(press) / Sum(ss); }
  static double Sum(const Plain& values) {
    double sum = 0.0;
    for (const double value : values) sum += value;
    return sum;
  }
};

// PLS of scaled data in double: all components, and their cross-validation in groups by the position of the row.
class PlainPls {
 public:
  PlainPls(const Rows& x, const Rows& y, int count, std::size_t groups)
      : x_(x), y_(y), groups_(groups), totalX_(plain_nipals::SumOfSquares(x)), totalY_(ColumnSquares(y)) {
    cvPredicted.assign(y.size(), Plain(y[0].size(), 0.0));
    for (int a = 0; a < count; ++a) Next();
  }

  std::vector<plain_nipals::PlsComponent> components;
  std::vector<PlainPress> q2;
  Plain r2x;               // cumulative
  std::vector<Plain> r2y;  // cumulative, of each response
  Plain r2yTotal;          // cumulative
  Rows cvPredicted;        // by all components, each while the row was left out of it

  // Of the scaled data, variables x responses.
  Rows Coefficients() const {
    const std::size_t variables = components[0].w.size();
    Rows b(variables, Plain(components[0].c.size(), 0.0));
    Rows stars;
    for (const auto& component : components) {
      Plain star = component.w;
      for (std::size_t k = 0; k < stars.size(); ++k) {
        double share = 0.0;
        for (std::size_t j = 0; j < variables; ++j) share += components[k].p[j] * component.w[j];
        for (std::size_t j = 0; j < variables; ++j) star[j] -= share * stars[k][j];
      }
      stars.push_back(star);
      for (std::size_t j = 0; j < variables; ++j) {
        for (std::size_t m = 0; m < b[j].size(); ++m) b[j][m] += star[j] * component.c[m];
      }
    }
    return b;
  }

 private:
  static Plain ColumnSquares(const Rows& rows) {
    Plain squares;
    for (std::size_t m = 0; m < rows[0].size(); ++m) {
      squares.push_back(plain_nipals::SumOfSquares(plain_nipals::Column(rows, m)));
    }
    return squares;
  }

  void Next() {
    plain_nipals::PlsComponent a = plain_nipals::FitPls(x_, y_);
    const auto largest =
        std::max_element(a.w.begin(), a.w.end(), [](double p, double q) { return std::abs(p) < std::abs(q); });
    if (*largest < 0.0) {
      for (Plain* v : {&a.w, &a.t, &a.c, &a.u, &a.p}) plain_nipals::Scale(*v, -1.0);
    }
    LeaveGroupsOut();
    plain_nipals::Deflate(x_, a.t, a.p);
    plain_nipals::Deflate(y_, a.t, a.c);
    components.push_back(a);
    r2x.push_back(1.0 - plain_nipals::SumOfSquares(x_) / totalX_);
    const Plain left = ColumnSquares(y_);
    r2y.emplace_back();
    for (std::size_t m = 0; m < left.size(); ++m) r2y.back().push_back(1.0 - left[m] / totalY_[m]);
    r2yTotal.push_back(1.0 - PlainPress::Sum(left) / PlainPress::Sum(totalY_));
  }

  void LeaveGroupsOut() {
    Rows residuals = y_;
    for (std::size_t g = 0; g < groups_; ++g) {
      Rows x;
      Rows y;
      for (std::size_t i = 0; i < x_.size(); ++i) {
        if ((i + 1) % groups_ == g) continue;
        x.push_back(x_[i]);
        y.push_back(y_[i]);
      }
      const plain_nipals::PlsComponent sub = plain_nipals::FitPls(x, y);
      for (std::size_t i = 0; i < x_.size(); ++i) {
        if ((i + 1) % groups_ != g) continue;
        const double t = plain_nipals::Slope(sub.w, x_[i], 0.0);
        for (std::size_t m = 0; m < sub.c.size(); ++m) {
          if (y_[i][m] != kMissing) residuals[i][m] -= t * sub.c[m];
          cvPredicted[i][m] += t * sub.c[m];
        }
      }
    }
    q2.push_back({ColumnSquares(y_), ColumnSquares(residuals)});
  }

  Rows x_;
  Rows y_;
  std::size_t groups_;
  double totalX_;
  Plain totalY_;
};

// The rules of the documentation.
std::string PlainVerdict(const PlainPls& plain, std::size_t rows, std::size_t a) {
  const double limit = rows > 100 ? 0.0 : 0.05;
  const std::size_t responses = plain.q2[a].ss.size();
  if (std::min(plain.components[a].w.size(), rows - 3) <= a + 1) return "N3";
  double mostOfY = 0.0;
  std::size_t above = 0;
  for (std::size_t m = 0; m < responses; ++m) {
    mostOfY = std::max(mostOfY, plain.r2y[a][m] - (a > 0 ? plain.r2y[a - 1][m] : 0.0));
    if (plain.q2[a].Q2(m) > limit) ++above;
  }
  if (plain.r2x[a] - (a > 0 ? plain.r2x[a - 1] : 0.0) < 0.01 && mostOfY <= 0.03) return "N4";
  if (plain.q2[a].Total() > limit) return "R1";
  const double needed = std::round(responses < 25 ? std::sqrt(responses) : 0.2 * static_cast<double>(responses));
  return static_cast<double>(above) >= needed ? "R2" : "NS";
}

double WithComponent(double cumulative, double q2) {
  return 1.0 - (1.0 - cumulative) * std::min(1.0 - q2, 1.1);
}

struct DataSet {
  const char* name;
  std::vector<std::string> responses;
  std::vector<std::string> classes;
  int components;
  Scaling scaling;
  double tolerance;

  RoleRequest Roles() const {
    RoleRequest roles;
    roles.responses = responses;
    roles.classes = classes;
    return roles;
  }
  friend std::ostream& operator<<(std::ostream& out, const DataSet& set) { return out << set.name; }
};

class PlsValues : public ::testing::TestWithParam<DataSet> {
 protected:
  void SetUp() override {
    const DataSet& set = GetParam();
    const Table table = ReadData(set.name, set.Roles());
    x_ = Prepared(table.x, set.scaling == Scaling::kUnitVariance);
    y_ = Prepared(table.y, set.scaling == Scaling::kUnitVariance);
    raw_ = ToRows(table.x);
    rawY_ = ToRows(table.y);
  }

  PlsResult Fit(std::optional<int> components) const {
    Table table = ReadData(GetParam().name, GetParam().Roles());
    PlsSettings settings;
    settings.components = components;
    settings.scaling = settings.yScaling = GetParam().scaling;
    settings.iterationLimit = 100000;
    return FitPls(table, settings, nullptr);
  }

  void ExpectComponent(const PlsComponent& c, const PlainPls& plain, std::size_t a) const {
    const plain_nipals::PlsComponent& expected = plain.components[a];
    const double tolerance = GetParam().tolerance;
    EXPECT_LT(LargestGap(c.weight, expected.w), tolerance);
    EXPECT_LT(LargestGap(c.score, expected.t), tolerance);
    EXPECT_LT(LargestGap(c.loading, expected.p), tolerance);
    EXPECT_LT(LargestGap(c.yWeight, expected.c), tolerance);
    EXPECT_LT(LargestGap(c.yScore, expected.u), tolerance);
    EXPECT_NEAR(c.r2xCumulative, plain.r2x[a], tolerance);
    EXPECT_NEAR(c.r2x, plain.r2x[a] - (a > 0 ? plain.r2x[a - 1] : 0.0), tolerance);
    EXPECT_NEAR(c.r2yCumulative.value(), plain.r2yTotal[a], tolerance);
    EXPECT_NEAR(c.r2y.value(), plain.r2yTotal[a] - (a > 0 ? plain.r2yTotal[a - 1] : 0.0), tolerance);
    EXPECT_LT(LargestGap(c.r2yOfResponsesCumulative, plain.r2y[a]), tolerance);
    EXPECT_NEAR(c.eigenvalue, plain_nipals::SumOfSquares(expected.t) / (static_cast<double>(expected.t.size()) - 1.0),
                tolerance * c.eigenvalue);
  }

  PlainTable x_;
  PlainTable y_;
  Rows raw_;
  Rows rawY_;
};

TEST_P(PlsValues, AgreeWithPlainLoops) {
  const auto wanted = static_cast<std::size_t>(GetParam().components);
  const double tolerance = GetParam().tolerance;
  const PlainPls plain(x_.rows, y_.rows, GetParam().components, kDefaultCvGroups);
  const PlsResult result = Fit(GetParam().components);
  ASSERT_EQ(result.components.size(), wanted);
  double total = 0.0;
  Plain cumulative(y_.means.size());
  for (std::size_t a = 0; a < wanted; ++a) {
    SCOPED_TRACE(fmt::format("component {}", a + 1));
    ExpectComponent(result.components[a], plain, a);
    const ComponentQ2& q2 = result.components[a].q2.value();
    total = WithComponent(total, plain.q2[a].Total());
    EXPECT_NEAR(q2.q2, plain.q2[a].Total(), tolerance);
    EXPECT_NEAR(q2.q2Cumulative, total, tolerance);
    EXPECT_NEAR(q2.limit, 0.05, 1e-6);
    EXPECT_EQ(SignificanceE::GetSignificance(q2.verdict), PlainVerdict(plain, raw_.size(), a));
    for (std::size_t m = 0; m < cumulative.size(); ++m) {
      cumulative[m] = WithComponent(cumulative[m], plain.q2[a].Q2(m));
      EXPECT_NEAR(q2.q2OfColumns[m], plain.q2[a].Q2(m), tolerance) << "response " << m;
      EXPECT_NEAR(q2.q2OfColumnsCumulative[m], cumulative[m], tolerance) << "response " << m;
    }
  }
}

TEST_P(PlsValues, ResponsesComeInTheirOwnUnits) {
  const double tolerance = GetParam().tolerance;
  const PlainPls plain(x_.rows, y_.rows, GetParam().components, kDefaultCvGroups);
  const Rows b = plain.Coefficients();
  const PlsResult result = Fit(GetParam().components);
  for (std::size_t m = 0; m < result.responses.size(); ++m) {
    SCOPED_TRACE(result.y.names[m]);
    const ResponseFit& fit = result.responses[m];
    Plain coefficients;
    double intercept = y_.means[m];
    for (std::size_t k = 0; k < b.size(); ++k) {
      coefficients.push_back(b[k][m] * y_.deviations[m] / x_.deviations[k]);
      intercept -= coefficients.back() * x_.means[k];
    }
    EXPECT_LT(LargestGap(fit.coefficients, coefficients), tolerance);
    EXPECT_NEAR(fit.intercept, intercept, 10 * tolerance * std::abs(intercept));

    double squares = 0.0;
    double cvSquares = 0.0;
    double present = 0.0;
    for (std::size_t i = 0; i < raw_.size(); ++i) {
      if (std::count(raw_[i].begin(), raw_[i].end(), kMissing) == 0) {
        double fromCoefficients = fit.intercept;
        for (std::size_t k = 0; k < b.size(); ++k) fromCoefficients += fit.coefficients[k] * raw_[i][k];
        EXPECT_NEAR(fromCoefficients, fit.fitted[i], tolerance * y_.deviations[m]) << "row " << i;
      }
      double fitted = 0.0;
      for (const auto& component : plain.components) fitted += component.t[i] * component.c[m];
      EXPECT_NEAR(fit.fitted[i], y_.means[m] + fitted * y_.deviations[m], 5 * tolerance * y_.deviations[m]);
      const double predicted = y_.means[m] + plain.cvPredicted[i][m] * y_.deviations[m];
      EXPECT_NEAR(fit.predictedCv[i], predicted, 5 * tolerance * y_.deviations[m]) << "row " << i;
      if (rawY_[i][m] == kMissing) continue;
      squares += std::pow((y_.rows[i][m] - fitted) * y_.deviations[m], 2);
      cvSquares += std::pow(rawY_[i][m] - predicted, 2);
      present += 1.0;
    }
    EXPECT_NEAR(fit.rmsee, std::sqrt(squares / (present - GetParam().components - 1.0)), tolerance * y_.deviations[m]);
    EXPECT_NEAR(fit.rmsecv, std::sqrt(cvSquares / present), tolerance * y_.deviations[m]);
  }
}

TEST_P(PlsValues, AutoStopsAtTheFirstComponentThatIsNotSignificant) {
  const PlainPls plain(x_.rows, y_.rows, GetParam().components + 1, kDefaultCvGroups);
  std::size_t significant = 0;
  while (significant < plain.components.size() && PlainVerdict(plain, raw_.size(), significant)[0] == 'R')
    ++significant;
  ASSERT_LT(significant, plain.components.size()) << "more components are needed to see where it stops";
  const std::string verdict = PlainVerdict(plain, raw_.size(), significant);
  const std::string head = fmt::format("component {} is not significant ({})", significant + 1, verdict);
  if (significant == 0) {
    try {
      Fit(std::nullopt);
      ADD_FAILURE() << "no component is significant";
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.Code(), ExitCode::kComputationFailed);
      EXPECT_THAT(failure.what(), ::testing::StartsWith(head));
    }
    return;
  }
  const PlsResult result = Fit(std::nullopt);
  EXPECT_EQ(result.components.size(), significant);
  EXPECT_THAT(result.stopped, ::testing::StartsWith(head));
}

// Two metabolites with gaps, and one without.
INSTANTIATE_TEST_SUITE_P(
    Data, PlsValues,
    ::testing::Values(DataSet{"gasoline", {"octane"}, {}, 4, Scaling::kCentre, kSingleTolerance},
                      DataSet{"linnerud", {"y_weight..y_pulse"}, {}, 2, Scaling::kUnitVariance, kSeveralTolerance},
                      DataSet{"oliveoil", {"yellow..syrup"}, {"class"}, 3, Scaling::kUnitVariance, kSeveralTolerance},
                      DataSet{
                          "metabolites", {"#3..#5"}, {"class_hours"}, 3, Scaling::kUnitVariance, kSeveralTolerance}),
    [](const auto& set) { return set.param.name; });

TEST(PlsValue, CoefficientsOfOneResponseSolveTheKrylovEquations) {
  const DataSet set = {"gasoline", {"octane"}, {}, 5, Scaling::kUnitVariance, kSingleTolerance};
  Table table = ReadData(set.name, set.Roles());
  const PlainTable x = Prepared(table.x, true);
  const PlainTable y = Prepared(table.y, true);
  Plain expected = plain_nipals::KrylovCoefficients(x.rows, plain_nipals::Column(y.rows, 0), set.components);
  for (std::size_t k = 0; k < expected.size(); ++k) expected[k] *= y.deviations[0] / x.deviations[k];
  PlsSettings settings;
  settings.components = set.components;
  settings.isCrossValidated = false;
  const PlsResult result = FitPls(table, settings, nullptr);
  EXPECT_LT(LargestGap(result.responses[0].coefficients, expected), kSingleTolerance);
  EXPECT_EQ(result.cvGroups, 0);
  EXPECT_FALSE(result.components[0].q2.has_value());
  EXPECT_TRUE(result.responses[0].predictedCv.empty());
}

// A small table with a response; `text` may replace what stands behind the header.
Table SmallTable(const std::string& text, const std::string& groups = {}) {
  RoleRequest roles;
  roles.responses = {"y"};
  if (!groups.empty()) roles.cvGroups = {groups};
  return TableOf(text, roles);
}

PlsResult FitSmall(const std::string& text, int components, const std::string& groups = {}) {
  Table table = SmallTable(text, groups);
  PlsSettings settings;
  settings.components = components;
  settings.cvGroups = 3;
  return FitPls(table, settings, nullptr);
}

TEST(PlsOutcomes, AColumnOfGroupsIsTheSameAsGroupsByPosition) {
  const PlsResult named = FitSmall("g,a,b,y\nq,1,2,3\nr,2,7,5\np,4,1,4\nq,5,5,9\nr,7,2,8\np,9,9,15\n", 1, "g");
  const PlsResult positions = FitSmall("a,b,y\n1,2,3\n2,7,5\n4,1,4\n5,5,9\n7,2,8\n9,9,15\n", 1);
  EXPECT_EQ(named.cvGroups, 3);
  EXPECT_EQ(named.x.names, positions.x.names);
  EXPECT_NEAR(named.components[0].q2->q2, positions.components[0].q2->q2, 1e-6);
  EXPECT_LT(LargestGap(named.responses[0].predictedCv, positions.responses[0].predictedCv), 1e-6);
  // Other groups give something else, so that the column is indeed looked at.
  const PlsResult other = FitSmall("g,a,b,y\nq,1,2,3\nq,2,7,5\np,4,1,4\np,5,5,9\nr,7,2,8\nr,9,9,15\n", 1, "g");
  EXPECT_GT(std::abs(other.components[0].q2->q2 - named.components[0].q2->q2), 1e-3);
}

TEST(PlsOutcomes, ARowWithoutXTakesNoPart) {
  const PlsResult with = FitSmall("id,a,b,y\nr,1,2,3\ns,2,7,5\nt,4,1,4\nu,5,5,9\nv,7,2,8\nempty,,,99\n", 1);
  const PlsResult without = FitSmall("id,a,b,y\nr,1,2,3\ns,2,7,5\nt,4,1,4\nu,5,5,9\nv,7,2,8\n", 1);
  EXPECT_EQ(with.gaps.emptyRows, std::vector<std::string>{"empty"});
  EXPECT_TRUE(std::isnan(with.components[0].score[5]));
  EXPECT_TRUE(std::isnan(with.responses[0].fitted[5]));
  EXPECT_TRUE(std::isnan(with.responses[0].predictedCv[5]));
  EXPECT_NEAR(*with.components[0].r2y, *without.components[0].r2y, 1e-6);
  EXPECT_NEAR(with.components[0].q2->q2, without.components[0].q2->q2, 1e-6);
  EXPECT_NEAR(with.responses[0].intercept, without.responses[0].intercept, 1e-5);
  EXPECT_NEAR(with.responses[0].rmsee, without.responses[0].rmsee, 1e-5);
}

TEST(PlsOutcomes, ComponentsEndWhereXOrYEnds) {
  struct Case {
    const char* text;
    std::size_t got;
    const char* says;
  };
  const std::vector<Case> cases = {
      {"a,b,y\n1,2,3\n2,4,5\n3,6,4\n5,10,9\n", 1, "explains the whole of X"},
      {"a,b,y\n1,3,1\n2,3.5,2\n4,1,4\n9,7,9\n", 2, "4 rows and 2 columns have no more than 2 components"},
      {"a,y\n1,2\n2,4\n4,8\n", 1, "3 rows and 1 column have no more than 1 component"},
      {"a,b,c,y\n1,0,0,2\n-1,0,0,-2\n0,1,0,0\n0,-1,0,0\n0,0,1,0\n0,0,-1,0\n", 1, "explains the whole of Y"},
  };
  for (const Case& c : cases) {
    const PlsResult result = FitSmall(c.text, 9);
    EXPECT_EQ(result.components.size(), c.got) << c.text;
    EXPECT_THAT(result.stopped, ::testing::HasSubstr(c.says)) << c.text;
  }
}

TEST(PlsOutcomes, TheUnitOfTheDataDoesNotMatter) {
  const auto fit = [](const char* exponent) {
    std::string text = "a,b,y\n";
    for (const char* row : {"1{0},-3{0},2{0}", "-1{0},2{0},1{0}", "3{0},3{0},-1{0}", "2{0},0.5{0},3{0}"}) {
      text += fmt::format(fmt::runtime(row), exponent) + "\n";
    }
    Table table = SmallTable(text);
    PlsSettings settings;
    settings.components = 2;
    settings.scaling = settings.yScaling = Scaling::kCentre;
    return FitPls(table, settings, nullptr);
  };
  const PlsResult expected = fit("");
  for (const auto& [exponent, unit] : {std::pair("e37", 1e37), std::pair("e-30", 1e-30)}) {
    const PlsResult result = fit(exponent);
    ASSERT_EQ(result.components.size(), 2u) << exponent;
    EXPECT_NEAR(*result.components[1].r2yCumulative, *expected.components[1].r2yCumulative, 1e-5) << exponent;
    EXPECT_LT(LargestGap(result.responses[0].coefficients, expected.responses[0].coefficients), 1e-4) << exponent;
    for (std::size_t i = 0; i < 4; ++i) {
      EXPECT_NEAR(result.components[0].score[i] / unit, expected.components[0].score[i], 1e-4) << exponent;
      EXPECT_NEAR(result.responses[0].fitted[i] / unit, expected.responses[0].fitted[i], 1e-4) << exponent;
    }
    EXPECT_NEAR(result.responses[0].rmsee / unit, expected.responses[0].rmsee, 1e-4) << exponent;
  }
}

}  // namespace
}  // namespace tool
