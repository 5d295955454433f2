#include "voran/models/pca.h"

#include <memory>
#include <optional>
#include <utility>

#include "voran/containers/missing_value.h"
#include "voran/containers/nipals_pass.h"
#include "voran/models/convergence.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/progress.h"

inline namespace voran {

namespace {

/// Shows the iteration as a bar that runs from the first round's convergence value down to 0, on the caller's progress
/// object or on one of its own.
class ConvergenceProgress {
 public:
  ConvergenceProgress(NCProgress* given, int component) : given_(given), component_(component) {}

  void Report(int round, double value) {
    const auto position = static_cast<float>(-value);
    if (round == 1) {
      Begin(position);
    } else if (!(given_ != nullptr ? given_ : &*own_)->SetValue(position)) {
      throw NCError(ExceptionMessage::translate("PC component aborted.", "Calculations of"), NCError::Level::kGeneral);
    }
  }

 private:
  void Begin(float position) {
    if (given_ != nullptr) {
      given_->SetRange(position, 0.0f);
      return;
    }
    own_.emplace(detail::FillText(detail::TranslateText("PC Component %1%"), {component_}).c_str(), position, 0.0f,
                 false, false, true, "");
  }

  NCProgress* given_;
  int component_;
  std::optional<NCProgress> own_;
};

}  // namespace

NCPCA::NCPCA()
    : NCPCA(std::make_unique<NCDataMatrix<float>>(), std::make_unique<NCDataMatrix<float>>(),
            std::make_unique<NCDataMatrix<float>>(), 0) {}

NCPCA::NCPCA(const NCDataMatrix<float>* data, int limit)
    : NCPCA(std::make_unique<NCDataMatrix<float>>(*data),
            std::make_unique<NCDataMatrix<float>>(0, data->SizeColumns(), detail::kMissing<float>),
            std::make_unique<NCDataMatrix<float>>(0, data->SizeRows(), detail::kMissing<float>), limit) {}

NCPCA::NCPCA(const NCDataMatrix<float>* residuals, const NCDataMatrix<float>* loadings,
             const NCDataMatrix<float>* scores, int limit)
    : NCPCA(std::make_unique<NCDataMatrix<float>>(*residuals), std::make_unique<NCDataMatrix<float>>(*loadings),
            std::make_unique<NCDataMatrix<float>>(*scores), limit) {}

NCPCA::NCPCA(MatrixPointer residuals, MatrixPointer loadings, MatrixPointer scores, int limit)
    : columnSquares_(new std::vector<double>()),
      P_(loadings.release()),
      T_(scores.release()),
      X_(residuals.release()),
      components_(P_->SizeRows()),
      iterationLimit_(limit) {}

NCPCA::~NCPCA() {
  delete columnSquares_;
  delete P_;
  delete T_;
  delete X_;
}

bool NCPCA::NextComponent(NCProgress* progress, const NCIntegralVector<int, -99>* groups, int excludeValue,
                          const NCDataVector<float>* start) {
  ++components_;
  NCDataVector<float> p(X_->SizeColumns());
  NCDataVector<float> t(X_->SizeRows());
  if (X_->SizeRows() == 1) {
    FitSingleObservation(p, t);
  } else {
    Iterate(progress, groups, excludeValue, start, p, t);
  }
  P_->InsertRow(components_, p);
  T_->InsertRow(components_, t);
  return true;
}

void NCPCA::FitSingleObservation(NCDataVector<float>& p, NCDataVector<float>& t) {
  p = (*X_)[1];
  t(1, static_cast<float>(p.Normalise()));
  iterations_ = 1;
}

void NCPCA::Iterate(NCProgress* progress, const NCIntegralVector<int, -99>* groups, int excludeValue,
                    const NCDataVector<float>* start, NCDataVector<float>& p, NCDataVector<float>& t) {
  using Pass = detail::NipalsPass<float>;
  NCDataVector<float> other(t.Size());
  NCDataVector<float>* newest = &t;
  NCDataVector<float>* previous = &other;
  t.CopyContent(start != nullptr ? *start : X_->GetNIPALSStartColumn(*columnSquares_));
  Pass pass(*X_);
  ConvergenceProgress convergence(progress, components_);
  detail::ConvergenceRate rate;

  // The column sums of a score are formed while its rows are computed, except for the start vector, and for a score
  // that looks like the last: its sums would be in vain.
  pass.SumColumns(t);
  int round = 0;
  double value;
  do {
    std::swap(newest, previous);
    pass.FinishColumns(*previous, Pass::Floor::kThirdOfAll, groups, excludeValue, true, p);
    p.Normalise();
    ++round;
    const bool looksLast = round >= iterationLimit_ || rate.PredictsConvergence();
    if (looksLast) {
      pass.RegressRows(p, nullptr, 0, Pass::Floor::kThirdOfAll, *newest);
    } else {
      pass.RegressRowsAndSumColumns(p, *newest);
    }
    const double change = newest->Difference(*previous);
    if (change == detail::kNoValue) {
      throw NCError(ExceptionMessage::translate("PCA component could not be computed."), NCError::Level::kGeneral);
    }
    rate.Add(change);
    value = detail::ConvergenceValue(change);
    convergence.Report(round, value);
    if (looksLast && value > 0.0 && round < iterationLimit_) pass.SumColumns(*newest);
  } while (value > 0.0 && round < iterationLimit_);
  t = *newest;
  iterations_ = round;
}

void NCPCA::CalculateResiduals() {
  X_->AddVprimV((*T_)[components_], (*P_)[components_], -1.0f, *columnSquares_);
}

}  // namespace voran
