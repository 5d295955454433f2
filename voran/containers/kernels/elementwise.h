#pragma once

#include "voran/containers/missing_value.h"

inline namespace voran {
namespace detail {

/// Element-by-element arithmetic on arrays of n elements (0-based pointers). `out` may be an operand.
///
/// An element that is missing in an operand is missing in the result; a GapMode or flag tells which operands are
/// tested. Two-operand forms work in the element type; forms with a double work in double and round on the store. Where
/// an int is returned it is the number of markers in the result. Nothing allocates or throws, except Current() (see
/// SimdTarget).
template <typename T>
struct ElementwiseKernels {
  int (*add)(const T* a, const T* b, T* out, int n, GapMode mode);
  int (*subtract)(const T* a, const T* b, T* out, int n, GapMode mode);
  int (*multiply)(const T* a, const T* b, T* out, int n, GapMode mode);
  /// a / b; a divisor of exactly 0 gives a missing element.
  int (*divide)(const T* a, const T* b, T* out, int n, GapMode mode);
  /// The same without a test for zero divisors.
  int (*divideUnguarded)(const T* a, const T* b, T* out, int n, GapMode mode);

  int (*scale)(const T* a, double factor, T* out, int n, bool hasGaps);
  void (*subtractScalar)(const T* a, double d, T* out, int n, bool hasGaps);
  void (*divideByElements)(double numerator, const T* a, T* out, int n, bool hasGaps);
  /// a[i] / divisor
  void (*divideByScalar)(const T* a, double divisor, T* out, int n, bool hasGaps);
  /// (a[i] - mean) / stdDev
  void (*standardise)(const T* a, double mean, double stdDev, T* out, int n, bool hasGaps);
  /// row[i] = (row[i] - means[i]) * factors[i]; a difference that falls on the marker counts as the number beside it.
  void (*centreAndScale)(T* row, const T* means, const T* factors, int n);
  /// y[i] -= d * v[i]; a missing v[i] makes y[i] missing.
  void (*subtractScaled)(T* y, double d, const T* v, int n, GapMode mode);

  void (*abs)(T* a, int n, bool hasGaps);
  void (*sqrt)(T* a, int n, bool hasGaps);

  int (*countMissing)(const T* a, int n);

  static const ElementwiseKernels& Current();
};

template <>
const ElementwiseKernels<float>& ElementwiseKernels<float>::Current();
template <>
const ElementwiseKernels<double>& ElementwiseKernels<double>::Current();

}  // namespace detail
}  // namespace voran
