#include "tools/voran/ortho_prediction.h"

#include "tools/voran/prediction_rows.h"
#include "voran/models/row_prediction.h"
#include "voran/orthogonal/opls_prediction.h"

namespace tool {
namespace {

using Matrix = NCDataMatrix<float>;

bool HasOrthogonalMatrices(const SavedModel& m) {
  const std::size_t orthogonal = m.OrthogonalComponents();
  return HasShape(m.further[0], orthogonal, m.x.names) && HasShape(m.further[1], orthogonal, m.x.names) && !m.ySpread;
}

}  // namespace

bool IsOplsWhole(const SavedModel& m) {
  const std::size_t orthogonal = m.OrthogonalComponents();
  if (m.y.names.empty() || m.further.size() != 3 + 3 * orthogonal || !HasOrthogonalMatrices(m)) return false;
  if (!HasShape(m.further[2], orthogonal, m.y.names)) return false;
  for (std::size_t k = 3; k < m.further.size(); ++k) {
    const auto components = static_cast<std::size_t>(m.further[k - k % 3].SizeRows());
    if (components == 0 || !HasShape(m.further[k], components, k % 3 == 2 ? m.y.names : m.x.names)) return false;
  }
  return true;
}

bool IsYoplsWhole(const SavedModel& m) {
  return !m.y.names.empty() && m.further.size() == 2 && HasOrthogonalMatrices(m);
}

void SetOplsMatrices(const OrthoMatrices& matrices, SavedModel& model) {
  model.W = matrices.W;
  model.P = matrices.P;
  model.C = matrices.C;
  model.further = {matrices.WO, matrices.PO, matrices.CO};
  model.further.insert(model.further.end(), matrices.earlierStages.begin(), matrices.earlierStages.end());
}

void SetYoplsMatrices(const OrthoMatrices& matrices, SavedModel& model) {
  model.W = matrices.W;
  model.P = matrices.P;
  model.C = matrices.C;
  model.further = {matrices.WO, matrices.PO};
}

ScaledPrediction PredictOpls(const Matrix& x, const SavedModel& model, double maxMissing, NCProgress* progress) {
  std::vector<Matrix> W;
  std::vector<Matrix> P;
  std::vector<Matrix> C;
  for (std::size_t k = 3; k < model.further.size(); k += 3) {
    W.push_back(model.further[k]);
    P.push_back(model.further[k + 1]);
    C.push_back(model.further[k + 2]);
  }
  W.push_back(model.W);
  P.push_back(model.P);
  C.push_back(model.C);
  const Matrix rows = WithoutPoorRows(x, model, maxMissing);
  NCOPLSPred prediction(&rows, &W, &P, &C, &model.further[0], &model.further[1], &model.further[2]);
  while (prediction.SizeOComps() < prediction.GetMaxComp()) {
    RefuseToGoOnIf(progress);
    prediction.CalcNextComponent();
  }
  Matrix left = prediction.GetXOrthoResiduals();
  for (int a = 1; a <= model.P.SizeRows(); ++a) left.AddVprimV((*prediction.GetTPred())[a], model.P[a], -1.0f);
  return {*prediction.GetTPred(), *prediction.GetTOPred(), *prediction.GetYPred(), RowSumsOfSquares(left)};
}

Matrix FilterRows(const Matrix& WO, const Matrix& PO, Matrix& x) {
  Matrix scores(0, x.SizeRows(), kGap);
  for (int j = 1; j <= WO.SizeRows(); ++j) {
    scores.push_back(x.RegressRows(WO[j]));
    x.TransformToSub_V_x_Vt(scores.back(), PO[j]);
  }
  return scores;
}

ScaledPrediction PredictYopls(const Matrix& x, const SavedModel& model, double maxMissing, NCProgress* progress) {
  Matrix rows = WithoutPoorRows(x, model, maxMissing);
  const Matrix scores = FilterRows(model.further[0], model.further[1], rows);
  RefuseToGoOnIf(progress);
  const detail::RowPredictions predicted = detail::PredictRows(rows, {model.W, model.P, model.C}, 1.0f, progress);
  return {predicted.TPrim, scores, predicted.Y, predicted.residualSS};
}

}  // namespace tool
