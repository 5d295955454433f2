#include "voran/signal/kernels/butterflies.h"

#include <bit>

#include "voran/containers/kernels/dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "voran/signal/kernels/butterflies.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
inline namespace voran {
namespace detail {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Wide = hn::CappedTag<double, 8>;
using Single = hn::CappedTag<double, 1>;

template <class D>
using Narrow = hn::Rebind<float, D>;

/// Complex floats, as many as a vector of D has doubles.
template <class D>
struct Complex {
  hn::Vec<Narrow<D>> re;
  hn::Vec<Narrow<D>> im;
};

/// A factor for each column.
template <class D>
struct OfColumn {
  static HWY_INLINE hn::Vec<D> Load(const double* p, std::size_t c) { return hn::LoadU(D(), p + c); }
};

/// One factor for all columns.
template <class D>
struct OfRow {
  static HWY_INLINE hn::Vec<D> Load(const double* p, std::size_t) { return hn::Set(D(), *p); }
};

template <class D>
HWY_INLINE Complex<D> Turned(Complex<D> z, hn::Vec<D> wRe, hn::Vec<D> wIm) {
  const D d;
  const auto re = hn::PromoteTo(d, z.re);
  const auto im = hn::PromoteTo(d, z.im);
  return {hn::DemoteTo(Narrow<D>(), hn::Sub(hn::Mul(wRe, re), hn::Mul(wIm, im))),
          hn::DemoteTo(Narrow<D>(), hn::Add(hn::Mul(wRe, im), hn::Mul(wIm, re)))};
}

template <class D>
HWY_INLINE void Join(Complex<D>& a, Complex<D>& b, Complex<D> turned) {
  b = {hn::Sub(a.re, turned.re), hn::Sub(a.im, turned.im)};
  a = {hn::Add(a.re, turned.re), hn::Add(a.im, turned.im)};
}

/// Rows of a matrix of complex numbers, and the factors of its stages.
struct Rows {
  float* re;
  float* im;
  std::size_t stride;
  TurningFactors factors;
  std::size_t span;

  template <class D>
  HWY_INLINE Complex<D> Load(std::size_t row, std::size_t c) const {
    const Narrow<D> d;
    return {hn::LoadU(d, re + row * stride + c), hn::LoadU(d, im + row * stride + c)};
  }
  template <class D>
  HWY_INLINE void Store(Complex<D> z, std::size_t row, std::size_t c) const {
    const Narrow<D> d;
    hn::StoreU(z.re, d, re + row * stride + c);
    hn::StoreU(z.im, d, im + row * stride + c);
  }
};

/// Factor k of the stage that joins transforms of `half` rows, on the columns from c on.
template <class D, template <class> class Factor>
HWY_INLINE Complex<D> TurnedBy(const Rows& rows, Complex<D> z, std::size_t half, std::size_t k, std::size_t c) {
  const std::size_t at = (half + k) * rows.span;
  return Turned<D>(z, Factor<D>::Load(rows.factors.re + at, c), Factor<D>::Load(rows.factors.im + at, c));
}

/// The butterfly of two rows.
template <class D, template <class> class Factor>
struct Pair {
  static HWY_INLINE void At(const Rows& rows, std::size_t row, std::size_t half, std::size_t k, std::size_t c,
                            bool isByOne) {
    auto a = rows.Load<D>(row, c);
    auto b = rows.Load<D>(row + half, c);
    Join<D>(a, b, isByOne ? b : TurnedBy<D, Factor>(rows, b, half, k, c));
    rows.Store<D>(a, row, c);
    rows.Store<D>(b, row + half, c);
  }
};

/// Two stages in one reading: first of `half` rows, then of twice as many.
template <class D, template <class> class Factor>
struct Quad {
  static HWY_INLINE void At(const Rows& rows, std::size_t row, std::size_t half, std::size_t k, std::size_t c,
                            bool isByOne) {
    auto z0 = rows.Load<D>(row, c);
    auto z1 = rows.Load<D>(row + half, c);
    auto z2 = rows.Load<D>(row + 2 * half, c);
    auto z3 = rows.Load<D>(row + 3 * half, c);
    Join<D>(z0, z1, isByOne ? z1 : TurnedBy<D, Factor>(rows, z1, half, k, c));
    Join<D>(z2, z3, isByOne ? z3 : TurnedBy<D, Factor>(rows, z3, half, k, c));
    Join<D>(z0, z2, isByOne ? z2 : TurnedBy<D, Factor>(rows, z2, 2 * half, k, c));
    Join<D>(z1, z3, TurnedBy<D, Factor>(rows, z3, 2 * half, k + half, c));
    rows.Store<D>(z0, row, c);
    rows.Store<D>(z1, row + half, c);
    rows.Store<D>(z2, row + 2 * half, c);
    rows.Store<D>(z3, row + 3 * half, c);
  }
};

template <template <class, template <class> class> class Step, template <class> class Factor>
HWY_INLINE void AllColumns(const Rows& rows, std::size_t row, std::size_t half, std::size_t k, std::size_t width,
                           bool isByOne) {
  constexpr std::size_t kLanes = hn::MaxLanes(Wide());
  std::size_t c = 0;
  for (; c + kLanes <= width; c += kLanes) Step<Wide, Factor>::At(rows, row, half, k, c, isByOne);
  for (; c < width; ++c) Step<Single, Factor>::At(rows, row, half, k, c, isByOne);
}

template <template <class> class Factor>
HWY_INLINE void AllStages(const Rows& rows, std::size_t count, std::size_t width) {
  constexpr bool kHasOnes = std::is_same_v<Factor<Wide>, OfRow<Wide>>;  // the first factor of a stage is 1
  std::size_t half = 1;
  if (std::countr_zero(count) % 2 == 1) {
    for (std::size_t row = 0; row < count; row += 2) AllColumns<Pair, Factor>(rows, row, 1, 0, width, kHasOnes);
    half = 2;
  }
  for (; half < count; half *= 4) {
    for (std::size_t start = 0; start < count; start += 4 * half) {
      AllColumns<Quad, Factor>(rows, start, half, 0, width, kHasOnes);
      for (std::size_t k = 1; k < half; ++k) AllColumns<Quad, Factor>(rows, start + k, half, k, width, false);
    }
  }
}

void JoinRows(float* re, float* im, std::size_t rows, std::size_t stride, std::size_t width,
              const TurningFactors& factors, std::size_t span, std::size_t column) {
  AllStages<OfColumn>(Rows{re, im, stride, {factors.re + column, factors.im + column}, span}, rows, width);
}

void TransformColumns(float* re, float* im, std::size_t rows, std::size_t width, const TurningFactors& factors) {
  AllStages<OfRow>(Rows{re, im, width, factors, 1}, rows, width);
}

const ButterflyKernels& Table() {
  static constexpr ButterflyKernels kTable = {JoinRows, TransformColumns};
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

const ButterflyKernels& ButterflyKernels::Current() {
  return SelectKernels(HWY_DISPATCH_TABLE(Table));
}

}  // namespace detail
}  // namespace voran

#endif  // HWY_ONCE
