#pragma once

#include <cstddef>

inline namespace voran {
namespace detail {

/// Linear fits in a window that slides over a series without gaps: for each window the mean, as if summed in double in
/// the order of the elements and rounded to float, and sums over its elements y of (y - mean) * weight, whose terms are
/// floats and are added in double in that order. The same bits for every set of instructions. Nothing allocates or
/// throws, except Current() (see SimdTarget).
struct WindowFitKernels {
  /// What the means of n windows of w elements need at `work`.
  static std::size_t WorkSize(std::size_t n, std::size_t w) { return n + w; }

  /// The means of the n windows of w elements that begin at y[0] and behind it. Where no sum can be rounded, as is
  /// usual for measured series, the order does not matter, and windows share sums.
  void (*means)(const float* y, std::size_t n, std::size_t w, double* work, float* means);

  /// sums[i] of the window that begins at y[i], for every i < n, with its w weights.
  void (*sums)(const float* y, const float* means, std::size_t n, std::size_t w, const float* weights, float* sums);

  static const WindowFitKernels& Current();
};

}  // namespace detail
}  // namespace voran
