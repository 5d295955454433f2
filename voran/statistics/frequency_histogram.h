#pragma once

#include <list>
#include <vector>

#include "voran/containers/data_vector.h"
#include "voran/export.h"

inline namespace voran {

/// Divides values into bins of a rounded width, about as many as the square root of the number of values.
///
/// A value on the edge between two bins belongs to the upper one, the largest value of all to the last bin. Missing
/// values are left out. Without data and free of state: any thread may call it.
class VORAN_EXPORT FrequencyHistogram {
 public:
  struct HistogramInfo {
    NCDataVector<float> Frequencies;  ///< the count of each bin
    NCDataVector<float> BinCenters;
    std::vector<std::list<int>> Members;  ///< 1-based positions of the values in each bin, ascending; bins from 0
  };

  FrequencyHistogram() = default;

  /// The first bin begins at a whole number: of the unit of the values, or where their range is below 1 of the power of
  /// ten that makes it 1 to 10. A vector without values gives one empty bin.
  void CreateHistogram(const NCDataVector<float>& values, HistogramInfo& info) const;

  /// The same bins as columns of dots: value i is drawn at the centre x(i) of its bin and at the height y(i), the
  /// number of values of that bin so far. Missing values have missing places. The axis runs from `minimum` to
  /// `maximum`.
  void CreateDotPlotHistogram(const NCDataVector<float>& values, NCDataVector<float>& x, NCDataVector<float>& y,
                              float& minimum, float& maximum) const;

  /// The same for data[1]..data[size], from which missing values are removed on the way; data[0] is not used. Here the
  /// first bin begins at the smallest value, rounded down to a whole number for ranges above 20 and to a tenth for
  /// ranges above 1. Fewer than three values that differ have a bin of width 1 each, three or more equal ones three
  /// such bins. Without values `counts` is emptied and the rest left alone.
  static void MakeHistogram(double* data, int size, std::vector<double>& counts, std::vector<double>& centres,
                            double& start, double& width);

  /// (high - low) / sqrt(count), rounded down to one digit or to one digit and a half; 1.0 if the two are equal.
  static double binwidth(double low, double high, int count);

  /// The bin of `value` in bins of `width` that begin at `low`: at most `maxIndex`, and negative below `low`. A
  /// negative `maxIndex` asks for the last bin: then a value on an edge belongs to the bin below it. What lies within a
  /// relative 5e-6 of `low` lies on it: where the values are far from zero, this may be many bins.
  static int bindex(double value, double low, double width, int maxIndex);
};

}  // namespace voran
