// Vector helpers of the kernels; compiled once for each set of instructions, so the guard toggles.
//
// The rule that they all serve: a product of two elements is rounded to the element type, widened, and added to a
// double accumulator; element i goes to accumulator i mod 16 whatever the vector width, and the 16 are added as one
// fixed tree. So a sum has the same bits on every machine.

#include "voran/containers/missing_value.h"

#if defined(VORAN_CONTAINERS_KERNELS_LANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef VORAN_CONTAINERS_KERNELS_LANES_INL_H_
#undef VORAN_CONTAINERS_KERNELS_LANES_INL_H_
#else
#define VORAN_CONTAINERS_KERNELS_LANES_INL_H_
#endif

#include <cstddef>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
inline namespace voran {
namespace detail {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

constexpr int kAccumulators = 16;

/// Doubles, at most 8 in a vector so that 16 accumulators fill at least two.
using Wide = hn::CappedTag<double, 8>;
using WideVec = hn::Vec<Wide>;
/// As many elements of type T as a Wide vector has doubles. Half-width float vectors widen faster than halves of full
/// ones.
template <typename T>
using Narrow = hn::Rebind<T, Wide>;
template <typename T>
using NarrowVec = hn::Vec<Narrow<T>>;

constexpr int kLanes = static_cast<int>(hn::MaxLanes(Wide()));
constexpr int kVectors = kAccumulators / kLanes;

HWY_INLINE WideVec Widen(NarrowVec<float> v) {
  return hn::PromoteTo(Wide(), v);
}
HWY_INLINE WideVec Widen(WideVec v) {
  return v;
}

/// Tested by equality, as Ne() is false of a NaN on some instruction sets, and a NaN is present.
template <typename T>
HWY_INLINE auto IsMissing(NarrowVec<T> v) {
  return hn::Eq(v, hn::Set(Narrow<T>(), kMissing<T>));
}

/// Which elements of a vector are present, for sums over those. `wide` is always Widen(term), and a sum that began as 0
/// has the same bits whether 0 is added for a gap or nothing: it never is -0.
#if HWY_TARGET == HWY_AVX3
/// Masks fit vectors of any element, and leave out lanes of an addition.
template <typename T>
class Presence {
 public:
  HWY_INLINE explicit Presence(NarrowVec<float> v)
      : mask_(_mm256_cmp_ps_mask(v.raw, _mm256_set1_ps(kMissing<float>), _CMP_NEQ_UQ)) {}
  HWY_INLINE explicit Presence(WideVec v)
      : mask_(_mm512_cmp_pd_mask(v.raw, _mm512_set1_pd(kMissing<double>), _CMP_NEQ_UQ)) {}

  HWY_INLINE void And(Presence other) { mask_ &= other.mask_; }
  HWY_INLINE WideVec Add(WideVec sum, NarrowVec<T> /*term*/, WideVec wide) const {
    return WideVec{_mm512_mask_add_pd(sum.raw, mask_, sum.raw, wide.raw)};
  }

 private:
  __mmask8 mask_;
};
#else
template <typename T>
class Presence {
 public:
  HWY_INLINE explicit Presence(NarrowVec<T> v) : isMissing_(IsMissing<T>(v)) {}

  HWY_INLINE void And(Presence other) { isMissing_ = hn::Or(isMissing_, other.isMissing_); }
  HWY_INLINE WideVec Add(WideVec sum, NarrowVec<T> term, WideVec /*wide*/) const {
    return hn::Add(sum, Widen(hn::IfThenZeroElse(isMissing_, term)));
  }

 private:
  hn::Mask<Narrow<T>> isMissing_;
};
#endif

/// v - about, in double; 0 where the element v is missing.
template <bool HasGaps, typename T>
HWY_INLINE WideVec DifferenceFrom(NarrowVec<T> v, double about) {
  const auto wide = Widen(v);
  const auto difference = hn::Sub(wide, hn::Set(Wide(), about));
  if constexpr (!HasGaps) return difference;
  return hn::IfThenZeroElse(hn::Eq(wide, hn::Set(Wide(), kNoValue)), difference);
}

/// Loads a whole vector.
template <typename T>
struct FullLoad {
  std::size_t offset;

  HWY_INLINE NarrowVec<T> operator()(const T* p) const { return hn::LoadU(Narrow<T>(), p + offset); }
  HWY_INLINE WideVec OnlyLoaded(WideVec v) const { return v; }
};

/// Loads the last `count` elements of an array, fewer than a vector holds, and zeros; touches nothing behind them. Only
/// AVX2 and AVX-512 have masked loads that do not read what they mask.
template <typename T>
struct TailLoad {
  std::size_t offset;
  std::size_t count;

  HWY_INLINE NarrowVec<T> operator()(const T* p) const {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3
    const Narrow<T> d;
    return hn::MaskedLoad(hn::FirstN(d, count), d, p + offset);
#else
    HWY_ALIGN T tail[kLanes] = {};
    for (std::size_t i = 0; i < count; ++i) tail[i] = p[offset + i];
    return hn::Load(Narrow<T>(), tail);
#endif
  }
  HWY_INLINE WideVec OnlyLoaded(WideVec v) const {
    return hn::IfThenElseZero(hn::FirstN(Wide(), count), v);
  }
};

#if HWY_TARGET == HWY_SCALAR
template <class D>
HWY_INLINE hn::TFromD<D> SumLanes(D, hn::Vec<D> v) {
  return hn::GetLane(v);
}
#else
/// The lanes as one sum: the lower half plus the upper, and so on.
template <class D>
HWY_INLINE hn::TFromD<D> SumLanes(D d, hn::Vec<D> v) {
  if constexpr (hn::MaxLanes(d) == 1) {
    return hn::GetLane(v);
  } else {
    const hn::Half<D> half;
    return SumLanes(half, hn::Add(hn::LowerHalf(half, v), hn::UpperHalf(half, v)));
  }
}
#endif

/// The 16 accumulators as one sum: i with i + 8, then i + 4, i + 2, i + 1.
template <typename A>
HWY_INLINE A SumTree(const NarrowVec<A>* accumulators) {
  NarrowVec<A> v[kVectors];
  for (int k = 0; k < kVectors; ++k) v[k] = accumulators[k];
  for (int half = kVectors / 2; half > 0; half /= 2) {
    for (int k = 0; k < half; ++k) v[k] = hn::Add(v[k], v[k + half]);
  }
  return SumLanes(Narrow<A>(), v[0]);
}

/// Has the 64 bytes at `offset` of each row fetched, past the first-level cache, which holds the rows at work.
template <typename T>
HWY_INLINE void Fetch(const T* const* rows, int count, std::size_t offset) {
  for (int r = 0; r < count; ++r) {
#if HWY_COMPILER_MSVC
    hwy::Prefetch(rows[r] + offset);
#else
    __builtin_prefetch(rows[r] + offset, 0, 2);
#endif
  }
}

/// Sums `Sums` quantities over n elements. `terms(load, sums)` adds a vector to each of the sums; elements behind the
/// end are loaded as zeros and must add zero. `numAhead` rows are fetched meanwhile.
template <typename T, typename A, int Sums, class Terms>
HWY_INLINE void Reduce(const Terms& terms, int n, A* sums, const T* const* ahead = nullptr, int numAhead = 0) {
  NarrowVec<A> accumulators[kVectors][Sums];
  for (auto& vectors : accumulators) {
    for (auto& vector : vectors) vector = hn::Zero(Narrow<A>());
  }
  const auto size = static_cast<std::size_t>(n);
  std::size_t i = 0;
  for (; i + kAccumulators <= size; i += kAccumulators) {
    Fetch(ahead, numAhead, i);
    for (std::size_t k = 0; k < kVectors; ++k) terms(FullLoad<T>{i + k * kLanes}, accumulators[k]);
  }
  for (std::size_t k = 0; k < kVectors && i < size; ++k, i += kLanes) {
    if (i + kLanes <= size) {
      terms(FullLoad<T>{i}, accumulators[k]);
    } else {
      terms(TailLoad<T>{i, size - i}, accumulators[k]);
    }
  }
  for (int s = 0; s < Sums; ++s) {
    NarrowVec<A> ofOneSum[kVectors];
    for (int k = 0; k < kVectors; ++k) ofOneSum[k] = accumulators[k][s];
    sums[s] = SumTree<A>(ofOneSum);
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace detail
}  // namespace voran
HWY_AFTER_NAMESPACE();

#endif
