#include "tools/voran/o2pls_model.h"

#include <cstddef>
#include <utility>

#include "tools/voran/prediction_rows.h"
#include "voran/orthogonal/o2pls_prediction.h"

namespace tool {
namespace {

using Matrix = NCDataMatrix<float>;

// Where the matrices stand in SavedModel::further. The second half is the first one of the other block.
enum Further : std::size_t { kQ, kWo, kPo, kS, kLambda, kCo, kQo, kR, kXLambda, kMatrices };

bool IsSquare(const Matrix& matrix, std::size_t size) {
  return matrix.SizeRows() == static_cast<int>(size) && matrix.SizeColumns() == static_cast<int>(size);
}

}  // namespace

SavedModel O2plsModel(const O2plsResult& result, const std::string& summary) {
  SavedModel model = RegressionModel("o2pls", result, summary);
  const O2plsBlock& x = result.xBlock;
  const O2plsBlock& y = result.yBlock;
  model.W = x.W;
  model.P = x.P;
  model.C = y.W;
  model.further = {y.P, x.Wo, x.Po, x.crossLoadings, x.inner, y.Wo, y.Po, y.crossLoadings, y.inner};
  model.ySpread = y.spread;
  return model;
}

SavedModel Mirrored(const SavedModel& model) {
  SavedModel mirrored = model;
  std::swap(mirrored.x, mirrored.y);
  std::swap(mirrored.spread, *mirrored.ySpread);
  mirrored.classes.clear();
  mirrored.W = model.C;
  mirrored.C = model.W;
  mirrored.P = model.further[kQ];
  const auto& m = model.further;
  mirrored.further = {model.P, m[kCo], m[kQo], m[kR], m[kXLambda], m[kWo], m[kPo], m[kS], m[kLambda]};
  return mirrored;
}

bool IsO2plsWhole(const SavedModel& model) {
  if (model.further.size() != kMatrices || model.y.names.empty() || !model.ySpread) return false;
  const std::size_t joint = model.Components();
  const std::size_t variances = model.ySpread->scoreVariances.size();
  if (variances < joint) return false;
  const std::size_t ofX = model.OrthogonalComponents();
  const std::size_t ofY = variances - joint;
  const auto& m = model.further;
  return HasShape(m[kQ], joint, model.y.names) && HasShape(m[kWo], ofX, model.x.names) &&
         HasShape(m[kPo], ofX, model.x.names) && HasShape(m[kS], ofX, model.y.names) && IsSquare(m[kLambda], joint) &&
         HasShape(m[kCo], ofY, model.y.names) && HasShape(m[kQo], ofY, model.y.names) &&
         HasShape(m[kR], ofY, model.x.names) && IsSquare(m[kXLambda], joint);
}

ScaledPrediction PredictO2pls(const Matrix& x, const SavedModel& model, double maxMissing, NCProgress* progress) {
  const Matrix rows = WithoutPoorRows(x, model, maxMissing);
  RefuseToGoOnIf(progress);
  const auto& m = model.further;
  const NCO2PLSYPred prediction(rows, model.P, model.W, m[kQ], m[kWo], m[kPo], m[kS], m[kLambda],
                                static_cast<int>(model.y.names.size()), 0);
  RefuseToGoOnIf(progress);
  ScaledPrediction result = {prediction.GetT(), prediction.GetTo(), prediction.GetYPred(), {}};
  Matrix rest = rows;
  for (int j = 1; j <= result.TO.SizeRows(); ++j) rest.AddVprimV(result.TO[j], m[kPo][j], -1.0f);
  for (int a = 1; a <= result.T.SizeRows(); ++a) rest.AddVprimV(result.T[a], model.P[a], -1.0f);
  result.residualSS = RowSumsOfSquares(rest);
  return result;
}

}  // namespace tool
