#include "voran/containers/matrix_product.h"

#include <algorithm>
#include <cassert>
#include <cstddef>

#include "voran/containers/missing_value.h"

inline namespace voran {
namespace detail {

namespace {

constexpr int kBits = 64;

/// Room for the lines of a block, none of which has more than the operand.
std::size_t PaddedLines(int lines) {
  const auto used = static_cast<std::size_t>(std::min(lines, kProductBlock));
  return (used + kProductPadding - 1) / kProductPadding * kProductPadding;
}

}  // namespace

template <typename T>
MatrixProduct<T>::Operand::Operand(const NCDataMatrix<T>& m, bool linesAreRows)
    : matrix(m),
      areRows(linesAreRows),
      lines(areRows ? m.SizeRows() : m.SizeColumns()),
      terms(areRows ? m.SizeColumns() : m.SizeRows()) {
  rows.reserve(static_cast<std::size_t>(matrix.SizeRows()));
  for (const NCDataVector<T>& row : matrix) rows.push_back(row.begin());
}

template <typename T>
void MatrixProduct<T>::Operand::FindPresence(const ProductKernels<T>& kernels) {
  const auto words = static_cast<std::size_t>((terms + kBits - 1) / kBits);
  presence.assign(words * static_cast<std::size_t>(lines), 0);
  std::uint64_t* const bits = presence.data();
  const int numColumns = matrix.SizeColumns();
  for (int r = 0; r < matrix.SizeRows(); ++r) {
    const T* const row = rows[static_cast<std::size_t>(r)];
    if (areRows) {
      kernels.markPresent(row, numColumns, bits + r, lines);
    } else {
      kernels.markPresentIn(row, numColumns, std::uint64_t{1} << (r % kBits),
                            bits + static_cast<std::ptrdiff_t>(r / kBits) * lines);
    }
    isFinite = isFinite && kernels.allFinite(row, numColumns);
  }
}

template <typename T>
MatrixProduct<T>::MatrixProduct(const NCDataMatrix<T>& left, bool transposeLeft, const NCDataMatrix<T>& right,
                                bool transposeRight)
    : kernels_(ProductKernels<T>::Current()),
      left_(left, !transposeLeft),
      right_(right, transposeRight),
      isSymmetric_(left.begin() == right.begin() && left_.areRows == right_.areRows),
      hasGaps_(left.GetNumMisVal() != 0 || right.GetNumMisVal() != 0) {
  assert(left_.terms == right_.terms);
  const auto terms = static_cast<std::size_t>(std::min(left_.terms, kProductTerms<T>));
  packedLeft_.resize(PaddedLines(left_.lines) * terms);
  packedRight_.resize(PaddedLines(right_.lines) * terms);
  sums_.resize(PaddedLines(left_.lines) * kProductBlock);
  if (hasGaps_) {
    words_ = (left_.terms + kBits - 1) / kBits;
    left_.FindPresence(kernels_);
    right_.FindPresence(kernels_);
  }
}

template <typename T>
void MatrixProduct<T>::WriteTo(T* const* rows) {
  for (int i = 0; i < SizeRows(); i += kProductBlock) {
    const int numRows = std::min(kProductBlock, SizeRows() - i);
    for (int j = isSymmetric_ ? i : 0; j < SizeColumns(); j += kProductBlock) {
      const int numColumns = std::min(kProductBlock, SizeColumns() - j);
      SumBlock(i, numRows, j, numColumns);
      WriteBlock(i, numRows, j, numColumns, rows);
    }
  }
}

/// A gap counts as 0 where everything present is finite: its products are zeros, and no sum moves. Where an infinity or
/// a NaN would make them NaNs, each pair is tested.
template <typename T>
void MatrixProduct<T>::SumBlock(int firstRow, int numRows, int firstColumn, int numColumns) {
  const bool zeroGaps = hasGaps_ && left_.isFinite && right_.isFinite;
  const auto add = hasGaps_ && !zeroGaps ? kernels_.addPairs : kernels_.addProducts;
  std::fill(sums_.begin(), sums_.end(), 0.0);
  for (int k = 0; k < left_.terms; k += kProductTerms<T>) {
    const int terms = std::min(kProductTerms<T>, left_.terms - k);
    kernels_.packLeft(left_.Lines(), firstRow, numRows, k, terms, zeroGaps, packedLeft_.data());
    kernels_.packRight(right_.Lines(), firstColumn, numColumns, k, terms, zeroGaps, packedRight_.data());
    add(packedLeft_.data(), numRows, packedRight_.data(), numColumns, terms, sums_.data());
  }
}

/// Of a symmetric product only the blocks on and above the diagonal are formed; the others are their mirror images.
template <typename T>
void MatrixProduct<T>::WriteBlock(int firstRow, int numRows, int firstColumn, int numColumns, T* const* rows) const {
  const bool mirrors = isSymmetric_ && firstRow != firstColumn;
  for (int i = 0; i < numRows; ++i) {
    const double* const sums = sums_.data() + i * kProductBlock;
    T* const out = rows[firstRow + i] + firstColumn;
    for (int j = 0; j < numColumns; ++j) out[j] = static_cast<T>(sums[j]);
    for (int j = 0; mirrors && j < numColumns; ++j) rows[firstColumn + j][firstRow + i] = out[j];
  }
}

template class MatrixProduct<float>;
template class MatrixProduct<double>;

}  // namespace detail
}  // namespace voran
