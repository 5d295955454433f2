#include <cmath>
#include <fstream>
#include <functional>
#include <string>
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
using ::testing::StartsWith;

class Transform : public Program {
 protected:
  // The second column of a file of two; an empty cell is a NaN.
  std::vector<double> SecondColumn(const std::string& name) const {
    std::ifstream in(Path(name));
    std::vector<double> values;
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line)) {
      const std::string cell = line.substr(line.find(',') + 1);
      values.push_back(cell.empty() ? std::nan("") : std::stod(cell));
    }
    return values;
  }
};

TEST_F(Transform, ValuesFollowTheFormulasAndComeBack) {
  struct Case {
    std::string argument;
    std::string formula;
    std::function<double(double)> function;
    json summary;  // name and constants
  };
  const std::vector<Case> cases = {
      {"linear,-2.5", "-2.5 x", [](double x) { return -2.5 * x; }, {"linear", {-2.5, 0.0, nullptr}}},
      {"linear,1,4", "x + 4", [](double x) { return x + 4.0; }, {"linear", {1.0, 4.0, nullptr}}},
      {"log", "log10(x)", [](double x) { return std::log10(x); }, {"log", {1.0, 0.0, nullptr}}},
      {"neglog,4,-0.25",
       "-log10(4 x - 0.25)",
       [](double x) { return -std::log10(4.0 * x - 0.25); },
       {"neglog", {4.0, -0.25, nullptr}}},
      {"logit,-1,12",
       "log10((x + 1) / (12 - x))",
       [](double x) { return std::log10((x + 1.0) / (12.0 - x)); },
       {"logit", {-1.0, 12.0, nullptr}}},
      {"exponential,-1,0.5",
       "exp(-x + 0.5)",
       [](double x) { return std::exp(-x + 0.5); },
       {"exponential", {-1.0, 0.5, nullptr}}},
      {"power,1,0,-0.5", "x^-0.5", [](double x) { return 1.0 / std::sqrt(x); }, {"power", {1.0, 0.0, -0.5}}},
      {"power,2,1,3", "(2 x + 1)^3", [](double x) { return std::pow(2.0 * x + 1.0, 3.0); }, {"power", {2.0, 1.0, 3.0}}},
  };
  constexpr double kTolerance = 4e-6;  // some roundings of a float, of numbers up to 11
  const std::vector<double> inputs = {0.125, 0.75, 3.0, 10.5, std::nan("")};
  Put("t.csv", "id,x\na,0.125\nb,0.75\nc,3\nd,10.5\ne,\n");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.argument);
    const json summary = RunJson({"transform", "t.csv", "--transform", c.argument, "--out", "there"});
    RunJson({"transform", "there/transform.csv", "--transform", c.argument, "--back", "--out", "back"});
    const std::vector<double> there = SecondColumn("there/transform.csv");
    const std::vector<double> back = SecondColumn("back/transform.csv");
    ASSERT_EQ(there.size(), inputs.size());
    ASSERT_EQ(back.size(), inputs.size());
    for (std::size_t i = 0; i < 4; ++i) {
      const double expected = c.function(inputs[i]);
      EXPECT_NEAR(there[i], expected, kTolerance * std::max(1.0, std::abs(expected)));
      EXPECT_NEAR(back[i], inputs[i], kTolerance * std::max(1.0, inputs[i]));
    }
    EXPECT_TRUE(std::isnan(there[4]) && std::isnan(back[4])) << "a gap stays one";
    const json variable = summary["variables"][0];
    EXPECT_EQ(json({variable["transform"], variable["constants"]}), c.summary);
    EXPECT_EQ(variable["failed"], 0);
    EXPECT_NEAR(variable["minimum"], std::min(there[0], there[3]), kTolerance);
    EXPECT_NEAR(variable["maximum"], std::max(there[0], there[3]), kTolerance);
    EXPECT_THAT(Run({"transform", "t.csv", "--transform", c.argument}).out, HasSubstr(c.formula + "       0  "));
  }
}

