#pragma once

#include <vector>

#include <boost/function.hpp>

#include "voran/containers/containers_fwd.h"
#include "voran/containers/integral_vector.h"
#include "voran/export.h"

inline namespace voran {

namespace NCMatUtilities {

/// A debugging aid: hands the matrix to the callback, if one is set. The callback runs on the calling thread, and may
/// itself set another one.
VORAN_EXPORT void ShowMatrix(const NCDataMatrix<float>& m, const char* title);

/// Replaces the callback of the process; an empty one switches it off. Thread-safe: a ShowMatrix that is under way in
/// another thread finishes with the former callback.
VORAN_EXPORT void SetShowMatrixCallback(boost::function<void(const NCDataMatrix<float>&, const char*)> callback);

VORAN_EXPORT float NCGetQuietNaN();

/// Whether the steps v[i - 1] - v[i] hardly vary: mean / (standard deviation + mean) > 0.99, with the statistics of a
/// vector of floats, for which a step of -99 is missing and the deviation of fewer than two steps is -99. False for an
/// empty vector.
VORAN_EXPORT bool HasVectorConstantSlope(const std::vector<float>& v);

/// The integers of `from`..`to` that are not in `list`, which must be sorted ascending. The caller owns the result.
VORAN_EXPORT NCIntegralVector<int, -99>* ComplementVector(const NCIntegralVector<int, -99>* list, int from, int to);

}  // namespace NCMatUtilities
}  // namespace voran
