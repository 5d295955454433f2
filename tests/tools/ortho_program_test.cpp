#include <algorithm>
#include <map>
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
using Arguments = std::vector<std::string>;

TEST_F(Program, OrthogonalModelsRefuseWhatCannotBeModelled) {
  Put("t.csv", std::string("id,a,b,k,e,y,z,g\n"
                           "p,1,1,5,,1,3,u\nq,-1,1,5,,1,5,u\nr,1,-1,5,,1,-4,u\ns,-1,-1,5,,1,0,u\n"));
  Put("pair.csv", std::string("a,b,y\n1,2,3\n2,1,4\n"));
  Put("even.csv", std::string("a,b,y\n1,1,1\n-1,1,-1\n1,-1,-1\n-1,-1,1\n"));
  const std::vector<Refusal> refusals = {
      {"t.csv --y y --x a,b", 3, "t.csv: response \"y\" cannot be modelled (no variance); leave it out"},
      {"t.csv --y z,e --x a,b", 3, "t.csv: response \"e\" cannot be modelled (all missing)"},
      {"t.csv --y z --x k,e", 3, "no column is left to model: k (no variance)"},
      {"t.csv --y g --x a", 3, "t.csv: column \"g\" holds one class alone (u)"},
      {"t.csv --y id --no-id --x a", 3, "column \"id\" names 4 classes in 4 rows, which are too many"},
      {"even.csv --y y", 1, "even.csv: the correlation between X and Y is zero or almost zero, so there is"},
      {"even.csv --y a,b,y", 3, "no column of numbers is left"},
      {"even.csv --y q", 2, "--y: the table has no column \"q\""},
      {"even.csv", 2, "--y is required"},
      {"pair.csv --y y", 1, "the model is not significant: it leaves the table too few rows, or columns; --"},
      {"t.csv --y z --x a,b --cv-column g", 3, "column \"g\" holds one group alone"},
      {"even.csv --y y --components 0", 2, "--components: \"0\" is neither a number"},
      {"even.csv --y y --no-cv", 2, "--no-cv leaves nothing to choose the number of orthogonal components by"},
      {"@linnerud --y y_pulse --x x_chins..x_jumps", 1,
       "linnerud.csv: the model is not significant: its Q2 is -0.1013, and the limit 0.0500; --"}};
  for (const char* const command : {"opls", "yopls"}) ExpectRefusals(command, refusals, "--out made/here --save m");
  ExpectRefusal({"opls", "even.csv", "--y", "y", "--ortho", "-1"}, 2, "--ortho: \"-1\" is neither a number");
  ExpectRefusal({"yopls", "even.csv", "--y", "y", "--no-cv"}, 2, "give --y-ortho N");
  ExpectRefusal({"yopls", "even.csv", "--y", "y", "--inner-components", "26"}, 2, "--inner-components");
}

TEST_F(Program, OrthogonalComponentsAreThoseThatCrossValidationFindsSignificant) {
  const Outcome opls = Run({"opls", DataFile("gasoline"), "--y", "octane", "--quiet"});
  EXPECT_EQ(opls.code, 0);
  EXPECT_THAT(opls.out, HasSubstr("no more than 2 orthogonal components: orthogonal component 3 is not significant "
                                  "(NS): its Q2 is 0.0407, and the limit 0.0500\n"));
  const Outcome none = Run({"opls", DataFile("oliveoil"), "--class", "class", "--y", "yellow..syrup", "--quiet"});
  EXPECT_THAT(none.out, HasSubstr("no orthogonal component: orthogonal component 1 is not significant (NS)"));
  // As many as are asked for, whatever they are worth, but no more than there are.
  const Arguments asked = {"opls", DataFile("linnerud"), "--y", "y_pulse", "--x", "x_chins..x_jumps", "--ortho",
                           "7",    "--components",       "2"};
  const Outcome outcome = Run(asked);
  EXPECT_EQ(outcome.code, 0);
  EXPECT_THAT(outcome.err, HasSubstr("1 predictive component can be had and no more, where 2 were asked for"));
  EXPECT_THAT(outcome.out, HasSubstr("no more than 2 orthogonal components: 20 rows and 3 columns have no more than "
                                     "that beside 1 predictive component"));
  Put("flat.csv", std::string("a,b,y\n1,2,3\n2,4,5\n3,6,8\n5,10,11\n"));
  const Outcome flat = Run({"opls", "flat.csv", "--y", "y", "--ortho", "1", "--no-cv", "--quiet"});
  EXPECT_EQ(flat.code, 0);
  EXPECT_THAT(flat.out, HasSubstr("no orthogonal component: the components explain the whole of X"));
}

