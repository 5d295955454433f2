#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/tools/program_runner.h"
#include "tools/voran/failure.h"
#include "tools/voran/model_file.h"

namespace program {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAreArray;
using Arguments = std::vector<std::string>;

// Numbers that two runs of iterations and sums in `float` reach on different ways.
constexpr double kTolerance = 1e-4;

class O2pls : public Program {
 protected:
  // Sensory properties against chemistry.
  static Arguments Oil(const Arguments& more) {
    Arguments arguments = {"o2pls", DataFile("oliveoil"), "--class", "class",
                           "--x",   "Acidity..DK",        "--y",     "yellow..syrup"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }

  // Columns `first` on of `got` against those of `expected`.
  static void ExpectSame(const Cells& got, const Cells& expected, std::size_t first) {
    ASSERT_EQ(got.size(), expected.size());
    for (std::size_t c = 0; c < got[0].size(); ++c) {
      double largest = 0.0;
      for (const auto& row : expected) largest = std::max(largest, std::abs(row.at(first + c)));
      for (std::size_t i = 0; i < got.size(); ++i) {
        EXPECT_NEAR(got[i][c], expected[i][first + c], kTolerance * largest) << "row " << i << ", column " << c;
      }
    }
  }
};

TEST_F(O2pls, RefusesInOneSentence) {
  Put("t.csv", std::string("id,a,b,k,y,z,e,one\n"
                           "p,1,1,5,1,3,,1\nq,-1,1,5,1,5,,1\nr,1,-1,5,1,-4,,1\ns,-1,-1,5,1,0,,1\n"));
  Put("even.csv", std::string("a,b,y,z\n1,1,1,-1\n-1,-1,1,1\n1,1,-1,1\n-1,-1,-1,-1\n"));
  Put("gaps.csv", std::string("id,a,b,y,z\np,1,2,3,1\nq,2,,5,2\nr,,7,4,1\ns,5,4,9,7\nt,1,3,,2\nu,2,2,1,1\n"));
  Put("row.csv", std::string("id,a,b,y,z\np,1,2,3,1\nq,2,1,5,2\nr,,,4,1\ns,5,4,9,7\nt,,,3,2\nu,2,2,1,1\n"));
  Put("yrow.csv", std::string("id,a,b,y,z\np,1,2,3,1\nq,2,1,5,2\nr,3,1,,\ns,5,4,9,7\nt,1,3,3,2\nu,2,2,1,1\n"));
  const std::vector<Refusal> refusals = {
      {"t.csv --y y,z --x a,b", 3, "t.csv: response \"y\" cannot be modelled (no variance); leave it out"},
      {"t.csv --y z --x k", 3, "no column is left to model: k (no variance)"},
      {"gaps.csv --y y,z", 3,
       "gaps.csv: O2PLS needs complete blocks, but 3 cells are missing (2 in the variables, 1 in the responses); "
       "--fill fills them first"},
      {"row.csv --y y,z", 3, "row.csv: 2 rows hold none of the variables: r, t; leave them out, since O2PLS needs"},
      {"yrow.csv --y y,z --fill", 3, "yrow.csv: 1 row holds none of the responses: r; leave it out, since"},
      {"t.csv --y z --x a,b --components 1", 2,
       "--components has a number and --ortho and --y-ortho have not: cross-validation chooses all three together or "
       "none"},
      {"t.csv --y z --x a,b --components auto --ortho 0 --y-ortho 0", 2,
       "--ortho and --y-ortho have a number and --components has not"},
      {"t.csv --y z --x a,b --no-cv", 2, "--no-cv leaves nothing to choose the number of components by"},
      {"t.csv --y z --x a,b --ortho x", 2, "--ortho: \"x\" is neither a number of components nor"},
      {"t.csv --y z --x a,b --components 0", 2, "--components: \"0\" is neither"},
      {"t.csv --y z --x a,b --components 2 --ortho 0 --y-ortho 0 --no-cv", 2,
       "--components 2: 4 rows, 2 columns and 1 response have no more than 1 component in common"},
      {"t.csv --y z --x a,b --components 1 --ortho 2 --y-ortho 0 --no-cv", 2,
       "--ortho 2: 4 rows, 2 columns and 1 response leave X no more than 1 orthogonal component beside 1 joint one"},
      {"t.csv --y z --x a,b --components 1 --ortho 0 --y-ortho 1", 2,
       "--y-ortho 1: 3 rows (of the smallest model of the cross-validation), 2 columns and 1 response leave Y no "
       "orthogonal component beside 1 joint one"},
      {"even.csv --y y,z --components 1 --ortho 0 --y-ortho 0", 1, "even.csv: "},
      {"even.csv --y y,z --components 1 --ortho 0 --y-ortho 0 --no-cv", 1,
       "even.csv: OPLS model could not be calculated; X and Y may have nothing, or fewer components, in common"},
      {"even.csv --y y,z", 1,
       "even.csv: cross-validation finds no component that X and Y have in common; --components 1 --ortho 0 "
       "--y-ortho 0 fits one all the same"},
      {"t.csv --y z --x a --cv-column one", 3, "column \"one\" holds one group alone"},
      {"t.csv", 2, "--y is required"},
  };
  ExpectRefusals("o2pls", refusals, "--out made/here --save m");
}

TEST_F(O2pls, FilesAndKeys) {
  const Arguments run = Oil({"--components", "1", "--ortho", "1", "--y-ortho", "2", "--json"});
  const auto with = [&](Arguments more) {
    more.insert(more.begin(), run.begin(), run.end());
    return Run(more);
  };
  const Outcome outcome = with({"--out", "r", "--threads", "1"});
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  const std::vector<std::pair<std::string, const char*>> headers = {
      {"scores.csv", "id,t1,u1\nG1,"},
      {"loadings.csv", "variable,p1\nAcidity,"},
      {"weights.csv", "variable,w1\nAcidity,"},
      {"y_loadings.csv", "response,q1\nyellow,"},
      {"y_weights.csv", "response,c1\nyellow,"},
      {"ortho_scores.csv", "id,to1\nG1,"},
      {"ortho_loadings.csv", "variable,po1\nAcidity,"},
      {"ortho_weights.csv", "variable,wo1\nAcidity,"},
      {"y_ortho_scores.csv", "id,uo1,uo2\nG1,"},
      {"y_ortho_loadings.csv", "response,qo1,qo2\nyellow,"},
      {"y_ortho_weights.csv", "response,co1,co2\nyellow,"},
      {"coefficients.csv", "variable,yellow,green,brown,glossy,transp,syrup\n(intercept),"},
      {"fitted.csv", "id,yellow,green,brown,glossy,transp,syrup\nG1,"},
      {"predicted_cv.csv", "id,yellow,green,brown,glossy,transp,syrup\nG1,"},
      {"summary.json", "{"}};
  EXPECT_EQ(with({"--out", "three", "--threads", "3"}).out, outcome.out);
  std::vector<std::string> files = {"r", "three"};
  for (const auto& [name, begin] : headers) {
    files.push_back("r/" + name);
    files.push_back("three/" + name);
    EXPECT_THAT(ContentOf(Path("r") / name), StartsWith(begin));
    EXPECT_EQ(ContentOf(Path("three") / name), ContentOf(Path("r") / name)) << name;
  }
  EXPECT_THAT(Files(), UnorderedElementsAreArray(files));

  const json summary = json::parse(outcome.out);
  EXPECT_EQ(summary["command"], "o2pls");
  EXPECT_EQ(summary["y_ortho_components_requested"], 2);
  EXPECT_EQ(summary["components"].size(), 1u);
  EXPECT_EQ(summary["ortho_components"].size(), 1u);
  EXPECT_EQ(summary["y_ortho_components"].size(), 2u);
  for (const char* key : {"r2x", "r2y", "eigenvalue", "y_eigenvalue", "correlation", "q2_cumulative", "significance"}) {
    EXPECT_FALSE(summary["components"][0].value(key, json()).is_null()) << key;
  }
  EXPECT_FALSE(summary["y_ortho_components"][1].value("q2x_cumulative", json()).is_null());
  for (const char* block : {"x", "y"}) {
    for (const char* key : {"r2_joint", "r2_orthogonal", "r2_residual", "r2_predicted", "q2", "inner_relation"}) {
      EXPECT_FALSE(summary[block].value(key, json()).is_null()) << block << key;
    }
  }
  EXPECT_EQ(summary["responses"].size(), 6u);

  const Outcome plain = with({"--out", "plain", "--no-cv"});
  EXPECT_FALSE(fs::exists(Path("plain/predicted_cv.csv")));
  const json without = json::parse(plain.out);
  EXPECT_TRUE(without["cv_groups"].is_null() && without["x"]["q2"].is_null() &&
              without["components"][0]["q2_cumulative"].is_null() && without["responses"][0]["rmsecv"].is_null());
  EXPECT_EQ(without["components"][0]["r2x"], summary["components"][0]["r2x"]);
}

TEST_F(O2pls, WithOneResponseItIsThePlsOfAsManyComponents) {
  Done({"o2pls", DataFile("gasoline"), "--y", "octane", "--scaling", "center", "--components", "1", "--ortho", "2",
        "--y-ortho", "0", "--no-cv", "--out", "o2pls"});
  Done({"pls", DataFile("gasoline"), "--y", "octane", "--scaling", "center", "--components", "3", "--no-cv", "--out",
        "pls"});
  ExpectSame(Numbers(Path("o2pls/fitted.csv")), Numbers(Path("pls/fitted.csv")), 0);
  const auto figure = [&](const char* folder, const char* key) {
    return json::parse(ContentOf(Path(folder) / "summary.json"))["responses"][0][key].get<double>();
  };
  EXPECT_NEAR(figure("o2pls", "rmsee"), figure("pls", "rmsee"), 1e-3);
  EXPECT_NEAR(figure("o2pls", "r2y_cumulative"), figure("pls", "r2y_cumulative"), 1e-4);
}

TEST_F(O2pls, TellsThatAModelPredictsNothing) {
  const Outcome outcome = Run({"o2pls", DataFile("linnerud"), "--y", "y_pulse", "--quiet"});
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("as cross-validation chose\n  Y is predicted no better than without a model"));
  EXPECT_THAT(Run(Oil({})).out, ::testing::Not(HasSubstr("no better")));
}

TEST_F(O2pls, FillsGapsIfAsked) {
  TextCells cells = CellsOf(DataFile("oliveoil"));
  cells[3][4] = "";
  cells[9][2] = "NA";
  cells[12][8] = "";
  Put("gaps.csv", cells);
  const Arguments run = {"o2pls",         "gaps.csv",     "--class", "class",   "--x", "Acidity..DK", "--y",
                         "yellow..syrup", "--components", "1",       "--ortho", "1",   "--y-ortho",   "1",
                         "--fill"};
  const Outcome outcome = Run(run);
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("gaps in 2 cells, 2 rows, 2 columns"));
  EXPECT_THAT(outcome.out, HasSubstr("\n  variables: 2 gaps filled with "));
  EXPECT_THAT(outcome.out, HasSubstr("\n  responses: 1 gap filled with "));
  const json summary = RunJson(run);
  EXPECT_EQ(summary["x"]["filled_cells"], 2);
  EXPECT_EQ(summary["y"]["filled_cells"], 1);
  EXPECT_TRUE(summary["y"]["filled_with_components"].is_number());
  EXPECT_EQ(RunJson(Oil({"--fill"}))["x"]["filled_with_components"], json());
}

