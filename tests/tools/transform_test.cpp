#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/tools/program_runner.h"
#include "tools/voran/command_line.h"
#include "tools/voran/table.h"
#include "tools/voran/transform_option.h"

namespace program {
namespace {

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class Transform : public Program {
 protected:
  // The only column of a file, behind the ids; an empty cell is a NaN.
  std::vector<double> Column(const std::string& name) const {
    std::vector<double> values;
    for (const auto& row : Numbers(Path(name))) values.push_back(row.empty() ? std::nan("") : row[0]);
    return values;
  }
};

TEST_F(Transform, ValuesFollowTheFormulasAndComeBack) {
  struct Case {
    std::string argument;
    const char* formula;
    const char* constants;
    double (*function)(double);
  };
  const std::vector<Case> cases = {
      {"linear,-2.5", "-2.5 x", "[-2.5,0.0,null]", [](double x) { return -2.5 * x; }},
      {"linear,1,4", "x + 4", "[1.0,4.0,null]", [](double x) { return x + 4.0; }},
      {"log", "log10(x)", "[1.0,0.0,null]", [](double x) { return std::log10(x); }},
      {"neglog,4,-0.25", "-log10(4 x - 0.25)", "[4.0,-0.25,null]",
       [](double x) { return -std::log10(4.0 * x - 0.25); }},
      {"logit,-1,12", "log10((x + 1) / (12 - x))", "[-1.0,12.0,null]",
       [](double x) { return std::log10((x + 1.0) / (12.0 - x)); }},
      {"exponential,-1,0.5", "exp(-x + 0.5)", "[-1.0,0.5,null]", [](double x) { return std::exp(-x + 0.5); }},
      {"power,1,0,-0.5", "x^-0.5", "[1.0,0.0,-0.5]", [](double x) { return 1.0 / std::sqrt(x); }},
      {"power,2,1,3", "(2 x + 1)^3", "[2.0,1.0,3.0]", [](double x) { return std::pow(2.0 * x + 1.0, 3.0); }},
  };
  constexpr double kTolerance = 4e-6;  // some roundings of a float, of numbers up to 11
  const std::vector<double> inputs = {0.125, 0.75, 3.0, 10.5};
  Put("t.csv", "id,x\na,0.125\nb,0.75\nc,3\nd,10.5\ne,\n");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.argument);
    const json summary = RunJson({"transform", "t.csv", "--transform", c.argument, "--out", "there"});
    Done({"transform", "there/transform.csv", "--transform", c.argument, "--back", "--out", "back"});
    const std::vector<double> there = Column("there/transform.csv");
    const std::vector<double> back = Column("back/transform.csv");
    ASSERT_TRUE(there.size() == 5 && back.size() == 5);
    for (std::size_t i = 0; i < 4; ++i) {
      const double expected = c.function(inputs[i]);
      EXPECT_NEAR(there[i], expected, kTolerance * std::max(1.0, std::abs(expected)));
      EXPECT_NEAR(back[i], inputs[i], kTolerance * std::max(1.0, inputs[i]));
    }
    EXPECT_TRUE(std::isnan(there[4]) && std::isnan(back[4])) << "a gap stays one";
    const json variable = summary["variables"][0];
    EXPECT_EQ(variable["transform"], c.argument.substr(0, c.argument.find(',')));
    EXPECT_EQ(variable["constants"], json::parse(c.constants));
    EXPECT_EQ(variable["failed"], 0);
    EXPECT_NEAR(variable["minimum"], std::min(there[0], there[3]), kTolerance);
    EXPECT_NEAR(variable["maximum"], std::max(there[0], there[3]), kTolerance);
    EXPECT_THAT(Run({"transform", "t.csv", "--transform", c.argument}).out,
                HasSubstr(std::string(c.formula) + "       0  "));
  }
}

