#include "voran/orthogonal/osc_component_validator.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "voran/models/pls.h"

inline namespace voran {

namespace {

float MinimumSS(const NCDataMatrix<float>& X) {
  constexpr double kShareLeft = 0.0001;
  const auto minimum = static_cast<float>(X.GetSS() * kShareLeft);
  return std::isfinite(minimum) ? minimum : std::numeric_limits<float>::max();
}

int MaxComponents(const NCDataMatrix<float>& X, int asked) {
  constexpr int kMost = 25;
  const int d = std::min(X.SizeColumns(), X.SizeRows()) + 1;
  return std::min(asked > 0 ? std::min(asked, d * 3 / 4) : d / 2, kMost);
}

}  // namespace

OSCPLSComponentValidator::OSCPLSComponentValidator(NCPLS* model, int maxComponents)
    : model_(model),
      minimumSS_(MinimumSS(*model->GetXResiduals())),
      maxComponents_(MaxComponents(*model->GetXResiduals(), maxComponents)) {}

bool OSCPLSComponentValidator::IsValid() {
  if (model_->GetComponents() >= maxComponents_) return false;
  return !(static_cast<double>(minimumSS_) > model_->GetXResiduals()->GetSS());
}

}  // namespace voran
