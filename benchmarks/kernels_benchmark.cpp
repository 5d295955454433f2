#include <cstddef>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "voran/containers/kernels/column_sums.h"
#include "voran/containers/kernels/elementwise.h"
#include "voran/containers/kernels/nipals.h"
#include "voran/containers/kernels/reductions.h"
#include "voran/containers/simd_target.h"

namespace {

using detail::ColumnSumKernels;
using detail::ElementwiseKernels;
using detail::NipalsKernels;
using detail::ReductionKernels;

constexpr int kRows = 8;

/// Operands of the kernels: a group of rows, a vector, and room for sums. `n` is the length of a row.
template <typename T>
struct Operands {
  explicit Operands(int length, bool gaps) : n(length) {
    const auto size = static_cast<std::size_t>(length);
    for (auto& row : storage) {
      for (std::size_t j = 0; j < size; ++j) row.push_back(static_cast<T>(1) / static_cast<T>(j + 1));
      if (gaps) row[size / 2] = static_cast<T>(-99);
      rows.push_back(row.data());
    }
    p.assign(size, static_cast<T>(0.5));
    sums.assign(size, 0.0);
    weights.assign(size, 0.0);
  }

  int n;
  std::vector<T> storage[kRows];
  std::vector<const T*> rows;
  std::vector<T> p;
  std::vector<double> sums;
  std::vector<double> weights;
};

/// Runs `kernel(operands)` for the set of instructions and row length of the benchmark's arguments.
template <typename T, typename Kernel>
void Run(benchmark::State& state, const std::string& target, int rows, bool gaps, const Kernel& kernel) {
  const std::string before = SimdTarget::GetName();
  SimdTarget::Set(target);
  Operands<T> operands(static_cast<int>(state.range(0)), gaps);
  for (auto _ : state) kernel(operands);
  state.SetItemsProcessed(state.iterations() * operands.n * rows);
  SimdTarget::Set(before);
}

template <typename T>
void Register(const std::string& target, const std::string& type) {
  const auto add = [&](const std::string& name, int rows, bool gaps, auto kernel) {
    benchmark::RegisterBenchmark((name + "/" + type + "/" + target).c_str(),
                                 [=](benchmark::State& state) { Run<T>(state, target, rows, gaps, kernel); })
        ->Arg(50)
        ->Arg(1000)
        ->Arg(20000);
  };
  add("rowProducts", kRows, false, [](Operands<T>& o) {
    double products[kRows];
    NipalsKernels<T>::Current().rowProducts(o.rows.data(), kRows, o.p.data(), o.n, {}, products);
    benchmark::DoNotOptimize(products);
  });
  add("rowProductsWithGaps", kRows, true, [](Operands<T>& o) {
    double products[kRows];
    double squares[kRows];
    NipalsKernels<T>::Current().rowProductsWithGaps(o.rows.data(), kRows, o.p.data(), false, o.n, {}, products,
                                                    squares);
    benchmark::DoNotOptimize(products);
  });
  add("addRows", kRows, false, [](Operands<T>& o) {
    NipalsKernels<T>::Current().addRows(o.rows.data(), o.p.data(), kRows, 0, o.n, {}, false, o.sums.data());
    benchmark::ClobberMemory();
  });
  add("addRowsWithGaps", kRows, true, [](Operands<T>& o) {
    NipalsKernels<T>::Current().addRowsWithGaps(o.rows.data(), o.p.data(), o.p.data(), kRows, 0, o.n, {}, o.sums.data(),
                                                o.weights.data());
    benchmark::ClobberMemory();
  });
  for (const bool gaps : {false, true}) {
    const std::string suffix = gaps ? "WithGaps" : "";
    add("addElements" + suffix, kRows, gaps, [gaps](Operands<T>& o) {
      ColumnSumKernels<T>::Current().addElements(o.rows.data(), kRows, o.n, gaps, o.sums.data());
      benchmark::ClobberMemory();
    });
    add("addSquaresAbout" + suffix, kRows, gaps, [gaps](Operands<T>& o) {
      ColumnSumKernels<T>::Current().addSquaresAbout(o.rows.data(), kRows, o.n, gaps, o.weights.data(), o.sums.data());
      benchmark::ClobberMemory();
    });
  }
  add("addScaled", 1, false, [](Operands<T>& o) {
    NipalsKernels<T>::Current().addScaled(o.p.data(), static_cast<T>(1e-6), o.rows[0], o.n, false);
    benchmark::ClobberMemory();
  });
  add("sum", 1, true,
      [](Operands<T>& o) { benchmark::DoNotOptimize(ReductionKernels<T>::Current().sum(o.rows[0], o.n, true)); });
  add("sumOfSquares", 1, false, [](Operands<T>& o) {
    benchmark::DoNotOptimize(ReductionKernels<T>::Current().sumOfSquares(o.p.data(), o.n, false));
  });
  add("pairSums", 1, true, [](Operands<T>& o) {
    benchmark::DoNotOptimize(
        ReductionKernels<T>::Current().pairSums(o.rows[0], o.p.data(), o.n, detail::kFirstHasGaps));
  });
  add("dotProduct", 1, false, [](Operands<T>& o) {
    benchmark::DoNotOptimize(ReductionKernels<T>::Current().dotProduct(o.rows[0], o.p.data(), o.n, detail::kNoGaps));
  });
  add("distanceSums", 1, false, [](Operands<T>& o) {
    benchmark::DoNotOptimize(ReductionKernels<T>::Current().distanceSums(o.rows[0], o.p.data(), o.n, detail::kNoGaps));
  });
  add("add", 1, false, [](Operands<T>& o) {
    ElementwiseKernels<T>::Current().add(o.rows[0], o.rows[1], o.p.data(), o.n, detail::kNoGaps);
    benchmark::ClobberMemory();
  });
  add("scale", 1, true, [](Operands<T>& o) {
    ElementwiseKernels<T>::Current().scale(o.rows[0], 1.5, o.p.data(), o.n, true);
    benchmark::ClobberMemory();
  });
}

}  // namespace

int main(int argc, char** argv) {
  for (const std::string& target : SimdTarget::GetAvailable()) {
    Register<float>(target, "float");
    Register<double>(target, "double");
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
