#include "voran/signal/fft.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <limits>
#include <numeric>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/signal/series.h"
#include "voran/platform/nc_error.h"

namespace {

using ::testing::Each;
using Detrend = FFT::DetrendMode;
using Scaling = FFT::ScalingMode;
using Window = FFT::DataWindowMode;
using Doubles = std::vector<double>;
using Vec = NCDataVector<float>;

constexpr double kTwoPi = 6.283185307179586;
constexpr auto kDensity = Scaling::kDensity;

struct Access : FFT {
  using FFT::DetrendVecMeanStd;
  using FFT::PadVectorLinearly;
};

Vec Spectrum(const Vec& x, int segment, bool overlap, Detrend detrend, Scaling scaling, Window window) {
  Vec result(segment / 2 + 1, -1.0f);
  FFT::PowerSpectrum(&x, segment, overlap, detrend, scaling, window, &result);
  return result;
}

Doubles PlainWindow(Window mode, int m) {
  Doubles window;
  for (int j = 1; j <= 2 * m; ++j) {
    const double t = (j - 1 - (m - 0.5)) / (m + 0.5);
    if (mode == Window::kBartlett) window.push_back(1.0 - std::abs(t));
    if (mode == Window::kHann) window.push_back(0.5 - 0.5 * std::cos(kTwoPi * j / (2 * m + 1)));
    if (mode == Window::kWelch) window.push_back(1.0 - t * t);
  }
  return window;
}

/// Every segment for itself, by the sums of the definition in double.
Doubles PlainSpectrum(const std::vector<float>& x, int m, int segments, int step, Scaling scaling, Window mode) {
  const Doubles window = PlainWindow(mode, m);
  const double sum = std::accumulate(window.begin(), window.end(), 0.0);
  const double squares = std::inner_product(window.begin(), window.end(), window.begin(), 0.0);
  Doubles powers(static_cast<std::size_t>(m) + 1);
  for (int s = 0; s < segments; ++s) {
    for (int k = 0; k < 2 * m; ++k) {
      std::complex<double> z;
      for (int j = 0; j < 2 * m; ++j) {
        const int at = s * step + j;
        const double value = x[static_cast<std::size_t>(at)] * window[static_cast<std::size_t>(j)];
        z += value * std::polar(1.0, kTwoPi * (j * k % (2 * m)) / (2 * m));
      }
      powers[static_cast<std::size_t>(std::min(k, 2 * m - k))] += std::norm(z);
    }
  }
  for (double& p : powers) p /= segments * (scaling == Scaling::kSpectrum ? sum * sum : squares);
  return powers;
}

/// Values, the last of which goes back to the first in the segments that the series does not fill.
TEST(PowerSpectrum, IsTheMeanPowerOfItsSegments) {
  constexpr int kHalf = 8;
  for (const auto& [n, overlap, segments] :
       {std::tuple(72, true, 8), {65, true, 8}, {9, true, 2}, {64, false, 4}, {50, false, 4}, {3, false, 2}}) {
    for (const Window window : {Window::kBartlett, Window::kHann, Window::kWelch}) {
      for (const Scaling scaling : {Scaling::kDensity, Scaling::kSpectrum}) {
        const Vec x = Vector(RandomSeries(n));
        Vec padded(x);
        Access::PadVectorLinearly(padded, overlap ? (segments + 1) * kHalf : segments * 2 * kHalf);
        const Doubles expected =
            PlainSpectrum(Elements(padded), kHalf, segments, overlap ? kHalf : 2 * kHalf, scaling, window);
        const Vec powers = Spectrum(x, 2 * kHalf, overlap, Detrend::kNone, scaling, window);
        const double tolerance = 3e-6 * *std::max_element(expected.begin(), expected.end());
        for (int i = 1; i <= kHalf + 1; ++i) {
          EXPECT_NEAR(powers[i], expected[static_cast<std::size_t>(i - 1)], tolerance)
              << n << ", window " << static_cast<int>(window) << ", frequency " << i - 1;
        }
      }
    }
  }
}

/// Parseval: over a whole number of segments the powers of the density add up to the windowed squares.
TEST(PowerSpectrum, KeepsTheEnergy) {
  constexpr int kSegment = 4096;
  const auto x = RandomSeries(8 * kSegment);
  const Doubles window = PlainWindow(Window::kWelch, kSegment / 2);
  double windowed = 0.0;
  double squares = 0.0;
  for (std::size_t i = 0; i < x.size(); ++i) {
    const double w = window[i % kSegment];
    windowed += w * w * x[i] * x[i];
    squares += w * w;
  }
  const Vec powers = Spectrum(Vector(x), kSegment, false, Detrend::kNone, kDensity, Window::kWelch);
  EXPECT_NEAR(powers.GetSum() / kSegment, windowed / squares, 1e-5);
}

TEST(PowerSpectrum, TrendsAreTakenOffAndGapsFilled) {
  std::vector<float> line(64, 5.0f);
  for (std::size_t i = 0; i < line.size(); ++i) line[i] += 0.25f * static_cast<float>(i);
  const Vec gappy = WithGaps(line, 1, 3);
  EXPECT_THAT(Elements(Spectrum(gappy, 16, false, Detrend::kLinear, kDensity, Window::kHann)), Each(0.0f));
  Vec centred(Vector(line));
  centred -= centred.GetMean();
  EXPECT_EQ(Spectrum(gappy, 16, true, Detrend::kMean, kDensity, Window::kHann),
            Spectrum(centred, 16, true, Detrend::kNone, kDensity, Window::kHann));
}

TEST(PowerSpectrum, TellsWhatCannotBeComputed) {
  const Vec x(100, 1.0f);
  const Vec infinite{1, std::numeric_limits<float>::infinity(), 1, 2};
  const auto fails = [](const Vec& series, int segment, bool overlap, Window window = Window::kHann) {
    EXPECT_THROW(Spectrum(series, segment, overlap, Detrend::kNone, kDensity, window), NCError) << series.Size();
  };
  for (const Vec& series : {Vec(), Vec(100), Vec(8, 1.0f)}) fails(series, 16, true);
  for (const Vec& series : {Vec(), infinite, Vec(4, 3e38f)}) fails(series, 2, false);
  fails(x, 16, true, static_cast<Window>(3));
  Vec tooShort(1);
  EXPECT_THROW(FFT::PowerSpectrum(&x, 1 << 30, false, Detrend::kNone, kDensity, Window::kHann, &tooShort), NCError);
  for (const int segment : {-16, 0, 1, 3, 100}) {
    Vec untouched(3, -1.0f);
    FFT::PowerSpectrum(&x, segment, true, Detrend::kNone, kDensity, Window::kHann, &untouched);
    EXPECT_THAT(Elements(untouched), Each(-1.0f)) << segment;
  }
  Vec result(9, -1.0f);
  FFT::PowerSpectrum(nullptr, 16, true, Detrend::kNone, kDensity, Window::kHann, &result);
  FFT::PowerSpectrum(&x, 16, true, Detrend::kNone, kDensity, Window::kHann, nullptr);
  EXPECT_THAT(Elements(result), Each(-1.0f));
}

// Correlations.

/// The steps of the definition: zeros up to a power of 2, mean 0, norm 1, and a circular sum for each lag.
Doubles PlainCorrelation(const Vec& x, const Vec& y, std::size_t length, int from, int to) {
  const auto standardised = [&](const Vec& v) {
    Doubles s(v.begin(), v.end());
    s.resize(length);
    const double mean = std::accumulate(s.begin(), s.end(), 0.0) / static_cast<double>(length);
    for (double& value : s) value -= mean;
    const double norm = std::sqrt(std::inner_product(s.begin(), s.end(), s.begin(), 0.0));
    for (double& value : s) value /= norm;
    return s;
  };
  const Doubles a = standardised(x);
  const Doubles b = standardised(y);
  Doubles lags;
  for (int k = from; k <= to; ++k) {
    double sum = 0.0;
    for (std::size_t l = 0; l < length; ++l) sum += a[(l + length + static_cast<std::size_t>(k)) % length] * b[l];
    lags.push_back(sum);
  }
  return lags;
}

void ExpectNear(const Vec& result, const Doubles& expected) {
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_NEAR(result[static_cast<int>(i) + 1], expected[i], 1e-6) << "element " << i;
  }
}

