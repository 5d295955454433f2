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

std::uint8_t CountLimitsAbove(float distance, const float* limits, std::size_t numLimits) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < numLimits; ++i) count += distance >= limits[i] ? 0 : 1;
  return static_cast<std::uint8_t>(count);
}

#if HWY_TARGET == HWY_SCALAR

Bits Compare(const DistanceAndIndex* pairs, float distance) {
  Bits bits{0, 0};
  for (int k = 0; k < PairCompareKernels::kTogether; ++k) {
    bits.greater |= std::uint64_t{pairs[k].distance > distance} << k;
    bits.less |= std::uint64_t{distance > pairs[k].distance} << k;
  }
  return bits;
}

void CountLimitsAbove(const DistanceAndIndex* pairs, std::size_t n, const float* limits, std::size_t numLimits,
                      std::uint8_t* counts) {
  for (std::size_t k = 0; k < n; ++k) counts[k] = CountLimitsAbove(pairs[k].distance, limits, numLimits);
}

std::uint64_t FindByte(const std::uint8_t* bytes, std::uint8_t value) {
  std::uint64_t found = 0;
  for (int k = 0; k < PairCompareKernels::kTogether; ++k) found |= std::uint64_t{bytes[k] == value} << k;
  return found;
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

void CountLimitsAbove(const DistanceAndIndex* pairs, std::size_t n, const float* limits, std::size_t numLimits,
                      std::uint8_t* counts) {
  const Floats d;
  const hn::RebindToSigned<Floats> whole;
  const hn::Rebind<std::uint8_t, Floats> narrow;
  constexpr std::size_t kLanes = hn::MaxLanes(d);
  std::size_t k = 0;
  for (; k + kLanes <= n; k += kLanes) {
    auto distances = hn::Undefined(d);
    auto firsts = hn::Undefined(d);
    auto seconds = hn::Undefined(d);
    hn::LoadInterleaved3(d, reinterpret_cast<const float*>(pairs + k), distances, firsts, seconds);
    auto count = hn::Set(whole, static_cast<std::int32_t>(numLimits));
    for (std::size_t i = 0; i < numLimits; ++i) {  // a true mask is -1
      const auto isAtOrAbove = hn::VecFromMask(d, hn::Ge(distances, hn::Set(d, limits[i])));
      count = hn::Add(count, hn::BitCast(whole, isAtOrAbove));
    }
    hn::StoreU(hn::DemoteTo(narrow, count), narrow, counts + k);
  }
  for (; k < n; ++k) counts[k] = CountLimitsAbove(pairs[k].distance, limits, numLimits);
}

std::uint64_t FindByte(const std::uint8_t* bytes, std::uint8_t value) {
  const hn::CappedTag<std::uint8_t, 64> d;
  constexpr std::size_t kLanes = hn::MaxLanes(d);
  const auto wanted = hn::Set(d, value);
  std::uint64_t found = 0;
  for (std::size_t k = 0; k < PairCompareKernels::kTogether; k += kLanes) {
    std::uint64_t bits = 0;
    hn::StoreMaskBits(d, hn::Eq(hn::LoadU(d, bytes + k), wanted), reinterpret_cast<std::uint8_t*>(&bits));
    found |= bits << k;
  }
  return found;
}

#endif

const PairCompareKernels& Table() {
  static constexpr PairCompareKernels kTable = {Compare, CountLimitsAbove, FindByte};
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

VORAN_KERNEL_TABLE(Table);

const PairCompareKernels& PairCompareKernels::Current() {
  return voran::detail::SelectKernels(HWY_DISPATCH_TABLE(Table));
}

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran

#endif  // HWY_ONCE
