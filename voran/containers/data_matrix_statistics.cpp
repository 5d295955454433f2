#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <vector>

#include "voran/containers/column_sums.h"
#include "voran/containers/data_matrix.h"
#include "voran/containers/kernels/reductions.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/parallel.h"
#include "voran/containers/sample_statistics.h"

inline namespace voran {

using detail::kMissing;
using detail::kNoValue;
using detail::ReductionKernels;

// The whole matrix.

namespace {

/// Sums ofRow(row) in fixed blocks of rows, in parallel, and the blocks in order.
template <typename T, class OfRow>
double SumOverRows(const NCDataMatrix<T>& m, const OfRow& ofRow) {
  const detail::RowBlocks blocks(m.SizeRows(), m.SizeColumns());
  std::vector<double> sums(static_cast<std::size_t>(blocks.count));
  detail::ParallelFor(blocks.count, detail::ThreadsForMatrix(m.SizeRows(), m.SizeColumns(), detail::kOneReading),
                      [&](int block) {
                        const int first = 1 + block * blocks.rowsPerBlock;
                        const int end = std::min(first + blocks.rowsPerBlock, m.SizeRows() + 1);
                        double sum = 0.0;
                        for (int i = first; i < end; ++i) sum += ofRow(m[i]);
                        sums[static_cast<std::size_t>(block)] = sum;
                      });
  return std::accumulate(sums.begin(), sums.end(), 0.0);
}

}  // namespace

template <typename T>
double NCDataMatrix<T>::GetMean() const {
  const double present = static_cast<double>(numRows_) * numColumns_ - numMisVal_;
  if (numRows_ == 0 || numColumns_ == 0 || present == 0.0) return kNoValue;
  const auto& kernels = ReductionKernels<T>::Current();
  const double sum = SumOverRows(
      *this, [&](const NCDataVector<T>& row) { return kernels.sum(row.begin(), row.Size(), row.GetNumMisVal() != 0); });
  return sum / present;  // deliberately as it falls, on the marker too
}

template <typename T>
double NCDataMatrix<T>::GetSS() const {
  const auto& kernels = ReductionKernels<T>::Current();
  return SumOverRows(*this, [&](const NCDataVector<T>& row) {
    return kernels.sumOfSquares(row.begin(), row.Size(), row.GetNumMisVal() != 0);
  });
}

namespace {

template <typename T>
int PresentInColumn(const NCDataMatrix<T>& m, int c) {
  return m.SizeRows() - m.GetColumnMisVal(c);
}

template <typename T>
double ColumnMeanOf(const NCDataMatrix<T>& m, int c, double sum) {
  if (m.SizeRows() == 0) return 0.0;
  const int n = PresentInColumn(m, c);
  return n == 0 ? kNoValue : detail::MeanOf(sum, n);
}

/// `squares` are those of the differences from `mean`.
template <typename T>
double ColumnStdDevOf(const NCDataMatrix<T>& m, int c, double mean, double squares, float df) {
  if (mean == kNoValue) return kNoValue;
  if (df > 0.0f) return std::sqrt(squares / static_cast<double>(df));
  const int n = PresentInColumn(m, c);
  return n < 2 ? kNoValue : std::sqrt(squares / (n - 1));
}

template <typename T>
std::vector<double> ColumnMeansOf(const NCDataMatrix<T>& m) {
  std::vector<double> means = detail::ColumnSums(m);
  for (std::size_t j = 0; j < means.size(); ++j) means[j] = ColumnMeanOf(m, static_cast<int>(j) + 1, means[j]);
  return means;
}

NCDataVector<double> AsDataVector(const std::vector<double>& values) {
  NCDataVector<double> v;
  v.CopyZeroBasedVector(values.data(), static_cast<int>(values.size()));
  return v;
}

}  // namespace

template <typename T>
double NCDataMatrix<T>::GetSSAroundColumnMeans() const {
  const std::vector<double> squares = detail::ColumnSquaresAbout(*this, ColumnMeansOf(*this));
  double sum = 0.0;
  for (int c = 1; c <= numColumns_; ++c) {
    // Deliberately as GetColumnSS() gives it, where there is nothing too.
    sum += PresentInColumn(*this, c) > 0 ? squares[static_cast<std::size_t>(c - 1)] : kNoValue;
  }
  return sum;
}

// Columns.

template <typename T>
double NCDataMatrix<T>::GetColumnMean(int c) const {
  return ColumnMeanOf(*this, c, detail::ColumnSum(*this, c));
}

template <typename T>
NCDataVector<double> NCDataMatrix<T>::GetColumnMeans() const {
  return AsDataVector(ColumnMeansOf(*this));
}

template <typename T>
double NCDataMatrix<T>::GetColumnStdDev(int c, float df) const {
  const double mean = GetColumnMean(c);
  return ColumnStdDevOf(*this, c, mean, detail::ColumnSquaresAbout(*this, c, mean), df);
}

template <typename T>
NCDataVector<double> NCDataMatrix<T>::GetColumnStdDevs(float df) const {
  const std::vector<double> means = ColumnMeansOf(*this);
  std::vector<double> deviations = detail::ColumnSquaresAbout(*this, means);
  for (std::size_t j = 0; j < means.size(); ++j) {
    deviations[j] = ColumnStdDevOf(*this, static_cast<int>(j) + 1, means[j], deviations[j], df);
  }
  return AsDataVector(deviations);
}

template <typename T>
double NCDataMatrix<T>::GetColumnSkewness(int c, int df) const {
  return detail::SkewnessOf(GetColumn(c), GetColumnMean(c), GetColumnStdDev(c, static_cast<float>(df)));
}

template <typename T>
double NCDataMatrix<T>::GetColumnSkewnessTest(int c, int df) const {
  return detail::SkewnessTestOf(GetColumnSkewness(c, df), PresentInColumn(*this, c));
}

template <typename T>
double NCDataMatrix<T>::GetColumnKurtosis(int c) const {
  return detail::KurtosisOf(GetColumn(c), GetColumnMean(c), GetColumnStdDev(c, -1.0f));
}

template <typename T>
double NCDataMatrix<T>::GetColumnMedian(int c) const {
  return GetColumn(c).GetMedian();
}

template <typename T>
double NCDataMatrix<T>::GetColumnCp(int c, double lower, double upper) const {
  return (upper - lower) / (6.0 * GetColumnStdDev(c, -1.0f));
}

template <typename T>
double NCDataMatrix<T>::GetColumnCpk(int c, double lower, double upper) const {
  const double mean = GetColumnMean(c);
  const double s = GetColumnStdDev(c, -1.0f);
  return std::min((upper - mean) / (3.0 * s), (mean - lower) / (3.0 * s));
}

// Correlation.

template <typename T>
NCDataVector<T> NCDataMatrix<T>::GetColumnCorrelation(const NCDataVector<T>& v, bool centred) const {
  NCDataVector<T> result(numColumns_);
  GetColumnCorrelationImpl(v, result, centred);
  return result;
}

template <typename T>
void NCDataMatrix<T>::GetColumnCorrelationImpl(const NCDataVector<T>& v, NCDataVector<T>& result, bool centred) const {
  const std::vector<double> means =
      centred ? ColumnMeansOf(*this) : std::vector<double>(static_cast<std::size_t>(numColumns_));
  const double vMean = centred ? v.GetMean() : 0.0;
  const detail::ColumnProducts sums = detail::ColumnProductsWith(*this, means, v, vMean);
  const double allVSquares = v.GetSS(vMean);
  result.SetAllValues(kMissing<T>);
  for (int c = 1; c <= numColumns_; ++c) {
    const auto j = static_cast<std::size_t>(c - 1);
    const double vSquares = sums.vSquares.empty() ? allVSquares : sums.vSquares[j];
    const double product = sums.squares[j] * vSquares;
    if (!(std::abs(product) > detail::kTinySumOfSquares)) continue;
    result(c, static_cast<T>(sums.products[j] / std::sqrt(product)));
  }
}

template class NCDataMatrix<float>;
template class NCDataMatrix<double>;

}  // namespace voran
