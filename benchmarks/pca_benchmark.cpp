#include <benchmark/benchmark.h>

#include "benchmarks/made_data.h"
#include "voran/models/pca.h"

namespace {

/// A whole fit: arguments rows, columns, components and gaps in per cent.
void FitPca(benchmark::State& state) {
  const NCDataMatrix<float> x = MadeMatrix(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)),
                                           static_cast<double>(state.range(3)) / 100.0);
  int rounds = 0;
  for (auto _ : state) {
    NCPCA pca(&x, 500);
    rounds = 0;
    for (int a = 0; a < state.range(2); ++a) {
      pca.NextComponent(nullptr, nullptr, 0, nullptr);
      pca.CalculateResiduals();
      rounds += pca.GetIterations();
    }
    benchmark::DoNotOptimize(pca.GetTprim());
  }
  state.counters["rounds"] = rounds;
}

BENCHMARK(FitPca)
    ->ArgNames({"rows", "columns", "components", "gaps"})
    ->Args({100, 50, 5, 0})
    ->Args({100, 50, 5, 5})
    ->Args({20000, 1000, 5, 0})
    ->Args({500, 20000, 5, 0})
    ->Args({5000, 500, 5, 0})
    ->Args({5000, 500, 5, 5})
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

/// Copying a matrix copies no element: the time does not depend on the size.
void CopyMatrix(benchmark::State& state) {
  const NCDataMatrix<float> x(static_cast<int>(state.range(0)), static_cast<int>(state.range(0)), 1.0f);
  for (auto _ : state) {
    NCDataMatrix<float> copy = x;
    benchmark::DoNotOptimize(copy);
  }
}

BENCHMARK(CopyMatrix)->Arg(10)->Arg(100)->Arg(3000);

}  // namespace

BENCHMARK_MAIN();
