// Spectra, autocorrelations, wavelets, smoothing.

#include <cmath>
#include <cstddef>
#include <memory>
#include <numeric>

#include "benchmarks/side_by_side.h"
#include "voran/signal/derivate.h"
#include "voran/signal/fft.h"
#include "voran/signal/wavelet.h"

namespace side_by_side {
namespace {

Work StartSpectrum(const Task& task, int) {
  const int segment = task.Number("segment");
  return MakeWork(
      [x = task.LoadSeries("x"), segment] {
        Vec powers(segment / 2 + 1);
        FFT::PowerSpectrum(&x, segment, true, FFT::DetrendMode::kNone, FFT::ScalingMode::kDensity,
                           FFT::DataWindowMode::kHann, &powers);
        return powers;
      },
      [](const Vec& powers) {
        return Json{{"powers", ToList(powers)}};
      });
}

Work StartAutocorrelation(const Task& task, int) {
  return MakeWork(
      [x = task.LoadSeries("x"), lags = task.Number("lags")] {
        Vec correlations(lags + 1);
        FFT::AutoCorrelation(&x, FFT::DetrendMode::kMean, lags, &correlations);
        return correlations;
      },
      [](const Vec& correlations) {
        return Json{{"correlations", ToList(correlations)}};
      });
}

struct Filters {
  explicit Filters(int taps) {
    for (int order = 1; order <= Wavelet::GetNumFunctionOrder(kFamily); ++order) {
      filters = Wavelet::GetDecompositionFilter(kFamily, order);
      if (filters.lowPass->Size() == taps) return;
      filters.CleanUp();
    }
  }
  Filters(const Filters&) = delete;
  Filters& operator=(const Filters&) = delete;
  ~Filters() { filters.CleanUp(); }

  static constexpr auto kFamily = Wavelet::WaveletFunctionType::kDaubechies;
  Wavelet::WaveletFilters filters;
};

/// The energy of each level over all series, the finest first, and the last trend, which has one element a series.
Json TellWavelets(const Matrix& coefficients) {
  std::vector<double> energies;
  for (int end = coefficients.SizeColumns(); end >= 1; end /= 2) {
    double energy = 0.0;
    for (const Vec& row : coefficients) {
      for (int k = end / 2 + 1; k <= end; ++k) energy += static_cast<double>(row[k]) * static_cast<double>(row[k]);
    }
    energies.push_back(energy);
  }
  return {{"energies", energies}, {"trends", ToList(coefficients.GetColumn(1))}};
}

Work StartWavelets(const Task& task, int) {
  auto bank = std::make_shared<const Filters>(task.Number("taps"));
  return MakeWork(
      [x = task.Load("x"), bank] {
        NCDataVector<double> trends[2];
        const std::unique_ptr<Matrix> coefficients(Wavelet::ForwardTransformObswise(
            &x, bank->filters, Wavelet::DetrendMode::kNone, trends[0], trends[1], nullptr, false));
        return *coefficients;
      },
      TellWavelets);
}

struct Smoothed {
  Matrix values;
  Matrix slopes;
};

Smoothed SmoothAndDerive(const Matrix& x, int window) {
  const Derivate<float> derivator(Derivate<float>::PolynomialOrder::kQuadratic, window);
  Smoothed result;
  derivator.Smooth(x, result.values, true);
  derivator.DoDerivate(x, result.slopes, 1, 1.0f, true);
  return result;
}

Work StartSmoothing(const Task& task, int /*threads*/) {
  return MakeWork([x = task.Load("x"), window = task.Number("window")] { return SmoothAndDerive(x, window); },
                  [](const Smoothed& smoothed) {
                    return Json{{"first_smoothed", ToList(smoothed.values[1])},
                                {"first_slopes", ToList(smoothed.slopes[1])},
                                {"sum_of_squares", {smoothed.values.GetSS(), smoothed.slopes.GetSS()}}};
                  });
}

}  // namespace

Works SignalWorks() {
  return {{"spectrum", StartSpectrum},
          {"autocorrelation", StartAutocorrelation},
          {"wavelets", StartWavelets},
          {"smoothing", StartSmoothing}};
}

}  // namespace side_by_side
