#include "voran/models/pca.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <new>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/models/model_samples.h"
#include "voran/containers/simd_target.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/progress.h"
#include "voran/platform/threading_control.h"

namespace {

using NCMultiThreading::ThreadingControl;
using Groups = NCIntegralVector<int, -99>;
using samples::Dot;
using samples::Fit;
using samples::FloatMatrix;
using samples::FloatVector;
using samples::kGap;
using samples::PlainMatrix;
using samples::ThreeComponents;
using samples::ToMatrix;
using samples::WithGaps;

/// An iterate stops within a relative squared change of 1e-10, so within some 1e-5 of the eigenvector, a little more
/// where two eigenvalues are near each other.
constexpr double kScoreTolerance = 1e-4;

/// Singular vectors by one-sided Jacobi rotations of the columns, in double: after it the columns are u * s.
struct JacobiSvd {
  PlainMatrix scaled;  ///< rows x columns, columns by descending length
  PlainMatrix right;   ///< columns x columns, the loading of component a in column a
};

JacobiSvd Decompose(PlainMatrix x) {
  const std::size_t columns = x.front().size();
  double total = 0.0;
  for (const auto& row : x) total = std::inner_product(row.begin(), row.end(), row.begin(), total);
  PlainMatrix v(columns, std::vector<double>(columns));
  for (std::size_t j = 0; j < columns; ++j) v[j][j] = 1.0;
  const auto rotate = [](PlainMatrix& m, std::size_t j, std::size_t k, double c, double s) {
    for (auto& row : m) {
      const double a = row[j];
      row[j] = c * a - s * row[k];
      row[k] = s * a + c * row[k];
    }
  };
  for (bool rotated = true; rotated;) {
    rotated = false;
    for (std::size_t j = 0; j + 1 < columns; ++j) {
      for (std::size_t k = j + 1; k < columns; ++k) {
        double jj = 0.0;
        double kk = 0.0;
        double jk = 0.0;
        for (const auto& row : x) {
          jj += row[j] * row[j];
          kk += row[k] * row[k];
          jk += row[j] * row[k];
        }
        if (std::abs(jk) <= 1e-13 * std::sqrt(jj * kk) || std::abs(jk) <= 1e-16 * total) continue;
        rotated = true;
        const double zeta = (kk - jj) / (2.0 * jk);
        const double tangent = std::copysign(1.0, zeta) / (std::abs(zeta) + std::hypot(1.0, zeta));
        const double cosine = 1.0 / std::hypot(1.0, tangent);
        rotate(x, j, k, cosine, cosine * tangent);
        rotate(v, j, k, cosine, cosine * tangent);
      }
    }
  }
  std::vector<std::size_t> order(columns);
  std::iota(order.begin(), order.end(), std::size_t{0});
  const auto length = [&](std::size_t j) {
    double sum = 0.0;
    for (const auto& row : x) sum += row[j] * row[j];
    return sum;
  };
  std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return length(a) > length(b); });
  JacobiSvd svd{x, v};
  for (std::size_t a = 0; a < columns; ++a) {
    for (std::size_t i = 0; i < x.size(); ++i) svd.scaled[i][a] = x[i][order[a]];
    for (std::size_t j = 0; j < columns; ++j) svd.right[j][a] = v[j][order[a]];
  }
  return svd;
}

class Pca : public ::testing::Test {
 protected:
  void TearDown() override { ThreadingControl::Reset(); }
};

