#include <benchmark/benchmark.h>

#include "benchmarks/made_data.h"
#include "benchmarks/made_xy.h"
#include "voran/models/pls.h"
#include "voran/models/pls_cross_validation.h"
#include "voran/models/pls_prediction.h"
#include "voran/models/row_prediction.h"

namespace {

using Matrix = NCDataMatrix<float>;

int Fit(NCPLS& pls, int components) {
  int rounds = 0;
  for (int a = 0; a < components; ++a) {
    pls.NextComponent(nullptr, nullptr, false, true);
    pls.CalculateResiduals();
    rounds += pls.GetIterations();
  }
  return rounds;
}

/// A whole fit: arguments rows, columns, responses, components and gaps in per cent.
void FitPls(benchmark::State& state) {
  const XY data = MadeXY(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)),
                         static_cast<int>(state.range(2)), static_cast<double>(state.range(4)) / 100.0);
  int rounds = 0;
  for (auto _ : state) {
    NCPLS pls(&data.x, &data.y, 200);
    rounds = Fit(pls, static_cast<int>(state.range(3)));
    benchmark::DoNotOptimize(pls.GetTprim());
  }
  state.counters["rounds"] = rounds;
}

BENCHMARK(FitPls)
    ->ArgNames({"rows", "columns", "responses", "components", "gaps"})
    ->Args({20000, 1000, 3, 5, 0})
    ->Args({20000, 1000, 3, 5, 5})
    ->Args({200, 700, 1, 10, 0})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

/// A fit and the cross-validation of each component, of one response: arguments rows, columns, groups, components.
void CrossValidatePls(benchmark::State& state) {
  const XY data = MadeXY(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), 1);
  for (auto _ : state) {
    NCPLS pls(&data.x, &data.y, 200);
    PLSCrossValidation cv(&pls, static_cast<int>(state.range(2)), nullptr);
    for (int a = 0; a < state.range(3); ++a) {
      pls.NextComponent(nullptr, nullptr, true, true);
      cv.NextComponent(&pls.GetWprim()->back(), 200, {1.0f}, nullptr, true);
      pls.CalculateResiduals();
    }
    benchmark::DoNotOptimize(cv.GetQ2TotCum());
  }
}

BENCHMARK(CrossValidatePls)
    ->ArgNames({"rows", "columns", "groups", "components"})
    ->Args({200, 2000, 7, 10})
    ->Args({200, 700, 200, 10})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

/// A model of three responses and new rows for it: arguments rows, columns, components, gaps in per cent.
struct Prediction {
  explicit Prediction(const benchmark::State& state)
      : fitted(MadeXY(300, static_cast<int>(state.range(1)), 3)),
        fresh(MadeMatrix(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)),
                         static_cast<double>(state.range(3)) / 100.0)),
        pls(&fitted.x, &fitted.y, 200) {
    Fit(pls, static_cast<int>(state.range(2)));
  }

  XY fitted;
  Matrix fresh;
  NCPLS pls;
};

/// One object for the whole, which deflates a copy of the data component by component.
void PredictByComponents(benchmark::State& state) {
  const Prediction given(state);
  for (auto _ : state) {
    NCPLSPred prediction(&given.fresh, given.pls.GetWprim(), given.pls.GetPprim(), given.pls.GetCprim(), 0.5f);
    while (prediction.GetCompComputed() < prediction.GetMaxComp()) prediction.CalcNextComponent();
    benchmark::DoNotOptimize(prediction.GetYPred());
  }
}

/// Scores of all components, Y and the residual sum of squares of every row.
void PredictAllByRows(benchmark::State& state) {
  const Prediction given(state);
  const detail::ComponentMatrices model{*given.pls.GetWprim(), *given.pls.GetPprim(), *given.pls.GetCprim()};
  for (auto _ : state) benchmark::DoNotOptimize(detail::PredictRows(given.fresh, model, 0.5f, nullptr));
}

/// Y alone, of rows without gaps.
void PredictYByCoefficients(benchmark::State& state) {
  Prediction given(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(given.fresh.MatrixMultiply(given.pls.GetRegressionCoefficients(-1), false, false, false));
  }
}

void PredictionArgs(benchmark::internal::Benchmark* b) {
  b->ArgNames({"rows", "columns", "components", "gaps"})
      ->Args({200000, 500, 10, 0})
      ->UseRealTime()
      ->Unit(benchmark::kMillisecond);
}

BENCHMARK(PredictByComponents)->Apply(PredictionArgs);
BENCHMARK(PredictAllByRows)->Apply(PredictionArgs)->Args({200000, 500, 10, 5});
BENCHMARK(PredictYByCoefficients)->Apply(PredictionArgs);

}  // namespace

BENCHMARK_MAIN();
