#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/kernels/elementwise.h"
#include "voran/containers/missing_value.h"

inline namespace voran {

using detail::ElementwiseKernels;
using detail::GapModeOf;

// The bodies of the operators. `result` has the operands' size and may be one of them.

template <typename T>
void NCDataVector<T>::Add(NCDataVector& result, const NCDataVector& a, const NCDataVector& b) {
  const auto& kernels = ElementwiseKernels<T>::Current();
  result.Unlink();
  const auto mode = GapModeOf(a.numMisVal_, b.numMisVal_);
  result.numMisVal_ = kernels.add(a.begin(), b.begin(), result.First(), a.size_, mode);
}

template <typename T>
void NCDataVector<T>::Subtract(NCDataVector& result, const NCDataVector& a, const NCDataVector& b) {
  const auto& kernels = ElementwiseKernels<T>::Current();
  result.Unlink();
  const auto mode = GapModeOf(a.numMisVal_, b.numMisVal_);
  result.numMisVal_ = kernels.subtract(a.begin(), b.begin(), result.First(), a.size_, mode);
}

template <typename T>
void NCDataVector<T>::Subtract(NCDataVector& result, const NCDataVector& a, double d) {
  if (d == detail::kNoValue) {
    result.SetAllValues(detail::kMissing<T>);
    return;
  }
  const auto& kernels = ElementwiseKernels<T>::Current();
  result.Unlink();
  kernels.subtractScalar(a.begin(), d, result.First(), a.size_, a.numMisVal_ != 0);
  result.numMisVal_ = a.numMisVal_;
}

template <typename T>
void NCDataVector<T>::Multiply(NCDataVector& result, const NCDataVector& a, double d) {
  const auto& kernels = ElementwiseKernels<T>::Current();
  result.Unlink();
  result.numMisVal_ = kernels.scale(a.begin(), d, result.First(), a.size_, a.numMisVal_ != 0);
}

template <typename T>
NCDataVector<T> NCDataVector<T>::operator+(const NCDataVector& v) const {
  NCDataVector result(size_);
  Add(result, *this, v);
  return result;
}

template <typename T>
NCDataVector<T> NCDataVector<T>::operator-(const NCDataVector& v) const {
  NCDataVector result(size_);
  Subtract(result, *this, v);
  return result;
}

template <typename T>
NCDataVector<T>& NCDataVector<T>::operator+=(const NCDataVector& v) {
  Add(*this, *this, v);
  return *this;
}

template <typename T>
NCDataVector<T>& NCDataVector<T>::operator-=(const NCDataVector& v) {
  Subtract(*this, *this, v);
  return *this;
}

template <typename T>
NCDataVector<T> NCDataVector<T>::operator*(double d) const {
  NCDataVector result(size_);
  Multiply(result, *this, d);
  return result;
}

template <typename T>
NCDataVector<T> NCDataVector<T>::operator-(double d) const {
  NCDataVector result(size_);
  Subtract(result, *this, d);
  return result;
}

template <typename T>
NCDataVector<T>& NCDataVector<T>::operator*=(double d) {
  Multiply(*this, *this, d);
  return *this;
}

template <typename T>
NCDataVector<T>& NCDataVector<T>::operator-=(double d) {
  Subtract(*this, *this, d);
  return *this;
}

template <typename T>
NCDataVector<T> NCDataVector<T>::operator*(const NCDataMatrix<T>& m) const {
  return m.PreMultiply(*this);
}

template <typename T>
NCDataVector<T> NCDataVector<T>::DotMultiplication(const NCDataVector& b) const {
  NCDataVector result(size_);
  DotMultiplicationImpl(b, result);
  return result;
}

template <typename T>
void NCDataVector<T>::DotMultiplicationImpl(const NCDataVector& b, NCDataVector& result) const {
  const auto& kernels = ElementwiseKernels<T>::Current();
  result.Unlink();
  result.numMisVal_ = kernels.multiply(begin(), b.begin(), result.First(), size_, GapModeOf(numMisVal_, b.numMisVal_));
}

template <typename T>
NCDataVector<T> NCDataVector<T>::DotDivide(const NCDataVector& b) const {
  NCDataVector result(size_);
  DotDivideImpl(b, result);
  return result;
}

template <typename T>
void NCDataVector<T>::DotDivideImpl(const NCDataVector& b, NCDataVector& result) const {
  const auto& kernels = ElementwiseKernels<T>::Current();
  result.Unlink();
  result.numMisVal_ = kernels.divide(begin(), b.begin(), result.First(), size_, GapModeOf(numMisVal_, b.numMisVal_));
}

template <typename T>
NCDataVector<T> NCDataVector<T>::VectorDivide(double d) const {
  NCDataVector result(size_);
  VectorDivideImpl(d, result);
  return result;
}

template <typename T>
void NCDataVector<T>::VectorDivideImpl(double d, NCDataVector& result) const {
  const auto& kernels = ElementwiseKernels<T>::Current();
  result.Unlink();
  kernels.divideByElements(d, begin(), result.First(), size_, numMisVal_ != 0);
  result.numMisVal_ = numMisVal_;
}

template <typename T>
NCDataVector<T>& NCDataVector<T>::TransformTo_Sub_d_x_Vt(double d, const NCDataVector& v) {
  const auto& kernels = ElementwiseKernels<T>::Current();
  Unlink();
  kernels.subtractScaled(First(), d, v.begin(), size_, GapModeOf(numMisVal_, v.numMisVal_));
  return *this;
}

template <typename T>
void NCDataVector<T>::Abs() {
  const auto& kernels = ElementwiseKernels<T>::Current();
  Unlink();
  kernels.abs(First(), size_, numMisVal_ != 0);
}

template <typename T>
void NCDataVector<T>::Sqrt() {
  const auto& kernels = ElementwiseKernels<T>::Current();
  Unlink();
  kernels.sqrt(First(), size_, numMisVal_ != 0);
}

template class NCDataVector<float>;
template class NCDataVector<double>;

}  // namespace voran
