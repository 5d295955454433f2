#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/kernels/products.h"

inline namespace voran {
namespace detail {

/// One product of two matrices, each as it stands or transposed: its sums over pairs present, and where there is no
/// pair. Holds the operands, so that they outlive a result that replaces them.
template <typename T>
class MatrixProduct {
 public:
  /// Allocates all that the product needs.
  MatrixProduct(const NCDataMatrix<T>& left, bool transposeLeft, const NCDataMatrix<T>& right, bool transposeRight);

  int SizeRows() const { return left_.lines; }
  int SizeColumns() const { return right_.lines; }
  bool HasGaps() const { return hasGaps_; }

  /// Writes every sum, rounded; `rows` holds the first element of each row. A sum over no pair is 0.
  void WriteTo(T* const* rows);

  /// Whether element (i, j), from 0, has a pair. Only if HasGaps().
  bool HasPair(int i, int j) const {
    for (int word = 0; word < words_; ++word) {
      if ((left_.Presence(word, i) & right_.Presence(word, j)) != 0) return true;
    }
    return false;
  }

 private:
  struct Operand {
    Operand(const NCDataMatrix<T>& m, bool linesAreRows);
    ProductLines<T> Lines() const { return {rows.data(), areRows}; }
    /// Bit k % 64 of word k / 64 tells whether term k of the line is present.
    std::uint64_t Presence(int word, int line) const {
      return presence[static_cast<std::size_t>(word) * static_cast<std::size_t>(lines) +
                      static_cast<std::size_t>(line)];
    }
    void FindPresence(const ProductKernels<T>& kernels);

    NCDataMatrix<T> matrix;
    bool areRows;
    int lines;
    int terms;
    std::vector<const T*> rows;
    std::vector<std::uint64_t> presence;
    bool isFinite = true;
  };

  void SumBlock(int firstRow, int numRows, int firstColumn, int numColumns);
  void WriteBlock(int firstRow, int numRows, int firstColumn, int numColumns, T* const* rows) const;

  const ProductKernels<T>& kernels_;
  Operand left_;
  Operand right_;
  bool isSymmetric_;
  bool hasGaps_;
  int words_ = 0;
  std::vector<T> packedLeft_;
  std::vector<T> packedRight_;
  std::vector<double> sums_;
};

extern template class MatrixProduct<float>;
extern template class MatrixProduct<double>;

}  // namespace detail
}  // namespace voran
