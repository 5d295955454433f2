#include "voran/containers/column_sums.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "voran/containers/block_sums.h"
#include "voran/containers/kernels/column_sums.h"
#include "voran/containers/kernels/deflation.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/parallel.h"

inline namespace voran {
namespace detail {

namespace {

/// Calls add(first, end, sums) for the blocks of rows first..end - 1, in parallel, and returns the sums of all blocks.
/// `sums` are `count` zeros at the start.
template <typename T, class Add>
std::vector<double> SumByBlocks(const NCDataMatrix<T>& matrix, std::size_t count, double readings, const Add& add) {
  const int rows = matrix.SizeRows();
  const RowBlocks blocks(rows, matrix.SizeColumns());
  const int threads = ThreadsForMatrix(rows, matrix.SizeColumns(), readings);
  BlockSums sums;
  sums.Reserve(blocks.count, count);
  std::vector<double> totals(count);
  ParallelFor(blocks.count, threads, [&](int block) {
    const int first = 1 + block * blocks.rowsPerBlock;
    std::fill_n(sums.Of(block), count, 0.0);
    add(first, std::min(first + blocks.rowsPerBlock, rows + 1), sums.Of(block));
  });
  ForColumnPieces(count, threads, [&](std::size_t first, std::size_t n) {
    sums.AddTo(totals.data(), first, n, [](int) { return true; });
  });
  return totals;
}

constexpr int kMostInRun = 128;

/// Calls work(i, n, hasGaps) for runs i..i + n - 1 of rows that all have gaps, or all have none.
template <typename T, class Work>
void ForRuns(const NCDataMatrix<T>& matrix, int first, int end, const Work& work) {
  for (int i = first; i < end;) {
    const bool hasGaps = matrix[i].GetNumMisVal() != 0;
    int n = 1;
    while (n < kMostInRun && i + n < end && (matrix[i + n].GetNumMisVal() != 0) == hasGaps) ++n;
    work(i, n, hasGaps);
    i += n;
  }
}

/// Calls add(rows, n, hasGaps) for such runs.
template <typename T, class Add>
void ForRowsOfRuns(const NCDataMatrix<T>& matrix, int first, int end, const Add& add) {
  ForRuns(matrix, first, end, [&](int i, int n, bool hasGaps) {
    const T* rows[kMostInRun];
    for (int r = 0; r < n; ++r) rows[r] = matrix[i + r].begin();
    add(rows, n, hasGaps);
  });
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
  return SumByBlocks(matrix, static_cast<std::size_t>(columns), kOneReading, [&](int first, int end, double* sums) {
    ForRowsOfRuns(matrix, first, end, [&](const T* const* rows, int n, bool hasGaps) {
      kernels.addElements(rows, n, columns, hasGaps, sums);
    });
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
  return SumByBlocks(matrix, static_cast<std::size_t>(columns), kOneReading, [&](int first, int end, double* sums) {
    ForRowsOfRuns(matrix, first, end, [&](const T* const* rows, int n, bool hasGaps) {
      kernels.addSquaresAbout(rows, n, columns, hasGaps, about.data(), sums);
    });
  });
}

template <typename T>
double ColumnSquaresAbout(const NCDataMatrix<T>& matrix, int column, double about) {
  return SumOneByBlocks(matrix, column, [about](double x) { return (x - about) * (x - about); });
}

template <typename T>
std::vector<double> AddAndSumSquares(const NCDataMatrix<T>& matrix, const std::vector<T*>& rows,
                                     const NCDataVector<T>& a, const NCDataVector<T>& b, T f) {
  const auto& kernels = DeflationKernels<T>::Current();
  const int columns = matrix.SizeColumns();
  return SumByBlocks(matrix, static_cast<std::size_t>(columns), kIterationRound, [&](int first, int end, double* sums) {
    ForRuns(matrix, first, end, [&](int i, int n, bool hasGaps) {
      T factors[kMostInRun];
      for (int r = 0; r < n; ++r) factors[r] = a[i + r] * f;
      kernels.deflateAndSumSquares(rows.data() + (i - 1), factors, n, b.begin(), columns, hasGaps, sums);
    });
  });
}

template <typename T>
ColumnProducts ColumnProductsWith(const NCDataMatrix<T>& matrix, const std::vector<double>& about,
                                  const NCDataVector<T>& v, double vAbout) {
  const auto& kernels = ColumnSumKernels<T>::Current();
  const bool isComplete = matrix.GetNumMisVal() == 0 && v.GetNumMisVal() == 0;
  const int columns = matrix.SizeColumns();
  const auto size = static_cast<std::size_t>(columns);
  const std::vector<double> sums =
      SumByBlocks(matrix, (isComplete ? 2 : 3) * size, kOneReading, [&](int first, int end, double* products) {
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
template std::vector<double> AddAndSumSquares(const NCDataMatrix<float>&, const std::vector<float*>&,
                                              const NCDataVector<float>&, const NCDataVector<float>&, float);
template std::vector<double> AddAndSumSquares(const NCDataMatrix<double>&, const std::vector<double*>&,
                                              const NCDataVector<double>&, const NCDataVector<double>&, double);
template ColumnProducts ColumnProductsWith(const NCDataMatrix<float>&, const std::vector<double>&,
                                           const NCDataVector<float>&, double);
template ColumnProducts ColumnProductsWith(const NCDataMatrix<double>&, const std::vector<double>&,
                                           const NCDataVector<double>&, double);

}  // namespace detail
}  // namespace voran
