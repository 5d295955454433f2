#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "tools/voran/table.h"
#include "voran/platform/progress.h"

namespace tool {

struct HistogramBin {
  double lower;
  double upper;
  double centre;
  std::vector<std::size_t> rows;  ///< those in it, counted from 0, ascending
};

/// The distribution of one variable.
struct ColumnHistogram {
  std::string name;
  int present = 0;
  int missing = 0;
  double minimum = std::numeric_limits<double>::quiet_NaN();
  double maximum = std::numeric_limits<double>::quiet_NaN();
  double width = std::numeric_limits<double>::quiet_NaN();  ///< of a bin
  std::vector<HistogramBin> bins;                           ///< none without a present value

  /// How many rows are in the fullest bin.
  std::size_t Highest() const;
};

/// Divides the values of every variable into bins. Throws `Failure`: bad data if no variable has a value, cancelled if
/// `progress`, which may be null, says so.
std::vector<ColumnHistogram> MakeHistograms(const Table& table, NCProgress* progress);

}  // namespace tool
