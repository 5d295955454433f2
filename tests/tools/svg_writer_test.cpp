#include "tools/voran/svg_writer.h"

#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gtest/gtest.h>

#include "tools/voran/chart_axis.h"

namespace {

TEST(SvgWriter, TextIsEscapedAndValid) {
  const std::pair<const char*, const char*> cases[] = {
      {"a<b>&\"c'", "a&lt;b&gt;&amp;&quot;c'"},
      {"\t\x01\x7f\n.", "    ."},
      {"\xc3\xa4 \xe2\x82\xac \xf0\x9f\x98\x80", "\xc3\xa4 \xe2\x82\xac \xf0\x9f\x98\x80"},
      {"\xe4x", "\xef\xbf\xbdx"},                                                // Latin-1
      {"\xc3", "\xef\xbf\xbd"},                                                  // cut off
      {"\xc0\x80", "\xef\xbf\xbd\xef\xbf\xbd"},                                  // overlong
      {"\xed\xa0\x80", "\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd"},                  // a surrogate
      {"\xf4\x90\x80\x80", "\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd"},  // beyond the last character
      {"\xef\xbf\xbf", " "},                                                     // none of XML's
  };
  for (const auto& [text, escaped] : cases) EXPECT_EQ(tool::EscapedXml(text), escaped) << text;
}

TEST(SvgWriter, APictureAsAWhole) {
  tool::SvgWriter svg(20.0, 10.5, "a & b");
  svg.BeginGroup({{"stroke", "red"}});
  svg.Line(-0.001, 1.0 / 3.0, 1e4, 2.999, {});
  svg.EndGroup();
  svg.Text(1.0, 2.0, "<", {{"fill", "a\"b"}}, "hint");
  const std::string text = svg.Finish();
  EXPECT_NE(text.find("width=\"20\" height=\"10.5\" viewBox=\"0 0 20 10.5\""), std::string::npos);
  EXPECT_NE(text.find(">\n<title>a &amp; b</title>\n<rect width=\"20\" height=\"10.5\" fill=\"#ffffff\"/>\n"
                      "<g stroke=\"red\">\n<line x1=\"0\" y1=\"0.33\" x2=\"10000\" y2=\"3\"/>\n</g>\n"
                      "<text x=\"1\" y=\"2\" fill=\"a&quot;b\"><title>hint</title>&lt;</text>\n</svg>\n"),
            std::string::npos)
      << text;
}

TEST(ChartAxis, TicksAreRoundAndWithin) {
  struct Case {
    double low, high;
    const char* labels;
  };
  const double infinity = std::numeric_limits<double>::infinity();
  const std::vector<Case> cases = {
      {0.0, 91.3, "0 20 40 60 80"},
      {-1.0, 1.1, "-1.0 -0.5 0.0 0.5 1.0"},
      {900.0, 1700.0, "900 1000 1100 1200 1300 1400 1500 1600 1700"},
      {0.0, 2.5e-6, "0 5e-07 1e-06 1.5e-06 2e-06 2.5e-06"},
      {12345600.0, 12348600.0, "1.2346e+07 1.23465e+07 1.2347e+07 1.23475e+07 1.2348e+07 1.23485e+07"},
      {0.123451, 0.123454, "0.123451 0.1234515 0.123452 0.1234525 0.123453 0.1234535 0.123454"},
      {0.0, 0.0, ""},
      {1.0, 0.0, ""},
      {0.0, infinity, ""},
      {0.0, std::numeric_limits<double>::quiet_NaN(), ""},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(fmt::format("{}", fmt::join(tool::TickLabels(tool::RoundTicks(c.low, c.high, 6)), " ")), c.labels);
  }
  const tool::ChartAxis axis = {0.0, 10.0, 100.0, 20.0};
  EXPECT_DOUBLE_EQ(axis.At(2.5), 80.0);
  EXPECT_DOUBLE_EQ((tool::ChartAxis{3.0, 3.0, 5.0, 9.0}).At(3.0), 5.0);
}

TEST(SvgWriter, WidthsAreNoLessThanThoseOfHelvetica) {
  // Adobe Font Metrics for Helvetica, summed by hand, in thousandths.
  EXPECT_GE(tool::TextWidth("Wisconsin", 1000.0), 944 + 222 + 500 + 500 + 556 + 556 + 500 + 222 + 556);
  EXPECT_GE(tool::TextWidth("w001", 1000.0), 722 + 3 * 556);
  EXPECT_LE(tool::TextWidth("w001", 1000.0), 1.25 * (722 + 3 * 556));
  EXPECT_DOUBLE_EQ(tool::TextWidth("\xe6\xb0\xb4", 12.0), 12.0);
}

}  // namespace
