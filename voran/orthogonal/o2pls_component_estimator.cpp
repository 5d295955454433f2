#include "voran/orthogonal/o2pls_component_estimator.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "voran/containers/kernels/reductions.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/parallel.h"
#include "voran/models/cv_groups.h"
#include "voran/models/cv_split.h"
#include "voran/models/significance.h"
#include "voran/orthogonal/o2pls_steps.h"
#include "voran/orthogonal/q2_limit.h"

inline namespace voran {

using detail::Deflated;
using detail::FirstPlsStep;
using detail::PlsStep;
using Groups = NCIntegralVector<int, -99>;
using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

namespace {

constexpr int kIterations = 200;

detail::Q2Limit& InternalLimit() {
  static detail::Q2Limit limit;
  return limit;
}

Matrix CrossProduct(const Matrix& X, const Matrix& Y) {
  return Y.MatrixMultiply(X, true, false, false);
}

double AbsoluteSum(const Matrix& m) {
  double sum = 0.0;
  for (const Vector& row : m) {
    for (const float x : row) sum += std::abs(static_cast<double>(x));
  }
  return sum;
}

/// The differences are rounded to float.
double AbsoluteDifference(const Matrix& a, const Matrix& b) {
  double sum = 0.0;
  for (int i = 1; i <= a.SizeRows(); ++i) {
    for (int j = 1; j <= a.SizeColumns(); ++j) {
      const float difference = a[i][j] - b[i][j];
      sum += std::abs(static_cast<double>(difference));
    }
  }
  return sum;
}

double Dot(const Vector& a, const Vector& b) {
  const auto mode = detail::GapModeOf(a.GetNumMisVal(), b.GetNumMisVal());
  return detail::ReductionKernels<float>::Current().pairSums(a.begin(), b.begin(), a.Size(), mode).product;
}

/// The observations of one group, left out, and the components of the others, as rows: weights of X and of Y, and the
/// scores of both kinds of observations.
struct Round {
  Round(const Matrix& X, const Matrix& Y, const Groups& groups, int group)
      : split(X, Y, groups, group), yTest(detail::TakeRows(Y, split.test)) {}

  /// Finds one component more and adds what all leave of the observations left out.
  void NextComponent(double& pressX, double& pressY) {
    const Matrix yTrain = Deflated(split.yTrain, uTrain, c);
    PlsStep step = FirstPlsStep(Deflated(split.xTrain, tTrain, w), yTrain, kIterations, false);
    step.c.Normalise();
    Matrix x = Deflated(split.xTest, tTest, w);
    Matrix y = Deflated(yTest, uTest, c);
    tTrain.push_back(step.t);
    uTrain.push_back(yTrain.SpecialNipalsRegressRowsFix(step.c));
    tTest.push_back(x.SpecialNipalsRegressRowsFix(step.w));
    uTest.push_back(y.SpecialNipalsRegressRowsFix(step.c));
    w.push_back(step.w);
    c.push_back(step.c);
    pressX += x.AddVprimV(tTest.back(), step.w, -1.0f).GetSS();
    pressY += y.AddVprimV(uTest.back(), step.c, -1.0f).GetSS();
  }

  /// The share of the observations left out in the predicted Y'X.
  Matrix PredictedCrossProduct() const {
    const Matrix inner = uTest.MatrixMultiply(tTest, false, true, false);
    return c.MatrixMultiply(inner, true, false, false) * w;
  }

  detail::CvSplit split;
  Matrix yTest;
  Matrix tTrain;
  Matrix uTrain;
  Matrix tTest;
  Matrix uTest;
  Matrix w;
  Matrix c;
};

}  // namespace

O2PLSPredictiveComponentEstimator::O2PLSPredictiveComponentEstimator(const Matrix* X, const Matrix* Y, int groups,
                                                                     const Groups* cvGroups, int fixedComps) {
  DoCalulations(*X, *Y, cvGroups != nullptr ? *cvGroups : GetDeafultCVGroupsVector(X->SizeRows(), groups), fixedComps);
}

void O2PLSPredictiveComponentEstimator::DoCalulations(Matrix X, Matrix Y, const Groups& groups, int fixedComps) {
  if (fixedComps == 0) return;
  const detail::StaySingleIfSmall team(X.SizeRows(), std::max(X.SizeColumns(), Y.SizeColumns()));
  CrossValidate(X, Y, groups, fixedComps);
  const bool lastCounts = fixedComps > 0 || Significance_.back() == SignificanceE::kR1;
  Comps_ = Q2_.Size() - (lastCounts ? 0 : 1);
  FitAll(X, Y);
}

void O2PLSPredictiveComponentEstimator::CrossValidate(const Matrix& X, const Matrix& Y, const Groups& groups,
                                                      int fixedComps) {
  const Matrix cross = CrossProduct(X, Y);
  const double sumCross = AbsoluteSum(cross);
  const double ssX = X.GetSS();
  const double ssY = Y.GetSS();
  std::vector<Round> rounds;
  const int last = groups.empty() ? -1 : *std::max_element(groups.begin(), groups.end());
  for (int group = 0; group <= last; ++group) rounds.emplace_back(X, Y, groups, group);
  double q2x;
  double q2y;
  do {
    double pressX = 0.0;
    double pressY = 0.0;
    Matrix predicted(cross.SizeRows(), cross.SizeColumns(), 0.0f);
    for (Round& round : rounds) {
      round.NextComponent(pressX, pressY);
      predicted += round.PredictedCrossProduct();
    }
    q2x = 1.0 - pressX / ssX;
    q2y = 1.0 - pressY / ssY;
    const double q2 = 1.0 - AbsoluteDifference(cross, predicted) / sumCross;
    const double gain = q2 - (Q2_.Size() == 0 ? 0.0 : static_cast<double>(Q2_.back()));
    Q2X_.push_back(static_cast<float>(q2x));
    Q2Y_.push_back(static_cast<float>(q2y));
    Q2_.push_back(static_cast<float>(q2));
    const bool isPossible = X.SizeRows() - 3 > Q2_.Size();
    const bool isGain = gain > static_cast<double>(InternalLimit().Get());
    Significance_.push_back(!isPossible ? SignificanceE::kN3 : isGain ? SignificanceE::kR1 : SignificanceE::kNS);
  } while (WantsAnother(fixedComps, std::min(X.SizeColumns(), Y.SizeColumns()), q2x, q2y));
}

/// A block that is predicted as a whole has nothing left for another component.
bool O2PLSPredictiveComponentEstimator::WantsAnother(int fixedComps, int possible, double q2x, double q2y) const {
  constexpr double kAll = 1e-6;
  const int tried = Q2_.Size();
  if (fixedComps > 0) return fixedComps > tried;
  if (tried >= possible || Significance_.back() != SignificanceE::kR1) return false;
  return !(std::abs(q2x - 1.0) <= kAll || std::abs(q2y - 1.0) <= kAll);
}

void O2PLSPredictiveComponentEstimator::FitAll(Matrix X, Matrix Y) {
  const Matrix cross = CrossProduct(X, Y);
  const double sumCross = AbsoluteSum(cross);
  const double ssX = X.GetSS();
  const double ssY = Y.GetSS();
  Matrix fitted(cross.SizeRows(), cross.SizeColumns(), 0.0f);
  for (int i = 1; i <= Comps_; ++i) {
    PlsStep step = FirstPlsStep(X, Y, kIterations, false);
    step.c.Normalise();
    const Vector u = Y.SpecialNipalsRegressRowsFix(step.c);
    X.AddVprimV(step.t, step.w, -1.0f);
    Y.AddVprimV(u, step.c, -1.0f);
    fitted.AddVprimV(step.c * Dot(u, step.t), step.w, 1.0f);
    R2_.push_back(static_cast<float>(1.0 - AbsoluteDifference(cross, fitted) / sumCross));
    R2Y_.push_back(static_cast<float>(1.0 - Y.GetSS() / ssY));
    R2X_.push_back(static_cast<float>(1.0 - X.GetSS() / ssX));
  }
}

void SetO2PLSInternalQ2Limit(float limit) {
  InternalLimit().Set(limit);
}

}  // namespace voran
