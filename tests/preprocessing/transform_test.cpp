#include "voran/preprocessing/transform.h"

#include <cmath>
#include <limits>
#include <locale>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <boost/format/exceptions.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/containers/container_values.h"
#include "tests/platform/catalogue.h"
#include "tests/platform/stream_bytes.h"
#include "voran/platform/configuration_section.h"

namespace {

using ::testing::ElementsAre;
using Columns = NCIntegralVector<int, -99>;
using enum TransformE::Transform;

constexpr float kGap = -99.0F;
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr auto kOk = NCTransformError::kNoError;
constexpr auto kFailed = NCTransformError::kValueFailed;

TransformStruct Make(TransformE::Transform type, float c1, float c2, float c3 = -99.0F) {
  TransformStruct transform;
  transform.SetTransform(type);
  transform.SetConstant(1, c1);
  transform.SetConstant(2, c2);
  transform.SetConstant(3, c3);
  return transform;
}

struct ValueCase {
  TransformStruct transform;
  float before;
  NCTransformError::Error error;
  float after;
};

std::string Describe(const ValueCase& c) {
  std::ostringstream text;
  text << c.transform.GetTransformName();
  for (int i = 1; i <= 3; ++i) text << ' ' << c.transform.GetConstant(i);
  text << " of " << c.before;
  return text.str();
}

void ExpectValue(const ValueCase& c, NCTransformError::Error error, float value) {
  EXPECT_EQ(error, c.error) << Describe(c);
  if (std::isnan(c.after)) {
    EXPECT_TRUE(std::isnan(value)) << Describe(c);
  } else {
    EXPECT_FLOAT_EQ(value, c.after) << Describe(c);
  }
}

TEST(Transform, ValuesAndTheirFailures) {
  const auto odd = static_cast<TransformE::Transform>(8);
  const std::vector<ValueCase> cases = {
      {TransformStruct(), 7, kOk, 7},
      {Make(odd, 2, 3), 7, kOk, 7},
      {Make(kLinear, 2, 3), 7, kOk, 17},
      {Make(kLinear, 1e30F, 0), 1e30F, kOk, kInfinity},  // not tested for
      {Make(kLinear, 1, 0), kNaN, kOk, kNaN},
      {Make(kLog, 2, -20), 60, kOk, 2},
      {Make(kLog, 1, 1), 1e-9F, kOk, 0},                    // the linear term is formed in float,
      {Make(kExponential, 4097, -16785408), 4097, kOk, 1},  // the product rounded before the sum
      {Make(kLog, 1, 0), 0, kFailed, kGap},
      {Make(kLog, 1, 0), -1, kFailed, kGap},
      {Make(kLog, 1, 0), kNaN, kFailed, kGap},
      {Make(kLog, 1, 0), kInfinity, kFailed, kGap},
      {Make(kNegLog, 2, -20), 60, kOk, -2},
      {Make(kNegLog, 1, 0), 0, kFailed, kGap},
      {Make(kLogit, 10, 110), 60, kOk, 0},
      {Make(kLogit, 0, 1.01F), 1, kOk, 2},
      {Make(kLogit, 10, 110), 10, kFailed, kGap},
      {Make(kLogit, 10, 110), 110, kFailed, kGap},
      {Make(kLogit, 10, 110), 111, kFailed, kGap},
      {Make(kExponential, 2, 1), 0.5F, kOk, std::exp(2.0F)},
      {Make(kExponential, 1, 0), 88, kOk, std::exp(88.0F)},
      {Make(kExponential, 1, 0), 89, kFailed, kGap},
      {Make(kExponential, 1, 0), -710, kFailed, kGap},  // denormal
      {Make(kExponential, 1, 0), -800, kOk, 0},
      {Make(kPower, 2, 1, 3), 2, kOk, 125},
      {Make(kPower, 1, 0, 0.5F), -4, kFailed, kGap},
      {Make(kPower, 1, 0, -1), 0, kFailed, kGap},
      {Make(kPower, 1, 0, 2), 1e20F, kFailed, kGap},
  };
  for (const ValueCase& c : cases) {
    float value = c.before;
    const auto error = c.transform.TransformValue(&value);
    ExpectValue(c, error, value);
  }
}

TEST(Transform, ValuesBackAndTheirFailures) {
  const auto odd = static_cast<TransformE::Transform>(-1);
  const std::vector<ValueCase> cases = {
      {TransformStruct(), 7, kOk, 7},
      {Make(odd, 2, 3), 7, kOk, 7},
      {Make(kLinear, 2, 3), 17, kOk, 7},
      {Make(kLinear, 0, 3), 17, kFailed, 17},  // stays, unlike all others
      {Make(kLog, 2, -20), 2, kOk, 60},
      {Make(kLog, 1e10F, 0), 40, kOk, 1e30F},  // beyond the floats on the way only
      {Make(kLog, 1, 0), 40, kFailed, kGap},
      {Make(kLog, 1, 0), 400, kFailed, kGap},
      {Make(kLog, 0, 1), 2, kFailed, kGap},
      {Make(kLog, 0, 1), 0, kFailed, kGap},
      {Make(kNegLog, 2, -20), -2, kOk, 60},
      {Make(kNegLog, 1, 0), -400, kFailed, kGap},
      {Make(kLogit, 10, 110), 0, kOk, 60},
      {Make(kLogit, 0, 1.01F), 2, kOk, 1},
      {Make(kLogit, 10, 110), 400, kFailed, kGap},
      {Make(kLogit, 10, 110), -310, kFailed, kGap},  // denormal
      {Make(kExponential, 2, 1), std::exp(2.0F), kOk, 0.5F},
      {Make(kExponential, 2, 1), 0, kFailed, kGap},
      {Make(kExponential, 2, 1), -1, kFailed, kGap},
      {Make(kExponential, 0, 1), 5, kFailed, kGap},
      {Make(kPower, 2, 1, 3), 125, kOk, 2},
      {Make(kPower, 0, 1, 3), 125, kFailed, kGap},
      {Make(kPower, 1, 0, 2), -1, kFailed, kGap},
      {Make(kPower, 1, 0, 0.5F), 1e30F, kOk, kInfinity},  // not tested for
  };
  for (const ValueCase& c : cases) {
    float value = c.before;
    const auto error = c.transform.BackTransformValue(&value);
    ExpectValue(c, error, value);
  }
}

TEST(Transform, GapPassesEveryType) {
  for (int type = 0; type <= 8; ++type) {
    const TransformStruct transform = Make(static_cast<TransformE::Transform>(type), 0, 3, 0.5F);
    float value = kGap;
    EXPECT_EQ(transform.TransformValue(&value), kOk) << type;
    EXPECT_EQ(transform.BackTransformValue(&value), kOk) << type;
    EXPECT_EQ(value, kGap) << type;
  }
}

// Matrices with values that fail.

using Failure = std::vector<int>;  // row, column, code, whether it was a transform

std::vector<Failure> Failures(const NCTransformErrors* errors) {
  std::vector<Failure> failures;
  if (errors == nullptr) return failures;
  for (const auto& error : *errors) failures.push_back({error.row, error.column, error.error, error.transform});
  return failures;
}

NCTransform LogsOfThree() {
  NCTransform transform(3);
  for (int j = 1; j <= 3; ++j) transform[j] = Make(kLog, 1, 0);
  return transform;
}

const Rows<float> kPartlyGood = {{10, 0, 0}, {100, 10, kGap}, {kGap, -1, 10}};

TEST(Transform, MatrixStopsBehindTheFirstColumnThatFails) {
  NCDataMatrix<float> x = Matrix(kPartlyGood);
  try {
    LogsOfThree().TransformMatrix(&x);
    ADD_FAILURE();
  } catch (const NCTransformError& error) {
    const std::unique_ptr<NCTransformError> clone(error.Clone());
    EXPECT_STREQ(clone->what(), "Value could not be transformed.");
    EXPECT_EQ(clone->GetLevel(), NCError::Level::kGeneral);
    EXPECT_EQ(clone->GetRow(), 1);
    EXPECT_EQ(clone->GetColumn(), 2);
    EXPECT_EQ(clone->GetError(), kFailed);
  }
  EXPECT_EQ(Elements(x), (Rows<float>{{1, kGap, 0}, {2, 1, kGap}, {kGap, kGap, 10}}));
  ExpectRightCounts(x);
}

TEST(Transform, MatrixWithoutBreakTellsAllThatFails) {
  NCDataMatrix<float> x = Matrix(kPartlyGood);
  const NCDataMatrix<float> original = x;
  const std::unique_ptr<NCTransformErrors> errors(LogsOfThree().TransformMatrixNoBreak(&x));
  EXPECT_THAT(Failures(errors.get()), ElementsAre(Failure{1, 2, 2, 1}, Failure{3, 2, 2, 1}, Failure{1, 3, 2, 1}));
  EXPECT_EQ(Elements(x), (Rows<float>{{1, kGap, kGap}, {2, 1, kGap}, {kGap, kGap, 1}}));
  ExpectRightCounts(x);
  EXPECT_EQ(Elements(original), kPartlyGood);

  NCDataMatrix<float> back = Matrix<float>({{1}, {400}});
  const std::unique_ptr<NCTransformErrors> backErrors(Make(kLog, 1, 0).BackTransformColumn(&back, 1));
  EXPECT_THAT(Failures(backErrors.get()), ElementsAre(Failure{2, 1, 2, 0}));
  EXPECT_EQ(Elements(back), (Rows<float>{{10}, {kGap}}));
  EXPECT_STREQ(NCTransformErrors::GetTransformError(*backErrors->begin()).what(),
               "Value could not be backtransformed.");
}

TEST(Transform, MatrixOfAnotherWidthIsLeftAlone) {
  for (const NCTransform& transform : {NCTransform(), NCTransform(1), LogsOfThree()}) {
    NCDataMatrix<float> x = Matrix<float>({{10, 100}});
    const std::unique_ptr<NCTransformErrors> errors(transform.TransformMatrixNoBreak(&x));
    EXPECT_THAT(Failures(errors.get()), ElementsAre(Failure{0, 0, 3, 1}));
    try {
      transform.TransformMatrix(&x);
      ADD_FAILURE();
    } catch (const NCTransformError& error) {
      EXPECT_STREQ(error.what(), "Matrix is of wrong size.");
      EXPECT_THAT((Failure{error.GetRow(), error.GetColumn(), error.GetError()}), ElementsAre(0, 0, 3));
    }
    EXPECT_EQ(Elements(x), (Rows<float>{{10, 100}}));
  }
}

TEST(Transform, FirstHundredErrorsAreListed) {
  const std::string head = "Unable to transform all values\nThe matrix might be partly transformed\n\n\n";
  NCTransformErrors errors;
  EXPECT_EQ(errors.GetErrorMessage().GetText(), head);
  errors.AddError(3, 4, kFailed, true);
  errors.AddError(5, 6, kFailed, false);
  const std::string two =
      "row:3, column:4 Value could not be transformed.\nrow:5, column:6 Value could not be backtransformed.\n";
  EXPECT_EQ(errors.GetErrorMessage().GetText(), head + two);

  std::string fifty;
  for (int i = 0; i < 50; ++i) fifty += two;
  NCTransformErrors many;
  for (int i = 0; i < 25; ++i) many.AppendErrors(errors);
  many.AppendErrors(many);
  EXPECT_EQ(many.size(), 100U);
  EXPECT_EQ(many.GetErrorMessage().GetText(), head + fifty);
  many.AddError(1, 1, kFailed, true);
  EXPECT_EQ(many.GetErrorMessage().GetText(), head + fifty + "\n(1 more errors)\n");
  const std::string context = "At the end of a list of errors. {1} is the number of errors that we don't list";
  const WithCatalogue translated({{context + "\4\n({1} more errors)\n", "und {1} mehr"}});
  EXPECT_EQ(many.GetErrorMessage().GetText(), head + fifty + "und 1 mehr");
}

// Texts.

TEST(Transform, TypesHaveNamesAndFormulas) {
  const std::vector<std::string> names = {"None",  "None",        "Linear", "Log", "NegLog",
                                          "Logit", "Exponential", "Power",  "None"};
  for (std::size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(NCTransform::GetTransformString(static_cast<TransformE::Transform>(i)), names[i]) << i;
  }
  const std::vector<std::string> contexts = {"No transform",
                                             "No transform",
                                             "Linear transform",
                                             "Logarithmic transform",
                                             "Negative Logarithmic transform",
                                             "Logit transform",
                                             "Exponential transform",
                                             "Power transform",
                                             "No transform"};
  Texts texts;
  for (std::size_t i = 0; i < names.size(); ++i) texts.insert(InContext(contexts[i], names[i]));
  const WithCatalogue translated(texts);
  for (std::size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(TransformE::GetTransformName(static_cast<TransformE::Transform>(i)), contexts[i] + ": " + names[i]) << i;
  }
  EXPECT_EQ(TransformE::FormulaStrings[0], nullptr);
  const std::vector<std::string> formulas = {
      "", "C1*X+C2", "10LOG(C1*X+C2)", "-10LOG(C1*X+C2)", "10LOG((X-C1)/(C2-X))", "e^(C1*X+C2)", "(C1*X+C2)^C3"};
  for (std::size_t i = 0; i < formulas.size(); ++i) {
    EXPECT_EQ(TransformE::GetFormula(static_cast<TransformE::Transform>(i + 1)), formulas[i]) << i + 1;
  }
}

class Commas : public std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(Transform, FormulaWithConstantsIsWrittenAlikeInEveryLocale) {
  struct {
    TransformStruct transform;
    std::string html;
    std::string plain;
  } const cases[] = {
      {TransformStruct(), "", ""},
      {Make(static_cast<TransformE::Transform>(8), 1, 1), "", ""},
      {Make(kLinear, 1, 0), "x", "x"},
      {Make(kLinear, 0, 0), "0", "0"},
      {Make(kLinear, 2.5F, 12345), "2.5*x + 12345", "2.5*x + 12345"},
      {Make(kLinear, 2, -5), " - 5", " - 5"},  // the x is lost on purpose
      {Make(kLog, -1, 0), "log<sub>10</sub>(-1*x)", "10log(-1*x)"},
      {Make(kNegLog, 1, -0.5F), "-log<sub>10</sub>( - 0.5)", "-10log( - 0.5)"},
      {Make(kExponential, 0, 1), "e<sup>0 + 1</sup>", "e^(0 + 1)"},
      {Make(kPower, 2, 1, 1), "2*x + 1", "2*x + 1"},
      {Make(kPower, 1, 0, 0), "x<sup>0</sup>", "(x)^0"},
      {Make(kPower, 1, 2, 0.5F), "(x + 2)<sup>0.5</sup>", "(x + 2)^0.5"},
      {Make(kPower, 3, 0, 2), "(3*x)<sup>2</sup>", "(3*x)^2"},
  };
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Commas));
  for (const auto& c : cases) {
    EXPECT_EQ(c.transform.ToString(true), c.html);
    EXPECT_EQ(c.transform.ToString(false), c.plain);
  }
  EXPECT_EQ(Make(kLogit, 1, 2).ToString(true),
            "<table style='display: inline; margin-top: 0pt; margin-bottom: 0pt; text-align: center; vertical-align: "
            "middle;' cellpadding='0' cellspacing='0'><tr><td rowspan='2' nowrap='nowrap'>log<sub>10</sub></td><td "
            "nowrap='nowrap'>2 - x</td></tr><tr><td style='border-top: 1px solid black;' nowrap='nowrap'>x - "
            "1</td></tr></table>");
  EXPECT_THROW(Make(kLogit, 1, 2).ToString(false), boost::io::too_many_args);
  std::locale::global(before);
}

