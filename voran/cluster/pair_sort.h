#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "voran/cluster/distance_and_index.h"
#include "voran/platform/progress.h"

inline namespace voran {
namespace DendroGram {
namespace detail {

/// Elements begin..end - 1 of a list, to be sorted with a budget.
struct SortRange {
  std::size_t begin;
  std::size_t end;
  std::size_t budget;
};

/// What a step of the sort leaves: elements begin..end - 1 are in their places, what stands before and behind them in
/// the range is to be sorted with `budget`.
struct SortStep {
  std::size_t begin;
  std::size_t end;
  std::size_t budget;
};

/// One step, 1, 2 or 3 and 4, of the sort that PairSort describes.
SortStep SortOneStep(PairList& pairs, const SortRange& range, NCProgress* progress);

/// Sorts a list of pairs by descending distance, from its end, no further than it is asked to.
///
/// The order in which equal distances come to stand is part of the results of a clustering, so the steps are fixed.
/// Only distances are compared, and only by `>`. A range of n elements, at first the whole list with a budget of n:
///
///  1. n <= 32: stable insertion sort.
///  2. Otherwise, with no budget left: heap sort, with a heap whose top is the smallest distance. The hole that taking
///     an element leaves goes down to a leaf, to the right child unless the left one is smaller; the element that is to
///     fill it climbs from there.
///  3. Otherwise the pivot is the element at first + n/2 after a median of three of (first, first + n/2, last); from 42
///     elements on, with s = n/8, after those of (first, first + s, first + 2s), (mid - s, mid, mid + s), (last - 2s,
///     last - s, last) and (first + s, mid, last - s). Each puts its three elements in order where they stand: the
///     second before the first, then the third before the second, and in that case the second before the first again.
///  4. The block of elements equal to the pivot grows from it in both directions. The right side is scanned upward to
///     the first element that belongs on the left, then the left side downward to the first that belongs on the
///     right; elements equal to the pivot are swapped to the edge of the block. The two are swapped. With one side used
///     up, the block moves by one place towards the other, to let the element found there pass.
///  5. What lies before the block and what lies behind it is sorted in the same way, each with a budget of b/2 + b/4
///     (rounded down each) of the range's own b.
///
/// The two parts have nothing to do with one another: which of them is sorted first, or not at all, does not show in
/// the other. This is what lets the sort be broken off and resumed.
///
/// With a NaN among the distances the order is unspecified, but every element is kept.
class PairSort {
 public:
  PairSort() = default;
  /// Of a list of `size` elements, none of which is in its place yet.
  explicit PairSort(std::size_t size);

  /// Whether the last of `size` elements is in its place.
  bool IsReached(std::size_t size) const { return pending_.empty() || pending_.back().end < size; }
  /// Sorts until the last element of the list is in its place. Elements behind may have been taken away. A break of
  /// `progress`, if not null, throws NCError; the sort may then go on where it stands.
  void ReachLast(PairList& pairs, NCProgress* progress = nullptr);
  /// As above, but takes a range all of whose elements are useless away from the end of the list, unless it is all that
  /// is left: not worth sorting.
  template <class IsUseless>
  void ReachLast(PairList& pairs, IsUseless isUseless) {
    while (!IsReached(pairs.size())) {
      const auto begin = pairs.begin() + static_cast<std::ptrdiff_t>(pending_.back().begin);
      if (begin != pairs.begin() && std::all_of(begin, pairs.end(), isUseless)) {
        pairs.erase(begin, pairs.end());
        pending_.pop_back();
      } else {
        Step(pairs, nullptr);
      }
    }
  }
  /// Sorts what remains.
  void Finish(PairList& pairs);

  /// The ranges that are not sorted yet, from front to end, for somebody else to go on with.
  const std::vector<SortRange>& GetPending() const { return pending_; }

 private:
  /// One step of the sort on the last unsorted range.
  void Step(PairList& pairs, NCProgress* progress);

  std::vector<SortRange> pending_;  ///< from front to end; all elements that are in none are in their places
};

/// Sorts everything, as described above.
void SortPairs(PairList& pairs);

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
