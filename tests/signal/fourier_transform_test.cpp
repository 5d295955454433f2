#include "voran/signal/fourier_transform.h"

#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/signal/series.h"
#include "voran/containers/simd_target.h"
#include "voran/platform/threading_control.h"

namespace {

using detail::FourierTransform;
using NCMultiThreading::ThreadingControl;
using Floats = std::vector<float>;

struct Parts {
  Floats re;
  Floats im;
};

Parts Transformed(const Parts& x, bool inverse) {
  const std::size_t n = x.re.size();
  FourierTransform transform(n);
  Parts out{Floats(n), Floats(n)};
  const auto way = inverse ? &FourierTransform::Inverse : &FourierTransform::Forward;
  (transform.*way)(x.re.data(), x.im.data(), n, out.re.data(), out.im.data());
  return out;
}

/// The textbook's radix-2 loop: elements to their bit-reversed places, then stage after stage, with one factor after
/// the other from the recurrence.
Parts Plain(const Parts& x, double sign) {
  const std::size_t n = x.re.size();
  Parts z{Floats(n), Floats(n)};
  for (std::size_t i = 0; i < n; ++i) {
    std::size_t reversed = 0;
    for (std::size_t bit = 1, mirror = n / 2; bit < n; bit *= 2, mirror /= 2) {
      if ((i & bit) != 0) reversed += mirror;
    }
    z.re[reversed] = x.re[i];
    z.im[reversed] = x.im[i];
  }
  for (std::size_t half = 1; half < n; half *= 2) {
    const double angle = sign * 3.141592653589793 / static_cast<double>(half);
    const double stepRe = -2.0 * std::sin(0.5 * angle) * std::sin(0.5 * angle);
    const double stepIm = std::sin(angle);
    double wRe = 1.0;
    double wIm = 0.0;
    for (std::size_t k = 0; k < half; ++k) {
      for (std::size_t i = k; i < n; i += 2 * half) {
        const std::size_t j = i + half;
        const auto re = static_cast<double>(z.re[j]);
        const auto im = static_cast<double>(z.im[j]);
        const auto tRe = static_cast<float>(wRe * re - wIm * im);
        const auto tIm = static_cast<float>(wRe * im + wIm * re);
        z.re[j] = z.re[i] - tRe;
        z.im[j] = z.im[i] - tIm;
        z.re[i] += tRe;
        z.im[i] += tIm;
      }
      const double before = wRe;
      wRe = before * stepRe - wIm * stepIm + before;
      wIm = wIm * stepRe + before * stepIm + wIm;
    }
  }
  return z;
}

/// Both ways through the stages, of all numbers of them, the strips of a long series, and what threads share.
TEST(FourierTransform, HasTheBitsOfThePlainLoopOnEveryTarget) {
  const std::string before = SimdTarget::GetName();
  ThreadingControl::SetNumberOfProcessors(3);
  ThreadingControl::SetThreadingIsOn(true);
  for (std::size_t n = 1; n <= 1 << 18; n *= 2) {
    const Parts x{RandomSeries(static_cast<int>(n), 1), RandomSeries(static_cast<int>(n), 2)};
    for (const bool inverse : {false, true}) {
      const Parts expected = Plain(x, inverse ? -1.0 : 1.0);
      for (const std::string& target : SimdTarget::GetAvailable()) {
        SimdTarget::Set(target);
        const Parts z = Transformed(x, inverse);
        ASSERT_TRUE(z.re == expected.re && z.im == expected.im) << target << ", " << n << " elements";
      }
    }
  }
  SimdTarget::Set(before);
  ThreadingControl::Reset();
}

}  // namespace
