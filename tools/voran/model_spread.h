#pragma once

#include <vector>

#include "voran/containers/data_matrix.h"

namespace tool {

/// How the rows of the fit lie about a model, against which new rows are held.
struct ModelSpread {
  /// Pooled standard deviation of the residuals; a NaN where there is no degree of freedom.
  double residual = 0.0;
  /// Variance of the scores of each component; a NaN where there is no degree of freedom.
  std::vector<double> scoreVariances;

  /// T2 of a row with these scores; a NaN if one of them, or of the variances, cannot be had.
  double T2(const std::vector<double>& scores) const;
};

/// Standard deviation of a row's residuals, with one degree of freedom for each present value and one less for each
/// component; a NaN if that leaves none.
double RowResidual(double sumOfSquares, int present, int components);

/// The rows' residual variances, added up and divided by the degrees of freedom of the rows; the root of that.
/// `degreesOfFreedom` are those of the table before any component.
double PooledResidual(const NCDataMatrix<float>& residuals, int components, double degreesOfFreedom);

}  // namespace tool
