#include "benchmarks/machine_bounds.h"

#include <vector>

#include <omp.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "benchmarks/machine_bounds.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace bounds {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

double SumOfRow(const float* row, int n) {
  const hn::ScalableTag<float> d;
  const std::size_t lanes = hn::Lanes(d);
  auto a = hn::Zero(d);
  auto b = hn::Zero(d);
  auto c = hn::Zero(d);
  auto e = hn::Zero(d);
  std::size_t i = 0;
  for (; i + 4 * lanes <= static_cast<std::size_t>(n); i += 4 * lanes) {
    a = hn::Add(a, hn::LoadU(d, row + i));
    b = hn::Add(b, hn::LoadU(d, row + i + lanes));
    c = hn::Add(c, hn::LoadU(d, row + i + 2 * lanes));
    e = hn::Add(e, hn::LoadU(d, row + i + 3 * lanes));
  }
  return static_cast<double>(hn::GetLane(hn::SumOfLanes(d, hn::Add(hn::Add(a, b), hn::Add(c, e)))));
}

void UpdateRow(float* row, int n) {
  const hn::ScalableTag<float> d;
  const std::size_t lanes = hn::Lanes(d);
  const auto factor = hn::Set(d, -1.0f);
  for (std::size_t i = 0; i + lanes <= static_cast<std::size_t>(n); i += lanes) {
    hn::StoreU(hn::Mul(hn::LoadU(d, row + i), factor), d, row + i);
  }
}

/// 1024 floats against eight factors, `repeats` times.
double FloatProductsInCache(const float* storage, int repeats) {
  const hn::CappedTag<float, 16> d;
  const std::size_t lanes = hn::Lanes(d);
  auto total = hn::Zero(d);
  for (int repeat = 0; repeat < repeats; ++repeat) {
    auto s0 = total;
    auto s1 = total;
    auto s2 = total;
    auto s3 = total;
    auto s4 = total;
    auto s5 = total;
    auto s6 = total;
    auto s7 = total;
    const auto f = hn::Set(d, 1e-3f * static_cast<float>(repeat % 16));
    for (std::size_t j = 0; j < 1024; j += lanes) {
      const auto x = hn::LoadU(d, storage + j);
      const auto y = hn::LoadU(d, storage + 1024 + j);
      s0 = hn::Add(s0, hn::Mul(x, f));
      s1 = hn::Add(s1, hn::Mul(y, f));
      s2 = hn::Add(s2, hn::Mul(x, y));
      s3 = hn::Add(s3, hn::Mul(x, x));
      s4 = hn::Add(s4, hn::Mul(y, y));
      s5 = hn::Sub(s5, hn::Mul(x, f));
      s6 = hn::Sub(s6, hn::Mul(y, f));
      s7 = hn::Sub(s7, hn::Mul(x, y));
    }
    auto sum = total;
    for (const auto& s : {s0, s1, s2, s3, s4, s5, s6, s7}) sum = hn::Add(sum, s);
    total = hn::Mul(sum, hn::Set(d, 1e-30f));
  }
  return static_cast<double>(hn::GetLane(hn::SumOfLanes(d, total)));
}

