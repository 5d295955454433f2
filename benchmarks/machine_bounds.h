#pragma once

#include "voran/containers/data_matrix.h"

/// What this machine can do at most, measured with the instructions and the thread count that the library uses.
namespace bounds {

/// Reads every row of the matrix once, in blocks divided among the threads as the library divides them.
double ReadOnce(const NCDataMatrix<float>& x, int threads);

/// Reads and writes every element of the matrix once, divided among the threads likewise.
void UpdateOnce(NCDataMatrix<float>& x, int threads);

/// Multiplies `products` pairs of floats and adds the products to floats, in registers and the nearest cache: what a
/// transform in float does.
double FormFloatProducts(long products, int threads);

/// Multiplies `cells` pairs of floats, widens the products and adds them to doubles, with operands and sums in the
/// nearest cache: the least work that the two products of a NIPALS round can be. Half of them as the products of a row,
/// half as shares of column sums. With `weighted`, another double is added for each product, as for the sums of squares
/// beside products over pairs that are present.
double FormProducts(long cells, bool weighted, int threads);

/// For `pairs` pairs adds the squares of differences of floats in so many columns, at most 64, and takes the root, all
/// in registers and the nearest cache: the least work that distances can be.
double FormDistances(long pairs, int columns, int threads);

}  // namespace bounds
