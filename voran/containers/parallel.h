#pragma once

#include <algorithm>

#include <omp.h>

#include "voran/platform/threading_control.h"

inline namespace voran {
namespace detail {

/// Rows in a block of a matrix that one thread works through: enough cells to be worth a thread, enough rows that
/// column sums are small beside the block, and not too many blocks. Depends on the size alone: sums are formed by
/// block.
inline int RowsPerBlock(int rows, int columns) {
  constexpr int kLeastRows = 64;
  constexpr int kLeastCells = 32768;
  constexpr int kMostBlocks = 128;
  constexpr int kMultipleOf = 8;
  const auto ceilDiv = [](int a, int b) { return a / b + (a % b != 0 ? 1 : 0); };
  const int wanted = std::max({kLeastRows, ceilDiv(kLeastCells, std::max(columns, 1)), ceilDiv(rows, kMostBlocks)});
  return ceilDiv(wanted, kMultipleOf) * kMultipleOf;
}

/// How many threads a parallel region over the rows of a matrix gets: never more than it has blocks.
inline int ThreadsForMatrix(int rows, int columns) {
  const int perBlock = RowsPerBlock(rows, columns);
  return std::max(1, std::min(rows / perBlock + (rows % perBlock != 0 ? 1 : 0), ParallelWidth()));
}

/// While it lives, parallel regions that the calling thread opens have the width that they ask for. With OpenMP's
/// dynamic adjustment on, a runtime may hand out fewer threads by the load of the last quarter of an hour, its own
/// included.
class FullTeam {
 public:
  FullTeam() : wasDynamic_(omp_get_dynamic()) {
    if (wasDynamic_ != 0) omp_set_dynamic(0);
  }
  ~FullTeam() {
    if (wasDynamic_ != 0) omp_set_dynamic(1);
  }
  FullTeam(const FullTeam&) = delete;
  FullTeam& operator=(const FullTeam&) = delete;

 private:
  int wasDynamic_;
};

/// Calls work(i) for every i below `count`, on `threads` threads that each take a contiguous run, and returns the sum
/// of what it returns. `work` must not throw. One thread opens no region, which would cost more than a small matrix.
template <class Work>
int ParallelSum(int count, int threads, const Work& work) {
  int total = 0;
  if (threads <= 1) {
    for (int i = 0; i < count; ++i) total += work(i);
    return total;
  }
  const FullTeam team;
#pragma omp parallel for schedule(static) num_threads(threads) reduction(+ : total)
  for (int i = 0; i < count; ++i) total += work(i);
  return total;
}

template <class Work>
void ParallelFor(int count, int threads, const Work& work) {
  ParallelSum(count, threads, [&work](int i) {
    work(i);
    return 0;
  });
}

}  // namespace detail
}  // namespace voran
