#include "voran/models/pls.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <optional>
#include <utility>
#include <vector>

#include "voran/containers/kernels/reductions.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/nipals_pass.h"
#include "voran/containers/parallel.h"
#include "voran/models/convergence.h"
#include "voran/models/pls_rounds.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/progress.h"

inline namespace voran {

using detail::kMissing;
using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

namespace {

[[noreturn]] void ThrowAborted(NCError::Level level) {
  throw NCError(ExceptionMessage::translate("PLS component aborted.", "Calculation of"), level);
}

}  // namespace

/// Shows the iteration as a bar that runs from the first round's convergence value down to 0, on the caller's progress
/// object or on one of its own; a single response is there at once. Silent, it leaves the object alone until the end.
class NCPLS::PlsProgress {
 public:
  PlsProgress(NCProgress* given, int component, bool silent, bool interactive)
      : progress_(given), component_(component), silent_(silent), interactive_(interactive) {}

  void Report(int round, double value) {
    if (silent_) return;
    const auto position = static_cast<float>(-value);
    if (round == 1) Begin(position);
    if (interactive_ && !progress_->SetValue(position)) ThrowAborted(NCError::Level::kGeneral);
  }

  void End() {
    if (interactive_ && progress_ != nullptr && progress_->IsBreakPressed()) ThrowAborted(NCError::Level::kCancel);
  }

 private:
  void Begin(float position) {
    if (progress_ != nullptr) {
      progress_->SetRange(position == 0.0f ? 1.0f : position, 0.0f);
      return;
    }
    own_.emplace(detail::FillText(detail::TranslateText("PLS Component %1%"), {component_}).c_str(), position, 0.0f,
                 false, false, true, "");
    progress_ = &*own_;
  }

  NCProgress* progress_;
  int component_;
  bool silent_;
  bool interactive_;
  std::optional<NCProgress> own_;
};

namespace {

/// Whether X and Y have next to nothing in common, by g = |u| |w| / |X| with w before it is brought to unit length.
bool IsNoCorrelation(double g, int variables) {
  constexpr double kLeast = 1e-6;
  return !std::isnormal(g) || kLeast / std::sqrt(variables) > g;
}

bool HasNoCorrelation(const Vector& u, const Vector& w, double xNorm) {
  return IsNoCorrelation(std::sqrt(u.GetSS()) * std::sqrt(w.GetSS()) / xNorm, w.Size());
}

/// The shares of the responses in u where it is one of them.
std::vector<double> SharesOfColumn(const Matrix& Y, const Vector& u) {
  std::vector<double> shares(static_cast<std::size_t>(Y.SizeColumns()));
  for (int m = 1; m <= Y.SizeColumns(); ++m) {
    int i = 1;
    while (i <= u.Size() && Y[i][m] == u[i]) ++i;
    if (i <= u.Size()) continue;
    shares[static_cast<std::size_t>(m - 1)] = 1.0;
    break;
  }
  return shares;
}

/// The shares of the responses in Yc / c'c.
std::vector<double> SharesOfWeights(const Vector& c) {
  std::vector<double> shares(c.begin(), c.end());
  const double ss = std::inner_product(shares.begin(), shares.end(), shares.begin(), 0.0);
  for (double& share : shares) share /= ss;
  return shares;
}

std::unique_ptr<Matrix> CopyOf(const Matrix* m) {
  return std::make_unique<Matrix>(*m);
}

std::unique_ptr<Matrix> OneColumn(const Vector& y) {
  auto column = std::make_unique<Matrix>(y.Size(), 1, kMissing<float>);
  column->SetColumn(1, y);
  return column;
}

/// No component yet, of vectors of `size` elements.
std::unique_ptr<Matrix> NoRows(int size) {
  return std::make_unique<Matrix>(0, size, kMissing<float>);
}

}  // namespace

/// One component, each vector of its own.
struct NCPLS::Component {
  Component(const Matrix& X, const Matrix& Y)
      : w(X.SizeColumns()), t(X.SizeRows()), c(Y.SizeColumns()), u(X.SizeRows()), p(X.SizeColumns()) {}

  Vector w;
  Vector t;
  Vector c;
  Vector u;
  Vector p;
  int iterations = 0;
};

// Construction.

NCPLS::NCPLS()
    : NCPLS(std::make_unique<Matrix>(), std::make_unique<Matrix>(), std::make_unique<Matrix>(),
            std::make_unique<Matrix>(), std::make_unique<Matrix>(), std::make_unique<Matrix>(),
            std::make_unique<Matrix>(), 0) {}

NCPLS::NCPLS(const Matrix* X, const Matrix* Y, int limit) : NCPLS(CopyOf(X), CopyOf(Y), limit) {}

NCPLS::NCPLS(const Matrix* X, const Vector* y, int limit) : NCPLS(CopyOf(X), OneColumn(*y), limit) {}

NCPLS::NCPLS(MatrixPointer X, MatrixPointer Y, int limit)
    : NCPLS(nullptr, nullptr, NoRows(Y->SizeColumns()), NoRows(X->SizeColumns()), NoRows(X->SizeColumns()),
            NoRows(X->SizeRows()), NoRows(X->SizeRows()), limit) {
  X_ = X.release();
  Y_ = Y.release();
}

NCPLS::NCPLS(const Matrix* X, const Matrix* Y, const Matrix* C, const Matrix* P, const Matrix* W, const Matrix* U,
             const Matrix* T, int limit)
    : NCPLS(CopyOf(X), CopyOf(Y), CopyOf(C), CopyOf(P), CopyOf(W), CopyOf(U), CopyOf(T), limit) {}

NCPLS::NCPLS(MatrixPointer X, MatrixPointer Y, MatrixPointer C, MatrixPointer P, MatrixPointer W, MatrixPointer U,
             MatrixPointer T, int limit)
    : C_(C.release()),
      P_(P.release()),
      W_(W.release()),
      U_(U.release()),
      T_(T.release()),
      X_(X.release()),
      Y_(Y.release()),
      components_(P_->SizeRows()),
      iterationLimit_(limit) {}

NCPLS::~NCPLS() {
  for (const Matrix* m : {C_, P_, W_, U_, T_, X_, Y_}) delete m;
}

// The components.

void NCPLS::NextComponent(NCProgress* progress, const Vector* start, bool silent, bool interactive) {
  const detail::StaySingleIfSmall team(X_->SizeRows(), X_->SizeColumns());
  Component component(*X_, *Y_);
  PlsProgress report(progress, components_ + 1, silent, interactive);
  if (!IterateOnResponses(start, interactive, report, component)) Iterate(start, interactive, report, component);
  Append(component);
}

bool NCPLS::IsStartedBy(const Vector* start) const {
  return start != nullptr && Y_->SizeColumns() != 1;
}

Vector NCPLS::StartWeights(const Vector& start) const {
  return Y_->SpecialNipalsRegressColumnsFix(X_->SpecialNipalsRegressRowsFix(start));
}

void NCPLS::StartScore(const Vector* start, Vector& u) const {
  if (IsStartedBy(start)) {
    Y_->SpecialNipalsRegressRowsFixImpl(StartWeights(*start), nullptr, 0, u);
  } else {
    Y_->GetNIPALSStartColumnImpl(&u);
  }
}

/// A round of several responses does not need X itself where nothing is missing. False if X has to be read in every
/// round, or where a round leads to nothing.
bool NCPLS::IterateOnResponses(const Vector* start, bool interactive, PlsProgress& report, Component& component) const {
  if (!detail::PlsRounds::IsWorthwhile(*X_, *Y_, iterationLimit_)) return false;
  auto& [w, t, c, u, p, iterations] = component;
  std::vector<double> shares;
  if (IsStartedBy(start)) {
    shares = SharesOfWeights(StartWeights(*start));
  } else {
    StartScore(start, u);
    shares = SharesOfColumn(*Y_, u);
  }
  detail::PlsRounds rounds(*X_, *Y_, std::move(shares));
  double value;
  do {
    std::optional<double> change;
    const bool isCorrelated = !interactive || !IsNoCorrelation(rounds.Correlation(), w.Size());
    if (isCorrelated && rounds.IsRegular()) change = rounds.Next();
    if (!change) {
      iterations = 0;
      return false;
    }
    value = detail::ConvergenceValue(*change);
    report.Report(++iterations, value);
  } while (value > 0.0 && iterations < iterationLimit_);
  report.End();
  rounds.GetWeights(w);
  detail::NipalsPass<float> pass(*X_);
  pass.RegressRowsAndSumColumns(w, t);
  pass.FinishColumns(t, detail::NipalsPass<float>::Floor::kThirdOfAll, nullptr, 0, false, p);
  c = Y_->SpecialNipalsRegressColumnsFix(t);
  Y_->SpecialNipalsRegressRowsFixImpl(c, nullptr, 0, u);
  return true;
}

void NCPLS::Iterate(const Vector* start, bool interactive, PlsProgress& report, Component& component) const {
  using Pass = detail::NipalsPass<float>;
  constexpr auto kFloor = Pass::Floor::kThirdOfAll;
  const bool isSingleResponse = Y_->SizeColumns() <= 1;
  const double xNorm = interactive ? std::sqrt(X_->GetSS()) : 0.0;
  auto& [w, t, c, u, p, iterations] = component;
  Vector uOld(u.Size());
  Pass xPass(*X_);
  Pass yPass(*Y_);
  detail::ConvergenceRate rate;

  StartScore(start, u);
  double value;
  bool isLast;
  bool loadingSummed;  // X't was formed while t was
  do {
    std::swap(u, uOld);
    xPass.SumColumns(uOld);
    xPass.FinishColumns(uOld, kFloor, nullptr, 0, false, w);
    if (interactive && HasNoCorrelation(uOld, w, xNorm)) {
      throw NCError(
          ExceptionMessage::translate("The correlation between X and Y is zero or almost zero.\nComponent {1} "
                                      "cannot be computed.") %
              (components_ + 1),
          NCError::Level::kZeroCorrelation);
    }
    w.Normalise();
    loadingSummed = isSingleResponse || iterations + 1 >= iterationLimit_ || rate.PredictsConvergence();
    if (loadingSummed) {
      xPass.RegressRowsAndSumColumns(w, t);
    } else {
      xPass.RegressRows(w, nullptr, 0, kFloor, t);
    }
    yPass.SumColumns(t);
    yPass.FinishColumns(t, kFloor, nullptr, 0, false, c);
    yPass.RegressRows(c, nullptr, 0, kFloor, u);
    ++iterations;
    const double change = isSingleResponse ? 0.0 : u.Difference(uOld);
    rate.Add(change);
    value = isSingleResponse ? 0.0 : detail::ConvergenceValue(change);
    report.Report(iterations, value);
    isLast = !(value > 0.0) || iterations >= iterationLimit_;
  } while (!isLast);
  report.End();
  if (!loadingSummed) xPass.SumColumns(t);
  xPass.FinishColumns(t, kFloor, nullptr, 0, false, p);
}

void NCPLS::Append(const Component& component) {
  const auto extended = [this](Matrix m, const Vector& row) {
    m.InsertRow(components_ + 1, row);
    return m;
  };
  Matrix w = extended(*W_, component.w);
  Matrix p = extended(*P_, component.p);
  Matrix t = extended(*T_, component.t);
  Matrix u = extended(*U_, component.u);
  Matrix c = extended(*C_, component.c);
  // Nothing fails from here on.
  W_->swap(w);
  P_->swap(p);
  T_->swap(t);
  U_->swap(u);
  C_->swap(c);
  ++components_;
  iterations_ = component.iterations;
}

void NCPLS::CalculateResiduals() {
  const detail::StaySingleIfSmall team(X_->SizeRows(), X_->SizeColumns());
  for (Matrix* const m : {X_, Y_}) m->ForceUnlink();  // what follows allocates nothing: both are deflated, or neither
  X_->AddVprimV((*T_)[components_], (*P_)[components_], -1.0f);
  Y_->AddVprimV((*T_)[components_], (*C_)[components_], -1.0f);
}

void NCPLS::FlipComponent(int component) {
  for (Matrix* m : {C_, P_, W_, U_, T_}) m->MultiplyRow(component, -1.0, component);
}

void NCPLS::ShuffleYResiduals(int* permutation) {
  if (components_ > 0 || Y_->SizeRows() == 0) {
    throw NCError(ExceptionMessage::translate("Unable to permutate PLS model."), NCError::Level::kGeneral);
  }
  Matrix shuffled(0, Y_->SizeColumns(), kMissing<float>);
  shuffled.ReserveRows(Y_->SizeRows());
  for (int i = 1; i <= Y_->SizeRows(); ++i) shuffled.push_back((*Y_)[permutation[i]]);
  *Y_ = shuffled;
}

// Weights and coefficients for X as it was given.

Matrix NCPLS::GetWStarPrim() {
  return GetWStarPrim(*W_, *P_);
}

Matrix NCPLS::GetWStarPrim(const Matrix& Wprim, const Matrix& Pprim) {
  Matrix wStar(0, Wprim.SizeColumns(), kMissing<float>);
  wStar.ReserveRows(Wprim.SizeRows());
  const auto& kernels = detail::ReductionKernels<float>::Current();
  const int columns = Wprim.SizeColumns();
  for (int a = 1; a <= Wprim.SizeRows(); ++a) {
    Vector row(Wprim[a]);
    for (int k = 1; k < a; ++k) {
      const auto mode = detail::GapModeOf(Pprim[k].GetNumMisVal(), Wprim[a].GetNumMisVal());
      const double d = kernels.pairSums(Pprim[k].begin(), Wprim[a].begin(), columns, mode).product;
      row.TransformTo_Sub_d_x_Vt(d, wStar[k]);
    }
    row.SetNumMisVal(static_cast<int>(std::count(row.begin(), row.end(), kMissing<float>)));
    wStar.push_back(row);
  }
  return wStar;
}

Matrix NCPLS::GetRegressionCoefficients(int components) {
  if (components == -1 || components == P_->SizeRows()) return GetRegressionCoefficients(*P_, *W_, *C_);
  return GetRegressionCoefficients(P_->GetRowSubMatrix(1, components), W_->GetRowSubMatrix(1, components),
                                   C_->GetRowSubMatrix(1, components));
}

Matrix NCPLS::GetRegressionCoefficients(const Matrix& Pprim, const Matrix& Wprim, const Matrix& Cprim) {
  return GetWStarPrim(Wprim, Pprim).MatrixMultiply(Cprim, true, false, true);
}

}  // namespace voran