TEST_F(Program, OrthogonalFilesAndKeys) {
  struct Kind {
    const char* command;
    const char* ortho;
  };
  for (const Kind& kind : {Kind{"opls", "--ortho"}, Kind{"yopls", "--y-ortho"}}) {
    const Arguments run = {kind.command, kWine, "--y", "class,hue", "--components", "2", kind.ortho, "1", "--json"};
    const auto with = [&](Arguments more) {
      more.insert(more.begin(), run.begin(), run.end());
      return Run(more);
    };
    const Outcome outcome = with({"--out", "r", "--threads", "1"});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(with({"--out", "three", "--threads", "3"}).out, outcome.out);
    const std::map<std::string, std::string> headers = {
        {"scores.csv", "id,t1,t2,u1,u2\nw001,"},
        {"loadings.csv", "variable,p1,p2\nalcohol,"},
        {"weights.csv", "variable,w1,w2\nalcohol,"},
        {"y_weights.csv", "response,c1,c2,co1\nhue,"},
        {"ortho_scores.csv", "id,to1\nw001,"},
        {"ortho_loadings.csv", "variable,po1\nalcohol,"},
        {"ortho_weights.csv", "variable,wo1\nalcohol,"},
        {"coefficients.csv", "variable,hue,class=cultivar1,class=cultivar2,class=cultivar3\n(intercept),"},
        {"fitted.csv", "id,hue,class=cultivar1,"},
        {"predicted_cv.csv", "id,hue,class=cultivar1,"},
        {"classes.csv", "id,class,class_fitted,class_cv\nw001,cultivar1,cultivar1,cultivar1\n"},
        {"q2.csv", "response,q2_0,q2_1,q2_cumulative_0,q2_cumulative_1\nhue,"},
        {"summary.json", "{"}};
    std::vector<std::string> files;
    for (const auto& entry : fs::directory_iterator(Path("r"))) files.push_back(entry.path().filename().string());
    EXPECT_EQ(files.size(), headers.size());
    for (const auto& [name, begin] : headers) {
      EXPECT_THAT(ContentOf(Path("r") / name), StartsWith(begin)) << name;
      EXPECT_EQ(ContentOf(Path("three") / name), ContentOf(Path("r") / name)) << name;
    }
    const json summary = json::parse(outcome.out);
    EXPECT_EQ(summary["command"], kind.command);
    EXPECT_EQ(summary["components_requested"], 2);
    EXPECT_EQ(summary["ortho_components_requested"], 1);
    EXPECT_EQ(summary["components"].size(), 2u);
    EXPECT_EQ(summary["ortho_components"].size(), 1u);
    EXPECT_EQ(summary["ortho_components"][0].contains("angle_to_y"), std::string(kind.command) == "yopls");
    const json& stage = summary["stages"][1];
    for (const char* key :
         {"ortho_components", "r2x_cumulative", "r2y_cumulative", "q2", "q2_cumulative", "q2_limit", "significance"}) {
      EXPECT_FALSE(stage.value(key, json()).is_null()) << key;
    }
    EXPECT_EQ(stage["q2_cumulative_by_response"].size(), 4u);
    EXPECT_EQ(summary["responses"][3]["q2_cumulative"], stage["q2_cumulative_by_response"][3]);
    const json plain = json::parse(with({"--no-cv", "--out", "plain"}).out);
    EXPECT_FALSE(fs::exists(Path("plain/q2.csv")) || fs::exists(Path("plain/predicted_cv.csv")));
    EXPECT_THAT(ContentOf(Path("plain/classes.csv")), StartsWith("id,class,class_fitted\n"));
    EXPECT_TRUE(plain["stages"][1]["q2"].is_null() && plain["classes"][0]["predicted_cv"].is_null());
    for (const char* folder : {"r", "three", "plain"}) fs::remove_all(Path(folder));
  }
}

