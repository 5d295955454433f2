#include "voran/platform/string_compare.h"

#include <locale>
#include <string>

#include <boost/locale/generator.hpp>
#include <gtest/gtest.h>

namespace {

int Sign(int value) {
  return (value > 0) - (value < 0);
}

TEST(StringCompare, IsOfUnsignedBytes) {
  EXPECT_EQ(Sign(VrStdString::Compare("a", "b")), -1);
  EXPECT_EQ(Sign(VrStdString::Compare("ab", "a")), 1);
  EXPECT_EQ(Sign(VrStdString::Compare("a", "a")), 0);
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
      {"", "a", -1, -1, -1},
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
  struct Case {
    const char* text;
    bool isNumber;
    float value;
  };
  const Case cases[] = {
      {"0", true, 0.0F},     {"-2.5", true, -2.5F},  {"+3", true, 3.0F},        {".5", true, 0.5F},
      {"5.", true, 5.0F},    {"1e3", true, 1000.0F}, {"0.1", true, 0.1F},       {"", false, 0.0F},
      {"+", false, 0.0F},    {"+-3", false, 0.0F},   {" 1", false, 0.0F},       {"1 ", false, 0.0F},
      {"1,5", false, 0.0F},  {"1x", false, 0.0F},    {"0x10", false, 0.0F},     {"inf", false, 0.0F},
      {"-nan", false, 0.0F}, {"1e39", false, 0.0F},  {"3.4e38", true, 3.4e38F},
  };
  for (const Case& c : cases) {
    float value = 42.0F;
    EXPECT_EQ(VrString::ToFloat(c.text, value), c.isNumber) << c.text;
    EXPECT_EQ(value, c.isNumber ? c.value : 42.0F) << c.text;
  }
}

}  // namespace
