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

/// The windows that begin at y[i] and behind it, as many as Vectors vectors of D have elements.
template <class D, std::size_t Vectors, std::size_t NumSums>
HWY_INLINE void FitAt(const float* y, std::size_t i, std::size_t w, const float* const* weights, float* means,
                      float* const* sums) {
  const D wide;
  const hn::Rebind<float, D> narrow;
  const std::size_t lanes = hn::Lanes(wide);
  hn::Vec<D> total[Vectors];
  for (auto& t : total) t = hn::Zero(wide);
  for (std::size_t j = 0; j < w; ++j) {
    for (std::size_t v = 0; v < Vectors; ++v) {
      total[v] = hn::Add(total[v], hn::PromoteTo(wide, hn::LoadU(narrow, y + i + j + v * lanes)));
    }
  }
  const auto size = hn::Set(wide, static_cast<double>(w));
  hn::Vec<hn::Rebind<float, D>> mean[Vectors];
  hn::Vec<D> sum[NumSums][Vectors];
  for (std::size_t v = 0; v < Vectors; ++v) {
    mean[v] = hn::DemoteTo(narrow, hn::Div(total[v], size));
    hn::StoreU(mean[v], narrow, means + i + v * lanes);
    for (std::size_t s = 0; s < NumSums; ++s) sum[s][v] = hn::Zero(wide);
  }
  for (std::size_t j = 0; j < w; ++j) {
    for (std::size_t v = 0; v < Vectors; ++v) {
      const auto centred = hn::Sub(hn::LoadU(narrow, y + i + j + v * lanes), mean[v]);
      for (std::size_t s = 0; s < NumSums; ++s) {
        const auto term = hn::Mul(centred, hn::Set(narrow, weights[s][j]));
        sum[s][v] = hn::Add(sum[s][v], hn::PromoteTo(wide, term));
      }
    }
  }
  for (std::size_t s = 0; s < NumSums; ++s) {
    for (std::size_t v = 0; v < Vectors; ++v) {
      hn::StoreU(hn::DemoteTo(narrow, sum[s][v]), narrow, sums[s] + i + v * lanes);
    }
  }
}

template <std::size_t NumSums>
void FitAll(const float* y, std::size_t n, std::size_t w, const float* const* weights, float* means,
            float* const* sums) {
  constexpr std::size_t kVectors = 4;
  constexpr std::size_t kStep = kVectors * hn::MaxLanes(Wide());
  std::size_t i = 0;
  for (; i + kStep <= n; i += kStep) FitAt<Wide, kVectors, NumSums>(y, i, w, weights, means, sums);
  for (; i < n; ++i) FitAt<Single, 1, NumSums>(y, i, w, weights, means, sums);
}

void Fit(const float* y, std::size_t n, std::size_t w, const float* const* weights, std::size_t numSums, float* means,
         float* const* sums) {
  if (numSums == 1) {
    FitAll<1>(y, n, w, weights, means, sums);
  } else {
    FitAll<2>(y, n, w, weights, means, sums);
  }
}

const WindowFitKernels& Table() {
  static constexpr WindowFitKernels kTable = {Fit};
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
