#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "voran/containers/data_matrix.h"

namespace tool {

/// What is done to each column before a model sees it.
enum class Scaling {
  kUnitVariance,  ///< centred, divided by the standard deviation
  kPareto,        ///< centred, divided by the square root of the standard deviation
  kCentre,        ///< centred
  kNone,
};

constexpr bool IsCentred(Scaling scaling) {
  return scaling != Scaling::kNone;
}

/// How a column is scaled: a value becomes (value - centre) * weight.
struct ColumnScale {
  double centre = 0.0;
  double weight = 1.0;
};

struct DroppedColumn {
  std::size_t column;       ///< counted from 0
  std::string_view reason;  ///< "no variance" or "all missing"
};

/// A matrix as a model gets it.
struct ScaledMatrix {
  /// The columns that were kept, scaled and divided by `unit`; gaps stay gaps.
  NCDataMatrix<float> x;
  /// A power of two, 1 for ordinary data. Very large or very small numbers are brought near 1 by it, so that their
  /// squares stay within the range of `float`; scores are to be multiplied by it.
  double unit = 1.0;
  std::vector<std::size_t> kept;  ///< counted from 0
  /// Of the columns that were kept, `unit` included.
  std::vector<ColumnScale> scales;
  std::vector<DroppedColumn> dropped;
};

/// Scales the columns of `x`, and leaves out those that hold nothing: no value at all, or (unless nothing is centred)
/// the same value everywhere. The standard deviation has n - 1 in the denominator, n counting present values. Means and
/// deviations are formed in double, in two passes.
///
/// Takes the rows out of `x` one by one, so that no second copy of the matrix comes to be; `x` is empty afterwards.
ScaledMatrix ScaleColumns(NCDataMatrix<float>&& x, Scaling scaling);

/// The columns `kept` (counted from 0, in any order) of `x`, scaled by `scales`. Takes the rows out of `x`, too.
NCDataMatrix<float> ApplyScales(NCDataMatrix<float>&& x, const std::vector<std::size_t>& kept,
                                const std::vector<ColumnScale>& scales);

}  // namespace tool
