#pragma once

#include <algorithm>

#include "voran/containers/data_matrix.h"

inline namespace voran {
namespace detail {

/// Whether a row counts a missing element, be it one that was written through the row, or left by NCDataMatrix::SNV():
/// the count of the matrix does not know of these.
template <typename T>
bool AnyRowHasGaps(const NCDataMatrix<T>& matrix) {
  return std::any_of(matrix.begin(), matrix.end(), [](const NCDataVector<T>& row) { return row.GetNumMisVal() != 0; });
}

/// Whether neither the matrix nor a row of it counts a missing element.
template <typename T>
bool IsComplete(const NCDataMatrix<T>& matrix) {
  return matrix.GetNumMisVal() == 0 && !AnyRowHasGaps(matrix);
}

}  // namespace detail
}  // namespace voran
