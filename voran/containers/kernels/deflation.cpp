#include "voran/containers/kernels/deflation.h"

#include "voran/containers/kernels/dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "voran/containers/kernels/deflation.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "voran/containers/kernels/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
inline namespace voran {
namespace detail {
namespace HWY_NAMESPACE {
namespace {

/// Rows whose accumulators fit into the registers together, so that p and the next weights are loaded once for all.
constexpr int kRowsTogether = kLanes == 8 ? 4 : (kLanes == 4 ? 2 : 1);
static_assert(kDeflationPadding % kLanes == 0);

template <typename T, int Rows, bool SumsSquares>
struct DeflationTerms {
  const T* const* rows;
  const T* p;
  const T* next;
  T* const* out;
  NarrowVec<T> factors[Rows];

  template <class Load>
  HWY_INLINE void operator()(Load load, WideVec* terms) const {
    const auto vp = load(p);
    [[maybe_unused]] auto other = hn::Zero(Narrow<T>());
    if constexpr (!SumsSquares) other = load(next);
    for (int r = 0; r < Rows; ++r) {
      const auto x = hn::Add(load(rows[r]), hn::Mul(factors[r], vp));
      hn::StoreU(x, Narrow<T>(), out[r] + load.offset);
      if constexpr (SumsSquares) other = x;
      // An infinite factor makes NaNs of the zeros behind the end.
      terms[r] = load.OnlyLoaded(Widen(hn::Mul(x, other)));
    }
  }
};

template <int Rows, bool SumsSquares, typename T>
HWY_INLINE void DeflateTogether(const T* const* rows, const T* factors, const T* p, const T* next, int n, T* const* out,
                                double* products) {
  DeflationTerms<T, Rows, SumsSquares> terms{rows, p, next, out, {}};
  for (int r = 0; r < Rows; ++r) terms.factors[r] = hn::Set(Narrow<T>(), factors[r]);
  Reduce<T, double, Rows>(terms, n, products);
}

template <bool SumsSquares, typename T>
HWY_INLINE void DeflateAll(const T* const* rows, const T* factors, int numRows, const T* p, const T* next, int n,
                           T* const* out, double* products) {
  int r = 0;
  for (; r + kRowsTogether <= numRows; r += kRowsTogether) {
    DeflateTogether<kRowsTogether, SumsSquares>(rows + r, factors + r, p, next, n, out + r, products + r);
  }
  for (; r < numRows; ++r) DeflateTogether<1, SumsSquares>(rows + r, factors + r, p, next, n, out + r, products + r);
}

template <typename T>
void DeflateRows(const T* const* rows, const T* factors, int numRows, const T* p, const T* next, int n, T* const* out,
                 double* products) {
  if (next == nullptr) {
    DeflateAll<true>(rows, factors, numRows, p, next, n, out, products);
  } else {
    DeflateAll<false>(rows, factors, numRows, p, next, n, out, products);
  }
}

template <typename T>
const DeflationKernels<T>& Table() {
  static constexpr DeflationKernels<T> kTable = {DeflateRows<T>};
  return kTable;
}

const DeflationKernels<float>& FloatDeflation() {
  return Table<float>();
}
const DeflationKernels<double>& DoubleDeflation() {
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

VORAN_KERNEL_TABLE(FloatDeflation);
VORAN_KERNEL_TABLE(DoubleDeflation);
VORAN_SELECT_KERNELS(DeflationKernels, FloatDeflation, DoubleDeflation)

}  // namespace detail
}  // namespace voran

#endif  // HWY_ONCE
