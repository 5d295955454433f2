// Spectra, correlations, wavelets and smoothing of long and of many series. One line for each work and thread count;
// see README.md.

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

#include <omp.h>

#include "benchmarks/in_turn.h"
#include "benchmarks/made_series.h"
#include "voran/containers/simd_target.h"
#include "voran/platform/threading_control.h"
#include "voran/signal/derivate.h"
#include "voran/signal/fft.h"
#include "voran/signal/wavelet.h"

namespace {

using NCMultiThreading::ThreadingControl;
using Vec = NCDataVector<float>;
using Mat = NCDataMatrix<float>;

constexpr int kRepeats = 7;

void Spectrum(const Vec& x) {
  Vec powers(2049);
  FFT::PowerSpectrum(&x, 4096, true, FFT::DetrendMode::kNone, FFT::ScalingMode::kDensity, FFT::DataWindowMode::kHann,
                     &powers);
}

void Autocorrelation(const Vec& x) {
  Vec lags(1001);
  FFT::AutoCorrelation(&x, FFT::DetrendMode::kMean, 1000, &lags);
}

void Wavelets(const Mat& x, int order) {
  Wavelet::WaveletFilters filters = Wavelet::GetDecompositionFilter(Wavelet::WaveletFunctionType::kDaubechies, order);
  NCDataVector<double> trends[2];
  delete Wavelet::ForwardTransformObswise(&x, filters, Wavelet::DetrendMode::kNone, trends[0], trends[1], nullptr,
                                          false);
  filters.CleanUp();
}

void SmoothAndDerive(const Mat& x) {
  const Derivate<float> derivator(Derivate<float>::PolynomialOrder::kQuadratic, 21);
  Mat smooth;
  Mat slopes;
  derivator.Smooth(x, smooth, true);
  derivator.DoDerivate(x, slopes, 1, 1.0f, true);
}

}  // namespace

int main() {
  const Vec longest = MadeSeries(1 << 22, 1);
  const Vec longSeries = MadeSeries(1 << 20, 2);
  const Mat thousand = MadeRows(1000);
  const Mat twoThousand = MadeRows(2000);
  std::printf("%s, median of %d, milliseconds\n", SimdTarget::GetName().c_str(), kRepeats);
  std::printf("threads  spectrum  autocorrelation  wavelet, taps 4      12      20  smooth and derive\n");
  omp_set_dynamic(0);
  for (const int threads : {1, 2}) {
    ThreadingControl::SetNumberOfProcessors(threads);
    ThreadingControl::SetThreadingIsOn(true);
    const auto seconds =
        MediansInTurn(kRepeats, {[&] { Spectrum(longest); }, [&] { Autocorrelation(longSeries); },
                                 [&] { Wavelets(thousand, 1); }, [&] { Wavelets(thousand, 5); },
                                 [&] { Wavelets(thousand, 6); }, [&] { SmoothAndDerive(twoThousand); }});
    std::printf("%7d %9.1f %16.1f %16.1f %7.1f %7.1f %18.1f\n", threads, 1e3 * seconds[0], 1e3 * seconds[1],
                1e3 * seconds[2], 1e3 * seconds[3], 1e3 * seconds[4], 1e3 * seconds[5]);
  }
  return 0;
}
