#include "voran/signal/fourier_transform.h"

#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/signal/series.h"
#include "voran/containers/simd_target.h"
#include "voran/platform/threading_control.h"
#include "voran/signal/correlation.h"

namespace {

using detail::FourierTransform;
using NCMultiThreading::ThreadingControl;
using Floats = std::vector<float>;

struct Parts {
  Floats re;
  Floats im;
};

Parts RandomParts(std::size_t n) {
  return {RandomSeries(static_cast<int>(n), 1), RandomSeries(static_cast<int>(n), 2)};
}

Parts Transformed(const Parts& x, bool inverse) {
  const std::size_t n = x.re.size();
  FourierTransform transform(n);
  Parts out{Floats(n), Floats(n)};
  if (inverse) {
    transform.Inverse(x.re.data(), x.im.data(), n, out.re.data(), out.im.data());
  } else {
    transform.Forward(x.re.data(), x.im.data(), n, out.re.data(), out.im.data());
  }
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

/// Both ways through the stages, of all numbers of them, and the strips of a long series.
TEST(FourierTransform, HasTheBitsOfThePlainLoopOnEveryTarget) {
  const std::string before = SimdTarget::GetName();
  for (const std::string& target : SimdTarget::GetAvailable()) {
    SimdTarget::Set(target);
    for (std::size_t n = 1; n <= 1 << 16; n *= 2) {
      const Parts x = RandomParts(n);
      for (const bool inverse : {false, true}) {
        const Parts z = Transformed(x, inverse);
        const Parts expected = Plain(x, inverse ? -1.0 : 1.0);
        ASSERT_TRUE(z.re == expected.re && z.im == expected.im) << target << ", " << n << " elements";
      }
    }
  }
  SimdTarget::Set(before);
}

TEST(FourierTransform, HasTheSameBitsHoweverManyThreadsShareIt) {
  for (const std::size_t n : {std::size_t{1} << 17, std::size_t{1} << 18}) {
    const Parts x = RandomParts(n);
    const Parts expected = Plain(x, 1.0);
    for (const int threads : {1, 2, 3, 7}) {
      ThreadingControl::SetNumberOfProcessors(threads);
      ThreadingControl::SetThreadingIsOn(threads > 1);
      const Parts z = Transformed(x, false);
      EXPECT_TRUE(z.re == expected.re && z.im == expected.im) << n << " elements, " << threads << " threads";
    }
  }
  ThreadingControl::Reset();
}

}  // namespace
