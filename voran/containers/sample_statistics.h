#pragma once

#include "voran/containers/data_vector.h"
#include "voran/containers/missing_value.h"

inline namespace voran {
namespace detail {

// The statistics of a sample, for the elements of a vector and of a matrix column alike. `n` is the number of elements
// present, and a result that cannot be formed is kNoValue.

/// A mean that falls on the marker would read as missing: it is moved aside.
inline double MeanOf(double sum, int n) {
  const double mean = sum / n;
  return mean == kNoValue ? kNoValue + -1e-5 : mean;
}

/// n / ((n - 1)(n - 2)) times the sum of cubed standard scores.
template <typename T>
double SkewnessOf(const NCDataVector<T>& sample, double mean, double stdDev);

/// The skewness over its standard error.
double SkewnessTestOf(double skewness, int n);

/// The unbiased excess kurtosis of a normal sample.
template <typename T>
double KurtosisOf(const NCDataVector<T>& sample, double mean, double stdDev);

}  // namespace detail
}  // namespace voran
