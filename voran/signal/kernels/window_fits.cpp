#include "voran/signal/kernels/window_fits.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>

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

/// The sums of terms of two vectors of windows. Vectors of floats are halves: taking whole ones apart costs as much as
/// they spare.
struct TermSums {
  HWY_INLINE explicit TermSums(const float* means)
      : lowerMean(hn::LoadU(Narrow(), means)),
        upperMean(hn::LoadU(Narrow(), means + hn::Lanes(Narrow()))),
        lower(hn::Zero(Wide())),
        upper(hn::Zero(Wide())) {}
  HWY_INLINE void Add(const float* y, hn::Vec<Narrow> weight) {
    const auto lowerTerms = hn::Mul(hn::Sub(hn::LoadU(Narrow(), y), lowerMean), weight);
    const auto upperTerms = hn::Mul(hn::Sub(hn::LoadU(Narrow(), y + hn::Lanes(Narrow())), upperMean), weight);
    lower = hn::Add(lower, hn::PromoteTo(Wide(), lowerTerms));
    upper = hn::Add(upper, hn::PromoteTo(Wide(), upperTerms));
  }
  HWY_INLINE void Store(float* out) const {
    hn::StoreU(hn::DemoteTo(Narrow(), lower), Narrow(), out);
    hn::StoreU(hn::DemoteTo(Narrow(), upper), Narrow(), out + hn::Lanes(Narrow()));
  }

  hn::Vec<Narrow> lowerMean;
  hn::Vec<Narrow> upperMean;
  hn::Vec<Wide> lower;
  hn::Vec<Wide> upper;
};

void SumsAt(const float* y, const float* means, std::size_t w, const float* weights, float* out) {
  const std::size_t pair = 2 * hn::Lanes(Narrow());
  TermSums a(means), b(means + pair), c(means + 2 * pair), d(means + 3 * pair);
  for (std::size_t j = 0; j < w; ++j) {
    const auto weight = hn::Set(Narrow(), weights[j]);
    a.Add(y + j, weight);
    b.Add(y + j + pair, weight);
    c.Add(y + j + 2 * pair, weight);
    d.Add(y + j + 3 * pair, weight);
  }
  a.Store(out);
  b.Store(out + pair);
  c.Store(out + 2 * pair);
  d.Store(out + 3 * pair);
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

/// Whether all sums and differences of sums of some of the n elements are exact in double: the elements are multiples
/// of the last place of the smallest one that is not 0, which is more than 2^-24 of it, and n times the largest is at
/// most 2^53 of those. False if one is infinite or NaN, whose bits are the largest.
bool AreSumsExact(const float* y, std::size_t n) {
  const hn::Repartition<float, Wide> floats;
  const hn::RebindToSigned<decltype(floats)> bits;
  const auto most = hn::Set(bits, std::numeric_limits<std::int32_t>::max());
  auto largest = hn::Zero(bits);
  auto smallest = most;
  const auto take = [&](std::size_t i) HWY_ATTR {
    const auto magnitude = hn::BitCast(bits, hn::Abs(hn::LoadU(floats, y + i)));
    largest = hn::Max(largest, magnitude);
    smallest = hn::Min(smallest, hn::IfThenElse(hn::Eq(magnitude, hn::Zero(bits)), most, magnitude));
  };
  if (!InBlocks(n, hn::Lanes(floats), take)) return false;
  const auto number = [](std::int32_t magnitude) { return static_cast<double>(std::bit_cast<float>(magnitude)); };
  const double lastPlaces = 0x1p29 * number(hn::GetLane(hn::MinOfLanes(bits, smallest)));
  return static_cast<double>(n) * number(hn::GetLane(hn::MaxOfLanes(bits, largest))) <= lastPlaces;
}

/// The sum of n elements, in any order.
double SumOf(const float* y, std::size_t n) {
  const std::size_t lanes = hn::Lanes(Narrow());
  auto sums = hn::Zero(Wide());
  std::size_t i = 0;
  for (; i + lanes <= n; i += lanes) sums = hn::Add(sums, hn::PromoteTo(Wide(), hn::LoadU(Narrow(), y + i)));
  double sum = hn::GetLane(hn::SumOfLanes(Wide(), sums));
  for (; i < n; ++i) sum += static_cast<double>(y[i]);
  return sum;
}

/// sums[i] of the first i elements, for every i <= n, where no sum is rounded: a quarter beside the other, so that they
/// do not wait for one another.
void SumsUpTo(const float* y, std::size_t n, double* sums) {
  const std::size_t quarter = n / 4;
  double a = 0.0;
  double b = SumOf(y, quarter);
  double c = b + SumOf(y + quarter, quarter);
  double d = c + SumOf(y + 2 * quarter, quarter);
  for (std::size_t i = 0; i < quarter; ++i) {
    sums[i] = a;
    sums[i + quarter] = b;
    sums[i + 2 * quarter] = c;
    sums[i + 3 * quarter] = d;
    a += static_cast<double>(y[i]);
    b += static_cast<double>(y[i + quarter]);
    c += static_cast<double>(y[i + 2 * quarter]);
    d += static_cast<double>(y[i + 3 * quarter]);
  }
  for (std::size_t i = 4 * quarter; i < n; ++i) {
    sums[i] = d;
    d += static_cast<double>(y[i]);
  }
  sums[n] = d;
}

/// The n means of windows that are differences of such sums.
void MeansOfDifferences(const double* sums, std::size_t n, std::size_t w, float* means) {
  const auto size = hn::Set(Wide(), static_cast<double>(w));
  InBlocks(n, hn::Lanes(Wide()), [&](std::size_t i) HWY_ATTR {
    const auto sum = hn::Sub(hn::LoadU(Wide(), sums + i + w), hn::LoadU(Wide(), sums + i));
    hn::StoreU(hn::DemoteTo(Narrow(), hn::Div(sum, size)), Narrow(), means + i);
  });
}

void Means(const float* y, std::size_t n, std::size_t w, double* work, float* means) {
  const std::size_t count = n + w - 1;
  const std::size_t step = kVectors * hn::Lanes(Wide());
  if (n >= step && AreSumsExact(y, count)) {
    SumsUpTo(y, count, work);
    MeansOfDifferences(work, n, w, means);
    return;
  }
  std::copy_n(y, count, work);
  if (InBlocks(n, step, [&](std::size_t i) HWY_ATTR { MeansAt(work + i, w, means + i); })) return;
  for (std::size_t i = 0; i < n; ++i) means[i] = MeanAt(work + i, w);
}

void Sums(const float* y, const float* means, std::size_t n, std::size_t w, const float* weights, float* sums) {
  const std::size_t step = 2 * kVectors * hn::Lanes(Narrow());
  if (InBlocks(n, step, [&](std::size_t i) HWY_ATTR { SumsAt(y + i, means + i, w, weights, sums + i); })) return;
  for (std::size_t i = 0; i < n; ++i) sums[i] = SumAt(y + i, means[i], w, weights);
}

#else

void Means(const float* y, std::size_t n, std::size_t w, double* work, float* means) {
  std::copy_n(y, n + w - 1, work);
  for (std::size_t i = 0; i < n; ++i) means[i] = MeanAt(work + i, w);
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
