#pragma once

#include "voran/containers/data_vector.h"
#include "voran/export.h"

inline namespace voran {
namespace detail {

/// Bins of equal width over values times `scale`.
struct HistogramBins {
  double low = 0.0;  ///< where the first begins
  double width = 1.0;
  double scale = 1.0;
  int count = 1;
  double high = 0.0;  ///< the largest value times `scale`

  /// The bin, counted from 0, of a value that is not scaled.
  int IndexOf(double value) const;
};

/// The bins of FrequencyHistogram::CreateHistogram.
VORAN_EXPORT HistogramBins HistogramBinsOf(const NCDataVector<float>& values);

}  // namespace detail
}  // namespace voran
