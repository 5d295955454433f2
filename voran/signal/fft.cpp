#include "voran/signal/fft.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <vector>

#include "voran/platform/nc_error.h"
#include "voran/signal/correlation.h"
#include "voran/signal/padding.h"
#include "voran/signal/power_estimate.h"
#include "voran/signal/power_of_two.h"

inline namespace voran {

namespace {

/// How many pairs of segments a series gives, and how long it must be for them.
struct Segments {
  Segments(int n, int m, bool overlap) {
    const double perSegment = overlap ? m : 2.0 * m;
    const double count = std::ceil(static_cast<float>(n) / static_cast<float>(perSegment));
    pairs = static_cast<std::int64_t>(overlap ? std::floor(count * 0.5) : std::ceil(count * 0.5));
    length = overlap ? (2 * pairs + 1) * m : 4 * pairs * m;
  }

  std::int64_t pairs;
  std::int64_t length;
};

/// The power of 2 that has room for a series and its lags; 0 if there is none, or if there is nothing to correlate.
int CorrelationLength(const NCDataVector<float>& x, int lags) {
  const int n = x.Size();
  if (n == 0 || lags < 0 || lags > n || x.GetNumMisVal() == n) return 0;
  const std::uint64_t length = std::bit_ceil(static_cast<std::uint64_t>(n) + static_cast<std::uint64_t>(lags));
  return length > std::numeric_limits<int>::max() ? 0 : static_cast<int>(length);
}

void ThrowNoSpectrum() {
  throw NCError(ExceptionMessage::translate("Power spectrum could not be computed."), NCError::Level::kGeneral);
}

}  // namespace

void FFT::DetrendVector(NCDataVector<float>& v, DetrendMode detrend) {
  double intercept = 0.0;
  double slope = 0.0;
  if (detrend == DetrendMode::kMean) v.DetrendMean(intercept);
  if (detrend == DetrendMode::kLinear) v.DetrendLinear(intercept, slope);
}

void FFT::DetrendVecMeanStd(NCDataVector<float>& v) {
  const double mean = v.GetSum() / v.Size();
  float* const base = v.GetWritableVector();  // -= would move a mean that is the marker
  double squares = 0.0;                       // in double: those of the smallest and the largest floats are no floats
  for (int i = 1; i <= v.Size(); ++i) {
    base[i] = static_cast<float>(static_cast<double>(base[i]) - mean);
    squares += static_cast<double>(base[i]) * static_cast<double>(base[i]);
  }
  const double root = std::sqrt(squares);
  if (!(root > 0.0)) return;
  for (int i = 1; i <= v.Size(); ++i) base[i] = static_cast<float>(static_cast<double>(base[i]) / root);
}

void FFT::PadVectorZeros(NCDataVector<float>& v, int length) {
  if (length > v.Size()) v.Resize(length, 0.0f);
}

void FFT::PadVectorLinearly(NCDataVector<float>& v, int length) {
  detail::PadTowardsStart(v, length);
}

void FFT::ReorderFromVec(const float* source, NCDataVector<float>& target, int n, int count) {
  const int negative = count / 2;
  target.SetRange(1, source + n - negative, negative);
  target.SetRange(negative + 1, source, count - negative);
}

NCDataVector<float> FFT::Prepared(const NCDataVector<float>& x, DetrendMode detrend, int room) {
  NCDataVector<float> v;
  v.Reserve(room);  // before the elements come: one copy of a long series less
  v.InsertValues(1, x);
  v.InterpolateMisVals(nullptr);
  DetrendVector(v, detrend);
  return v;
}

void FFT::PowerSpectrum(const NCDataVector<float>* x, int segmentLength, bool overlap, DetrendMode detrend,
                        ScalingMode scaling, DataWindowMode window, NCDataVector<float>* result) {
  if (x == nullptr || result == nullptr || segmentLength < 2 || !detail::IsPowerOfTwo(segmentLength)) return;
  const int m = segmentLength / 2;
  const Segments segments(x->Size(), m, overlap);
  if (segments.pairs < 1 || segments.length > std::numeric_limits<int>::max() || x->GetNumMisVal() == x->Size()) {
    ThrowNoSpectrum();
  }
  std::vector<float> powers;
  try {
    const auto length = static_cast<int>(segments.length);
    NCDataVector<float> v = Prepared(*x, detrend, length);
    PadVectorLinearly(v, length);
    const detail::PowerEstimate estimate(static_cast<std::size_t>(m), window);
    powers = estimate.Average(v.begin(), static_cast<std::size_t>(segments.pairs), overlap, scaling);
  } catch (const std::bad_alloc&) {
    ThrowNoSpectrum();
  }
  if (!std::all_of(powers.begin(), powers.end(), [](float p) { return std::isfinite(p); })) ThrowNoSpectrum();
  assert(result->Size() > m);
  result->SetRange(1, powers.data(), m + 1);
}

NCDataVector<float> FFT::Standardised(const NCDataVector<float>& x, DetrendMode detrend, int length) {
  NCDataVector<float> v = Prepared(x, detrend, length);
  PadVectorZeros(v, length);
  DetrendVecMeanStd(v);
  return v;
}

void FFT::AutoCorrelation(const NCDataVector<float>* x, DetrendMode detrend, int lags, NCDataVector<float>* result) {
  if (x == nullptr || result == nullptr) return;
  const int length = CorrelationLength(*x, lags);
  if (length == 0) return;
  assert(result->Size() > lags);
  try {
    const NCDataVector<float> v = Standardised(*x, detrend, length);
    result->SetRange(1, detail::Correlation(v.begin(), v.begin(), static_cast<std::size_t>(length)).get(), lags + 1);
  } catch (const std::bad_alloc&) {  // as with everything else that cannot be done
  }
}

void FFT::CrossCorrelation(const NCDataVector<float>* x, const NCDataVector<float>* y, DetrendMode detrend, int lags,
                           NCDataVector<float>* result) {
  if (x == nullptr || y == nullptr || result == nullptr || x->Size() != y->Size()) return;
  const int length = std::min(CorrelationLength(*x, lags), CorrelationLength(*y, lags));
  if (length == 0) return;
  assert(result->Size() > 2 * lags);
  try {
    const NCDataVector<float> a = Standardised(*x, detrend, length);
    const NCDataVector<float> b = Standardised(*y, detrend, length);
    const auto correlation = detail::Correlation(a.begin(), b.begin(), static_cast<std::size_t>(length));
    ReorderFromVec(correlation.get(), *result, length, 2 * lags + 1);
  } catch (const std::bad_alloc&) {
  }
}

}  // namespace voran
