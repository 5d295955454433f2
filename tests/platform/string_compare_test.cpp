#include "voran/platform/string_compare.h"

#include <locale>
#include <string>
#include <utility>

#include <boost/locale/generator.hpp>
#include <gtest/gtest.h>

namespace {

int Sign(int value) {
  return (value > 0) - (value < 0);
}

TEST(StringCompare, IsOfUnsignedBytes) {
  EXPECT_EQ(Sign(VrStdString::Compare("z", "\xC3\xA4")), -1);
  EXPECT_EQ(Sign(VrStdString::Compare(std::string("a\0b", 3), std::string("a\0c", 3))), -1);
}

TEST(StringCompare, FoldsCaseAsTheLocaleHasIt) {
  const std::locale classic = std::locale::classic();
  const std::locale utf8("C.UTF-8");
  const std::locale unicode = boost::locale::generator()("en_US.UTF-8");
  struct Case {
    const char* a;
    const char* b;
    int inClassic, inUtf8, inUnicode;
  };
  const Case cases[] = {
      {"Abc", "aBC", 0, 0, 0},
      {"B", "a", 1, 1, 1},
      {"a_", "aB", -1, -1, -1},                    // folded to lower case, the underscore comes first
      {"\xC3\x84pfel", "\xC3\xA4PFEL", -1, 0, 0},  // A with two dots: beyond ASCII, the classic locale knows no case
      {"\xC3\x84", "\xC3\xA5", -1, -1, -1},        // never a match of halves of characters
      {"stra\xC3\x9F"
       "e",
       "STRASSE", 1, 1, 0},                // sharp s
      {"\xC4pfel", "\xE4PFEL", -1, 0, 0},  // not UTF-8: Latin-1
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Sign(VrStdString::CompareNoCase(c.a, c.b, classic)), c.inClassic) << c.a << ' ' << c.b;
    EXPECT_EQ(Sign(VrStdString::CompareNoCase(c.a, c.b, utf8)), c.inUtf8) << c.a << ' ' << c.b;
    EXPECT_EQ(Sign(VrStdString::CompareNoCase(c.a, c.b, unicode)), c.inUnicode) << c.a << ' ' << c.b;
    EXPECT_EQ(Sign(VrStdString::CompareNoCase(c.b, c.a, utf8)), -c.inUtf8) << c.b << ' ' << c.a;
  }
}

TEST(ToFloat, ReadsWholeFiniteDecimalNumbersOnly) {
  float value = 42.0F;
  for (const char* text : {"", "+", "+-3", " 1", "1 ", "1,5", "0x10", "inf", "-nan", "1e39"}) {
    EXPECT_FALSE(VrString::ToFloat(text, value)) << text;
    EXPECT_EQ(value, 42.0F) << text;
  }
  const std::pair<const char*, float> numbers[] = {{"-2.5", -2.5F},  {"+3", 3.0F},  {".5", 0.5F},       {"5.", 5.0F},
                                                   {"1e3", 1000.0F}, {"0.1", 0.1F}, {"3.4e38", 3.4e38F}};
  for (const auto& [text, expected] : numbers) {
    EXPECT_TRUE(VrString::ToFloat(text, value)) << text;
    EXPECT_EQ(value, expected) << text;
  }
}

}  // namespace
