#include <algorithm>

#include "voran/containers/data_matrix.h"

inline namespace voran {

// Element-wise operators. The rows of a result that shares them are unlinked one by one, just before they are written.

template <typename T>
NCDataMatrix<T> NCDataMatrix<T>::operator+(const NCDataMatrix& b) const {
  NCDataMatrix result(*this);
  AddMat(b, result);
  return result;
}

template <typename T>
NCDataMatrix<T> NCDataMatrix<T>::operator-(const NCDataMatrix& b) const {
  NCDataMatrix result(*this);
  SubMat(b, result);
  return result;
}

template <typename T>
NCDataMatrix<T>& NCDataMatrix<T>::operator+=(const NCDataMatrix& b) {
  ForceUnlink();  // may fail, and then nothing has changed
  AddMat(b, *this);
  return *this;
}

template <typename T>
NCDataMatrix<T>& NCDataMatrix<T>::operator-=(const NCDataMatrix& b) {
  ForceUnlink();
  SubMat(b, *this);
  return *this;
}

/// Leaves the column and total counts of `result` alone, deliberately: models add complete matrices.
template <typename T>
void NCDataMatrix<T>::AddMat(const NCDataMatrix& b, NCDataMatrix& result) const {
  result.Unlink();
  for (int i = 1; i <= numRows_; ++i) NCDataVector<T>::Add(result.rows_[i], rows_[i], b.rows_[i]);
}

template <typename T>
void NCDataMatrix<T>::SubMat(const NCDataMatrix& b, NCDataMatrix& result) const {
  result.Unlink();
  for (int i = 1; i <= numRows_; ++i) NCDataVector<T>::Subtract(result.rows_[i], rows_[i], b.rows_[i]);
  result.CountAllRows();
}

template <typename T>
bool NCDataMatrix<T>::operator==(const NCDataMatrix& b) const {
  if (link_ == b.link_) return true;
  return numRows_ <= b.numRows_ && std::equal(begin(), end(), b.begin());
}

template <typename T>
bool NCDataMatrix<T>::operator!=(const NCDataMatrix& b) const {
  return !(*this == b);
}

/// The counts of rows and columns change places, and the total stays.
template <typename T>
NCDataMatrix<T>& NCDataMatrix<T>::Transpose() {
  constexpr int kBlock = static_cast<int>(64 / sizeof(T));  // a line of the cache either way
  NCDataMatrix transposed(numColumns_, numRows_, T{0});
  for (int firstRow = 1; firstRow <= numRows_; firstRow += kBlock) {
    const int lastRow = std::min(firstRow + kBlock - 1, numRows_);
    for (int firstColumn = 1; firstColumn <= numColumns_; firstColumn += kBlock) {
      const int lastColumn = std::min(firstColumn + kBlock - 1, numColumns_);
      for (int j = firstColumn; j <= lastColumn; ++j) {
        T* const to = transposed.rows_[j].data_;
        for (int i = firstRow; i <= lastRow; ++i) to[i] = rows_[i].data_[j];
      }
    }
  }
  int* const columnCounts = transposed.colMisVal_->UnlinkedPtr();
  for (int i = 1; i <= numRows_; ++i) columnCounts[i] = rows_[i].numMisVal_;
  for (int j = 1; j <= numColumns_; ++j) transposed.rows_[j].numMisVal_ = (*colMisVal_)[j];
  transposed.numMisVal_ = numMisVal_;
  swap(transposed);
  return *this;
}

template class NCDataMatrix<float>;
template class NCDataMatrix<double>;

}  // namespace voran
