#include "voran/signal/kernels/window_fits.h"

#include "voran/containers/kernels/dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "voran/signal/kernels/window_fits.cpp"
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

/// Vectors of windows worked on together: enough independent sums to keep the adders busy.
constexpr std::size_t kVectors = 4;

template <class D, std::size_t Vectors>
HWY_INLINE void MeansAt(const double* wide, std::size_t w, float* means) {
  const D d;
  const std::size_t lanes = hn::Lanes(d);
  hn::Vec<D> sums[Vectors];
  for (auto& sum : sums) sum = hn::Zero(d);
  for (std::size_t j = 0; j < w; ++j) {
    for (std::size_t v = 0; v < Vectors; ++v) sums[v] = hn::Add(sums[v], hn::LoadU(d, wide + j + v * lanes));
  }
  const hn::Rebind<float, D> narrow;
  const auto size = hn::Set(d, static_cast<double>(w));
  for (std::size_t v = 0; v < Vectors; ++v) {
    hn::StoreU(hn::DemoteTo(narrow, hn::Div(sums[v], size)), narrow, means + v * lanes);
  }
}

template <class D, std::size_t Vectors>
HWY_INLINE void SumsAt(const float* y, const float* means, std::size_t w, const float* weights, float* out) {
  const D d;
  const hn::Rebind<float, D> narrow;
  const std::size_t lanes = hn::Lanes(d);
  hn::Vec<decltype(narrow)> mean[Vectors];
  hn::Vec<D> sums[Vectors];
  for (std::size_t v = 0; v < Vectors; ++v) {
    mean[v] = hn::LoadU(narrow, means + v * lanes);
    sums[v] = hn::Zero(d);
  }
  for (std::size_t j = 0; j < w; ++j) {
    const auto weight = hn::Set(narrow, weights[j]);
    for (std::size_t v = 0; v < Vectors; ++v) {
      const auto centred = hn::Sub(hn::LoadU(narrow, y + j + v * lanes), mean[v]);
      sums[v] = hn::Add(sums[v], hn::PromoteTo(d, hn::Mul(centred, weight)));
    }
  }
  for (std::size_t v = 0; v < Vectors; ++v) hn::StoreU(hn::DemoteTo(narrow, sums[v]), narrow, out + v * lanes);
}

void Means(const double* wide, std::size_t n, std::size_t w, float* means) {
  constexpr std::size_t kStep = kVectors * hn::MaxLanes(Wide());
  std::size_t i = 0;
  for (; i + kStep <= n; i += kStep) MeansAt<Wide, kVectors>(wide + i, w, means + i);
  for (; i < n; ++i) MeansAt<Single, 1>(wide + i, w, means + i);
}

void Sums(const float* y, const float* means, std::size_t n, std::size_t w, const float* weights, float* sums) {
  constexpr std::size_t kStep = kVectors * hn::MaxLanes(Wide());
  std::size_t i = 0;
  for (; i + kStep <= n; i += kStep) SumsAt<Wide, kVectors>(y + i, means + i, w, weights, sums + i);
  for (; i < n; ++i) SumsAt<Single, 1>(y + i, means + i, w, weights, sums + i);
}

const WindowFitKernels& Table() {
  static constexpr WindowFitKernels kTable = {Means, Sums};
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

HWY_EXPORT(Table);

const WindowFitKernels& WindowFitKernels::Current() {
  return SelectKernels(HWY_DISPATCH_TABLE(Table));
}

}  // namespace detail
}  // namespace voran

#endif  // HWY_ONCE
