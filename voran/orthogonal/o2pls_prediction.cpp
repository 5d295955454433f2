#include "voran/orthogonal/o2pls_prediction.h"

#include <algorithm>
#include <functional>
#include <set>

#include "voran/containers/parallel.h"
#include "voran/orthogonal/matrix_sums.h"
#include "voran/orthogonal/o2pls.h"
#include "voran/orthogonal/o2pls_steps.h"
#include "voran/orthogonal/row_deflation.h"

inline namespace voran {

using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

NCO2PLSPred::NCO2PLSPred(const Matrix& sourceLoadings, const Matrix& sourceWeights, const Matrix& targetLoadings,
                         const Matrix& orthoWeights, const Matrix& orthoLoadings, const Matrix& orthoToTarget,
                         const Matrix& innerRelation, int excludedOrtho)
    : SourceLoadings_(sourceLoadings),
      SourceWeights_(sourceWeights),
      TargetLoadings_(targetLoadings),
      OrthoWeights_(orthoWeights),
      OrthoLoadings_(orthoLoadings),
      OrthoToTarget_(orthoToTarget),
      InnerRelation_(innerRelation),
      ExcludedOrtho_(excludedOrtho) {}

// Prediction.

void NCO2PLSPred::Predict(const Matrix& source, int targetColumns) {
  const detail::StaySingleIfSmall team(source.SizeRows(), std::max(source.SizeColumns(), targetColumns));
  Residual_ = source;
  Prediction_ = Matrix(source.SizeRows(), targetColumns, 0.0f);
  const int all = OrthoLoadings_.SizeRows();
  const int used = all - ExcludedOrtho_;
  TakeOutOrthogonal(1, used, true);
  TakeOutPredictive();
  TakeOutOrthogonal(std::max(used, 0) + 1, all, false);
  AddInnerPrediction();
  if (used == all) return;
  // What the whole model leaves, in the order in which it was fitted.
  Residual_ = detail::Deflated(detail::Deflated(source, OrthoScores_, OrthoLoadings_), Scores_, SourceLoadings_);
}

/// Those that predict are taken out before the predictive components, whose variation does not count for their scores;
/// the others of what the predictive components leave.
void NCO2PLSPred::TakeOutOrthogonal(int first, int last, bool predicts) {
  const detail::RowDeflation joint(SourceWeights_, SourceWeights_);
  for (int j = first; j <= last; ++j) {
    const Vector& w = OrthoWeights_[j];
    OrthoScores_.push_back(predicts ? joint.ScoresOnRest(Residual_, w) : Residual_.SpecialNipalsRegressRowsFix(w));
    Residual_.AddVprimV(OrthoScores_[j], OrthoLoadings_[j], -1.0f);
    if (predicts) Prediction_.AddVprimV(OrthoScores_[j], OrthoToTarget_[j], 1.0f);
  }
}

void NCO2PLSPred::TakeOutPredictive() {
  for (int a = 1; a <= SourceLoadings_.SizeRows(); ++a) {
    Scores_.push_back(Residual_.SpecialNipalsRegressRowsFix(SourceWeights_[a]));
    Residual_.AddVprimV(Scores_[a], SourceLoadings_[a], -1.0f);
  }
}

void NCO2PLSPred::AddInnerPrediction() {
  if (Scores_.SizeRows() == 0 || TargetLoadings_.SizeRows() == 0) return;
  const Matrix targetScores = Scores_.MatrixMultiply(InnerRelation_, true, false, true);
  Prediction_ = detail::Sum(Prediction_, targetScores.MatrixMultiply(TargetLoadings_, false, false, true));
}

Matrix NCO2PLSPred::PredictionFrom(int predictiveComps) const {
  Matrix prediction(Prediction_.SizeRows(), Prediction_.SizeColumns(), 0.0f);
  for (int j = 1; j <= OrthoScores_.SizeRows() && OrthoScores_[j].GetSS() != 0.0; ++j) {
    prediction.AddVprimV(OrthoScores_[j], OrthoToTarget_[j], 1.0f);
  }
  if (Scores_.SizeRows() == 0) return prediction;
  Matrix targetScores = Scores_.MatrixMultiply(InnerRelation_, true, false, true);
  targetScores.Transpose();
  for (int a = 1; a <= predictiveComps; ++a) prediction.AddVprimV(targetScores[a], TargetLoadings_[a], 1.0f);
  return prediction;
}

void NCO2PLSPred::RemoveObservations(const NCIntegralVector<int, -99>& rows) {
  // From the end, so that the positions still to come stay valid.
  for (const int i : std::set<int, std::greater<>>(rows.begin(), rows.end())) {
    if (i < 1 || i > Prediction_.SizeRows()) continue;
    for (Matrix* m : {&Residual_, &Prediction_}) m->RemoveRows(i, 1);
    for (Matrix* m : {&Scores_, &OrthoScores_}) {
      if (m->SizeRows() != 0) m->RemoveColumns(i, 1);
    }
  }
}

// The two directions.

NCO2PLSYPred::NCO2PLSYPred(const Matrix* newX, const NCO2PLS* model, int excludedOrtho)
    : NCO2PLSYPred(*newX, model->GetP(), model->GetW(), model->GetQ(), model->GetWo(), model->GetPo(), model->GetS(),
                   model->GetLambda(), model->SizeYColumns(), excludedOrtho) {}

NCO2PLSYPred::NCO2PLSYPred(const Matrix& newX, const Matrix& P, const Matrix& W, const Matrix& Q, const Matrix& Wo,
                           const Matrix& Po, const Matrix& S, const Matrix& Lambda, int yColumns, int excludedOrtho)
    : NCO2PLSPred(P, W, Q, Wo, Po, S, Lambda, excludedOrtho) {
  Predict(newX, yColumns);
}

NCO2PLSXPred::NCO2PLSXPred(const Matrix* newY, const NCO2PLS* model, int excludedOrtho)
    : NCO2PLSXPred(*newY, model->GetQ(), model->GetC(), model->GetP(), model->GetCo(), model->GetQo(), model->GetR(),
                   model->GetXLambda(), model->SizeXColumns(), excludedOrtho) {}

NCO2PLSXPred::NCO2PLSXPred(const Matrix& newY, const Matrix& Q, const Matrix& C, const Matrix& P, const Matrix& Co,
                           const Matrix& Qo, const Matrix& R, const Matrix& XLambda, int xColumns, int excludedOrtho)
    : NCO2PLSPred(Q, C, P, Co, Qo, R, XLambda, excludedOrtho) {
  Predict(newY, xColumns);
}

}  // namespace voran
