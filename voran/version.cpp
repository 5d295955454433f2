#include "voran/version.h"

inline namespace voran {

const char* GetVersion() noexcept {
  return VORAN_VERSION;
}

}  // namespace voran
