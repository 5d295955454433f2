#pragma once

#include <cstddef>

inline namespace voran {
namespace detail {

/// Linear fits in a window that slides over a series without gaps: for each window the mean, summed in double in the
/// order of the elements and rounded to float, and sums over its elements y of (y - mean) * weight, whose terms are
/// floats and are added in double in that order. The same bits for every set of instructions. Nothing allocates or
/// throws, except Current() (see SimdTarget).
struct WindowFitKernels {
  /// The means of the n windows of w elements that begin at wide[0] and behind it: the series in double.
  void (*means)(const double* wide, std::size_t n, std::size_t w, float* means);

  /// sums[i] of the window that begins at y[i], for every i < n, with its w weights.
  void (*sums)(const float* y, const float* means, std::size_t n, std::size_t w, const float* weights, float* sums);

  static const WindowFitKernels& Current();
};

}  // namespace detail
}  // namespace voran