TEST_F(Pca, ScoresAndLoadingsAreTheSingularVectors) {
  const std::pair<std::size_t, std::size_t> shapes[] = {{60, 8}, {12, 30}, {1700, 20}};
  for (const auto& [rows, columns] : shapes) {
    SCOPED_TRACE(::testing::Message() << rows << " x " << columns);
    const PlainMatrix x = ThreeComponents(rows, columns, 7);
    const JacobiSvd svd = Decompose(x);
    const FloatMatrix matrix = ToMatrix(x);
    NCPCA pca(&matrix, 500);
    Fit(pca, 3);
    for (std::size_t a = 0; a < 3; ++a) {
      const int component = static_cast<int>(a) + 1;
      const FloatVector& p = (*pca.GetPprim())[component];
      const FloatVector& t = (*pca.GetTprim())[component];
      double cosine = 0.0;
      for (std::size_t j = 0; j < columns; ++j) {
        cosine += svd.right[j][a] * static_cast<double>(p[static_cast<int>(j) + 1]);
      }
      const double sign = cosine < 0.0 ? -1.0 : 1.0;
      double scale = 0.0;
      for (const auto& row : svd.scaled) scale = std::max(scale, std::abs(row[a]));
      for (std::size_t i = 0; i < rows; ++i) {
        ASSERT_NEAR(t[static_cast<int>(i) + 1], sign * svd.scaled[i][a], kScoreTolerance * scale) << "row " << i;
      }
      for (std::size_t j = 0; j < columns; ++j) {
        ASSERT_NEAR(p[static_cast<int>(j) + 1], sign * svd.right[j][a], kScoreTolerance) << "column " << j;
      }
    }
  }
}

