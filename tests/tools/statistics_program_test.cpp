#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/tools/picture_check.h"
#include "tests/tools/program_runner.h"

namespace program {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;

// Relative: values, statistics and the constants of control charts are floats.
constexpr double kTolerance = 2e-6;

class StatisticsCommands : public Program {
 protected:
  json Chart(const std::string& series, const std::string& options) const {
    return Told("chart @process --x value --where series=" + series + ' ' + options);
  }
  json Fisher(const std::string& table, const std::string& options = "") const {
    return Told("fisher @contingency --rows row --columns column --counts count --where table=" + table + ' ' +
                options);
  }
};

void ExpectNear(const json& got, double expected, const std::string& what) {
  ASSERT_TRUE(got.is_number()) << what << ": " << got;
  EXPECT_NEAR(got.get<double>(), expected, kTolerance * std::max(1.0, std::abs(expected))) << what;
}

TEST_F(StatisticsCommands, ChartLimitsAreThoseOfTheTablesAndOfR) {
  // Michelson's five series of twenty. Means, mean range 276 and mean standard deviation by R 4.2.2; the constants for
  // 20 are those of the usual tables.
  struct Case {
    const char* options;
    double target, sigma;
    std::vector<std::pair<double, double>> limits;  // middle, and distance of the limits from it, of each chart
    std::vector<std::size_t> beyond;                // how many points
  };
  const double s = 71.891606573;
  const double range = 3.735 * 50.0;
  const Case cases[] = {
      {"--type range", 852.4, 276.0 / 3.735, {{852.4, 0.18 * 276.0}, {276.0, 0.586 * 276.0}}, {1, 0}},
      {"--type stddev", 852.4, s / 0.9869, {{852.4, 0.68 * s}, {s, 0.49 * s}}, {1, 0}},
      {"--type range --target 900 --sigma 50", 900.0, 50.0, {{900.0, 0.18 * range}, {range, 0.586 * range}}, {4, 2}},
      {"--type individual --sigma 50", 852.4, 50.0, {{852.4, 150.0 / std::sqrt(20.0)}}, {1}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.options);
    const json chart = Chart("light_speed", fmt::format("--subgroup 20 {}", c.options));
    ExpectNear(chart["target"], c.target, "target");
    ExpectNear(chart["sigma"], c.sigma, "sigma");
    ASSERT_EQ(chart["charts"].size(), c.limits.size());
    for (std::size_t k = 0; k < c.limits.size(); ++k) {
      const auto& [middle, distance] = c.limits[k];
      ExpectNear(chart["charts"][k]["lower_limit"], middle - distance, "lower");
      ExpectNear(chart["charts"][k]["upper_limit"], middle + distance, "upper");
      EXPECT_EQ(chart["charts"][k]["beyond"].size(), c.beyond[k]);
    }
    EXPECT_TRUE(chart["action_limit"].is_null());
  }
  const json chart = Chart("light_speed", "--type range --subgroup 20 --out made");
  EXPECT_EQ(chart["charts"][0]["beyond"],
            json::parse(R"([{"series":"mean","subgroup":1,"first":"light001","last":"light020","value":909.0}])"));
  EXPECT_EQ(ContentOf(Path("made/chart.csv")),
            "subgroup,first,last,mean,range,beyond\n1,light001,light020,909,420,mean\n2,light021,light040,856,200,\n"
            "3,light041,light060,845,350,\n4,light061,light080,820.5,200,\n5,light081,light100,831.5,210,\n");
  EXPECT_EQ(json::parse(ContentOf(Path("made/summary.json"))), chart);
}

TEST_F(StatisticsCommands, SumsAndAveragesOfTheNileAgreeWithR) {
  // R 4.2.2, by loops over the means of five years and over the years.
  const json cusum = Chart("nile_flow", "--type cusum --subgroup 5 --target 1000");
  ExpectNear(cusum["sigma"], 94.148851909, "sigma");
  ExpectNear(cusum["dead_band"], 0.5 * 94.148851909, "dead band");
  ExpectNear(cusum["action_limit"], 4.5 * 94.148851909, "action limit");
  ExpectNear(cusum["points"][4]["cusum_high"], 242.027870227, "high");
  ExpectNear(cusum["points"][8]["cusum_low"], 413.176722136, "low");
  ExpectNear(cusum["points"][19]["cusum_low"], 1424.15803664, "low");
  const json& beyond = cusum["charts"][0]["beyond"];
  EXPECT_EQ(beyond.size(), 11u);
  EXPECT_EQ(beyond[0]["series"], "cusum_low");
  EXPECT_EQ(beyond[0]["subgroup"], 10);

  const std::pair<const char*, std::vector<double>> cases[] = {
      {"", {967.48, 1125.08636488, 851.435675178, 821.316976133}},
      {"--predictive", {959.48, 1128.09065288, 859.045488901, 841.646220179}}};
  for (const auto& [option, expected] : cases) {
    const json ewma = Chart("nile_flow", fmt::format("--type ewma --lambda 0.2 {}", option));
    const std::size_t places[] = {1, 9, 49, 99};
    for (std::size_t i = 0; i < 4; ++i) ExpectNear(ewma["points"][places[i]]["ewma"], expected[i], "ewma");
    ExpectNear(ewma["charts"][0]["lower_limit"], 750.122499369, "lower");
    ExpectNear(ewma["charts"][0]["upper_limit"], 1088.57750063, "upper");
  }
  EXPECT_EQ(Chart("nile_flow", "--type ewma --lambda 0.2")["charts"][0]["beyond"].size(), 9u);
  const double lambda = Chart("nile_flow", "--type ewma")["lambda"];
  EXPECT_TRUE(lambda > 0.2 && lambda < 0.35) << lambda;
}

TEST_F(StatisticsCommands, LimitsOfAReferenceJudgeOtherData) {
  Put("before.csv", "day,a\n1,4\n2,6\n3,5\n4,7\n5,3\n6,5\n");  // mean 5, standard deviation sqrt(2)
  Put("after.csv", "day,a\n7,20\n8,5\n9,5\n");
  const json chart = Told("chart after.csv --x a --type individual --reference before.csv");
  ExpectNear(chart["charts"][0]["centre"], 5.0, "centre");
  ExpectNear(chart["charts"][0]["upper_limit"], 5.0 + 3.0 * std::sqrt(2.0), "upper");
  EXPECT_EQ(chart["charts"][0]["beyond"].size(), 1u);
  EXPECT_EQ(chart["reference"], "before.csv");
}

TEST_F(StatisticsCommands, ChartsSayWhatTheyCannotHave) {
  Put("other.csv", "b\n1\n2\n");
  Put("t.csv", "a,none,same,tail\n1,,0.1,\n5,,0.1,\n2,,0.1,\n4,,0.1,\n3,,0.1,7\n");
  const std::pair<const char*, const char*> remarks[] = {
      {"--x a --type range", "constants for them exist for subgroups of 2 to 25"},
      {"--x a --type cusum --sigma 2", "constants for them exist"},
      {"--x a --type cusum --subgroup 4", "too few values"},
      {"--x a --type range --subgroup 2", "1 row at the end"},
      {"--x same --type ewma", "sigma is 0"},
      {"--x same --type individual --target 0.1", "sigma is 0"},  // the float next to 0.1 is not beyond it
      {"--x a --type individual", "[]"}};
  for (const auto& [options, says] : remarks) {
    const json chart = Told(fmt::format("chart t.csv {}", options));
    EXPECT_EQ(chart["charts"][0]["beyond"].size(), 0u) << options;
    EXPECT_THAT(chart["remarks"].dump(), HasSubstr(says)) << options;
  }

  const std::vector<Refusal> refusals = {
      {"--x none --type cusum", 3, "column \"none\" holds no value in any full subgroup"},
      {"--x tail --type cusum --subgroup 2", 3, "holds no value in any full subgroup"},
      {"--x a --type range --subgroup 6", 2, "--subgroup: 5 rows of t.csv make no subgroup of 6"},
      {"--x a --type range --subgroup 0", 2, "--subgroup"},
      {"--type range", 2, "4 columns could be charted; name one of them by --x: a, none, same, tail"},
      {"--x a --type range --target -99", 2, "--target: a target is a finite number"},
      {"--x a --type range --sigma 0", 2, "--sigma: a standard deviation is a number above 0"},
      {"--x a --type ewma --lambda 1.5", 2, "--lambda: the weight"},
      {"--x a --type range --lambda 0.5", 2, "--lambda goes with --type ewma alone"},
      {"--x a --type range --where a", 2, "--where: \"a\" is no COLUMN=VALUE"},
      {"--x a --type range --where a=1", 2, "column \"a\" is named by both --x and --where"},
      {"--x a --type range --where same=3", 2, "no row has \"3\" in column \"same\"; there are 0.1"},
      {"--x a --type range --reference other.csv", 2, "other.csv: --x: the table has no column \"a\""},
      {"--x a --type range --id same --no-id", 2, "--id excludes --no-id"},
      {"--x a --type range --svg t.csv", 2, "--svg: t.csv is the input itself"},
  };
  ExpectRefusals("chart t.csv", refusals);
}

TEST_F(StatisticsCommands, ConditionsChooseRows) {
  Put("t.csv", "id,k,l,v\na,x,1,3\nb,y,1,4\nc,z,1,5\nd,x,2,6\n");
  for (const auto& [conditions, expected] : {std::pair{"--where k=x", "ad"},
                                             {"--where k=x --where k=z", "acd"},
                                             {"--where k=x --where l=2", "d"},
                                             {"--where id=b", "b"}}) {
    std::string ids;
    const json summary = Told(fmt::format("histogram t.csv --x v {}", conditions));
    for (const json& bin : summary["variables"][0]["bins"]) {
      for (const json& row : bin["rows"]) ids += row.get<std::string>();
    }
    EXPECT_EQ(ids, expected);
  }
  ExpectRefusal(Words("histogram t.csv --x v --where k=y --where l=2"), 2,
                "--where: no row of t.csv meets all conditions");
}

TEST_F(StatisticsCommands, HistogramsAgreeWithR) {
  // R 4.2.2, table(cut(x, breaks, right = FALSE)) with the bins of the rule.
  struct Case {
    const char* column;
    double start, width;
    std::vector<int> counts;
  };
  const Case cases[] = {{"alcohol", 11.0, 0.25, {1, 3, 6, 9, 15, 23, 14, 15, 19, 16, 20, 15, 14, 6, 0, 2}},
                        {"proline", 278.0, 100.0, {12, 24, 30, 25, 22, 11, 8, 15, 8, 7, 10, 1, 4, 0, 1}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.column);
    const json variable = Told(fmt::format("histogram @wine --x {}", c.column))["variables"][0];
    EXPECT_EQ(variable["width"], c.width);
    ASSERT_EQ(variable["bins"].size(), c.counts.size());
    for (std::size_t k = 0; k < c.counts.size(); ++k) {
      const json& bin = variable["bins"][k];
      ExpectNear(bin["lower"], c.start + static_cast<double>(k) * c.width, "lower");
      ExpectNear(bin["centre"], c.start + (static_cast<double>(k) + 0.5) * c.width, "centre");
      EXPECT_EQ(bin["count"], c.counts[k]) << k;
      EXPECT_EQ(bin["rows"].size(), static_cast<std::size_t>(c.counts[k]));
    }
  }
}

TEST_F(StatisticsCommands, HistogramFilesAndGaps) {
  // 0..10 of four values has bins of 5; the inner edge belongs to the upper bin, the last to the last.
  Put("t.csv", "id,a,none,same\nr,0,,2\ns,5,,2\nt,,,2\nu,10,,2\nv,4,,2\n");
  const json summary = Told("histogram t.csv --dots --out made --svg t.svg");
  EXPECT_EQ(ContentOf(Path("made/histogram.csv")),
            "variable,bin,lower,upper,centre,count\na,1,0,5,2.5,2\na,2,5,10,7.5,2\nsame,1,2,3,2.5,5\n");
  EXPECT_THAT(ContentOf(Path("made/dots.csv")),
              HasSubstr("variable,id,x,y\na,r,2.5,1\na,v,2.5,2\na,s,7.5,1\na,u,7.5,2\nsame,r,2.5,1\n"));
  EXPECT_EQ(summary["variables"][0]["missing"], 1);
  EXPECT_TRUE(summary["variables"][1]["width"].is_null());
  EXPECT_EQ(summary["variables"][1]["bins"], json::array());
  const std::string svg = ContentOf(Path("t.svg"));
  ExpectWellFormed(svg);
  EXPECT_EQ(CountOf(svg, "<circle"), 9u);
  EXPECT_THAT(Run(Words("histogram t.csv --x a")).out,
              HasSubstr("\n  a\n   from  count\n      0      2  ##\n  5.000      2  ##\n"));
  Put("far.csv", "v\n1000\n1000.1\n1000.14\n1000.2\n");
  EXPECT_THAT(Run(Words("histogram far.csv")).out,
              HasSubstr("    from  count\n    1000      2  ##\n  1000.1      2  ##\n"));
  ExpectRefusal(Words("histogram t.csv --x none"), 3, "t.csv: no column holds a value; there is nothing to count");
}

TEST_F(StatisticsCommands, CurvesAgreeWithR) {
  // R 4.2.2: the area is the statistic of wilcox.test over the number of pairs; the best threshold by search.
  struct Case {
    const char* options;
    double area, youden, threshold;
  };
  const Case cases[] = {
      {"--score flavanoids --positive cultivar1", 0.931704885344, 0.823386981911, 2.33},
      {"--score flavanoids --positive cultivar3 --ascending", 1.0 - 0.0152243589744, 0.902243589744, 1.39},
      {"--score proline --positive cultivar3 --ascending", 1.0 - 0.410576923077, 0.4, 880.0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.options);
    const json roc = Told(fmt::format("roc @wine --class class {}", c.options));
    const json& best = roc["best"];
    ExpectNear(roc["area"], c.area, "area");
    ExpectNear(best["youden"], c.youden, "youden");
    ExpectNear(best["threshold"], c.threshold, "threshold");
    EXPECT_EQ(best["true_positives"].get<int>() + best["false_negatives"].get<int>(), roc["positives"]);
  }
}

TEST_F(StatisticsCommands, CurvesOfTiesGapsAndOneClass) {
  Put("t.csv", "s,k,gone,u\n3,a,1,1\n2,a,,2\n2,b,,3\n1,b,2,4\n,a,,5\n5,,,6\n");
  const json roc = Told("roc t.csv --score s --class k --positive a --out made");
  EXPECT_EQ(ContentOf(Path("made/roc.csv")),
            "threshold,false_positive_rate,true_positive_rate\n3,0,0\n3,0,0.5\n2,0.5,1\n1,1,1\n");
  ExpectNear(roc["area"], 0.875, "area");
  EXPECT_EQ(roc["without_score"], 1);
  EXPECT_EQ(roc["without_class"], 1);
  EXPECT_TRUE(Told("roc t.csv --score s --class k --positive b")["best"].is_null());
  EXPECT_THAT(
      Run(Words("roc t.csv --score #1 --class #2 --positive b")).out,
      HasSubstr("  area under the curve 0.1250, of 4 points\n  an area below 0.5: small scores speak for it, see "
                "--ascending\n\n  no threshold does better than chance\n"));

  Put("one.csv", "s,k\n1,a\n2,a\n");
  Put("apart.csv", "s,k,v\n1,a,\n,b,\n");
  const std::vector<Refusal> refusals = {
      {"one.csv --score s --class k --positive a", 3, "All observations in the predictionset belongs to the class"},
      {"apart.csv --score s --class k --positive b", 3,
       "The predictionset does not contain any observations that belong to the class"},
      {"apart.csv --score v --class k --positive b", 3, "column \"v\" holds no score"},
      {"t.csv --score s --class k --positive c", 2, "has no class \"c\"; there are a, b"},
      {"t.csv --score x --class k --positive a", 2, "--score: the table has no column \"x\""},
      {"t.csv --score s,u --class k --positive a", 2, "--score: 2 columns are named; give one"},
      {"t.csv --score s --class s --positive a", 2, "named by both"},
      {"t.csv --score s --class k", 2, "--positive is required"},
  };
  ExpectRefusals("roc", refusals);
}

TEST_F(StatisticsCommands, ExactTestsAgreeWithPublishedValues) {
  // fisher.test of R, as quoted with the data; of the cups, 16 of the 70 tables are as this one, and 1 has a larger
  // first cell.
  struct Case {
    const char* table;
    const char* options;
    double p;
  };
  const Case cases[] = {{"tea_tasting", "", 0.485714285714},
                        {"tea_tasting", "--sided greater", 17.0 / 70.0},
                        {"tea_tasting", "--sided less", 69.0 / 70.0},
                        {"twin_convictions", "", 0.000536724119143},
                        {"titanic_class_survival", "", 5.29111045715e-39},
                        {"admissions_A", "", 1.66918932839e-05}};
  for (const Case& c : cases) {
    EXPECT_NEAR(Fisher(c.table, c.options)["p"].get<double>() / c.p, 1.0, 1e-6) << c.table << c.options;
  }
  const json satisfaction = Fisher("job_satisfaction");
  EXPECT_NEAR(satisfaction["p"], 0.782684938966, 1e-6);
  EXPECT_TRUE(satisfaction["odds_ratio"].is_null());
  EXPECT_NEAR(Fisher("job_satisfaction", "--hybrid")["p"].get<double>(), 0.7826849, 0.01);

  const json tea = Fisher("tea_tasting", "--out made");
  EXPECT_EQ(tea["odds_ratio"], 9.0);
  EXPECT_EQ(tea["counts"], json::parse("[[3,1],[1,3]]"));
  EXPECT_EQ(ContentOf(Path("made/fisher.csv")), "row,milk,tea,(sum)\nmilk,3,1,4\ntea,1,3,4\n(sum),4,4,8\n");
}

TEST_F(StatisticsCommands, AllFormsOfCountsGiveTheSameTest) {
  Put("wide.csv", "cup,milk,tea,total\nmilk,3,1,4\ntea,1,3,4\n");
  Put("each.csv", "said,was\nm,m\nm,m\nm,m\nm,t\nt,m\nt,t\nt,t\nt,t\n,t\n");
  const double p = Fisher("tea_tasting")["p"];
  EXPECT_EQ(Told("fisher wide.csv --exclude total")["p"], p);
  const json each = Told("fisher each.csv --rows said --columns was");
  EXPECT_EQ(each["p"], p);
  EXPECT_EQ(each["left_out"], 1);
  EXPECT_EQ(Told("fisher wide.csv --exclude total --where cup=tea")["p"], 1.0) << "one row";
}

TEST_F(StatisticsCommands, CountsThatCannotBeTestedAreRefused) {
  Put("bad.csv", "id,a,b,half,large,gap,zero,null\nr,1,-2,0.5,2e7,,0,0\ns,3,4,1,1,1,0,0\n");
  Put("text.csv", "k,l,n\nx,y,1\n");
  Put("large_keys.csv", "id,a,b,c\nr,1290,0,0\ns,0,1290,0\nt,0,0,1290\n");
  const std::vector<Refusal> refusals = {
      {"bad.csv --x a,b", 3, "row \"r\", column \"b\" holds -2, and a count is a whole number of 0 or above"},
      {"bad.csv --x a,half", 3, "column \"half\" holds 0.5, and a count"},
      {"bad.csv --x a,large", 3, "holds 20000000; counts go up to 16777215"},
      {"bad.csv --x a,gap", 3, "column \"gap\" holds no count; write 0"},
      {"bad.csv --x zero,null", 3, "all counts are 0"},
      {"bad.csv --x a", 3, "a table of counts with 1 column; the test compares two or more"},
      {"bad.csv --x a,zero,null --sided less", 2, "less and greater are for 2 x 2 tables"},
      {"text.csv --rows k", 2, "--rows and --columns go together"},
      {"text.csv --counts n", 2, "--counts goes with --rows and --columns"},
      {"text.csv --rows k --columns l --x n", 2, "excludes"},
      {"@contingency --where table=job_satisfaction --rows row --columns column --counts count --workspace 300", 1,
       "LDKEY is too small for this problem; try increasing the size of the workspace (--workspace is 300), or try"},
      {"large_keys.csv", 1, "reduce the workspace size or use another algorithm\n"},
  };
  ExpectRefusals("fisher", refusals);
}

TEST_F(StatisticsCommands, PicturesAreWellFormedAndMarkWhatIsBeyond) {
  struct Case {
    std::string line;
    const char* part;
    std::size_t count;
  };
  const std::string light = "chart @process --x value --where series=light_speed --subgroup 20 --type range";
  const std::string nile = "chart @process --x value --where series=nile_flow --type ";
  Put("one.csv", "<a>\n1\n2\n");
  std::string tall = "a\n";
  for (int i = 0; i < 20000; ++i) tall += fmt::format("{}\n", i * 7919 % 1000);
  Put("tall.csv", tall);
  const char* const diamond = "<path fill=\"#d55e00\" d=\"M";
  const std::vector<Case> cases = {
      {light, diamond, 2},  // one, and that of the legend
      {light, ">upper 902.1<", 1},
      {nile + "cusum --subgroup 5 --target 1000", diamond, 12},
      {nile + "cusum --subgroup 5 --target 1000", ">-1000<", 1},  // the sum hangs down
      {nile + "ewma --lambda 0.2", diamond, 10},
      {nile + "individual", "<circle", 100},
      {"chart one.csv --type stddev --subgroup 2", "&lt;a&gt;, mean", 1},
      {"chart tall.csv --type individual", "<circle", 0},
      {"chart tall.csv --type cusum --target 0", "<circle", 0},
      {"histogram tall.csv --dots", "<circle", 0},
      {"histogram @wine --x alcohol", "<title>", 1 + 15},  // one of the 16 bins is empty
      {"roc @wine --score hue --class class --positive cultivar3", "stroke-dasharray", 1},
      {"fisher @contingency --where table=titanic_class_survival --rows row --columns column --counts count",
       ">203</text>", 1},
  };
  for (const Case& c : cases) {
    Do(c.line + " --svg picture.svg");
    const std::string svg = ContentOf(Path("picture.svg"));
    ExpectWellFormed(svg);
    EXPECT_EQ(CountOf(svg, c.part), c.count) << c.line << ' ' << c.part;
    EXPECT_LT(svg.size(), 200000u);
  }
}

}  // namespace
}  // namespace program