TEST_F(Transform, WhatFailsBecomesAGapAndIsTold) {
  struct Case {
    const char* argument;
    const char* value;
    bool back;
  };
  const Case cases[] = {
      {"log,1,-2", "2", false},      {"neglog", "-1", false},         {"logit,0,5", "5", false},
      {"logit,0,5", "0", false},     {"logit,0,5", "6", false},       {"exponential", "89", false},
      {"linear,1e30", "1e9", false}, {"power,1,0,0.5", "-4", false},  {"power,1,0,-1", "0", false},
      {"exponential", "0", true},    {"power,1,0,0.5", "1e30", true}, {"log", "39", true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.argument) + " of " + c.value);
    Put("t.csv", fmt::format("id,x\na,1\nb,{}\n", c.value));
    std::vector<std::string> arguments = {"transform", "t.csv", "--transform", c.argument, "--out", "r"};
    if (c.back) arguments.push_back("--back");
    const json summary = RunJson(arguments);
    const std::vector<double> values = SecondColumn("r/transform.csv");
    ASSERT_EQ(values.size(), 2u);
    EXPECT_TRUE(std::isnan(values[1])) << values[1];
    EXPECT_EQ(summary["failed_values"], std::isnan(values[0]) ? 2 : 1);
    EXPECT_EQ(summary["variables"][0]["failed"], summary["failed_values"]);
  }

  Put("t.csv", "id,u,v,w\na,1,0,1\nb,1,,1\nc,-1,-2,1\n");
  const Outcome outcome = Run({"transform", "t.csv", "--transform", "log", "--quiet"});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_THAT(outcome.out, HasSubstr("\n  3 values of 2 columns (u, v) could not be transformed and became gaps, "
                                     "in rows a, c\n\n"));
  EXPECT_THAT(outcome.out, ::testing::ContainsRegex("\n  v +log10\\(x\\) +2 +-2.000 +0 +- +-\n"));
}

TEST_F(Transform, ModelsTellWhatFailedToo) {
  Put("t.csv", "id,u,v,y\na,1,2,1\nb,0,3,2\nc,3,1,4\nd,4,,3\ne,2,5,6\nf,7,4,5\n");
  const std::vector<std::vector<std::string>> commands = {{"pca", "t.csv", "--exclude", "y", "--components", "1"},
                                                          {"pls", "t.csv", "--y", "y", "--components", "1"},
                                                          {"cluster", "t.csv", "--exclude", "y"},
                                                          {"fill", "t.csv", "--exclude", "y", "--components", "1"},
                                                          {"fill", "t.csv", "--y", "y"}};
  for (std::vector<std::string> command : commands) {
    SCOPED_TRACE(command[0]);
    command.insert(command.end(), {"--transform", "log", "--quiet"});
    EXPECT_THAT(Run(command).out, HasSubstr("\n  transforms: u: log10(x), v: log10(x)\n"
                                            "  1 value of 1 column (u) could not be transformed and became a gap, "
                                            "in row b\n"));
    command.emplace_back("--json");
    const json summary = json::parse(Run(command).out);
    EXPECT_EQ(summary["failed_values"], 1);
    EXPECT_EQ(summary["missing"]["cells"], 1) << "those that were there";
  }
  ExpectRefusal({"o2pls", "t.csv", "--y", "y", "--transform", "log"}, 3,
                "2 cells are missing (2 in the variables, 0 in the responses; of 1 cell the transform has no result)");
}

