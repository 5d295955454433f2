#pragma once

#include "voran/statistics/fisher_network.h"

inline namespace voran {
namespace Sta {
namespace detail {

/// What the user sees of a test under way, before translation.
inline constexpr const char* kTestName = "Fisher's exact test";

/// Throws NCError if a cell from `first` up to `last` is negative.
void ExpectNoNegativeCell(const int* first, const int* last);

/// Fisher's exact test of a table of `nrow` rows and `ncol` columns by the network algorithm of Mehta and Patel.
///
/// `table` is stored column by column, each column `ldtabl` (at least `nrow`) from the last. `prt` becomes the
/// probability of the table, `pre` the p-value: the sum over all tables of the same margins that are no more probable,
/// by a relative tolerance of 3.45e-7.
///
/// `workspace` limits the memory: a stage of the network holds up to LDKEY = workspace / (10 mult + 18) - 1 nodes
/// with paths, twice as many nodes in all, and mult times as many paths. Holds a lock of the process throughout. Throws
/// NCError for a table that cannot be tested or that outgrows the workspace, CancelException if the user breaks it off,
/// within milliseconds.
void fexact(int nrow, int ncol, const int* table, int ldtabl, const HybridControls& controls, double& prt, double& pre,
            int workspace, int mult);

}  // namespace detail
}  // namespace Sta
}  // namespace voran