/// Four rows of 1024 floats against one vector, `repeats` times: as row products, then as shares of column sums. With
/// `weighted`, another double is added for each product.
template <bool Weighted>
HWY_INLINE double FormProductsInCache(float* storage, double* sums, int repeats) {
  constexpr std::size_t kLength = 1024;
  constexpr std::size_t kVectors = 4;
  const hn::CappedTag<double, 8> wide;
  const hn::Rebind<float, decltype(wide)> narrow;
  const std::size_t lanes = hn::Lanes(wide);
  const float* const p = storage;
  const float* const rows[4] = {storage + kLength, storage + 2 * kLength, storage + 3 * kLength, storage + 4 * kLength};
  double total = 0.0;
  for (int repeat = 0; repeat < repeats; ++repeat) {
    for (int pair = 0; pair < 4; pair += 2) {
      hn::Vec<decltype(wide)> products[2][kVectors];
      hn::Vec<decltype(wide)> weights[2][kVectors];
      for (std::size_t v = 0; v < kVectors; ++v) {
        for (std::size_t r = 0; r < 2; ++r) {
          products[r][v] = hn::Zero(wide);
          weights[r][v] = hn::Set(wide, static_cast<double>(r));  // else both rows would have the same
        }
      }
      for (std::size_t j = 0; j < kLength; j += kVectors * lanes) {
        for (std::size_t v = 0; v < kVectors; ++v) {
          const auto vp = hn::LoadU(narrow, p + j + v * lanes);
          const auto square = hn::PromoteTo(wide, hn::Mul(vp, vp));
          for (std::size_t r = 0; r < 2; ++r) {
            const auto x = hn::LoadU(narrow, rows[static_cast<std::size_t>(pair) + r] + j + v * lanes);
            products[r][v] = hn::Add(products[r][v], hn::PromoteTo(wide, hn::Mul(x, vp)));
            if (Weighted) weights[r][v] = hn::Add(weights[r][v], square);
          }
        }
      }
      auto sum = hn::Zero(wide);
      for (std::size_t v = 0; v < kVectors; ++v) {
        for (std::size_t r = 0; r < 2; ++r) sum = hn::Add(sum, hn::Add(products[r][v], weights[r][v]));
      }
      total += hn::GetLane(hn::SumOfLanes(wide, sum));
    }
    const auto factor = hn::Set(narrow, static_cast<float>(repeat));
    const auto weight = hn::PromoteTo(wide, factor);
    for (std::size_t j = 0; j < kLength; j += lanes) {
      auto sum = hn::LoadU(wide, sums + j);
      auto weightSum = hn::LoadU(wide, sums + kLength + j);
      for (const float* const row : rows) {
        sum = hn::Add(sum, hn::PromoteTo(wide, hn::Mul(hn::LoadU(narrow, row + j), factor)));
        if (Weighted) weightSum = hn::Add(weightSum, weight);
      }
      hn::StoreU(sum, wide, sums + j);
      if (Weighted) hn::StoreU(weightSum, wide, sums + kLength + j);
    }
  }
  return total + sums[0] + sums[kLength];
}

double ProductsInCache(float* storage, double* sums, int repeats) {
  return FormProductsInCache<false>(storage, sums, repeats);
}

double WeightedProductsInCache(float* storage, double* sums, int repeats) {
  return FormProductsInCache<true>(storage, sums, repeats);
}

