#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "voran/cluster/distance_and_index.h"
#include "voran/cluster/distance_rows.h"
#include "voran/cluster/pair_sort.h"
#include "voran/containers/data_matrix.h"
#include "voran/platform/progress.h"

inline namespace voran {
namespace DendroGram {
namespace detail {

/// The number of pairs of N rows, deliberately in 32 bits, where from 46342 rows on it comes out negative: as a size
/// that no memory can hold.
std::int64_t NumberOfPairs(int rows);

/// Divides the rows so that each of T threads gets about as many pairs; row r has N - r of them. Each bound ends a
/// range: a thread takes the rows from the bound before (from 1 at the start) up to the one before its own. There are
/// fewer ranges than threads, if there are few rows.
void DivideRowsAmongThreads(int T, int N, std::vector<int>& bounds);

/// Forms the distances of its rows, from the first to the last, to all rows behind each, and writes them in this order.
/// What it throws is the output's and std::bad_alloc.
template <class OutputIterator>
class InitDistancesThreadClass {
 public:
  InitDistancesThreadClass(OutputIterator output, const DistanceRows* rows, int firstRow, int lastRow,
                           PairFunction pairFunction, Finish finish)
      : output_(output),
        rows_(rows),
        firstRow_(firstRow),
        lastRow_(lastRow),
        pairFunction_(pairFunction),
        finish_(finish) {}

  void operator()() {
    std::vector<float> room;
    for (int first = firstRow_; first <= lastRow_; first += DistanceKernels::kRowsTogether) {
      const int last = std::min(lastRow_, first + DistanceKernels::kRowsTogether - 1);
      int i = first;
      for (const float* const toItself : rows_->Distances(first, last, pairFunction_, finish_, room)) {
        Write(i++, toItself);
      }
    }
  }

 private:
  void Write(int i, const float* toItself) {
    if constexpr (std::is_same_v<OutputIterator, DistanceAndIndex*>) {
      const int numPairs = rows_->SizeRows() - i;
      DistanceKernels::Current().writeRecords(toItself + 1, i, static_cast<std::size_t>(numPairs), output_);
      output_ += numPairs;
    } else {
      for (int j = i + 1; j <= rows_->SizeRows(); ++j) *output_++ = DistanceAndIndex{toItself[j - i], i, j};
    }
  }

  OutputIterator output_;
  const DistanceRows* rows_;
  int firstRow_;
  int lastRow_;
  PairFunction pairFunction_;
  Finish finish_;
};

/// Fills `pairs`, which has room for all, with the distances in the order of the rows, on so many threads.
void FillOnThreads(const DistanceRows& rows, PairList& pairs, int threads, PairFunction pairFunction, Finish finish);

/// Fills `pairs` with the distances of all pairs of rows, on NCMultiThreading::ThreadingControl's number of threads,
/// and returns the sort by descending distance, with the smallest distances in their places at the end.
///
/// Throws NCError for 65536 rows or more, ClusterAllocationError if DistanceMemory or the system has no room for
/// fewer, and NCError on a break, which the threads do not see: only the sort does.
PairSort ComputeDistances(const NCDataMatrix<float>& data, NCProgress* progress, PairList& pairs,
                          PairFunction pairFunction, Finish finish);

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
