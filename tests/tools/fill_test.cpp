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
using Arguments = std::vector<std::string>;

using Fill = Program;

TEST_F(Fill, FillsTheGapsAndLeavesTheRest) {
  TextCells cells = CellsOf(DataFile("oliveoil"));
  const TextCells whole = cells;
  const std::vector<std::pair<std::size_t, std::size_t>> places = {{3, 4}, {9, 2}, {12, 8}, {1, 12}};
  for (const auto& [row, column] : places) cells[row][column] = "";
  Put("gaps.csv", cells);
  for (const Arguments& how : {Arguments{}, {"--components", "1"}, {"--y", "yellow..syrup"}}) {
    Arguments arguments = {"fill", "gaps.csv", "--class", "class", "--out", "r"};
    arguments.insert(arguments.end(), how.begin(), how.end());
    const json summary = RunJson(arguments);
    EXPECT_EQ(summary["left_cells"], 0);
    EXPECT_EQ(summary["filled_cells"].get<int>() + (how.size() > 1 && how[0] == "--y" ? 2 : 0), 4);
    const TextCells filled = CellsOf(Path("r/filled.csv"));
    ASSERT_EQ(filled.size(), cells.size());
    EXPECT_EQ(filled[0], cells[0]);  // the columns stay in their order
    for (std::size_t i = 1; i < cells.size(); ++i) {
      for (std::size_t c = 0; c < cells[i].size(); ++c) {
        if (c < 2) {
          EXPECT_EQ(filled[i][c], cells[i][c]);
        } else if (!cells[i][c].empty()) {
          EXPECT_EQ(std::stof(filled[i][c]), std::stof(cells[i][c]));
        } else {
          // No farther off than the column reaches.
          double least = HUGE_VAL;
          double most = -HUGE_VAL;
          for (std::size_t r = 1; r < whole.size(); ++r) {
            least = std::min(least, std::stod(whole[r][c]));
            most = std::max(most, std::stod(whole[r][c]));
          }
          EXPECT_GT(std::stod(filled[i][c]), least - (most - least));
          EXPECT_LT(std::stod(filled[i][c]), most + (most - least));
        }
      }
    }
  }
}

// A table of rank one: what is missing can be told exactly.
TEST_F(Fill, FillsWithWhatTheModelSays) {
  std::string text = "id,a,b,c,d\n";
  for (int i = 1; i <= 12; ++i) {
    const int v = i * i;
    text += "r" + std::to_string(i) + "," + (i == 5 ? "" : std::to_string(v)) + "," + std::to_string(2 * v + 1) + "," +
            (i == 9 ? "NA" : std::to_string(-v)) + "," + std::to_string(3 * v) + "\n";
  }
  Put("t.csv", text);
  const auto filled = [&](const Arguments& more) {
    Arguments arguments = {"fill", "t.csv", "--out", "r"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    EXPECT_EQ(RunJson(arguments)["left_cells"], 0);
    const Cells numbers = Numbers(Path("r/filled.csv"));
    return std::pair(numbers[4][0], numbers[8][2]);
  };
  for (const Arguments& how : {Arguments{"--components", "1"}, {"--y", "c,d"}}) {
    const auto [a, c] = filled(how);
    EXPECT_NEAR(a, 25.0, 8.0);  // the means, by which gaps are centred, are not those of the whole columns
    EXPECT_NEAR(c, -81.0, 8.0);
  }
}

TEST_F(Fill, GapsThatCannotBeFilledStayAndAreCounted) {
  Put("t.csv", std::string("id,a,b,k,e,g\np,1,2,5,,1\nq,2,,,,2\nr,,,,,\ns,5,4,5,,4\nt,3,3,5,,3\nu,2,1,5,,2\n"));
  const Outcome outcome = Run({"fill", "t.csv", "--components", "1", "--out", "r"});
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("gaps in 12 cells, 6 rows, 5 columns"));
  EXPECT_THAT(outcome.out, HasSubstr("  1 gap of the table filled with 1 component of PCA\n"));
  EXPECT_THAT(outcome.out, HasSubstr("  11 gaps are left, which cannot be filled\n"));
  EXPECT_THAT(outcome.out, HasSubstr("columns left out: k (no variance), e (all missing)"));
  EXPECT_THAT(outcome.out, HasSubstr("rows without any value: r"));
  const Cells filled = Numbers(Path("r/filled.csv"));
  EXPECT_FALSE(std::isnan(filled[1][1]));
  for (const double value : filled[2]) EXPECT_TRUE(std::isnan(value));
  EXPECT_TRUE(std::isnan(filled[1][2]));
  const json summary = RunJson({"fill", "t.csv", "--components", "1"});
  EXPECT_EQ(summary["left_cells"], 11);
  EXPECT_EQ(summary["missing"]["empty_rows"], json({"r"}));
  json b = summary["variables"][1];
  EXPECT_EQ(b["filled_minimum"], b["filled_maximum"]);
  EXPECT_NEAR(b["filled_minimum"].get<double>(), filled[1][1], 1e-5);
  EXPECT_EQ(b["name"], "b");
  EXPECT_EQ(b["missing"], 2);
  EXPECT_EQ(b["filled"], 1);
  EXPECT_EQ(b["minimum"], 1.0);
  EXPECT_EQ(b["maximum"], 4.0);
}

