#include "tools/voran/prediction_rows.h"

#include "tools/voran/component_numbers.h"
#include "tools/voran/table.h"
#include "voran/models/row_prediction.h"
#include "voran/platform/nc_error.h"

namespace tool {

NCDataMatrix<float> WithoutPoorRows(NCDataMatrix<float> x, const SavedModel& model, double maxMissing) {
  const auto components = static_cast<int>(model.Components() + model.OrthogonalComponents());
  const int allowed = detail::GapsAllowed(x.SizeColumns(), components - 1, static_cast<float>(maxMissing));
  for (int i = 1; i <= x.SizeRows(); ++i) {
    if (x[i].GetNumMisVal() > allowed) x.SetRow(i, kGap);
  }
  return x;
}

NCDataVector<double> RowSumsOfSquares(const NCDataMatrix<float>& x) {
  NCDataVector<double> sums(x.SizeRows());
  for (int i = 1; i <= x.SizeRows(); ++i) sums(i, SumOfSquares(x[i]));
  return sums;
}

void RefuseToGoOnIf(NCProgress* progress) {
  if (progress == nullptr || progress->NextSpin()) return;
  throw NCError(ExceptionMessage::translate("Prediction aborted."), NCError::Level::kCancel);
}

}  // namespace tool
