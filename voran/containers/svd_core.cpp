#include "voran/containers/svd_core.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "voran/containers/bidiagonal_reduction.h"
#include "voran/containers/column_matrix.h"
#include "voran/containers/qr_iteration.h"

inline namespace voran {
namespace detail {

namespace {

/// The power of two by which the largest magnitude comes near 1, so that no square overflows and only what is next to
/// nothing beside it underflows. False if an element is not finite.
template <typename T>
bool FindExponent(const T* const* a, int m, int n, int& exponent) {
  T largest = T{0};
  for (int i = 1; i <= m; ++i) {
    for (int j = 1; j <= n; ++j) {
      if (!std::isfinite(a[i][j])) return false;
      largest = std::max(largest, std::abs(a[i][j]));
    }
  }
  std::frexp(largest, &exponent);
  exponent = std::max(exponent, 1 - std::numeric_limits<T>::max_exponent);  // its inverse is finite, too
  return true;
}

}  // namespace

template <typename T>
bool DecomposeSingularValues(T* const* a, int m, int n, T* w, T* const* v) {
  int exponent = 0;
  if (!FindExponent(a, m, n, exponent)) return false;
  // Of a matrix with fewer rows than columns the transpose is decomposed, U and V change places, and V has columns that
  // belong to no singular value.
  const bool isWide = m < n;
  const int count = std::min(m, n);
  ColumnMatrix<T> p(std::max(m, n), n);
  ColumnMatrix<T> q(count, count);
  std::vector<T> diagonal(static_cast<std::size_t>(count));
  std::vector<T> superdiagonal(static_cast<std::size_t>(count));
  BidiagonalReduction<T> reduction(p, q);
  QrIteration<T> iteration(diagonal, superdiagonal, p, q);

  if (isWide) {
    p.TakeTransposed(a, count);
  } else {
    p.TakeRows(a);
  }
  p.Scale(std::ldexp(T{1}, -exponent));
  reduction.Reduce(diagonal.data(), superdiagonal.data());
  reduction.Accumulate();
  if (!iteration.Run()) return false;

  std::fill_n(w + 1, n, T{0});
  for (int k = 0; k < count; ++k) {
    w[k + 1] = std::ldexp(diagonal[static_cast<std::size_t>(k)], exponent);
    if (!std::isfinite(w[k + 1])) return false;
  }
  p.GiveRows(isWide ? v : a);
  q.GiveRows(isWide ? a : v);
  for (int i = 1; isWide && i <= m; ++i) std::fill(a[i] + m + 1, a[i] + n + 1, T{0});
  return true;
}

template bool DecomposeSingularValues(float* const* a, int m, int n, float* w, float* const* v);
template bool DecomposeSingularValues(double* const* a, int m, int n, double* w, double* const* v);

}  // namespace detail
}  // namespace voran
