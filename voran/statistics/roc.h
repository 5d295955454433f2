#pragma once

#include "voran/containers/bool_vector.h"
#include "voran/containers/data_vector.h"
#include "voran/export.h"

inline namespace voran {
namespace Sta {

/// The receiver operating characteristic of `values` as a sign of membership: the share of the members, and of the
/// others, that are counted in when the threshold is moved through the distinct values, downwards if `descending`.
///
/// The three results have one element per threshold, after a first point (0, 0) that carries the first threshold.
/// Observations with equal values make one step; missing ones are left out, and NaNs come last. If all are missing,
/// the points are (0, 0) and (1, 1) with missing thresholds. O(n log n).
///
/// Throws NCError if the sizes differ, or, with the results emptied, if there are no members or no others.
VORAN_EXPORT void GetROC(const NCDataVector<float>& values, const BoolVector& members, bool descending,
                         NCDataVector<float>& truePositive, NCDataVector<float>& falsePositive,
                         NCDataVector<float>& thresholds);

/// The area under the line through the points (x, y), by the trapezoid rule: for a curve of GetROC `y` is truePositive
/// and `x` is falsePositive. 0 for fewer than two points. A missing element counts as the number that it is.
VORAN_EXPORT float GetROCAreaUnderCurve(const NCDataVector<float>& y, const NCDataVector<float>& x);

}  // namespace Sta
}  // namespace voran
