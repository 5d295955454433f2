#include "voran/orthogonal/opls.h"

#include <algorithm>
#include <cassert>
#include <cmath>

#include "voran/containers/missing_value.h"
#include "voran/containers/nipals_pass.h"
#include "voran/containers/parallel.h"
#include "voran/models/pca.h"
#include "voran/orthogonal/covariances.h"
#include "voran/orthogonal/leading_direction.h"
#include "voran/orthogonal/matrix_sums.h"
#include "voran/orthogonal/row_deflation.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/progress.h"

inline namespace voran {

using detail::kMissing;
using detail::RowDeflation;
using Matrix = NCDataMatrix<float>;
using Pass = detail::NipalsPass<float>;
using Vector = NCDataVector<float>;

namespace {

constexpr auto kFloor = Pass::Floor::kThirdOfAll;

/// To be called with what a progress object answers.
void GoOnOnlyIf(bool isWanted) {
  if (isWanted) return;
  throw NCError(ExceptionMessage::translate("OPLS component aborted.", "Calculations of"), NCError::Level::kGeneral);
}

/// `asked` clamped to what Y can have; 0 or less stands for an estimate.
int PredictiveComponents(int asked, const Matrix& Y) {
  return asked > 0 ? std::min({asked, Y.SizeRows(), Y.SizeColumns()}) : asked;
}

/// m' v / v'v over the pairs present.
Vector ColumnSlopes(const Matrix& m, const Vector& v) {
  Vector slopes(m.SizeColumns());
  Pass pass(m);
  pass.SumColumns(v);
  pass.FinishColumns(v, kFloor, nullptr, 0, false, slopes);
  return slopes;
}

/// Whether t c' is next to nothing beside Y.
bool CarriesNothingOf(const Matrix& Y, const Vector& t, const Vector& c) {
  constexpr double kLeast = 1e-6;
  const double share = std::sqrt(t.GetSS()) * std::sqrt(c.GetSS()) / std::sqrt(Y.GetSS());
  return !std::isnormal(share) || kLeast / std::sqrt(Y.SizeColumns()) > share;
}

/// m less the rows of t times those of p.
Matrix Residuals(Matrix m, const Matrix& Tprim, const Matrix& Pprim) {
  for (int a = 1; a <= Pprim.SizeRows(); ++a) m.AddVprimV(Tprim[a], Pprim[a], -1.0f);
  return m;
}

}  // namespace

// Construction.

NCOPLS::NCOPLS(const Matrix* X, const Matrix* Y, int predictiveComps, int maxIterations)
    : X_(*X), Y_(*Y), maxIterations_(maxIterations), predictiveComps_(PredictiveComponents(predictiveComps, *Y)) {}

NCOPLS::NCOPLS(const Matrix* X, const Matrix* Y, const std::vector<Matrix>* W, const std::vector<Matrix>* P,
               const std::vector<Matrix>* C, const Matrix* WO, const Matrix* PO, const Matrix* CO, int predictiveComps,
               int maxIterations)
    : X_(*X),
      Y_(*Y),
      WMatrices_(*W),
      PMatrices_(*P),
      CMatrices_(*C),
      POprim_(*PO),
      COprim_(*CO),
      WOprim_(*WO),
      maxIterations_(maxIterations),
      predictiveComps_(PredictiveComponents(W->empty() ? predictiveComps : W->front().SizeRows(), *Y)) {
  CatchUp();
}

/// The scores follow from X, Y and the weights, by the deflations of the fit.
void NCOPLS::CatchUp() {
  const auto stages = static_cast<std::size_t>(WOprim_.SizeRows()) + 1;
  assert(WMatrices_.size() >= stages && PMatrices_.size() >= stages && CMatrices_.size() >= stages);
  for (int i = 1; i <= WOprim_.SizeRows(); ++i) {
    const Matrix& W = WMatrices_[static_cast<std::size_t>(i - 1)];
    const Vector tO = RowDeflation(W, W).ScoresOnRest(X_, WOprim_[i]);
    UOprim_.push_back(Y_.SpecialNipalsRegressRowsFix(COprim_[i]));
    X_.AddVprimV(tO, POprim_[i], -1.0f);
    Y_.AddVprimV(tO, COprim_[i], -1.0f);
    TOprim_.push_back(tO);
  }
  const Matrix& W = WMatrices_[stages - 1];
  TWprim_ = RowDeflation(W, W).Scores(X_);
  Tprim_ = RowDeflation(W, PMatrices_[stages - 1]).Scores(X_);
}

// Fitting.

void NCOPLS::NextComponent(NCProgress* progress) {
  const detail::StaySingleIfSmall team(X_.SizeRows(), X_.SizeColumns());
  if (Tprim_.SizeRows() == 0) {
    CalcOPLS(progress);
    return;
  }
  if (progress != nullptr) {
    progress->SetRange(0.0f, 10.0f);
    GoOnOnlyIf(!progress->IsBreakPressed());
  }
  ExtractOrthogonalComponent();
  if (progress != nullptr) GoOnOnlyIf(progress->PushSubRange(1.0f, 10.0f));
  CalcOPLS(progress);
  if (progress != nullptr) GoOnOnlyIf(progress->PopSubRange());
}

void NCOPLS::ExtractOrthogonalComponent() {
  const Vector wO = OrthogonalWeight();
  const Vector tO = RowDeflation(WMatrices_.back(), WMatrices_.back()).ScoresOnRest(X_, wO);
  const Vector cO = ColumnSlopes(Y_, tO);
  const Vector pO = ColumnSlopes(X_, tO);  // of X itself, the predictive part included
  Vector uO = Y_.SpecialNipalsRegressRowsFix(cO);
  if (CarriesNothingOf(Y_, tO, cO)) uO.SetAllValues(kMissing<float>);
  X_.AddVprimV(tO, pO, -1.0f);
  Y_.AddVprimV(tO, cO, -1.0f);
  TOprim_.push_back(tO);
  POprim_.push_back(pO);
  COprim_.push_back(cO);
  WOprim_.push_back(wO);
  UOprim_.push_back(uO);
}

/// Where the predictive scores covary most with what the predictive weights leave of X.
Vector NCOPLS::OrthogonalWeight() const {
  Matrix rest(X_.SizeRows(), X_.SizeColumns(), 0.0f);
  RowDeflation(WMatrices_.back(), WMatrices_.back()).ScoresAndRest(X_, rest);
  return detail::LeadingDirection(detail::RowCovariances(TWprim_, rest), maxIterations_);
}

/// Fits the predictive part of X and Y as they now are.
void NCOPLS::CalcOPLS(NCProgress* progress) {
  if (progress != nullptr) {
    progress->SetRange(0.0f, 10.0f);
    GoOnOnlyIf(progress->PushSubRange(0.0f, 9.0f));
    progress->SetRange(0.0f, 1.0f);
  }
  const Matrix W = RefineWeights(progress);
  if (progress != nullptr) GoOnOnlyIf(progress->PopSubRange());
  AppendStage(W);
  if (progress != nullptr) GoOnOnlyIf(progress->SetValue(10.0f));
}

/// The weights come from the covariances Y'X, in which gaps count as 0. Where X has gaps, what the weights leave still
/// covaries with Y. This is added to the covariances, pass by pass, until it falls below a hundredth of what it was at
/// first, or rises; the last pass then does not count.
Matrix NCOPLS::RefineWeights(NCProgress* progress) {
  constexpr double kLittle = 0.01;
  Matrix covariances = detail::Covariances(Y_, X_);
  const double first = std::sqrt(covariances.GetSS());
  double previous = first;
  const bool hasGaps = X_.GetNumMisVal() != 0;
  Matrix rest;
  if (hasGaps) rest = Matrix(X_.SizeRows(), X_.SizeColumns(), 0.0f);
  for (int pass = 1;; ++pass) {
    const Matrix W = TakeWeights(covariances);
    const RowDeflation deflation(W, W);
    if (!hasGaps || pass >= maxIterations_) {
      TWprim_ = deflation.Scores(X_);
      return W;
    }
    TWprim_ = deflation.ScoresAndRest(X_, rest);
    const Matrix left = detail::Covariances(Y_, rest);
    const double size = std::sqrt(left.GetSS());
    const double remaining = size > previous ? 0.0 : (size - kLittle * first) / first;
    if (progress != nullptr) GoOnOnlyIf(progress->SetValue(std::max(static_cast<float>(1.0 - remaining), 0.0f)));
    if (kLittle * first > size || size > previous) return W;
    previous = size;
    covariances = detail::Sum(covariances, left);
  }
}

/// Of a single response the covariances themselves, of several the loadings of their principal components.
Matrix NCOPLS::TakeWeights(const Matrix& covariances) {
  if (covariances.SizeRows() <= 1) {
    Matrix W;
    for (const Vector& row : covariances) W.push_back(detail::UnitLength(row));
    return W;
  }
  NCPCA pca(&covariances, maxIterations_);
  const auto fit = [&pca] { pca.NextComponent(nullptr, nullptr, 0, nullptr); };
  fit();
  if (predictiveComps_ > 0) {
    while (pca.GetComponents() < predictiveComps_) {
      pca.CalculateResiduals();
      fit();
    }
    return *pca.GetPprim();
  }
  // As many components as have one in a hundred of the first one's sum of squares.
  const double least = 0.01 * pca.GetTprim()->back().GetSS();
  double size;
  do {
    pca.CalculateResiduals();
    fit();
    size = pca.GetTprim()->back().GetSS();
  } while (pca.GetComponents() < covariances.SizeRows() && !(size <= least));
  predictiveComps_ = pca.GetComponents() - (least > size ? 1 : 0);
  return pca.GetPprim()->GetRowSubMatrix(1, predictiveComps_);
}

void NCOPLS::AppendStage(const Matrix& W) {
  Matrix E = X_;
  Matrix F = Y_;
  Matrix P;
  Matrix C;
  Tprim_.Clear();
  Uprim_.Clear();
  for (int a = 1; a <= W.SizeRows(); ++a) {
    Vector t(E.SizeRows());
    Vector p(E.SizeColumns());
    Pass pass(E);
    pass.RegressRowsAndSumColumns(W[a], t);
    pass.FinishColumns(t, kFloor, nullptr, 0, false, p);
    const Vector c = ColumnSlopes(F, t);
    Uprim_.push_back(F.SpecialNipalsRegressRowsFix(c));
    if (a < W.SizeRows()) {
      E.AddVprimV(t, p, -1.0f);
      F.AddVprimV(t, c, -1.0f);
    }
    Tprim_.push_back(t);
    P.push_back(p);
    C.push_back(c);
  }
  WMatrices_.push_back(W);
  PMatrices_.push_back(P);
  CMatrices_.push_back(C);
}

// Signs and residuals.

void NCOPLS::NegatePredictiveComp(int comp) {
  for (Matrix* m : {&WMatrices_.back(), &PMatrices_.back(), &CMatrices_.back(), &Tprim_, &TWprim_}) {
    m->MultiplyRow(comp, -1.0, comp);
  }
}

void NCOPLS::NegateOComp(int comp) {
  for (Matrix* m : {&WOprim_, &POprim_, &COprim_, &TOprim_}) m->MultiplyRow(comp, -1.0, comp);
}

Matrix NCOPLS::GetXResiduals() const {
  return Residuals(X_, Tprim_, PMatrices_.back());
}

Matrix NCOPLS::GetYResiduals() const {
  return Residuals(Y_, Tprim_, CMatrices_.back());
}

}  // namespace voran
