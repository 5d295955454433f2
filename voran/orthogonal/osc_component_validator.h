#pragma once

#include "voran/export.h"
#include "voran/models/component_validator.h"

inline namespace voran {

class NCPLS;

/// Decides whether the PLS model inside a step of NCYOrthogonalPLS may have another component: while a ten-thousandth
/// of the sum of squares of X is left, and there are not too many.
class VORAN_EXPORT OSCPLSComponentValidator : public NCComponentValidator {
 public:
  /// The model stays the caller's and must outlive this object; its X residuals are taken for what there was at first.
  /// With d, one more than the lesser of rows and columns, a `maxComponents` above 0 is cut to three quarters of d, and
  /// any other stands for half of d, both rounded down. More than 25 there never are.
  OSCPLSComponentValidator(NCPLS* model, int maxComponents);

  bool IsPreComponentValidator() override { return true; }
  bool IsValid() override;

 private:
  NCPLS* model_;
  float minimumSS_;
  int maxComponents_;
};

}  // namespace voran
