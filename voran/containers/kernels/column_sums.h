#pragma once

inline namespace voran {
namespace detail {

/// Shares of a few matrix rows in sums over columns, added row after row, so that the grouping of the rows does not
/// show. Pointers are 0-based; a row is an array of at least n elements, and missing ones are skipped if `hasGaps`.
/// Elements are widened first. Same bits for every instruction set. Nothing allocates or throws, except Current() (see
/// SimdTarget).
template <typename T>
struct ColumnSumKernels {
  /// sums[j] += rows[r][j]
  void (*addElements)(const T* const* rows, int numRows, int n, bool hasGaps, double* sums);

  /// sums[j] += (rows[r][j] - about[j]) squared
  void (*addSquaresAbout)(const T* const* rows, int numRows, int n, bool hasGaps, const double* about, double* sums);

  /// With d = row[j] - about[j]: products[j] += d * y and squares[j] += d * d.
  void (*addProducts)(const T* row, double y, int n, const double* about, double* products, double* squares);

  /// The same over present elements, and ySquares[j] += y * y over them.
  void (*addProductsWithGaps)(const T* row, double y, int n, const double* about, double* products, double* squares,
                              double* ySquares);

  static const ColumnSumKernels& Current();
};

template <>
const ColumnSumKernels<float>& ColumnSumKernels<float>::Current();
template <>
const ColumnSumKernels<double>& ColumnSumKernels<double>::Current();

}  // namespace detail
}  // namespace voran
