#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>

#include <omp.h>

#include "voran/containers/column_sums.h"
#include "voran/containers/data_matrix.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/nipals_pass.h"
#include "voran/containers/parallel.h"
#include "voran/containers/run_in_threads.h"
#include "voran/platform/threading_control.h"

inline namespace voran {

using detail::GapMode;
using detail::GapModeOf;
using detail::kMissing;
using detail::NipalsKernels;
using detail::NipalsPass;
using detail::PairSums;
using NCMultiThreading::ThreadingControl;

// Products.

template <typename T>
NCDataVector<T> NCDataMatrix<T>::PreMultiply(const NCDataVector<T>& v) const {
  NCDataVector<T> result(numColumns_);
  PreMultiplyImpl(v, result);
  return result;
}

template <typename T>
void NCDataMatrix<T>::PreMultiplyImpl(const NCDataVector<T>& v, NCDataVector<T>& result) const {
  if (numMisVal_ == 0 && v.GetNumMisVal() == 0) {
    PreMultiplyNonMisVal(v, result);
  } else {
    PreMultiplyMisVal(v, result);
  }
}

template <typename T>
void NCDataMatrix<T>::PreMultiplyNonMisVal(const NCDataVector<T>& v, NCDataVector<T>& result) const {
  NipalsPass<T> pass(*this);
  pass.SumColumns(v);
  T* const elements = result.GetWritableVector();
  for (int c = 1; c <= numColumns_; ++c) elements[c] = static_cast<T>(pass.Product(c));
  result.SetNumMisVal(0);
}

template <typename T>
void NCDataMatrix<T>::PreMultiplyMisVal(const NCDataVector<T>& v, NCDataVector<T>& result) const {
  result.SetAllValues(kMissing<T>);
  if (v.GetNumMisVal() >= numRows_ || numColumns_ == 0) return;
  NipalsPass<T> pass(*this);
  pass.SumColumns(v, NipalsPass<T>::Weight::kOne);
  for (int c = 1; c <= numColumns_; ++c) {
    if (pass.HasPair(c)) result(c, static_cast<T>(pass.Product(c)));
  }
}

// Regressions of columns.

template <typename T>
NCDataVector<T> NCDataMatrix<T>::RegressColumns(const NCDataVector<T>& v) const {
  NCDataVector<T> result(numColumns_);
  RegressColumnsImpl(v, result);
  return result;
}

template <typename T>
void NCDataMatrix<T>::RegressColumnsImpl(const NCDataVector<T>& v, NCDataVector<T>& result) const {
  NipalsPass<T> pass(*this);
  pass.SumColumns(v);
  pass.FinishColumns(v, NipalsPass<T>::Floor::kNone, nullptr, 0, false, result);
}

template <typename T>
NCDataVector<T> NCDataMatrix<T>::SpecialNipalsRegressColumnsFix(const NCDataVector<T>& v) const {
  NCDataVector<T> result(numColumns_);
  SpecialNipalsRegressColumnsFixImpl(v, result);
  return result;
}

template <typename T>
void NCDataMatrix<T>::SpecialNipalsRegressColumnsFixImpl(const NCDataVector<T>& v, NCDataVector<T>& result) const {
  if (numMisVal_ == 0 && v.GetNumMisVal() == 0) {
    RegressColumnsImpl(v, result);
    return;
  }
  using Weight = typename NipalsPass<T>::Weight;
  NipalsPass<T> pass(*this);
  pass.ReserveSums(v.GetNumMisVal() != 0);
  const bool isAlone = omp_in_parallel() == 0;
  const int processors = isAlone && ThreadingControl::IsThreadingOn() ? ThreadingControl::GetNumberOfProcessors() : 1;
  const int chunks = std::max(1, std::min(processors, numColumns_));
  const int chunk = (numColumns_ + chunks - 1) / chunks;
  detail::RunInThreads(chunks, [&](int c) {
    const int first = 1 + c * chunk;
    const int last = std::min(first + chunk - 1, numColumns_);
    if (first <= last) pass.SumColumnRange(v, Weight::kSquare, first, last, c == 0);
  });
  pass.CombineColumns();
  pass.FinishColumns(v, NipalsPass<T>::Floor::kThirdOfAll, nullptr, 0, false, result);
}

template <typename T>
NCDataVector<T> NCDataMatrix<T>::SpecialNipalsRegressColumnsFix(const NCDataVector<T>& v,
                                                                const NCIntegralVector<int, -99>* groups,
                                                                int excludeValue) const {
  NCDataVector<T> result(numColumns_);
  SpecialNipalsRegressColumnsFixImpl(v, groups, excludeValue, result);
  return result;
}

template <typename T>
void NCDataMatrix<T>::SpecialNipalsRegressColumnsFixImpl(const NCDataVector<T>& v,
                                                         const NCIntegralVector<int, -99>* groups, int excludeValue,
                                                         NCDataVector<T>& result) const {
  NipalsPass<T> pass(*this);
  pass.SumColumns(v);
  pass.FinishColumns(v, NipalsPass<T>::Floor::kThirdOfAll, groups, excludeValue, true, result);
}

// Regressions of rows.

template <typename T>
NCDataVector<T> NCDataMatrix<T>::RegressRows(const NCDataVector<T>& v) const {
  NCDataVector<T> result(numRows_);
  RegressRowsImpl(v, result);
  return result;
}

template <typename T>
void NCDataMatrix<T>::RegressRowsImpl(const NCDataVector<T>& v, NCDataVector<T>& result) const {
  NipalsPass<T> pass(*this);
  pass.RegressRows(v, nullptr, 0, NipalsPass<T>::Floor::kNone, result);
  const auto missing = std::count(result.begin(), result.end(), kMissing<T>);
  result.SetNumMisVal(static_cast<int>(missing));
}

template <typename T>
NCDataVector<T> NCDataMatrix<T>::SpecialNipalsRegressRowsFix(const NCDataVector<T>& v,
                                                             const NCIntegralVector<int, -99>* groups,
                                                             int excludeValue) const {
  NCDataVector<T> result(numRows_);
  SpecialNipalsRegressRowsFixImpl(v, groups, excludeValue, result);
  return result;
}

template <typename T>
void NCDataMatrix<T>::SpecialNipalsRegressRowsFixImpl(const NCDataVector<T>& v,
                                                      const NCIntegralVector<int, -99>* groups, int excludeValue,
                                                      NCDataVector<T>& result) const {
  NipalsPass<T> pass(*this);
  pass.RegressRows(v, groups, excludeValue, NipalsPass<T>::Floor::kThirdOfAll, result);
}

// The start of a component.

template <typename T>
double NCDataMatrix<T>::GetColumnSS(int c, double about) const {
  if ((*colMisVal_)[c] >= numRows_) return detail::kNoValue;
  return detail::ColumnSquaresAbout(*this, c, about);
}

template <typename T>
NCDataVector<T> NCDataMatrix<T>::GetNIPALSStartColumn() const {
  return GetNIPALSStartColumn({});
}

template <typename T>
NCDataVector<T> NCDataMatrix<T>::GetNIPALSStartColumn(const std::vector<double>& columnSquares) const {
  NCDataVector<T> result(numRows_);
  GetStartColumnOf(columnSquares, result);
  return result;
}

template <typename T>
void NCDataMatrix<T>::GetNIPALSStartColumnImpl(NCDataVector<T>* result) const {
  const NCVecOpResultProxy<T> destination(result);  // throws if there is none
  GetStartColumnOf({}, *result);
}

template <typename T>
void NCDataMatrix<T>::GetStartColumnOf(const std::vector<double>& columnSquares, NCDataVector<T>& result) const {
  if (numColumns_ == 0) return;
  int chosen = 1;
  if (numColumns_ != 1) {
    const auto columns = static_cast<std::size_t>(numColumns_);
    const std::vector<double> squares =
        columnSquares.empty() ? detail::ColumnSquaresAbout(*this, std::vector<double>(columns)) : columnSquares;
    constexpr double kClearlyLarger = 1.000001;
    double best = 0.0;
    for (int c = 1; c <= numColumns_; ++c) {
      const double s = squares[static_cast<std::size_t>(c - 1)];
      if ((*colMisVal_)[c] >= numRows_ || !(s > best * kClearlyLarger)) continue;
      best = s;
      chosen = c;
    }
  }
  result.ForceUnlink();
  GetColumnImpl(chosen, result);
  const bool hasGaps = result.GetNumMisVal() != 0 && result.GetNumMisVal() < result.Size();
  if (numColumns_ != 1 && hasGaps) FillGapsAlternating(result);
}

template <typename T>
void NCDataMatrix<T>::FillGapsAlternating(NCDataVector<T>& column) {
  T largest = T{-1};
  for (const T x : column) {
    if (x != kMissing<T>) largest = std::max(largest, std::abs(x));
  }
  T fill = static_cast<T>(static_cast<double>(largest) / 100.0);
  for (int i = 1; i <= column.Size(); ++i) {
    if (column[i] != kMissing<T>) continue;
    column(i, fill);
    fill = -fill;
  }
}

// Deflation.

template <typename T>
NCDataMatrix<T>& NCDataMatrix<T>::AddVprimV(const NCDataVector<T>& a, const NCDataVector<T>& b, float factor) {
  const NCDataVector<T> scores(a);  // a or b may be a row of this matrix
  const NCDataVector<T> loadings(b);
  NipalsKernels<T>::Current();  // throws here, if at all, and not inside the region
  ForceUnlink();
  const int mode = GapModeOf(numMisVal_, loadings.GetNumMisVal());
  int* const columnCounts = colMisVal_->UnlinkedPtr();
  const T scale = static_cast<T>(factor);
  numMisVal_ += detail::ParallelSum(
      numRows_, detail::ThreadsForMatrix(numRows_, numColumns_, detail::kIterationRound), [&](int i) {
        const int r = i + 1;
        int added = 0;
        if (scores[r] == kMissing<T>) {
          SetRowMissing(*this, r, added, columnCounts);
        } else {
          AddPresentFV(*this, scores[r] * scale, loadings.GetVector(), mode, r, added, columnCounts);
        }
        return added;
      });
  return *this;
}

template <typename T>
NCDataMatrix<T>& NCDataMatrix<T>::AddVprimV(const NCDataVector<T>& a, const NCDataVector<T>& b, float factor,
                                            std::vector<double>& columnSquares) {
  columnSquares.clear();
  if (a.GetNumMisVal() != 0 || b.GetNumMisVal() != 0) return AddVprimV(a, b, factor);
  const std::array<NCDataVector<T>, 2> kept{a, b};  // either may be a row of this matrix
  ForceUnlink();
  columnSquares = detail::AddAndSumSquares(*this, RowPointers(), kept[0], kept[1], static_cast<T>(factor));
  return *this;
}

template <typename T>
void NCDataMatrix<T>::AddFV(const NCDataMatrix& m, T f, const T* v, int mode, int row, int& numMisVal, int* colMisVal) {
  if (f == kMissing<T>) {
    SetRowMissing(m, row, numMisVal, colMisVal);
  } else {
    AddPresentFV(m, f, v, mode, row, numMisVal, colMisVal);
  }
}

template <typename T>
void NCDataMatrix<T>::AddPresentFV(const NCDataMatrix& m, T f, const T* v, int mode, int row, int& numMisVal,
                                   int* colMisVal) {
  if (mode < detail::kNoGaps || mode > detail::kBothHaveGaps || m.numColumns_ == 0) return;
  NCDataVector<T>& target = m.rows_[row];
  T* const x = target.data_;
  if ((mode & detail::kSecondHasGaps) == 0) {
    NipalsKernels<T>::Current().addScaled(x + 1, f, v + 1, m.numColumns_, target.numMisVal_ != 0);
    return;
  }
  for (int j = 1; j <= m.numColumns_; ++j) {
    if (x[j] == kMissing<T>) continue;
    if (v[j] == kMissing<T>) {
      x[j] = kMissing<T>;
      CountNewGap(target, j, numMisVal, colMisVal);
    } else {
      const T product = v[j] * f;
      x[j] += product;
    }
  }
}

template <typename T>
void NCDataMatrix<T>::SetRowMissing(const NCDataMatrix& m, int row, int& numMisVal, int* colMisVal) {
  NCDataVector<T>& target = m.rows_[row];
  if (target.numMisVal_ == m.numColumns_) return;
  for (int j = 1; j <= m.numColumns_; ++j) {
    if (target.data_[j] == kMissing<T>) continue;
    target.data_[j] = kMissing<T>;
    CountNewGap(target, j, numMisVal, colMisVal);
  }
  target.numMisVal_ = m.numColumns_;
}

/// Rows of different threads reach the same column.
template <typename T>
void NCDataMatrix<T>::CountNewGap(NCDataVector<T>& row, int column, int& numMisVal, int* colMisVal) {
  ++row.numMisVal_;
  ++numMisVal;
  std::atomic_ref<int>(colMisVal[column]).fetch_add(1, std::memory_order_relaxed);
}

namespace {

/// One column of a column regression: the same numbers as for all columns together.
template <typename T>
void RegressOneColumnWith(typename NipalsPass<T>::Floor floor, T* result, int c, const NCDataMatrix<T>& m,
                          const NCDataVector<T>& v, double ssV, int mode, int& numMisVal) {
  PairSums sums;
  double denominator = ssV;
  if (mode >= detail::kNoGaps && mode <= detail::kBothHaveGaps) {
    sums = NipalsPass<T>::OneColumnSums(m, v, c);
    denominator = NipalsPass<T>::Denominator(m, c, static_cast<GapMode>(mode), ssV, sums.pairedSquares, floor);
  }
  if (!(std::abs(denominator) > detail::kTinySumOfSquares)) return;
  result[c] = static_cast<T>(sums.product / denominator);
  --numMisVal;
}

}  // namespace

template <typename T>
void NCDataMatrix<T>::RegressOneColumn(T* result, int c, const NCDataMatrix& m, const NCDataVector<T>& v, double ssV,
                                       int mode, int& numMisVal) {
  RegressOneColumnWith<T>(NipalsPass<T>::Floor::kNone, result, c, m, v, ssV, mode, numMisVal);
}

template <typename T>
void NCDataMatrix<T>::SpecialNipalsRegressOneColumnFix(T* result, int c, const NCDataMatrix& m,
                                                       const NCDataVector<T>& v, double ssV, int mode, int& numMisVal) {
  RegressOneColumnWith<T>(NipalsPass<T>::Floor::kThirdOfAll, result, c, m, v, ssV, mode, numMisVal);
}

template class NCDataMatrix<float>;
template class NCDataMatrix<double>;

}  // namespace voran
