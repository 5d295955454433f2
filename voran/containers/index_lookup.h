#pragma once

#include "voran/containers/integral_vector.h"
#include "voran/export.h"

inline namespace voran {

/// For each element of `wanted`, the first position in `list` that holds the same value, or -1. Linear in both sizes.
VORAN_EXPORT NCIntegralVector<int, -99> GetIndexLookupVector(const NCIntegralVector<unsigned long, 0>& wanted,
                                                             const NCIntegralVector<unsigned long, 0>& list);

}  // namespace voran
