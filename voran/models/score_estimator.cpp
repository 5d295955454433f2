#include "voran/models/score_estimator.h"

#include <algorithm>

#include "voran/models/pls.h"
#include "voran/platform/exception.h"

inline namespace voran {

using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

namespace {

Matrix Transposed(Matrix m) {
  m.Transpose();
  return m;
}

/// Fits components until the row supports no more. A component that cannot be had ends it too: what stands, stands.
/// What is left of the loadings is deliberately measured against the row's own sum of squares.
void FitWhatIsSupported(NCPLS& pls, int maxComponents, double sumOfSquares) {
  constexpr float kSteepCoefficient = 2.0f;
  constexpr double kLittleLeft = 1e-5;
  try {
    do {
      pls.NextComponent(nullptr, nullptr, true, true);
      pls.CalculateResiduals();
    } while (pls.GetComponents() < maxComponents && pls.GetCprim()->back()[1] < kSteepCoefficient &&
             pls.GetXResiduals()->GetSS() > sumOfSquares * kLittleLeft);
  } catch (const Exception&) {
  }
}

}  // namespace

ScoreEstimator::ScoreEstimator(const Matrix& Pprim, int iterationLimit)
    : P_(Transposed(Pprim)), Pprim_(Pprim), iterationLimit_(iterationLimit) {}

void ScoreEstimator::GetT(Vector& t, const Vector& x) const {
  if (Pprim_.SizeRows() == 0) return;
  if (x.GetNumMisVal() == 0) {
    EstimateWhitoutMisVal(t, x);
  } else {
    EstimateWhitMisVal(t, x);
  }
}

void ScoreEstimator::EstimateWhitoutMisVal(Vector& t, const Vector& x) const {
  Vector residual(x);
  const int components = Pprim_.SizeRows();
  for (int a = 1; a <= components; ++a) {
    t(a, static_cast<float>(Pprim_[a] * residual));
    if (a < components) residual.TransformTo_Sub_d_x_Vt(static_cast<double>(t[a]), Pprim_[a]);
  }
}

void ScoreEstimator::EstimateWhitMisVal(Vector& t, const Vector& x) const {
  const auto sumOfSquares = static_cast<float>(x.GetSS());
  const int maxComponents = std::min(Pprim_.SizeRows(), x.Size() - x.GetNumMisVal());
  NCPLS pls(&P_, &x, iterationLimit_);
  FitWhatIsSupported(pls, maxComponents, static_cast<double>(sumOfSquares));
  const Matrix b = pls.GetRegressionCoefficients(-1);
  const bool isUnknown = b.GetNumMisVal() == b.SizeRows();
  for (int a = 1; a <= Pprim_.SizeRows(); ++a) t(a, isUnknown ? 0.0f : b[a][1]);
}

}  // namespace voran
