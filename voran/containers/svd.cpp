#include "voran/containers/svd.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <numeric>
#include <vector>

#include "voran/containers/kernels/nipals.h"
#include "voran/containers/missing_value.h"

inline namespace voran {

namespace {

/// Below this, or below this share of the largest, a singular value is 0, in T = double as well.
constexpr double kLeastSingularValue = 1.1754943508222875e-38;
constexpr double kLeastShare = 1e-16;

double Threshold(double largest) {
  return std::max(largest * kLeastShare, kLeastSingularValue);
}

template <typename T>
void ZeroBelow(double threshold, NCDataVector<T>& w) {
  T* const values = w.GetWritableVector();
  for (int k = 1; k <= w.Size(); ++k) {
    if (static_cast<double>(values[k]) < threshold) values[k] = T{0};
  }
}

/// The columns of m at the positions order[0], order[1], ... (1-based), as a new matrix; m has no gaps.
template <typename T>
NCDataMatrix<T> TakeColumns(const NCDataMatrix<T>& m, const std::vector<int>& order) {
  NCDataMatrix<T> taken(m.SizeRows(), static_cast<int>(order.size()), T{0});
  for (int i = 1; i <= m.SizeRows(); ++i) {
    const T* const from = m[i].GetVector();
    T* to = taken(i).GetWritableVector();
    for (const int column : order) *++to = from[column];
  }
  return taken;
}

}  // namespace

template <typename T>
NCSVD<T>::NCSVD(NCDataMatrix<T>* v, NCDataVector<T>* w, NCDataMatrix<T>* u) : v_(v), w_(w), u_(u) {
  const T largest = w->Size() == 0 ? T{0} : *std::max_element(w->begin(), w->end());
  // Compared in single precision. What exceeds its range, DoSort compares in double.
  constexpr double kLargestFloat = std::numeric_limits<float>::max();
  const auto threshold = static_cast<float>(std::min(Threshold(static_cast<double>(largest)), kLargestFloat));
  ZeroBelow(static_cast<double>(threshold), *w);
  DoSort();
}

template <typename T>
NCSVD<T>::~NCSVD() {
  delete u_;
  delete v_;
  delete w_;
}

template <typename T>
void NCSVD<T>::DoSort() {
  if (w_->Size() == 0) return;
  std::vector<int> order(static_cast<std::size_t>(w_->Size()));
  std::iota(order.begin(), order.end(), 1);
  const NCDataVector<T> unsorted(*w_);
  std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return unsorted[a] > unsorted[b]; });
  NCDataMatrix<T> u = TakeColumns(*u_, order);
  NCDataMatrix<T> v = TakeColumns(*v_, order);
  T* values = w_->GetWritableVector();
  for (const int k : order) *++values = unsorted[k];
  u_->swap(u);
  v_->swap(v);
  ZeroBelow(Threshold(static_cast<double>((*w_)[1])), *w_);
}

template <typename T>
T NCSVD<T>::GetConditionNumber() const {
  if (w_ == nullptr || w_->Size() == 0 || w_->back() == T{0}) return detail::kMissing<T>;
  return (*w_)[1] / w_->back();
}

template <typename T>
T NCSVD<T>::GetLogDeterminant() const {
  if (w_ == nullptr || w_->Size() == 0 || w_->back() == T{0}) return T{0};
  return std::accumulate(w_->begin(), w_->end(), T{0}, [](T sum, T value) { return sum + std::log10(value); });
}

template <typename T>
NCDataMatrix<T>* NCSVD<T>::GetInverse(float maxCondition) const {
  if (status_ != Ok) return nullptr;
  if (maxCondition != detail::kMissing<float>) {
    const T condition = GetConditionNumber();
    if (v_->SizeRows() != v_->SizeColumns() || condition == detail::kMissing<T>) return nullptr;
    if (condition > static_cast<T>(maxCondition)) return nullptr;
  }
  return Inverse().release();
}

/// V diag(1/W) U', formed from a few rows of U at a time.
template <typename T>
std::unique_ptr<NCDataMatrix<T>> NCSVD<T>::Inverse() const {
  constexpr int kRowsTogether = 16;
  const int values = w_->Size();
  const int rows = v_->SizeRows();
  const int columns = u_->SizeRows();
  const auto width = static_cast<std::size_t>(values);
  auto inverse = std::make_unique<NCDataMatrix<T>>(rows, columns, T{0});
  std::vector<double> quotients;
  quotients.reserve(static_cast<std::size_t>(rows) * width);
  for (const NCDataVector<T>& row : *v_) {
    for (int k = 1; k <= values; ++k) quotients.push_back(static_cast<double>(row[k]) / static_cast<double>((*w_)[k]));
  }
  std::vector<double> block(kRowsTogether * width);
  const double* rowsOfU[kRowsTogether];
  for (std::size_t r = 0; r < kRowsTogether; ++r) rowsOfU[r] = block.data() + r * width;
  const detail::NipalsKernels<double>& kernels = detail::NipalsKernels<double>::Current();
  for (int from = 1; from <= columns; from += kRowsTogether) {
    const int count = std::min(kRowsTogether, columns - from + 1);
    for (int r = 0; r < count; ++r)
      std::copy_n((*u_)[from + r].begin(), values, block.data() + (rowsOfU[r] - rowsOfU[0]));
    for (int i = 1; i <= rows; ++i) {
      double sums[kRowsTogether];
      kernels.rowProducts(rowsOfU, count, quotients.data() + static_cast<std::size_t>(i - 1) * width, values, {}, sums);
      T* const result = (*inverse)(i).GetWritableVector() + from;
      for (int r = 0; r < count; ++r) result[r] = static_cast<T>(sums[r]);
    }
  }
  return inverse;
}

template <typename T>
void NCSVD<T>::RemoveZeroSingularValues() {
  if (w_ == nullptr) return;
  int kept = w_->Size();
  while (kept > 0 && (*w_)[kept] <= T{0}) --kept;
  ++kept;  // one of the zeros stays
  if (kept >= w_->Size()) return;
  std::vector<int> order(static_cast<std::size_t>(kept));
  std::iota(order.begin(), order.end(), 1);
  NCDataMatrix<T> u = TakeColumns(*u_, order);
  NCDataMatrix<T> v = TakeColumns(*v_, order);
  w_->RemoveValues(kept + 1, w_->Size() - kept);
  u_->swap(u);
  v_->swap(v);
}

template class NCSVD<float>;
template class NCSVD<double>;
template class SVDBuilder<float>;
template class SVDBuilder<double>;

}  // namespace voran
