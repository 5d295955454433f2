#pragma once

#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

#include "voran/containers/data_matrix.h"

/// A matrix of eight components, each 0.6 times the one before, and 2 % noise; `gapShare` of the elements are missing.
/// A negative share gives a single gap in the middle.
inline NCDataMatrix<float> MadeMatrix(int rows, int columns, double gapShare = 0.0) {
  constexpr int kComponents = 8;
  std::mt19937 generator(101);
  std::normal_distribution<float> normal;
  const auto vectors = [&](int n) {
    std::vector<std::vector<float>> result(kComponents, std::vector<float>(static_cast<std::size_t>(n)));
    for (auto& v : result) {
      for (float& value : v) value = normal(generator);
    }
    return result;
  };
  const auto scores = vectors(rows);
  const auto loadings = vectors(columns);
  NCDataMatrix<float> x(rows, columns, 0.0f);
  for (int i = 1; i <= rows; ++i) {
    float* const row = x(i).GetWritableVector();
    for (int j = 1; j <= columns; ++j) {
      float value = 0.02f * normal(generator);
      float size = 1.0f;
      for (std::size_t a = 0; a < kComponents; ++a, size *= 0.6f) {
        value += size * scores[a][static_cast<std::size_t>(i - 1)] * loadings[a][static_cast<std::size_t>(j - 1)];
      }
      row[j] = value;
    }
  }
  if (gapShare < 0.0) {
    x((rows + 1) / 2, (columns + 1) / 2, -99.0f);
    return x;
  }
  std::uniform_real_distribution<double> uniform;
  for (int i = 1; gapShare > 0.0 && i <= rows; ++i) {
    for (int j = 1; j <= columns; ++j) {
      if (uniform(generator) < gapShare) x(i, j, -99.0f);
    }
  }
  return x;
}
