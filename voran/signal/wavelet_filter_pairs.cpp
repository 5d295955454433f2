#include <algorithm>
#include <cmath>
#include <memory>

#include "voran/signal/wavelet.h"
#include "voran/signal/wavelet_filters.h"

inline namespace voran {

namespace {

constexpr int kNumOrthogonalFamilies = 4;

bool IsOrthogonal(Wavelet::WaveletFunctionType type) {
  return static_cast<int>(type) < kNumOrthogonalFamilies;
}

/// A stored filter; empty for an unknown type or order, and for an orthogonal type if `isOrthogonal` is false, and the
/// reverse.
NCDataVector<float> Stored(Wavelet::WaveletFunctionType type, int order, bool isOrthogonal, bool decomposition) {
  NCDataVector<float> filter;
  if (order < 1 || order > Wavelet::GetNumFunctionOrder(type) || IsOrthogonal(type) != isOrthogonal) return filter;
  const detail::WaveletFamily& family = detail::kWaveletFamilies[static_cast<int>(type)];
  filter.CopyVector((decomposition ? family.decomposition : family.reconstruction)[order], family.lengths[order]);
  return filter;
}

NCDataVector<float> Reversed(NCDataVector<float> v) {
  float* const base = v.GetWritableVector();
  std::reverse(base + 1, base + 1 + v.Size());
  return v;
}

/// Flips the sign of the elements first, first + 2, ...
NCDataVector<float> Alternated(NCDataVector<float> v, int first) {
  float* const base = v.GetWritableVector();
  for (int i = first; i <= v.Size(); i += 2) base[i] = -base[i];
  return v;
}

NCDataVector<float> AtSumOfRootTwo(NCDataVector<float> v) {
  v *= std::sqrt(2.0) / v.GetSum();
  return v;
}

Wavelet::WaveletFilters Owned(const NCDataVector<float>& highPass, const NCDataVector<float>& lowPass) {
  auto high = std::make_unique<NCDataVector<float>>(highPass);
  auto low = std::make_unique<NCDataVector<float>>(lowPass);
  Wavelet::WaveletFilters filters;
  filters.highPass = high.release();
  filters.lowPass = low.release();
  return filters;
}

/// The pair of an orthogonal wavelet with scaling filter h.
Wavelet::WaveletFilters OrthogonalPair(const NCDataVector<float>& h) {
  if (h.Size() == 0) return {};
  return Owned(Alternated(h, 2), Reversed(h));
}

/// The pair whose low-pass filter is `own`; the high-pass filter comes from the low-pass filter of the opposite side.
Wavelet::WaveletFilters BiorthogonalPair(const NCDataVector<float>& own, const NCDataVector<float>& opposite) {
  if (own.Size() == 0) return {};
  return Owned(Alternated(AtSumOfRootTwo(opposite), 1), Reversed(AtSumOfRootTwo(own)));
}

}  // namespace

void Wavelet::WaveletFilters::CleanUp() {
  delete highPass;
  delete lowPass;
  highPass = lowPass = nullptr;
}

NCDataVector<float> Wavelet::GetWaveletFunction(WaveletFunctionType type, int order) {
  NCDataVector<float> h = Stored(type, order, true, true);
  h.Normalise();
  return h;
}

NCDataVector<float> Wavelet::GetWaveletFunctionD(WaveletFunctionType type, int order) {
  return Stored(type, order, false, true);
}

NCDataVector<float> Wavelet::GetWaveletFunctionR(WaveletFunctionType type, int order) {
  return Stored(type, order, false, false);
}

Wavelet::WaveletFilters Wavelet::GetDecompositionFilter(WaveletFunctionType type, int order) {
  if (IsOrthogonal(type)) return OrthogonalPair(GetWaveletFunction(type, order));
  return BiorthogonalPair(GetWaveletFunctionD(type, order), GetWaveletFunctionR(type, order));
}

Wavelet::WaveletFilters Wavelet::GetReconstructionFilter(WaveletFunctionType type, int order) {
  if (IsOrthogonal(type)) return OrthogonalPair(GetWaveletFunction(type, order));
  return BiorthogonalPair(GetWaveletFunctionR(type, order), GetWaveletFunctionD(type, order));
}

}  // namespace voran
