#include "voran/signal/power_estimate.h"

#include <algorithm>
#include <cmath>

#include "voran/containers/parallel.h"
#include "voran/signal/fourier_transform.h"

inline namespace voran {
namespace detail {

namespace {

/// How many pairs a thread transforms between one adding up and the next.
constexpr std::size_t kPairsOfThread = 16;

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

/// The powers of pairs of segments, one pair at a time. One object serves one thread.
class PairPowers {
 public:
  explicit PairPowers(const std::vector<float>& window)
      : window_(window),
        transform_(window.size()),
        re_(window.size()),
        im_(window.size()),
        outRe_(window.size()),
        outIm_(window.size()) {}

  /// powers[i] for i up to m: that at frequency i and at its mirror image, of both segments, of 2m elements each.
  void Form(const float* first, const float* second, float* powers) {
    const std::size_t n = window_.size();
    const std::size_t m = n / 2;
    for (std::size_t j = 0; j < n; ++j) re_[j] = first[j] * window_[j];
    for (std::size_t j = 0; j < n; ++j) im_[j] = second[j] * window_[j];
    transform_.Forward(re_.data(), im_.data(), n, outRe_.data(), outIm_.data());
    const float* const re = outRe_.data();
    const float* const im = outIm_.data();
    powers[0] = re[0] * re[0] + im[0] * im[0];
    for (std::size_t i = 1; i < m; ++i) {
      powers[i] = re[i] * re[i] + im[i] * im[i] + re[n - i] * re[n - i] + im[n - i] * im[n - i];
    }
    powers[m] = re[m] * re[m] + im[m] * im[m];
  }

 private:
  const std::vector<float>& window_;
  FourierTransform transform_;
  std::vector<float> re_;
  std::vector<float> im_;
  std::vector<float> outRe_;
  std::vector<float> outIm_;
};

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
  const std::size_t bins = m_ + 1;
  // Long transforms are shared by the threads one by one.
  const int threads = FourierTransform::IsForTeam(n)
                          ? 1
                          : ThreadsForMatrix(static_cast<int>(2 * pairs), static_cast<int>(n), kRowTransform);
  const std::size_t shares = static_cast<std::size_t>(threads);
  const std::size_t most = std::min(pairs, shares == 1 ? 1 : shares * kPairsOfThread);
  std::vector<PairPowers> pairPowers(shares, PairPowers(window_));
  std::vector<float> ofPairs(most * bins);
  std::vector<float> powers(bins);
  for (std::size_t done = 0; done < pairs; done += most) {
    const std::size_t count = std::min(most, pairs - done);
    ParallelFor(threads, threads, [&](int i) {
      const auto share = static_cast<std::size_t>(i);
      for (std::size_t pair = count * share / shares; pair < count * (share + 1) / shares; ++pair) {
        const float* const first = x + 2 * step * (done + pair);
        pairPowers[share].Form(first, first + step, ofPairs.data() + pair * bins);
      }
    });
    for (std::size_t pair = 0; pair < count; ++pair) {  // in their order, whoever formed them
      const float* const added = ofPairs.data() + pair * bins;
      for (std::size_t i = 0; i < bins; ++i) powers[i] += added[i];
    }
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
