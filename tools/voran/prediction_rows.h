#pragma once

#include "tools/voran/model_file.h"
#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/platform/progress.h"

namespace tool {

// What the kinds of models with orthogonal components do alike with new rows.

/// The rows that lack more than the share `maxMissing`, or have fewer values than the model components, become missing
/// throughout, and so get no score.
NCDataMatrix<float> WithoutPoorRows(NCDataMatrix<float> x, const SavedModel& model, double maxMissing);

/// Of the present elements of each row.
NCDataVector<double> RowSumsOfSquares(const NCDataMatrix<float>& x);

/// Throws NCError of level 0 if `progress`, which may be null, says that the user breaks off.
void RefuseToGoOnIf(NCProgress* progress);

}  // namespace tool
