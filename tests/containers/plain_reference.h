#pragma once

#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

/// The numeric definitions of the containers once more, as plain loops over plain arrays: what the tests compare with.
namespace plain {

template <typename T>
inline constexpr T kGap = static_cast<T>(-99);

template <typename T>
bool Present(T x) {
  return x != kGap<T>;
}

/// A product of two elements as every double sum takes it: rounded to the element type.
template <typename T>
double Rounded(T a, T b) {
  volatile T product = a * b;
  return static_cast<double>(product);
}

/// Adds in the documented order: element i to accumulator i mod 16, the 16 as a tree of halves.
template <typename A>
class Accumulators {
 public:
  void Add(std::size_t i, A value) { lanes_[i % 16] += value; }
  A Sum() const {
    A lanes[16];
    for (std::size_t i = 0; i < 16; ++i) lanes[i] = lanes_[i];
    for (std::size_t half = 8; half > 0; half /= 2) {
      for (std::size_t i = 0; i < half; ++i) lanes[i] += lanes[i + half];
    }
    return lanes[0];
  }

 private:
  A lanes_[16] = {};
};

/// Regression sums of b on a over pairs present.
struct Sums {
  double product = 0.0;
  double pairedSquares = 0.0;
  double allSquares = 0.0;
  int pairs = 0;
};

template <typename T>
Sums PairSums(const T* a, const T* b, std::size_t n) {
  Accumulators<double> product;
  Accumulators<double> paired;
  Accumulators<double> all;
  Sums sums;
  for (std::size_t i = 0; i < n; ++i) {
    if (!Present(a[i])) continue;
    all.Add(i, Rounded(a[i], a[i]));
    if (!Present(b[i])) continue;
    product.Add(i, Rounded(a[i], b[i]));
    paired.Add(i, Rounded(a[i], a[i]));
    ++sums.pairs;
  }
  sums.product = product.Sum();
  sums.pairedSquares = paired.Sum();
  sums.allSquares = all.Sum();
  return sums;
}

/// Random elements of about unit size, `gapShare` of them missing.
template <typename T>
std::vector<T> RandomElements(std::size_t n, unsigned seed, double gapShare = 0.0) {
  std::mt19937 generator(seed);
  std::normal_distribution<double> normal;
  std::uniform_real_distribution<double> uniform;
  std::vector<T> values(n);
  for (T& value : values) {
    value = static_cast<T>(normal(generator));
    if (uniform(generator) < gapShare) value = kGap<T>;
  }
  return values;
}

/// Multiples of 1/64 below 8 in magnitude: every product is exact, and so is every short sum in any order.
template <typename T>
std::vector<T> GridElements(std::size_t n, unsigned seed, double gapShare = 0.0) {
  std::mt19937 generator(seed);
  std::uniform_int_distribution<int> steps(-511, 511);
  std::uniform_real_distribution<double> uniform;
  std::vector<T> values(n);
  for (T& value : values) {
    value = static_cast<T>(steps(generator)) / static_cast<T>(64);
    if (uniform(generator) < gapShare) value = kGap<T>;
  }
  return values;
}

}  // namespace plain
