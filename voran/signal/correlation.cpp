#include "voran/signal/correlation.h"

#include "voran/signal/fourier_transform.h"

inline namespace voran {
namespace detail {

namespace {

/// A complex series, real and imaginary parts apart.
struct Parts {
  explicit Parts(std::size_t n) : re(n), im(n) {}

  std::vector<float> re;
  std::vector<float> im;
};

/// A(k) conj(B(k)) / (n/2) for k < n/2, where z is the transform of a + ib; the value at n/2 is real like the one at 0
/// and stands in its imaginary part.
Parts CrossSpectrum(const Parts& z) {
  const std::size_t n = z.re.size();
  const std::size_t half = n / 2;
  const auto divisor = static_cast<float>(half);
  Parts product(half);
  for (std::size_t k = 1; k < half; ++k) {
    const float aRe = 0.5f * (z.re[k] + z.re[n - k]);
    const float aIm = 0.5f * (z.im[k] - z.im[n - k]);
    const float bRe = 0.5f * (z.im[k] + z.im[n - k]);
    const float bIm = -0.5f * (z.re[k] - z.re[n - k]);
    product.re[k] = (aRe * bRe + aIm * bIm) / divisor;
    product.im[k] = (aIm * bRe - aRe * bIm) / divisor;
  }
  product.re[0] = z.re[0] * z.im[0] / divisor;
  product.im[0] = z.re[half] * z.im[half] / divisor;
  return product;
}

/// Turns the first half of the spectrum of a real series into the spectrum of the complex series whose real and
/// imaginary parts are its even and odd elements. The turning is in double.
void JoinEvenAndOdd(Parts& spectrum, const FourierTransform& transform) {
  auto& [re, im] = spectrum;
  const std::size_t half = re.size();
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

}  // namespace

std::vector<float> Correlation(const float* a, const float* b, std::size_t n) {
  if (n == 1) return {a[0] * b[0]};
  FourierTransform transform(n);
  Parts both(n);
  transform.Forward(a, b, n, both.re.data(), both.im.data());
  Parts spectrum = CrossSpectrum(both);
  JoinEvenAndOdd(spectrum, transform);
  const std::size_t half = n / 2;
  transform.Inverse(spectrum.re.data(), spectrum.im.data(), half, both.re.data(), both.im.data());
  std::vector<float> result(n);
  for (std::size_t j = 0; j < half; ++j) {
    result[2 * j] = both.re[j];
    result[2 * j + 1] = both.im[j];
  }
  return result;
}

}  // namespace detail
}  // namespace voran