TEST_F(Fill, ARowThatHoldsNothingOfABlockIsNotFilledThere) {
  TextCells cells = CellsOf(DataFile("linnerud"));
  for (std::size_t c = 1; c <= 3; ++c) cells[4][c] = "";  // all variables
  for (std::size_t c = 4; c <= 6; ++c) cells[7][c] = "";  // all responses
  cells[9][2] = "";
  Put("t.csv", cells);
  const json summary = RunJson({"fill", "t.csv", "--y", "y_weight..y_pulse", "--out", "r"});
  EXPECT_EQ(summary["filled_cells"], 1);
  EXPECT_EQ(summary["y_filled_cells"], 0);
  EXPECT_EQ(summary["left_cells"], 6);
  const TextCells filled = CellsOf(Path("r/filled.csv"));
  EXPECT_EQ(filled[4], cells[4]);
  EXPECT_EQ(filled[7], cells[7]);
}

TEST_F(Fill, ATableWithoutGapsStaysAsItIs) {
  const json summary = RunJson({"fill", DataFile("iris"), "--class", "class", "--out", "r"});
  EXPECT_EQ(summary["filled_cells"], 0);
  EXPECT_EQ(summary["variables"], json::array());
  const Cells before = Numbers(DataFile("usarrests"));
  RunJson({"fill", DataFile("usarrests"), "--out", "s"});
  EXPECT_EQ(Numbers(Path("s/filled.csv")), before);
}

TEST_F(Fill, WhatIsFilledGoesBackThroughTheTransform) {
  std::string text = "id,a,b,c\n";
  std::string logarithms = text;
  for (int i = 1; i <= 10; ++i) {
    const double a = 0.2 * i;
    const double b = 1.0 - 0.01 * i * i;
    const auto row = [&](auto value) {
      return "r" + std::to_string(i) + "," + (i == 2 ? "" : value(a)) + "," + value(b) + "," + value(a + b) + "\n";
    };
    text += row([](double v) { return std::to_string(std::pow(10.0, v)); });
    logarithms += row([](double v) { return std::to_string(v); });
  }
  Put("t.csv", text);
  Put("logs.csv", logarithms);
  RunJson({"fill", "t.csv", "--components", "1", "--transform", "log", "--out", "r"});
  RunJson({"fill", "logs.csv", "--components", "1", "--out", "s"});
  EXPECT_NEAR(std::log10(Numbers(Path("r/filled.csv"))[1][0]), Numbers(Path("s/filled.csv"))[1][0], 1e-4);
}

TEST_F(Fill, RefusesInOneSentence) {
  Put("t.csv", std::string("id,a,b,y\np,1,2,1\nq,2,,3\nr,5,4,2\n"));
  ExpectRefusal({"fill", "t.csv", "--y", "y", "--components", "1"}, 2, "--components does not go with --y");
  ExpectRefusal({"fill", "t.csv", "--components", "none"}, 2, "--components: \"none\" is neither");
  ExpectRefusal({"fill", "t.csv", "--y", "q"}, 2, "--y: the table has no column \"q\"");
  Put("apart.csv", std::string("id,a,y\np,1,1\nq,-1,1\nr,1,-1\ns,-1,-1\nt,,2\n"));
  ExpectRefusal({"fill", "apart.csv", "--y", "y", "--out", "made"}, 1, "apart.csv: ");
  EXPECT_FALSE(fs::exists(Path("made")));
}

}  // namespace
}  // namespace program
