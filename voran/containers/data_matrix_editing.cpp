#include <algorithm>
#include <cassert>
#include <utility>
#include <vector>

#include "voran/containers/cell_count.h"
#include "voran/containers/data_matrix.h"
#include "voran/containers/growth_rule.h"
#include "voran/containers/missing_value.h"
#include "voran/platform/nc_error.h"

// What can fail in an operation comes first: where memory runs out, the matrix is as it was. (Resize and ConcatColumns
// may stop between two steps.) An operand may be the matrix itself or one of its rows: it is copied, which shares its
// elements.

inline namespace voran {

using detail::kMissing;

// Rows.

template <typename T>
NCDataMatrix<T>& NCDataMatrix<T>::Resize(int rowCount, int columnCount) {
  if (rowCount < numRows_) RemoveRows(rowCount + 1, numRows_ - rowCount);
  if (columnCount < numColumns_) RemoveColumns(columnCount + 1, numColumns_ - columnCount);
  InsertColumns(numColumns_ + 1, columnCount - numColumns_);
  InsertRows(numRows_ + 1, rowCount - numRows_);
  return *this;
}

template <typename T>
void NCDataMatrix<T>::InsertRows(int pos, int count) {
  if (count <= 0) return;
  const int total = detail::MissingCount(numMisVal_ + 1LL * count * numColumns_);
  Unlink();
  colMisVal_->UnlinkedPtr();
  const int at = std::min(pos, numRows_ + 1);
  const int wanted = detail::GrownCapacity(rowCapacity_, numRows_ + count);
  const bool hasRoom = wanted == rowCapacity_;
  const int kept = hasRoom ? std::min(count, numRows_ - at + 1) : 0;  // slots of the gap that hold former rows
  const NCDataMatrix gap(count - kept, numColumns_, kMissing<T>);
  if (!hasRoom) GrowRows(wanted);
  // Nothing allocates from here on.
  for (int i = numRows_; i >= at; --i) rows_[i + count] = rows_[i];
  for (int i = 1; i <= gap.numRows_; ++i) rows_[at + kept + i - 1] = gap.rows_[i];
  numRows_ += count;
  numMisVal_ = total;
  int* const counts = colMisVal_->UnlinkedPtr();
  for (int j = 1; j <= numColumns_; ++j) counts[j] += count;
}

template <typename T>
void NCDataMatrix<T>::RemoveRows(int first, int count) {
  if (count <= 0) return;
  assert(first >= 1 && first - 1 + count <= numRows_);
  const NCDataVector<T> empty;
  Unlink();
  colMisVal_->UnlinkedPtr();
  for (int i = first; i < first + count; ++i) CountRow(rows_[i], -1);
  for (int i = first; i + count <= numRows_; ++i) rows_[i] = rows_[i + count];
  for (int i = numRows_ - count + 1; i <= numRows_; ++i) rows_[i] = empty;
  numRows_ -= count;
}

/// The capacity deliberately stays as it was, so that the next insertion of rows takes a new array.
template <typename T>
void NCDataMatrix<T>::ConcatRows(const NCDataMatrix& m) {
  const int added = m.numRows_;
  if (added == 0) return;
  if (numColumns_ == 0 || numRows_ == 0) {
    *this = m;
    return;
  }
  if (numColumns_ != m.numColumns_) {
    throw NCInternalError("NCDataMatrix<FloatType>::ConcatRows",
                          ExceptionMessage::translate("Matrices are different size."));
  }
  detail::MissingCount(1LL * numMisVal_ + m.numMisVal_);
  const int capacity = link_->IsShared() ? numRows_ : rowCapacity_;
  GrowRows(std::max(capacity, numRows_ + added));
  colMisVal_->UnlinkedPtr();
  // Nothing allocates from here on.
  for (int i = 1; i <= added; ++i) {
    rows_[numRows_ + i] = m.rows_[i];
    CountRow(m.rows_[i], 1);
  }
  numRows_ += added;
  rowCapacity_ = capacity;
}

template <typename T>
void NCDataMatrix<T>::SwapRows(int a, int b) {
  Unlink();
  const NCDataVector<T> former(rows_[a]);
  rows_[a] = rows_[b];
  rows_[b] = former;
}

template <typename T>
void NCDataMatrix<T>::CopyRow(int from, int to) {
  Unlink();
  int* const counts = colMisVal_->UnlinkedPtr();
  // A matrix of fewer rows than columns has no further diagonal elements.
  for (int j = 1; j <= std::min(numColumns_, numRows_); ++j) {
    const bool isMissing = rows_[from][j] == kMissing<T>;
    const bool wasMissing = rows_[j][j] == kMissing<T>;
    counts[j] += (isMissing ? 1 : 0) - (wasMissing ? 1 : 0);
  }
  rows_[to] = rows_[from];
}

template <typename T>
void NCDataMatrix<T>::SetRow(int r, T value) {
  if (value == kMissing<T> && rows_[r].numMisVal_ == numColumns_) return;
  Unlink();
  colMisVal_->UnlinkedPtr();
  rows_[r].Unlink();
  CountRow(rows_[r], -1);
  rows_[r].SetAllValues(value);
  CountRow(rows_[r], 1);
}

template <typename T>
void NCDataMatrix<T>::SetRow(int r, const NCDataVector<T>& v) {
  const auto row = NCDataVector<T>(v);
  Unlink();
  colMisVal_->UnlinkedPtr();
  CountRow(rows_[r], -1);
  rows_[r] = row;
  CountRow(row, 1);
}

// Columns.

template <typename T>
void NCDataMatrix<T>::MakeRoomForColumns(int count) {
  Unlink();
  for (int i = 1; i <= numRows_; ++i) {
    NCDataVector<T>& row = rows_[i];
    row.Unlink();
    row.Reserve(detail::GrownCapacity(row.capacity_, row.size_ + count));
  }
}

template <typename T>
void NCDataMatrix<T>::InsertColumn(int pos, const NCDataVector<T>& v) {
  const auto column = NCDataVector<T>(v);
  if (numColumns_ == 0) {
    SetSize(column.Size(), 1);
  } else {
    InsertColumns(pos, 1);
  }
  SetColumn(std::min(pos, numColumns_), column);
}

template <typename T>
void NCDataMatrix<T>::InsertColumns(int pos, int count) {
  if (count <= 0) return;
  const int total = detail::MissingCount(numMisVal_ + 1LL * numRows_ * count);
  MakeRoomForColumns(count);
  colMisVal_->InsertValues(pos, count, numRows_);
  for (int i = 1; i <= numRows_; ++i) rows_[i].InsertValues(pos, count, kMissing<T>);
  numColumns_ += count;
  numMisVal_ = total;
}

template <typename T>
void NCDataMatrix<T>::InsertColumns(int pos, const NCDataMatrix& m) {
  if (m.numColumns_ == 0) return;
  const NCDataMatrix source(m);
  assert(source.numRows_ >= numRows_);
  const int total = detail::MissingCount(1LL * numMisVal_ + source.numMisVal_);
  MakeRoomForColumns(source.numColumns_);
  colMisVal_->InsertValues(pos, *source.colMisVal_);
  for (int i = 1; i <= numRows_; ++i) rows_[i].InsertValues(pos, source.rows_[i]);
  numColumns_ += source.numColumns_;
  numMisVal_ = total;
}

template <typename T>
void NCDataMatrix<T>::RemoveColumns(int first, int count) {
  if (count <= 0) return;
  assert(first >= 1 && first - 1 + count <= numColumns_);
  ForceUnlink();
  for (int i = 1; i <= numRows_; ++i) rows_[i].RemoveValues(first, count);
  for (int j = first; j < first + count; ++j) numMisVal_ -= (*colMisVal_)[j];
  colMisVal_->RemoveValues(first, count);
  numColumns_ -= count;
}

template <typename T>
void NCDataMatrix<T>::ConcatColumns(const NCDataMatrix& m) {
  if (m.numColumns_ == 0) return;
  if (numRows_ == 0) SetSize(m.numRows_, 0);
  InsertColumns(numColumns_ + 1, m);
}

template <typename T>
void NCDataMatrix<T>::SwapColumns(int a, int b) {
  Unlink();
  int* const counts = colMisVal_->UnlinkedPtr();
  for (int i = 1; i <= numRows_; ++i) std::swap(rows_[i].data_[a], rows_[i].data_[b]);
  std::swap(counts[a], counts[b]);
}

template <typename T>
void NCDataMatrix<T>::RearrangeColumns(const std::vector<int>& order) {
  const int columnCount = static_cast<int>(order.size());
  NCDataMatrix result;
  if (columnCount != 0) {
    result = NCDataMatrix(numRows_, columnCount, T{0});
    result.ReserveRows(detail::GrownCapacity(0, numRows_));
  }
  std::vector<T> cells(order.size());
  for (int i = 1; i <= result.numRows_; ++i) {
    const NCDataVector<T>& row = rows_[i];
    std::transform(order.begin(), order.end(), cells.begin(), [&row](int c) { return row[c]; });
    result.rows_[i].CopyZeroBasedVector(cells.data(), columnCount);
    result.CountRow(result.rows_[i], 1);
  }
  swap(result);
}

template <typename T>
void NCDataMatrix<T>::CopyColumn(int from, int to) {
  CopyColumn(to, *this, from);
}

template <typename T>
void NCDataMatrix<T>::CopyColumn(int to, const NCDataMatrix& m, int from) {
  SetColumn(to, m.GetColumn(from));
}

template <typename T>
void NCDataMatrix<T>::SetColumn(int c, T value) {
  if (value == kMissing<T> && (*colMisVal_)[c] == numColumns_) return;
  SetColumn(c, NCDataVector<T>(numRows_, value));
}

template <typename T>
void NCDataMatrix<T>::SetColumn(int c, const T* src) {
  NCDataVector<T> column;
  column.CopyVector(src, numRows_);
  SetColumn(c, column);
}

template <typename T>
void NCDataMatrix<T>::SetColumn(int c, const NCDataVector<T>& v) {
  const auto column = NCDataVector<T>(v);
  ForceUnlink();
  for (int i = 1; i <= numRows_; ++i) (*this)(i, c, column[i]);
}

template class NCDataMatrix<float>;
template class NCDataMatrix<double>;

}  // namespace voran
