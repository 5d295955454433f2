#include "voran/models/pls_prediction.h"

#include <memory>

#include "voran/containers/missing_value.h"
#include "voran/containers/nipals_pass.h"
#include "voran/models/row_prediction.h"

inline namespace voran {

using Matrix = NCDataMatrix<float>;

NCPLSResiduals::NCPLSResiduals(Matrix* X, const Matrix& Wprim, const Matrix& Pprim, float maxMissingFraction)
    : NCDataVector<float>(X->SizeRows()),
      Wprim_(Wprim),
      Pprim_(Pprim),
      X_(X),
      maxMissingFraction_(maxMissingFraction) {}

void NCPLSResiduals::CalcNextComponent() {
  using Pass = detail::NipalsPass<float>;
  const int allowed = detail::GapsAllowed(X_->SizeColumns(), computed_, maxMissingFraction_);
  ++computed_;
  Pass(*X_).RegressRows(Wprim_[computed_], nullptr, 0, Pass::Floor::kThirdOfAll, *this);
  for (int i = 1; i <= X_->SizeRows(); ++i) {
    if ((*X_)[i].GetNumMisVal() > allowed) (*this)(i, detail::kMissing<float>);
  }
  X_->AddVprimV(*this, Pprim_[computed_], -1.0f);
}

NCPLSPred::NCPLSPred(const Matrix* X, const Matrix* Wprim, const Matrix* Pprim, const Matrix* Cprim,
                     float maxMissingFraction)
    : NCPLSPred(*X, *Wprim, *Pprim, *Cprim, maxMissingFraction) {}

NCPLSPred::NCPLSPred(const Matrix& X, const Matrix& Wprim, const Matrix& Pprim, const Matrix& Cprim,
                     float maxMissingFraction)
    : NCPLSPred(std::make_unique<Matrix>(X), std::make_unique<Matrix>(X.SizeRows(), Cprim.SizeColumns(), 0.0f), Wprim,
                Pprim, Cprim, maxMissingFraction) {}

NCPLSPred::NCPLSPred(std::unique_ptr<Matrix> X, std::unique_ptr<Matrix> YPred, const Matrix& Wprim, const Matrix& Pprim,
                     const Matrix& Cprim, float maxMissingFraction)
    : NCPLSResiduals(X.get(), Wprim, Pprim, maxMissingFraction), YPred_(YPred.get()), Cprim_(Cprim), owns_(true) {
  static_cast<void>(X.release());
  static_cast<void>(YPred.release());
}

NCPLSPred::NCPLSPred(bool, Matrix* X, Matrix* YPred, const Matrix& Wprim, const Matrix& Pprim, const Matrix& Cprim,
                     float maxMissingFraction)
    : NCPLSResiduals(X, Wprim, Pprim, maxMissingFraction), YPred_(YPred), Cprim_(Cprim), owns_(false) {
  YPred_->SetAllValues(0.0f);
}

NCPLSPred::~NCPLSPred() {
  if (!owns_) return;
  delete YPred_;
  delete X();
}

void NCPLSPred::CalcNextComponent() {
  NCPLSResiduals::CalcNextComponent();
  YPred_->AddVprimV(*this, Cprim_[GetCompComputed()], 1.0f);
}

}  // namespace voran
