#include <cassert>
#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/kernels/elementwise.h"
#include "voran/containers/kernels/reductions.h"
#include "voran/containers/matrix_product.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/parallel.h"

inline namespace voran {

using detail::ElementwiseKernels;
using detail::kMissing;
using detail::MatrixProduct;

// Products of matrices.

template <typename T>
NCDataMatrix<T> NCDataMatrix<T>::MatrixMultiply(const NCDataMatrix& b, bool transposeThis, bool transposeOther,
                                                bool keepMissing) const {
  NCDataMatrix result(transposeThis ? numColumns_ : numRows_, transposeOther ? b.numRows_ : b.numColumns_, T{0});
  MatrixMultiplyImpl(b, transposeThis, transposeOther, result, keepMissing);
  return result;
}

template <typename T>
void NCDataMatrix<T>::MatrixMultiplyImpl(const NCDataMatrix& b, bool transposeThis, bool transposeOther,
                                         NCDataMatrix& result, bool keepMissing) const {
  if (transposeThis) {
    if (transposeOther) {
      MultiplyTransposeBoth(b, result, keepMissing);
    } else {
      MultiplyTransposeThis(b, result, keepMissing);
    }
  } else if (transposeOther) {
    MultiplyTransposeOther(b, result, keepMissing);
  } else {
    MulMat(b, result, keepMissing);
  }
}

template <typename T>
NCDataMatrix<T> NCDataMatrix<T>::operator*(const NCDataMatrix& b) const {
  return MatrixMultiply(b, false, false, false);
}

/// With gaps, a sum that falls on the marker counts as missing here, other than in the transposed forms.
template <typename T>
void NCDataMatrix<T>::MulMat(const NCDataMatrix& b, NCDataMatrix& result, bool /*keepMissing*/) const {
  const bool hasGaps = MultiplyInto(b, false, false, true, result);
  if (hasGaps) result.CountMarkers();
}

template <typename T>
void NCDataMatrix<T>::MultiplyTransposeThis(const NCDataMatrix& b, NCDataMatrix& result, bool keepMissing) const {
  MultiplyInto(b, true, false, keepMissing, result);
}

template <typename T>
void NCDataMatrix<T>::MultiplyTransposeOther(const NCDataMatrix& b, NCDataMatrix& result, bool keepMissing) const {
  MultiplyInto(b, false, true, keepMissing, result);
}

template <typename T>
void NCDataMatrix<T>::MultiplyTransposeBoth(const NCDataMatrix& b, NCDataMatrix& result, bool keepMissing) const {
  MultiplyInto(b, true, true, keepMissing, result);
}

template <typename T>
bool NCDataMatrix<T>::MultiplyInto(const NCDataMatrix& b, bool transposeThis, bool transposeOther, bool keepMissing,
                                   NCDataMatrix& result) const {
  MatrixProduct<T> product(*this, transposeThis, b, transposeOther);
  assert(result.numRows_ == product.SizeRows() && result.numColumns_ == product.SizeColumns());
  result.ForceUnlink();
  product.WriteTo(result.RowPointers().data());
  result.SetNoMisVal();
  if (!product.HasGaps() || !keepMissing) return product.HasGaps();
  for (int i = 1; i <= result.numRows_; ++i) {
    for (int j = 1; j <= result.numColumns_; ++j) {
      if (!product.HasPair(i - 1, j - 1)) result(i, j, kMissing<T>);
    }
  }
  return true;
}

template <typename T>
std::vector<T*> NCDataMatrix<T>::RowPointers() {
  std::vector<T*> pointers;
  pointers.reserve(static_cast<std::size_t>(numRows_));
  for (int i = 1; i <= numRows_; ++i) pointers.push_back(rows_[i].First());
  return pointers;
}

template <typename T>
void NCDataMatrix<T>::CountMarkers() {
  const auto& kernels = ElementwiseKernels<T>::Current();
  for (int i = 1; i <= numRows_; ++i) {
    rows_[i].numMisVal_ = kernels.countMissing(rows_[i].begin(), rows_[i].size_);
  }
  CountAllRows();
}

template <typename T>
NCDataMatrix<T>& NCDataMatrix<T>::TransformToMprim_mul_M() {
  NCDataMatrix product(numColumns_, numColumns_, T{0});
  const bool hasGaps = MultiplyInto(*this, true, false, true, product);
  if (hasGaps) product.CountMarkers();
  swap(product);
  return *this;
}

// Products with a vector and with a number.

template <typename T>
NCDataVector<T> NCDataMatrix<T>::operator*(const NCDataVector<T>& v) const {
  NCDataVector<T> result(numRows_);
  MulMat(v, result);
  return result;
}

template <typename T>
void NCDataMatrix<T>::MulMat(const NCDataVector<T>& v, NCDataVector<T>& result) const {
  detail::ReductionKernels<T>::Current();  // throws here, if at all, and not inside the region
  T* const elements = result.GetWritableVector();
  const int missing = detail::ParallelSum(
      numRows_, detail::ThreadsForMatrix(numRows_, numColumns_, detail::kIterationRound), [&](int i) {
        const double product = rows_[i + 1] * v;
        elements[i + 1] = static_cast<T>(product);
        return product == detail::kNoValue ? 1 : 0;
      });
  result.SetNumMisVal(missing);
}

template <typename T>
NCDataMatrix<T> NCDataMatrix<T>::operator*(double d) const {
  NCDataMatrix result(*this);
  MulMat(d, result);
  return result;
}

template <typename T>
void NCDataMatrix<T>::MulMat(double d, NCDataMatrix& result) const {
  if (d == detail::kNoValue) {
    result.SetAllValues(kMissing<T>);
    return;
  }
  result.Unlink();
  for (int i = 1; i <= numRows_; ++i) NCDataVector<T>::Multiply(result.rows_[i], rows_[i], d);
  result.CountAllRows();
}

template class NCDataMatrix<float>;
template class NCDataMatrix<double>;

}  // namespace voran
