#include "voran/containers/kernels/elementwise.h"

#include <cmath>

#include "voran/containers/kernels/dispatch.h"

// Plain loops: compiled once for each set of instructions, they are vectorized by the compiler.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "voran/containers/kernels/elementwise.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
inline namespace voran {
namespace detail {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

struct Sum {
  template <typename T>
  static HWY_INLINE T Of(T a, T b) {
    return a + b;
  }
};

struct Difference {
  template <typename T>
  static HWY_INLINE T Of(T a, T b) {
    return a - b;
  }
};

struct Product {
  template <typename T>
  static HWY_INLINE T Of(T a, T b) {
    return a * b;
  }
};

struct Quotient {
  template <typename T>
  static HWY_INLINE T Of(T a, T b) {
    return b == T{0} ? kMissing<T> : a / b;
  }
};

struct UnguardedQuotient {
  template <typename T>
  static HWY_INLINE T Of(T a, T b) {
    return a / b;
  }
};

/// The result is counted wherever a marker may come out of the operation: from a gap or from a division by zero.
template <class Operation, bool AlwaysCount, typename T>
int Combine(const T* a, const T* b, T* out, int n, GapMode mode) {
  int missing = 0;
  if (mode == kNoGaps) {
    for (int i = 0; i < n; ++i) {
      const T value = Operation::Of(a[i], b[i]);
      out[i] = value;
      if (AlwaysCount) missing += value == kMissing<T> ? 1 : 0;
    }
    return missing;
  }
  for (int i = 0; i < n; ++i) {
    const bool gap = (a[i] == kMissing<T>) | (b[i] == kMissing<T>);
    const T value = gap ? kMissing<T> : Operation::Of(a[i], b[i]);
    out[i] = value;
    missing += value == kMissing<T> ? 1 : 0;
  }
  return missing;
}

/// out[i] = f(a[i]) where a[i] is present.
template <typename T, class F>
HWY_INLINE void Map(const T* a, T* out, int n, bool hasGaps, const F& f) {
  if (hasGaps) {
    for (int i = 0; i < n; ++i) out[i] = a[i] == kMissing<T> ? kMissing<T> : f(a[i]);
  } else {
    for (int i = 0; i < n; ++i) out[i] = f(a[i]);
  }
}

template <typename T>
int CountMissing(const T* a, int n) {
  int missing = 0;
  for (int i = 0; i < n; ++i) missing += a[i] == kMissing<T> ? 1 : 0;
  return missing;
}

template <typename T>
int Scale(const T* a, double factor, T* out, int n, bool hasGaps) {
  Map(a, out, n, hasGaps, [factor](T x) HWY_ATTR { return static_cast<T>(static_cast<double>(x) * factor); });
  return CountMissing(out, n);
}

template <typename T>
void SubtractScalar(const T* a, double d, T* out, int n, bool hasGaps) {
  Map(a, out, n, hasGaps, [d](T x) HWY_ATTR { return static_cast<T>(static_cast<double>(x) - d); });
}

template <typename T>
void DivideByElements(double numerator, const T* a, T* out, int n, bool hasGaps) {
  Map(a, out, n, hasGaps, [numerator](T x) HWY_ATTR { return static_cast<T>(numerator / static_cast<double>(x)); });
}

template <typename T>
void DivideByScalar(const T* a, double divisor, T* out, int n, bool hasGaps) {
  Map(a, out, n, hasGaps, [divisor](T x) HWY_ATTR { return static_cast<T>(static_cast<double>(x) / divisor); });
}

template <typename T>
void Standardise(const T* a, double mean, double stdDev, T* out, int n, bool hasGaps) {
  Map(a, out, n, hasGaps,
      [mean, stdDev](T x) HWY_ATTR { return static_cast<T>((static_cast<double>(x) - mean) / stdDev); });
}

/// The compiler leaves this loop as it is, so vectors are spelt out.
template <typename T>
void CentreAndScale(T* row, const T* means, const T* factors, int n) {
  constexpr T kBesideTheMarker = static_cast<T>(-99.00001);
  static_assert(kBesideTheMarker != kMissing<T>);
  const auto work = [&](auto d, int i) HWY_ATTR {
    const auto missing = hn::Set(d, kMissing<T>);
    const auto x = hn::LoadU(d, row + i);
    const auto centred = hn::Sub(x, hn::LoadU(d, means + i));
    const auto number = hn::IfThenElse(hn::Eq(centred, missing), hn::Set(d, kBesideTheMarker), centred);
    const auto scaled = hn::Mul(number, hn::LoadU(d, factors + i));
    hn::StoreU(hn::IfThenElse(hn::Eq(x, missing), missing, scaled), d, row + i);
  };
  const hn::ScalableTag<T> whole;
  const int lanes = static_cast<int>(hn::Lanes(whole));
  int i = 0;
  for (; i + lanes <= n; i += lanes) work(whole, i);
  for (; i < n; ++i) work(hn::CappedTag<T, 1>(), i);
}

template <typename T>
void SubtractScaled(T* y, double d, const T* v, int n, GapMode mode) {
  if (mode == kNoGaps) {
    for (int i = 0; i < n; ++i) y[i] = static_cast<T>(static_cast<double>(y[i]) - d * static_cast<double>(v[i]));
    return;
  }
  for (int i = 0; i < n; ++i) {
    const bool gap = (y[i] == kMissing<T>) | (v[i] == kMissing<T>);
    const T value = static_cast<T>(static_cast<double>(y[i]) - d * static_cast<double>(v[i]));
    y[i] = gap ? kMissing<T> : value;
  }
}

template <typename T>
void Abs(T* a, int n, bool hasGaps) {
  Map(a, a, n, hasGaps, [](T x) HWY_ATTR { return std::abs(x); });
}

template <typename T>
void Sqrt(T* a, int n, bool hasGaps) {
  Map(a, a, n, hasGaps, [](T x) HWY_ATTR { return std::sqrt(x); });
}

template <typename T>
const ElementwiseKernels<T>& Table() {
  static constexpr ElementwiseKernels<T> kTable = {Combine<Sum, false, T>,
                                                   Combine<Difference, false, T>,
                                                   Combine<Product, false, T>,
                                                   Combine<Quotient, true, T>,
                                                   Combine<UnguardedQuotient, false, T>,
                                                   Scale<T>,
                                                   SubtractScalar<T>,
                                                   DivideByElements<T>,
                                                   DivideByScalar<T>,
                                                   Standardise<T>,
                                                   CentreAndScale<T>,
                                                   SubtractScaled<T>,
                                                   Abs<T>,
                                                   Sqrt<T>,
                                                   CountMissing<T>};
  return kTable;
}

const ElementwiseKernels<float>& FloatElementwise() {
  return Table<float>();
}
const ElementwiseKernels<double>& DoubleElementwise() {
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

VORAN_KERNEL_TABLE(FloatElementwise);
VORAN_KERNEL_TABLE(DoubleElementwise);
VORAN_SELECT_KERNELS(ElementwiseKernels, FloatElementwise, DoubleElementwise)

}  // namespace detail
}  // namespace voran

#endif  // HWY_ONCE
