#include "voran/models/pca.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/models/model_samples.h"
#include "voran/platform/nc_error.h"

namespace samples {
namespace {

/// An iterate stops within a relative squared change of 1e-10, so within some 1e-5 of the eigenvector, a little more
/// where two eigenvalues are near each other.
constexpr double kScoreTolerance = 1e-4;

class Pca : public ModelTest {};

TEST_F(Pca, ComponentsAndResidualsAddUpToTheData) {
  const FloatMatrix x = ToMatrix(ThreeComponents(40, 15, 3));
  NCPCA pca(&x, 500);
  Fit(pca, 4);
  EXPECT_EQ(pca.GetComponents(), 4);
  for (int i = 1; i <= 40; ++i) {
    for (int j = 1; j <= 15; ++j) {
      const double rest = static_cast<double>((*pca.GetResiduals())[i][j]);
      EXPECT_NEAR(rest + Dot(pca.GetTprim()->GetColumn(i), pca.GetPprim()->GetColumn(j)), x[i][j], 1e-4);
    }
  }
  for (int a = 1; a <= 4; ++a) {
    EXPECT_NEAR(Dot((*pca.GetPprim())[a], (*pca.GetPprim())[a]), 1.0, 1e-6) << "unit length";
    for (int b = 1; b < a; ++b) {
      EXPECT_NEAR(Dot((*pca.GetPprim())[a], (*pca.GetPprim())[b]), 0.0, kScoreTolerance) << "loadings are orthogonal";
    }
  }
}

/// One round of the iteration in its single steps, each through the public interface of the matrix.
struct StepwiseFit {
  FloatVector p;
  FloatVector t;
  int rounds = 0;