TEST_F(Transform, WhatFailsBecomesAGapAndIsTold) {
  const std::pair<const char*, const char*> cases[] = {{"log,1,-2", "2"},           {"exponential", "89"},
                                                       {"linear,1e30", "1e9"},      {"power,1,0,0.5", "-4"},
                                                       {"exponential --back", "0"}, {"power,1,0,0.5 --back", "1e30"}};
  for (const auto& [argument, value] : cases) {
    SCOPED_TRACE(fmt::format("{} of {}", argument, value));
    Put("t.csv", fmt::format("id,x\na,1\nb,{}\n", value));
    const json summary = Told(fmt::format("transform t.csv --out r --transform {}", argument));
    const std::vector<double> values = Column("r/transform.csv");
    ASSERT_EQ(values.size(), 2u);
    EXPECT_TRUE(std::isnan(values[1])) << values[1];
    EXPECT_EQ(summary["failed_values"], std::isnan(values[0]) ? 2 : 1);
    EXPECT_EQ(summary["variables"][0]["failed"], summary["failed_values"]);
  }

  Put("t.csv", "id,u,v,w\na,1,0,1\nb,1,,1\nc,-1,-2,1\n");
  const Outcome outcome = Run(Words("transform t.csv --transform log"));
  EXPECT_EQ(outcome.code, 0);
  EXPECT_THAT(outcome.out, HasSubstr("\n  3 values of 2 columns (u, v) could not be transformed and became gaps, "
                                     "in rows a, c\n\n"));
  EXPECT_THAT(outcome.out, ::testing::ContainsRegex("\n  v +log10\\(x\\) +2 +-2.000 +0 +- +-\n"));
}

TEST_F(Transform, ModelsTellWhatFailedToo) {
  Put("t.csv", "id,u,v,y\na,1,2,1\nb,0,3,2\nc,3,1,4\nd,4,,3\ne,2,5,6\nf,7,4,5\n");
  for (const char* const command :
       {"pca t.csv --exclude y --components 1", "pls t.csv --y y --components 1", "cluster t.csv --exclude y",
        "fill t.csv --exclude y --components 1", "fill t.csv --y y"}) {
    SCOPED_TRACE(command);
    const auto arguments = Words(std::string(command) + " --transform log");
    EXPECT_THAT(Run(arguments).out, HasSubstr("\n  transforms: u: log10(x), v: log10(x)\n"
                                              "  1 value of 1 column (u) could not be transformed and became a gap, "
                                              "in row b\n"));
    const json summary = RunJson(arguments);
    EXPECT_EQ(summary["failed_values"], 1);
    EXPECT_EQ(summary["missing"]["cells"], 1) << "those that were there";
  }
  ExpectRefusal(Words("o2pls t.csv --y y --transform log"), 3,
                "2 cells are missing (2 in the variables, 0 in the responses; of 1 cell the transform has no result)");
}

TEST_F(Transform, EachColumnGetsTheLastFunctionThatNamesIt) {
  Put("t.csv", "group,first,a=b,nm900,nm1000,nm1100,last\ng,1,10,100,100,100,7\nh, 1,,10,10,10,-99\n");
  const json summary = Told(
      "transform t.csv --class group --out r --transform log --transform a=b=linear,2 --transform "
      "950..1200,last=neglog --transform #7=power,1,0,2 --transform first=linear,1,-0.5");
  EXPECT_EQ(ContentOf(Path("r/transform.csv")),
            "id,group,first,a=b,nm900,nm1000,nm1100,last\n1,g,0.5,20,2,-2,-2,49\n2,h,0.5,,1,-1,-1,\n");
  EXPECT_EQ(json::parse(ContentOf(Path("r/summary.json"))), summary);
  const std::vector<std::string> one = Words("transform t.csv --class group --transform last=log");
  EXPECT_EQ(RunJson(one)["variables"][0], json::parse(R"({"name":"first","transform":null,"constants":null,"failed":0,
                                                          "minimum":1.0,"maximum":1.0})"));
  EXPECT_THAT(Run(one).out, ::testing::Not(HasSubstr("nm900")));
}

