#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <span>
#include <vector>

#include "voran/containers/data_vector.h"
#include "voran/containers/kernels/reductions.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/sample_statistics.h"

inline namespace voran {

using detail::kNoValue;
using detail::ReductionKernels;

namespace detail {

namespace {

template <typename T>
ScorePowers ScorePowersOf(const NCDataVector<T>& sample, double mean, double stdDev) {
  const auto& kernels = ReductionKernels<T>::Current();
  return kernels.scorePowers(sample.begin(), mean, stdDev, sample.Size(), sample.GetNumMisVal() != 0);
}

}  // namespace

// The factors in n are deliberately formed in float for double elements too: they are the same for either element type.

template <typename T>
double SkewnessOf(const NCDataVector<T>& sample, double mean, double stdDev) {
  const int present = sample.Size() - sample.GetNumMisVal();
  if (present < 3 || stdDev == kNoValue || stdDev == 0.0) return kNoValue;
  const auto n = static_cast<float>(present);
  const float factor = n / ((n - 1.0f) * (n - 2.0f));
  return static_cast<double>(factor) * ScorePowersOf(sample, mean, stdDev).cubes;
}

double SkewnessTestOf(double skewness, int present) {
  if (present < 3 || skewness == kNoValue) return skewness;
  const double n = present;
  return skewness / std::sqrt(6.0 * n * (n - 1.0) / ((n - 2.0) * (n + 1.0) * (n + 3.0)));
}

template <typename T>
double KurtosisOf(const NCDataVector<T>& sample, double mean, double stdDev) {
  const int present = sample.Size() - sample.GetNumMisVal();
  if (present < 4 || stdDev == kNoValue || stdDev == 0.0) return kNoValue;
  const auto n = static_cast<float>(present);
  const float factor = (n + 1.0f) * n / ((n - 1.0f) * (n - 2.0f) * (n - 3.0f));
  const float ofNormal = 3.0f * (n - 1.0f) * (n - 1.0f) / ((n - 2.0f) * (n - 3.0f));
  return static_cast<double>(factor) * ScorePowersOf(sample, mean, stdDev).fourths - static_cast<double>(ofNormal);
}

template double SkewnessOf(const NCDataVector<float>&, double, double);
template double SkewnessOf(const NCDataVector<double>&, double, double);
template double KurtosisOf(const NCDataVector<float>&, double, double);
template double KurtosisOf(const NCDataVector<double>&, double, double);

}  // namespace detail

// Moments.

template <typename T>
double NCDataVector<T>::GetSum() const {
  if (numMisVal_ == size_) return kNoValue;
  return ReductionKernels<T>::Current().sum(begin(), size_, numMisVal_ != 0);
}

template <typename T>
double NCDataVector<T>::GetMean() const {
  if (numMisVal_ == size_) return kNoValue;
  return detail::MeanOf(GetSum(), size_ - numMisVal_);
}

template <typename T>
double NCDataVector<T>::GetVariance() const {
  const int n = size_ - numMisVal_;
  if (n == 0) return kNoValue;
  if (n == 1) return 0.0;
  return GetSS(GetMean()) / (n - 1);
}

template <typename T>
double NCDataVector<T>::GetStdDev() const {
  return size_ - numMisVal_ < 2 ? kNoValue : std::sqrt(GetVariance());
}

template <typename T>
double NCDataVector<T>::GetSkewness() const {
  return detail::SkewnessOf(*this, GetMean(), GetStdDev());
}

template <typename T>
double NCDataVector<T>::GetSkewnessTest() const {
  return detail::SkewnessTestOf(GetSkewness(), size_ - numMisVal_);
}

template <typename T>
double NCDataVector<T>::GetKurtosis() const {
  return detail::KurtosisOf(*this, GetMean(), GetStdDev());
}

// Order statistics.

namespace {

template <typename T>
std::vector<T> PresentElements(const NCDataVector<T>& v) {
  std::vector<T> present;
  present.reserve(static_cast<std::size_t>(v.Size()));
  std::copy_if(v.begin(), v.end(), std::back_inserter(present), [](T x) { return x != detail::kMissing<T>; });
  return present;
}

/// The middle of at least one value, or the mean of the two middle ones. Leaves the lower half of the values in front
/// and the upper half behind. A NaN is larger than any number.
template <typename T>
double MedianOf(std::span<T> values) {
  const auto less = [](T a, T b) { return std::isnan(b) ? !std::isnan(a) : a < b; };
  const auto middle = values.begin() + std::ssize(values) / 2;
  std::nth_element(values.begin(), middle, values.end(), less);
  const auto upper = static_cast<double>(*middle);
  if (values.size() % 2 != 0) return upper;
  return (static_cast<double>(*std::max_element(values.begin(), middle, less)) + upper) * 0.5;
}

}  // namespace

template <typename T>
double NCDataVector<T>::GetMedian() const {
  std::vector<T> values = PresentElements(*this);
  return values.empty() ? kNoValue : MedianOf(std::span(values));
}

template <typename T>
bool NCDataVector<T>::GetInterquartiles(double& lower, double& median, double& upper) const {
  lower = median = upper = kNoValue;
  std::vector<T> values = PresentElements(*this);
  if (values.size() < 2) return false;
  const std::span<T> all(values);
  const std::size_t half = values.size() / 2;
  median = MedianOf(all);
  lower = MedianOf(all.first(half));
  upper = MedianOf(all.last(half));
  return true;
}

template <typename T>
double NCDataVector<T>::GetInterquartileRange() const {
  double lower;
  double median;
  double upper;
  return GetInterquartiles(lower, median, upper) ? upper - lower : kNoValue;
}

template <typename T>
double NCDataVector<T>::GetRobustStdDev() const {
  constexpr double kRangePerStdDev = 1.075;
  const double range = GetInterquartileRange();
  return range == kNoValue ? kNoValue : range / kRangePerStdDev;
}

template class NCDataVector<float>;
template class NCDataVector<double>;

}  // namespace voran
