#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "benchmarks/in_turn.h"
#include "voran/orthogonal/o2pls.h"
#include "voran/orthogonal/o2pls_component_estimator.h"
#include "voran/orthogonal/o2pls_cross_validation.h"
#include "voran/platform/threading_control.h"

namespace {

using Matrix = NCDataMatrix<float>;
using NCMultiThreading::ThreadingControl;

constexpr int kJoint = 3;
constexpr int kXAlone = 2;
constexpr int kYAlone = 1;
constexpr int kMaxIterations = 200;

struct Blocks {
  Matrix x;
  Matrix y;
};

/// Three joint components, two of X and one of Y, each 0.8 times the one before, and 30 % noise. The loadings of what a
/// block has alone point into those of the last joint component, which they disturb: it pays to take them out.
Blocks MadeBlocks(int rows, int columnsX, int columnsY) {
  std::mt19937 generator(31);
  std::normal_distribution<float> normal;
  const auto random = [&](int n, float size) {
    NCDataVector<float> v(n);
    for (int i = 1; i <= n; ++i) v(i, size * normal(generator));
    return v;
  };
  Blocks data{Matrix(0, columnsX, 0.0f), Matrix(0, columnsY, 0.0f)};
  for (int i = 1; i <= rows; ++i) {
    data.x.push_back(random(columnsX, 0.3f));
    data.y.push_back(random(columnsY, 0.3f));
  }
  NCDataVector<float> p(columnsX, 0.0f);
  NCDataVector<float> q(columnsY, 0.0f);
  float size = 1.0f;
  for (int a = 0; a < kJoint + kXAlone + kYAlone; ++a, size *= 0.8f) {
    const bool isJoint = a < kJoint;
    const NCDataVector<float> t = random(rows, size);
    const NCDataVector<float> newP = random(columnsX, 1.0f);
    const NCDataVector<float> newQ = random(columnsY, 1.0f);
    if (isJoint) {
      p = newP;
      q = newQ;
    }
    if (a < kJoint + kXAlone) data.x.AddVprimV(t, isJoint ? newP : newP + p * 2.0, 1.0f);
    if (isJoint || a >= kJoint + kXAlone) data.y.AddVprimV(t, isJoint ? newQ : newQ + q * 2.0, 1.0f);
  }
  return data;
}

O2PLSCVResults CrossValidate(const Blocks& data) {
  return O2PLSCrossValidation(&data.x, &data.y, 7, nullptr, nullptr, kMaxIterations, -1, -1, -1).GetResults();
}

void SetThreads(int threads) {
  ThreadingControl::SetNumberOfProcessors(threads);
  ThreadingControl::SetThreadingIsOn(threads > 1);
}

/// A model of given numbers of components: arguments rows and columns of X and Y.
void FitO2pls(benchmark::State& state) {
  const Blocks data =
      MadeBlocks(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), static_cast<int>(state.range(2)));
  NCO2PLS model(data.x, data.y, true, kMaxIterations);
  for (auto _ : state) {
    model.Fit(kJoint, kXAlone, kYAlone);
    benchmark::DoNotOptimize(model.GetT());
  }
}

BENCHMARK(FitO2pls)
    ->ArgNames({"rows", "x", "y"})
    ->Args({100, 500, 40})
    ->Args({100, 1000, 40})
    ->Args({100, 2000, 40})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

/// Cross-validation in seven groups with all numbers of components free.
void CrossValidateO2pls(benchmark::State& state) {
  const Blocks data =
      MadeBlocks(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), static_cast<int>(state.range(2)));
  O2PLSCVResults results;
  for (auto _ : state) results = CrossValidate(data);
  state.counters["joint"] = results.PredComps;
  state.counters["xOrtho"] = results.XOrthoComps;
  state.counters["yOrtho"] = results.YOrthoComps;
}

BENCHMARK(CrossValidateO2pls)
    ->ArgNames({"rows", "x", "y"})
    ->Args({100, 500, 40})
    ->Args({100, 1000, 40})
    ->Args({100, 2000, 40})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

/// What of it one thread does alone: the choice of the predictive components.
void EstimateJoint(benchmark::State& state) {
  const Blocks data =
      MadeBlocks(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), static_cast<int>(state.range(2)));
  for (auto _ : state) {
    const O2PLSPredictiveComponentEstimator estimator(&data.x, &data.y, 7, nullptr, -1);
    benchmark::DoNotOptimize(estimator.GetNumberOfPredictiveComponents());
  }
}

BENCHMARK(EstimateJoint)
    ->ArgNames({"rows", "x", "y"})
    ->Args({100, 500, 40})
    ->Args({100, 1000, 40})
    ->Args({100, 2000, 40})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

/// How much faster the cross-validation is on two threads than on one, run in turn, with the seconds of both.
void ThreadGain(benchmark::State& state) {
  const Blocks data =
      MadeBlocks(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), static_cast<int>(state.range(2)));
  const auto on = [&](int threads) {
    return [&data, threads] {
      SetThreads(threads);
      benchmark::DoNotOptimize(CrossValidate(data).PredComps);
    };
  };
  for (auto _ : state) {
    const std::vector<double> seconds = MediansInTurn(3, {on(1), on(2)});
    state.counters["one"] = seconds[0];
    state.counters["two"] = seconds[1];
    state.counters["gain"] = seconds[0] / seconds[1];
  }
  ThreadingControl::Reset();
}

BENCHMARK(ThreadGain)
    ->ArgNames({"rows", "x", "y"})
    ->Args({100, 500, 40})
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
