#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/tools/program_runner.h"

namespace program {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

TEST_F(Program, PlsRefusesWhatCannotBeModelled) {
  Put("t.csv", std::string("id,g,a,b,k,e,y,z,one\n"
                           "p,u,1,1,5,,1,3,only\nq,u,-1,1,5,,1,5,only\nr,,1,-1,5,,1,-4,only\ns,v,-1,-1,5,,1,0,only\n"));
  Put("even.csv", std::string("a,y\n1,1\n-1,1\n1,-1\n-1,-1\n"));
  Put("row.csv", std::string("a,b,y\n1,2,3\n"));
  const std::vector<Refusal> refusals = {
      {"t.csv --y y --x a,b", 3, "t.csv: response \"y\" cannot be modelled (no variance); leave it out"},
      {"t.csv --y z,e --x a,b", 3, "t.csv: response \"e\" cannot be modelled (all missing)"},
      {"t.csv --y z --x k,e", 3, "no column is left to model: k (no variance)"},
      {"even.csv --y y --components 1 --no-cv", 1,
       "even.csv: The correlation between X and Y is zero or almost zero; component 1 cannot be computed\n"},
      {"@linnerud --y y_pulse --x x_chins..x_jumps", 1,
       "linnerud.csv: component 1 is not significant (NS): its Q2 is -0.1013, and the limit 0.0500; --components 1 "
       "fits it"},
      {"t.csv --y z --x a --cv-column one", 3, "column \"one\" holds one group alone"},
      {"t.csv --y z --x a --cv-column g", 3, "row \"r\" has no group in column \"g\""},
      {"t.csv --y z --x a --cv-column g,one", 2, "--cv-column: 2 columns are named; give one"},
      {"t.csv --y z --x a --cv-column a", 2, "column \"a\" is named by both"},
      {"row.csv --y y --scaling none --y-scaling none", 3, "is too small for cross-validation"},
      {"even.csv --y a,y", 3, "no column of numbers is left"},
      {"even.csv --y q", 2, "--y: the table has no column \"q\""},
      {"even.csv", 2, "--y is required"},
      {"even.csv --y y --components 0", 2, "--components: \"0\" is neither a number of components nor auto"},
      {"even.csv --y y --no-cv", 2, "--no-cv leaves nothing to choose the number of components by"},
      {"even.csv --y y --cv-groups 1", 2, "--cv-groups"},
      {"even.csv --y y --cv-groups 3 --cv-column a", 2, "--cv-groups excludes --cv-column"},
      {"even.csv --y y --no-cv --cv-column a", 2, "--no-cv"},
      {"even.csv --y y --transform q=log", 2, "--transform: the table has no column \"q\""},
      {"t.csv --y z --x a --transform g,#4=log", 2, "\"g,#4\" names no column of numbers that is"},
  };
  ExpectRefusals("pls", refusals, "--out made/here --save m");
}

TEST_F(Program, PlsFilesAndKeys) {
  const std::vector<std::string> run = {"pls", DataFile("oliveoil"), "--class",      "class", "--y",   "yellow,green",
                                        "--x", "Acidity..DK",        "--components", "2",     "--json"};
  const auto with = [&](std::vector<std::string> more) {
    more.insert(more.begin(), run.begin(), run.end());
    return Run(more);
  };
  const Outcome outcome = with({"--out", "r", "--threads", "1"});
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  const std::vector<std::string> names = {"scores.csv",       "loadings.csv",     "weights.csv",
                                          "y_weights.csv",    "coefficients.csv", "fitted.csv",
                                          "predicted_cv.csv", "q2.csv",           "summary.json"};
  std::vector<std::string> files = {"r"};
  for (const std::string& name : names) files.push_back("r/" + name);
  EXPECT_THAT(Files(), ::testing::UnorderedElementsAreArray(files));
  EXPECT_EQ(with({"--out", "three", "--threads", "3"}).out, outcome.out);
  for (const std::string& name : names) {
    EXPECT_EQ(ContentOf(Path("three") / name), ContentOf(Path("r") / name)) << name;
  }
  const std::vector<std::pair<const char*, const char*>> headers = {
      {"scores.csv", "id,t1,t2,u1,u2\nG1,"},
      {"weights.csv", "variable,w1,w2\nAcidity,"},
      {"y_weights.csv", "response,c1,c2\nyellow,"},
      {"coefficients.csv", "variable,yellow,green\n(intercept),"},
      {"predicted_cv.csv", "id,yellow,green\nG1,"},
      {"q2.csv", "response,q2_1,q2_2,q2_cumulative_1,q2_cumulative_2\nyellow,"}};
  for (const auto& [file, begin] : headers) EXPECT_THAT(ContentOf(Path("r") / file), StartsWith(begin));

  const json summary = json::parse(outcome.out);
  EXPECT_EQ(summary["cv_groups"], 7);
  EXPECT_EQ(summary["components_requested"], 2);
  EXPECT_TRUE(summary["stopped_because"].is_null());
  const json& component = summary["components"][1];
  for (const char* key : {"r2x", "r2x_cumulative", "eigenvalue", "r2y", "r2y_cumulative", "q2", "q2_cumulative",
                          "q2_limit", "significance", "iterations", "converged"}) {
    EXPECT_FALSE(component.value(key, json()).is_null()) << key;
  }
  for (const char* key :
       {"r2y_by_response", "r2y_cumulative_by_response", "q2_by_response", "q2_cumulative_by_response"}) {
    EXPECT_EQ(component.value(key, json()).size(), 2u) << key;
  }
  EXPECT_EQ(summary["responses"][1]["name"], "green");
  EXPECT_EQ(summary["responses"][1]["q2_cumulative"], component["q2_cumulative_by_response"][1]);

  const Outcome plain = with({"--out", "plain", "--no-cv"});
  EXPECT_FALSE(fs::exists(Path("plain/q2.csv")) || fs::exists(Path("plain/predicted_cv.csv")));
  const json without = json::parse(plain.out);
  EXPECT_TRUE(without["cv_groups"].is_null() && without["components"][0]["q2"].is_null() &&
              without["components"][0]["significance"].is_null() && without["responses"][0]["rmsecv"].is_null());
}

TEST_F(Program, PcaTakesTheSignificantComponents) {
  const Outcome outcome = Run({"pca", kWine, "--class", "class", "--components", "auto", "--out", "r"});
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("cross-validated in 7 groups of rows and of columns"));
  EXPECT_THAT(outcome.out,
              HasSubstr("no more than 2 components: component 3 is not significant (NS): its Q2 is 0.0659, "
                        "and the limit 0.0885"));
  EXPECT_THAT(ContentOf(Path("r/q2.csv")), StartsWith("variable,q2_1,q2_2,q2_cumulative_1,q2_cumulative_2\nalcohol,"));
  const json summary = json::parse(ContentOf(Path("r/summary.json")));
  EXPECT_EQ(summary["components_requested"], "auto");
  ASSERT_EQ(summary["components"].size(), 2u);
  for (int a = 1; a <= 2; ++a) {
    const double limit = 1.0 - (178.0 - a) * (13.0 - a + 1) / ((178.0 - a + 1) * (13.0 - a + 2));
    const json& component = summary["components"][static_cast<std::size_t>(a) - 1];
    EXPECT_NEAR(component["q2_limit"].get<double>(), limit, 1e-6);
    EXPECT_EQ(component["significance"], "R1");
  }
  // As many components as are asked for, whatever they are worth.
  const Outcome asked = Run({"pca", kWine, "--class", "class", "--components", "3", "--cv-groups", "7", "--json"});
  EXPECT_EQ(json::parse(asked.out)["components"][2]["significance"], "NS");
}

TEST_F(Program, PcaGroupsOfRowsAreNoMoreThanColumns) {
  Put("t.csv", std::string("id,g,a,b\np,1,1,2\nq,2,3,1\nr,3,4,7\ns,,5,9\n"));
  ExpectRefusal({"pca", "t.csv", "--cv-column", "g", "--components", "1"}, 3, "row \"s\" has no group");
  Put("t.csv", std::string("id,g,a,b\np,1,1,2\nq,2,3,1\nr,3,4,7\ns,2,5,9\n"));
  const Outcome outcome = Run({"pca", "t.csv", "--cv-column", "g", "--components", "1"});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_THAT(outcome.err, HasSubstr("the 3 groups of column \"g\" are joined to 2, since no more can be left out"));
  EXPECT_THAT(outcome.out, HasSubstr("cross-validated in 2 groups"));
  Put("t.csv", std::string("id,a\np,1\nq,2\nr,4\n"));
  ExpectRefusal({"pca", "t.csv", "--components", "auto"}, 3, "t.csv: is too small for cross-validation");
}

}  // namespace
}  // namespace program
