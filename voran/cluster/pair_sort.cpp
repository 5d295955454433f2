#include "voran/cluster/pair_sort.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

#include "voran/cluster/cluster_progress.h"
#include "voran/cluster/kernels/pair_compare.h"
#include "voran/cluster/misplaced_pairs.h"

inline namespace voran {
namespace DendroGram {
namespace detail {
namespace {

constexpr std::size_t kInsertionMost = 32;
constexpr std::size_t kMedianOfThreeMost = 41;
constexpr std::ptrdiff_t kChunk = PairCompareKernels::kTogether;
constexpr unsigned kStepsPerPoll = 256;

/// Asks for a break once in so many steps: often enough to be noticed at once, seldom enough to cost nothing.
class BreakPoll {
 public:
  explicit BreakPoll(NCProgress* progress) : progress_(progress) {}
  void operator()() {
    if (++steps_ % kStepsPerPoll == 0) ThrowOnBreak(progress_);
  }

 private:
  NCProgress* progress_;
  unsigned steps_ = 0;
};

bool IsBefore(const DistanceAndIndex& a, const DistanceAndIndex& b) {
  return a.distance > b.distance;
}

void SortThree(DistanceAndIndex& a, DistanceAndIndex& b, DistanceAndIndex& c) {
  if (IsBefore(b, a)) std::swap(a, b);
  if (!IsBefore(c, b)) return;
  std::swap(b, c);
  if (IsBefore(b, a)) std::swap(a, b);
}

void PreparePivot(DistanceAndIndex* first, std::size_t n) {
  DistanceAndIndex* const mid = first + n / 2;
  DistanceAndIndex* const last = first + n - 1;
  if (n <= kMedianOfThreeMost) {
    SortThree(*first, *mid, *last);
    return;
  }
  const std::size_t s = n / 8;
  SortThree(*first, first[s], first[2 * s]);
  SortThree(*(mid - s), *mid, mid[s]);
  SortThree(*(last - 2 * s), *(last - s), *last);
  SortThree(first[s], *mid, *(last - s));
}

/// The block of elements equal to the pivot, and how far the two sides have been scanned: the elements in between are
/// where they belong, but for those that `rightward_` and `leftward_` hold.
///
/// Whether an element is misplaced cannot be predicted, so a chunk without elements equal to the pivot is compared
/// as a whole. That changes no step: the k-th misplaced element of one side is swapped with the k-th of the other
/// either way, and all swaps of a side are done before an element equal to the pivot moves there.
class Partition {
 public:
  Partition(DistanceAndIndex* first, std::size_t n)
      : first_(first),
        last_(first + n),
        blockBegin_(first + n / 2),
        blockEnd_(blockBegin_ + 1),
        pivot_(blockBegin_->distance),
        compare_(PairCompareKernels::Current().compare) {
    while (blockBegin_ > first_ && IsPivot(blockBegin_[-1])) --blockBegin_;
    while (blockEnd_ < last_ && IsPivot(*blockEnd_)) ++blockEnd_;
    right_ = blockEnd_;
    left_ = blockBegin_;
  }

  void Run(BreakPoll& poll) {
    while (FindOnRight() && FindOnLeft()) {
      poll();
      while (!leftward_.IsEmpty() && !rightward_.IsEmpty()) {
        std::swap(leftward_.Lowest(), rightward_.Highest());
        leftward_.DropLowest();
        rightward_.DropHighest();
      }
    }
    FindOnLeft();
    if (!leftward_.IsEmpty()) right_ = &leftward_.Lowest();
    if (!rightward_.IsEmpty()) left_ = &rightward_.Highest() + 1;
    for (; right_ < last_; ScanRight(), poll()) MoveBlockUp();
    for (; left_ > first_; ScanLeft(), poll()) MoveBlockDown();
  }

  const DistanceAndIndex* BlockBegin() const { return blockBegin_; }
  const DistanceAndIndex* BlockEnd() const { return blockEnd_; }

 private:
  bool BelongsLeft(const DistanceAndIndex& x) const { return x.distance > pivot_; }
  bool BelongsRight(const DistanceAndIndex& x) const { return pivot_ > x.distance; }
  bool IsPivot(const DistanceAndIndex& x) const { return !BelongsLeft(x) && !BelongsRight(x); }

  using Chunk = std::optional<PairCompareKernels::Bits>;

  /// Whether the right side has an element that belongs on the left.
  bool FindOnRight() {
    while (leftward_.IsEmpty() && right_ < last_) {
      if (const Chunk chunk = last_ - right_ < kChunk ? Chunk() : Compared(right_)) {
        leftward_ = {right_, chunk->greater};
        right_ += kChunk;
      } else {
        ScanRight();
        if (right_ < last_) leftward_ = {right_++, 1};
      }
    }
    return !leftward_.IsEmpty();
  }
  bool FindOnLeft() {
    while (rightward_.IsEmpty() && left_ > first_) {
      if (const Chunk chunk = left_ - first_ < kChunk ? Chunk() : Compared(left_ - kChunk)) {
        left_ -= kChunk;
        rightward_ = {left_, chunk->less};
      } else {
        ScanLeft();
        if (left_ > first_) rightward_ = {--left_, 1};
      }
    }
    return !rightward_.IsEmpty();
  }

  /// Nothing if one of the elements is equal to the pivot.
  Chunk Compared(const DistanceAndIndex* chunk) const {
    const PairCompareKernels::Bits bits = compare_(chunk, pivot_);
    return (bits.greater | bits.less) == ~std::uint64_t{0} ? Chunk(bits) : Chunk();
  }

  void ScanRight() {
    for (; right_ < last_ && !BelongsLeft(*right_); ++right_) {
      if (!BelongsRight(*right_)) std::swap(*blockEnd_++, *right_);
    }
  }
  void ScanLeft() {
    for (; left_ > first_ && !BelongsRight(left_[-1]); --left_) {
      if (!BelongsLeft(left_[-1])) std::swap(*--blockBegin_, left_[-1]);
    }
  }
  /// The element at right_ belongs on the left, where all places are taken: it gets the first of the block, which gets
  /// that of the first element behind it, which goes to right_.
  void MoveBlockUp() {
    if (blockEnd_ != right_) std::swap(*blockBegin_, *blockEnd_);
    ++blockEnd_;
    std::swap(*blockBegin_++, *right_++);
  }
  void MoveBlockDown() {
    std::swap(*--left_, *--blockBegin_);
    std::swap(*blockBegin_, *--blockEnd_);
  }

  DistanceAndIndex* first_;
  DistanceAndIndex* last_;
  DistanceAndIndex* blockBegin_;
  DistanceAndIndex* blockEnd_;
  float pivot_;
  decltype(PairCompareKernels::compare) compare_;
  DistanceAndIndex* left_;    ///< from here to the block everything has been scanned
  DistanceAndIndex* right_;   ///< from the block to here everything has been scanned
  MisplacedPairs leftward_;   ///< of the right side, upward
  MisplacedPairs rightward_;  ///< of the left side, downward
};

void InsertionSort(DistanceAndIndex* first, std::size_t n) {
  for (std::size_t i = 1; i < n; ++i) {
    const DistanceAndIndex x = first[i];
    std::size_t k = i;
    for (; k > 0 && IsBefore(x, first[k - 1]); --k) first[k] = first[k - 1];
    first[k] = x;
  }
}

/// Puts x into the heap of n elements whose element `hole` is free.
void FillHole(DistanceAndIndex* heap, std::size_t n, std::size_t hole, const DistanceAndIndex& x) {
  const std::size_t top = hole;
  while (2 * hole + 2 < n) {
    const std::size_t right = 2 * hole + 2;
    const std::size_t child = IsBefore(heap[right], heap[right - 1]) ? right - 1 : right;
    heap[hole] = heap[child];
    hole = child;
  }
  if (2 * hole + 2 == n) {
    heap[hole] = heap[n - 1];
    hole = n - 1;
  }
  for (; hole > top && IsBefore(heap[(hole - 1) / 2], x); hole = (hole - 1) / 2) heap[hole] = heap[(hole - 1) / 2];
  heap[hole] = x;
}

void HeapSort(DistanceAndIndex* first, std::size_t n, BreakPoll& poll) {
  for (std::size_t i = n / 2; i-- > 0; poll()) FillHole(first, n, i, DistanceAndIndex(first[i]));
  for (std::size_t size = n; --size > 0; poll()) {
    const DistanceAndIndex x = first[size];
    first[size] = first[0];
    FillHole(first, size, 0, x);
  }
}

}  // namespace

PairSort::PairSort(std::size_t size) {
  if (size > 1) pending_.push_back({0, size, size});
}

SortStep SortOneStep(PairList& pairs, const SortRange& range, NCProgress* progress) {
  ThrowOnBreak(progress);
  const std::size_t n = range.end - range.begin;
  DistanceAndIndex* const first = pairs.data() + range.begin;
  BreakPoll poll(progress);
  if (n <= kInsertionMost) {
    InsertionSort(first, n);
  } else if (range.budget == 0) {
    HeapSort(first, n, poll);
  } else {
    PreparePivot(first, n);
    Partition partition(first, n);
    partition.Run(poll);
    return {static_cast<std::size_t>(partition.BlockBegin() - pairs.data()),
            static_cast<std::size_t>(partition.BlockEnd() - pairs.data()), range.budget / 2 + range.budget / 4};
  }
  return {range.begin, range.end, 0};
}

void PairSort::Step(PairList& pairs, NCProgress* progress) {
  const SortRange range = pending_.back();
  const SortStep done = SortOneStep(pairs, range, progress);
  pending_.pop_back();
  if (done.begin > range.begin) pending_.push_back({range.begin, done.begin, done.budget});
  if (done.end < range.end) pending_.push_back({done.end, range.end, done.budget});
}

void PairSort::ReachLast(PairList& pairs, NCProgress* progress) {
  while (!IsReached(pairs.size())) Step(pairs, progress);
}

void PairSort::Finish(PairList& pairs) {
  while (!pending_.empty()) Step(pairs, nullptr);
}

void SortPairs(PairList& pairs) {
  PairSort(pairs.size()).Finish(pairs);
}

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
