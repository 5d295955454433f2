#pragma once

#include "tools/voran/model_kind.h"
#include "tools/voran/ortho_model.h"

namespace tool {

// OPLS and Y-orthogonal PLS as kinds of saved models: `further` holds WO, PO and CO, or WO and PO. Those of OPLS are
// followed by W, P and C as they were before each orthogonal component.

bool IsOplsWhole(const SavedModel& model);
bool IsYoplsWhole(const SavedModel& model);
ScaledPrediction PredictOpls(const NCDataMatrix<float>& x, const SavedModel& model, double maxMissing,
                             NCProgress* progress);
ScaledPrediction PredictYopls(const NCDataMatrix<float>& x, const SavedModel& model, double maxMissing,
                              NCProgress* progress);

/// Adds the matrices of a fit.
void SetOplsMatrices(const OrthoMatrices& matrices, SavedModel& model);
void SetYoplsMatrices(const OrthoMatrices& matrices, SavedModel& model);

/// Takes components of Y-orthogonal PLS out of the rows of `x`; returns their scores, components x rows.
NCDataMatrix<float> FilterRows(const NCDataMatrix<float>& WO, const NCDataMatrix<float>& PO, NCDataMatrix<float>& x);

}  // namespace tool
