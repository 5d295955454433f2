#pragma once

#include <cstdint>
#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"

namespace same_bits {

using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

/// Two blocks with structure in common, each of a few components that an iteration tells apart soon, and noise; the
/// same on every machine.
struct Table {
  Matrix x;
  Matrix y;
};

/// Large enough that eight threads have work in a fit, and wide enough that sums are put together on several.
const Table& LargeTable(bool hasGaps);
/// For what takes long: four threads have work in a loop over X, but not in a fit.
const Table& MiddleTable(bool hasGaps);
const Table& SmallTable(bool hasGaps);

/// A random walk with a trend; with `hasGaps` about one element in thirty is missing.
Vector Series(int length, bool hasGaps);

/// The elements as doubles.
NCDataMatrix<double> InDouble(const Matrix& m);

}  // namespace same_bits