TEST_F(Pca, ComponentsAndResidualsAddUpToTheData) {
  const FloatMatrix x = ToMatrix(ThreeComponents(40, 15, 3));
  NCPCA pca(&x, 500);
  Fit(pca, 4);
  EXPECT_EQ(pca.GetComponents(), 4);
  for (int i = 1; i <= 40; ++i) {
    for (int j = 1; j <= 15; ++j) {
      double sum = static_cast<double>((*pca.GetResiduals())[i][j]);
      for (int a = 1; a <= 4; ++a) {
        sum += static_cast<double>((*pca.GetTprim())[a][i]) * static_cast<double>((*pca.GetPprim())[a][j]);
      }
      EXPECT_NEAR(sum, x[i][j], 1e-4);
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
  for (int j = 1; j <= 90; ++j) emptyRowAndColumn(17, j, kGap);
  for (int i = 1; i <= 300; ++i) emptyRowAndColumn(i, 4, kGap);
  const FloatMatrix matrices[] = {ToMatrix(ThreeComponents(700, 90, 4)),
                                  WithGaps(ToMatrix(ThreeComponents(700, 90, 4)), 9), emptyRowAndColumn,
                                  ToMatrix(ThreeComponents(9, 90, 6))};
  for (const FloatMatrix& x : matrices) {
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

TEST_F(Pca, TheSameBitsAtAnyThreadCountAndOnAnyTarget) {
  const FloatMatrix x = WithGaps(ToMatrix(ThreeComponents(7000, 80, 2)), 3);  // enough for several threads
  const auto fit = [&x] {
    NCPCA pca(&x, 100);
    Fit(pca, 2);
    return std::pair(*pca.GetTprim(), *pca.GetResiduals());
  };
  ThreadingControl::SetThreadingIsOn(false);
  const auto expected = fit();
  for (const int threads : {2, 3, 7}) {
    ThreadingControl::SetNumberOfProcessors(threads);
    ThreadingControl::SetThreadingIsOn(true);
    const auto result = fit();
    for (int a = 1; a <= 2; ++a) EXPECT_TRUE(result.first[a] == expected.first[a]) << threads << " threads";
    for (int i = 1; i <= 900; ++i) ASSERT_TRUE(result.second[i] == expected.second[i]) << "row " << i;
  }
  const std::string best = SimdTarget::GetName();
  for (const std::string& target : SimdTarget::GetAvailable()) {
    SimdTarget::Set(target);
    const auto result = fit();
    for (int a = 1; a <= 2; ++a) EXPECT_TRUE(result.first[a] == expected.first[a]) << target;
  }
  SimdTarget::Set(best);
}

TEST_F(Pca, GapsAreBridged) {
  const FloatMatrix complete = ToMatrix(ThreeComponents(200, 30, 5));
  const FloatMatrix gaps = WithGaps(complete, 1);
  NCPCA reference(&complete, 500);
  NCPCA pca(&gaps, 500);
  Fit(reference, 3);
  Fit(pca, 3);
  for (int a = 1; a <= 3; ++a) {
    EXPECT_EQ(pca.GetTprim()->GetNumMisVal(), 0);
    EXPECT_GT(std::abs(Dot((*pca.GetPprim())[a], (*reference.GetPprim())[a])), 0.995) << "component " << a;
  }
  EXPECT_EQ(pca.GetResiduals()->GetNumMisVal(), gaps.GetNumMisVal()) << "a gap stays a gap";
}

TEST_F(Pca, AnEmptyRowHasNoScoreAndAnEmptyColumnNoLoading) {
  FloatMatrix x = ToMatrix(ThreeComponents(20, 6, 5));
  for (int j = 1; j <= 6; ++j) x(3, j, kGap);
  for (int i = 1; i <= 20; ++i) x(i, 2, kGap);
  NCPCA pca(&x, 500);
  pca.NextComponent(nullptr, nullptr, 0, nullptr);
  EXPECT_EQ((*pca.GetTprim())[1][3], kGap);
  EXPECT_EQ(pca.GetTprim()->GetNumMisVal(), 1);
  // With a score missing, a column without any pair regresses to 0 over a floor.
  EXPECT_EQ((*pca.GetPprim())[1][2], 0.0f);
  pca.CalculateResiduals();
  EXPECT_EQ(pca.GetResiduals()->GetNumMisVal(), x.GetNumMisVal());
}

TEST_F(Pca, AnExcludedGroupOfVariablesPlaysNoPart) {
  const PlainMatrix plain = ThreeComponents(30, 10, 6);
  PlainMatrix kept = plain;
  for (auto& row : kept) row.resize(7);
  Groups groups(10, 0);
  for (int j = 8; j <= 10; ++j) groups(j, 2);
  const FloatMatrix x = ToMatrix(plain);
  const FloatMatrix part = ToMatrix(kept);
  const FloatVector start(30, 1.0f);
  NCPCA excluded(&x, 500);
  NCPCA alone(&part, 500);
  excluded.NextComponent(nullptr, &groups, 2, &start);
  alone.NextComponent(nullptr, nullptr, 0, &start);
  for (int i = 1; i <= 30; ++i) EXPECT_FLOAT_EQ((*excluded.GetTprim())[1][i], (*alone.GetTprim())[1][i]);
  for (int j = 8; j <= 10; ++j) EXPECT_EQ((*excluded.GetPprim())[1][j], kGap);
  EXPECT_NEAR((*excluded.GetPprim())[1].GetSS(), 1.0, 1e-6);
}

TEST_F(Pca, OneObservationNeedsNoIteration) {
  const FloatMatrix x = ToMatrix({{3.0, 0.0, 4.0}});
  NCPCA pca(&x, 50);
  pca.NextComponent(nullptr, nullptr, 0, nullptr);
  EXPECT_EQ(pca.GetIterations(), 1);
  EXPECT_EQ((*pca.GetTprim())[1][1], 5.0f);
  EXPECT_EQ((*pca.GetPprim())[1][3], 0.8f);
}

TEST_F(Pca, TheLimitStopsTheIterationAndIsNoFailure) {
  const FloatMatrix x = ToMatrix(ThreeComponents(30, 10, 6));
  for (const int limit : {0, 1, 2}) {
    NCPCA pca(&x, limit);
    EXPECT_TRUE(pca.NextComponent(nullptr, nullptr, 0, nullptr));
    EXPECT_EQ(pca.GetIterations(), std::max(limit, 1));
  }
  const FloatVector zeros(30, 0.0f);
  NCPCA nowhere(&x, 7);
  EXPECT_THROW(nowhere.NextComponent(nullptr, nullptr, 0, &zeros), NCError) << "no loading without a score";
}

TEST_F(Pca, AModelGoesOnFromItsMatrices) {
  const FloatMatrix x = ToMatrix(ThreeComponents(30, 10, 6));
  NCPCA whole(&x, 500);
  Fit(whole, 2);
  NCPCA first(&x, 500);
  Fit(first, 1);
  NCPCA rest(first.GetResiduals(), first.GetPprim(), first.GetTprim(), 500);
  EXPECT_EQ(rest.GetComponents(), 1);
  Fit(rest, 1);
  EXPECT_TRUE((*rest.GetTprim())[2] == (*whole.GetTprim())[2]);
  EXPECT_EQ(first.GetTprim()->SizeRows(), 1) << "the first model keeps its own";
}

TEST_F(Pca, WhatCannotBeComputedIsTold) {
  const float infinity = std::numeric_limits<float>::infinity();
  const FloatMatrix matrices[] = {FloatMatrix(3, 2, kGap), FloatMatrix(3, 2, infinity), FloatMatrix(3, 2, 3e38f)};
  for (const FloatMatrix& x : matrices) {
    NCPCA pca(&x, 10);
    try {
      pca.NextComponent(nullptr, nullptr, 0, nullptr);
      FAIL() << "no error";
    } catch (const NCError& error) {
      EXPECT_STREQ(error.what(), "PCA component could not be computed.");
      EXPECT_EQ(error.GetLevel(), NCError::Level::kGeneral);
    }
    EXPECT_EQ(pca.GetComponents(), 1) << "the count is one ahead";
    EXPECT_EQ(pca.GetPprim()->SizeRows() + pca.GetTprim()->SizeRows(), 0);
  }
}

/// The bar runs from the first round's distance to convergence down to none, in powers of ten of the relative change.
TEST_F(Pca, ProgressShowsHowFarTheIterationIsFromItsEnd) {
  const FloatMatrix x = ToMatrix(ThreeComponents(60, 12, 6));
  std::vector<double> changes;
  const StepwiseFit steps(x, 500, nullptr, 0, x.GetNIPALSStartColumn(), &changes);
  const auto display = std::make_shared<samples::RecordingDisplay>();
  NCProgress::SetDisplay(display);
  NCPCA pca(&x, 500);
  pca.NextComponent(nullptr, nullptr, 0, nullptr);
  NCProgress::SetDisplay(nullptr);
  EXPECT_EQ(display->text, "PC Component 1");
  ASSERT_EQ(display->fractions.size(), changes.size() - 1) << "a position for every round but the first";
  const double first = std::log10(changes.front()) + 10.0;
  for (std::size_t i = 0; i < display->fractions.size(); ++i) {
    const double expected = std::clamp(1.0 - (std::log10(changes[i + 1]) + 10.0) / first, 0.0, 1.0);
    EXPECT_NEAR(display->fractions[i], expected, 1e-5) << "round " << i + 2;
  }
}

TEST_F(Pca, ACopySharesTheMatrices) {
  const FloatMatrix x = ToMatrix(ThreeComponents(10, 4, 6));
  NCPCA pca(&x, 50);
  alignas(NCPCA) unsigned char room[sizeof(NCPCA)];
  const NCPCA* const copy = new (room) NCPCA(pca);  // never destroyed: only one of the two may be
  EXPECT_EQ(copy->GetResiduals(), pca.GetResiduals());
  EXPECT_EQ(copy->GetPprim(), pca.GetPprim());
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
  pca.NextComponent(nullptr, nullptr, 0, nullptr);
  pca.CalculateResiduals();
  alignas(NCPCA) unsigned char room[sizeof(NCPCA)];
  NCPCA* const copy = new (room) NCPCA(pca);  // never destroyed: only one of the two may be
  pca.NextComponent(nullptr, nullptr, 0, nullptr);
  pca.CalculateResiduals();
  expectNextAsFromResiduals(*copy);

  NCPCA written(&other, 500);
  written.NextComponent(nullptr, nullptr, 0, nullptr);
  std::stringstream stream;
  ASSERT_TRUE(written.VStreamableStartWrite(stream));
  NCPCA read(&x, 500);
  read.NextComponent(nullptr, nullptr, 0, nullptr);
  read.CalculateResiduals();
  ASSERT_TRUE(read.VStreamableStartRead(stream));
  expectNextAsFromResiduals(read);
}

}  // namespace
