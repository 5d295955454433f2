#pragma once

#include "voran/containers/integral_vector.h"
#include "voran/export.h"

inline namespace voran {

/// The default division of `size` rows or columns into cross-validation groups 0..groups - 1: entry i is i modulo
/// `groups`, so that a run of neighbours falls into different groups. All 0 if there is no group. The
/// spelling is deliberate: hosts call it so.
VORAN_EXPORT NCIntegralVector<int, -99> GetDeafultCVGroupsVector(int size, int groups);

}  // namespace voran
