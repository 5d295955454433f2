#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
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

  int SizeRows() const { return isMirrored_ ? right_.lines : left_.lines; }
  int SizeColumns() const { return isMirrored_ ? left_.lines : right_.lines; }
  bool HasGaps() const { return hasGaps_; }

  /// Writes every sum, rounded; `rows` holds the first element of each row. A sum over no pair is 0.
  void WriteTo(T* const* rows);

  /// Whether element (i, j), from 0, has a pair. Only if HasGaps().
  bool HasPair(int i, int j) const {
    if (isMirrored_) std::swap(i, j);
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

  /// A block of lines of the left and of the right operand, from 0.
  struct Block {
    int firstLeft;
    int leftLines;
    int firstRight;
    int rightLines;
  };

  /// What one thread works with.
  struct Scratch {
    std::unique_ptr<T[]> left;
    std::unique_ptr<T[]> right;
    std::unique_ptr<double[]> sums;
  };

  static bool IsMirrored(const NCDataMatrix<T>& left, bool transposeLeft, const NCDataMatrix<T>& right,
                         bool transposeRight);
  int CountThreads() const;
  /// Calls work(first, count) for every block of lines, of which there are `lines`, that thread `share` is to do.
  template <class Work>
  void ForBlocks(int share, int lines, const Work& work) const;
  /// The product of the rows of the right operand with at most so many lines that they are not worth the copying.
  void PackFew();
  void WriteByFew(T* const* rows) const;
  void SumBlock(const Block& block, Scratch& scratch) const;
  void WriteBlock(const Block& block, const Scratch& scratch, T* const* rows) const;

  const ProductKernels<T>& kernels_;
  bool isByFew_;     ///< see WriteByFew()
  bool isMirrored_;  ///< the operands have changed places, and the product is written with rows for columns
  Operand left_;
  Operand right_;
  bool isSymmetric_;
  std::vector<T> few_;  ///< if isByFew_, the lines of the left operand, kFewLines side by side, term by term
  bool hasGaps_;
  int words_ = 0;
  std::vector<Scratch> scratch_;  // by thread
};

extern template class MatrixProduct<float>;
extern template class MatrixProduct<double>;

}  // namespace detail
}  // namespace voran
