#include "voran/signal/kernels/filtering.h"

#include "voran/containers/kernels/dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "voran/signal/kernels/filtering.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
inline namespace voran {
namespace detail {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::CappedTag<float, 16>;

constexpr std::size_t kFloats = hn::MaxLanes(Floats());

/// Outputs i to i + Vectors * kFloats - 1: enough independent sums to keep the adders busy.
template <std::size_t Vectors>
HWY_INLINE void SumAt(const float* const* sources, const float* weights, std::size_t count, float* out, std::size_t i) {
  const Floats d;
  hn::Vec<Floats> sums[Vectors];
  for (auto& sum : sums) sum = hn::Zero(d);
  for (std::size_t k = 0; k < count; ++k) {
    const auto weight = hn::Set(d, weights[k]);
    const float* const source = sources[k] + i;
    for (std::size_t v = 0; v < Vectors; ++v) {
      sums[v] = hn::Add(sums[v], hn::Mul(weight, hn::LoadU(d, source + v * kFloats)));
    }
  }
  for (std::size_t v = 0; v < Vectors; ++v) hn::StoreU(sums[v], d, out + i + v * kFloats);
}

void WeightedSum(const float* const* sources, const float* weights, std::size_t count, float* out, std::size_t n) {
  constexpr std::size_t kVectors = 8;
  std::size_t i = 0;
  for (; i + kVectors * kFloats <= n; i += kVectors * kFloats) SumAt<kVectors>(sources, weights, count, out, i);
  for (; i + kFloats <= n; i += kFloats) SumAt<1>(sources, weights, count, out, i);
  for (; i < n; ++i) {
    float sum = 0.0f;
    for (std::size_t k = 0; k < count; ++k) sum += weights[k] * sources[k][i];
    out[i] = sum;
  }
}

void Deinterleave(const float* in, float* even, float* odd, std::size_t n) {
  std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  const Floats d;
  for (; i + kFloats <= n; i += kFloats) {
    hn::Vec<Floats> evens;
    hn::Vec<Floats> odds;
    hn::LoadInterleaved2(d, in + 2 * i, evens, odds);
    hn::StoreU(evens, d, even + i);
    hn::StoreU(odds, d, odd + i);
  }
#endif
  for (; i < n; ++i) {
    even[i] = in[2 * i];
    odd[i] = in[2 * i + 1];
  }
}

void Interleave(const float* even, const float* odd, float* out, std::size_t n) {
  std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  const Floats d;
  for (; i + kFloats <= n; i += kFloats) {
    hn::StoreInterleaved2(hn::LoadU(d, even + i), hn::LoadU(d, odd + i), d, out + 2 * i);
  }
#endif
  for (; i < n; ++i) {
    out[2 * i] = even[i];
    out[2 * i + 1] = odd[i];
  }
}

const FilteringKernels& Table() {
  static constexpr FilteringKernels kTable = {WeightedSum, Deinterleave, Interleave};
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

const FilteringKernels& FilteringKernels::Current() {
  return SelectKernels(HWY_DISPATCH_TABLE(Table));
}

}  // namespace detail
}  // namespace voran

#endif  // HWY_ONCE
