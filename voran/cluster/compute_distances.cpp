#include "voran/cluster/compute_distances.h"

#include <cmath>
#include <cstddef>
#include <exception>
#include <mutex>
#include <string>
#include <vector>

#include <boost/format.hpp>

#include "voran/cluster/cluster_allocation_error.h"
#include "voran/cluster/cluster_progress.h"
#include "voran/cluster/distance_memory.h"
#include "voran/containers/run_in_threads.h"
#include "voran/platform/exception_message.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/threading_control.h"

inline namespace voran {
namespace DendroGram {
namespace detail {
namespace {

constexpr double kMostPairsTwice = 4294967294.0;

ExceptionMessage AllocationMessage(int rows) {
  return ExceptionMessage::translate(
             "Memory allocation error.\nWhen doing cluster analysis, a total of N*(N-1)/2 initial distances are "
             "calculated. In this case, enough RAM to hold these distances could not be allocated (N={1}).") %
         rows;
}

void Allocate(PairList& pairs, int rows) {
  const auto size = static_cast<std::size_t>(NumberOfPairs(rows));
  try {
    pairs.clear();
    if (size > DistanceMemory::GetBudget() / sizeof(DistanceAndIndex)) throw std::bad_alloc();
    pairs.resize(size);
  } catch (const std::exception&) {
    throw ClusterAllocationError(AllocationMessage(rows));
  }
}

/// Where the pairs of row r begin.
std::size_t PositionOfRow(int rows, int r) {
  const auto before = static_cast<std::size_t>(r) - 1;
  return static_cast<std::size_t>(rows) * before - static_cast<std::size_t>(r) * before / 2;
}

/// Keeps the first exception of several threads.
class FirstError {
 public:
  template <class Work>
  void Catch(Work& work) noexcept {
    try {
      work();
    } catch (...) {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (!error_) error_ = std::current_exception();
    }
  }
  void Rethrow() const {
    if (error_) std::rethrow_exception(error_);
  }

 private:
  std::mutex mutex_;
  std::exception_ptr error_;
};

}  // namespace

std::int64_t NumberOfPairs(int rows) {
  const auto n = static_cast<std::uint32_t>(rows);
  return static_cast<std::int32_t>(n * n - n) / 2;
}

void DivideRowsAmongThreads(int T, int N, std::vector<int>& bounds) {
  bounds.clear();
  const std::int64_t total = (static_cast<std::int64_t>(N) - 1) * N / 2;
  const double a = (1.0 - 2.0 * N) * 0.5;
  std::int64_t assigned = 0;
  int previous = 0;
  for (int remaining = T; remaining > 0; --remaining) {
    const std::int64_t target = (total - assigned) / remaining + assigned;
    const double exact = -a - std::sqrt(a * a - 2.0 * static_cast<double>(target));
    int row = static_cast<int>(exact + 0.5);  // NOLINT(bugprone-incorrect-roundings): it is never negative
    if (row == previous) ++row;
    if (row + 1 >= N) break;
    bounds.push_back(row + 1);
    previous = row;
    assigned = static_cast<std::int64_t>(row) * N - (static_cast<std::int64_t>(row) + 1) * row / 2;
  }
  bounds.push_back(N);
}

void FillOnThreads(const DistanceRows& rows, PairList& pairs, int threads, PairFunction pairFunction, Finish finish) {
  using Worker = InitDistancesThreadClass<DistanceAndIndex*>;
  std::vector<int> bounds;
  DivideRowsAmongThreads(threads, rows.SizeRows(), bounds);
  std::vector<Worker> workers;
  int first = 1;
  for (const int bound : bounds) {
    DistanceAndIndex* const output = pairs.data() + PositionOfRow(rows.SizeRows(), first);
    workers.emplace_back(output, &rows, first, bound - 1, pairFunction, finish);
    first = bound;
  }
  FirstError error;
  voran::detail::RunInThreads(static_cast<int>(workers.size()),
                              [&](int w) { error.Catch(workers[static_cast<std::size_t>(w)]); });
  error.Rethrow();
}

PairSort ComputeDistances(const NCDataMatrix<float>& data, NCProgress* progress, PairList& pairs,
                          PairFunction pairFunction, Finish finish) {
  const int rows = data.SizeRows();
  if (rows > std::sqrt(kMostPairsTwice)) throw NCError(AllocationMessage(rows), NCError::Level::kGeneral);
  DistanceKernels::Current();  // a set of instructions that does not exist is told before anything is done
  if (progress != nullptr) progress->SetRange(0.0f, 3.0f);
  SetText(progress, voran::detail::TranslateText("Allocating memory"));
  Allocate(pairs, rows);
  const std::string calculating = voran::detail::TranslateText("Calculating %1% distances");
  SetText(progress, boost::str(boost::format(calculating) % NumberOfPairs(rows)));
  SetValue(progress, 1.0f);
  FillOnThreads(DistanceRows(data), pairs, NCMultiThreading::ThreadingControl::GetNumberOfProcessors(), pairFunction,
                finish);
  SetValue(progress, 2.0f);
  SetText(progress, voran::detail::TranslateText("Sorting"));
  PairSort sort(pairs.size());
  sort.ReachLast(pairs, progress);
  SetValue(progress, 3.0f);
  return sort;
}

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