TEST_F(O2pls, ARowOfTheFitGetsItsOwnNumbersInBothDirections) {
  for (const char* joint : {"1", "2"}) {
    Done(Oil({"--components", joint, "--ortho", "2", "--y-ortho", "1", "--no-cv", "--save", "m", "--out", "fit"}));
    const json y = RunJson({"predict", "m", DataFile("oliveoil"), "--out", "y"});
    const json x = RunJson({"predict", "m", DataFile("oliveoil"), "--predict", "x", "--out", "x"});
    const Cells scores = Numbers(Path("fit/scores.csv"));
    const std::size_t components = scores[0].size() / 2;
    EXPECT_EQ(CellsOf(Path("y/scores.csv"))[0].size(), 1 + components);
    ExpectSame(Numbers(Path("y/scores.csv")), scores, 0);
    ExpectSame(Numbers(Path("x/scores.csv")), scores, components);
    ExpectSame(Numbers(Path("y/ortho_scores.csv")), Numbers(Path("fit/ortho_scores.csv")), 0);
    ExpectSame(Numbers(Path("x/ortho_scores.csv")), Numbers(Path("fit/y_ortho_scores.csv")), 0);
    ExpectSame(Numbers(Path("y/predictions.csv")), Numbers(Path("fit/fitted.csv")), 0);
    // How much of X is predicted is what the fit says of it.
    const json fit = json::parse(ContentOf(Path("fit/summary.json")));
    const TextCells oil = CellsOf(DataFile("oliveoil"));
    const Cells predicted = Numbers(Path("x/predictions.csv"));
    ASSERT_EQ(predicted.size(), 16u);
    double explained = 0.0;
    for (std::size_t k = 0; k < 5; ++k) {
      double mean = 0.0;
      double left = 0.0;
      double total = 0.0;
      const auto measured = [&](std::size_t i) { return std::stod(oil[1 + i][2 + k]); };
      for (std::size_t i = 0; i < 16; ++i) mean += measured(i) / 16.0;
      for (std::size_t i = 0; i < 16; ++i) {
        left += std::pow(measured(i) - predicted[i][k], 2);
        total += std::pow(measured(i) - mean, 2);
      }
      explained += (1.0 - left / total) / 5.0;
      EXPECT_NEAR(x["responses"][k]["rmsep"].get<double>(), std::sqrt(left / 16.0), 1e-4 * std::sqrt(total));
    }
    EXPECT_NEAR(fit["x"]["r2_predicted"].get<double>(), explained, 1e-3);
    // Both distances are held against the rows of the fit themselves, so their sums are known.
    const auto expectSpread = [&](const char* folder, double all) {
      double squares = 0.0;
      double t2 = 0.0;
      for (const auto& row : Numbers(Path(folder) / "distances.csv")) {
        squares += row[1] * row[1];
        t2 += row[2];
      }
      EXPECT_NEAR(squares, 15.0 - all, 1e-2);
      EXPECT_NEAR(t2, 15.0 * all, 1e-2);
    };
    expectSpread("y", static_cast<double>(components) + 2.0);
    expectSpread("x", static_cast<double>(components) + 1.0);
    EXPECT_EQ(x["predict"], "x");
    EXPECT_EQ(y["predict"], "y");
    EXPECT_EQ(x["columns"], 6);
    EXPECT_EQ(x["responses"][0]["name"], "Acidity");
  }
}

