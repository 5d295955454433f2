#include "voran/containers/kernels/deflation.h"

#include <algorithm>
#include <cstddef>

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
/// Rows whose squares are added to a sum between its load and its store.
constexpr int kRowsSquared = 8;

template <typename T, int Rows, bool SumsSquares>
struct DeflationTerms {
  const T* const* rows;
  const T* p;
  const T* next;
  T* const* out;
  NarrowVec<T> factors[Rows];

  template <class Load>
  HWY_INLINE void operator()(Load load, WideVec* sums) const {
    const auto vp = load(p);
    [[maybe_unused]] auto other = hn::Zero(Narrow<T>());
    if constexpr (!SumsSquares) other = load(next);
    WideVec terms[Rows];
    for (int r = 0; r < Rows; ++r) {
      const auto x = hn::Add(load(rows[r]), hn::Mul(factors[r], vp));
      hn::StoreU(x, Narrow<T>(), out[r] + load.offset);
      if constexpr (SumsSquares) other = x;
      // An infinite factor makes NaNs of the zeros behind the end.
      terms[r] = load.OnlyLoaded(Widen(hn::Mul(x, other)));
    }
    for (int r = 0; r < Rows; ++r) sums[r] = hn::Add(sums[r], terms[r]);
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

/// The `numAhead` rows behind these are fetched meanwhile.
template <int Rows, bool HasGaps, typename T>
HWY_INLINE void DeflateAndSquare(T* const* rows, const T* factors, int numAhead, const T* p, std::size_t n,
                                 double* sums) {
  T* row[Rows];
  NarrowVec<T> factor[Rows];
  for (int r = 0; r < Rows; ++r) {
    row[r] = rows[r];
    factor[r] = hn::Set(Narrow<T>(), factors[r]);
  }
  std::size_t j = 0;
  for (; j + kLanes <= n; j += kLanes) {
    if (j % kAccumulators == 0) Fetch<T>(rows + Rows, numAhead, j);
    const auto vp = hn::LoadU(Narrow<T>(), p + j);
    auto sum = hn::LoadU(Wide(), sums + j);
    for (int r = 0; r < Rows; ++r) {
      const auto old = hn::LoadU(Narrow<T>(), row[r] + j);
      auto x = hn::Add(old, hn::Mul(factor[r], vp));
      if constexpr (HasGaps) x = hn::IfThenElse(IsMissing<T>(old), old, x);
      hn::StoreU(x, Narrow<T>(), row[r] + j);
      const auto wide = Widen(HasGaps ? hn::IfThenZeroElse(IsMissing<T>(x), x) : x);
      sum = hn::Add(sum, hn::Mul(wide, wide));
    }
    hn::StoreU(sum, Wide(), sums + j);
  }
  for (; j < n; ++j) {
    for (int r = 0; r < Rows; ++r) {
      T& x = row[r][j];
      if (HasGaps && x == kMissing<T>) continue;
      const T product = factors[r] * p[j];
      x += product;
      if (HasGaps && x == kMissing<T>) continue;
      sums[j] += static_cast<double>(x) * static_cast<double>(x);
    }
  }
}

template <bool HasGaps, typename T>
HWY_INLINE void DeflateAndSquareAll(T* const* rows, const T* factors, int numRows, const T* p, std::size_t n,
                                    double* sums) {
  int r = 0;
  for (; r + kRowsSquared <= numRows; r += kRowsSquared) {
    const int numAhead = std::min(kRowsSquared, numRows - r - kRowsSquared);
    DeflateAndSquare<kRowsSquared, HasGaps>(rows + r, factors + r, numAhead, p, n, sums);
  }
  for (; r < numRows; ++r) DeflateAndSquare<1, HasGaps>(rows + r, factors + r, 0, p, n, sums);
}

template <typename T>
void DeflateAndSumSquares(T* const* rows, const T* factors, int numRows, const T* p, int n, bool rowsHaveGaps,
                          double* sums) {
  const auto size = static_cast<std::size_t>(n);
  if (rowsHaveGaps) {
    DeflateAndSquareAll<true>(rows, factors, numRows, p, size, sums);
  } else {
    DeflateAndSquareAll<false>(rows, factors, numRows, p, size, sums);
  }
}

template <typename T>
const DeflationKernels<T>& Table() {
  static constexpr DeflationKernels<T> kTable = {DeflateRows<T>, DeflateAndSumSquares<T>};
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
