#include <algorithm>

#include "voran/containers/data_matrix.h"
#include "voran/containers/kernels/elementwise.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/writable_elements.h"

// What can fail in an operation comes first. An operand may be a row of the matrix: it is copied.

inline namespace voran {

using detail::ElementwiseKernels;
using detail::GapModeOf;
using detail::kMissing;

// One row or column.

template <typename T>
void NCDataMatrix<T>::LagColumn(int c, int k) {
  if (k == 0) return;
  const NCDataVector<T> former = GetColumn(c);
  const auto isVacated = [&](int i) { return i - 1LL * k < 1 || i - 1LL * k > numRows_; };
  const bool isDirect = (*colMisVal_)[c] == 0;
  Unlink();
  colMisVal_->UnlinkedPtr();
  for (int i = 1; i <= numRows_; ++i) {
    if (!isDirect || isVacated(i)) rows_[i].Unlink();
  }
  for (int i = 1; i <= numRows_; ++i) {
    if (isVacated(i)) {
      (*this)(i, c, kMissing<T>);
    } else if (isDirect) {
      rows_[i].data_[c] = former[i - k];
    } else {
      (*this)(i, c, former[i - k]);
    }
  }
}

template <typename T>
void NCDataMatrix<T>::MultiplyRow(int r, double d, int to) {
  if (d != detail::kNoValue) {
    SetRow(to, rows_[r] * d);
    return;
  }
  Unlink();
  int* const counts = colMisVal_->UnlinkedPtr();
  NCDataVector<T>& target = rows_[to];
  target.Unlink();
  for (int j = 1; j <= numColumns_; ++j) counts[j] += target[j] == kMissing<T> ? 0 : 1;
  target.SetAllValues(kMissing<T>);
}

template <typename T>
void NCDataMatrix<T>::MultiplyColumn(int c, double d, int to) {
  if (d == detail::kNoValue) {
    SetColumn(c, NCDataVector<T>(numRows_));
  } else {
    SetColumn(to, GetColumn(c) * d);
  }
}

template <typename T>
void NCDataMatrix<T>::MultiplyColumns(int a, int b, int to) {
  SetColumn(to, GetColumn(a).DotMultiplication(GetColumn(b)));
}

template <typename T>
void NCDataMatrix<T>::SubtractFromColumn(int c, double d) {
  constexpr T kBesideTheMarker = static_cast<T>(-99.00001);
  static_assert(kBesideTheMarker != kMissing<T>);
  const NCDataVector<T> former = GetColumn(c);
  NCDataVector<T> column = former - d;  // all missing if d is the marker
  for (int i = 1; i <= numRows_ && d != detail::kNoValue; ++i) {
    if (column[i] == kMissing<T> && former[i] != kMissing<T>) column(i, kBesideTheMarker);
  }
  SetColumn(c, column);
}

// All rows with a vector.

namespace {

/// A copy of v that shares nothing, with `neutral` in the gaps.
template <typename T>
NCDataVector<T> WithoutGaps(const NCDataVector<T>& v, T neutral) {
  NCDataVector<T> filled;
  filled.CopyContent(v);
  for (int j = 1; j <= filled.Size(); ++j) {
    if (filled[j] == kMissing<T>) filled(j, neutral);
  }
  return filled;
}

}  // namespace

template <typename T>
NCDataMatrix<T>& NCDataMatrix<T>::TransformToColumnScaled(NCDataVector<T>& v) {
  const auto& kernels = ElementwiseKernels<T>::Current();
  const NCDataVector<T> factors = WithoutGaps(v, T{1});
  Unlink();
  for (int i = 1; i <= numRows_; ++i) {
    T* const row = rows_[i].First();
    kernels.multiply(row, factors.begin(), row, numColumns_, GapModeOf(rows_[i].numMisVal_, 0));
  }
  return *this;
}

template <typename T>
NCDataMatrix<T>& NCDataMatrix<T>::TransformToDotSubRowVector(const NCDataVector<T>& v) {
  const auto& kernels = ElementwiseKernels<T>::Current();
  const NCDataVector<T> terms = WithoutGaps(v, T{0});
  ForceUnlink();
  for (int i = 1; i <= numRows_; ++i) {
    T* const row = rows_[i].First();
    kernels.subtract(row, terms.begin(), row, numColumns_, GapModeOf(rows_[i].numMisVal_, 0));
  }
  return *this;
}

namespace {

/// Fills the rows of `result` by fill(i, row i of m, where to), and counts what is missing in each of them.
template <typename T, class Fill>
void FillRows(const NCDataMatrix<T>& m, NCDataMatrix<T>& result, const Fill& fill) {
  const auto& kernels = ElementwiseKernels<T>::Current();
  result.ForceUnlink();
  if (m.SizeColumns() == 0) return;
  for (int i = 1; i <= m.SizeRows(); ++i) {
    NCDataVector<T>& row = result(i);
    T* const cells = detail::WritableElements(row);
    fill(i, m[i], cells);
    row.SetNumMisVal(kernels.countMissing(cells, m.SizeColumns()));
  }
}

/// The quotient of floats is the same in double and rounded, so the kernels with a number serve.
template <typename T, class Kernel>
void CombineRowsWithNumbers(const NCDataMatrix<T>& m, const NCDataVector<T>& v, NCDataMatrix<T>& result,
                            const Kernel& kernel) {
  const NCDataVector<T> numbers(v);
  FillRows(m, result, [&](int i, const NCDataVector<T>& row, T* out) {
    if (numbers[i] == kMissing<T>) {
      std::fill_n(out, row.Size(), kMissing<T>);
    } else {
      kernel(row.begin(), static_cast<double>(numbers[i]), out, row.Size(), row.GetNumMisVal() != 0);
    }
  });
}

template <typename T, class Kernel>
void CombineRowsWithVector(const NCDataMatrix<T>& m, const NCDataVector<T>& v, NCDataMatrix<T>& result,
                           const Kernel& kernel) {
  const NCDataVector<T> numbers(v);
  FillRows(m, result, [&](int, const NCDataVector<T>& row, T* out) {
    kernel(row.begin(), numbers.begin(), out, row.Size(), GapModeOf(row.GetNumMisVal(), numbers.GetNumMisVal()));
  });
}

}  // namespace

template <typename T>
void NCDataMatrix<T>::DotMultiplyVectorImpl(const NCDataVector<T>& v, NCDataMatrix& result) const {
  CombineRowsWithNumbers(*this, v, result, ElementwiseKernels<T>::Current().scale);
  result.CountAllRows();
}

template <typename T>
void NCDataMatrix<T>::DotDivideVectorImpl(const NCDataVector<T>& v, NCDataMatrix& result) const {
  CombineRowsWithNumbers(*this, v, result, ElementwiseKernels<T>::Current().divideByScalar);
  result.CountAllRows();
}

template <typename T>
void NCDataMatrix<T>::DotPreMultiplyVectorImpl(const NCDataVector<T>& v, NCDataMatrix& result) const {
  CombineRowsWithVector(*this, v, result, ElementwiseKernels<T>::Current().multiply);
  result.CountAllRows();
}

template <typename T>
void NCDataMatrix<T>::DotPreDivideVectorImpl(const NCDataVector<T>& v, NCDataMatrix& result) const {
  CombineRowsWithVector(*this, v, result, ElementwiseKernels<T>::Current().divideUnguarded);
  result.CountAllRows();
}

template <typename T>
NCDataMatrix<T> NCDataMatrix<T>::DotMultiplyVector(const NCDataVector<T>& v) const {
  NCDataMatrix result(numRows_, numColumns_, kMissing<T>);
  DotMultiplyVectorImpl(v, result);
  return result;
}

template <typename T>
NCDataMatrix<T> NCDataMatrix<T>::DotDivideVector(const NCDataVector<T>& v) const {
  NCDataMatrix result(numRows_, numColumns_, kMissing<T>);
  DotDivideVectorImpl(v, result);
  return result;
}

template <typename T>
NCDataMatrix<T> NCDataMatrix<T>::DotPreMultiplyVector(const NCDataVector<T>& v) const {
  NCDataMatrix result(numRows_, numColumns_, kMissing<T>);
  DotPreMultiplyVectorImpl(v, result);
  return result;
}

template <typename T>
NCDataMatrix<T> NCDataMatrix<T>::DotPreDivideVector(const NCDataVector<T>& v) const {
  NCDataMatrix result(numRows_, numColumns_, kMissing<T>);
  DotPreDivideVectorImpl(v, result);
  return result;
}

template <typename T>
NCDataMatrix<T> NCDataMatrix<T>::SNV() const {
  NCDataMatrix result(numRows_, numColumns_, kMissing<T>);
  SNVImpl(result);
  return result;
}

template <typename T>
void NCDataMatrix<T>::SNVImpl(NCDataMatrix& result) const {
  result.ForceUnlink();
  for (int i = 1; i <= numRows_; ++i) rows_[i].SNVImpl(result.rows_[i]);
  *result.colMisVal_ = *colMisVal_;
  result.numMisVal_ = numMisVal_;
}

template class NCDataMatrix<float>;
template class NCDataMatrix<double>;

}  // namespace voran
