#include "tools/voran/cluster_heights.h"

#include <cmath>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;
using tool::ClusterMerge;
using tool::HeightRanges;

TEST(ClusterHeights, AreThoseOfTheMergesKeptAndUndone) {
  // From and below, for 2, 3, ... groups.
  const json none = {nullptr, nullptr};
  const std::pair<std::vector<double>, std::vector<json>> cases[] = {
      {{}, {}},
      {{2}, {{0.0, 2.0}}},
      {{1, 2, 2, 4}, {{2.0, 4.0}, none, {1.0, 2.0}, {0.0, 1.0}}},
      {{0, 0}, {none, none}},
      // The second is lower than the first, which it joins: between them no height makes the groups.
      {{5, 4, 6}, {{5.0, 6.0}, none, {0.0, 4.0}}},
      {{3, 5, 4, 4.5, 6}, {{5.0, 6.0}, none, none, {3.0, 4.0}, {0.0, 3.0}}},
      {{5, 6, 4}, {none, none, {0.0, 4.0}}},
      {{1, 2, 3, 4, 5, 6}, {{5.0, 6.0}, {4.0, 5.0}, {3.0, 4.0}, {2.0, 3.0}, {1.0, 2.0}}},
  };
  for (const auto& [heights, expected] : cases) {
    std::vector<ClusterMerge> merges;
    for (const double height : heights) merges.push_back({height, 0, 0, 0});
    std::vector<json> found;
    for (const auto& range : tool::HeightsJson(HeightRanges(merges, 5))) {
      EXPECT_EQ(range["groups"], found.size() + 2);
      found.push_back({range["from"], range["below"]});
    }
    EXPECT_EQ(found, expected) << testing::PrintToString(heights);
  }
}

TEST(ClusterHeights, AreRoundedIntoTheRange) {
  struct Case {
    double from, below, unit;
    std::vector<std::string> cells;  // the number of groups, both heights, the width
  };
  const std::vector<Case> cases = {
      {0.0, 2.0, 1.0, {"2", "0", "1.999", "2.000"}},
      {1.23441F, 9.99951F, 1.0, {"2", "1.235", "9.999", "8.765"}},
      {1.00001F, 1.00009F, 1.0, {"2", "1.00001", "1.00008", "7.999e-05"}},
      {1.0, std::nextafter(1.0F, 2.0F), 1.0, {"2", "1.000", "1.000", "1.192e-07"}},
      {123456.25, 234567.25, 1.0, {"2", "123457", "234567", "111111"}},
      {0.5, 1.0, 0x1p120, {"2", "6.647e+35", "1.329e+36", "6.646e+35"}},
      {1.0, 1.0, 1.0, {"2", "-", "-", "-"}},
  };
  for (const Case& c : cases) {
    const std::string text = tool::HeightLines({{2, c.from * c.unit, c.below * c.unit}}, c.unit);
    std::istringstream line(text.substr(text.find('\n')));
    EXPECT_EQ(std::vector<std::string>(std::istream_iterator<std::string>(line), {}), c.cells);
  }
}

}  // namespace
