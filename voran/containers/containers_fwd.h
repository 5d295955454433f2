#pragma once

#include "voran/export.h"

inline namespace voran {

// The only declarations ahead of the definitions. They must carry the export mark: Clang settles the visibility of
// NCDataMatrix<float> when it first meets the name, and GCC takes no mark that comes after the definition.
template <typename T>
class VORAN_EXPORT NCDataVector;
template <typename T>
class VORAN_EXPORT NCDataMatrix;
template <typename T>
class VORAN_EXPORT NCSVD;

}  // namespace voran