TEST_F(Transform, ScalingComesAfterTheFunctions) {
  Put("t.csv", "id,x,same,y\na,10,1,1\nb,1000,1,2\nc,,1,6\n");
  const json summary = Told("transform t.csv --transform x=log --scaling center --out r");
  EXPECT_EQ(ContentOf(Path("r/transform.csv")), "id,x,y\na,-1,-2\nb,1,-1\nc,,3\n");
  EXPECT_EQ(summary["columns"], 2);
  EXPECT_EQ(summary["dropped_columns"], json::parse(R"([{"name":"same","reason":"no variance"}])"));
  EXPECT_EQ(summary["variables"][1]["name"], "y");
  EXPECT_THAT(Run(Words("transform t.csv --scaling uv")).out,
              ::testing::ContainsRegex("column +min +max +new min +new max\n  x +10.00 +1000 +-0.7071"));

  // Scaled within a unit of its own, for the sake of the range of floats.
  Put("huge.csv", "id,x\na,1e20\nb,3e20\n");
  const json huge = Told("transform huge.csv --scaling center --out h");
  EXPECT_GT(huge["variables"][0]["maximum"], 0.99e20);
  EXPECT_THAT(Column("h/transform.csv"), ElementsAre(::testing::DoubleNear(-1e20, 1e14), testing::Gt(0.99e20)));
}

TEST_F(Transform, WrongUseIsOneSentence) {
  for (const char* const options : {"", "--back", "--back --scaling uv --transform log"}) {
    ExpectRefusal(Words(std::string("transform @wine --class class ") + options), 2, "");
  }
  for (const char* const argument : {"root", "log,1,2,3", "log,", "log,nan", "log,1e39", "linear", "linear,0",
                                     "logit,1", "logit,2,2", "power,1,0", "=log", "none=log", "class=log"}) {
    ExpectRefusal({"transform", kWine, "--class", "class", "--transform", argument}, 2, "--transform");
  }
  ExpectRefusal({"transform", kWine, "--transform", "Log"}, 2, "linear, log, neglog, logit, exponential, power");
}

}  // namespace
}  // namespace program

namespace tool {
namespace {

TEST(TransformOption, WithoutColumnsItHoldsForTheVariablesAlone) {
  CommandLine program("program", "", "");
  Command command = program.AddCommand("run", "");
  TransformOption option;
  option.AddTo(command);
  EXPECT_FALSE(option.IsGiven());
  program.Run({"run", "--transform", "log", "--transform", "b,y2=neglog"});
  EXPECT_TRUE(option.IsGiven());
  const NCTransform transform = option.Resolve({"a", "b", "y1", "y2"}, 2, {"id", "a", "y1", "b", "y2"});
  std::vector<TransformE::Transform> types;
  for (int c = 1; c <= transform.Size(); ++c) types.push_back(transform[c].GetTransform());
  EXPECT_EQ(types, (std::vector<TransformE::Transform>{TransformE::kLog, TransformE::kNegLog, TransformE::kNone,
                                                       TransformE::kNegLog}));
}

TEST(TransformColumns, CountsGapsAndKeepsAResultThatEqualsTheirMarker) {
  NCDataMatrix<float> x(2, 3, -49.5f);
  x(2, 1, 3e38f);
  x(2, 3, kGap);
  const NCDataMatrix<float> copy = x;
  NCTransform transform(3);
  for (const int c : {1, 3}) {
    transform[c].SetTransform(TransformE::kLinear);
    transform[c].SetConstant(1, 2.0f);
    transform[c].SetConstant(2, 0.0f);
  }
  const auto failure = TransformColumns(x, transform, {"a", "b", "c"}, {"r", "s"});
  EXPECT_EQ(failure, "1 value of 1 column (a) could not be transformed and became a gap, in row s");
  EXPECT_EQ(x[1][1], std::nextafter(kGap, 0.0f));
  EXPECT_EQ(x[1][2], -49.5f);
  EXPECT_EQ(x.GetNumMisVal(), 2);
  EXPECT_EQ(x[2].GetNumMisVal(), 2);
  EXPECT_EQ(x.GetColumnMisVal(1), 1);
  EXPECT_EQ(copy[1][1], -49.5f) << "a copy stays what it is";
  EXPECT_EQ(copy.GetNumMisVal(), 1);
}

}  // namespace
}  // namespace tool