TEST(Correlation, IsTheDirectSumAtEveryLag) {
  for (const auto& [n, lags, length] : {std::tuple(2, 0, 2U), {30, 2, 32U}, {31, 2, 64U}, {16, 16, 32U}}) {
    const Vec x = Vector(RandomSeries(n, 3));
    const Vec y = Vector(RandomSeries(n, 4));
    Vec same(lags + 2, -7.0f);
    FFT::AutoCorrelation(&x, Detrend::kNone, lags, &same);
    ExpectNear(same, PlainCorrelation(x, x, length, 0, lags));
    EXPECT_NEAR(same[1], 1.0, 1e-6);
    EXPECT_EQ(same[lags + 2], -7.0f);
    Vec cross(2 * lags + 1);
    FFT::CrossCorrelation(&x, &y, Detrend::kNone, lags, &cross);
    ExpectNear(cross, PlainCorrelation(x, y, length, -lags, lags));
  }
}

TEST(Correlation, AConstantSeriesHasNone) {
  const Vec x(20, 3.7f);
  for (const Detrend mode : {Detrend::kMean, Detrend::kLinear}) {
    Vec result(6, -7.0f);
    FFT::AutoCorrelation(&x, mode, 5, &result);
    EXPECT_THAT(Elements(result), Each(0.0f));
  }
  const Vec single{5};
  Vec result(1);
  FFT::AutoCorrelation(&single, Detrend::kNone, 0, &result);
  EXPECT_EQ(result[1], 0.0f);
}

