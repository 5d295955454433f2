#pragma once

#include <memory>

#include "tools/voran/ortho_fit.h"

namespace tool {

/// A MakeOrthoFitter: components of NCYOrthogonalPLS are taken out of X, and then a PLS model is fitted. Rows without
/// any response play no part in the former.
std::unique_ptr<OrthoFitter> MakeYoplsFitter(const RegressionData& data, const OrthoSettings& settings,
                                             const CvGroups* groups);

}  // namespace tool
