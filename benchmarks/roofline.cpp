// Every hot kernel beside the least that its bytes and its operations can take, as a table in Markdown; see README.md.

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <omp.h>

#include "benchmarks/in_turn.h"
#include "benchmarks/machine_bounds.h"
#include "benchmarks/made_series.h"
#include "benchmarks/made_xy.h"
#include "benchmarks/nipals_round.h"
#include "voran/cluster/compute_distances.h"
#include "voran/containers/simd_target.h"
#include "voran/models/pls.h"
#include "voran/models/row_prediction.h"
#include "voran/platform/threading_control.h"
#include "voran/preprocessing/scale.h"
#include "voran/signal/derivate.h"
#include "voran/signal/fft.h"
#include "voran/signal/wavelet.h"

namespace {

using NCMultiThreading::ThreadingControl;
using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;
using Work = std::function<void(int threads)>;

constexpr int kRepeats = 9;

double sink = 0.0;

struct Kernel {
  const char* name;
  const char* cost;  ///< what a cell, or whatever it works on, takes at least
  Work memory;       ///< moves as many bytes; may be empty
  Work arithmetic;   ///< forms as many operations; may be empty
  Work run;
};

Work Reads(const Matrix& x, int times = 1) {
  return [&x, times](int threads) {
    for (int i = 0; i < times; ++i) sink += bounds::ReadOnce(x, threads);
  };
}

Work Updates(Matrix& x) {
  return [&x](int threads) { bounds::UpdateOnce(x, threads); };
}

Work Products(double count, bool weighted = false) {
  return [=](int threads) { sink += bounds::FormProducts(static_cast<long>(count), weighted, threads); };
}

Work FloatProducts(double count) {
  return [count](int threads) { sink += bounds::FormFloatProducts(static_cast<long>(count), threads); };
}

Work InTurn(Work first, Work second) {
  return [first = std::move(first), second = std::move(second)](int threads) {
    first(threads);
    second(threads);
  };
}

double Cells(const Matrix& x) {
  return static_cast<double>(x.SizeRows()) * x.SizeColumns();
}

void Print(const Kernel& kernel, int threads) {
  const auto bound = [&](const Work& work) {
    return [&work, threads] {
      if (work) work(threads);
    };
  };
  const auto seconds =
      MediansInTurn(kRepeats, {bound(kernel.memory), bound(kernel.arithmetic), [&] { kernel.run(threads); }});
  const auto text = [](const Work& work, double time) {
    char digits[32] = "";
    if (work) std::snprintf(digits, sizeof digits, "%.3g", 1e3 * time);
    return std::string(digits);
  };
  std::printf("| %s | %s | %d | %s | %s | %.3g | %.2f |\n", kernel.name, kernel.cost, threads,
              text(kernel.memory, seconds[0]).c_str(), text(kernel.arithmetic, seconds[1]).c_str(), 1e3 * seconds[2],
              seconds[2] / std::max(kernel.memory ? seconds[0] : 0.0, kernel.arithmetic ? seconds[1] : 0.0));
  std::fflush(stdout);
}

void PrintAll(const std::vector<Kernel>& kernels) {
  for (const int threads : {1, 2}) {
    ThreadingControl::SetNumberOfProcessors(threads);
    ThreadingControl::SetThreadingIsOn(threads > 1);
    for (const Kernel& kernel : kernels) Print(kernel, threads);
  }
}

void MeasureRounds() {
  NipalsRound complete(20000, 1000, 0.0);
  NipalsRound gaps(20000, 1000, 0.05);
  const auto run = [](NipalsRound& round) {
    return [&round, prepared = 0](int threads) mutable {
      if (prepared != threads) round.Prepare();
      prepared = threads;
      sink += round.Run();
    };
  };
  const double products = 2.0 * Cells(complete.X());
  PrintAll(
      {{"NIPALS round, 20000 x 1000", "4 bytes, 2 products", Reads(complete.X()), Products(products), run(complete)},
       {"the same, 5 % gaps", "4 bytes, 2 products, 2 sums more", Reads(gaps.X()), Products(products, true),
        run(gaps)}});
}

void MeasurePassesOverMatrices() {
  Matrix x = MadeMatrix(20000, 1000);
  Matrix other = x;
  bounds::UpdateOnce(other, 1);  // elements of its own
  const Vector t(20000, 1e-9f);
  const Vector p(1000, 1.0f);
  NCScale scale(1000);
  for (int j = 1; j <= 1000; ++j) scale.SetType(j, NCScale::kUnitVariance);
  Matrix scaled = other;
  scale.ScaleMatrix(&scaled, true);
  PrintAll({{"deflation, 20000 x 1000", "8 bytes, 1 float product", Updates(other), FloatProducts(Cells(x)),
             [&](int) { x.AddVprimV(t, p, -1.0f); }},
            {"column means", "4 bytes", Reads(x), {}, [&](int) { sink += x.GetColumnMeans()[1]; }},
            {"column standard deviations",
             "8 bytes (two readings)",
             Reads(x, 2),
             {},
             [&](int) { sink += x.GetColumnStdDevs(1.0f)[1]; }},
            {"centring and scaling by a model", "8 bytes, 1 float product", Updates(other), FloatProducts(Cells(x)),
             [&](int) { scale.ScaleMatrix(&scaled, false); }}});
}

void MeasurePrediction() {
  const XY fitted = MadeXY(300, 500, 3);
  const Matrix fresh = MadeMatrix(40000, 500);
  NCPLS pls(&fitted.x, &fitted.y, 200);
  for (int a = 0; a < 10; ++a) {
    pls.NextComponent(nullptr, nullptr, true, true);
    pls.CalculateResiduals();
  }
  const detail::ComponentMatrices model{*pls.GetWprim(), *pls.GetPprim(), *pls.GetCprim()};
  const Matrix coefficients = pls.GetRegressionCoefficients(-1);
  PrintAll(
      {{"prediction of 10 components, 40000 x 500", "4 bytes, 10 products, 10 float products", Reads(fresh),
        InTurn(Products(10.0 * Cells(fresh)), FloatProducts(10.0 * Cells(fresh))),
        [&](int) { detail::PredictRows(fresh, model, 0.5f, nullptr); }},
       {"prediction by coefficients, 3 responses", "4 bytes, 3 products", Reads(fresh), Products(3.0 * Cells(fresh)),
        [&](int) { sink += fresh.MatrixMultiply(coefficients, false, false, false)[1][1]; }}});
}

void MeasureProductsAndDistances() {
  using namespace DendroGram::detail;
  const Matrix a = MadeMatrix(800, 800);
  const Matrix points = MadeMatrix(4000, 20);
  const DistanceRows rows(points);
  PairList pairs(static_cast<std::size_t>(NumberOfPairs(4000)));
  const auto numPairs = static_cast<long>(pairs.size());
  PrintAll({{"product of matrices, 800 x 800",
             "800 products",
             {},
             Products(800.0 * Cells(a)),
             [&](int) { sink += a.MatrixMultiply(a, false, false, false)[1][1]; }},
            {"distances of 4000 rows, 20 columns",
             "60 float operations, a root; 12 bytes written",
             {},
             [=](int threads) { sink += bounds::FormDistances(numPairs, 20, threads); },
             [&](int threads) {
               FillOnThreads(rows, pairs, threads, PairFunction::kSquaredDifference, Finish::kSquareRoot);
             }}});
}

void MeasureSignals() {
  constexpr double kButterflies = 2048.0 * 12.0;  // of a transform of 4096
  constexpr int kTaps = 20;
  constexpr int kWindow = 21;
  const Vector series = MadeSeries(1 << 20, 1);
  const Matrix rows = MadeRows(1000);
  Vector powers(2049);
  Wavelet::WaveletFilters filters = Wavelet::GetDecompositionFilter(Wavelet::WaveletFunctionType::kDaubechies, 6);
  NCDataVector<double> trends[2];
  Matrix transformed;
  const Derivate<float> derivator(Derivate<float>::PolynomialOrder::kQuadratic, kWindow);
  Matrix smooth;
  const double pairs = static_cast<double>(series.Size()) / 4096.0;  // half overlapping, two in a transform
  PrintAll({{"spectrum of 2^20, segments of 4096",
             "a butterfly, 4 products in double",
             {},
             Products(4.0 * kButterflies * pairs),
             [&](int) {
               FFT::PowerSpectrum(&series, 4096, true, FFT::DetrendMode::kNone, FFT::ScalingMode::kDensity,
                                  FFT::DataWindowMode::kHann, &powers);
             }},
            {"wavelets of 1000 x 4096, 20 taps",
             "40 float products and sums",
             {},
             FloatProducts(2.0 * kTaps * Cells(rows)),
             [&](int) {
               Wavelet::ForwardTransformObswise(&rows, filters, Wavelet::DetrendMode::kNone, trends[0], trends[1],
                                                &transformed, false);
             }},
            {"smoothing 1000 x 4096, window 21",
             "21 products, 21 sums",
             {},
             Products(1.5 * kWindow * Cells(rows)),
             [&](int) { derivator.Smooth(rows, smooth, true); }}});
  filters.CleanUp();
}

}  // namespace

int main() {
  omp_set_dynamic(0);
  std::printf("%s, median of %d, milliseconds\n\n", SimdTarget::GetName().c_str(), kRepeats);
  std::printf("| kernel | at least, for each cell | threads | memory | arithmetic | it takes | of the bound |\n");
  std::printf("|---|---|---|---|---|---|---|\n");
  MeasureRounds();
  MeasurePassesOverMatrices();
  MeasurePrediction();
  MeasureProductsAndDistances();
  MeasureSignals();
  return sink == 0.125 ? 1 : 0;
}
