#include "voran/models/significance.h"

#include <gtest/gtest.h>

#include "voran/models/pls_cross_validation.h"

namespace {

using S = SignificanceE;

TEST(Significance, NamesAndVerdicts) {
  const struct {
    const char* name;
    bool isSignificant;
  } expected[] = {{"R1", true}, {"R2", true},  {"R5", true},  {"NS", false}, {"N3", false}, {"N4", false},
                  {"U", false}, {"NA", false}, {"RB1", true}, {"RB2", true}, {"NB1", false}};
  for (int value = 0; value < 11; ++value) {
    EXPECT_STREQ(S::GetSignificance(static_cast<S::Significance>(value)), expected[value].name);
    EXPECT_EQ(S::IsSignificant(static_cast<S::Significance>(value)), expected[value].isSignificant) << value;
  }
}

/// The first rule that applies decides; comparisons are strict.
TEST(Significance, TheRulesInTheirOrder) {
  const NCDataVector<float> little = {0.03f, 0.01f};
  const NCDataVector<float> much = {0.01f, 0.031f};
  const NCDataVector<float> none = {};
  constexpr float kLimit = 0.05f;
  const struct {
    const char* what;
    int observations, xVariables, yVariables, components;
    float r2x;
    const NCDataVector<float>& r2y;
    float q2;
    S::Significance verdict;
  } cases[] = {
      {"five rows allow one component", 5, 20, 2, 2, 0.5f, much, 0.9f, S::kN3},
      {"and that one is allowed", 5, 20, 2, 1, 0.5f, much, 0.9f, S::kR1},
      {"as many components as variables", 50, 3, 2, 3, 0.5f, much, 0.9f, S::kN3},
      {"explains too little", 50, 20, 2, 1, 0.009f, little, 0.9f, S::kN4},
      {"exactly a hundredth of X is enough", 50, 20, 2, 1, 0.01f, little, 0.9f, S::kR1},
      {"some of one response is enough", 50, 20, 2, 1, 0.009f, much, 0.9f, S::kR1},
      {"without responses X decides", 50, 20, 0, 1, 0.009f, none, 0.9f, S::kN4},
      {"Q2 at the limit is not above it", 50, 20, 2, 1, 0.5f, much, kLimit, S::kNS},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(PLSCrossValidation::GetSignificance(c.observations, c.xVariables, c.yVariables, c.components, c.r2x,
                                                  c.r2y, c.q2, NCDataVector<float>(c.yVariables, kLimit), kLimit),
              c.verdict)
        << c.what;
  }
}

TEST(Significance, EnoughSingleResponsesMakeUpForTheWhole) {
  const struct {
    int responses, needed;
  } cases[] = {{1, 1},  {2, 1},  {3, 2},  {4, 2},  {6, 2},  {7, 3},  {12, 3}, {13, 4},
               {20, 4}, {21, 5}, {24, 5}, {25, 5}, {27, 5}, {28, 6}, {40, 8}};
  for (const auto& c : cases) {
    for (const int above : {c.needed - 1, c.needed}) {
      NCDataVector<float> q2y(c.responses, 0.05f);
      for (int m = 1; m <= above; ++m) q2y(m, 0.06f);
      EXPECT_EQ(PLSCrossValidation::GetSignificance(100, 100, c.responses, 1, 0.5f, q2y, 0.0f, q2y, 0.05f),
                above == c.needed ? S::kR2 : S::kNS)
          << above << " of " << c.responses;
    }
  }
}

}  // namespace
