#pragma once

#include <algorithm>

#include <omp.h>

#include "voran/platform/threading_control.h"

inline namespace voran {
namespace detail {

/// The blocks of rows in which a matrix is worked through, by one thread each: enough cells to be worth a thread,
/// enough rows that the column sums of a block are small beside it, and an even number of them. They depend on the size
/// of the matrix alone, and so do the sums that are formed by block.
struct RowBlocks {
  RowBlocks(int rows, int columns) {
    constexpr long kLeastCells = 32768;
    constexpr long kLeastRows = 32;
    constexpr long kMost = 64;
    const long cells = static_cast<long>(rows) * columns;
    const long blocks = std::min({cells / kLeastCells, rows / kLeastRows, kMost}) / 2 * 2;
    rowsPerBlock = blocks < 2 ? std::max(rows, 1) : static_cast<int>((rows + blocks - 1) / blocks);
    count = (rows + rowsPerBlock - 1) / rowsPerBlock;
  }

  int rowsPerBlock;
  int count;
};

/// What a parallel region does with each cell, as a multiple of what reading it takes. A round of an iteration counts
/// for several, because the other threads are still awake from the round before.
constexpr double kOneReading = 1.0;
constexpr double kIterationRound = 8.0;
constexpr double kRowTransform = 16.0;
constexpr double kManyPasses = 128.0;

/// Whether work on a matrix is shared by several threads: from a millisecond on. Each of them has to be given a
/// processor first: that takes some microseconds at best, and many milliseconds where the other processors are busy and
/// the system wakes the second thread on the processor of the first.
inline bool IsForTeam(int rows, int columns, double readings) {
  constexpr double kLeastReadings = 1 << 22;
  return static_cast<double>(rows) * columns * readings >= kLeastReadings;
}

/// While it lives, work on matrices that the calling thread does stays on that thread, if `rows` x `columns` cells are
/// too few: for an iteration of many short regions.
class StaySingleIfSmall {
 public:
  StaySingleIfSmall(int rows, int columns) : wasSingle_(isSingle_) {
    isSingle_ = isSingle_ || !IsForTeam(rows, columns, kIterationRound);
  }
  ~StaySingleIfSmall() { isSingle_ = wasSingle_; }
  StaySingleIfSmall(const StaySingleIfSmall&) = delete;
  StaySingleIfSmall& operator=(const StaySingleIfSmall&) = delete;

  static bool IsSingle() { return isSingle_; }

 private:
  static inline thread_local bool isSingle_ = false;

  bool wasSingle_;
};

/// How many threads a parallel region over the rows of a matrix gets: never more than it has blocks.
inline int ThreadsForMatrix(int rows, int columns, double readings) {
  if (StaySingleIfSmall::IsSingle() || !IsForTeam(rows, columns, readings)) return 1;
  return std::max(1, std::min(RowBlocks(rows, columns).count, ParallelWidth()));
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
