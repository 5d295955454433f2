#pragma once

#include "voran/containers/data_matrix.h"

/// What this machine can do at most, measured with the instructions and the thread count that the library uses.
namespace bounds {

/// Reads every row of the matrix once, in blocks divided among the threads as the library divides them.
double ReadOnce(const NCDataMatrix<float>& x, int threads);

/// Multiplies `cells` pairs of floats, widens the products and adds them to doubles, with operands and sums in the
/// nearest cache: the least work that the two products of a NIPALS round can be. Half of them as the products of a row,
/// half as shares of column sums.
double FormProducts(long cells, int threads);

/// Adds `terms` squares of differences of floats to float sums, all in registers and the nearest cache: the least work
/// that squared distances can be.
double SumSquaredDifferences(long terms, int threads);

}  // namespace bounds
