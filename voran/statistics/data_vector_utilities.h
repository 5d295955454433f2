#pragma once

#include "voran/containers/data_vector.h"
#include "voran/export.h"
#include "voran/platform/extrapolate.h"

inline namespace voran {

/// Straight lines between points. Abscissas within the relative tolerance 2^-23 of each other count as equal. Free of
/// state: any thread may call them.
namespace NCDataVectorUtilities {

/// The curves `y1` at x1 and `y2` at x2, element by element interpolated at `x`; x1 may be above x2. Where x1 equals x2
/// the result is y1.
///
/// A missing `x` gives missing elements. Where y1, y2, x1 or x2 is missing, the result is the present one of y1 and y2
/// whose abscissa `x` equals, else missing.
VORAN_EXPORT NCDataVector<float> InterPolate(float x1, float x2, const NCDataVector<float>& y1,
                                             const NCDataVector<float>& y2, float x, VrMath::EExtrapolate mode);

/// The curve through the points (xOld, yOld) at each of xNew. `xOld` is sorted, in either direction.
///
/// Missing yOld are left out; beyond the ends the line through the last two points goes on. A curve of one point has
/// that value everywhere; where gaps leave one point, only its own abscissa has a value. No point gives missing values.
/// Throws InvalidArgument if xOld and yOld differ in size, or if xOld or xNew has a gap.
VORAN_EXPORT NCDataVector<float> InterPolateVec(const NCDataVector<float>& xNew, const NCDataVector<float>& xOld,
                                                const NCDataVector<float>& yOld);

}  // namespace NCDataVectorUtilities
}  // namespace voran
