#pragma once

#include <vector>

#include "voran/containers/data_matrix.h"

inline namespace voran {
namespace detail {

// Sums over the present elements of columns, formed in double. A column is added row after row within fixed blocks of
// rows, and the blocks are added in order (see RowBlocks): the same bits at any number of threads, and whether one
// column is summed or all are. The forms for all columns read the matrix once, in memory order, on several threads;
// entry j - 1 of their results is for column j. The forms for one column take a step to every row.

template <typename T>
std::vector<double> ColumnSums(const NCDataMatrix<T>& matrix);
template <typename T>
double ColumnSum(const NCDataMatrix<T>& matrix, int column);

/// Sums of squared differences from about[j - 1], formed in double.
template <typename T>
std::vector<double> ColumnSquaresAbout(const NCDataMatrix<T>& matrix, const std::vector<double>& about);
template <typename T>
double ColumnSquaresAbout(const NCDataMatrix<T>& matrix, int column, double about);

/// rows[i - 1][j - 1] += f * a[i] * b[j] where that element is present, and the sums of squares of the columns
/// afterwards. `rows` are those of `matrix`, shared with nothing; a and b have no gaps. Throws only before the first
/// change.
template <typename T>
std::vector<double> AddAndSumSquares(const NCDataMatrix<T>& matrix, const std::vector<T*>& rows,
                                     const NCDataVector<T>& a, const NCDataVector<T>& b, T f);

/// Sums over the pairs of a column element and an element of v, each less its centre.
struct ColumnProducts {
  std::vector<double> products;
  std::vector<double> squares;   ///< of the column
  std::vector<double> vSquares;  ///< of v; empty if neither side has gaps, where it is the same for every column
};

/// Walks the rows that v has elements for.
template <typename T>
ColumnProducts ColumnProductsWith(const NCDataMatrix<T>& matrix, const std::vector<double>& about,
                                  const NCDataVector<T>& v, double vAbout);

}  // namespace detail
}  // namespace voran
