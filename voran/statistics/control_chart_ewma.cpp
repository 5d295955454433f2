#include <cmath>

#include "voran/statistics/chart_values.h"
#include "voran/statistics/control_chart.h"
#include "voran/statistics/relative_tolerance.h"

inline namespace voran {

using detail::Difference;
using detail::IsKnown;
using detail::Product;
using detail::Sum;

namespace {

constexpr float kGap = detail::kMissing<float>;
constexpr double kSmallestStep = 0.0005;
constexpr double kSmallestLambda = 1e-5;
constexpr double kUsualLambda = 0.2;  // where the data favour none
constexpr double kLimitsInSigma = 3.0;

/// The position of the first present element, or the size + 1.
int FirstPresent(const NCDataVector<float>& values) {
  int i = 1;
  while (i <= values.Size() && values[i] == kGap) ++i;
  return i;
}

bool HasLeftUnitRange(double lambda) {
  return lambda > 1.0 || lambda <= 0.0 || !detail::Differ(lambda, 1.0);
}

}  // namespace

void ControlChart::CalculateEWMA(NCDataVector<float>& result, double lambda, EWMAType type) const {
  const int n = meanVector_.Size();
  if (result.Size() < n) result.Resize(n, kGap);
  int first = 1;
  double start = IsKnown(previousEWMA_) ? previousEWMA_ : limits_.target;
  if (!IsKnown(previousEWMA_) && firstValueAsTarget_) {
    first = FirstPresent(meanVector_);
    for (int i = 1; i < first; ++i) result(i, kGap);
    if (first <= n) start = static_cast<double>(meanVector_[first]);
  }
  if (first > n) return;
  result(first, static_cast<float>(start));
  if (type != kFilter && type != kPredictive) return;
  for (int i = first + 1; i <= n; ++i) {
    const float x = meanVector_[type == kPredictive ? i - 1 : i];
    const float z = result[i - 1];
    const bool carriesOver = x == kGap || z == kGap;
    result(i, carriesOver ? z : static_cast<float>(static_cast<double>(z) + lambda * static_cast<double>(x - z)));
  }
}

double ControlChart::CalculateSumErrForEstimatedLambda(NCDataVector<float>& work, double lambda) const {
  CalculateEWMA(work, lambda, kPredictive);
  double sum = 0.0;
  for (int i = 1; i <= meanVector_.Size(); ++i) {
    if (meanVector_[i] == kGap) continue;
    const auto error = static_cast<double>(meanVector_[i] - work[i]);
    sum += error * error;
  }
  return sum;
}

double ControlChart::EstimateLambda(double start, double step) const {
  NCDataVector<float> work;
  const auto errorAt = [&](double lambda) { return CalculateSumErrForEstimatedLambda(work, lambda); };
  double lambda = start;
  double best = errorAt(lambda);
  double next = lambda;
  double error = best;
  while (std::fabs(step) >= kSmallestStep) {
    next = lambda + step;
    error = errorAt(next);
    if (!(error < best)) {
      step *= 0.5;
      continue;
    }
    while (next < 1.0 && next > 0.0) {
      const double beyond = next + step;
      const double errorBeyond = errorAt(beyond);
      if (!(errorBeyond < error)) {
        step *= 0.5;
        break;
      }
      lambda = next;
      best = error;
      next = beyond;
      error = errorBeyond;
    }
    if (HasLeftUnitRange(next)) step *= 0.5;
  }
  return best > error ? next : lambda;
}

double ControlChart::GetEWMALambda() const {
  if (IsKnown(ewmaLambda_)) return ewmaLambda_;
  const double fromBelow = EstimateLambda(0.1, 0.1);
  const double fromAbove = EstimateLambda(1.0, -0.1);
  NCDataVector<float> work;
  const double errorFromBelow = CalculateSumErrForEstimatedLambda(work, fromBelow);
  const bool isAboveBetter = errorFromBelow > CalculateSumErrForEstimatedLambda(work, fromAbove);
  ewmaLambda_ = isAboveBetter ? fromAbove : fromBelow;
  if (ewmaLambda_ < kSmallestLambda) ewmaLambda_ = kUsualLambda;
  if (ewmaLambda_ >= 1.0) ewmaLambda_ = 1.0;
  return ewmaLambda_;
}

NCDataVector<float> ControlChart::GetEWMA() const {
  if (ewma_.Size() == 0) CalculateEWMA(ewma_, GetEWMALambda(), ewmaType_);
  return ewma_;
}

void ControlChart::CalculateEWMALimits() const {
  const double lambda = GetEWMALambda();
  const double sigma = subgroupSize_ == 1 ? limits_.stdDevProcess : GetMSSD();
  ewmaStdDev_ = Product(sigma, std::sqrt(lambda / (2.0 - lambda)));
  ewmaUCL_ = Sum(limits_.target, Product(kLimitsInSigma, ewmaStdDev_));
  ewmaLCL_ = Difference(limits_.target, Product(kLimitsInSigma, ewmaStdDev_));
}

double ControlChart::GetEWMAUCL() const {
  if (!IsKnown(ewmaUCL_)) CalculateEWMALimits();
  return ewmaUCL_;
}

double ControlChart::GetEWMALCL() const {
  if (!IsKnown(ewmaLCL_)) CalculateEWMALimits();
  return ewmaLCL_;
}

double ControlChart::GetEWMAStdDev() const {
  if (!IsKnown(ewmaStdDev_)) CalculateEWMALimits();
  return ewmaStdDev_;
}

}  // namespace voran
