#include "tools/voran/model_kind.h"

#include <algorithm>
#include <iterator>

#include "tools/voran/o2pls_model.h"
#include "tools/voran/ortho_prediction.h"
#include "voran/models/row_prediction.h"

namespace tool {
namespace {

using Matrix = NCDataMatrix<float>;

bool IsPlainWhole(const SavedModel& m) {
  return m.further.empty() && m.OrthogonalComponents() == 0 && !m.ySpread;
}

bool IsPcaWhole(const SavedModel& m) {
  return IsPlainWhole(m) && m.y.names.empty();
}

bool IsPlsWhole(const SavedModel& m) {
  return IsPlainWhole(m) && !m.y.names.empty();
}

ScaledPrediction PredictPlain(const Matrix& x, const SavedModel& model, double maxMissing, NCProgress* progress) {
  const detail::RowPredictions rows =
      detail::PredictRows(x, {model.W, model.P, model.C}, static_cast<float>(maxMissing), progress);
  return {rows.TPrim, Matrix(), rows.Y, rows.residualSS};
}

constexpr ModelKind kKinds[] = {
    {"pca", "PCA", IsPcaWhole, PredictPlain},
    {"pls", "PLS", IsPlsWhole, PredictPlain},
    {"opls", "OPLS", IsOplsWhole, PredictOpls},
    {"o2pls", "O2PLS", IsO2plsWhole, PredictO2pls},
    {"yopls", "Y-orthogonal PLS", IsYoplsWhole, PredictYopls},
};

}  // namespace

const ModelKind* FindModelKind(std::string_view name) {
  const auto found = std::find_if(std::begin(kKinds), std::end(kKinds), [&](const auto& k) { return k.name == name; });
  return found == std::end(kKinds) ? nullptr : found;
}

const ModelKind& KindOf(const SavedModel& model) {
  return *FindModelKind(model.kind);
}

}  // namespace tool