/// Squares of the smallest floats and of the largest are no floats.
TEST(Correlation, LagZeroIsOneAtEveryScale) {
  for (const float scale : {1e-30f, 1e-20f, 1e10f, 1e25f, 3e38f}) {
    Vec x(8);
    for (int i = 1; i <= 8; ++i) x(i, i % 2 == 0 ? scale : 0.5f * scale);
    Vec result(1);
    FFT::AutoCorrelation(&x, Detrend::kNone, 0, &result);
    EXPECT_NEAR(result[1], 1.0, 1e-6) << scale;
  }
}

/// A mean of -99 is a number like others.
TEST(Correlation, AMeanOnTheMarkerIsSubtracted) {
  Vec v{-98, -100, -97, -101};
  Access::DetrendVecMeanStd(v);
  EXPECT_NEAR(v[1], 1.0 / std::sqrt(10.0), 1e-7);
  EXPECT_NEAR(v.GetSum(), 0.0, 1e-7);
}

TEST(Correlation, WhatIsAskedWronglyDoesNothing) {
  const Vec x{1, 2, 3};
  const Vec longer{1, 2, 3, 4};
  const Vec nothing(3);
  const Vec empty;
  Vec result(9, -7.0f);
  const auto ask = [&](const Vec* a, const Vec* b, int lags) {
    FFT::AutoCorrelation(a, Detrend::kMean, lags, &result);
    FFT::CrossCorrelation(a, b, Detrend::kMean, lags, &result);
  };
  for (const int lags : {-1, 4}) ask(&x, &x, lags);
  for (const Vec* a : {static_cast<const Vec*>(nullptr), &nothing}) ask(a, &x, 1);
  ask(&empty, &empty, 0);
  for (const Vec* b : {static_cast<const Vec*>(nullptr), &longer, &nothing}) {
    FFT::CrossCorrelation(&x, b, Detrend::kMean, 1, &result);
  }
  FFT::AutoCorrelation(&x, Detrend::kMean, 1, nullptr);
  EXPECT_THAT(Elements(result), Each(-7.0f));
}

}  // namespace
