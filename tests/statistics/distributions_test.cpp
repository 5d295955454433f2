#include "voran/statistics/distributions.h"

#include <cmath>

#include <gtest/gtest.h>

#include "voran/statistics/chi_square.h"
#include "voran/statistics/contingency_table.h"
#include "voran/statistics/incomplete_beta.h"

// Values named R are those of qf, pf, qt, pchisq, dhyper and fisher.test of R 4.2.

namespace {

constexpr double kSixTerms = 1e-9;      // of the log gamma
constexpr double kFraction = 1e-6;      // of the continued fraction, which stops at 3e-7
constexpr double kBisectionOfF = 2e-5;  // relative
constexpr double kBisectionOfT = 1e-4;

TEST(IncompleteBeta, HasItsClosedFormsOnBothBranches) {
  for (const double x : {0.0, 0.05, 0.3, 0.5, 0.7, 0.95, 1.0}) {
    EXPECT_NEAR(Sta::detail::IncompleteBeta(1.0, 4.0, x), 1.0 - std::pow(1.0 - x, 4.0), kFraction) << x;
    EXPECT_NEAR(Sta::detail::IncompleteBeta(5.0, 1.0, x), std::pow(x, 5.0), kFraction) << x;
    EXPECT_NEAR(Sta::detail::IncompleteBeta(2.0, 2.0, x), x * x * (3.0 - 2.0 * x), kFraction) << x;
  }
  EXPECT_EQ(Sta::detail::IncompleteBeta(2.0, 3.0, -1.0), 0.0);
  EXPECT_EQ(Sta::detail::IncompleteBeta(2.0, 3.0, 2.0), 1.0);
}

TEST(PFTest, IsTheUpperTailOfF) {
  const struct {
    double ms1, df1, ms2, df2, r;
  } cases[] = {{6, 3, 2, 12, 0.0727654768},
               {2, 12, 6, 3, 0.927234523},
               {1, 5, 1, 5, 0.5},
               {0.5, 2, 3, 200, 0.846599169},
               {10, 1, 1, 1, 0.194982229}};
  for (const auto& c : cases) EXPECT_NEAR(Sta::PFTest(c.ms1, c.df1, c.ms2, c.df2), c.r, kFraction) << c.ms1;
  EXPECT_NEAR(Sta::PFTest(100, 30, 1, 30) / 5.86304955e-23, 1.0, kFraction);
}

TEST(PFTest, TellsOfMeanSquaresThatMakeNoRatio) {
  EXPECT_EQ(Sta::PFTest(0.0, 3, 0.0, 4), 1.0);
  EXPECT_EQ(Sta::PFTest(0.0, 3, 2.0, 4), 1.0);
  EXPECT_EQ(Sta::PFTest(2.0, 3, 0.0, 4), 0.0);
  EXPECT_EQ(Sta::PFTest(-99.0, 3, 1.0, 4), -99.0);
  EXPECT_EQ(Sta::PFTest(1.0, 3, -99.0, 4), -99.0);
  EXPECT_EQ(Sta::PFTest(-1.0, 3, 1.0, 4), -99.0);
  EXPECT_EQ(Sta::PFTest(1.0, 3, -1.0, 4), -99.0);
}

TEST(FFTest, IsTheCriticalValueOfF) {
  const struct {
    double df1, df2, p, r;
  } cases[] = {{4, 10, 0.05, 3.47804969},   {1, 1, 0.05, 161.447639},    {10, 4, 0.01, 14.5459008},
               {120, 60, 0.5, 1.00559908},  {2, 30, 0.95, 0.0513810945}, {5, 5, 0.001, 29.7523986},
               {3.5, 7.25, 0.1, 2.96838163}};
  constexpr double kStep = 5e-5;  // where the bisection ends for small values
  for (const auto& c : cases) {
    EXPECT_NEAR(Sta::FFTest(c.df1, c.df2, c.p), c.r, std::fmax(kStep, kBisectionOfF * c.r)) << c.r;
  }
  EXPECT_EQ(Sta::FFTest(3, 4, 0.0), -1.0);
  EXPECT_EQ(Sta::FFTest(3, 4, 1.0), -1.0);
}

TEST(StudentsT, IsTheCriticalValueOfItsCentralArea) {
  const struct {
    double p, df;
    bool twoSided;
    double r;
  } cases[] = {{0.975, 1, true, 12.706205},  {0.975, 10, true, 2.2281389},   {0.95, 5, true, 2.0150484},
               {0.995, 30, true, 2.7499957}, {0.999, 1000, true, 3.0984022}, {0.95, 10, false, 2.2281389},
               {0.5, 3, false, 0.76489233}};
  for (const auto& c : cases) EXPECT_NEAR(Sta::GetStudentsT(c.p, c.df, c.twoSided), c.r, kBisectionOfT) << c.r;
  EXPECT_EQ(Sta::GetStudentsT(0.4, 5, true), 0.0);
  EXPECT_EQ(Sta::GetStudentsT(1.1, 5, false), 0.0);
  EXPECT_NEAR(Sta::GetStudentsT(1.0, 1, false), 64.0, kBisectionOfT);
}

TEST(ChiSquareTail, AgreesForEvenAndOddDegreesOfFreedom) {
  const struct {
    double x;
    int df;
    double r;
  } cases[] = {{3.841458821, 1, 0.05}, {5.991464547, 2, 0.05},  {7.814727903, 3, 0.05},
               {16.91897760, 9, 0.05}, {21.02606982, 12, 0.05}, {138.2898416, 9, 2.32529e-25}};
  for (const auto& c : cases) EXPECT_NEAR(Sta::detail::ChiSquareTail(c.x, c.df) / c.r, 1.0, 2e-6) << c.df;
  EXPECT_EQ(Sta::detail::ChiSquareTail(-1.0, 4), 1.0);
}

TEST(Tables, BinomialCoefficientsAreWholeNumbers) {
  EXPECT_EQ(Sta::BinomialCoefficient(10, 3), 120.0);
  EXPECT_EQ(Sta::BinomialCoefficient(5, 0), 1.0);
  EXPECT_EQ(Sta::BinomialCoefficient(52, 5), 2598960.0);
  EXPECT_NEAR(Sta::BinomialCoefficient(60, 30) / 118264581564861424.0, 1.0, 1e-8);
}

TEST(Tables, ProbabilityIsHypergeometric) {
  const struct {
    int a, b, c, d;
    double r;
  } cases[] = {{3, 1, 1, 3, 0.2285714286},      {2, 10, 15, 3, 0.000449699962},    {0, 5, 7, 2, 0.01048951049},
               {10, 0, 0, 10, 5.412544112e-06}, {60, 40, 30, 70, 1.208056026e-05}, {0, 0, 0, 0, 1.0}};
  for (const auto& c : cases) EXPECT_NEAR(Sta::GetTableProbability(c.a, c.b, c.c, c.d) / c.r, 1.0, 1e-8) << c.r;
}

TEST(TwoByTwo, SumsTheTailThatIsAskedFor) {
  const struct {
    int table[4];
    double less, greater;
  } cases[] = {{{3, 1, 1, 3}, 0.9857142857, 0.2428571429},
               {{2, 15, 10, 3}, 0.0004651809434, 0.999984519},
               {{0, 5, 7, 2}, 0.01048951049, 1.0},
               {{7, 2, 0, 5}, 1.0, 0.01048951049},
               {{60, 40, 30, 70}, 0.9999955576, 1.652296495e-05}};
  for (const auto& c : cases) {
    const auto p = [&](Sta::SidedNess side) { return Sta::GetFisherExactProbability(c.table, 2, 2, false, side, 0); };
    EXPECT_NEAR(p(Sta::SidedNess::kLess) / c.less, 1.0, 1e-7) << c.less;
    EXPECT_NEAR(p(Sta::SidedNess::kGreater) / c.greater, 1.0, 1e-7) << c.greater;
  }
  const int most[] = {2147483647, 40000, 40000, 0};  // the other tables have larger first cells, and all together p 1
  EXPECT_NEAR(Sta::GetFisherExactProbability(most, 2, 2, false, Sta::SidedNess::kGreater, 0), 1.0, 1e-4);
}

// The lady tasting tea, twins' convictions and the admissions to six departments: published tables, p by R.
TEST(TwoByTwo, AgreesWithPublishedValues) {
  const struct {
    int table[4];
    double p;
  } cases[] = {{{3, 1, 1, 3}, 0.485714285714},          {{2, 15, 10, 3}, 0.000536724119143},
               {{512, 89, 313, 19}, 1.66918932839e-05}, {{353, 17, 207, 8}, 0.677089913723},
               {{120, 202, 205, 391}, 0.386616575975},  {{138, 131, 279, 244}, 0.599496507961},
               {{53, 94, 138, 299}, 0.360396431415},    {{22, 24, 351, 317}, 0.545840826901}};
  for (const auto& c : cases) {
    const double p = Sta::GetFisherExactProbability(c.table, 2, 2, false, Sta::SidedNess::kTwoSided, 0);
    EXPECT_NEAR(p / c.p, 1.0, 1e-8) << c.p;
  }
}

}  // namespace
