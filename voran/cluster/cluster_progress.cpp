#include "voran/cluster/cluster_progress.h"

#include "voran/platform/nc_error.h"

inline namespace voran {
namespace DendroGram {
namespace detail {

void ThrowOnBreak(NCProgress* progress) {
  if (progress != nullptr && progress->IsBreakPressed()) {
    throw NCError(ExceptionMessage::translate("Cluster analysis aborted."), NCError::Level::kGeneral);
  }
}

void SetText(NCProgress* progress, const std::string& text) {
  if (progress != nullptr) progress->SetText(text.c_str());
}

void SetValue(NCProgress* progress, float value) {
  if (progress != nullptr) progress->SetValue(value);
}

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