/// Four elements against 32 lanes of so many columns, at most 64, `repeats` times.
double DistancesInCache(const float* storage, std::size_t columns, long repeats) {
  const hn::CappedTag<float, 16> d;
  const std::size_t lanes = hn::Lanes(d);
  auto total = hn::Zero(d);
  for (long repeat = 0; repeat < repeats; ++repeat) {
    for (std::size_t j = 0; j < 32; j += 2 * lanes) {
      auto a0 = total;
      auto a1 = total;
      auto a2 = total;
      auto a3 = total;
      auto b0 = total;
      auto b1 = total;
      auto b2 = total;
      auto b3 = total;
      for (std::size_t k = 0; k < columns; ++k) {
        const auto a = hn::LoadU(d, storage + 32 * k + j);
        const auto b = hn::LoadU(d, storage + 32 * k + j + lanes);
        const auto add = [&](auto& sum, auto x, std::size_t row) HWY_ATTR {
          const auto difference = hn::Sub(x, hn::Set(d, storage[row * columns + k]));
          sum = hn::Add(sum, hn::Mul(difference, difference));
        };
        add(a0, a, 0);
        add(a1, a, 1);
        add(a2, a, 2);
        add(a3, a, 3);
        add(b0, b, 0);
        add(b1, b, 1);
        add(b2, b, 2);
        add(b3, b, 3);
      }
      auto sum = total;
      for (const auto& x : {a0, a1, a2, a3, b0, b1, b2, b3}) sum = hn::Add(sum, hn::Sqrt(x));
      total = hn::Mul(sum, hn::Set(d, 1e-30f));
    }
  }
  return static_cast<double>(hn::GetLane(hn::SumOfLanes(d, total)));
}

}  // namespace HWY_NAMESPACE
}  // namespace bounds
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace bounds {

HWY_EXPORT(SumOfRow);
HWY_EXPORT(UpdateRow);
HWY_EXPORT(FloatProductsInCache);
HWY_EXPORT(ProductsInCache);
HWY_EXPORT(WeightedProductsInCache);
HWY_EXPORT(DistancesInCache);

double ReadOnce(const NCDataMatrix<float>& x, int threads) {
  std::vector<double> sums(static_cast<std::size_t>(threads) * 16);
  const int rows = x.SizeRows();
#pragma omp parallel for schedule(static) num_threads(threads)
  for (int i = 1; i <= rows; ++i) {
    sums[static_cast<std::size_t>(omp_get_thread_num()) * 16] +=
        HWY_DYNAMIC_DISPATCH(SumOfRow)(x[i].begin(), x.SizeColumns());
  }
  double total = 0.0;
  for (const double sum : sums) total += sum;
  return total;
}

void UpdateOnce(NCDataMatrix<float>& x, int threads) {
  std::vector<float*> rows;
  for (int i = 1; i <= x.SizeRows(); ++i) rows.push_back(x(i).GetWritableVector() + 1);
  const int columns = x.SizeColumns();
#pragma omp parallel for schedule(static) num_threads(threads)
  for (int i = 1; i <= x.SizeRows(); ++i) {
    HWY_DYNAMIC_DISPATCH(UpdateRow)(rows[static_cast<std::size_t>(i) - 1], columns);
  }
}

/// The sum over the threads of `work`, which each of them does once.
template <typename Work>
double SumOverThreads(int threads, const Work& work) {
  std::vector<double> totals(static_cast<std::size_t>(threads) * 16);
#pragma omp parallel num_threads(threads)
  totals[static_cast<std::size_t>(omp_get_thread_num()) * 16] = work();
  double total = 0.0;
  for (const double sum : totals) total += sum;
  return total;
}

double FormFloatProducts(long products, int threads) {
  constexpr long kProductsPerRepeat = 8 * 1024;
  const int repeats = static_cast<int>(products / kProductsPerRepeat / threads);
  return SumOverThreads(threads, [=] {
    alignas(64) static thread_local float storage[2 * 1024];
    for (std::size_t i = 0; i < 2 * 1024; ++i) storage[i] = 1.0f / static_cast<float>(i + 1);
    return HWY_DYNAMIC_DISPATCH(FloatProductsInCache)(storage, repeats);
  });
}

double FormProducts(long cells, bool weighted, int threads) {
  constexpr long kCellsPerRepeat = 2 * 4 * 1024;
  const int repeats = static_cast<int>(cells / kCellsPerRepeat / threads);
  return SumOverThreads(threads, [=] {
    alignas(64) static thread_local float storage[5 * 1024];
    alignas(64) static thread_local double sums[2 * 1024];
    for (std::size_t i = 0; i < 5 * 1024; ++i) storage[i] = 1.0f / static_cast<float>(i + 1);
    return weighted ? HWY_DYNAMIC_DISPATCH(WeightedProductsInCache)(storage, sums, repeats)
                    : HWY_DYNAMIC_DISPATCH(ProductsInCache)(storage, sums, repeats);
  });
}

double FormDistances(long pairs, int columns, int threads) {
  constexpr long kPairsPerRepeat = 4 * 32;
  const long repeats = pairs / kPairsPerRepeat / threads;
  return SumOverThreads(threads, [=] {
    alignas(64) static thread_local float storage[64 * 32 + 16];
    for (std::size_t i = 0; i < 64 * 32 + 16; ++i) storage[i] = 1.0f / static_cast<float>(i + 1);
    return HWY_DYNAMIC_DISPATCH(DistancesInCache)(storage, static_cast<std::size_t>(columns), repeats);
  });
}

}  // namespace bounds

#endif  // HWY_ONCE
