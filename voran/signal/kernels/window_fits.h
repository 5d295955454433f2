#pragma once

#include <cstddef>

inline namespace voran {
namespace detail {

/// Linear fits in a window of w elements that slides over a series without gaps: for each window the mean, summed in
/// double in the order of the elements and rounded to float, and sums over its elements y of (y - mean) * weight, whose
/// terms are floats and are added in double in that order. The same bits for every set of instructions. Nothing
/// allocates or throws, except Current() (see SimdTarget).
struct WindowFitKernels {
  static constexpr std::size_t kMostSums = 2;

  /// means[i] and sums[s][i] of the window that begins at y[i], for every i < n; sum s < numSums, which is 1 or 2, has
  /// the w weights weights[s].
  void (*fit)(const float* y, std::size_t n, std::size_t w, const float* const* weights, std::size_t numSums,
              float* means, float* const* sums);

  static const WindowFitKernels& Current();
};

}  // namespace detail
}  // namespace voran
