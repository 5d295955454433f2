#pragma once

#include <vector>

#include "voran/containers/data_matrix.h"

namespace tool {

/// Scores to begin the iteration of the first components of `x` with: of the best subspace that a few steps of a block
/// power iteration find, begun with a fixed one (Halko, Martinsson and Tropp 2011). A gap counts as 0.
///
/// At most `components`, and fewer where the rest of `x` is nothing but rounding: those are better begun as ever. Costs
/// six products of `x` with components + 4 vectors; a matrix of components + 4 rows and one of as many columns.
std::vector<NCDataVector<float>> WarmStarts(const NCDataMatrix<float>& x, int components);

}  // namespace tool
