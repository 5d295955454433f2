#pragma once

inline namespace voran {
namespace detail {

/// A component taken out of a group of matrix rows, and what the next step asks of the result, in one reading. Pointers
/// are 0-based. The same numbers as from NipalsKernels one after the other, for every instruction set and whatever the
/// grouping of the rows. Nothing allocates or throws, except Current() (see SimdTarget).
template <typename T>
struct DeflationKernels {
  /// out[r][j] = rows[r][j] + factors[r] * p[j] in the element type, and products[r] = sum over j of out[r][j] *
  /// next[j]; with a null `next`, sum of out[r][j] squared. Neither side has gaps. A row of `out` may be the row itself
  /// and is written up to the next multiple of kDeflationPadding elements.
  void (*deflateRows)(const T* const* rows, const T* factors, int numRows, const T* p, const T* next, int n,
                      T* const* out, double* products);

  /// rows[r][j] += factors[r] * p[j] in the element type, and sums[j] += the squares of the results in double, row
  /// after row. p has no gaps; a gap of a row stays one and adds nothing if `rowsHaveGaps`.
  void (*deflateAndSumSquares)(T* const* rows, const T* factors, int numRows, const T* p, int n, bool rowsHaveGaps,
                               double* sums);

  static const DeflationKernels& Current();
};

inline constexpr int kDeflationPadding = 16;

template <>
const DeflationKernels<float>& DeflationKernels<float>::Current();
template <>
const DeflationKernels<double>& DeflationKernels<double>::Current();

}  // namespace detail
}  // namespace voran
