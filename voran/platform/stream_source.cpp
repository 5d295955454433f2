#include "voran/platform/stream_source.h"

inline namespace voran {

VrStreamSource::~VrStreamSource() = default;

}  // namespace voran
