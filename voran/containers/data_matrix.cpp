#include "voran/containers/data_matrix.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>

#include "voran/containers/cell_count.h"
#include "voran/containers/growth_rule.h"
#include "voran/containers/missing_value.h"

inline namespace voran {

using detail::VectorLink;

// Construction and sharing.

template <typename T>
NCDataMatrix<T>::NCDataMatrix() {
  auto counts = std::make_unique<NCIntegralVector<int, -99>>();
  link_ = new VectorLink;
  colMisVal_ = counts.release();
}

template <typename T>
NCDataMatrix<T>::NCDataMatrix(int rowCount, int columnCount, T value) : NCDataMatrix() {
  const bool missing = value == detail::kMissing<T>;
  numMisVal_ = missing ? detail::MissingCount(1LL * rowCount * columnCount) : 0;
  rows_ = new NCDataVector<T>[static_cast<std::size_t>(rowCount) + 1];
  rowCapacity_ = rowCount;
  numRows_ = rowCount;
  numColumns_ = columnCount;
  for (int i = 1; i <= numRows_; ++i) {
    NCDataVector<T>& row = rows_[i];  // filled in place: thin matrices are mostly allocations
    row.Reserve(columnCount);
    if (columnCount > 0) std::fill_n(row.data_ + 1, columnCount, value);
    row.size_ = columnCount;
    row.numMisVal_ = missing ? columnCount : 0;
  }
  colMisVal_->SetNumValues(columnCount, missing ? rowCount : 0);
}

template <typename T>
NCDataMatrix<T>::NCDataMatrix(const NCDataMatrix& other) {
  const std::lock_guard<detail::SpinLock> guard(other.link_->lock);
  numColumns_ = other.numColumns_;
  numRows_ = other.numRows_;
  rows_ = other.rows_;
  colMisVal_ = other.colMisVal_;
  numMisVal_ = other.numMisVal_;
  rowCapacity_ = other.rowCapacity_;
  link_ = other.link_;
  link_->AddSharer();
}

template <typename T>
NCDataMatrix<T>& NCDataMatrix<T>::operator=(const NCDataMatrix& other) {
  if (link_ == other.link_) return *this;
  NCDataMatrix copy(other);
  swap(copy);
  return *this;
}

template <typename T>
NCDataMatrix<T>::~NCDataMatrix() {
  bool wasLast;
  {
    const std::lock_guard<detail::SpinLock> guard(link_->lock);
    wasLast = link_->DropSharer();
  }
  if (wasLast) {
    DeleteRows();
    delete colMisVal_;
    delete link_;
  }
}

/// The elements go from the first row on, and not from the last as with the array alone: a heap that ends with them
/// would shrink piece by piece, and each time have the system interrupt the processors of all other threads.
template <typename T>
void NCDataMatrix<T>::DeleteRows() {
  const int count = rows_ == nullptr ? 0 : std::max(rowCapacity_, numRows_);
  for (int i = 1; i <= count; ++i) {
    rows_[i].DropBuffer();
    rows_[i].TakeBuffer(nullptr, 0);
  }
  delete[] rows_;
}

template <typename T>
void NCDataMatrix<T>::swap(NCDataMatrix& other) noexcept {
  std::swap(link_, other.link_);
  std::swap(numColumns_, other.numColumns_);
  std::swap(numRows_, other.numRows_);
  std::swap(rows_, other.rows_);
  std::swap(colMisVal_, other.colMisVal_);
  std::swap(numMisVal_, other.numMisVal_);
  std::swap(rowCapacity_, other.rowCapacity_);
}

template <typename T>
void NCDataMatrix<T>::Clear() {
  NCDataMatrix empty;
  swap(empty);
}

template <typename T>
void NCDataMatrix<T>::UnlinkMe() {
  if (link_->IsShared()) GrowRows(numRows_);
}

template <typename T>
void NCDataMatrix<T>::ForceUnlink() {
  UnlinkMe();
  for (int i = 1; i <= numRows_; ++i) rows_[i].ForceUnlink();
  colMisVal_->UnlinkedPtr();
}

/// Takes an array of rows of its own with room for `newCapacity`, or for all rows if these are more (see ConcatRows);
/// the rows share their elements with the old ones.
template <typename T>
void NCDataMatrix<T>::GrowRows(int newCapacity) {
  NCDataMatrix own;
  const int room = std::max(newCapacity, numRows_);
  own.rows_ = new NCDataVector<T>[static_cast<std::size_t>(room) + 1];
  own.rowCapacity_ = room;
  for (int i = 1; i <= numRows_; ++i) own.rows_[i] = rows_[i];
  *own.colMisVal_ = *colMisVal_;  // shares, as the rows do
  own.numRows_ = numRows_;
  own.numColumns_ = numColumns_;
  own.numMisVal_ = numMisVal_;
  swap(own);
}

template <typename T>
T** NCDataMatrix<T>::GetMatrixAsPointerPointer(NCDataMatrix& m, bool borrow) {
  NCDataMatrix empty;
  if (!borrow) m.ForceUnlink();
  T** const pointers = new T*[static_cast<std::size_t>(m.numRows_) + 1];
  pointers[0] = nullptr;
  for (int i = 1; i <= m.numRows_; ++i) {
    pointers[i] = m.rows_[i].data_;
    if (!borrow) m.rows_[i].TakeBuffer(nullptr, 0);
  }
  if (!borrow) m.swap(empty);
  return pointers;
}

template <typename T>
void NCDataMatrix<T>::DeleteHandedOver(T** pointers, int rowCount) {
  NCDataVector<T> owner;
  for (int i = 1; i <= rowCount; ++i) owner.DeleteVec(pointers[i], NCDataVector<T>::OffsetOfEveryVec());
  delete[] pointers;
}

// Reading.

template <typename T>
NCDataVector<T> NCDataMatrix<T>::GetColumn(int c) const {
  NCDataVector<T> result(numRows_);
  GetColumnImpl(c, result);
  return result;
}

template <typename T>
void NCDataMatrix<T>::GetColumnImpl(int c, NCDataVector<T>& result) const {
  for (int i = 1; i <= numRows_; ++i) result(i, rows_[i][c]);
}

template <typename T>
void NCDataMatrix<T>::GetColumnMinMax(int c, T& min, T& max) const {
  GetColumn(c).GetMinMax(min, max);
}

template <typename T>
NCDataMatrix<T> NCDataMatrix<T>::GetRowSubMatrix(int first, int last) const {
  if (first == 1 && last == numRows_) return *this;
  NCDataMatrix result(std::max(last - first + 1, 0), 0, T{0});
  result.numColumns_ = numColumns_;
  result.colMisVal_->SetNumValues(numColumns_, 0);
  for (int i = first; i <= last; ++i) {
    result.rows_[i - first + 1] = rows_[i];
    result.CountRow(rows_[i], 1);
  }
  return result;
}

// Writing.

template <typename T>
T NCDataMatrix<T>::operator()(int r, int c, T value) {
  Unlink();
  int* const counts = colMisVal_->UnlinkedPtr();
  const int change = rows_[r].SetAndReturn_dMisVal(c, value);
  counts[c] += change;
  numMisVal_ += change;
  return value;
}

/// Adds the gaps of `row` to the column and total counts, or takes them off for a `sign` of -1.
template <typename T>
void NCDataMatrix<T>::CountRow(const NCDataVector<T>& row, int sign) {
  if (row.numMisVal_ == 0) return;
  int* const counts = colMisVal_->UnlinkedPtr();
  for (int j = 1; j <= row.size_; ++j) {
    if (row[j] == detail::kMissing<T>) counts[j] += sign;
  }
  numMisVal_ += sign * row.numMisVal_;
}

template <typename T>
void NCDataMatrix<T>::CountAllRows() {
  colMisVal_->SetAllValues(0);
  numMisVal_ = 0;
  for (int i = 1; i <= numRows_; ++i) CountRow(rows_[i], 1);
}

template <typename T>
NCDataMatrix<T>& NCDataMatrix<T>::SetSize(int rowCount, int columnCount) {
  if (rowCount == numRows_ && columnCount == numColumns_) return *this;
  NCDataMatrix fresh(rowCount, columnCount, detail::kMissing<T>);
  fresh.ReserveRows(detail::GrownCapacity(rowCapacity_, rowCount));
  swap(fresh);
  return *this;
}

template <typename T>
void NCDataMatrix<T>::ReserveRows(int n) {
  if (n > rowCapacity_) GrowRows(n);
}

template <typename T>
void NCDataMatrix<T>::ReserveColumns(int n) {
  Unlink();
  for (int i = 1; i <= numRows_; ++i) rows_[i].Reserve(n);
}

template <typename T>
void NCDataMatrix<T>::InsertRow(int pos, const NCDataVector<T>& v) {
  const NCDataVector<T> row(v);  // v may be a row of this matrix, which is about to move
  if (numRows_ == 0) SetSize(0, row.size_);
  Unlink();
  colMisVal_->UnlinkedPtr();
  const int wanted = detail::GrownCapacity(rowCapacity_, numRows_ + 1);
  if (wanted != rowCapacity_) GrowRows(wanted);
  // Nothing allocates from here on.
  const int at = std::min(pos, numRows_ + 1);
  for (int i = numRows_; i >= at; --i) rows_[i + 1] = rows_[i];
  rows_[at] = row;
  ++numRows_;
  CountRow(row, 1);
}

template <typename T>
const NCDataVector<T>* NCDataMatrix<T>::push_back(const NCDataVector<T>& v) {
  InsertRow(numRows_ + 1, v);
  return rows_ + numRows_;
}

template <typename T>
void NCDataMatrix<T>::CopyContent(const NCDataMatrix& m) {
  NCDataMatrix copy(m);
  copy.ForceUnlink();
  swap(copy);
}

template <typename T>
void NCDataMatrix<T>::SetAllValues(T value) {
  const bool missing = value == detail::kMissing<T>;
  const int cells = missing ? detail::MissingCount(1LL * numRows_ * numColumns_) : 0;
  ForceUnlink();  // may fail, and then nothing has changed
  for (int i = 1; i <= numRows_; ++i) rows_[i].SetAllValues(value);
  colMisVal_->SetAllValues(missing ? numRows_ : 0);
  numMisVal_ = cells;
}

template <typename T>
void NCDataMatrix<T>::SetNoMisVal() {
  Unlink();
  colMisVal_->UnlinkedPtr();
  for (int i = 1; i <= numRows_; ++i) rows_[i].SetNumMisVal(0);
  colMisVal_->SetAllValues(0);
  numMisVal_ = 0;
}

template class NCDataMatrix<float>;
template class NCDataMatrix<double>;

}  // namespace voran
