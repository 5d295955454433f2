#include <algorithm>
#include <cmath>
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
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;
using Arguments = std::vector<std::string>;

constexpr double kTolerance = 2e-5;  // a few roundings of a float, relative to the largest element of a column

// The largest difference of column c, relative to its largest element; gaps have to be in the same places.
double ColumnGap(const Cells& got, std::size_t gotColumn, const Cells& expected, std::size_t column) {
  EXPECT_EQ(got.size(), expected.size());
  double gap = 0.0;
  double largest = 0.0;
  for (std::size_t i = 0; i < std::min(got.size(), expected.size()); ++i) {
    const double a = got[i].at(gotColumn);
    const double b = expected[i].at(column);
    EXPECT_EQ(std::isnan(a), std::isnan(b)) << "row " << i;
    if (std::isnan(a) || std::isnan(b)) continue;
    gap = std::max(gap, std::abs(a - b));
    largest = std::max(largest, std::abs(b));
  }
  return gap / largest;
}

class Predict : public Program {
 protected:
  // Fits a model, which goes to the file m, with its tables in the folder fit.
  void Fit(Arguments arguments) const {
    arguments.insert(arguments.end(), {"--save", "m", "--out", "fit"});
    Done(arguments);
  }

  json PredictJson(const std::string& table, const Arguments& more = {}) const {
    Arguments arguments = {"predict", "m", table, "--json", "--quiet"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const Outcome outcome = Run(arguments);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    return json::parse(outcome.out, nullptr, false);
  }
};

const std::vector<Arguments> kFits = {
    {"pls", DataFile("gasoline"), "--y", "octane", "--scaling", "center", "--components", "3"},
    {"pls", DataFile("gasoline"), "--y", "octane", "--scaling", "none", "--y-scaling", "none", "--components", "2"},
    {"pls", DataFile("linnerud"), "--y", "y_weight..y_pulse", "--scaling", "pareto", "--components", "2"},
    {"pls", DataFile("linnerud"), "--y", "y_waist", "--transform", "log,1,1", "--transform", "x_chins=power,1,0,0.5",
     "--transform", "y_waist=power,1,0,-1", "--components", "1"},
    {"pls", DataFile("metabolites"), "--y", "#3..#5", "--class", "class_hours", "--components", "4"},
    {"pca", DataFile("wine"), "--class", "class", "--transform", "log", "--components", "3"},
    {"pca", DataFile("metabolites"), "--class", "class_hours", "--components", "4"},
    {"opls", DataFile("gasoline"), "--y", "octane", "--scaling", "center", "--ortho", "3"},
    {"opls", DataFile("linnerud"), "--y", "y_weight..y_pulse", "--components", "2", "--ortho", "1", "--scaling",
     "pareto", "--transform", "y_waist=log"},
    {"opls", DataFile("metabolites"), "--y", "#3..#5", "--class", "class_hours", "--components", "2", "--ortho", "2"},
    {"yopls", DataFile("metabolites"), "--y", "#3..#5", "--class", "class_hours", "--y-ortho", "2"},
    {"yopls", DataFile("gasoline"), "--y", "octane", "--scaling", "none", "--y-scaling", "none", "--y-ortho", "1"},
};

bool IsOrthogonal(const Arguments& fit) {
  return fit[0] == "opls" || fit[0] == "yopls";
}

TEST_F(Predict, ARowOfTheFitGetsItsOwnNumbers) {
  for (const Arguments& fit : kFits) {
    SCOPED_TRACE(fmt::format("{}", fmt::join(fit, " ")));
    Fit(fit);
    fs::remove_all(Path("again"));
    Done({"predict", "m", fit[1], "--out", "again"});
    const Cells scores = Numbers(Path("fit/scores.csv"));
    const Cells again = Numbers(Path("again/scores.csv"));
    ASSERT_EQ(again.size(), scores.size());
    for (std::size_t a = 0; a < again[0].size(); ++a) EXPECT_LT(ColumnGap(again, a, scores, a), kTolerance);
    EXPECT_EQ(fs::exists(Path("again/ortho_scores.csv")), IsOrthogonal(fit));
    if (IsOrthogonal(fit)) {
      const Cells ortho = Numbers(Path("fit/ortho_scores.csv"));
      const Cells orthoAgain = Numbers(Path("again/ortho_scores.csv"));
      for (std::size_t a = 0; a < ortho[0].size(); ++a) EXPECT_LT(ColumnGap(orthoAgain, a, ortho, a), kTolerance);
    }
    if (fit[0] == "pca") continue;
    const Cells fitted = Numbers(Path("fit/fitted.csv"));
    const Cells predicted = Numbers(Path("again/predictions.csv"));
    for (std::size_t m = 0; m < fitted[0].size(); ++m) EXPECT_LT(ColumnGap(predicted, m, fitted, m), kTolerance);
  }
}

// The lines of the results for some rows, one for each.
TextCells Picked(const TextCells& cells, const std::vector<std::size_t>& rows) {
  TextCells picked = {cells[0]};
  for (const std::size_t i : rows) picked.push_back(cells[i]);
  return picked;
}

TEST_F(Predict, OtherRowsAndColumnsDoNotTouchARow) {
  for (const Arguments& fit : {kFits[0], kFits[3], kFits[4], kFits[6], kFits[7], kFits[9], kFits[10]}) {
    SCOPED_TRACE(fmt::format("{}", fmt::join(fit, " ")));
    Fit(fit);
    Done({"predict", "m", fit[1], "--out", "all"});
    const std::vector<std::size_t> rows = {17, 3, 12};
    TextCells turned = Picked(CellsOf(fit[1]), rows);
    for (auto& row : turned) {
      std::reverse(row.begin() + 1, row.end());
      row.emplace_back(&row == &turned[0] ? "remark" : "none");
      row.emplace_back(&row == &turned[0] ? "more" : "1e9");
    }
    Put("turned.csv", turned);
    Done({"predict", "m", "turned.csv", "--out", "turned"});
    Put("alone.csv", Picked(CellsOf(fit[1]), {17}));
    Done({"predict", "m", "alone.csv", "--out", "alone"});
    for (const char* file : {"scores.csv", "distances.csv", "predictions.csv", "ortho_scores.csv"}) {
      if (fit[0] == "pca" && std::string(file) == "predictions.csv") continue;
      if (!IsOrthogonal(fit) && std::string(file) == "ortho_scores.csv") continue;
      const TextCells all = CellsOf(Path("all") / file);
      EXPECT_EQ(CellsOf(Path("turned") / file), Picked(all, rows)) << file;
      EXPECT_EQ(CellsOf(Path("alone") / file), Picked(all, {17})) << file;
    }
  }
  Fit(kFits[6]);
  TextCells more = Picked(CellsOf(kFits[6][1]), {1});
  for (const char* name : {"remark", "more"}) {
    more[0].emplace_back(name);
    more[1].emplace_back("none");
  }
  Put("more.csv", more);
  const Outcome told = Run({"predict", "m", "more.csv"});
  EXPECT_THAT(told.err, HasSubstr("3 columns that the model does not use are left out: class_hours, remark, more"));
}

TEST_F(Predict, DistancesHoldRowsAgainstTheRowsOfTheFit) {
  const std::vector<Arguments> fits = {
      {"pls", DataFile("linnerud"), "--y", "y_pulse", "--scaling", "center", "--components", "2"},
      {"pca", DataFile("usarrests"), "--scaling", "center", "--components", "2"}};
  for (const Arguments& fit : fits) {
    SCOPED_TRACE(fit[1]);
    Fit(fit);
    Done({"predict", "m", fit[1], "--out", "again"});
    Cells x = Numbers(fit[1]);
    const Cells t = Numbers(Path("fit/scores.csv"));
    const Cells p = Numbers(Path("fit/loadings.csv"));
    const double n = static_cast<double>(x.size());
    std::vector<double> variances(2);
    std::vector<double> residuals;
    double pooled = 0.0;
    for (std::size_t j = 0; j < p.size(); ++j) {
      double mean = 0.0;
      for (const auto& row : x) mean += row[j] / n;
      for (auto& row : x) row[j] -= mean;
    }
    for (std::size_t i = 0; i < x.size(); ++i) {
      double squares = 0.0;
      for (std::size_t j = 0; j < p.size(); ++j) {
        const double left = x[i][j] - t[i][0] * p[j][0] - t[i][1] * p[j][1];
        squares += left * left;
      }
      residuals.push_back(std::sqrt(squares / (static_cast<double>(p.size()) - 2.0)));
      pooled += squares / (static_cast<double>(p.size()) - 2.0) / (n - 3.0);
      for (std::size_t a = 0; a < 2; ++a) variances[a] += t[i][a] * t[i][a] / (n - 1.0);
    }
    const Cells distances = Numbers(Path("again/distances.csv"));
    for (std::size_t i = 0; i < x.size(); ++i) {
      EXPECT_NEAR(distances[i][0], residuals[i], 1e-4 * std::sqrt(pooled)) << "row " << i;
      EXPECT_NEAR(distances[i][1], residuals[i] / std::sqrt(pooled), 1e-4) << "row " << i;
      const double t2 = t[i][0] * t[i][0] / variances[0] + t[i][1] * t[i][1] / variances[1];
      EXPECT_NEAR(distances[i][2], t2, 1e-4) << "row " << i;
    }
  }
}

TEST_F(Predict, TransformsOfXAndYAreAppliedAndUndone) {
  // y = 10 a^2 exactly, which is a line between the logarithms.
  Put("t.csv", "a,y\n1,10\n2,40\n5,250\n10,1000\n");
  Fit({"pls", "t.csv", "--y", "y", "--transform", "log", "--transform", "y=log", "--components", "1", "--no-cv"});
  Put("new.csv", "a\n4\n20\n-1\n");
  const Outcome told = Run({"predict", "m", "new.csv"});
  EXPECT_THAT(told.err, HasSubstr("1 value of 1 column (a) could not be transformed and became a gap, in row 3"));
  const json result = PredictJson("new.csv");
  EXPECT_NEAR(result["predictions"][0]["predicted"][0].get<double>(), 160.0, 1e-2);
  EXPECT_NEAR(result["predictions"][1]["predicted"][0].get<double>(), 4000.0, 1e-1);
  EXPECT_TRUE(result["predictions"][2]["predicted"][0].is_null());
  EXPECT_EQ(result["refused_rows"], json::array({"3"}));
}

TEST_F(Predict, ARowMayLackNoMoreThanTheGivenShare) {
  Done({"pls", DataFile("iris"), "--class", "class", "--y", "petal_width_cm", "--components", "1", "--save", "m"});
  Fit({"pca", DataFile("iris"), "--class", "class", "--components", "2"});
  Put("t.csv",
      "id,sepal_length_cm,sepal_width_cm,petal_length_cm,petal_width_cm\n"
      "full,5,3,1.4,0.2\ntwo,5,,1.4,\none,,,1.4,NA\nnone,,?,,\n");
  const auto refused = [&](const Arguments& more) { return PredictJson("t.csv", more)["refused_rows"]; };
  EXPECT_EQ(refused({}), json::array({"one", "none"}));
  EXPECT_EQ(refused({"--max-missing", "0.49"}), json::array({"two", "one", "none"}));
  EXPECT_EQ(refused({"--max-missing", "0.5"}), json::array({"one", "none"}));
  // Two components take two values.
  EXPECT_EQ(refused({"--max-missing", "1"}), json::array({"one", "none"}));
  const Outcome told = Run({"predict", "m", "t.csv", "--quiet"});
  EXPECT_THAT(told.out, HasSubstr("rows that hold too little, which are not predicted (--max-missing 0.5, and 2 values "
                                  "at least): one, none"));
  Done({"pca", DataFile("iris"), "--class", "class", "--components", "1", "--save", "m"});
  EXPECT_EQ(refused({"--max-missing", "1"}), json::array({"none"}));
  EXPECT_EQ(refused({"--max-missing", "0.75"}), json::array({"none"}));
  // One value is too few for two components: there is no score of the first, either.
  Done({"pca", DataFile("iris"), "--class", "class", "--components", "2", "--save", "m"});
  EXPECT_EQ(PredictJson("t.csv", {"--max-missing", "1"})["predictions"][2]["scores"], json::parse("[null,null]"));
  Done({"pca", DataFile("iris"), "--class", "class", "--components", "1", "--save", "m"});
  const json row = PredictJson("t.csv")["predictions"][2];
  EXPECT_EQ(row, json::parse(R"({"id":"one","scores":[null],"residual_sd":null,"distance":null,"t2":null})"));
  Put("t.csv", "id,sepal_length_cm,sepal_width_cm,petal_length_cm,petal_width_cm\none,,,1.4,NA\nnone,,?,,\n");
  ExpectRefusal({"predict", "m", "t.csv"}, 3,
                "t.csv: no row can be predicted: each holds too little (--max-missing 0.5");
}

TEST_F(Predict, OrthogonalComponentsNeedAValueEach) {
  for (const Arguments& fit : {Arguments{"opls", "--ortho"}, Arguments{"yopls", "--y-ortho"}}) {
    Fit({fit[0], DataFile("iris"), "--class", "class", "--y", "petal_width_cm", fit[1], "1", "--no-cv"});
    Put("t.csv",
        "id,sepal_length_cm,sepal_width_cm,petal_length_cm\n"
        "full,5,3,1.4\ntwo,5,,1.4\none,,,1.4\nnone,,?,\n");
    EXPECT_EQ(PredictJson("t.csv", {"--max-missing", "1"})["refused_rows"], json::array({"one", "none"}));
    EXPECT_EQ(PredictJson("t.csv", {"--max-missing", "0.3"})["refused_rows"], json::array({"two", "one", "none"}));
    const json row = PredictJson("t.csv")["predictions"][2];
    EXPECT_EQ(row, json::parse(R"({"id":"one","predicted":[null],"scores":[null],"ortho_scores":[null],
                                  "residual_sd":null,"distance":null,"t2":null})"));
  }
}

TEST_F(Predict, RmsepIsOverTheRowsThatTellTheResponse) {
  Fit({"pls", DataFile("linnerud"), "--y", "y_weight,y_waist,y_pulse", "--components", "2"});
  TextCells cells = CellsOf(DataFile("linnerud"));
  cells[2][4] = "";                        // y_weight
  cells[5][4] = "";                        // y_weight
  for (auto& row : cells) row.pop_back();  // y_pulse
  Put("numbers.csv", cells);
  cells[5][4] = "to be measured";
  Put("t.csv", cells);
  const json result = PredictJson("t.csv", {"--out", "r"});
  const Cells observed = Numbers(Path("numbers.csv"));
  const Cells predicted = Numbers(Path("r/predictions.csv"));
  const int rows[] = {18, 20, 0};
  for (std::size_t m = 0; m < 3; ++m) {
    EXPECT_EQ(result["responses"][m]["observed_rows"], rows[m]);
    if (m == 2) continue;
    double squares = 0.0;
    for (std::size_t i = 0; i < observed.size(); ++i) {
      const double error = observed[i][3 + m] - predicted[i][m];
      squares += std::isnan(error) ? 0.0 : error * error;
    }
    EXPECT_NEAR(result["responses"][m]["rmsep"].get<double>(), std::sqrt(squares / rows[m]), 1e-5);
  }
  EXPECT_TRUE(result["responses"][2]["rmsep"].is_null());
}

TEST_F(Predict, FilesAndKeys) {
  Fit({"pls", DataFile("oliveoil"), "--class", "class", "--y", "yellow,syrup", "--components", "1"});
  const json pls = PredictJson(DataFile("oliveoil"), {"--out", "r", "--max-missing", "0.25"});
  EXPECT_EQ(json::parse(ContentOf(Path("r/summary.json"))), pls);
  EXPECT_EQ(CellsOf(Path("r/predictions.csv"))[0], (std::vector<std::string>{"id", "yellow", "syrup"}));
  EXPECT_EQ(CellsOf(Path("r/scores.csv"))[0], (std::vector<std::string>{"id", "t1"}));
  EXPECT_EQ(CellsOf(Path("r/distances.csv"))[0], (std::vector<std::string>{"id", "residual_sd", "distance", "t2"}));
  std::vector<std::string> keys;
  for (const auto& item : pls.items()) keys.push_back(item.key());
  EXPECT_THAT(
      keys, UnorderedElementsAre("schema_version", "command", "input", "rows", "model", "kind", "columns", "components",
                                 "max_missing", "missing", "refused_rows", "responses", "predictions"));
  EXPECT_EQ(pls["kind"], "pls");
  EXPECT_EQ(pls["columns"], 9);  // the four other sensory properties are variables
  EXPECT_EQ(pls["max_missing"], 0.25);
  EXPECT_EQ(pls["predictions"].size(), 16u);

  Fit({"pca", kWine, "--class", "class", "--components", "1"});
  const json pca = PredictJson(kWine, {"--out", "s"});
  EXPECT_EQ(pca["responses"], json::array());
  EXPECT_FALSE(pca["predictions"][0].contains("predicted"));
  EXPECT_FALSE(fs::exists(Path("s/predictions.csv")));
  EXPECT_TRUE(fs::exists(Path("s/distances.csv")));
}

TEST_F(Predict, TablesThatDoNotFitTheModelAreRefused) {
  Put("fit.csv", "id,a,b,y\np,1,2,3\nq,2,1,5\nr,3,5,4\ns,5,4,9\n");
  Fit({"pls", "fit.csv", "--y", "y", "--components", "1", "--no-cv"});
  struct Case {
    const char* text;
    const char* says;
  };
  const std::vector<Case> cases = {
      {"id,a\np,1\n", "t.csv: 1 column that the model needs is not there: b"},
      {"id,c,d\np,1,2\n", "t.csv: 2 columns that the model needs are not there: a, b"},
      {"id,a,b,a\np,1,2,3\n", "columns 2 and 4 are both named \"a\"; rename one\n"},
      {"id,a,b\np,1,many\nq,2,1\n", "\"many\" is not a number, which the model wants here; NA marks a gap\n"},
      {"id,a,b\n", "has a header and no rows"},
  };
  for (const Case& c : cases) {
    Put("t.csv", std::string(c.text));
    ExpectRefusal({"predict", "m", "t.csv", "--out", "made"}, 3, c.says);
    EXPECT_FALSE(fs::exists(Path("made")));
  }
  ExpectRefusal({"predict", "none", "fit.csv"}, 3, "none: cannot be opened");
  ExpectRefusal({"predict", "m", "none.csv"}, 3, "none.csv: cannot be opened");
  for (const char* share : {"1.5", "-0.1", "nan"}) {
    ExpectRefusal({"predict", "m", "fit.csv", "--max-missing", share}, 2, "--max-missing");
  }
  for (const char* column : {"a", "y"}) {
    ExpectRefusal({"predict", "m", "fit.csv", "--id", column}, 2,
                  "--id: column \"" + std::string(column) + "\" is one of");
  }
  ExpectRefusal({"predict", "m"}, 2, "TABLE is required");
}

TEST_F(Predict, NoResultTakesThePlaceOfAnInput) {
  const std::string table = "id,a,b,y\np,1,2,3\nq,2,1,5\nr,3,5,4\ns,5,4,9\n";
  fs::create_directory(Path("here"));
  for (const char* name : {"here/scores.csv", "here/summary.json"}) Put(name, table);
  ExpectRefusal({"pls", "here/scores.csv", "--y", "y", "--components", "1", "--no-cv", "--out", "here"}, 2,
                "--out: here/scores.csv is the input itself; give another place");
  Done({"pls", "here/scores.csv", "--y", "y", "--components", "1", "--no-cv", "--save", "here/distances.csv"});
  const std::string model = ContentOf(Path("here/distances.csv"));
  ExpectRefusal({"predict", "here/distances.csv", "here/summary.json", "--out", "here"}, 2, "is the input itself");
  EXPECT_EQ(ContentOf(Path("here/scores.csv")), table);
  EXPECT_EQ(ContentOf(Path("here/summary.json")), table);
  EXPECT_EQ(ContentOf(Path("here/distances.csv")), model);
}

}  // namespace
}  // namespace program
