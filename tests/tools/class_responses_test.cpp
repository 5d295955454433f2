#include "tools/voran/class_responses.h"

#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/tools/value_samples.h"
#include "tools/voran/class_report.h"
#include "tools/voran/failure.h"

namespace tool {
namespace {

RoleRequest Roles(const std::string& responses) {
  RoleRequest roles;
  roles.responses = {responses};
  return roles;
}

TEST(ClassResponses, AreZeroAndOneInTheOrderOfAppearance) {
  const std::string text = "id,g,a,y\np,red,1,5\nq,blue,2,NA\nr,,3,7\ns,red,4,8\nt,blue,5,9\nu,NA,6,1\n";
  const Table table = TableOf(text, Roles("g,y"));
  EXPECT_EQ(table.responses, (std::vector<std::string>{"y", "g=red", "g=blue"}));
  EXPECT_EQ(table.variables, std::vector<std::string>{"a"});
  const double gap = kGap;
  EXPECT_EQ(ToRows(table.y), (Rows{{5, 1, 0}, {gap, 0, 1}, {7, gap, gap}, {8, 1, 0}, {9, 0, 1}, {1, gap, gap}}));
  ASSERT_EQ(table.classResponses.size(), 1u);
  EXPECT_EQ(table.classResponses[0].first, 1u);
  EXPECT_EQ(table.classResponses[0].ofRow, (std::vector<int>{0, 1, kNoClass, 0, 1, kNoClass}));
  // Without a column of numbers among them, and several columns of classes.
  const Table two = TableOf("id,g,h,a\np,x,1a,1\nq,y,2a,2\nr,x,1a,3\ns,y,2a,4\n", Roles("g,h"));
  EXPECT_EQ(two.responses, (std::vector<std::string>{"g=x", "g=y", "h=1a", "h=2a"}));
  EXPECT_EQ(ToRows(two.y)[2], (std::vector<double>{1, 0, 1, 0}));
  EXPECT_EQ(two.classResponses[1].first, 2u);
}

TEST(ClassResponses, AColumnThatHoldsAnyNumberIsOfNumbers) {
  EXPECT_THROW(TableOf("id,g,a\np,red,1\nq,2,2\nr,red,3\ns,2,4\n", Roles("g")), Failure);
  const Table table = TableOf("id,g,a\np,1,1\nq,2,2\nr,1,3\n", Roles("g"));
  EXPECT_TRUE(table.classResponses.empty());
}

TEST(ClassResponses, UselessClassesAreRefused) {
  const std::vector<std::pair<const char*, const char*>> cases = {
      {"id,g,a\np,red,1\nq,red,2\nr,,3\n", "t.csv: column \"g\" holds one class alone (red)"},
      {"id,g,a\np,red,1\nq,blue,2\nr,green,3\ns,red,3\nt,blue,1\n", "column \"g\" names 3 classes in 5 rows"},
      {"id,g,a\np,red,1\nq,blue,2\nr,,3\ns,,3\n", "column \"g\" names 2 classes in 2 rows"}};
  for (const auto& [text, says] : cases) {
    try {
      TableOf(text, Roles("g"));
      ADD_FAILURE() << says;
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.Code(), ExitCode::kBadData);
      EXPECT_NE(std::string(failure.what()).find(says), std::string::npos) << failure.what();
    }
  }
}

TEST(ClassResponses, TheLargestPredictionGivesTheClass) {
  ClassResponses column;
  column.classes = {"a", "b", "c"};
  column.first = 1;
  const double none = std::nan("");
  const std::vector<std::vector<double>> predicted = {
      {9.0, 9.0, 9.0, 9.0}, {0.7, -0.5, 0.2, 0.1}, {0.1, -0.2, none, 0.4}, {0.2, -0.3, 0.9, 0.4}};
  const std::vector<std::span<const double>> columns(predicted.begin(), predicted.end());
  const std::vector<int> given = GiveClasses(column, columns);
  EXPECT_EQ(given, (std::vector<int>{0, 1, kNoClass, 1}));  // of equals the first
  const ClassCounts counts(column, {0, 0, 2, kNoClass}, given);
  EXPECT_EQ(counts.rows, 3u);
  EXPECT_EQ(counts.right, 1u);
  EXPECT_EQ(counts.given, (std::vector<std::vector<std::size_t>>{{1, 1, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 1}}));
}

}  // namespace
}  // namespace tool
