#pragma once

#include <string>

#include "tools/voran/model_file.h"
#include "tools/voran/model_kind.h"
#include "tools/voran/o2pls_fit.h"

namespace tool {

/// What is kept of a fit; `summary` is its JSON text.
SavedModel O2plsModel(const O2plsResult& result, const std::string& summary);

/// The same O2PLS model with its blocks exchanged, so that it predicts X from Y.
SavedModel Mirrored(const SavedModel& model);

// What the kind "o2pls" is made of; see ModelKind.

bool IsO2plsWhole(const SavedModel& model);
ScaledPrediction PredictO2pls(const NCDataMatrix<float>& x, const SavedModel& model, double maxMissing,
                              NCProgress* progress);

}  // namespace tool
