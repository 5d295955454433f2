#include "tools/voran/table_roles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/voran/failure.h"

namespace tool {
namespace {

using Columns = std::vector<std::size_t>;
const std::vector<std::string> kNames = {"id", "class", "nm900", "nm902", "nm904", "a, b", "4"};

ExitCode CodeOf(const RoleRequest& request, const std::vector<std::string>& names = kNames) {
  try {
    PlanColumns("t.csv", names, true, request);
  } catch (const Failure& failure) {
    return failure.Code();
  }
  return ExitCode::kDone;
}

RoleRequest With(std::vector<std::string> RoleRequest::*member, const std::string& item, RoleRequest request = {}) {
  request.*member = {item};
  return request;
}

TEST(TableRoles, ItemsSelectColumns) {
  const std::vector<std::pair<std::string, Columns>> cases = {{"class,nm902", {1, 3}},
                                                              {"a, b", {5}},
                                                              {"2", {1}},
                                                              {"4", {6}},
                                                              {"#4", {3}},
                                                              {"#3..#5", {2, 3, 4}},
                                                              {"nm904..nm900", {2, 3, 4}},
                                                              {"nm900..#5", {2, 3, 4}},
                                                              {"901..910", {3, 4}},
                                                              {"2..3", {1, 2}},
                                                              {"4..903", {2, 3, 6}},
                                                              {" class , 1 ", {0, 1}}};
  for (const auto& [argument, columns] : cases) EXPECT_EQ(SelectColumns(kNames, argument, "--x"), columns) << argument;
}

TEST(TableRoles, ItemsThatFitNothingAreWrongUse) {
  for (const char* argument : {"", "nope", "0", "8", "#0", "#8", "id..nope", "..", "20..30", "-1", "class,,id"}) {
    EXPECT_THROW(SelectColumns(kNames, argument, "--x"), Failure) << argument;
  }
  EXPECT_THROW(SelectColumns({"a", "a"}, "a", "--x"), Failure);
}

TEST(TableRoles, ATypingErrorIsToldWhatItProbablyMeans) {
  const std::vector<std::string> names = {"id", "Alcohol", "Hue", "Ash", "x1", "x2", "Color intensity"};
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"alcohol", " \"alcohol\" (did you mean \"Alcohol\"?);"},
      {"Alcohlo", " \"Alcohlo\" (did you mean \"Alcohol\"?);"},
      {"colour_intensity", " \"colour_intensity\" (did you mean \"Color intensity\"?);"},
      {"Hue..ahs", " \"ahs\" (did you mean \"Ash\"?);"},
      {"Alcohol..hue", " \"hue\" (did you mean \"Hue\"?);"},
      {"x3", " \"x3\";"},  // x1 and x2 are as near
      {"Proline", " \"Proline\";"},
      {"..Hue", " \"..Hue\";"}};
  for (const auto& [item, told] : cases) {
    try {
      SelectColumns(names, item, "--x");
      ADD_FAILURE() << item;
    } catch (const Failure& failure) {
      EXPECT_THAT(failure.what(), ::testing::HasSubstr("--x: the table has no column" + told));
    }
  }
}

TEST(TableRoles, NumbersAreFoundInNames) {
  const std::vector<std::pair<std::string, std::optional<double>>> cases = {
      {"nm900", 900.0},        {"1100", 1100.0},       {"x1200.5 nm", 1200.5},  {"v1.", 1.0},
      {"plain", std::nullopt}, {"a1b2", std::nullopt}, {"1.2.3", std::nullopt},
  };
  for (const auto& [name, number] : cases) EXPECT_EQ(NumberInName(name), number) << name;
}

TEST(TableRoles, TheFirstColumnNamesRowsUnlessToldOtherwise) {
  EXPECT_EQ(PlanColumns("t", kNames, true, {}).id, 0u);
  EXPECT_EQ(PlanColumns("t", kNames, false, {}).id, std::nullopt);
  EXPECT_EQ(PlanColumns("t", kNames, true, With(&RoleRequest::unused, "id")).id, std::nullopt);
  RoleRequest none;
  none.noId = true;
  EXPECT_EQ(PlanColumns("t", kNames, true, none).CountOf(ColumnRole::kVariable), kNames.size());
  const ColumnPlan plan = PlanColumns("t", kNames, true, With(&RoleRequest::id, "class"));
  EXPECT_EQ(plan.id, 1u);
  EXPECT_EQ(plan.roles[0], ColumnRole::kVariable);
}

TEST(TableRoles, ExcludeTakesBackFromXAndNothingElseOverlaps) {
  const RoleRequest request = With(&RoleRequest::unused, "nm902");
  EXPECT_THAT(
      PlanColumns("t", kNames, true, With(&RoleRequest::variables, "900..910", request)).NamesOf(ColumnRole::kVariable),
      ::testing::ElementsAre("nm900", "nm904"));
  EXPECT_EQ(CodeOf(With(&RoleRequest::classes, "2..3", With(&RoleRequest::unused, "class"))), ExitCode::kWrongUse);
  RoleRequest counted = request;
  counted.named = {{"--counts", "nm902", ColumnRole::kVariable}};
  EXPECT_EQ(CodeOf(counted), ExitCode::kWrongUse);
}

TEST(TableRoles, RepeatedNamesAndEmptyTablesAreBadData) {
  EXPECT_EQ(CodeOf({}, {"id", "a", "a"}), ExitCode::kBadData);
  EXPECT_EQ(CodeOf(With(&RoleRequest::unused, "#3"), {"id", "a", "a"}), ExitCode::kDone);
  EXPECT_EQ(CodeOf(With(&RoleRequest::unused, "#2..#7")), ExitCode::kBadData);
}

}  // namespace
}  // namespace tool
