#include "voran/signal/derivate.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "voran/containers/kernels/elementwise.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/writable_elements.h"
#include "voran/signal/kernels/window_fits.h"

inline namespace voran {

using detail::kMissing;

namespace {

/// Windows that are fitted at once.
constexpr int kChunk = 512;

}  // namespace

/// The values that Smooth() reads off a fit.
template <typename T>
struct Derivate<T>::SmoothValues {
  static constexpr int kTerm = 2;  ///< what the centre of a window takes beside the mean

  T At(const Fit& fit, T x) const { return derivate.GetYHat(fit, x); }
  T AtCentre(T ybar, T b) const { return ybar - b * derivate.meanSquare_; }

  const Derivate& derivate;
};

template <typename T>
template <int Order>
struct Derivate<T>::DerivativeValues {
  static constexpr int kTerm = Order;

  T At(const Fit& fit, T x) const { return derivate.GetDerivate(fit, x, Order); }
  T AtCentre(T, T b) const { return Order == 1 ? b : Order == 2 ? 2 * b : 6 * b; }

  const Derivate& derivate;
};

template <typename T>
void Derivate<T>::Smooth(const NCDataVector<T>& x, NCDataVector<T>& result, bool edges) const {
  Walk(x, result, edges, SmoothValues{*this});
}

template <typename T>
void Derivate<T>::DoDerivate(const NCDataVector<T>& x, NCDataVector<T>& result, int derivativeOrder, T step,
                             bool edges) const {
  switch (derivativeOrder) {
    case 1:
      Walk(x, result, edges, DerivativeValues<1>{*this});
      if (step != 1) result *= static_cast<double>(1 / step);
      break;
    case 2:
      Walk(x, result, edges, DerivativeValues<2>{*this});
      if (step != 1) result *= static_cast<double>(1 / Square(step));
      break;
    case 3:
      Walk(x, result, edges, DerivativeValues<3>{*this});
      if (step != 1) result *= static_cast<double>(1 / Cube(step));
      break;
    default:
      GetDerivate(Fit(), 0, derivativeOrder);  // throws
  }
}

template <typename T>
template <class Values>
void Derivate<T>::Walk(const NCDataVector<T>& x, NCDataVector<T>& result, bool edges, const Values& values) const {
  const NCDataVector<T> source(x);  // NOLINT(performance-unnecessary-copy-initialization): `result` may be x
  const int windows = x.Size() - windowSize_ + 1;
  if (windows < 1) {
    result.SetSize(x.Size());
    return;
  }
  if (result.Size() != x.Size()) {
    NCDataVector<T> fresh;
    T* const cells = detail::WritableElements(fresh, x.Size());
    std::fill_n(cells, HalfWidth(), kMissing<T>);
    std::fill(cells + HalfWidth() + windows, cells + x.Size(), kMissing<T>);
    WalkWindows(source, fresh, edges, values);
    result = fresh;
    return;
  }
  WalkWindows(source, result, edges, values);
}

template <typename T>
template <class Values>
void Derivate<T>::WalkWindows(const NCDataVector<T>& source, NCDataVector<T>& result, bool edges,
                              const Values& values) const {
  const int windows = source.Size() - windowSize_ + 1;
  const T* const y = source.begin();
  T* const out = detail::WritableElements(result);
  T* const centres = out + HalfWidth();
  const auto& counting = detail::ElementwiseKernels<T>::Current();
  const bool hasGaps = counting.countMissing(source.begin(), source.Size()) != 0;
  for (int i = 0; i < windows;) {
    const int gap = hasGaps ? static_cast<int>(std::find(y + i, source.end(), kMissing<T>) - y) : source.Size();
    const int firstWithGap = std::min(windows, std::max(i, gap - windowSize_ + 1));
    WalkWithoutGaps(y + i, firstWithGap - i, centres + i, values);
    i = firstWithGap;
    for (; i < windows && i <= gap; ++i) {
      const Fit fit = Estimate(y + i);
      centres[i] = fit.HasFailed() ? kMissing<T> : values.At(fit, 0);
    }
  }
  SetEdges(source, out, edges, values);
  result.SetNumMisVal(counting.countMissing(result.begin(), result.Size()));
}

template <typename T>
bool Derivate<T>::SlopeMayBeMarker(const T* y, int count) const {
  double sumOfWeights = 0.0;
  for (const T weight : operator_[1]) sumOfWeights += static_cast<double>(std::abs(weight));
  // The largest distance from the first element, told by its bits: those of a NaN are larger than any number's.
  std::uint32_t largest = 0;
  for (int i = 1; i < count; ++i) largest = std::max(largest, std::bit_cast<std::uint32_t>(std::abs(y[i] - y[0])));
  const double range = 2.0 * static_cast<double>(std::bit_cast<T>(largest));
  return !(range * sumOfWeights < 98.0);
}

template <typename T>
template <class Values>
void Derivate<T>::WalkWithoutGaps(const T* y, int count, T* centres, const Values& values) const {
  if (operator_.SizeRows() == 0 || count == 0) {
    std::fill_n(centres, count, kMissing<T>);
    return;
  }
  const bool hasTerm = Values::kTerm <= NumTerms();
  const bool checksSlope = Values::kTerm != 1 && SlopeMayBeMarker(y, count + windowSize_ - 1);
  const auto& kernels = detail::WindowFitKernels::Current();
  const auto w = static_cast<std::size_t>(windowSize_);
  const std::size_t most = std::min<std::size_t>(kChunk, static_cast<std::size_t>(count));
  std::vector<double> work(detail::WindowFitKernels::WorkSize(most, w));
  std::array<T, kChunk> means;
  std::array<T, kChunk> sums{};
  std::array<T, kChunk> slopes{};
  for (int done = 0; done < count; done += kChunk) {
    const auto n = static_cast<std::size_t>(std::min(kChunk, count - done));
    kernels.means(y + done, n, w, work.data(), means.data());
    if (hasTerm) kernels.sums(y + done, means.data(), n, w, operator_[Values::kTerm].begin(), sums.data());
    if (checksSlope) kernels.sums(y + done, means.data(), n, w, operator_[1].begin(), slopes.data());
    T* const out = centres + done;
    for (std::size_t i = 0; i < n; ++i) out[i] = values.AtCentre(means[i], sums[i]);
    for (std::size_t i = 0; checksSlope && i < n; ++i) {
      if (slopes[i] == kMissing<T>) out[i] = kMissing<T>;
    }
  }
}

template <typename T>
template <class Values>
void Derivate<T>::SetEdges(const NCDataVector<T>& x, T* out, bool edges, const Values& values) const {
  const int h = HalfWidth();
  const int n = x.Size();
  const Fit first = Estimate(x.begin());
  if (first.HasFailed()) {
    std::fill_n(out, h, kMissing<T>);
  } else if (edges) {
    for (int k = 0; k < h; ++k) out[k] = values.At(first, static_cast<T>(k - h));
  }
  const Fit last = Estimate(x.end() - windowSize_);
  if (last.HasFailed()) {
    std::fill_n(out + n - 1 - h, h, kMissing<T>);
  } else if (edges) {
    for (int k = 0; k < h; ++k) out[n - 1 - k] = values.At(last, static_cast<T>(h - k));
  }
}

template class Derivate<float>;

}  // namespace voran
