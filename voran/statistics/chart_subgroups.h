#pragma once

#include "voran/containers/data_vector.h"

inline namespace voran {
namespace detail {

// One element per complete run of `size` values, missing where there is none.

/// Means of the present values.
NCDataVector<float> SubgroupMeans(const NCDataVector<float>& values, int size);

/// The largest value less the smallest, of the values after the last gap that is a new low or a new high (as the number
/// that marks it nearly always is); missing if such a gap ends the run.
NCDataVector<float> SubgroupRanges(const NCDataVector<float>& values, int size);

/// Standard deviations of the present values; missing for fewer than two.
NCDataVector<float> SubgroupStdDevs(const NCDataVector<float>& values, int size);

}  // namespace detail
}  // namespace voran
