#include "voran/orthogonal/opls_prediction.h"

#include <cassert>
#include <cstddef>

#include "voran/orthogonal/opls.h"
#include "voran/orthogonal/row_deflation.h"

inline namespace voran {

using detail::RowDeflation;
using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

NCOPLSPred::NCOPLSPred(const Matrix* X, NCOPLS* model)
    : NCOPLSPred(X, model->GetWMatrices(), model->GetPMatrices(), model->GetCMatrices(), model->GetWOprim(),
                 model->GetPOprim(), model->GetCOprim()) {}

NCOPLSPred::NCOPLSPred(const Matrix* X, const std::vector<Matrix>* W, const std::vector<Matrix>* P,
                       const std::vector<Matrix>* C, const Matrix* WO, const Matrix* PO, const Matrix* CO)
    : X_(*X),
      Y_(X->SizeRows(), C->front().SizeColumns(), 0.0f),
      WMatrices_(*W),
      PMatrices_(*P),
      CMatrices_(*C),
      WOprim_(*WO),
      POprim_(*PO),
      COprim_(*CO) {
  Finalise();
}

/// Adds the predictive part of the current stage.
void NCOPLSPred::Finalise() {
  const auto stage = static_cast<std::size_t>(TOPred_.SizeRows());
  const Matrix& C = CMatrices_[stage];
  TPred_ = RowDeflation(WMatrices_[stage], PMatrices_[stage]).Scores(X_);
  for (int a = 1; a <= TPred_.SizeRows(); ++a) Y_.AddVprimV(TPred_[a], C[a], 1.0f);
}

void NCOPLSPred::CalcNextComponent() {
  assert(SizeOComps() < GetMaxComp());
  const Matrix& W = WMatrices_[static_cast<std::size_t>(SizeOComps())];
  const int next = SizeOComps() + 1;
  TOPred_.push_back(RowDeflation(W, W).ScoresOnRest(X_, WOprim_[next]));
  X_.AddVprimV(TOPred_[next], POprim_[next], -1.0f);
  Y_.SetAllValues(0.0f);
  for (int j = 1; j <= next; ++j) Y_.AddVprimV(TOPred_[j], COprim_[j], 1.0f);
  Finalise();
}

}  // namespace voran
