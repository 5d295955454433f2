#pragma once

#include <cstdint>

inline namespace voran {
namespace detail {

/// One operand of a product of matrices, as lines of terms: the rows or the columns of a matrix. A product has an
/// element for each line of the left and each line of the right operand, the sum over k of their terms k multiplied.
/// `rows` holds the first element of each row of the matrix.
template <typename T>
struct ProductLines {
  const T* const* rows;
  bool areRows;
};

/// A product is formed block by block: of kProductBlock lines on either side, kProductTerms terms at a time. The three
/// arrays of a block fit into the second level of the cache together.
inline constexpr int kProductBlock = 128;
template <typename T>
inline constexpr int kProductTerms = static_cast<int>(1024 / sizeof(T));
/// Packed blocks, and the sums, have room for lines up to a multiple of this.
inline constexpr int kProductPadding = 16;
/// Rows are met by so few lines without being copied.
inline constexpr int kFewLines = 4;
inline constexpr int kRowsByFew = 8;

/// The steps of a product. Every element is one sum over its terms in their order, from 0: same bits for every set of
/// instructions, every division into blocks, and with the lines of either operand in rows or in columns. Nothing
/// allocates or throws, except Current() (see SimdTarget).
template <typename T>
struct ProductKernels {
  /// Copies a block of an operand in the order in which addProducts reads it as its left or right one. `zeroGaps`
  /// writes 0 for the marker.
  void (*packLeft)(const ProductLines<T>& from, int firstLine, int lines, int firstTerm, int terms, bool zeroGaps,
                   T* packed);
  void (*packRight)(const ProductLines<T>& from, int firstLine, int lines, int firstTerm, int terms, bool zeroGaps,
                    T* packed);

  /// sums[i * kProductBlock + j] += left line i times right line j, term after term. What stands in the padding is
  /// undefined.
  void (*addProducts)(const T* left, int leftLines, const T* right, int rightLines, int terms, double* sums);
  /// The same over the terms in which neither is the marker.
  void (*addPairs)(const T* left, int leftLines, const T* right, int rightLines, int terms, double* sums);

  /// sums[i * kFewLines + j] = row i times line j, term after term, of up to kRowsByFew rows without gaps. Line j has
  /// its term k at lines[k * kFewLines + j]. Meanwhile `ahead` rows behind them are fetched.
  void (*rowsByFew)(const T* const* rows, int numRows, int ahead, const T* lines, int terms, double* sums);

  /// Where a row of n elements is present: bit k % 64 of words[k / 64 * stride] for element k, in words that are 0.
  void (*markPresent)(const T* row, int n, std::uint64_t* words, int stride);
  /// Sets `bit` in words[j] for each present element j.
  void (*markPresentIn)(const T* row, int n, std::uint64_t bit, std::uint64_t* words);
  bool (*allFinite)(const T* row, int n);

  static const ProductKernels& Current();
};

template <>
const ProductKernels<float>& ProductKernels<float>::Current();
template <>
const ProductKernels<double>& ProductKernels<double>::Current();

}  // namespace detail
}  // namespace voran
