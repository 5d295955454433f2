#pragma once

#include <cmath>
#include <random>

#include "benchmarks/made_data.h"
#include "voran/containers/data_matrix.h"

struct XY {
  NCDataMatrix<float> x;
  NCDataMatrix<float> y;
};

/// Responses that are mixtures of the variables with 10 % noise.
inline XY MadeXY(int rows, int columns, int responses, double gapShare = 0.0) {
  XY data{MadeMatrix(rows, columns, gapShare), NCDataMatrix<float>(rows, responses, 0.0f)};
  std::mt19937 generator(7);
  std::normal_distribution<float> normal;
  NCDataMatrix<float> b(columns, responses, 0.0f);
  for (int j = 1; j <= columns; ++j) {
    for (int m = 1; m <= responses; ++m) b(j, m, normal(generator) / std::sqrt(static_cast<float>(columns)));
  }
  data.y = data.x * b;
  for (int i = 1; i <= rows; ++i) {
    for (int m = 1; m <= responses; ++m) data.y(i, m, data.y[i][m] + 0.1f * normal(generator));
  }
  return data;
}
