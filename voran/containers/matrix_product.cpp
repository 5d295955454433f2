#include "voran/containers/matrix_product.h"

#include <algorithm>
#include <cassert>
#include <cstddef>

#include "voran/containers/missing_value.h"
#include "voran/containers/parallel.h"

inline namespace voran {
namespace detail {

namespace {

constexpr int kBits = 64;
/// Reading rows twice, by kFewLines each time, still costs less than copying them.
constexpr int kMostByFew = 2 * kFewLines;

template <typename T>
int LinesOf(const NCDataMatrix<T>& operand, bool linesAreColumns) {
  return linesAreColumns ? operand.SizeColumns() : operand.SizeRows();
}

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

/// Few lines are better met one by one than by a vector of them.
template <typename T>
bool MatrixProduct<T>::IsMirrored(const NCDataMatrix<T>& left, bool transposeLeft, const NCDataMatrix<T>& right,
                                  bool transposeRight) {
  const int leftLines = LinesOf(left, transposeLeft);
  const int rightLines = LinesOf(right, !transposeRight);
  return rightLines < kProductPadding && rightLines < leftLines;
}

template <typename T>
MatrixProduct<T>::MatrixProduct(const NCDataMatrix<T>& left, bool transposeLeft, const NCDataMatrix<T>& right,
                                bool transposeRight)
    : kernels_(ProductKernels<T>::Current()),
      isByFew_(!transposeLeft && LinesOf(right, !transposeRight) <= kMostByFew && left.GetNumMisVal() == 0 &&
               right.GetNumMisVal() == 0),
      isMirrored_(isByFew_ || IsMirrored(left, transposeLeft, right, transposeRight)),
      left_(isMirrored_ ? Operand(right, transposeRight) : Operand(left, !transposeLeft)),
      right_(isMirrored_ ? Operand(left, !transposeLeft) : Operand(right, transposeRight)),
      isSymmetric_(left.begin() == right.begin() && left_.areRows == right_.areRows),
      hasGaps_(left.GetNumMisVal() != 0 || right.GetNumMisVal() != 0) {
  assert(left_.terms == right_.terms);
  const auto terms = static_cast<std::size_t>(std::min(left_.terms, kProductTerms<T>));
  scratch_.resize(static_cast<std::size_t>(CountThreads()));
  if (isByFew_) {
    PackFew();
    return;
  }
  for (Scratch& scratch : scratch_) {
    scratch.left = std::make_unique_for_overwrite<T[]>(PaddedLines(left_.lines) * terms);
    scratch.right = std::make_unique_for_overwrite<T[]>(PaddedLines(right_.lines) * terms);
    scratch.sums = std::make_unique_for_overwrite<double[]>(PaddedLines(left_.lines) * kProductBlock);
  }
  if (hasGaps_) {
    words_ = (left_.terms + kBits - 1) / kBits;
    left_.FindPresence(kernels_);
    right_.FindPresence(kernels_);
  }
}

template <typename T>
void MatrixProduct<T>::PackFew() {
  const auto terms = static_cast<std::size_t>(left_.terms);
  few_.assign(static_cast<std::size_t>((left_.lines + kFewLines - 1) / kFewLines) * kFewLines * terms, T{0});
  for (int line = 0; line < left_.lines && terms != 0; ++line) {
    const auto offset = static_cast<std::size_t>(line / kFewLines) * kFewLines * terms;
    T* const to = few_.data() + offset + line % kFewLines;
    for (int k = 0; k < left_.terms; ++k) {
      to[k * kFewLines] =
          left_.areRows ? left_.rows[static_cast<std::size_t>(line)][k] : left_.rows[static_cast<std::size_t>(k)][line];
    }
  }
}

template <typename T>
int MatrixProduct<T>::CountThreads() const {
  constexpr double kLeastForAThread = 1 << 19;
  if (StaySingleIfSmall::IsSingle()) return 1;
  const int blocks = (std::max(left_.lines, right_.lines) + kProductBlock - 1) / kProductBlock;
  const double products = static_cast<double>(left_.lines) * right_.lines * left_.terms;
  const auto worthwhile = static_cast<int>(std::min(products / kLeastForAThread, 1024.0));
  return std::max(1, std::min({blocks, worthwhile, ParallelWidth()}));
}

template <typename T>
template <class Work>
void MatrixProduct<T>::ForBlocks(int share, int lines, const Work& work) const {
  const int shares = static_cast<int>(scratch_.size());
  for (int first = share * kProductBlock; first < lines; first += shares * kProductBlock) {
    work(first, std::min(kProductBlock, lines - first));
  }
}

/// Threads share the blocks of the longer side in turn, as those of a symmetric product do not cost the same.
template <typename T>
void MatrixProduct<T>::WriteTo(T* const* rows) {
  if (isByFew_) return WriteByFew(rows);
  const bool sharesRight = right_.lines > left_.lines;
  const int threads = static_cast<int>(scratch_.size());
  ParallelFor(threads, threads, [&](int share) {
    Scratch& scratch = scratch_[static_cast<std::size_t>(share)];
    ForBlocks(share, sharesRight ? right_.lines : left_.lines, [&](int shared, int sharedLines) {
      const int otherLines = sharesRight ? left_.lines : right_.lines;
      for (int other = isSymmetric_ ? shared : 0; other < otherLines; other += kProductBlock) {
        Block block{shared, sharedLines, other, std::min(kProductBlock, otherLines - other)};
        if (sharesRight) block = {block.firstRight, block.rightLines, block.firstLeft, block.leftLines};
        SumBlock(block, scratch);
        WriteBlock(block, scratch, rows);
      }
    });
  });
}

template <typename T>
void MatrixProduct<T>::WriteByFew(T* const* rows) const {
  const int blocks = (right_.lines + kRowsByFew - 1) / kRowsByFew;
  ParallelFor(blocks, static_cast<int>(scratch_.size()), [&](int block) {
    const int first = block * kRowsByFew;
    const int count = std::min(kRowsByFew, right_.lines - first);
    for (int line = 0; line < left_.lines; line += kFewLines) {
      double sums[kRowsByFew * kFewLines];
      kernels_.rowsByFew(right_.rows.data() + first, count, std::min(kRowsByFew, right_.lines - first - count),
                         few_.data() + static_cast<std::ptrdiff_t>(line) * left_.terms, left_.terms, sums);
      const int lines = std::min(kFewLines, left_.lines - line);
      for (int i = 0; i < count; ++i) {
        for (int j = 0; j < lines; ++j) rows[first + i][line + j] = static_cast<T>(sums[i * kFewLines + j]);
      }
    }
  });
}

/// A gap counts as 0 where everything present is finite: its products are zeros, and no sum moves. Where an infinity or
/// a NaN would make them NaNs, each pair is tested.
template <typename T>
void MatrixProduct<T>::SumBlock(const Block& block, Scratch& scratch) const {
  const bool zeroGaps = hasGaps_ && left_.isFinite && right_.isFinite;
  const auto add = hasGaps_ && !zeroGaps ? kernels_.addPairs : kernels_.addProducts;
  T* const left = scratch.left.get();
  T* const right = scratch.right.get();
  std::fill_n(scratch.sums.get(), PaddedLines(block.leftLines) * kProductBlock, 0.0);
  for (int k = 0; k < left_.terms; k += kProductTerms<T>) {
    const int terms = std::min(kProductTerms<T>, left_.terms - k);
    kernels_.packLeft(left_.Lines(), block.firstLeft, block.leftLines, k, terms, zeroGaps, left);
    kernels_.packRight(right_.Lines(), block.firstRight, block.rightLines, k, terms, zeroGaps, right);
    add(left, block.leftLines, right, block.rightLines, terms, scratch.sums.get());
  }
}

/// Of a symmetric product only the blocks on and above the diagonal are formed; the others are their mirror images.
template <typename T>
void MatrixProduct<T>::WriteBlock(const Block& block, const Scratch& scratch, T* const* rows) const {
  const bool writesAsItIs = !isMirrored_;
  const bool writesMirrored = isMirrored_ || (isSymmetric_ && block.firstLeft != block.firstRight);
  for (int i = 0; i < block.leftLines; ++i) {
    const double* const sums = scratch.sums.get() + i * kProductBlock;
    const int line = block.firstLeft + i;
    for (int j = 0; writesAsItIs && j < block.rightLines; ++j) {
      rows[line][block.firstRight + j] = static_cast<T>(sums[j]);
    }
    for (int j = 0; writesMirrored && j < block.rightLines; ++j) {
      rows[block.firstRight + j][line] = static_cast<T>(sums[j]);
    }
  }
}

template class MatrixProduct<float>;
template class MatrixProduct<double>;

}  // namespace detail
}  // namespace voran
