#include "voran/orthogonal/o2pls.h"

#include <algorithm>
#include <atomic>
#include <initializer_list>
#include <utility>

#include "voran/containers/parallel.h"
#include "voran/models/pls.h"
#include "voran/orthogonal/matrix_sums.h"
#include "voran/orthogonal/o2pls_dimensionality.h"
#include "voran/orthogonal/o2pls_steps.h"
#include "voran/platform/nc_error.h"

inline namespace voran {

using detail::Deflated;
using detail::FirstPlsStep;
using detail::PlsStep;
using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

namespace {

std::atomic<bool> showMissingValueSupstitution{false};

/// Turns the sign of row i + 1 of all `matrices` where flips[i] is set; a matrix that has no such row yet is left
/// alone.
bool FlipRows(const std::vector<bool>& flips, std::initializer_list<Matrix*> matrices) {
  bool any = false;
  for (int a = 1; a <= static_cast<int>(flips.size()); ++a) {
    if (!flips[static_cast<std::size_t>(a - 1)]) continue;
    any = true;
    for (Matrix* m : matrices) {
      if (a <= m->SizeRows()) m->MultiplyRow(a, -1.0, a);
    }
  }
  return any;
}

/// The many short passes of a step stay on the calling thread where the blocks are small.
detail::StaySingleIfSmall TeamFor(const Matrix& X, const Matrix& Y) {
  return {X.SizeRows(), std::max(X.SizeColumns(), Y.SizeColumns())};
}

/// The columns of `block` regressed on each row of `scores`: components x variables.
Matrix LoadingsOn(const Matrix& scores, const Matrix& block) {
  Matrix loadings;
  for (const Vector& t : scores) loadings.push_back(block.SpecialNipalsRegressColumnsFix(t));
  return loadings;
}

}  // namespace

// Construction.

NCO2PLS::NCO2PLS(const Matrix& X, const Matrix& Y, bool checkDimensions, int iterations)
    : X_(X),
      Y_(Y),
      iterations_(iterations),
      SSXOrig_(static_cast<float>(X.GetSS())),
      SSYOrig_(static_cast<float>(Y.GetSS())),
      checkDimensions_(checkDimensions) {
  constexpr auto kSource = "NCO2PLS::NCO2PLS";
  if (X.SizeRows() != Y.SizeRows()) {
    throw NCInternalError(kSource, ExceptionMessage::translate("The X and Y matrices have different number of rows."));
  }
  if (X.GetNumMisVal() != 0 || Y.GetNumMisVal() != 0) {
    throw NCInternalError(kSource, ExceptionMessage::translate("The X and Y matrices can not contain missing values."));
  }
}

void NCO2PLS::swap(NCO2PLS& other) noexcept {
  X_.swap(other.X_);
  Y_.swap(other.Y_);
  std::swap(iterations_, other.iterations_);
  T_.swap(other.T_);
  U_.swap(other.U_);
  P_.swap(other.P_);
  W_.swap(other.W_);
  C_.swap(other.C_);
  Q_.swap(other.Q_);
  To_.swap(other.To_);
  Wo_.swap(other.Wo_);
  Po_.swap(other.Po_);
  Uo_.swap(other.Uo_);
  Co_.swap(other.Co_);
  Qo_.swap(other.Qo_);
  R_.swap(other.R_);
  S_.swap(other.S_);
  Lambda_.swap(other.Lambda_);
  XLambda_.swap(other.XLambda_);
  XWork_.swap(other.XWork_);
  YWork_.swap(other.YWork_);
  std::swap(SSXOrig_, other.SSXOrig_);
  std::swap(SSYOrig_, other.SSYOrig_);
  std::swap(checkDimensions_, other.checkDimensions_);
}

// Fitting.

void NCO2PLS::Fit(int predictiveComps, int xOrthoComps, int yOrthoComps) {
  if (T_.SizeRows() != 0 || To_.SizeRows() != 0 || Uo_.SizeRows() != 0) UnFit();
  for (int j = 0; j < xOrthoComps; ++j) NextOrthogonalComponent(true, predictiveComps);
  for (int j = 0; j < yOrthoComps; ++j) NextOrthogonalComponent(false, predictiveComps);
  CalculatePredictiveComps(predictiveComps);
  Finalise();
  EndFit();
}

void NCO2PLS::NextOrthogonalComponent(bool xSide, int predictiveComps) {
  const detail::StaySingleIfSmall team = TeamFor(X_, Y_);
  EndFit();
  if (checkDimensions_) CheckDimensions(xSide, predictiveComps);
  if (xSide) {
    CalculateOrthogonalComp(X_, Y_, To_, Wo_, Po_, predictiveComps, iterations_);
  } else {
    CalculateOrthogonalComp(Y_, X_, Uo_, Co_, Qo_, predictiveComps, iterations_);
  }
}

void NCO2PLS::CheckDimensions(bool xSide, int predictiveComps) const {
  const int found = xSide ? To_.SizeRows() : Uo_.SizeRows();
  const int columns = xSide ? X_.SizeColumns() : Y_.SizeColumns();
  if (found + predictiveComps < std::min(columns + 1, X_.SizeRows())) return;
  const auto side = xSide ? NCO2PLSDimensionalityException::kXSide : NCO2PLSDimensionalityException::kYSide;
  throw NCO2PLSDimensionalityException(side, predictiveComps, To_.SizeRows(), Uo_.SizeRows());
}

/// The direction in what the joint variation leaves of A that is most related to the joint scores. A is the block that
/// gets the component, B the other one.
void NCO2PLS::CalculateOrthogonalComp(const Matrix& A, const Matrix& B, Matrix& scores, Matrix& weights,
                                      Matrix& loadings, int predictiveComps, int iterations) {
  const Matrix rest = Deflated(A, scores, loadings);
  Matrix E = rest;
  Matrix joint;
  for (int a = 1; a <= predictiveComps; ++a) {
    const PlsStep step = FirstPlsStep(E, B, iterations, false);
    E.AddVprimV(step.t, step.w, -1.0f);  // by the weights, not by loadings
    joint.push_back(step.t);
  }
  joint.Transpose();
  const PlsStep orthogonal = FirstPlsStep(E, joint, iterations, false);
  scores.push_back(orthogonal.t);
  loadings.push_back(rest.SpecialNipalsRegressColumnsFix(orthogonal.t));
  weights.push_back(orthogonal.w);
}

void NCO2PLS::InitPredCompCalculation() {
  const detail::StaySingleIfSmall team = TeamFor(X_, Y_);
  XWork_ = Deflated(X_, To_, Po_);
  YWork_ = Deflated(Y_, Uo_, Qo_);
  for (Matrix* m : {&W_, &T_, &U_, &C_, &P_, &Q_, &Lambda_, &XLambda_}) m->Clear();
}

void NCO2PLS::NextPredictiveComp() {
  const detail::StaySingleIfSmall team = TeamFor(X_, Y_);
  constexpr int kIterations = 200;
  if (XWork_.SizeRows() == 0) {
    throw NCInternalError("NCO2PLS::NextPredictiveComp", ExceptionMessage::translate("Function call out of sequence."));
  }
  PlsStep step = FirstPlsStep(XWork_, YWork_, kIterations, true);
  step.c.Normalise();
  const Vector u = YWork_.SpecialNipalsRegressRowsFix(step.c);
  const Vector q = YWork_.SpecialNipalsRegressColumnsFix(u);
  W_.push_back(step.w);
  T_.push_back(step.t);
  P_.push_back(step.p);
  C_.push_back(step.c);
  U_.push_back(u);
  Q_.push_back(q);
}

void NCO2PLS::SubtractLastPredictiveComp() {
  const detail::StaySingleIfSmall team = TeamFor(X_, Y_);
  XWork_.AddVprimV(T_.back(), P_.back(), -1.0f);
  YWork_.AddVprimV(U_.back(), Q_.back(), -1.0f);
}

void NCO2PLS::CalculatePredictiveComps(int predictiveComps) {
  InitPredCompCalculation();
  for (int a = 1; a <= predictiveComps; ++a) {
    NextPredictiveComp();
    if (a < predictiveComps) SubtractLastPredictiveComp();
  }
}

void NCO2PLS::Finalise() {
  const detail::StaySingleIfSmall team = TeamFor(X_, Y_);
  RelateScores();
  if (Uo_.SizeRows() != 0) R_ = LoadingsOn(Uo_, X_);
  if (To_.SizeRows() != 0) S_ = LoadingsOn(To_, Y_);
}

void NCO2PLS::RelateScores() {
  if (T_.SizeRows() == 0) return;
  if (T_.GetNumMisVal() != 0 || U_.GetNumMisVal() != 0) {
    throw NCError(ExceptionMessage::translate("OPLS model could not be calculated."), NCError::Level::kGeneral);
  }
  Lambda_ = T_.GetRegressionCoefficients(U_);
  XLambda_ = U_.GetRegressionCoefficients(T_);
}

void NCO2PLS::EndFit() {
  XWork_.Clear();
  YWork_.Clear();
}

void NCO2PLS::UnFit() {
  for (Matrix* m : {&T_, &U_, &P_, &W_, &C_, &Q_, &To_, &Wo_, &Po_, &Uo_, &Co_, &Qo_, &R_, &S_, &Lambda_, &XLambda_,
                    &XWork_, &YWork_}) {
    m->Clear();
  }
}

// Signs.

void NCO2PLS::FlipPredictiveModel(const std::vector<bool>& xFlips, const std::vector<bool>& yFlips) {
  const bool anyX = FlipRows(xFlips, {&T_, &P_, &W_});
  const bool anyY = FlipRows(yFlips, {&U_, &C_, &Q_});
  if (anyX || anyY) RelateScores();
}

void NCO2PLS::FlipXSideModel(const std::vector<bool>& flips) {
  FlipRows(flips, {&To_, &Wo_, &Po_, &S_});
}

void NCO2PLS::FlipYSideModel(const std::vector<bool>& flips) {
  FlipRows(flips, {&Uo_, &Co_, &Qo_, &R_});
}

// Coefficients.

Matrix NCO2PLS::GetCoefficients(const Matrix& W, const Matrix& P, const Matrix& Wo, const Matrix& Po,
                                const Matrix& Lambda, const Matrix& S, const Matrix& C) {
  const Matrix predictive = NCPLS::GetWStarPrim(W, P).MatrixMultiply(Lambda, true, false, false) * C;
  if (Wo.SizeRows() == 0) return predictive;
  const Matrix wStar = NCPLS::GetWStarPrim(Wo, Po);
  const auto throughOrthogonal = [&wStar](const Matrix& m) { return wStar.MatrixMultiply(m, true, false, false); };
  return detail::Sum(predictive, throughOrthogonal(S)) - throughOrthogonal(Po * predictive);
}

// The switch.

void NCO2PLS::SetShowMissingValueSupstitution(bool show) {
  showMissingValueSupstitution.store(show, std::memory_order_relaxed);
}

bool NCO2PLS::GetShowMissingValueSupstitution() {
  return showMissingValueSupstitution.load(std::memory_order_relaxed);
}

}  // namespace voran
