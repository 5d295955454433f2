#include "voran/signal/power_estimate.h"

#include <cmath>

#include "voran/signal/fourier_transform.h"

inline namespace voran {
namespace detail {

namespace {

/// The window at position j of 1 to 2m.
float WindowAt(FFT::DataWindowMode mode, std::size_t j, std::size_t m) {
  constexpr double kTwoPi = 6.283185307179586;
  const auto centre = static_cast<float>(static_cast<double>(m) - 0.5);
  const auto scale = static_cast<float>(1.0 / (static_cast<double>(m) + 0.5));
  const float t = (static_cast<float>(j - 1) - centre) * scale;
  switch (mode) {
    case FFT::DataWindowMode::kBartlett:
      return 1.0f - std::abs(t);
    case FFT::DataWindowMode::kHann:
      return static_cast<float>((1.0 - std::cos(static_cast<double>(j) * kTwoPi * (static_cast<double>(scale) * 0.5))) *
                                0.5);
    case FFT::DataWindowMode::kWelch:
      return 1.0f - t * t;
  }
  return 0.0f;
}

/// Adds the powers at frequency i and at its mirror image to sums[i].
void AddPowers(const std::vector<float>& re, const std::vector<float>& im, std::vector<float>& sums) {
  const std::size_t n = re.size();
  const std::size_t m = n / 2;
  sums[0] += re[0] * re[0] + im[0] * im[0];
  for (std::size_t i = 1; i < m; ++i) {
    sums[i] += re[i] * re[i] + im[i] * im[i] + re[n - i] * re[n - i] + im[n - i] * im[n - i];
  }
  sums[m] += re[m] * re[m] + im[m] * im[m];
}

}  // namespace

PowerEstimate::PowerEstimate(std::size_t m, FFT::DataWindowMode window) : m_(m) {
  for (std::size_t j = 1; j <= 2 * m; ++j) {
    const float w = WindowAt(window, j, m);
    window_.push_back(w);
    sumOfWindow_ += w;
    sumOfSquares_ += w * w;
  }
}

std::vector<float> PowerEstimate::Average(const float* x, std::size_t pairs, bool overlap,
                                          FFT::ScalingMode scaling) const {
  const std::size_t n = 2 * m_;
  const std::size_t step = overlap ? m_ : n;
  FourierTransform transform(n);
  std::vector<float> re(n);
  std::vector<float> im(n);
  std::vector<float> outRe(n);
  std::vector<float> outIm(n);
  std::vector<float> powers(m_ + 1);
  for (std::size_t pair = 0; pair < pairs; ++pair, x += 2 * step) {
    for (std::size_t j = 0; j < n; ++j) re[j] = x[j] * window_[j];
    for (std::size_t j = 0; j < n; ++j) im[j] = x[step + j] * window_[j];
    transform.Forward(re.data(), im.data(), n, outRe.data(), outIm.data());
    AddPowers(outRe, outIm, powers);
  }
  // The sums of squares of the windows of all segments: in double, as there may be millions.
  double divisor = 2.0 * static_cast<double>(pairs) * static_cast<double>(sumOfSquares_);
  if (scaling == FFT::ScalingMode::kSpectrum) {
    divisor *= static_cast<double>(sumOfWindow_ * sumOfWindow_ / sumOfSquares_);
  }
  for (float& power : powers) power = static_cast<float>(static_cast<double>(power) / divisor);
  return powers;
}

}  // namespace detail
}  // namespace voran
