#include "voran/containers/kernels/reductions.h"

#include <type_traits>

#include "voran/containers/kernels/dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "voran/containers/kernels/reductions.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "voran/containers/kernels/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
inline namespace voran {
namespace detail {
namespace HWY_NAMESPACE {
namespace {

/// Calls f with the mode as a constant: the test which operands have gaps stands ahead of the loop.
template <class F>
HWY_INLINE auto InMode(GapMode mode, const F& f) {
  switch (mode) {
    case kNoGaps:
      return f(std::integral_constant<GapMode, kNoGaps>());
    case kFirstHasGaps:
      return f(std::integral_constant<GapMode, kFirstHasGaps>());
    case kSecondHasGaps:
      return f(std::integral_constant<GapMode, kSecondHasGaps>());
    default:
      return f(std::integral_constant<GapMode, kBothHaveGaps>());
  }
}

/// v where the element of `a` (and of `b`) is present, else zero; tests only the operands that have gaps.
template <GapMode Mode, typename T>
HWY_INLINE NarrowVec<T> KeepPairs(NarrowVec<T> v, NarrowVec<T> a, NarrowVec<T> b) {
  if constexpr (Mode == kNoGaps) {
    return v;
  } else if constexpr (Mode == kFirstHasGaps) {
    return hn::IfThenZeroElse(IsMissing<T>(a), v);
  } else if constexpr (Mode == kSecondHasGaps) {
    return hn::IfThenZeroElse(IsMissing<T>(b), v);
  } else {
    return hn::IfThenZeroElse(hn::Or(IsMissing<T>(a), IsMissing<T>(b)), v);
  }
}

template <GapMode Mode, typename T>
struct DotTerms {
  const T* a;
  const T* b;

  template <class Load>
  HWY_INLINE void operator()(Load load, NarrowVec<T>* sums) const {
    const auto va = load(a);
    const auto vb = load(b);
    sums[0] = hn::Add(sums[0], KeepPairs<Mode, T>(hn::Mul(va, vb), va, vb));
  }
};

template <GapMode Mode, typename T>
double DotIn(const T* a, const T* b, int n) {
  T sum;
  Reduce<T, T, 1>(DotTerms<Mode, T>{a, b}, n, &sum);
  return static_cast<double>(sum);
}

template <typename T>
double DotProduct(const T* a, const T* b, int n, GapMode mode) {
  return InMode(mode, [&](auto constantMode) HWY_ATTR { return DotIn<constantMode>(a, b, n); });
}

template <GapMode Mode, typename T>
struct PairTerms {
  const T* a;
  const T* b;

  template <class Load>
  HWY_INLINE void operator()(Load load, WideVec* sums) const {
    const auto va = load(a);
    const auto vb = load(b);
    const auto square = hn::Mul(va, va);
    sums[0] = hn::Add(sums[0], Widen(KeepPairs<Mode, T>(hn::Mul(va, vb), va, vb)));
    sums[1] = hn::Add(sums[1], Widen(KeepPairs<Mode, T>(square, va, vb)));
    if constexpr (Mode == kSecondHasGaps) {
      sums[2] = hn::Add(sums[2], Widen(square));
    } else if constexpr (Mode == kBothHaveGaps) {
      sums[2] = hn::Add(sums[2], Widen(KeepPairs<kFirstHasGaps, T>(square, va, vb)));
    }
  }
};

template <GapMode Mode, typename T>
PairSums PairSumsIn(const T* a, const T* b, int n) {
  constexpr bool kSeparateAll = Mode == kSecondHasGaps || Mode == kBothHaveGaps;
  double sums[3];
  Reduce<T, double, kSeparateAll ? 3 : 2>(PairTerms<Mode, T>{a, b}, n, sums);
  return {sums[0], sums[1], kSeparateAll ? sums[2] : sums[1]};
}

template <typename T>
PairSums PairSumsOf(const T* a, const T* b, int n, GapMode mode) {
  return InMode(mode, [&](auto constantMode) HWY_ATTR { return PairSumsIn<constantMode>(a, b, n); });
}

template <bool HasGaps, typename T>
struct ElementTerms {
  const T* a;

  template <class Load>
  HWY_INLINE void operator()(Load load, WideVec* sums) const {
    sums[0] = hn::Add(sums[0], DifferenceFrom<HasGaps, T>(load(a), 0.0));
  }
};

template <typename T>
double Sum(const T* a, int n, bool hasGaps) {
  double sum;
  if (hasGaps) {
    Reduce<T, double, 1>(ElementTerms<true, T>{a}, n, &sum);
  } else {
    Reduce<T, double, 1>(ElementTerms<false, T>{a}, n, &sum);
  }
  return sum;
}

template <GapMode Mode, typename T>
struct SquareTerms {
  const T* a;

  template <class Load>
  HWY_INLINE void operator()(Load load, WideVec* sums) const {
    const auto v = load(a);
    sums[0] = hn::Add(sums[0], Widen(KeepPairs<Mode, T>(hn::Mul(v, v), v, v)));
  }
};

template <typename T>
double SumOfSquares(const T* a, int n, bool hasGaps) {
  double sum;
  if (hasGaps) {
    Reduce<T, double, 1>(SquareTerms<kFirstHasGaps, T>{a}, n, &sum);
  } else {
    Reduce<T, double, 1>(SquareTerms<kNoGaps, T>{a}, n, &sum);
  }
  return sum;
}

template <bool HasGaps, typename T>
struct SquareAboutTerms {
  const T* a;
  double about;

  template <class Load>
  HWY_INLINE void operator()(Load load, WideVec* sums) const {
    const auto difference = DifferenceFrom<HasGaps, T>(load(a), about);
    sums[0] = hn::Add(sums[0], load.OnlyLoaded(hn::Mul(difference, difference)));
  }
};

template <typename T>
double SumOfSquaresAbout(const T* a, double about, int n, bool hasGaps) {
  double sum;
  if (hasGaps) {
    Reduce<T, double, 1>(SquareAboutTerms<true, T>{a, about}, n, &sum);
  } else {
    Reduce<T, double, 1>(SquareAboutTerms<false, T>{a, about}, n, &sum);
  }
  return sum;
}

template <bool HasGaps, typename T>
struct ScorePowerTerms {
  const T* a;
  double mean;
  double stdDev;

  template <class Load>
  HWY_INLINE void operator()(Load load, WideVec* sums) const {
    const auto z = hn::Div(DifferenceFrom<HasGaps, T>(load(a), mean), hn::Set(Wide(), stdDev));
    const auto square = hn::Mul(z, z);
    sums[0] = hn::Add(sums[0], load.OnlyLoaded(hn::Mul(square, z)));
    sums[1] = hn::Add(sums[1], load.OnlyLoaded(hn::Mul(square, square)));
  }
};

template <typename T>
ScorePowers ScorePowersOf(const T* a, double mean, double stdDev, int n, bool hasGaps) {
  double sums[2];
  if (hasGaps) {
    Reduce<T, double, 2>(ScorePowerTerms<true, T>{a, mean, stdDev}, n, sums);
  } else {
    Reduce<T, double, 2>(ScorePowerTerms<false, T>{a, mean, stdDev}, n, sums);
  }
  return {sums[0], sums[1]};
}

template <GapMode Mode, typename T>
struct DistanceTerms {
  const T* a;
  const T* b;

  template <class Load>
  HWY_INLINE void operator()(Load load, WideVec* sums) const {
    const auto va = load(a);
    const auto vb = load(b);
    const auto difference = hn::Sub(va, vb);
    sums[0] = hn::Add(sums[0], Widen(KeepPairs<Mode, T>(hn::Mul(difference, difference), va, vb)));
    sums[1] = hn::Add(sums[1], Widen(KeepPairs<Mode, T>(hn::Mul(va, va), va, vb)));
  }
};

template <GapMode Mode, typename T>
DistanceSums DistanceSumsIn(const T* a, const T* b, int n) {
  double sums[2];
  Reduce<T, double, 2>(DistanceTerms<Mode, T>{a, b}, n, sums);
  return {sums[0], sums[1]};
}

template <typename T>
DistanceSums DistanceSumsOf(const T* a, const T* b, int n, GapMode mode) {
  return InMode(mode, [&](auto constantMode) HWY_ATTR { return DistanceSumsIn<constantMode>(a, b, n); });
}

template <typename T>
const ReductionKernels<T>& Table() {
  static constexpr ReductionKernels<T> kTable = {
      DotProduct<T>, PairSumsOf<T>, Sum<T>, SumOfSquares<T>, SumOfSquaresAbout<T>, ScorePowersOf<T>, DistanceSumsOf<T>};
  return kTable;
}

const ReductionKernels<float>& FloatReductions() {
  return Table<float>();
}
const ReductionKernels<double>& DoubleReductions() {
  return Table<double>();
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace detail
}  // namespace voran
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

inline namespace voran {
namespace detail {

VORAN_KERNEL_TABLE(FloatReductions);
VORAN_KERNEL_TABLE(DoubleReductions);
VORAN_SELECT_KERNELS(ReductionKernels, FloatReductions, DoubleReductions)

}  // namespace detail
}  // namespace voran

#endif  // HWY_ONCE
