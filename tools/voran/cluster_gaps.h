#pragma once

#include <string>
#include <vector>

#include "voran/containers/data_matrix.h"

namespace tool {

/// What to say behind the library's refusal to cluster rows with so many gaps: which rows they are, and what to do.
/// Empty if it was not that.
std::string GapHint(const NCDataMatrix<float>& x, const std::vector<std::string>& ids);

}  // namespace tool
