#include "voran/cluster/kernels/pair_compare.h"

#include <cstddef>
#include <cstring>

#include "voran/containers/kernels/dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "voran/cluster/kernels/pair_compare.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
inline namespace voran {
namespace DendroGram {
namespace detail {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Bits = PairCompareKernels::Bits;

#if HWY_TARGET == HWY_SCALAR

Bits Compare(const DistanceAndIndex* pairs, float distance) {
  Bits bits{0, 0};
  for (int k = 0; k < PairCompareKernels::kTogether; ++k) {
    bits.greater |= std::uint64_t{pairs[k].distance > distance} << k;
    bits.less |= std::uint64_t{distance > pairs[k].distance} << k;
  }
  return bits;
}

#else

using Floats = hn::CappedTag<float, 16>;

HWY_INLINE std::uint64_t BitsOf(hn::Mask<Floats> mask) {
  std::uint8_t bytes[8] = {};
  hn::StoreMaskBits(Floats(), mask, bytes);
  std::uint16_t bits;
  std::memcpy(&bits, bytes, sizeof(bits));
  return bits;
}

Bits Compare(const DistanceAndIndex* pairs, float distance) {
  const Floats d;
  constexpr std::size_t kLanes = hn::MaxLanes(d);
  const auto pivot = hn::Set(d, distance);
  const auto* const words = reinterpret_cast<const float*>(pairs);
  Bits bits{0, 0};
  for (std::size_t k = 0; k < PairCompareKernels::kTogether; k += kLanes) {
    auto distances = hn::Undefined(d);
    auto firsts = hn::Undefined(d);
    auto seconds = hn::Undefined(d);
    hn::LoadInterleaved3(d, words + 3 * k, distances, firsts, seconds);
    bits.greater |= BitsOf(hn::Gt(distances, pivot)) << k;
    bits.less |= BitsOf(hn::Lt(distances, pivot)) << k;
  }
  return bits;
}

#endif

const PairCompareKernels& Table() {
  static constexpr PairCompareKernels kTable = {Compare};
  return kTable;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

inline namespace voran {
namespace DendroGram {
namespace detail {

HWY_EXPORT(Table);

const PairCompareKernels& PairCompareKernels::Current() {
  return voran::detail::SelectKernels(HWY_DISPATCH_TABLE(Table));
}

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran

#endif  // HWY_ONCE
