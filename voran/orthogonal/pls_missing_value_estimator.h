#pragma once

#include "voran/containers/data_matrix.h"
#include "voran/export.h"

inline namespace voran {

class NCProgress;

namespace detail {

/// What PLSMissingValueEstimator does to one block: fills the gaps of X by a model of Y on X, and returns with how many
/// components. Without a gap it does nothing and returns 0.
VORAN_EXPORT int FillGaps(NCDataMatrix<float>& X, const NCDataMatrix<float>& Y, NCProgress* progress);

}  // namespace detail

/// Fills the gaps of X, in place: a PLS model of Y on X is fitted, with as many components as cross-validation in seven
/// groups finds significant, and a gap gets what the model reconstructs there, the sum of t p over the components. With
/// no significant component every gap becomes 0. What is present stays as it is, to the bit.
///
/// With `bothBlocks` the gaps of Y are then filled likewise by a model of the completed X on Y. X and Y have the same
/// observations as rows, and should be centred and scaled: nothing is added to a reconstruction. `progress` may be
/// null. A block that was filled goes to NCMatUtilities::ShowMatrix if NCO2PLS::SetShowMissingValueSupstitution asks
/// for it.
///
/// Throws NCError of level 2 if the user breaks off ("Computations aborted."), and what NCPLS::NextComponent throws; it
/// says that X and Y do not correlate for the first component only, after which there are enough. The block whose turn
/// it is then is as it was: X also, unless it is complete and the turn is Y's.
VORAN_EXPORT void PLSMissingValueEstimator(NCDataMatrix<float>& X, NCDataMatrix<float>& Y, bool bothBlocks,
                                           NCProgress* progress);

}  // namespace voran
