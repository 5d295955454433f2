#include "voran/containers/kernels/nipals.h"

#include <algorithm>

#include "voran/containers/kernels/dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "voran/containers/kernels/nipals.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "voran/containers/kernels/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
inline namespace voran {
namespace detail {
namespace HWY_NAMESPACE {
namespace {

/// Rows whose accumulators fit into the registers together, so that p is loaded once for all of them.
constexpr int kRowsTogether = kLanes == 8 ? 4 : (kLanes == 4 ? 2 : 1);
constexpr int kGappedRowsTogether = kLanes == 8 ? 4 : 1;
/// Rows added to a column accumulator between its load and its store.
constexpr int kRowsAdded = 8;
constexpr int kGappedRowsAdded = 4;

/// Divides rows to be fetched among the steps of a kernel.
template <typename T>
class FetchPlan {
 public:
  FetchPlan(RowsAhead<T> ahead, int steps)
      : ahead_(ahead), perStep_(ahead.count == 0 ? 0 : (ahead.count - 1) / steps + 1) {}

  HWY_INLINE RowsAhead<T> ForStep(int step) const {
    const int from = std::min(step * perStep_, ahead_.count);
    return {ahead_.rows + from, std::min(perStep_, ahead_.count - from)};
  }

 private:
  RowsAhead<T> ahead_;
  int perStep_;
};

template <typename T, int Rows>
struct RowProductTerms {
  const T* const* rows;
  const T* p;

  template <class Load>
  HWY_INLINE void operator()(Load load, WideVec* sums) const {
    const auto vp = load(p);
    for (int r = 0; r < Rows; ++r) sums[r] = hn::Add(sums[r], Widen(hn::Mul(load(rows[r]), vp)));
  }
};

template <typename T>
void RowProducts(const T* const* rows, int numRows, const T* p, int n, RowsAhead<T> ahead, double* products) {
  const int steps = (numRows + kRowsTogether - 1) / kRowsTogether;
  const FetchPlan<T> plan(ahead, steps);
  for (int step = 0; step < steps; ++step) {
    const int r = step * kRowsTogether;
    const RowsAhead<T> share = plan.ForStep(step);
    if (r + kRowsTogether <= numRows) {
      const RowProductTerms<T, kRowsTogether> terms{rows + r, p};
      Reduce<T, double, kRowsTogether>(terms, n, products + r, share.rows, share.count);
    } else {
      for (int rest = r; rest < numRows; ++rest) {
        Reduce<T, double, 1>(RowProductTerms<T, 1>{rows + rest, p}, n, products + rest);
      }
    }
  }
}

template <bool PHasGaps, typename T, int Rows>
struct GappedRowTerms {
  const T* const* rows;
  const T* p;

  template <class Load>
  HWY_INLINE void operator()(Load load, WideVec* sums) const {
    const auto vp = load(p);
    const auto square = hn::Mul(vp, vp);
    const auto wideSquare = Widen(square);
    for (int r = 0; r < Rows; ++r) {
      const auto x = load(rows[r]);
      Presence<T> presence(x);
      if constexpr (PHasGaps) presence.And(Presence<T>(vp));
      const auto product = hn::Mul(x, vp);
      sums[r] = presence.Add(sums[r], product, Widen(product));
      sums[Rows + r] = presence.Add(sums[Rows + r], square, wideSquare);
    }
  }
};

template <int Rows, typename T>
HWY_INLINE void GappedRowsTogether(const T* const* rows, const T* p, bool pHasGaps, int n, RowsAhead<T> ahead,
                                   double* products, double* pairedSquares) {
  double sums[2 * Rows];
  if (pHasGaps) {
    Reduce<T, double, 2 * Rows>(GappedRowTerms<true, T, Rows>{rows, p}, n, sums, ahead.rows, ahead.count);
  } else {
    Reduce<T, double, 2 * Rows>(GappedRowTerms<false, T, Rows>{rows, p}, n, sums, ahead.rows, ahead.count);
  }
  std::copy_n(sums, Rows, products);
  std::copy_n(sums + Rows, Rows, pairedSquares);
}

template <typename T>
void RowProductsWithGaps(const T* const* rows, int numRows, const T* p, bool pHasGaps, int n, RowsAhead<T> ahead,
                         double* products, double* pairedSquares) {
  const FetchPlan<T> plan(ahead, numRows / kGappedRowsTogether + numRows % kGappedRowsTogether);
  int step = 0;
  int r = 0;
  for (; r + kGappedRowsTogether <= numRows; r += kGappedRowsTogether) {
    GappedRowsTogether<kGappedRowsTogether>(rows + r, p, pHasGaps, n, plan.ForStep(step++), products + r,
                                            pairedSquares + r);
  }
  for (; r < numRows; ++r) {
    GappedRowsTogether<1>(rows + r, p, pHasGaps, n, plan.ForStep(step++), products + r, pairedSquares + r);
  }
}

template <int Rows, bool Anew, typename T>
HWY_INLINE void AddRowsTogether(const T* const* rows, const T* t, std::size_t first, std::size_t n, RowsAhead<T> ahead,
                                double* sums) {
  const T* row[Rows];
  NarrowVec<T> factor[Rows];
  for (int r = 0; r < Rows; ++r) {
    row[r] = rows[r] + first;
    factor[r] = hn::Set(Narrow<T>(), t[r]);
  }
  std::size_t j = 0;
  for (; j + kLanes <= n; j += kLanes) {
    if (j % kAccumulators == 0) Fetch(ahead.rows, ahead.count, first + j);
    auto sum = Anew ? hn::Zero(Wide()) : hn::LoadU(Wide(), sums + j);
    for (int r = 0; r < Rows; ++r) {
      sum = hn::Add(sum, Widen(hn::Mul(hn::LoadU(Narrow<T>(), row[r] + j), factor[r])));
    }
    hn::StoreU(sum, Wide(), sums + j);
  }
  for (; j < n; ++j) {
    if (Anew) sums[j] = 0.0;
    for (int r = 0; r < Rows; ++r) {
      const T product = row[r][j] * t[r];
      sums[j] += static_cast<double>(product);
    }
  }
}

template <int Rows, typename T>
HWY_INLINE void AddRowsOnto(const T* const* rows, const T* t, std::size_t first, std::size_t n, RowsAhead<T> ahead,
                            bool anew, double* sums) {
  if (anew) {
    AddRowsTogether<Rows, true>(rows, t, first, n, ahead, sums);
  } else {
    AddRowsTogether<Rows, false>(rows, t, first, n, ahead, sums);
  }
}

template <typename T>
void AddRows(const T* const* rows, const T* t, int numRows, int first, int n, RowsAhead<T> ahead, bool anew,
             double* sums) {
  constexpr int kHalf = kRowsAdded / 2;
  const auto from = static_cast<std::size_t>(first);
  const auto size = static_cast<std::size_t>(n);
  const FetchPlan<T> plan(ahead, std::max(1, numRows / kRowsAdded));
  int r = 0;
  for (; r + kRowsAdded <= numRows; r += kRowsAdded) {
    AddRowsOnto<kRowsAdded>(rows + r, t + r, from, size, plan.ForStep(r / kRowsAdded), anew && r == 0, sums);
  }
  for (; r + kHalf <= numRows; r += kHalf) {
    AddRowsOnto<kHalf>(rows + r, t + r, from, size, RowsAhead<T>{}, anew && r == 0, sums);
  }
  for (; r < numRows; ++r) AddRowsOnto<1>(rows + r, t + r, from, size, RowsAhead<T>{}, anew && r == 0, sums);
}

template <typename T, int Rows>
HWY_INLINE void AddGappedRowsTogether(const T* const* rows, const T* t, const T* weights, std::size_t first,
                                      std::size_t n, RowsAhead<T> ahead, double* sums, double* weightSums) {
  const T* row[Rows];
  NarrowVec<T> factor[Rows];
  NarrowVec<T> weight[Rows];
  WideVec wideWeight[Rows];
  for (int r = 0; r < Rows; ++r) {
    row[r] = rows[r] + first;
    factor[r] = hn::Set(Narrow<T>(), t[r]);
    weight[r] = hn::Set(Narrow<T>(), weights[r]);
    wideWeight[r] = Widen(weight[r]);
  }
  std::size_t j = 0;
  for (; j + kLanes <= n; j += kLanes) {
    if (j % kAccumulators == 0) Fetch(ahead.rows, ahead.count, first + j);
    auto sum = hn::LoadU(Wide(), sums + j);
    auto weightSum = hn::LoadU(Wide(), weightSums + j);
    for (int r = 0; r < Rows; ++r) {
      const auto x = hn::LoadU(Narrow<T>(), row[r] + j);
      const Presence<T> presence(x);
      const auto product = hn::Mul(x, factor[r]);
      sum = presence.Add(sum, product, Widen(product));
      weightSum = presence.Add(weightSum, weight[r], wideWeight[r]);
    }
    hn::StoreU(sum, Wide(), sums + j);
    hn::StoreU(weightSum, Wide(), weightSums + j);
  }
  for (; j < n; ++j) {
    for (int r = 0; r < Rows; ++r) {
      if (row[r][j] == kMissing<T>) continue;
      const T product = row[r][j] * t[r];
      sums[j] += static_cast<double>(product);
      weightSums[j] += static_cast<double>(weights[r]);
    }
  }
}

template <typename T>
void AddRowsWithGaps(const T* const* rows, const T* t, const T* weights, int numRows, int first, int n,
                     RowsAhead<T> ahead, double* sums, double* weightSums) {
  const auto from = static_cast<std::size_t>(first);
  const auto size = static_cast<std::size_t>(n);
  const FetchPlan<T> plan(ahead, std::max(1, numRows / kGappedRowsAdded));
  int r = 0;
  for (; r + kGappedRowsAdded <= numRows; r += kGappedRowsAdded) {
    const RowsAhead<T> share = plan.ForStep(r / kGappedRowsAdded);
    AddGappedRowsTogether<T, kGappedRowsAdded>(rows + r, t + r, weights + r, from, size, share, sums, weightSums);
  }
  for (; r < numRows; ++r) {
    AddGappedRowsTogether<T, 1>(rows + r, t + r, weights + r, from, size, RowsAhead<T>{}, sums, weightSums);
  }
}

template <bool HasGaps, typename T>
HWY_INLINE void AddScaledIn(T* row, T f, const T* b, std::size_t n) {
  const hn::CappedTag<T, kAccumulators> d;  // element by element: full vectors
  const std::size_t lanes = hn::MaxLanes(d);
  const auto factor = hn::Set(d, f);
  std::size_t j = 0;
  for (; j + lanes <= n; j += lanes) {
    const auto x = hn::LoadU(d, row + j);
    auto sum = hn::Add(x, hn::Mul(factor, hn::LoadU(d, b + j)));
    if constexpr (HasGaps) sum = hn::IfThenElse(hn::Eq(x, hn::Set(d, kMissing<T>)), x, sum);
    hn::StoreU(sum, d, row + j);
  }
  for (; j < n; ++j) {
    if (HasGaps && row[j] == kMissing<T>) continue;
    const T product = f * b[j];
    row[j] += product;
  }
}

template <typename T>
void AddScaled(T* row, T f, const T* b, int n, bool rowHasGaps) {
  if (rowHasGaps) {
    AddScaledIn<true>(row, f, b, static_cast<std::size_t>(n));
  } else {
    AddScaledIn<false>(row, f, b, static_cast<std::size_t>(n));
  }
}

template <typename T>
const NipalsKernels<T>& Table() {
  static constexpr NipalsKernels<T> kTable = {RowProducts<T>, RowProductsWithGaps<T>, AddRows<T>, AddRowsWithGaps<T>,
                                              AddScaled<T>};
  return kTable;
}

const NipalsKernels<float>& FloatNipals() {
  return Table<float>();
}
const NipalsKernels<double>& DoubleNipals() {
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

VORAN_KERNEL_TABLE(FloatNipals);
VORAN_KERNEL_TABLE(DoubleNipals);
VORAN_SELECT_KERNELS(NipalsKernels, FloatNipals, DoubleNipals)

}  // namespace detail
}  // namespace voran

#endif  // HWY_ONCE
