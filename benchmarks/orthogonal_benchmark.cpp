#include <benchmark/benchmark.h>

#include "benchmarks/made_xy.h"
#include "voran/orthogonal/opls.h"
#include "voran/orthogonal/opls_cross_validation.h"
#include "voran/orthogonal/opls_prediction.h"

namespace {

using Matrix = NCDataMatrix<float>;

constexpr int kMaxIterations = 200;

/// A model of one predictive component for each response; arguments rows, columns, responses, orthogonal components and
/// gaps in per cent.
void FitOpls(benchmark::State& state) {
  const XY data = MadeXY(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)),
                         static_cast<int>(state.range(2)), static_cast<double>(state.range(4)) / 100.0);
  for (auto _ : state) {
    NCOPLS opls(&data.x, &data.y, static_cast<int>(state.range(2)), kMaxIterations);
    for (int n = 0; n <= state.range(3); ++n) opls.NextComponent(nullptr);
    benchmark::DoNotOptimize(opls.GetTprim());
  }
}

BENCHMARK(FitOpls)
    ->ArgNames({"rows", "columns", "responses", "orthogonal", "gaps"})
    ->Args({200, 2000, 1, 5, 0})
    ->Args({200, 2000, 1, 5, 5})
    ->Args({200, 2000, 3, 5, 0})
    ->Args({20000, 1000, 1, 5, 0})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

/// The fit of all observations and, in step with it, the cross-validation; arguments rows, columns, groups, orthogonal
/// components and gaps in per cent.
void CrossValidateOpls(benchmark::State& state) {
  const XY data = MadeXY(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), 1,
                         static_cast<double>(state.range(4)) / 100.0);
  for (auto _ : state) {
    NCOPLS opls(&data.x, &data.y, 1, kMaxIterations);
    opls.NextComponent(nullptr);
    OPLSCrossValidation cv(&data.x, &data.y, 1, static_cast<int>(state.range(2)), nullptr, nullptr);
    for (int n = 1; n <= state.range(3); ++n) {
      opls.NextComponent(nullptr);
      cv.NextComponent(nullptr);
    }
    benchmark::DoNotOptimize(cv.GetQ2TotCum());
  }
}

BENCHMARK(CrossValidateOpls)
    ->ArgNames({"rows", "columns", "groups", "orthogonal", "gaps"})
    ->Args({200, 2000, 7, 5, 0})
    ->Args({200, 2000, 7, 5, 5})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

/// New rows for a model of one response; arguments rows, columns and orthogonal components.
void PredictOpls(benchmark::State& state) {
  const XY data = MadeXY(300, static_cast<int>(state.range(1)), 1);
  const Matrix fresh = MadeMatrix(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), 0.0);
  NCOPLS opls(&data.x, &data.y, 1, kMaxIterations);
  for (int n = 0; n <= state.range(2); ++n) opls.NextComponent(nullptr);
  for (auto _ : state) {
    NCOPLSPred prediction(&fresh, &opls);
    while (prediction.SizeOComps() < prediction.GetMaxComp()) prediction.CalcNextComponent();
    benchmark::DoNotOptimize(prediction.GetYPred());
  }
}

BENCHMARK(PredictOpls)
    ->ArgNames({"rows", "columns", "orthogonal"})
    ->Args({20000, 500, 5})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