  StepwiseFit(const FloatMatrix& x, int limit, const Groups* groups, int excludeValue, const FloatVector& start,
              std::vector<double>* changes = nullptr)
      : p(x.SizeColumns()), t(start) {
    for (double change = 1.0; change > 1e-10 && (rounds < limit || rounds == 0); ++rounds) {
      const FloatVector old = t;
      p = x.SpecialNipalsRegressColumnsFix(t, groups, excludeValue);
      p.Normalise();
      t = x.SpecialNipalsRegressRowsFix(p, groups, excludeValue);
      change = t.Difference(old);
      if (changes != nullptr) changes->push_back(change);
    }
  }
};

/// The model reads X once a round; the numbers are those of the single steps, bit for bit, gaps and groups or not.
TEST_F(Pca, EqualsTheSingleStepsBitForBit) {
  Groups groups(90, 0);
  for (int j = 3; j <= 90; j += 7) groups(j, 1);
  FloatMatrix emptyRowAndColumn = WithGaps(ToMatrix(ThreeComponents(300, 90, 5)), 8);
  emptyRowAndColumn.SetRow(17, kGap);
  emptyRowAndColumn.SetColumn(4, kGap);
  const FloatMatrix complete = ToMatrix(ThreeComponents(700, 90, 4));
  for (const FloatMatrix& x :
       {complete, WithGaps(complete, 9), emptyRowAndColumn, ToMatrix(ThreeComponents(9, 90, 6))}) {
    for (const Groups* given : {static_cast<const Groups*>(nullptr), static_cast<const Groups*>(&groups)}) {
      for (const int limit : {0, 1, 3, 200}) {
        SCOPED_TRACE(::testing::Message() << x.SizeRows() << " rows, " << x.GetNumMisVal() << " gaps, limit " << limit);
        NCPCA pca(&x, limit);
        pca.NextComponent(nullptr, given, 1, nullptr);
        const StepwiseFit steps(x, limit, given, 1, x.GetNIPALSStartColumn());
        EXPECT_EQ(pca.GetIterations(), steps.rounds);
        EXPECT_TRUE((*pca.GetPprim())[1] == steps.p);
        EXPECT_TRUE((*pca.GetTprim())[1] == steps.t);
        EXPECT_EQ((*pca.GetTprim()).GetNumMisVal(), steps.t.GetNumMisVal());
      }
    }
  }
}

TEST_F(Pca, OneObservationNeedsNoIteration) {
  const FloatMatrix x = ToMatrix({{3.0, 0.0, 4.0}});
  NCPCA pca(&x, 50);
  pca.NextComponent(nullptr, nullptr, 0, nullptr);
  EXPECT_EQ(pca.GetIterations(), 1);
  EXPECT_EQ((*pca.GetTprim())[1][1], 5.0f);
  EXPECT_EQ((*pca.GetPprim())[1][3], 0.8f);
}

TEST_F(Pca, WhatCannotBeComputedIsTold) {
  const float infinity = std::numeric_limits<float>::infinity();
  const FloatMatrix matrices[] = {FloatMatrix(3, 2, kGap), FloatMatrix(3, 2, infinity), FloatMatrix(3, 2, 3e38f)};
  for (const FloatMatrix& x : matrices) {
    NCPCA pca(&x, 10);
    EXPECT_EQ(ErrorOf([&] { pca.NextComponent(nullptr, nullptr, 0, nullptr); }),
              std::pair(NCError::Level::kGeneral, std::string("PCA component could not be computed.")));
    EXPECT_EQ(pca.GetComponents(), 1) << "the count is one ahead";
    EXPECT_EQ(pca.GetPprim()->SizeRows() + pca.GetTprim()->SizeRows(), 0);
  }
  const FloatVector zeros(3, 0.0f);  // no score gives a loading
  const FloatMatrix x(3, 2, 1.0f);
  NCPCA nowhere(&x, 7);
  EXPECT_THROW(nowhere.NextComponent(nullptr, nullptr, 0, &zeros), NCError);
}

/// The bar runs from the first round's distance to convergence down to none, in powers of ten of the relative change.
TEST_F(Pca, ProgressShowsHowFarTheIterationIsFromItsEnd) {
  const FloatMatrix x = ToMatrix(ThreeComponents(60, 12, 6));
  std::vector<double> changes;
  const StepwiseFit steps(x, 500, nullptr, 0, x.GetNIPALSStartColumn(), &changes);
  NCPCA pca(&x, 500);
  const auto display = Shown([&] { pca.NextComponent(nullptr, nullptr, 0, nullptr); });
  EXPECT_EQ(display->text, "PC Component 1");
  ASSERT_EQ(display->fractions.size(), changes.size() - 1) << "a position for every round but the first";
  const double first = std::log10(changes.front()) + 10.0;
  for (std::size_t i = 0; i < display->fractions.size(); ++i) {
    const double expected = std::clamp(1.0 - (std::log10(changes[i + 1]) + 10.0) / first, 0.0, 1.0);
    EXPECT_NEAR(display->fractions[i], expected, 1e-5) << "round " << i + 2;
  }
}

/// Standard scores of a row without variance are all missing, which the matrix does not count.
TEST_F(Pca, ARowThatHasNoStandardScoresHasNoScore) {
  FloatMatrix x = ToMatrix(ThreeComponents(12, 9, 7));
  FloatMatrix others = x;
  others.RemoveRows(5, 1);
  x.SetRow(5, 2.5f);
  x = x.SNV();
  others = others.SNV();
  ASSERT_EQ(x.GetNumMisVal(), 0);
  NCPCA whole(&x, 500), part(&others, 500);
  for (NCPCA* pca : {&whole, &part}) Fit(*pca, 1);
  const FloatVector& t = whole.GetTprim()->back();
  EXPECT_EQ(t[5], kGap);
  EXPECT_EQ(t.GetNumMisVal(), 1);
  for (int j = 1; j <= 9; ++j) {
    EXPECT_NEAR(std::abs(whole.GetPprim()->back()[j]), std::abs(part.GetPprim()->back()[j]), kScoreTolerance);
  }
}

/// What a model knows of its residuals must not outlive them.
TEST_F(Pca, AComponentStartsFromTheResidualsAsTheyAre) {
  const FloatMatrix x = ToMatrix(ThreeComponents(30, 8, 6));
  PlainMatrix reversed = ThreeComponents(30, 8, 7);
  for (auto& row : reversed) std::reverse(row.begin(), row.end());
  const FloatMatrix other = ToMatrix(reversed);
  const auto expectNextAsFromResiduals = [](NCPCA& pca) {
    NCPCA fresh(pca.GetResiduals(), 500);
    fresh.NextComponent(nullptr, nullptr, 0, nullptr);
    pca.NextComponent(nullptr, nullptr, 0, nullptr);
    EXPECT_EQ(pca.GetIterations(), fresh.GetIterations());
    EXPECT_EQ((*pca.GetPprim())[pca.GetComponents()], (*fresh.GetPprim())[1]);
  };
  NCPCA pca(&x, 500);
  Fit(pca, 1);
  alignas(NCPCA) unsigned char room[sizeof(NCPCA)];
  NCPCA* const copy = new (room) NCPCA(pca);  // never destroyed: only one of the two may be
  Fit(pca, 1);
  expectNextAsFromResiduals(*copy);

  NCPCA written(&other, 500);
  written.NextComponent(nullptr, nullptr, 0, nullptr);
  std::stringstream stream;
  ASSERT_TRUE(written.VStreamableStartWrite(stream));
  NCPCA read(&x, 500);
  Fit(read, 1);
  ASSERT_TRUE(read.VStreamableStartRead(stream));
  expectNextAsFromResiduals(read);
}

}  // namespace
}  // namespace samples
