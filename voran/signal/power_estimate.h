#pragma once

#include <cstddef>
#include <vector>

#include "voran/signal/fft.h"

inline namespace voran {
namespace detail {

/// Averages the power of pairs of segments, of 2m elements each: two segments are the real and imaginary part of one
/// transform. All sums are in float, in the order of the pairs, which several threads may share.
class PowerEstimate {
 public:
  PowerEstimate(std::size_t m, FFT::DataWindowMode window);

  /// The m + 1 powers of the first 2 * pairs segments of x, which begin m elements after each other with `overlap`,
  /// otherwise 2m.
  std::vector<float> Average(const float* x, std::size_t pairs, bool overlap, FFT::ScalingMode scaling) const;

 private:
  std::size_t m_;
  std::vector<float> window_;
  float sumOfWindow_ = 0.0f;
  float sumOfSquares_ = 0.0f;
};

}  // namespace detail
}  // namespace voran