// The value.

TEST(Transform, IsComparedByTypeAndAllConstants) {
  const TransformStruct a = Make(kLinear, 1, 2);
  TransformStruct b(&a);
  EXPECT_TRUE(a == b && !(a != b) && !(a < b) && !(b < a));
  b.SetConstant(0, 5);  // of no effect on values, but seen
  EXPECT_TRUE(a != b && a < b && !(b < a));
  EXPECT_TRUE(b < Make(kLog, 0, 0));
  EXPECT_TRUE(Make(kLog, 0, 5) < Make(kLog, 1, 0));
  EXPECT_EQ(TransformStruct().GetConstant(0), -99.0F);
}

class Settings : public ConfigurationSection {
 public:
  bool GetInt(const std::string& key, int& value) const override {
    const auto found = ints.find(key);
    if (found != ints.end()) value = found->second;
    return found != ints.end();
  }
  void SetInt(const std::string& key, int value) override { ints[key] = value; }
  bool GetFloats(const std::string& key, float* values, int count) const override {
    const auto found = floats.find(key);
    if (found == floats.end() || std::ssize(found->second) != count) return false;
    std::copy(found->second.begin(), found->second.end(), values);
    return true;
  }
  void SetFloats(const std::string& key, const float* values, int count) override {
    floats[key].assign(values, values + count);
  }

