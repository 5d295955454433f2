#include <cstdint>
#include <functional>
#include <limits>
#include <locale>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/catalogue.h"
#include "voran/platform/exception.h"
#include "voran/platform/exception_message.h"
#include "voran/platform/nc_error.h"

namespace {

TEST(Message, PlaceholdersAreFilled) {
  struct Case {
    const char* text;
    std::function<void(ExceptionMessage&)> fill;
    const char* expected;
  };
  const Case cases[] = {
      {"{2} before {1}, {2} again", [](auto& m) { m % "a" % "b"; }, "b before a, b again"},
      {"{1}{2}{10}", [](auto& m) { m % 1 % 2L % 3 % 4 % 5 % 6 % 7 % 8 % 9 % std::size_t{10}; }, "1210"},
      {"no argument for {1}", [](auto&) {}, "no argument for {1}"},
      {"{0} {-1} {} {x} {1x} {99999999999}", [](auto& m) { m % "a"; }, "{0} {-1} {} {x} {1x} {99999999999}"},
      {"{{1}} } { {1", [](auto& m) { m % "a"; }, "{a} } { {1"},
      {"{1} {2}", [](auto& m) { m % "100 %1% {2} %s {" % std::string("}{1}"); }, "100 %1% {2} %s { }{1}"},
      {"({1})", [](auto& m) { m % static_cast<const char*>(nullptr); }, "()"},
      {"{1} {1}", [](auto& m) { m % std::numeric_limits<std::int64_t>::min(); },
       "-9223372036854775808 -9223372036854775808"},
      {"{1,num=fixed,precision=3} {2}bytes", [](auto& m) { m % 1.25 % "Kilo"; }, "1.250 Kilobytes"},
      {"{1,precision=3} {1} {1,num=sci,precision=1}", [](auto& m) { m % 1234567.0; }, "1.23e+06 1.23457e+06 1.2e+06"},
      {"{1,num=fixed,precision=3} {2}", [](auto& m) { m % "as given" % 0.1F; }, "as given 0.1"},
      {"{1,color=red,precision=x,num=fixed}", [](auto& m) { m % 2.5; }, "2.500000"},
      {"{1,num=fixed,precision=-5}", [](auto& m) { m % -2.0; }, "-2"},
  };
  for (const Case& c : cases) {
    ExceptionMessage message = ExceptionMessage::translate(c.text);
    c.fill(message);
    EXPECT_EQ(message.GetText(), c.expected) << "from " << c.text;
  }
}

TEST(Message, HugeNumbersInHugePrecisionAreWrittenOut) {
  ExceptionMessage message = ExceptionMessage::translate("{1,num=fixed,precision=2000000000}");
  message % std::numeric_limits<double>::lowest();
  EXPECT_THAT(message.GetText(), testing::StartsWith("-17976931348623157"));
}

TEST(Translation, ContextsAreKeptApart) {
  const WithCatalogue catalogue({{"Sorting", "Sortierung"},
                                 {"Cluster analysis\4Sorting", "Abst\u00e4nde werden sortiert"},
                                 {"row:{1}, column:{2}", "Spalte {2}, Zeile {1}"}});
  EXPECT_EQ(detail::TranslateText("Sorting"), "Sortierung");
  EXPECT_EQ(detail::TranslateText("Sorting", "Laundry"), "Sorting");
  EXPECT_EQ(ExceptionMessage::translate("Sorting", "Cluster analysis").GetText(), "Abst\u00e4nde werden sortiert");
  EXPECT_EQ((ExceptionMessage::translate("row:{1}, column:{2}") % 1 % 2).GetText(), "Spalte 2, Zeile 1");
  EXPECT_EQ(detail::TranslateText(""), "");
}

TEST(Translation, IsNeitherTakenFromNorBentByTheGlobalLocale) {
  struct DecimalComma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  const std::locale before = std::locale::global(std::locale(LocaleWith({{"{1} {2}", "wrong"}}), new DecimalComma));
  EXPECT_EQ((ExceptionMessage::translate("{1} {2}") % 12345 % 1.5).GetText(), "12345 1.5");
  EXPECT_EQ(detail::TranslateText("na\u00efve"), "na\u00efve");
  std::locale::global(before);
}

TEST(Translation, LanguageMayChangeWhileOthersTranslate) {
  const std::locale before = ExceptionMessage::SetLocale(std::locale::classic());
  const std::locale german = LocaleWith({{"yes", "ja"}});
  std::thread switcher([&] {
    for (int i = 0; i < 200; ++i) ExceptionMessage::SetLocale(i % 2 ? german : std::locale::classic());
  });
  for (int i = 0; i < 200; ++i) {
    EXPECT_THAT(ExceptionMessage::translate("yes").GetText(), testing::AnyOf("yes", "ja"));
  }
  switcher.join();
  ExceptionMessage::SetLocale(before);
}

}  // namespace
