#pragma once

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"

inline namespace voran {
namespace detail {

/// v at unit length; a vector of zeros stays one.
NCDataVector<float> UnitLength(NCDataVector<float> v);

/// The loading of the first principal component of m: the direction of unit length in which its rows vary most, and of
/// a single row that row itself. A row of zeros stays one; without rows all is missing.
///
/// Throws what NCPCA::NextComponent throws, which shows progress of its own.
NCDataVector<float> LeadingDirection(const NCDataMatrix<float>& m, int iterationLimit);

}  // namespace detail
}  // namespace voran
