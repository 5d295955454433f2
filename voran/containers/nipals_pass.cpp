#include "voran/containers/nipals_pass.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "voran/containers/missing_value.h"
#include "voran/containers/parallel.h"
#include "voran/containers/regression_sums.h"
#include "voran/containers/writable_elements.h"

inline namespace voran {
namespace detail {

namespace {

template <typename T>
void AddTo(double& sum, const T* values, int n) {
  for (int i = 0; i < n; ++i) sum += static_cast<double>(values[i]);
}

}  // namespace

/// As many rows as stay in the nearest cache between the two halves of a round, and enough to spread what a group
/// costs.
template <typename T>
int NipalsPass<T>::GroupOf(int columns) {
  constexpr int kNearestCache = 32768;
  constexpr int kLeastInGroup = 8;
  const int fitting = kNearestCache / (static_cast<int>(sizeof(T)) * std::clamp(columns, 1, kNearestCache));
  return std::clamp(fitting, kLeastInGroup, kMostInGroup) / kLeastInGroup * kLeastInGroup;
}

template <typename T>
NipalsPass<T>::NipalsPass(const NCDataMatrix<T>& matrix)
    : matrix_(matrix),
      kernels_(NipalsKernels<T>::Current()),
      numRows_(matrix.SizeRows()),
      numColumns_(matrix.SizeColumns()),
      blocks_(numRows_, numColumns_),
      threads_(ThreadsForMatrix(numRows_, numColumns_, kIterationRound)),
      group_(GroupOf(numColumns_)),
      isCountedComplete_(matrix.GetNumMisVal() == 0),
      stride_((static_cast<std::size_t>(numColumns_) + 7) / 8 * 8),
      rows_(static_cast<std::size_t>(numRows_)),
      rowHasGaps_(static_cast<std::size_t>(numRows_)),
      blockHasGaps_(static_cast<std::size_t>(blocks_.count)) {
  for (int i = 0; i < numRows_; ++i) {
    const auto index = static_cast<std::size_t>(i);
    const NCDataVector<T>& row = matrix[i + 1];
    rows_[index] = row.begin();
    if (row.GetNumMisVal() == 0) continue;
    rowHasGaps_[index] = 1;
    blockHasGaps_[static_cast<std::size_t>(i / blocks_.rowsPerBlock)] = 1;
    anyRowHasGaps_ = true;
  }
}

template <typename T>
RowsAhead<T> NipalsPass<T>::Ahead(int firstRow, int from, int to) const {
  const int first = std::min(firstRow + group_ + from, numRows_);
  const int end = std::min(firstRow + group_ + to, numRows_);
  return {rows_.data() + first, end - first};
}

// Column sums.

template <typename T>
void NipalsPass<T>::ClearBlock(int block, const ColumnTask& task) {
  std::fill_n(sums_.Of(block) + task.firstColumn, task.columns, 0.0);
  if (BlockHasGaps(block)) std::fill_n(weightSums_.Of(block) + task.firstColumn, task.columns, 0.0);
  if (task.withCommonPart) blockWeight_[static_cast<std::size_t>(block)] = 0.0;
}

template <typename T>
void NipalsPass<T>::AddGroup(int block, int firstRow, int count, const ColumnTask& task, bool skipMissing,
                             RowsAhead<T> ahead) {
  const T* rows[kMostInGroup];
  T factors[kMostInGroup];
  T weights[kMostInGroup];
  double* const sums = sums_.Of(block) + task.firstColumn;
  for (int i = firstRow; i < firstRow + count;) {
    // A run of rows that all have gaps, or all have none.
    const bool hasGaps = HasGaps(i);
    int n = 0;
    for (; i < firstRow + count && HasGaps(i) == hasGaps; ++i) {
      const T factor = task.v[i];
      if (skipMissing && factor == kMissing<T>) continue;
      rows[n] = rows_[static_cast<std::size_t>(i)];
      factors[n] = factor;
      weights[n] = task.weight == Weight::kOne ? T{1} : factor * factor;
      ++n;
    }
    if (hasGaps && !isComplete_) {
      kernels_.addRowsWithGaps(rows, factors, weights, n, task.firstColumn, task.columns, ahead, sums,
                               weightSums_.Of(block) + task.firstColumn);
    } else {
      if (n > 0) kernels_.addRows(rows, factors, n, task.firstColumn, task.columns, ahead, false, sums);
      if (task.withCommonPart) AddTo(blockWeight_[static_cast<std::size_t>(block)], weights, n);
    }
    ahead.count = 0;  // once for the group
  }
}

/// Adds a group of rows to the sums of its block, of which the first group makes a beginning.
template <typename T>
void NipalsPass<T>::AddToBlock(int block, int firstRow, int count, const ColumnTask& task, bool skipMissing,
                               RowsAhead<T> ahead) {
  const bool isFirst = firstRow == FirstRow(block);
  if (isComplete_ && !skipMissing) {
    kernels_.addRows(&rows_[static_cast<std::size_t>(firstRow)], task.v + firstRow, count, task.firstColumn,
                     task.columns, ahead, isFirst, sums_.Of(block) + task.firstColumn);
  } else {
    if (isFirst) ClearBlock(block, task);
    AddGroup(block, firstRow, count, task, skipMissing, ahead);
  }
}

template <typename T>
void NipalsPass<T>::SumBlock(int block, const ColumnTask& task) {
  for (int i = FirstRow(block); i < EndRow(block); i += group_) {
    AddToBlock(block, i, std::min(group_, EndRow(block) - i), task, task.vHasGaps, Ahead(i, 0, group_));
  }
}

template <typename T>
void NipalsPass<T>::ReserveSums(bool vHasGaps) {
  isComplete_ = isCountedComplete_ && !(vHasGaps && anyRowHasGaps_);
  sums_.Reserve(blocks_.count, stride_);
  totals_.resize(stride_);
  blockWeight_.resize(static_cast<std::size_t>(std::max(blocks_.count, 1)));
  if (isComplete_) return;
  weightSums_.Reserve(blocks_.count, stride_);
  weightTotals_.resize(stride_);
}

/// Adds the blocks in order.
template <typename T>
void NipalsPass<T>::Combine(std::size_t firstColumn, std::size_t columns) {
  std::fill_n(totals_.data() + firstColumn, columns, 0.0);
  sums_.AddTo(totals_.data(), firstColumn, columns, [](int) { return true; });
  if (isComplete_) return;
  // What the columns have in common, rows without gaps, first; then the blocks that have others.
  std::fill_n(weightTotals_.data() + firstColumn, columns,
              std::accumulate(blockWeight_.begin(), blockWeight_.end(), 0.0));
  weightSums_.AddTo(weightTotals_.data(), firstColumn, columns, [this](int block) { return BlockHasGaps(block); });
}

template <typename T>
void NipalsPass<T>::CombineColumns() {
  ForColumnPieces(static_cast<std::size_t>(numColumns_), threads_,
                  [this](std::size_t first, std::size_t columns) { Combine(first, columns); });
}

template <typename T>
void NipalsPass<T>::SumColumns(const NCDataVector<T>& v, Weight weight) {
  ReserveSums(v.GetNumMisVal() != 0);
  const ColumnTask task{v.begin(), v.GetNumMisVal() != 0, weight, 0, numColumns_, true};
  ParallelFor(blocks_.count, threads_, [&](int block) { SumBlock(block, task); });
  CombineColumns();
}

template <typename T>
void NipalsPass<T>::SumColumnRange(const NCDataVector<T>& v, Weight weight, int first, int last, bool withCommonPart) {
  const ColumnTask task{v.begin(), v.GetNumMisVal() != 0, weight, first - 1, last - first + 1, withCommonPart};
  for (int block = 0; block < blocks_.count; ++block) SumBlock(block, task);
}

template <typename T>
PairSums NipalsPass<T>::OneColumnSums(const NCDataMatrix<T>& matrix, const NCDataVector<T>& v, int column) {
  const RowBlocks blocks(matrix.SizeRows(), matrix.SizeColumns());
  double product = 0.0;
  double common = 0.0;
  std::vector<double> withGaps;  // by block
  for (int first = 1; first <= matrix.SizeRows(); first += blocks.rowsPerBlock) {
    const int end = std::min(first + blocks.rowsPerBlock, matrix.SizeRows() + 1);
    PairSums block;  // paired squares in rows with gaps, all squares in rows without
    for (int i = first; i < end; ++i) {
      const T x = matrix[i][column];
      if (v[i] == kMissing<T> || x == kMissing<T>) continue;
      const T xv = x * v[i];
      const T vv = v[i] * v[i];
      block.product += static_cast<double>(xv);
      (matrix[i].GetNumMisVal() != 0 ? block.pairedSquares : block.allSquares) += static_cast<double>(vv);
    }
    product += block.product;
    common += block.allSquares;
    withGaps.push_back(block.pairedSquares);
  }
  return {product, std::accumulate(withGaps.begin(), withGaps.end(), common), 0.0};
}

template <typename T>
double NipalsPass<T>::Denominator(const NCDataMatrix<T>& matrix, int column, GapMode mode, double ssV,
                                  double pairedSquares, Floor floor) {
  if (mode == kNoGaps) return ssV;
  if (mode == kFirstHasGaps) {
    if (matrix.GetColumnMisVal(column) == 0) return ssV;
    if (matrix.GetColumnMisVal(column) == matrix.SizeRows()) return 0.0;
  }
  return floor == Floor::kNone ? pairedSquares : std::max(pairedSquares, ssV / 3.0);
}

template <typename T>
void NipalsPass<T>::FinishColumns(const NCDataVector<T>& v, Floor floor, const NCIntegralVector<int, -99>* groups,
                                  int excludeValue, bool countByValue, NCDataVector<T>& result) const {
  const double ssV = v.GetSS();
  const GapMode mode = GapModeOf(matrix_.GetNumMisVal(), v.GetNumMisVal());
  result.SetAllValues(kMissing<T>);
  T* const elements = result.GetWritableVector();
  if (mode == kNoGaps && groups == nullptr) {
    // With groups, even null ones, a NaN goes into the result; without, the column stays missing.
    if (countByValue ? std::abs(ssV) <= kTinySumOfSquares : !(std::abs(ssV) > kTinySumOfSquares)) return;
    for (int c = 1; c <= numColumns_; ++c) elements[c] = static_cast<T>(Product(c) / ssV);
    result.SetNumMisVal(countByValue ? static_cast<int>(std::count(result.begin(), result.end(), kMissing<T>)) : 0);
    return;
  }
  int missing = numColumns_;
  for (int c = 1; c <= numColumns_; ++c) {
    if (groups != nullptr && (*groups)[c] == excludeValue) continue;
    const double denominator = Denominator(matrix_, c, mode, ssV, PairedSquares(c, ssV), floor);
    // Where nothing is missing a NaN goes into the result.
    const bool isNothing =
        mode == kNoGaps ? std::abs(denominator) <= kTinySumOfSquares : !(std::abs(denominator) > kTinySumOfSquares);
    if (isNothing) continue;
    elements[c] = static_cast<T>(Product(c) / denominator);
    if (!countByValue || elements[c] != kMissing<T>) --missing;
  }
  result.SetNumMisVal(missing);
}

// Row regressions.

template <typename T>
NipalsPass<T>::RowRegression::RowRegression(const NCDataVector<T>& vector, Floor floorOfAll)
    : p(vector.begin()),
      n(vector.Size()),
      allSquares(ReductionKernels<T>::Current().sumOfSquares(p, n, vector.GetNumMisVal() != 0)),
      pHasGaps(vector.GetNumMisVal() != 0),
      pHasOwnGaps(pHasGaps),
      isPlain(!pHasGaps && allSquares >= kTinySumOfSquares),
      floor(floorOfAll) {}

template <typename T>
double NipalsPass<T>::RowRegression::Slope(const T* row, bool rowHasGaps, double product, double pairedSquares) const {
  PairSums sums{product, rowHasGaps ? pairedSquares : allSquares, allSquares};
  const GapMode mode = GapModeOf(pHasOwnGaps ? 1 : 0, rowHasGaps ? 1 : 0);
  const bool anyPair = sums.pairedSquares != 0.0 || AnyPair(p, row, n);
  sums = GuardedSums(sums, anyPair, mode);
  return floor == Floor::kNone ? detail::Slope(sums) : FixSlope(sums);
}

template <typename T>
int NipalsPass<T>::RegressGroup(int firstRow, int count, const RowRegression& regression, RowsAhead<T> ahead,
                                T* t) const {
  if (!isCountedComplete_ || anyRowHasGaps_ || !regression.isPlain)
    return RegressGroupWithGaps(firstRow, count, regression, ahead, t);
  double products[kMostInGroup];
  kernels_.rowProducts(&rows_[static_cast<std::size_t>(firstRow)], count, regression.p, numColumns_, ahead, products);
  int missing = 0;
  for (int i = 0; i < count; ++i) {
    t[firstRow + i] = static_cast<T>(detail::Slope({products[i], regression.allSquares, regression.allSquares}));
    missing += t[firstRow + i] == kMissing<T> ? 1 : 0;
  }
  return missing;
}

template <typename T>
int NipalsPass<T>::RegressGroupWithGaps(int firstRow, int count, const RowRegression& regression, RowsAhead<T> ahead,
                                        T* t) const {
  double products[kMostInGroup];
  double pairedSquares[kMostInGroup] = {};
  for (int done = 0; done < count;) {
    // A run of rows that all have gaps, or all have none.
    const bool hasGaps = HasGaps(firstRow + done);
    int n = 1;
    while (done + n < count && HasGaps(firstRow + done + n) == hasGaps) ++n;
    const T* const* const rows = rows_.data() + firstRow + done;
    if (hasGaps || regression.pHasGaps) {
      kernels_.rowProductsWithGaps(rows, n, regression.p, regression.pHasGaps, numColumns_, ahead, products + done,
                                   pairedSquares + done);
    } else {
      kernels_.rowProducts(rows, n, regression.p, numColumns_, ahead, products + done);
    }
    ahead.count = 0;  // once for the group
    done += n;
  }
  int missing = 0;
  for (int i = 0; i < count; ++i) {
    const int row = firstRow + i;
    t[row] = static_cast<T>(
        regression.Slope(rows_[static_cast<std::size_t>(row)], HasGaps(row), products[i], pairedSquares[i]));
    missing += t[row] == kMissing<T> ? 1 : 0;
  }
  return missing;
}

template <typename T>
void NipalsPass<T>::RegressRows(const NCDataVector<T>& p, const NCIntegralVector<int, -99>* groups, int excludeValue,
                                Floor floor, NCDataVector<T>& t) {
  NCDataVector<T> marked(p);
  if (groups != nullptr) marked = WithoutGroup(p, *groups, excludeValue);
  RowRegression regression(marked, floor);
  regression.pHasOwnGaps = p.GetNumMisVal() != 0;
  if (numRows_ == 0) return;
  T* const scores = WritableElements(t);
  const int missing = ParallelSum(blocks_.count, threads_, [&](int block) {
    int count = 0;
    for (int i = FirstRow(block); i < EndRow(block); i += group_) {
      count += RegressGroup(i, std::min(group_, EndRow(block) - i), regression, Ahead(i, 0, group_), scores);
    }
    return count;
  });
  t.SetNumMisVal(missing);
}

template <typename T>
void NipalsPass<T>::RegressRowsAndSumColumns(const NCDataVector<T>& p, NCDataVector<T>& t) {
  if (isCountedComplete_ && anyRowHasGaps_) {  // what is summed depends on whether t will have gaps
    RegressRows(p, nullptr, 0, Floor::kThirdOfAll, t);
    return SumColumns(t);
  }
  ReserveSums(false);
  if (numRows_ == 0) return;
  const RowRegression regression(p, Floor::kThirdOfAll);
  T* const scores = WritableElements(t);
  const ColumnTask task{scores, true, Weight::kSquare, 0, numColumns_, true};
  const int missing = ParallelSum(blocks_.count, threads_, [&](int block) {
    int missingInBlock = 0;
    for (int i = FirstRow(block); i < EndRow(block); i += group_) {
      const int count = std::min(group_, EndRow(block) - i);
      const int missingInGroup = RegressGroup(i, count, regression, Ahead(i, 0, group_ / 2), scores);
      AddToBlock(block, i, count, task, missingInGroup != 0, Ahead(i, group_ / 2, group_));
      missingInBlock += missingInGroup;
    }
    return missingInBlock;
  });
  t.SetNumMisVal(missing);
  CombineColumns();
}

template class NipalsPass<float>;
template class NipalsPass<double>;

}  // namespace detail
}  // namespace voran
