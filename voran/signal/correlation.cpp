#include "voran/signal/correlation.h"

#include "voran/platform/large_array.h"
#include "voran/signal/fourier_transform.h"

inline namespace voran {
namespace detail {

namespace {

/// Turns the transform of a + ib at n frequencies into A(k) conj(B(k)) / (n/2) for k < n/2; the value at n/2 is real
/// like the one at 0 and stands in its imaginary part.
void MakeCrossSpectrum(float* re, float* im, std::size_t n) {
  const std::size_t half = n / 2;
  const auto divisor = static_cast<float>(half);
  for (std::size_t k = 1; k < half; ++k) {
    const float aRe = 0.5f * (re[k] + re[n - k]);
    const float aIm = 0.5f * (im[k] - im[n - k]);
    const float bRe = 0.5f * (im[k] + im[n - k]);
    const float bIm = -0.5f * (re[k] - re[n - k]);
    re[k] = (aRe * bRe + aIm * bIm) / divisor;
    im[k] = (aIm * bRe - aRe * bIm) / divisor;
  }
  re[0] = re[0] * im[0] / divisor;
  im[0] = re[half] * im[half] / divisor;
}

/// Turns the first half of the spectrum of a real series, packed as above, into the spectrum of the complex series
/// whose real and imaginary parts are its even and odd elements. The turning is in double.
void JoinEvenAndOdd(float* re, float* im, std::size_t half, const FourierTransform& transform) {
  for (std::size_t k = 1; k < (half + 1) / 2; ++k) {
    const std::size_t mirror = half - k;
    const double wRe = transform.Cosine(k, 2 * half);
    const double wIm = -transform.Sine(k, 2 * half);
    const float evenRe = 0.5f * (re[k] + re[mirror]);
    const float evenIm = 0.5f * (im[k] - im[mirror]);
    const auto oddRe = static_cast<double>(-0.5f * (im[k] + im[mirror]));
    const auto oddIm = static_cast<double>(0.5f * (re[k] - re[mirror]));
    re[k] = static_cast<float>(static_cast<double>(evenRe) + wRe * oddRe - wIm * oddIm);
    im[k] = static_cast<float>(static_cast<double>(evenIm) + wRe * oddIm + wIm * oddRe);
    re[mirror] = static_cast<float>(static_cast<double>(evenRe) - wRe * oddRe + wIm * oddIm);
    im[mirror] = static_cast<float>(-static_cast<double>(evenIm) + wRe * oddIm + wIm * oddRe);
  }
  const float first = re[0];
  re[0] = 0.5f * (first + im[0]);
  im[0] = 0.5f * (first - im[0]);
}

std::unique_ptr<float[]> Room(std::size_t n) {
  auto room = std::make_unique_for_overwrite<float[]>(n);
  PreferLargePages(room.get(), n * sizeof(float));
  return room;
}

}  // namespace

std::unique_ptr<float[]> Correlation(const float* a, const float* b, std::size_t n) {
  auto re = Room(n);
  if (n == 1) {
    re[0] = a[0] * b[0];
    return re;
  }
  const auto im = Room(n);
  FourierTransform transform(n);
  transform.Forward(a, b, n, re.get(), im.get());
  MakeCrossSpectrum(re.get(), im.get(), n);
  const std::size_t half = n / 2;
  JoinEvenAndOdd(re.get(), im.get(), half, transform);
  // The upper halves, no longer needed, take the series back; its elements are then put in order from below, where
  // none is overwritten before it has been read.
  transform.Inverse(re.get(), im.get(), half, re.get() + half, im.get() + half);
  for (std::size_t j = 0; j < half; ++j) {
    re[2 * j] = re[half + j];
    re[2 * j + 1] = im[half + j];
  }
  return re;
}

}  // namespace detail
}  // namespace voran
