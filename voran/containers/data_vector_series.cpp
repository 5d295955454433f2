#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>

#include "voran/containers/data_vector.h"
#include "voran/containers/kernels/elementwise.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/sample_statistics.h"

inline namespace voran {

using detail::kMissing;
using detail::kNoValue;

template <typename T>
void NCDataVector<T>::Lag(int k) {
  assert(k >= 0);
  Unlink();
  if (k == 0) return;
  if (k >= size_) {
    SetAllValues(kMissing<T>);
    return;
  }
  const T* const firstLost = end() - k;
  numMisVal_ += k - static_cast<int>(std::count(firstLost, end(), kMissing<T>));
  std::copy_backward(begin(), firstLost, First() + size_);
  std::fill_n(First(), k, kMissing<T>);
}

// Gaps.

namespace {

/// Fills y[left + 1]..y[right - 1] on the straight line between its neighbours.
template <typename T>
void InterpolateBetween(int left, int right, const T* x, T* y) {
  const auto line = [&](auto xAt) {
    const auto dy = static_cast<double>(y[right] - y[left]);
    const auto dx = static_cast<double>(xAt(right) - xAt(left));
    const auto xLeft = static_cast<double>(xAt(left));
    const auto yLeft = static_cast<double>(y[left]);
    for (int i = left + 1; i < right; ++i) {
      y[i] = static_cast<T>((static_cast<double>(xAt(i)) - xLeft) / dx * dy + yLeft);
    }
  };
  if (x == nullptr) {
    line([](int i) { return static_cast<float>(i); });
  } else {
    line([x](int i) { return x[i]; });
  }
}

}  // namespace

template <typename T>
bool NCDataVector<T>::InterpolateMisVals(const NCDataVector* x) {
  if (numMisVal_ == 0) return true;
  if (numMisVal_ == size_) return false;
  // Of a vector whose count has drifted, nothing may be present all the same.
  int first = 1;
  while (first <= size_ && data_[first] == kMissing<T>) ++first;
  if (first > size_) return false;
  Unlink();
  int last = size_;
  while (data_[last] == kMissing<T>) --last;
  std::fill(First(), data_ + first, data_[first]);
  std::fill(data_ + last + 1, First() + size_, data_[last]);
  for (int left = first; left < last;) {
    int right = left + 1;
    while (data_[right] == kMissing<T>) ++right;
    if (right > left + 1) {
      if (x != nullptr && std::count(x->data_ + left, x->data_ + right + 1, kMissing<T>) != 0) return false;
      InterpolateBetween<T>(left, right, x == nullptr ? nullptr : x->data_, data_);
    }
    left = right;
  }
  numMisVal_ = 0;
  return true;
}

// Mean and line.

template <typename T>
NCDataVector<T> NCDataVector<T>::SNV() const {
  NCDataVector result(size_);
  SNVImpl(result);
  return result;
}

template <typename T>
void NCDataVector<T>::SNVImpl(NCDataVector& result) const {
  const int n = size_ - numMisVal_;
  const double mean = GetMean();
  const double ss = n > 1 ? GetSS(mean) : 0.0;
  if (ss == 0.0) {
    result.SetAllValues(kMissing<T>);
    return;
  }
  const auto& kernels = detail::ElementwiseKernels<T>::Current();
  result.Unlink();
  kernels.standardise(begin(), mean, std::sqrt(ss / (n - 1)), result.First(), size_, numMisVal_ != 0);
  result.numMisVal_ = numMisVal_;
}

template <typename T>
void NCDataVector<T>::DetrendMean(double& mean) {
  mean = GetMean();
  if (mean == kNoValue) {
    mean = 0.0;
  } else {
    *this -= mean;
  }
}

template <typename T>
void NCDataVector<T>::DetrendLinear(double& intercept, double& slope) {
  const int n = size_ - numMisVal_;
  if (n < 2) {
    slope = 0.0;
    if (n == 1) DetrendMean(intercept);
    return;
  }
  LeastSquare(nullptr, intercept, slope);
  Unlink();
  for (int i = 1; i <= size_; ++i) {
    if (numMisVal_ != 0 && data_[i] == kMissing<T>) continue;
    data_[i] = static_cast<T>(static_cast<double>(data_[i]) - (slope * i + intercept));
  }
}

template <typename T>
bool NCDataVector<T>::LeastSquare(const NCDataVector* x, double& intercept, double& slope) const {
  constexpr double kVertical = std::numeric_limits<float>::max();
  const double n = size_ - numMisVal_;
  if (n < 2.0 || (numMisVal_ == 0 && x != nullptr && x->numMisVal_ != 0)) return false;
  double sumX = 0.0;
  double sumY = 0.0;
  double sumXX = 0.0;
  double sumXY = 0.0;
  bool isConstant = true;
  for (int i = 1; i <= size_; ++i) {
    if (numMisVal_ != 0 && data_[i] == kMissing<T>) continue;
    const T xi = x == nullptr ? static_cast<T>(i) : x->data_[i];
    if (x != nullptr && xi == kMissing<T>) return false;
    const T square = xi * xi;
    sumX += static_cast<double>(xi);
    sumY += static_cast<double>(data_[i]);
    sumXX += static_cast<double>(square);
    sumXY += static_cast<double>(xi) * static_cast<double>(data_[i]);
    isConstant = isConstant && data_[i] == data_[1];
  }
  const double sxx = sumXX - sumX * sumX / n;
  if (!(std::abs(sxx) > 0.0)) {
    slope = kVertical;
  } else if (isConstant) {
    slope = 0.0;
    intercept = static_cast<double>(data_[1]);
  } else {
    slope = (sumXY - sumX * sumY / n) / sxx;
    intercept = (sumY - slope * sumX) / n;
  }
  return true;
}

template class NCDataVector<float>;
template class NCDataVector<double>;

}  // namespace voran
