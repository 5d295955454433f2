#include "voran/containers/column_sums.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>

#include "voran/containers/kernels/column_sums.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/parallel.h"

inline namespace voran {
namespace detail {

namespace {

/// Calls add(first, end, sums) for the blocks of rows first..end - 1, in parallel, and returns the sums of all blocks.
/// `sums` are `count` zeros at the start.
template <typename T, class Add>
std::vector<double> SumByBlocks(const NCDataMatrix<T>& matrix, std::size_t count, const Add& add) {
  const int rows = matrix.SizeRows();
  const RowBlocks blocks(rows, matrix.SizeColumns());
  std::vector<double> sums(static_cast<std::size_t>(blocks.count) * count);
  ParallelFor(blocks.count, ThreadsForMatrix(rows, matrix.SizeColumns(), kOneReading), [&](int block) {
    const int first = 1 + block * blocks.rowsPerBlock;
    add(first, std::min(first + blocks.rowsPerBlock, rows + 1), sums.data() + static_cast<std::size_t>(block) * count);
  });
  std::vector<double> totals(count);
  for (auto block = sums.begin(); block != sums.end(); block += std::ssize(totals)) {
    std::transform(totals.begin(), totals.end(), block, totals.begin(), std::plus<>());
  }
  return totals;
}

/// Calls add(rows, n, hasGaps) for runs of rows that all have gaps, or all have none.
template <typename T, class Add>
void ForRuns(const NCDataMatrix<T>& matrix, int first, int end, const Add& add) {
  constexpr int kMostInRun = 32;
  const T* rows[kMostInRun];
  for (int i = first; i < end;) {
    const bool hasGaps = matrix[i].GetNumMisVal() != 0;
    int n = 0;
    for (; n < kMostInRun && i < end && (matrix[i].GetNumMisVal() != 0) == hasGaps; ++i) rows[n++] = matrix[i].begin();
    add(rows, n, hasGaps);
  }
}

template <typename T, class Term>
double SumOneByBlocks(const NCDataMatrix<T>& matrix, int column, const Term& term) {
  const RowBlocks blocks(matrix.SizeRows(), matrix.SizeColumns());
  double total = 0.0;
  for (int first = 1; first <= matrix.SizeRows(); first += blocks.rowsPerBlock) {
    const int end = std::min(first + blocks.rowsPerBlock, matrix.SizeRows() + 1);
    double sum = 0.0;
    for (int i = first; i < end; ++i) {
      const T x = matrix[i][column];
      if (x != kMissing<T>) sum += term(static_cast<double>(x));
    }
    total += sum;
  }
  return total;
}

}  // namespace

template <typename T>
std::vector<double> ColumnSums(const NCDataMatrix<T>& matrix) {
  const auto& kernels = ColumnSumKernels<T>::Current();
  const int columns = matrix.SizeColumns();
  return SumByBlocks(matrix, static_cast<std::size_t>(columns), [&](int first, int end, double* sums) {
    ForRuns(matrix, first, end,
            [&](const T* const* rows, int n, bool hasGaps) { kernels.addElements(rows, n, columns, hasGaps, sums); });
  });
}

template <typename T>
double ColumnSum(const NCDataMatrix<T>& matrix, int column) {
  return SumOneByBlocks(matrix, column, [](double x) { return x; });
}

template <typename T>
std::vector<double> ColumnSquaresAbout(const NCDataMatrix<T>& matrix, const std::vector<double>& about) {
  const auto& kernels = ColumnSumKernels<T>::Current();
  const int columns = matrix.SizeColumns();
  return SumByBlocks(matrix, static_cast<std::size_t>(columns), [&](int first, int end, double* sums) {
    ForRuns(matrix, first, end, [&](const T* const* rows, int n, bool hasGaps) {
      kernels.addSquaresAbout(rows, n, columns, hasGaps, about.data(), sums);
    });
  });
}

template <typename T>
double ColumnSquaresAbout(const NCDataMatrix<T>& matrix, int column, double about) {
  return SumOneByBlocks(matrix, column, [about](double x) { return (x - about) * (x - about); });
}

template <typename T>
ColumnProducts ColumnProductsWith(const NCDataMatrix<T>& matrix, const std::vector<double>& about,
                                  const NCDataVector<T>& v, double vAbout) {
  const auto& kernels = ColumnSumKernels<T>::Current();
  const bool isComplete = matrix.GetNumMisVal() == 0 && v.GetNumMisVal() == 0;
  const int columns = matrix.SizeColumns();
  const auto size = static_cast<std::size_t>(columns);
  const std::vector<double> sums =
      SumByBlocks(matrix, (isComplete ? 2 : 3) * size, [&](int first, int end, double* products) {
        for (int i = first; i < std::min(end, v.Size() + 1); ++i) {
          if (v[i] == kMissing<T>) continue;
          const double y = static_cast<double>(v[i]) - vAbout;
          if (isComplete) {
            kernels.addProducts(matrix[i].begin(), y, columns, about.data(), products, products + size);
          } else {
            kernels.addProductsWithGaps(matrix[i].begin(), y, columns, about.data(), products, products + size,
                                        products + 2 * size);
          }
        }
      });
  const auto at = [&](int part) { return sums.begin() + part * columns; };
  return {{at(0), at(1)}, {at(1), at(2)}, {at(2), sums.end()}};
}

template std::vector<double> ColumnSums(const NCDataMatrix<float>&);
template std::vector<double> ColumnSums(const NCDataMatrix<double>&);
template double ColumnSum(const NCDataMatrix<float>&, int);
template double ColumnSum(const NCDataMatrix<double>&, int);
template std::vector<double> ColumnSquaresAbout(const NCDataMatrix<float>&, const std::vector<double>&);
template std::vector<double> ColumnSquaresAbout(const NCDataMatrix<double>&, const std::vector<double>&);
template double ColumnSquaresAbout(const NCDataMatrix<float>&, int, double);
template double ColumnSquaresAbout(const NCDataMatrix<double>&, int, double);
template ColumnProducts ColumnProductsWith(const NCDataMatrix<float>&, const std::vector<double>&,
                                           const NCDataVector<float>&, double);
template ColumnProducts ColumnProductsWith(const NCDataMatrix<double>&, const std::vector<double>&,
                                           const NCDataVector<double>&, double);

}  // namespace detail
}  // namespace voran
