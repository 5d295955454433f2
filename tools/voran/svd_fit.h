#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/voran/prepared_table.h"
#include "tools/voran/scaling.h"
#include "tools/voran/table.h"

namespace tool {

struct SvdSettings {
  Scaling scaling = Scaling::kNone;
  bool withVectors = false;  ///< whether the result is to hold them
};

/// A singular value with its vectors, which have unit length. The element of largest magnitude of the right vector is
/// positive, the first of equals deciding.
struct SingularTriple {
  double value = 0.0;
  double r2x = 0.0;  ///< share of the scaled table's sum of squares; 0 if everything is 0
  double r2xCumulative = 0.0;
  std::vector<double> left;   ///< one a row of the table
  std::vector<double> right;  ///< one a column that was kept
};

struct SvdResult {
  std::vector<SingularTriple> triples;  ///< as many as the smaller of rows and columns, the largest value first
  std::vector<std::string> variables;   ///< the columns that were kept
  DroppedColumns dropped;
  int rank = 0;                            ///< singular values above the rounding of a float
  std::optional<double> conditionNumber;   ///< nothing if a singular value is 0
  std::optional<double> log10Determinant;  ///< of the magnitude; only of a square matrix of full rank
};

/// Scales the variables of the table and decomposes them. The matrix is taken out of the table. Throws `Failure`: bad
/// data for a table with gaps, or if scaling leaves nothing; computation failed if the iteration does not converge.
SvdResult FitSvd(Table& table, const SvdSettings& settings);

}  // namespace tool
