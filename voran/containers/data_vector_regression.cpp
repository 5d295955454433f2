#include <algorithm>
#include <cmath>
#include <optional>

#include "voran/containers/data_vector.h"
#include "voran/containers/kernels/elementwise.h"
#include "voran/containers/kernels/reductions.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/regression_sums.h"

inline namespace voran {

using detail::GapMode;
using detail::GapModeOf;
using detail::kNoValue;
using detail::PairSums;
using detail::ReductionKernels;

namespace {

/// NaN, infinite or denormal; 0 is fine.
bool IsUnusable(double sum) {
  return sum != 0.0 && !std::isnormal(sum);
}

}  // namespace

template <typename T>
double NCDataVector<T>::operator*(const NCDataVector& v) const {
  const GapMode mode = GapModeOf(numMisVal_, v.numMisVal_);
  if (mode != detail::kNoGaps && !detail::AnyPair(begin(), v.begin(), size_)) return kNoValue;
  return ReductionKernels<T>::Current().dotProduct(begin(), v.begin(), size_, mode);
}

template <typename T>
double NCDataVector<T>::GetSS() const {
  if (size_ > 0 && numMisVal_ == size_) return kNoValue;
  return ReductionKernels<T>::Current().sumOfSquares(begin(), size_, numMisVal_ != 0);
}

template <typename T>
double NCDataVector<T>::GetSS(double about) const {
  if (size_ > 0 && numMisVal_ == size_) return kNoValue;
  return ReductionKernels<T>::Current().sumOfSquaresAbout(begin(), about, size_, numMisVal_ != 0);
}

template <typename T>
void NCDataVector<T>::Calculate_V1txV2_and_V1txV1(double& v1tv2, double& v1tv1, double& v1tv1All,
                                                  const NCDataVector& v2, const NCIntegralVector<int, -99>* groups,
                                                  int excludeValue) const {
  // A position that a group leaves out plays no more part than one where V1 is missing.
  std::optional<NCDataVector> marked;
  if (groups != nullptr) marked = detail::WithoutGroup(*this, *groups, excludeValue);
  const NCDataVector& v1 = marked ? *marked : *this;
  PairSums sums =
      ReductionKernels<T>::Current().pairSums(v1.begin(), v2.begin(), size_, GapModeOf(v1.numMisVal_, v2.numMisVal_));
  const bool anyPair = sums.pairedSquares != 0.0 || detail::AnyPair(v1.begin(), v2.begin(), size_);
  // Whether the absence of pairs is told depends on the operands' own gaps, not on what a group left out.
  sums = detail::GuardedSums(sums, anyPair, GapModeOf(numMisVal_, v2.numMisVal_));
  v1tv2 = sums.product;
  v1tv1 = sums.pairedSquares;
  v1tv1All = sums.allSquares;
}

template <typename T>
double NCDataVector<T>::Regress(const NCDataVector& v) const {
  PairSums sums;
  Calculate_V1txV2_and_V1txV1(sums.product, sums.pairedSquares, sums.allSquares, v, nullptr, 0);
  return detail::Slope(sums);
}

template <typename T>
double NCDataVector<T>::SpecialNipalsRegressFix(const NCDataVector& v) const {
  PairSums sums;
  Calculate_V1txV2_and_V1txV1(sums.product, sums.pairedSquares, sums.allSquares, v, nullptr, 0);
  return detail::FixSlope(sums);
}

template <typename T>
double NCDataVector<T>::SpecialNipalsRegressFixWithExclude(const NCDataVector& v,
                                                           const NCIntegralVector<int, -99>& groups,
                                                           int excludeValue) const {
  PairSums sums;
  Calculate_V1txV2_and_V1txV1(sums.product, sums.pairedSquares, sums.allSquares, v, &groups, excludeValue);
  return detail::FixSlope(sums);
}

template <typename T>
double NCDataVector<T>::Correlation(const NCDataVector& v) const {
  double s12;
  double s1;
  double s2;
  if (numMisVal_ == 0 && v.numMisVal_ == 0) {
    s12 = *this * v;
    s1 = GetSS();
    s2 = v.GetSS();
  } else {
    if (!detail::AnyPair(begin(), v.begin(), size_)) return kNoValue;
    const auto& kernels = ReductionKernels<T>::Current();
    const GapMode mode = GapModeOf(numMisVal_, v.numMisVal_);
    const PairSums sums = kernels.pairSums(begin(), v.begin(), size_, mode);
    s12 = sums.product;
    s1 = sums.pairedSquares;
    s2 = kernels.pairSums(v.begin(), begin(), size_, GapModeOf(v.numMisVal_, numMisVal_)).pairedSquares;
  }
  if (s12 == kNoValue || s1 == kNoValue || s2 == kNoValue) return kNoValue;
  const double product = s1 * s2;
  const double r = product > detail::kTinySumOfSquares ? s12 / std::sqrt(product) : s12;
  return std::clamp(r, -1.0, 1.0);
}

template <typename T>
double NCDataVector<T>::Difference(const NCDataVector& v) const {
  constexpr double kFarApart = 1e30;
  const GapMode mode = GapModeOf(numMisVal_, v.numMisVal_);
  const detail::DistanceSums sums = ReductionKernels<T>::Current().distanceSums(begin(), v.begin(), size_, mode);
  if (mode != detail::kNoGaps && sums.squares == 0.0 && !detail::AnyPair(begin(), v.begin(), size_)) return kNoValue;
  if (sums.squares < detail::kTinySumOfSquares) return kFarApart;
  if (IsUnusable(sums.distance) || IsUnusable(sums.squares)) return kNoValue;
  return sums.distance / sums.squares;
}

template <typename T>
double NCDataVector<T>::Normalise() {
  const double ss = GetSS();
  if (ss == kNoValue) return kNoValue;
  const double norm = std::sqrt(ss);
  if (norm == 0.0) return norm;
  const auto& kernels = detail::ElementwiseKernels<T>::Current();
  Unlink();
  kernels.divideByScalar(First(), norm, First(), size_, numMisVal_ != 0);
  return norm;
}

template <typename T>
void NCDataVector<T>::GetMinMax(T& min, T& max) const {
  min = max = detail::kMissing<T>;
  bool any = false;
  for (const T* x = begin(); x != end(); ++x) {
    if (*x == detail::kMissing<T>) continue;
    if (!any || *x < min || std::isnan(min)) min = *x;
    if (!any || *x > max || std::isnan(max)) max = *x;
    any = true;
  }
}

template class NCDataVector<float>;
template class NCDataVector<double>;

}  // namespace voran
