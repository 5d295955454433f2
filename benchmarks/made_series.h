#pragma once

#include <cmath>
#include <random>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"

/// Two waves in noise.
inline NCDataVector<float> MadeSeries(int n, unsigned seed) {
  std::mt19937 generator(seed);
  std::normal_distribution<float> noise;
  NCDataVector<float> x(n);
  for (int i = 1; i <= n; ++i) {
    const double t = i;
    x(i, static_cast<float>(std::sin(0.0625 * t) + 0.5 * std::cos(0.331 * t)) + 0.3f * noise(generator));
  }
  return x;
}

/// Series of 4096 elements as rows.
inline NCDataMatrix<float> MadeRows(int rows) {
  NCDataMatrix<float> x;
  for (int i = 0; i < rows; ++i) x.push_back(MadeSeries(4096, static_cast<unsigned>(i)));
  return x;
}
