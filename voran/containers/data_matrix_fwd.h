#pragma once

#include "voran/export.h"

inline namespace voran {

// The only declaration ahead of the definition. It must carry the export mark: Clang settles the visibility of
// NCDataMatrix<float> when it first meets the name, and GCC takes no mark that comes after the definition.
template <typename T>
class VORAN_EXPORT NCDataMatrix;

}  // namespace voran