  std::map<std::string, int> ints;
  std::map<std::string, std::vector<float>> floats;
};

TEST(Transform, IsKeptInSettings) {
  Settings settings;
  Make(kPower, 1, 2, 3).Save(&settings);
  EXPECT_THAT(settings.ints, ElementsAre(std::pair<const std::string, int>("TransformType", 7)));
  EXPECT_THAT(settings.floats["Constants"], ElementsAre(-99, 1, 2, 3));
  TransformStruct loaded;
  loaded.Load(&settings);
  EXPECT_TRUE(loaded == Make(kPower, 1, 2, 3));
  settings.ints["TransformType"] = 2;
  settings.floats["Constants"].pop_back();
  loaded.Load(&settings);
  EXPECT_TRUE(loaded == Make(kPower, 1, 2, 3));
}

TEST(Transform, FollowsTheColumnsThatAreRemoved) {
  const auto numbered = [] {
    NCTransform transform(5);
    for (int j = 1; j <= 5; ++j) transform[j].SetConstant(1, static_cast<float>(j));
    return transform;
  };
  const auto numbers = [](const NCTransform& transform) {
    std::vector<float> result;
    for (int j = 1; j <= transform.Size(); ++j) result.push_back(transform[j].GetConstant(1));
    return result;
  };
  NCTransform transform = numbered();
  transform.RemoveValues(2, 2);
  EXPECT_THAT(numbers(transform), ElementsAre(1, 4, 5));
  const int removed[] = {5, 1, 5, 9};
  transform = numbered();
  transform.Remove(Columns(removed, 4));
  EXPECT_THAT(numbers(transform), ElementsAre(2, 3, 4));
  NCTransform none;
  none.Remove(Columns(removed, 4));
  EXPECT_EQ(none.Size(), 0);
}

