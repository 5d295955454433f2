#include "voran/containers/bidiagonal_reduction.h"

#include <algorithm>
#include <cmath>

#include "voran/containers/kernels/elementwise.h"
#include "voran/containers/kernels/nipals.h"
#include "voran/containers/kernels/reductions.h"

inline namespace voran {
namespace detail {

namespace {

/// Columns that are worked on together while they are in the nearest cache.
constexpr int kColumnsTogether = 4;

/// Calls work(first, count) for the columns from `from` up to `to`, a few at a time. Not on several threads: a region
/// for each reflection is too short to pay for, and costs dearly where other programs want the processors.
template <class Work>
void ForColumns(int from, int to, const Work& work) {
  for (int first = from; first < to; first += kColumnsTogether) work(first, std::min(kColumnsTogether, to - first));
}

}  // namespace

template <typename T>
BidiagonalReduction<T>::BidiagonalReduction(ColumnMatrix<T>& p, ColumnMatrix<T>& q)
    : p_(p),
      q_(q),
      rows_(p.Rows()),
      columns_(q.Columns()),
      leftScales_(static_cast<std::size_t>(columns_)),
      rightScales_(static_cast<std::size_t>(columns_)),
      pending_(static_cast<std::size_t>(rows_)),
      sums_(static_cast<std::size_t>(rows_)) {
  NipalsKernels<T>::Current();  // throws here if at all
}

/// Makes x the vector u of the reflection I + u u' / h that takes it to a multiple of the first unit vector, which is
/// put out as `remaining`. Returns h, or 0 for a zero vector. Dividing by the sum of magnitudes keeps the squares in
/// range, and u stays at that scale.
template <typename T>
double BidiagonalReduction<T>::FormReflection(T* x, int n, T& remaining) {
  double scale = 0.0;
  for (int k = 0; k < n; ++k) scale += static_cast<double>(std::abs(x[k]));
  remaining = T{0};
  if (scale == 0.0) return 0.0;
  ElementwiseKernels<T>::Current().divideByScalar(x, scale, x, n, false);
  const double squares = ReductionKernels<T>::Current().sumOfSquares(x, n, false);
  const auto first = static_cast<double>(x[0]);
  const double norm = -std::copysign(std::sqrt(squares), first);
  x[0] = static_cast<T>(first - norm);
  remaining = static_cast<T>(scale * norm);
  return first * norm - squares;
}

/// Applies the reflection I + u u' / h that stands in column i from row i on to `count` columns.
template <typename T>
void BidiagonalReduction<T>::Reflect(ColumnMatrix<T>& matrix, int i, double h, int first, int count) {
  const NipalsKernels<T>& kernels = NipalsKernels<T>::Current();
  const T* const u = matrix.Column(i) + i;
  const int n = matrix.Rows() - i;
  T* columns[kColumnsTogether];
  for (int c = 0; c < count; ++c) columns[c] = matrix.Column(first + c) + i;
  double products[kColumnsTogether];
  kernels.rowProducts(columns, count, u, n, {}, products);
  for (int c = 0; c < count; ++c) kernels.addScaled(columns[c], static_cast<T>(products[c] / h), u, n, false);
}

template <typename T>
void BidiagonalReduction<T>::Reduce(T* w, T* e) {
  for (int i = 0; i < columns_; ++i) {
    AddPending(i);
    leftScales_[static_cast<std::size_t>(i)] = FormReflection(p_.Column(i) + i, rows_ - i, w[i]);
    ReflectLeft(i);
    if (i + 1 < columns_) PrepareRight(i, e[i + 1]);
  }
}

/// Reflects the columns behind column i, each after what the step before left pending, so that it is fetched once.
template <typename T>
void BidiagonalReduction<T>::ReflectLeft(int i) {
  const double h = leftScales_[static_cast<std::size_t>(i)];
  ForColumns(i + 1, columns_, [&](int first, int count) {
    for (int c = first; c < first + count; ++c) AddPending(c);
    if (h != 0.0) Reflect(p_, i, h, first, count);
  });
}

/// Forms the reflection v of row i right of the diagonal, which is kept in column i + 1 of q, and the vector whose
/// products with the elements of v it adds to the columns of A.
template <typename T>
void BidiagonalReduction<T>::PrepareRight(int i, T& remaining) {
  const int next = i + 1;
  const int n = columns_ - next;
  T* const v = q_.Column(next) + next;
  for (int k = 0; k < n; ++k) v[k] = p_.Column(next + k)[i];
  const double h = FormReflection(v, n, remaining);
  rightScales_[static_cast<std::size_t>(next)] = h;
  pendingFrom_ = h != 0.0 ? next : 0;
  if (h == 0.0) return;
  const int below = rows_ - next;
  NipalsKernels<T>::Current().addRows(p_.Pointers() + next, v, n, next, below, {}, true, sums_.data());
  for (int r = 0; r < below; ++r) {
    const auto k = static_cast<std::size_t>(r);
    pending_[k] = static_cast<T>(sums_[k] / h);
  }
}

/// Adds to a column of A what the reflection of the rows by the step before has left for it.
template <typename T>
void BidiagonalReduction<T>::AddPending(int column) {
  const int from = pendingFrom_;
  if (from == 0) return;
  const T factor = q_.Column(from)[column];
  NipalsKernels<T>::Current().addScaled(p_.Column(column) + from, factor, pending_.data(), rows_ - from, false);
}

template <typename T>
void BidiagonalReduction<T>::Accumulate() {
  AccumulateSide(p_, 0, columns_, leftScales_);
  AccumulateSide(q_, 1, columns_, rightScales_);
}

/// Reflection i, for first <= i < last, stands in column i from row i on. Their product replaces the columns of `side`,
/// from the last reflection to the first: each changes the columns behind its own and then becomes its own column.
template <typename T>
void BidiagonalReduction<T>::AccumulateSide(ColumnMatrix<T>& side, int first, int last,
                                            const std::vector<double>& scales) {
  const auto makeUnit = [&](int c) {
    std::fill_n(side.Column(c), side.Rows(), T{0});
    side.Column(c)[c] = T{1};
  };
  for (int c = 0; c < side.Columns(); ++c) {
    if (c < first || c >= last) makeUnit(c);
  }
  for (int i = last - 1; i >= first; --i) {
    const double h = scales[static_cast<std::size_t>(i)];
    if (h == 0.0) {
      makeUnit(i);
      continue;
    }
    ForColumns(i + 1, side.Columns(), [&](int from, int count) { Reflect(side, i, h, from, count); });
    T* const u = side.Column(i) + i;
    const int n = side.Rows() - i;
    ElementwiseKernels<T>::Current().scale(u, static_cast<double>(u[0]) / h, u, n, false);
    u[0] += T{1};
    std::fill_n(side.Column(i), i, T{0});
  }
}

template class BidiagonalReduction<float>;
template class BidiagonalReduction<double>;

}  // namespace detail
}  // namespace voran