TEST_F(Transform, EachColumnGetsTheLastFunctionThatNamesIt) {
  Put("t.csv", "group,first,a=b,nm900,nm1000,nm1100,last\ng,1,10,100,100,100,7\nh, 1,,10,10,10,-99\n");
  const json summary = RunJson({"transform", "t.csv", "--class", "group", "--transform", "log", "--transform",
                                "a=b=linear,2", "--transform", "950..1200,last=neglog", "--transform", "#7=power,1,0,2",
                                "--transform", "first=linear,1,-0.5", "--out", "r"});
  EXPECT_EQ(ContentOf(Path("r/transform.csv")),
            "id,group,first,a=b,nm900,nm1000,nm1100,last\n"
            "1,g,0.5,20,2,-2,-2,49\n"
            "2,h,0.5,,1,-1,-1,\n");
  EXPECT_EQ(json::parse(ContentOf(Path("r/summary.json"))), summary);
  std::vector<std::string> keys;
  for (const auto& item : summary.items()) keys.push_back(item.key());
  EXPECT_THAT(keys,
              ::testing::UnorderedElementsAre("schema_version", "command", "input", "rows", "columns", "missing",
                                              "scaling", "back", "dropped_columns", "failed_values", "variables"));
  const json some = RunJson({"transform", "t.csv", "--class", "group", "--transform", "last=log"});
  EXPECT_EQ(some["variables"][0], json::parse(R"({"name":"first","transform":null,"constants":null,"failed":0,
                                                  "minimum":1.0,"maximum":1.0})"));
  EXPECT_THAT(Run({"transform", "t.csv", "--class", "group", "--transform", "last=log"}).out,
              ::testing::Not(HasSubstr("nm900")));
}

TEST_F(Transform, ScalingComesAfterTheFunctions) {
  Put("t.csv", "id,x,same,y\na,10,1,1\nb,1000,1,2\nc,,1,6\n");
  const json summary = RunJson({"transform", "t.csv", "--transform", "x=log", "--scaling", "center", "--out", "r"});
  EXPECT_EQ(ContentOf(Path("r/transform.csv")), "id,x,y\na,-1,-2\nb,1,-1\nc,,3\n");
  EXPECT_EQ(summary["columns"], 2);
  EXPECT_EQ(summary["dropped_columns"], json::parse(R"([{"name":"same","reason":"no variance"}])"));
  EXPECT_EQ(summary["variables"][1]["name"], "y");
  const Outcome unscaled = Run({"transform", "t.csv", "--scaling", "uv", "--quiet"});
  EXPECT_THAT(unscaled.out, ::testing::ContainsRegex("column +min +max +new min +new max\n  x +10.00 +1000 +-0.7071"));

  // Scaled within a unit of its own, for the sake of the range of floats.
  Put("huge.csv", "id,x\na,1e20\nb,3e20\n");
  const json huge = RunJson({"transform", "huge.csv", "--scaling", "center", "--out", "h"});
  EXPECT_GT(huge["variables"][0]["maximum"], 0.99e20);
  EXPECT_THAT(SecondColumn("h/transform.csv"), ElementsAre(::testing::DoubleNear(-1e20, 1e14), testing::Gt(0.99e20)));
}

TEST_F(Transform, WrongUseIsOneSentence) {
  const std::vector<std::vector<std::string>> cases = {
      {},
      {"--back"},
      {"--back", "--scaling", "uv", "--transform", "log"},
      {"--transform", "Log"},
      {"--transform", "root"},
      {"--transform", "log,1,2,3"},
      {"--transform", "log,"},
      {"--transform", "log,nan"},
      {"--transform", "log,1e39"},
      {"--transform", "linear"},
      {"--transform", "linear,0"},
      {"--transform", "logit,1"},
      {"--transform", "logit,2,2"},
      {"--transform", "power,1,0"},
      {"--transform", "=log"},
      {"--transform", "none=log"},
      {"--transform", "class=log"},
  };
  for (std::vector<std::string> arguments : cases) {
    arguments.insert(arguments.begin(), {"transform", kWine, "--class", "class", "--quiet"});
    const Outcome outcome = Run(arguments);
    EXPECT_EQ(outcome.code, 2) << arguments.back();
    EXPECT_THAT(outcome.err, StartsWith("voran: ")) << arguments.back();
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
  }
  EXPECT_THAT(Run({"transform", kWine, "--transform", "Log"}).err,
              HasSubstr("linear, log, neglog, logit, exponential, power"));
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
