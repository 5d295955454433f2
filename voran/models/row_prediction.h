#pragma once

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/export.h"

inline namespace voran {

class NCProgress;

namespace detail {

/// A fitted component model as prediction needs it; the matrices stay the caller's.
struct ComponentMatrices {
  const NCDataMatrix<float>& Wprim;  ///< components x variables; of a PCA model, its loadings
  const NCDataMatrix<float>& Pprim;  ///< components x variables
  const NCDataMatrix<float>& Cprim;  ///< components x responses; of a PCA model, components x 0
};

struct RowPredictions {
  NCDataMatrix<float> TPrim;        ///< components x observations; missing where a row holds too little
  NCDataMatrix<float> Y;            ///< observations x responses; a row that lacks a score is all missing
  NCDataVector<double> residualSS;  ///< one per observation, of its present values after the last component
};

/// Up to how many gaps a row gets a score of a component, of which `before` have been taken: so that more elements are
/// present than components were taken, and the share of the gaps is at most `maxMissingFraction`.
inline int GapsAllowed(int columns, int before, float maxMissingFraction) {
  const int allowed = columns - before - 1;
  const float limit = static_cast<float>(columns) * maxMissingFraction;
  return static_cast<float>(allowed) > limit ? static_cast<int>(limit) : allowed;
}

/// Applies all components to new observations: block by block of rows, so that a block stays in the processor's cache
/// from the first component to the last. The numbers are those of NCPLSPred, called once per component on the whole;
/// X stays as it is, and nothing of its size is allocated.
///
/// A row that has more gaps than NCPLSPred allows for a component has no score from there on, and no prediction.
/// `progress`, which may be null, is moved from 0 to 1 of its range on the calling thread. Throws NCError of level 0
/// ("Prediction aborted.") if the user breaks off, and std::bad_alloc.
VORAN_EXPORT RowPredictions PredictRows(const NCDataMatrix<float>& X, const ComponentMatrices& model,
                                        float maxMissingFraction, NCProgress* progress);

}  // namespace detail
}  // namespace voran
