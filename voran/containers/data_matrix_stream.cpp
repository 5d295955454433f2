#include <algorithm>
#include <cstdint>
#include <limits>

#include "voran/containers/data_matrix.h"
#include "voran/containers/missing_value.h"
#include "voran/platform/exception.h"
#include "voran/platform/stream_directory.h"
#include "voran/platform/stream_entry.h"
#include "voran/platform/stream_format.h"
#include "voran/platform/stream_values.h"

inline namespace voran {

namespace {

// The entries of the directory.
enum Entry : unsigned short { kNumRows, kNumColumns, kNumMisVal, kRows, kColMisVal, kEntries };

/// A row is an object of its own, with a directory of this many entries.
constexpr std::size_t kEntriesOfRow = 3;

bool IsCountOfMissing(std::int32_t count, std::int32_t rows, std::int32_t columns) {
  return count >= 0 && count <= static_cast<std::int64_t>(rows) * columns;
}

}  // namespace

template <typename T>
typename NCDataMatrix<T>::DerivedStreamableData NCDataMatrix<T>::MyStreamableData(4, "NCDM");

// Operations that deliberately let a count drift may take it out of its range. It is then counted again, since a reader
// refuses what cannot be a count.

template <typename T>
std::int32_t NCDataMatrix<T>::StoredNumMisVal() const {
  if (IsCountOfMissing(numMisVal_, numRows_, numColumns_)) return numMisVal_;
  std::int64_t missing = 0;
  for (const NCDataVector<T>& row : *this) missing += row.StoredNumMisVal();
  return static_cast<std::int32_t>(std::min<std::int64_t>(missing, std::numeric_limits<std::int32_t>::max()));
}

template <typename T>
NCIntegralVector<int, -99> NCDataMatrix<T>::StoredColMisVal() const {
  const auto isCount = [this](int count) { return count >= 0 && count <= numRows_; };
  if (std::all_of(colMisVal_->begin(), colMisVal_->end(), isCount)) return *colMisVal_;
  NCIntegralVector<int, -99> counts(numColumns_, 0);
  int* const count = counts.UnlinkedPtr();
  for (const NCDataVector<T>& row : *this) {
    for (int j = 1; j <= numColumns_; ++j) count[j] += row[j] == detail::kMissing<T> ? 1 : 0;
  }
  return counts;
}

template <typename T>
bool NCDataMatrix<T>::VStreamableWrite(std::ostream& stream) {
  if (rows_ == nullptr && numRows_ != 0) return false;  // as a failed read leaves a matrix
  OutputStreamDirectory directory(stream, kEntries);
  const std::int32_t missing = StoredNumMisVal();
  WriteFourBytes(&numRows_, 1, directory.GetOutput(kNumRows));
  WriteFourBytes(&numColumns_, 1, directory.GetOutput(kNumColumns));
  WriteFourBytes(&missing, 1, directory.GetOutput(kNumMisVal));
  for (int i = 1; i <= numRows_; ++i) {
    std::ostream& entry = directory.GetOutput(kRows);
    detail::WriteMember(entry, rows_[i]);
    if (!entry) break;
  }
  detail::WriteMember(directory.GetOutput(kColMisVal), StoredColMisVal());
  return directory.Close() && stream.good();
}

template <typename T>
bool NCDataMatrix<T>::VStreamableRead(std::istream& stream) {
  if (!this->VStreamableReadBasesOfMyVersion(stream)) return false;
  Clear();
  try {
    ReadStreamDirectory(stream);
    return stream.good();
  } catch (const VrStreamError&) {
    FreeRows();
    return false;
  } catch (...) {
    FreeRows();
    throw;
  }
}

/// Leaves the number of rows as it is.
template <typename T>
void NCDataMatrix<T>::FreeRows() {
  DeleteRows();
  rows_ = nullptr;
  rowCapacity_ = 0;
  numColumns_ = 0;
  numMisVal_ = 0;
  colMisVal_->Clear();
}

/// Fills an empty matrix; throws VrStreamError if that fails.
template <typename T>
void NCDataMatrix<T>::ReadStreamDirectory(std::istream& stream) {
  InputStreamDirectory directory(stream);
  numRows_ = detail::ReadIntEntry(directory, kNumRows);
  numColumns_ = detail::ReadIntEntry(directory, kNumColumns);
  numMisVal_ = detail::ReadIntEntry(directory, kNumMisVal);
  detail::RequireRead(numRows_ >= 0 && numColumns_ >= 0 && IsCountOfMissing(numMisVal_, numRows_, numColumns_));
  if (numRows_ > 0) ReadRows(detail::RequiredEntry(directory, kRows));
  std::istream& counts = detail::RequiredEntry(directory, kColMisVal);
  detail::ReadMember(counts, *colMisVal_);
  const auto isCount = [this](int count) { return count >= 0 && count <= numRows_; };
  detail::RequireRead(colMisVal_->Size() == numColumns_ &&
                      std::all_of(colMisVal_->begin(), colMisVal_->end(), isCount));
  detail::RequireRead(directory.Close());
}

template <typename T>
void NCDataMatrix<T>::ReadRows(std::istream& entry) {
  const auto rowCount = static_cast<std::size_t>(numRows_);
  detail::RequireRead(rowCount <= detail::RemainingBytes(entry) / detail::LeastObjectBytes(kEntriesOfRow));
  rows_ = new NCDataVector<T>[rowCount + 1];
  rowCapacity_ = numRows_;
  for (int i = 1; i <= numRows_; ++i) {
    detail::ReadMember(entry, rows_[i]);
    detail::RequireRead(entry.good() && rows_[i].size_ == numColumns_);
  }
}

template class NCDataMatrix<float>;
template class NCDataMatrix<double>;

}  // namespace voran