// Files of the older form.

TEST(Transform, OlderFormIsRead) {
  const std::string record = (stored::Int(3) + stored::Elements<float>({1, 2, 4})).All();
  TransformStruct transform;
  transform.SetConstant(0, 8);
  std::istringstream stream(record);
  EXPECT_TRUE(transform.OldRead(stream));
  EXPECT_THAT(std::vector<float>(transform.GetConstants(), transform.GetConstants() + 4), ElementsAre(8, 1, 2, 4));
  EXPECT_EQ(transform.GetTransform(), kLog);
  const TransformStruct before = transform;
  std::istringstream cut(record.substr(0, 15));
  EXPECT_FALSE(transform.OldRead(cut));
  EXPECT_TRUE(transform == before);

  const std::string flat = (stored::Int(2) + stored::Int(3) + stored::Elements<float>({8, 1, 2, 4}) + stored::Int(1) +
                            stored::Elements<float>({-99, -99, -99, -99}))
                               .All();
  NCTransform all(7);
  std::istringstream flatStream(flat);
  EXPECT_TRUE(all.ReadTransforms(flatStream));
  ASSERT_EQ(all.Size(), 2);
  EXPECT_TRUE(all[1] == before);
  EXPECT_TRUE(all[2] == TransformStruct());
  for (const std::string& bad : {flat.substr(0, flat.size() - 1), stored::LittleEndian(0x7FFFFFFF, 4) + "abcd",
                                 stored::LittleEndian(0xFFFFFFFF, 4) + "abcd", std::string()}) {
    std::istringstream badStream(bad);
    EXPECT_FALSE(all.ReadTransforms(badStream));
    EXPECT_EQ(all.Size(), 0);
  }
}

}  // namespace
