#pragma once

#include <random>
#include <vector>

#include "tests/containers/container_values.h"

// Series for the tests of signal tools.

/// Reproducible values between -1 and 1.
inline std::vector<float> RandomSeries(int n, unsigned seed = 1) {
  std::mt19937 generator(seed);
  std::vector<float> series(static_cast<std::size_t>(n));
  for (float& value : series) value = static_cast<float>(generator() % 20001) / 10000.0f - 1.0f;
  return series;
}

/// The series with every `period`-th element missing, from `first` on (0-based).
inline NCDataVector<float> WithGaps(std::vector<float> series, std::size_t first, std::size_t period) {
  for (std::size_t i = first; i < series.size(); i += period) series[i] = plain::kGap<float>;
  return Vector(series);
}
