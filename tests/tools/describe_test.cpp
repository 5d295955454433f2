#include <cmath>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/tools/program_runner.h"

namespace program {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const std::vector<std::string> kStatistics = {
    "mean",    "standard_deviation", "minimum",       "lower_quartile", "median", "upper_quartile",
    "maximum", "skewness",           "skewness_test", "kurtosis"};

class Describe : public Program {
 protected:
  static json Variable(const json& summary, const std::string& name) {
    for (const json& variable : summary["variables"]) {
      if (variable["name"] == name) return variable;
    }
    return {};
  }
};

// The coefficients of skewness and kurtosis are floats.
constexpr double kTolerance = 1e-6;

TEST_F(Describe, StatisticsAgreeWithR) {
  struct Case {
    const char* line;
    const char* variable;
    std::vector<double> expected;  // as in kStatistics; by R 4.2.2, from the definitions
  };
  const std::vector<Case> cases = {
      {"@wine --class class",
       "proline",
       {746.8932584270, 314.9074742768, 278.0, 500.0, 673.5, 985.0, 1680.0, 0.7678217814, 4.2170650984, -0.2484031061}},
      {"@metabolites --class class_hours",
       "Xylose methoxyamine (4TMS)",
       {0.1114191489, 0.1149580276, -0.05, 0.0127, 0.0839, 0.2209, 0.341, 0.4993585795, 1.4408571423, -1.0558178527}},
  };
  for (const Case& c : cases) {
    const json variable = Variable(Told(std::string("describe ") + c.line), c.variable);
    for (std::size_t i = 0; i < kStatistics.size(); ++i) {
      EXPECT_NEAR(variable[kStatistics[i]].get<double>(), c.expected[i], kTolerance * std::abs(c.expected[i]))
          << c.variable << ", " << kStatistics[i];
    }
  }
  const json metabolites = Told("describe @metabolites --class class_hours");
  EXPECT_EQ(metabolites["missing"], json::parse(R"({"cells":419,"rows":52,"columns":77,"empty_rows":[]})"));
  EXPECT_EQ(metabolites["variables"][0]["present"], 47);
  EXPECT_EQ(metabolites["variables"][0]["missing"], 5);
}

TEST_F(Describe, WhatCannotBeHadIsMissingInEveryForm) {
  Put("t.csv", "none,one,two,equal,three,four,marker\n,7,1,3,1,1,-98\n,,4,3,2,2,\n,,,3,9,4,-100\n,,,3,,9,\n");
  const json summary = Told("describe t.csv --out results");
  // How many of the statistics, in this order, a column has.
  const std::vector<std::string> order = {
      "mean",           "minimum",  "median",        "maximum", "standard_deviation",
      "lower_quartile", "skewness", "skewness_test", "kurtosis"};
  const std::vector<std::pair<std::string, std::size_t>> cases = {{"none", 0},  {"one", 4},  {"two", 6},   {"equal", 6},
                                                                  {"three", 8}, {"four", 9}, {"marker", 6}};
  for (const auto& [name, count] : cases) {
    const json variable = Variable(summary, name);
    for (std::size_t i = 0; i < order.size(); ++i) {
      EXPECT_EQ(variable[order[i]].is_null(), i >= count) << name << ", " << order[i];
    }
    EXPECT_TRUE(variable["cp"].is_null());
  }
  EXPECT_EQ(Variable(summary, "marker")["median"], -99.0) << "a statistic that is -99 is one";
  EXPECT_EQ(Variable(summary, "marker")["mean"], -99.00001);

  EXPECT_THAT(ContentOf(Path("results/columns.csv")),
              StartsWith("variable,present,missing,mean,standard_deviation,minimum,lower_quartile,median,"
                         "upper_quartile,maximum,skewness,skewness_test,kurtosis,lower_limit,upper_limit,cp,cpk\n"
                         "none,0,4,,,,,,,,,,,,,,\n"
                         "one,1,3,7,,7,,7,,7,,,,,,,\n"
                         "two,2,2,2.5,2.12132034,1,1,2.5,4,4,,,,,,,\n"));
  EXPECT_EQ(json::parse(ContentOf(Path("results/summary.json"))), summary);
  EXPECT_THAT(Run(Words("describe t.csv")).out,
              ::testing::ContainsRegex("\n  none +0 +4( +-){10}\n  one +1 +3 +7.000 +- +7.000 +- +7.000 +- +7.000"));
}

TEST_F(Describe, CapabilityFollowsTheLimitsOfEachColumn) {
  const std::string line = "describe @wine --class class --limits ";
  const json all = Told(line + "-1,11 --limits alcohol=11,15 --limits hue=,2 --limits ash..magnesium=1,");
  const json alcohol = Variable(all, "alcohol");
  EXPECT_NEAR(alcohol["cp"].get<double>(), 0.8211934883, kTolerance);
  EXPECT_NEAR(alcohol["cpk"].get<double>(), 0.8209397488, kTolerance);
  EXPECT_EQ(Variable(all, "proline")["upper_limit"], 11.0);
  const json hue = Variable(all, "hue");
  EXPECT_TRUE(hue["cp"].is_null() && hue["lower_limit"].is_null());
  EXPECT_NEAR(hue["cpk"].get<double>(),
              (2.0 - hue["mean"].get<double>()) / (3.0 * hue["standard_deviation"].get<double>()), kTolerance);
  EXPECT_TRUE(Variable(all, "alcalinity_of_ash")["upper_limit"].is_null());
  // Positions are those of the file, whose second column is no variable.
  EXPECT_THAT(Run(Words(line + "#3=11,15")).out, HasSubstr("\n\n  column   lower limit  upper limit     Cp    Cpk\n"
                                                           "  alcohol        11.00        15.00  0.821  0.821\n"));

  for (const char* wrong : {"5", ",", "5,4", "4,x", "4,5,6", "a=4", "4,inf", "none=1,2", "class=1,2"}) {
    ExpectRefusal(Words(line + wrong), 2, "voran: --limits: ");
  }
}

TEST_F(Describe, LongNamesAreCutBetweenCharacters) {
  Put("t.csv", "größe_in_metern_über_null,größe_in_metern_über_eins,kurz\n1,2,3\n2,3,4\n");
  const std::string out = Run({"describe", "t.csv", "--quiet"}).out;
  EXPECT_THAT(out, HasSubstr("\n  größe_i..er_null  1.500"));
  EXPECT_THAT(out, HasSubstr("\n  größe_i..er_eins  2.500"));
  EXPECT_THAT(out, HasSubstr("\n  kurz              3.500"));
}

}  // namespace
}  // namespace program
