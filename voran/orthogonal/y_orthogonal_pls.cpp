#include "voran/orthogonal/y_orthogonal_pls.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <utility>

#include "voran/containers/kernels/reductions.h"
#include "voran/containers/missing_value.h"
#include "voran/models/component_validator.h"
#include "voran/models/convergence.h"
#include "voran/models/pca.h"
#include "voran/models/pls.h"
#include "voran/orthogonal/leading_direction.h"
#include "voran/orthogonal/osc_component_validator.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/progress.h"

inline namespace voran {

using detail::kMissing;
using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

namespace {

[[noreturn]] void ThrowAborted() {
  throw NCError(ExceptionMessage::translate("Component aborted.", "Calculation of"), NCError::Level::kGeneral);
}

/// To be called with what a progress object answers.
void GoOnOnlyIf(bool isWanted) {
  if (!isWanted) ThrowAborted();
}

void RefuseWithoutData(const Vector& row, const char* text) {
  if (row.GetNumMisVal() < row.Size()) return;
  throw NCError(ExceptionMessage::translate(text), NCError::Level::kGeneral);
}

/// Ten for each power of ten by which the relative squared change of the weight exceeds 1e-7, at which it counts as
/// converged.
double ConvergenceValue(double change) {
  constexpr double kNoChange = 1e-30;
  return kNoChange > change ? -1.0 : (std::log10(change) + 7.0) * 10.0;
}

/// Where the progress of an iteration begins: a weight that has changed altogether.
constexpr float kFarFromConverged = -70.0f;

Matrix WithRow(Matrix m, const Vector& row) {
  m.push_back(row);
  return m;
}

Matrix WithoutLastRow(Matrix m) {
  m.RemoveRows(m.SizeRows(), 1);
  return m;
}

}  // namespace

NCYOrthogonalPLS::NCYOrthogonalPLS(const Matrix* X, const Matrix* Y, int iterations, int maxInnerComponents)
    : Pprim_(0, X->SizeColumns(), kMissing<float>),
      Wprim_(0, X->SizeColumns(), kMissing<float>),
      Tprim_(0, X->SizeRows(), kMissing<float>),
      XResiduals_(*X),
      Y_(*Y),
      iterations_(iterations),
      maxInnerComponents_(maxInnerComponents) {
  if (X->SizeRows() != Y->SizeRows()) throw NCInternalError("NCYOrthogonalPLS::NCYOrthogonalPLS");
  for (int i = 1; i <= X->SizeRows(); ++i) {
    RefuseWithoutData((*X)[i], "The X matrix contains at least one row with only missing values.");
    RefuseWithoutData((*Y)[i], "The Y matrix contains at least one row with only missing values.");
  }
}

// What is orthogonal to Y.

/// As many principal components as leave a thousandth of Y.
void NCYOrthogonalPLS::SetupYPCA() const {
  constexpr float kShareLeft = 0.001f;
  if (!Y_) ThrowAborted();
  NCPCA pca(&*Y_, iterations_);
  PCA_SS_ComponentValidator validator(nullptr, kShareLeft);
  validator.SetPCAModel(&pca);
  while (validator.IsValid()) {
    pca.NextComponent(nullptr, nullptr, 0, nullptr);
    pca.CalculateResiduals();
  }
  if (pca.GetComponents() == 0) ThrowAborted();
  Matrix scores = *pca.GetTprim();
  scores.Transpose();
  Matrix inverse = scores;
  inverse.TransformToMprim_mul_M();
  inverse.TransformToInverse();
  YScores_ = std::move(scores);
  YScoresInverse_ = std::move(inverse);
  Y_.reset();
}

Vector NCYOrthogonalPLS::OrthogonalToY(const Vector& v) const {
  return v - *YScores_ * (*YScoresInverse_ * YScores_->PreMultiply(v));
}

double NCYOrthogonalPLS::GetYAngle(const Vector* v) const {
  if (!YScores_) SetupYPCA();
  const Vector w = OrthogonalToY(*v);
  const auto& kernels = detail::ReductionKernels<float>::Current();
  const auto sums = [&kernels](const Vector& a, const Vector& b) {
    return kernels.pairSums(a.begin(), b.begin(), a.Size(), detail::GapModeOf(a.GetNumMisVal(), b.GetNumMisVal()));
  };
  const detail::PairSums vw = sums(*v, w);
  const double size = std::sqrt(sums(w, *v).pairedSquares * vw.pairedSquares);
  const bool isNothingLeft = vw.product == 0.0 && size == 0.0;
  const double cosine = isNothingLeft ? 0.0 : std::clamp(vw.product / size, -1.0, 1.0);
  return 90.0 - std::acos(cosine) * 90.0 / std::numbers::pi;
}

// The components.

void NCYOrthogonalPLS::NextComponent(bool showProgress) {
  if (!YScores_ && !Y_) ThrowAborted();
  Vector w = detail::LeadingDirection(XResiduals_, iterations_);
  if (!YScores_) SetupYPCA();
  const std::string title =
      detail::FillText(detail::TranslateText("Y-Orthogonal PLS Component %1%"), {components_ + 1});
  NCProgress progress(title.c_str(), kFarFromConverged, 0.0f, showProgress, false, true, "");
  w = FindWeight(w, progress);
  const Vector t = XResiduals_.RegressRows(w);
  Matrix scores = WithRow(Tprim_, t);
  Matrix weights = WithRow(Wprim_, w);
  const Vector p = XResiduals_.RegressColumns(t);
  Matrix loadings = WithRow(Pprim_, p);
  XResiduals_.TransformToSub_V_x_Vt(t, p);
  // Nothing fails from here on.
  Tprim_.swap(scores);
  Wprim_.swap(weights);
  Pprim_.swap(loadings);
  ++components_;
}

/// From the start weight w to the one that stays.
Vector NCYOrthogonalPLS::FindWeight(Vector w, NCProgress& progress) const {
  double value;
  int trials = 0;
  do {
    const Vector before = w;
    w = NextWeight(before, progress);
    value = ConvergenceValue(w.Difference(before));
    ++trials;
    GoOnOnlyIf(progress.SetValue(static_cast<float>(-value)));
  } while (value > 0.0 && trials < iterations_);
  return w;
}

/// The regression vector of what is orthogonal to Y in the score of w, at unit length; all missing if the inner model
/// may have no component.
Vector NCYOrthogonalPLS::NextWeight(const Vector& w, NCProgress& progress) const {
  const Vector t = OrthogonalToY(XResiduals_.RegressRows(w));
  NCPLS pls(&XResiduals_, &t, iterations_);
  OSCPLSComponentValidator validator(&pls, maxInnerComponents_);
  while (validator.IsValid()) {
    GoOnOnlyIf(progress.NextSpin());
    try {
      pls.NextComponent(nullptr, nullptr, false, true);
    } catch (const NCError& error) {
      // t is explained already.
      if (error.GetLevel() != NCError::Level::kZeroCorrelation || pls.GetComponents() == 0) throw;
      break;
    }
    pls.CalculateResiduals();
  }
  progress.SpinDone();
  if (pls.GetComponents() == 0) return Vector(w.Size());
  return detail::UnitLength(pls.GetRegressionCoefficients(-1).GetColumn(1));
}

void NCYOrthogonalPLS::RemoveComponent() {
  if (components_ == 0) return;
  Matrix scores = WithoutLastRow(Tprim_);
  Matrix weights = WithoutLastRow(Wprim_);
  Matrix loadings = WithoutLastRow(Pprim_);
  XResiduals_.TransformToAdd_V_x_Vt(Tprim_.back(), Pprim_.back());
  // Nothing fails from here on.
  Tprim_.swap(scores);
  Wprim_.swap(weights);
  Pprim_.swap(loadings);
  --components_;
}

void NCYOrthogonalPLS::CalculateResiduals(Matrix* data) const {
  for (int a = 1; a <= components_; ++a) data->TransformToSub_V_x_Vt(data->RegressRows(Wprim_[a]), Pprim_[a]);
}

Matrix NCYOrthogonalPLS::GetWStarPrim() {
  return NCPLS::GetWStarPrim(Wprim_, Pprim_);
}

}  // namespace voran
