#pragma once

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"

inline namespace voran {
namespace detail {

/// v at unit length; a vector of zeros stays one.
NCDataVector<float> UnitLength(NCDataVector<float> v);

/// The direction of unit length in which the rows of a small matrix of covariances vary most: of a single row, that row
/// itself; of several, the loading of their first principal component. A row of zeros stays one.
///
/// Throws what NCPCA::NextComponent throws, which shows progress of its own.
NCDataVector<float> LeadingDirection(const NCDataMatrix<float>& covariances, int iterationLimit);

}  // namespace detail
}  // namespace voran
