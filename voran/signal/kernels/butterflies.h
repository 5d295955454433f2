#pragma once

#include <cstddef>

inline namespace voran {
namespace detail {

/// Turning factors of Fourier stages, real and imaginary parts: those of the stage that joins transforms of h elements
/// stand at h to 2h - 1.
struct TurningFactors {
  const double* re;
  const double* im;
};

/// The butterflies of a radix-2 transform with decimation in time, on many columns side by side: with w a factor, a
/// pair a, b of complex floats becomes a + t and a - t, where t = w b is formed in double and rounded to float. (The
/// factor 1 is not multiplied by.) The same bits for every set of instructions. Nothing allocates or throws, except
/// Current() (see SimdTarget).
struct ButterflyKernels {
  /// The last stages of transforms of rows * span elements. Row r, at re + r * stride, holds elements `column` to
  /// column + width - 1 of one of `rows` transforms of `span` elements, in the order of decimation. `rows` is a power
  /// of 2.
  void (*joinRows)(float* re, float* im, std::size_t rows, std::size_t stride, std::size_t width,
                   const TurningFactors& factors, std::size_t span, std::size_t column);

  /// All stages of `width` transforms of `rows` elements: column c holds one of them, in the order of decimation.
  void (*transformColumns)(float* re, float* im, std::size_t rows, std::size_t width, const TurningFactors& factors);

  static const ButterflyKernels& Current();
};

}  // namespace detail
}  // namespace voran
