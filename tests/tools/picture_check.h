#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace program {

/// How often `part` stands in `text`.
inline std::size_t CountOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

/// Elements open and close in order, no character is left that XML would refuse, and every coordinate is a number.
inline void ExpectWellFormed(const std::string& svg) {
  std::vector<std::string> open;
  std::size_t end = svg.find("<svg");
  ASSERT_NE(end, std::string::npos);
  for (std::size_t begin = end; begin != std::string::npos; begin = svg.find('<', end)) {
    EXPECT_EQ(svg.substr(end, begin - end).find_first_of(">\"\x01\xff"), std::string::npos) << svg.substr(end, 80);
    end = svg.find('>', begin) + 1;
    ASSERT_NE(end, 0u);
    const std::string tag = svg.substr(begin + 1, end - begin - 2);
    EXPECT_EQ(tag.find('<'), std::string::npos) << tag;
    EXPECT_EQ(CountOf(tag, "=\"") * 2, CountOf(tag, "\"")) << tag;
    EXPECT_TRUE(tag.find("nan") == std::string::npos && tag.find("inf") == std::string::npos) << tag;
    if (tag.front() == '/') {
      ASSERT_FALSE(open.empty());
      EXPECT_EQ(open.back(), tag.substr(1));
      open.pop_back();
    } else if (tag.back() != '/') {
      open.push_back(tag.substr(0, tag.find(' ')));
    }
  }
  EXPECT_TRUE(open.empty());
  EXPECT_EQ(svg.substr(end), "\n");
}

}  // namespace program
