#pragma once

#include <limits>
#include <optional>
#include <vector>

#include "tools/voran/limits.h"
#include "voran/containers/data_matrix.h"
#include "voran/platform/progress.h"

namespace tool {

/// Statistics of the present cells of a column, as docs/statistics.md defines them. A NaN stands for a value that
/// cannot be had.
struct ColumnSummary {
  static constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

  int present = 0;
  int missing = 0;
  double mean = kNone;
  double deviation = kNone;
  double minimum = kNone;
  double lowerQuartile = kNone;
  double median = kNone;
  double upperQuartile = kNone;
  double maximum = kNone;
  double skewness = kNone;
  double skewnessTest = kNone;
  double kurtosis = kNone;
  std::optional<Limits> limits;
  double cp = kNone;
  double cpk = kNone;
};

/// Summarises every column of `x`; `limits` has an entry for each. Throws `Failure` (cancelled) if `progress` says so.
std::vector<ColumnSummary> SummariseColumns(const NCDataMatrix<float>& x,
                                            const std::vector<std::optional<Limits>>& limits, NCProgress* progress);

}  // namespace tool
