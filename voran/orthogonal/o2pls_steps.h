#pragma once

#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"

inline namespace voran {
namespace detail {

/// The first component of a PLS model: X weights w of unit length, and the regressions t of the rows of X on w, p of
/// the columns of X on t, and c of the columns of Y on t.
struct PlsStep {
  NCDataVector<float> w;
  NCDataVector<float> t;
  NCDataVector<float> p;
  NCDataVector<float> c;
};

/// Takes no copy of X and Y. Not `silent`, the iteration shows progress of its own.
PlsStep FirstPlsStep(const NCDataMatrix<float>& X, const NCDataMatrix<float>& Y, int iterationLimit, bool silent);

/// m less the outer products of the rows of `scores` (components x rows) and `loadings` (components x columns), one
/// after the other.
NCDataMatrix<float> Deflated(NCDataMatrix<float> m, const NCDataMatrix<float>& scores,
                             const NCDataMatrix<float>& loadings);

/// The rows at `positions`, which share their elements with those of m.
NCDataMatrix<float> TakeRows(const NCDataMatrix<float>& m, const std::vector<int>& positions);

}  // namespace detail
}  // namespace voran
