#pragma once

#include <limits>
#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"

namespace tool {

/// Where less than this share of a sum of squares is left, it is the rounding of the numbers themselves (a float
/// carries 24 bits, the square of whose last is 4e-15).
constexpr double kRoundingShare = 1e-12;

/// Stands for a value that cannot be had.
constexpr double kNoValue = std::numeric_limits<double>::quiet_NaN();

/// Over the present elements; 0 if there are none.
double SumOfSquares(const NCDataMatrix<float>& x);
double SumOfSquares(const NCDataVector<float>& v);
/// One for each column.
std::vector<double> ColumnSumsOfSquares(const NCDataMatrix<float>& x);

double Total(const std::vector<double>& values);

/// The same values, rounded.
NCDataVector<float> FloatVector(const std::vector<double>& values);

/// An element of a matrix; `kNoValue` for a missing one.
double ValueOf(float element);

/// `factor` times each element, `kNoValue` for a missing one.
std::vector<double> Values(const NCDataVector<float>& v, double factor);

/// The variance of a score, t't by `degreesOfFreedom`; `kNoValue` if there are none.
double ScoreVariance(const NCDataVector<float>& score, double degreesOfFreedom);

/// Whether the element of largest magnitude (the first, if several are equal) is negative.
bool PointsDown(const NCDataVector<float>& v);

}  // namespace tool
