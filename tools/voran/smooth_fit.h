#pragma once

#include <string>
#include <vector>

#include "tools/voran/component_numbers.h"
#include "tools/voran/series_set.h"

namespace tool {

struct SmoothSettings {
  bool areRows = false;
  int window = 7;  ///< elements, an odd number
  int order = 2;   ///< of the polynomial
  int derivative = 0;
  double step = 1.0;  ///< between elements; plays a part in derivatives alone
  bool withEdges = true;

  /// An odd number of elements that a polynomial can be fitted to.
  int LeastWindow() const { return order == 3 ? 5 : 3; }
};

/// A value of a series, and where.
struct SeriesExtreme {
  double value = kNoValue;
  std::string place;
};

struct SmoothedSeries {
  int gaps = 0;  ///< before
  int left = 0;  ///< gaps that the result has
  SeriesExtreme least;
  SeriesExtreme most;
  double residual = kNoValue;  ///< root mean square of value minus smoothed value, where both are; not for derivatives
};

struct SmoothResult {
  NCDataMatrix<float> x;  ///< series x elements
  std::vector<SmoothedSeries> series;
};

/// Throws `Failure` (wrong use) if the window fits neither the polynomial nor the series.
SmoothResult SmoothSeries(const SeriesSet& series, const SmoothSettings& settings, const std::string& source);

}  // namespace tool
