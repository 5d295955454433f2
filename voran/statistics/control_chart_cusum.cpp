#include <algorithm>
#include <cmath>

#include "voran/statistics/chart_values.h"
#include "voran/statistics/control_chart.h"

inline namespace voran {

using detail::IsKnown;
using detail::kNoValue;
using detail::Product;

namespace {

constexpr float kGap = detail::kMissing<float>;
constexpr double kDeadBandInSigma = 0.5;
constexpr double kActionLimitInSigma = 4.5;

/// The cumulative sums below and above the target.
struct CuSum {
  double low;
  double high;

  void Add(double deviation, double deadBand) {
    low = Narrowed(std::max(0.0, low - (deviation + deadBand)));
    high = Narrowed(std::max(0.0, deviation - deadBand + high));
  }

 private:
  /// The sums go on from what is stored.
  static double Narrowed(double sum) { return static_cast<double>(static_cast<float>(sum)); }
};

double ValueOr(double value, double otherwise) {
  return IsKnown(value) ? value : otherwise;
}

}  // namespace

double ControlChart::GetMSSD() const {
  if (subgroupSize_ == 1) return limits_.stdDevProcess;
  const int present = meanVector_.Size() - meanVector_.GetNumMisVal();
  if (IsKnown(mssd_) || present < 2) return mssd_;
  double sum = 0.0;
  for (int i = 2; i <= meanVector_.Size(); ++i) {
    if (meanVector_[i] == kGap || meanVector_[i - 1] == kGap) continue;
    const auto difference = static_cast<double>(meanVector_[i] - meanVector_[i - 1]);
    sum += difference * difference;
  }
  mssd_ = std::sqrt(sum / (2.0 * present - 2.0));
  return mssd_;
}

void ControlChart::CalculateCuSum() const {
  limits_.deadBand = Product(GetMSSD(), kDeadBandInSigma);
  limits_.actionLimit = Product(GetMSSD(), kActionLimitInSigma);
  const int n = meanVector_.Size();
  for (auto* vector : {&devFromTarget_, &highCuSum_, &lowCuSum_}) *vector = NCDataVector<float>(n);
  const bool hasTarget = IsKnown(limits_.target);
  const bool canAdd = hasTarget && IsKnown(limits_.deadBand);
  CuSum sums = {ValueOr(previousLow_, 0.0), ValueOr(previousHigh_, 0.0)};
  for (int i = 1; i <= n; ++i) {
    if (meanVector_[i] != kGap) {
      const double deviation = static_cast<double>(meanVector_[i]) - limits_.target;
      if (hasTarget) devFromTarget_(i, static_cast<float>(deviation));
      if (canAdd) {
        sums.Add(deviation, limits_.deadBand);
      } else {
        sums = {kNoValue, kNoValue};
      }
    }
    lowCuSum_(i, static_cast<float>(sums.low));
    highCuSum_(i, static_cast<float>(sums.high));
  }
}

double ControlChart::GetActionLimit() const {
  if (!IsKnown(limits_.actionLimit)) CalculateCuSum();
  return limits_.actionLimit;
}

double ControlChart::GetDeadBand() const {
  if (!IsKnown(limits_.deadBand)) CalculateCuSum();
  return limits_.deadBand;
}

NCDataVector<float> ControlChart::GetDevFromTarget() const {
  CalculateCuSumIfMissing(devFromTarget_);
  return devFromTarget_;
}

NCDataVector<float> ControlChart::GetHighCuSum() const {
  CalculateCuSumIfMissing(highCuSum_);
  return highCuSum_;
}

NCDataVector<float> ControlChart::GetLowCuSum() const {
  CalculateCuSumIfMissing(lowCuSum_);
  return lowCuSum_;
}

void ControlChart::CalculateCuSumIfMissing(const NCDataVector<float>& vector) const {
  if (vector.Size() == 0) CalculateCuSum();
}

}  // namespace voran
