#pragma once

inline namespace voran {
namespace detail {

/// The published low-pass filters of one family of wavelets. Everything is 1-based: entry k of a list belongs to order
/// k, element i of a filter is its i-th tap, and entry 0 is not used.
struct WaveletFamily {
  const float* const* decomposition;   ///< biorthogonal: the published taps from last to first
  const float* const* reconstruction;  ///< null for an orthogonal family, which has one filter for both
  const int* lengths;
  int numOrders;
};

inline constexpr int kNumWaveletFamilies = 10;

/// In the order of Wavelet::WaveletFunctionType. Daubechies, Coiflets and Beylkin's filter sum to sqrt(2), Symmlets to
/// 2, as they were published; the filters of a pair to sqrt(2).
extern const WaveletFamily kWaveletFamilies[kNumWaveletFamilies];

}  // namespace detail
}  // namespace voran