TEST_F(O2pls, PredictsEitherBlockWithoutTheOther) {
  Done(Oil({"--components", "1", "--ortho", "1", "--y-ortho", "1", "--no-cv", "--save", "m"}));
  TextCells chemistry = CellsOf(DataFile("oliveoil"));
  TextCells sensory = chemistry;
  for (auto& row : chemistry) row.resize(7);
  for (auto& row : sensory) row.erase(row.begin() + 1, row.begin() + 7);
  chemistry[4][3] = "";
  chemistry[5] = {"poor", "", "1", "", "", "", ""};
  Put("chemistry.csv", chemistry);
  Put("sensory.csv", sensory);
  const json y = RunJson({"predict", "m", "chemistry.csv"});
  EXPECT_EQ(y["predictions"][0]["predicted"].size(), 6u);
  EXPECT_EQ(y["predictions"][0]["ortho_scores"].size(), 1u);
  EXPECT_TRUE(y["predictions"][3]["predicted"][0].is_number());
  EXPECT_EQ(y["refused_rows"], json::array({"poor"}));
  EXPECT_TRUE(y["predictions"][4]["predicted"][0].is_null() && y["predictions"][4]["distance"].is_null());
  EXPECT_EQ(y["responses"][0]["observed_rows"], 0);
  EXPECT_EQ(RunJson({"predict", "m", "sensory.csv", "--predict", "x"})["predictions"][0]["predicted"].size(), 5u);
  ExpectRefusal({"predict", "m", "sensory.csv"}, 3, "5 columns that the model needs are not there: Acidity, Peroxide");
  ExpectRefusal({"predict", "m", "chemistry.csv", "--predict", "x"}, 3, "6 columns that the model needs are not there");
  ExpectRefusal({"predict", "m", "chemistry.csv", "--predict", "z"}, 2, "--predict");
  Done({"pls", DataFile("linnerud"), "--y", "y_waist", "--components", "1", "--no-cv", "--save", "pls"});
  ExpectRefusal({"predict", "pls", DataFile("linnerud"), "--predict", "x"}, 2,
                "--predict x: only O2PLS predicts X, and pls is a model of PLS");
}

TEST_F(O2pls, ModelsWithoutOrthogonalComponentsAreReadAgain) {
  Done(Oil({"--components", "2", "--ortho", "0", "--y-ortho", "0", "--no-cv", "--save", "m", "--out", "fit"}));
  for (const char* block : {"x", "y"}) {
    EXPECT_EQ(RunJson({"predict", "m", DataFile("oliveoil"), "--predict", block})["predictions"].size(), 16u);
  }
  tool::SavedModel model = tool::ReadModel(Path("m").string());
  model.further.pop_back();
  std::ofstream(Path("short"), std::ios::binary) << [&] {
    std::ostringstream out(std::ios::binary);
    tool::WriteModel(out, model);
    return out.str();
  }();
  ExpectRefusal({"predict", "short", DataFile("oliveoil")}, 3, "short: is cut off or damaged; fit the model again");
}

}  // namespace
}  // namespace program
