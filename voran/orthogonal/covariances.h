#pragma once

#include "voran/containers/data_matrix.h"

inline namespace voran {
namespace detail {

/// F X for a matrix F of a few rows, one element per observation, and X (observations x variables): sums over pairs
/// present, missing where there is none. Other than in F.MatrixMultiply(X, ...), nothing of X is copied together, which
/// is what costs time where rows are few; the numbers are the same to the bit, at any number of threads.
NCDataMatrix<float> RowCovariances(const NCDataMatrix<float>& F, const NCDataMatrix<float>& X);

/// Y'X for Y of any width, in the same way where it is narrow; 0 where there is no pair.
NCDataMatrix<float> Covariances(const NCDataMatrix<float>& Y, const NCDataMatrix<float>& X);

}  // namespace detail
}  // namespace voran
