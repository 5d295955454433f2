#include "voran/signal/kernels/window_fits.h"

#include "voran/containers/kernels/dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "voran/signal/kernels/window_fits.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
inline namespace voran {
namespace detail {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Wide = hn::CappedTag<double, 8>;
using Narrow = hn::Rebind<float, Wide>;
/// As many floats as a vector holds: two vectors of doubles when widened.
using Pair = hn::Repartition<float, Wide>;

/// Vectors of windows worked on together: enough independent sums to keep the adders busy.
constexpr std::size_t kVectors = 4;

float MeanAt(const double* wide, std::size_t w) {
  double sum = 0.0;
  for (std::size_t j = 0; j < w; ++j) sum += wide[j];
  return static_cast<float>(sum / static_cast<double>(w));
}

float SumAt(const float* y, float mean, std::size_t w, const float* weights) {
  double sum = 0.0;
  for (std::size_t j = 0; j < w; ++j) {
    const float term = (y[j] - mean) * weights[j];
    sum += static_cast<double>(term);
  }
  return static_cast<float>(sum);
}

#if HWY_TARGET != HWY_SCALAR

// Vectors by name, since g++ keeps arrays of them in memory, and constructors in full, since those that the compiler
// writes know nothing of the target.

/// The sums of a vector of windows.
struct WindowSums {
  HWY_INLINE WindowSums() : sum(hn::Zero(Wide())) {}
  HWY_INLINE void Add(const double* p) { sum = hn::Add(sum, hn::LoadU(Wide(), p)); }
  HWY_INLINE void StoreMeans(std::size_t w, float* means) const {
    const auto size = hn::Set(Wide(), static_cast<double>(w));
    hn::StoreU(hn::DemoteTo(Narrow(), hn::Div(sum, size)), Narrow(), means);
  }

  hn::Vec<Wide> sum;
};

void MeansAt(const double* wide, std::size_t w, float* means) {
  const std::size_t lanes = hn::Lanes(Wide());
  WindowSums a, b, c, d;
  for (std::size_t j = 0; j < w; ++j) {
    a.Add(wide + j);
    b.Add(wide + j + lanes);
    c.Add(wide + j + 2 * lanes);
    d.Add(wide + j + 3 * lanes);
  }
  a.StoreMeans(w, means);
  b.StoreMeans(w, means + lanes);
  c.StoreMeans(w, means + 2 * lanes);
  d.StoreMeans(w, means + 3 * lanes);
}

/// The sums of terms of two vectors of windows.
struct TermSums {
  HWY_INLINE explicit TermSums(const float* means)
      : mean(hn::LoadU(Pair(), means)), lower(hn::Zero(Wide())), upper(hn::Zero(Wide())) {}
  HWY_INLINE void Add(const float* y, hn::Vec<Pair> weight) {
    const auto terms = hn::Mul(hn::Sub(hn::LoadU(Pair(), y), mean), weight);
    lower = hn::Add(lower, hn::PromoteTo(Wide(), hn::LowerHalf(Narrow(), terms)));
    upper = hn::Add(upper, hn::PromoteTo(Wide(), hn::UpperHalf(Narrow(), terms)));
  }
  HWY_INLINE void Store(float* out) const {
    hn::StoreU(hn::DemoteTo(Narrow(), lower), Narrow(), out);
    hn::StoreU(hn::DemoteTo(Narrow(), upper), Narrow(), out + hn::Lanes(Wide()));
  }

  hn::Vec<Pair> mean;
  hn::Vec<Wide> lower;
  hn::Vec<Wide> upper;
};

void SumsAt(const float* y, const float* means, std::size_t w, const float* weights, float* out) {
  const std::size_t lanes = hn::Lanes(Pair());
  TermSums a(means), b(means + lanes), c(means + 2 * lanes), d(means + 3 * lanes);
  for (std::size_t j = 0; j < w; ++j) {
    const auto weight = hn::Set(Pair(), weights[j]);
    a.Add(y + j, weight);
    b.Add(y + j + lanes, weight);
    c.Add(y + j + 2 * lanes, weight);
    d.Add(y + j + 3 * lanes, weight);
  }
  a.Store(out);
  b.Store(out + lanes);
  c.Store(out + 2 * lanes);
  d.Store(out + 3 * lanes);
}

/// Calls block(i) for blocks of `step` windows from i on until all n are done: the last block may take some again.
/// False if there are fewer than a block.
template <class Block>
HWY_INLINE bool InBlocks(std::size_t n, std::size_t step, const Block& block) {
  if (n < step) return false;
  for (std::size_t i = 0; i + step < n; i += step) block(i);
  block(n - step);
  return true;
}

void Means(const double* wide, std::size_t n, std::size_t w, float* means) {
  const std::size_t step = kVectors * hn::Lanes(Wide());
  if (InBlocks(n, step, [&](std::size_t i) HWY_ATTR { MeansAt(wide + i, w, means + i); })) return;
  for (std::size_t i = 0; i < n; ++i) means[i] = MeanAt(wide + i, w);
}

void Sums(const float* y, const float* means, std::size_t n, std::size_t w, const float* weights, float* sums) {
  const std::size_t step = kVectors * hn::Lanes(Pair());
  if (InBlocks(n, step, [&](std::size_t i) HWY_ATTR { SumsAt(y + i, means + i, w, weights, sums + i); })) return;
  for (std::size_t i = 0; i < n; ++i) sums[i] = SumAt(y + i, means[i], w, weights);
}

#else

void Means(const double* wide, std::size_t n, std::size_t w, float* means) {
  for (std::size_t i = 0; i < n; ++i) means[i] = MeanAt(wide + i, w);
}

void Sums(const float* y, const float* means, std::size_t n, std::size_t w, const float* weights, float* sums) {
  for (std::size_t i = 0; i < n; ++i) sums[i] = SumAt(y + i, means[i], w, weights);
}

#endif  // HWY_TARGET != HWY_SCALAR

const WindowFitKernels& Table() {
  static constexpr WindowFitKernels kTable = {Means, Sums};
  return kTable;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace detail
}  // namespace voran
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

inline namespace voran {
namespace detail {

VORAN_KERNEL_TABLE(Table);

const WindowFitKernels& WindowFitKernels::Current() {
  return SelectKernels(HWY_DISPATCH_TABLE(Table));
}

}  // namespace detail
}  // namespace voran

#endif  // HWY_ONCE
