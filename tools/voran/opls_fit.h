#pragma once

#include <memory>

#include "tools/voran/ortho_fit.h"

namespace tool {

/// A MakeOrthoFitter: OPLS by NCOPLS and OPLSCrossValidation.
std::unique_ptr<OrthoFitter> MakeOplsFitter(const RegressionData& data, const OrthoSettings& settings,
                                            const CvGroups* groups);

/// How many directions X and Y have in common: those whose covariance is not below a hundredth of the first one's, at
/// most one a response. May throw NCError.
int CommonDirections(const RegressionData& data, int iterationLimit);

}  // namespace tool
