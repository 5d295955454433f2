#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

inline namespace voran {
namespace detail {

/// A plain matrix of zeros whose columns are contiguous: what an algorithm works in that goes through columns.
/// Positions are 0-based.
template <typename T>
class ColumnMatrix {
 public:
  ColumnMatrix(int rows, int columns)
      : rows_(rows), elements_(Stride(rows) * static_cast<std::size_t>(columns)), columns_() {
    columns_.reserve(static_cast<std::size_t>(columns));
    for (int c = 0; c < columns; ++c) columns_.push_back(elements_.data() + Stride(rows) * columns_.size());
  }
  ColumnMatrix(const ColumnMatrix&) = delete;
  ColumnMatrix& operator=(const ColumnMatrix&) = delete;

  int Rows() const { return rows_; }
  int Columns() const { return static_cast<int>(columns_.size()); }
  T* Column(int c) { return columns_[static_cast<std::size_t>(c)]; }
  T* const* Pointers() { return columns_.data(); }

  void Scale(T factor) {
    for (T& x : elements_) x *= factor;
  }
  void NegateColumn(int c) {
    for (int i = 0; i < rows_; ++i) Column(c)[i] = -Column(c)[i];
  }

  /// Takes the elements of a matrix of 1-based row pointers and 1-based rows.
  void TakeRows(const T* const* rows) {
    InBlocks([&](int i, int j) { Column(j)[i] = rows[i + 1][j + 1]; });
  }
  /// Takes the first `count` rows of such a matrix as columns.
  void TakeTransposed(const T* const* rows, int count) {
    for (int j = 0; j < count; ++j) std::copy_n(rows[j + 1] + 1, rows_, Column(j));
  }
  /// Gives the elements to the first columns of such a matrix.
  void GiveRows(T* const* rows) {
    InBlocks([&](int i, int j) { rows[i + 1][j + 1] = Column(j)[i]; });
  }

 private:
  /// An odd number of cache lines, so that a row of the matrix is spread over all sets of the cache.
  static std::size_t Stride(int rows) {
    constexpr std::size_t kLine = 64 / sizeof(T);
    return ((static_cast<std::size_t>(rows) + kLine - 1) / kLine | 1) * kLine;
  }

  /// Calls visit(row, column) for all elements in blocks that use each cache line while it is there.
  template <class Visit>
  void InBlocks(const Visit& visit) {
    constexpr int kBlock = 16;
    for (int from = 0; from < rows_; from += kBlock) {
      const int to = std::min(from + kBlock, rows_);
      for (int j = 0; j < Columns(); ++j) {
        for (int i = from; i < to; ++i) visit(i, j);
      }
    }
  }

  int rows_;
  std::vector<T> elements_;
  std::vector<T*> columns_;
};

}  // namespace detail
}  // namespace voran
