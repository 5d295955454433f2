#include "voran/models/component_validator.h"

#include <cmath>

#include "voran/containers/missing_value.h"
#include "voran/models/pca.h"
#include "voran/platform/nc_error.h"

inline namespace voran {

using detail::kMissing;

namespace {

float SumOfSquaresLeft(const NCPCA& model) {
  return static_cast<float>(model.GetResiduals()->GetSS());
}

}  // namespace

NCComponentValidator::~NCComponentValidator() = default;

void NCComponentValidator::Done() {}

PCA_SS_ComponentValidator::PCA_SS_ComponentValidator(NCPCA* model, float limit)
    : PCAComponentValidator(model), limit_(limit), initialSS_(kMissing<float>) {
  if (model != nullptr) PCA_SS_ComponentValidator::SetPCAModel(model);
}

void PCA_SS_ComponentValidator::SetPCAModel(NCPCA* model) {
  PCAComponentValidator::SetPCAModel(model);
  initialSS_ = SumOfSquaresLeft(*model);
  if (!std::isfinite(initialSS_)) {
    throw NCError(
        ExceptionMessage::translate("Infinite value encountered, try changing the transformation or trim the dataset."),
        NCError::Level::kGeneral);
  }
}

bool PCA_SS_ComponentValidator::IsValid() {
  const float left = SumOfSquaresLeft(*Model());
  if (initialSS_ == kMissing<float> || left == kMissing<float>) return false;
  if (!(static_cast<double>(initialSS_) > detail::kTinySumOfSquares)) return false;
  return left / initialSS_ > limit_;
}

}  // namespace voran