// How many rows of a table `id, class, class given...` have the class in column `given` that they have in the first.
std::size_t Right(const TextCells& cells, std::size_t given) {
  std::size_t right = 0;
  for (std::size_t i = 1; i < cells.size(); ++i) right += cells[i][1] == cells[i].at(given) ? 1 : 0;
  return right;
}

TEST_F(Program, ClassesAreCountedByTheFitAndLeftOut) {
  for (const char* const command : {"pls", "opls", "yopls"}) {
    const Outcome outcome = Run({command, kWine, "--y", "class", "--out", "r", "--json", "--quiet"});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    const json classes = json::parse(outcome.out)["classes"][0];
    EXPECT_EQ(classes["classes"], json::array({"cultivar1", "cultivar2", "cultivar3"}));
    const TextCells cells = CellsOf(Path("r/classes.csv"));
    ASSERT_EQ(cells.size(), 179u);
    EXPECT_EQ(classes["fitted"]["right"], Right(cells, 2));
    EXPECT_EQ(classes["predicted_cv"]["right"], Right(cells, 3));
    EXPECT_EQ(classes["fitted"]["rows"], 178);
    EXPECT_GT(classes["predicted_cv"]["right"], 170);
    // The class given is that of the largest prediction.
    const Cells fitted = Numbers(Path("r/predicted_cv.csv"));
    for (std::size_t i = 0; i < fitted.size(); ++i) {
      const auto largest = std::max_element(fitted[i].begin(), fitted[i].end()) - fitted[i].begin();
      EXPECT_EQ(cells[i + 1][3], fmt::format("cultivar{}", largest + 1));
    }
  }
  const Outcome text = Run({"opls", kWine, "--y", "class", "--quiet"});
  EXPECT_THAT(text.out, HasSubstr("  class, left out  rows  cultivar1  cultivar2  cultivar3         right\n"
                                  "  cultivar1          59         59          0          0  59 (100.0 %)\n"));
}

TEST_F(Program, PredictGivesClassesAndCountsThem) {
  Done({"opls", kWine, "--y", "class", "--ortho", "1", "--save", "m", "--out", "fit"});
  TextCells cells = CellsOf(kWine);
  cells.resize(61);
  cells[1][1] = "";
  cells[2][1] = "another";
  cells[3][1] = "cultivar3";
  Put("new.csv", cells);
  const Outcome text = Run({"predict", "m", "new.csv", "--out", "r"});
  ASSERT_EQ(text.code, 0) << text.err;
  EXPECT_THAT(text.out, HasSubstr("1 row of a class that the model does not know is not counted"));
  const json result = json::parse(ContentOf(Path("r/summary.json")));
  const json& counts = result["classes"][0];
  EXPECT_EQ(counts["unknown_rows"], 1);
  EXPECT_EQ(counts["predicted"]["rows"], 58);
  EXPECT_EQ(counts["predicted"]["given"], json::parse("[[56,0,0,0],[0,1,0,0],[1,0,0,0]]"));
  EXPECT_EQ(counts["predicted"]["right"], 57);
  EXPECT_EQ(result["predictions"][0]["classes"], json::array({"cultivar1"}));
  const TextCells given = CellsOf(Path("r/classes.csv"));
  const TextCells fitted = CellsOf(Path("fit/classes.csv"));
  for (std::size_t i = 1; i < given.size(); ++i) EXPECT_EQ(given[i][1], fitted[i][2]);
  // Without the column nothing is counted.
  for (auto& row : cells) row.erase(row.begin() + 1);
  cells[4].assign(cells[4].size(), "");
  cells[4][0] = "w004";
  Put("plain.csv", cells);
  const Outcome plain = Run({"predict", "m", "plain.csv", "--json", "--quiet"});
  ASSERT_EQ(plain.code, 0) << plain.err;
  const json without = json::parse(plain.out);
  EXPECT_TRUE(without["classes"][0]["predicted"].is_null());
  EXPECT_EQ(without["predictions"][3]["classes"], json::parse("[null]"));
  EXPECT_EQ(without["refused_rows"], json::array({"w004"}));
}

}  // namespace
}  // namespace program
