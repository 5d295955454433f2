#pragma once

#include <cstddef>

inline namespace voran {
namespace detail {

/// What a level of a wavelet transform is made of, in float. The same bits for every set of instructions. Nothing
/// allocates or throws, except Current() (see SimdTarget).
struct FilteringKernels {
  /// out[i] = the sum over k < count of weights[k] * sources[k][i], from 0 in the order of k, for every i < n. `out`
  /// overlaps no source.
  void (*weightedSum)(const float* const* sources, const float* weights, std::size_t count, float* out, std::size_t n);

  /// even[i] = in[2i] and odd[i] = in[2i + 1] for every i < n.
  void (*deinterleave)(const float* in, float* even, float* odd, std::size_t n);
  /// The reverse of it.
  void (*interleave)(const float* even, const float* odd, float* out, std::size_t n);

  static const FilteringKernels& Current();
};

}  // namespace detail
}  // namespace voran
