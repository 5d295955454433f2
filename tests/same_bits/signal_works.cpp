#include <memory>

#include "tests/same_bits/tables.h"
#include "tests/same_bits/works.h"
#include "tests/signal/owned_filters.h"
#include "voran/signal/derivate.h"
#include "voran/signal/fft.h"
#include "voran/signal/wavelet.h"

namespace same_bits {
namespace {

/// From here on a transform has work for several threads, of 2^19 elements with the zeros.
constexpr int kLong = 1 << 18;
constexpr int kLags = 1000;

void Spectrum(Digest& digest, bool hasGaps) {
  const Vector x = Series(300000, hasGaps);
  constexpr int kSegment = 1 << 10;
  Vector result(kSegment / 2 + 1);
  for (const auto window : {FFT::DataWindowMode::kBartlett, FFT::DataWindowMode::kHann, FFT::DataWindowMode::kWelch}) {
    for (const bool overlap : {false, true}) {
      FFT::PowerSpectrum(&x, kSegment, overlap, FFT::DetrendMode::kLinear, FFT::ScalingMode::kDensity, window, &result);
      digest(result);
    }
  }
  const Vector longOne = Series(2 * kLong, hasGaps);
  Vector fine(kLong / 2 + 1);
  FFT::PowerSpectrum(&longOne, kLong, false, FFT::DetrendMode::kMean, FFT::ScalingMode::kSpectrum,
                     FFT::DataWindowMode::kHann, &fine);
  digest(fine);
}

void Correlations(Digest& digest, bool hasGaps) {
  const Vector x = Series(kLong, hasGaps);
  Vector y = Series(kLong + 1, hasGaps);
  y.Resize(kLong, 0.0f);
  Vector own(kLags + 1);
  FFT::AutoCorrelation(&x, FFT::DetrendMode::kLinear, kLags, &own);
  Vector cross(2 * kLags + 1);
  FFT::CrossCorrelation(&x, &y, FFT::DetrendMode::kMean, kLags, &cross);
  digest(own, cross);
}

void WaveletsOfSeries(Digest& digest, bool hasGaps) {
  constexpr auto kMode = Wavelet::DetrendMode::kLinear;
  const Vector x = Series(1000, hasGaps);
  for (int family = 0; family <= static_cast<int>(Wavelet::WaveletFunctionType::kBiorthogonal6); ++family) {
    const auto type = static_cast<Wavelet::WaveletFunctionType>(family);
    const int order = Wavelet::GetNumFunctionOrder(type);
    const Filters forward(Wavelet::GetDecompositionFilter(type, order));
    const Filters backward(Wavelet::GetReconstructionFilter(type, order));
    double trend1 = 0.0;
    double trend2 = 0.0;
    Vector there;
    Vector back;
    Wavelet::ForwardTransform(&x, forward, kMode, trend1, trend2, &there, true);
    Wavelet::BackwardTransform(&there, backward, kMode, trend1, trend2, x.Size(), &back);
    digest(there, trend1, trend2, back);
    const std::unique_ptr<BoolVector> basis(Wavelet::FindBestBasis(&x, forward, kMode));
    Wavelet::ForwardTransformBestBasis(&x, forward, basis.get(), kMode, trend1, trend2, &there);
    Wavelet::BackwardTransformBestBasis(&there, backward, basis.get(), kMode, trend1, trend2, x.Size(), &back);
    digest(*basis, there, back);
  }
}

void WaveletsOfMatrix(Digest& digest, bool hasGaps) {
  constexpr auto kMode = Wavelet::DetrendMode::kMean;
  const Matrix& x = LargeTable(hasGaps).x;
  const Filters filters(Wavelet::GetDecompositionFilter(Wavelet::WaveletFunctionType::kSymmlet, 3));
  NCDataVector<double> trend1;
  NCDataVector<double> trend2;
  Matrix result;
  Wavelet::ForwardTransformObswise(&x, filters, kMode, trend1, trend2, &result, true);
  digest(result, trend1);
  Wavelet::ForwardTransformVarwise(&x, filters, kMode, trend1, trend2, &result, true);
  digest(result, trend1);
  const std::unique_ptr<Vector> energy(Wavelet::CalcWCEnergy(&result));
  const Vector coefficients = result.GetColumn(1);
  const std::unique_ptr<Matrix> image(Wavelet::PowerSpectrum(&coefficients, true, nullptr));
  digest(*energy, *image);
  const std::unique_ptr<BoolVector> basis(Wavelet::FindBestBasisObswise(&x, filters, kMode));
  Wavelet::ForwardTransformBestBasisObswise(&x, filters, basis.get(), kMode, trend1, trend2, &result);
  digest(*basis, result, trend1);
}

void Smoothing(Digest& digest, bool hasGaps) {
  // Every window with gaps has a fit of its own; two threads are left.
  const Matrix x = hasGaps ? MiddleTable(true).x.GetRowSubMatrix(1, 130) : LargeTable(false).x;
  const Derivate<float> cubic(Derivate<float>::PolynomialOrder::kCubic, 11);
  Matrix result;
  cubic.Smooth(x, result, true);
  digest(result);
  cubic.DoDerivate(hasGaps ? x.GetRowSubMatrix(1, 20) : x, result, 1, 0.5f, true);
  digest(result);
  const Derivate<float> quadratic(Derivate<float>::PolynomialOrder::kQuadratic, 7);
  Vector series;
  for (const int order : {1, 2, 3}) {
    quadratic.DoDerivate(Series(5000, hasGaps), series, order, 1.0f, false);
    digest(series);
  }
  float value = 0.0f;
  digest(quadratic.GetOptima(Vector({3, 2, 1, 1.5f, 2, 4, 5}), 1.0f, true, true, value), value);
}

}  // namespace

std::vector<Work> SignalWorks() {
  std::vector<Work> works;
  AddBoth(works, "spectrum", Spectrum);
  AddBoth(works, "correlations", Correlations);
  AddBoth(works, "wavelets_of_series", WaveletsOfSeries);
  AddBoth(works, "wavelets_of_matrix", WaveletsOfMatrix);
  AddBoth(works, "smoothing", Smoothing);
  return works;
}

}  // namespace same_bits
