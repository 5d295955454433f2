#pragma once

#include <cstdint>

#include "voran/export.h"

inline namespace voran {
namespace Sta {

/// Which tables of the same margins count as at least as extreme as a given 2 x 2 table.
enum class SidedNess : std::int32_t {
  kLess = 0,      ///< those with a smaller cell in the first row and column
  kGreater = 1,   ///< those with a larger one
  kTwoSided = 2,  ///< those on either side that are no more probable
};

/// The probability of the 2 x 2 table with rows (a, b) and (c, d), given its margins: the hypergeometric distribution.
/// To about nine digits, by the six-term log gamma. Cells must not be negative.
VORAN_EXPORT double GetTableProbability(int a, int b, int c, int d);

/// The number of ways to choose k of n, 0 <= k <= n: a whole number, exact to about nine digits.
VORAN_EXPORT double BinomialCoefficient(int n, int k);

/// The p-value of Fisher's exact test of independence for a table of counts, stored row by row.
///
/// A 2 x 2 table is summed cell by cell, in time proportional to its smaller cells; probabilities are compared as they
/// are, without a tolerance. Any other shape goes through the network algorithm (Mehta and Patel 1983), two-sided
/// whatever `sidedness` says, and needs `workspace`: 200000 serves small tables, and the work grows steeply with table
/// size and counts. With `hybrid`, parts of the network where at least 80 % of the expected counts are 5 or more, and
/// none below 1, use the chi-square distribution.
///
/// Throws NCError if a cell is negative; for shapes other than 2 x 2 also if there is one column, if all cells are
/// zero, if the table outgrows the workspace, or if its keys outgrow an int; CancelException if the user breaks it off.
/// One such computation runs at a time in the process; others wait.
VORAN_EXPORT double GetFisherExactProbability(const int* table, int rows, int columns, bool hybrid, SidedNess sidedness,
                                              int workspace);

}  // namespace Sta
}  // namespace voran
