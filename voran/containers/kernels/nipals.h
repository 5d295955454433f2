#pragma once

inline namespace voran {
namespace detail {

/// Rows that are wanted soon: a kernel has them fetched into the cache while it works, a line for each line that it
/// reads.
template <typename T>
struct RowsAhead {
  const T* const* rows = nullptr;
  int count = 0;
};

/// The two halves of a NIPALS round on a group of matrix rows, and the deflation of one row. Pointers are 0-based; a
/// row is an array of at least n elements. Same bits for every instruction set, and whatever the grouping of the rows:
/// column sums are added row by row. Nothing allocates or throws, except Current() (see SimdTarget).
template <typename T>
struct NipalsKernels {
  /// products[r] = sum over j of rows[r][j] * p[j]; neither side has gaps.
  void (*rowProducts)(const T* const* rows, int numRows, const T* p, int n, RowsAhead<T> ahead, double* products);

  /// The same over pairs present, and pairedSquares[r] = sum of p[j] * p[j] over them. `pHasGaps` tells whether p is
  /// tested for the marker.
  void (*rowProductsWithGaps)(const T* const* rows, int numRows, const T* p, bool pHasGaps, int n, RowsAhead<T> ahead,
                              double* products, double* pairedSquares);

  /// sums[j] += rows[r][first + j] * t[r] for j < n, row after row; with `anew` onto 0, whatever the sums were. There
  /// is one row at least.
  void (*addRows)(const T* const* rows, const T* t, int numRows, int first, int n, RowsAhead<T> ahead, bool anew,
                  double* sums);

  /// The same over present elements, and weightSums[j] += weights[r] over them.
  void (*addRowsWithGaps)(const T* const* rows, const T* t, const T* weights, int numRows, int first, int n,
                          RowsAhead<T> ahead, double* sums, double* weightSums);

  /// row[j] += f * b[j] in the element type; a gap stays one if `rowHasGaps`. b is taken as it is.
  void (*addScaled)(T* row, T f, const T* b, int n, bool rowHasGaps);

  static const NipalsKernels& Current();
};

template <>
const NipalsKernels<float>& NipalsKernels<float>::Current();
template <>
const NipalsKernels<double>& NipalsKernels<double>::Current();

}  // namespace detail
}  // namespace voran
