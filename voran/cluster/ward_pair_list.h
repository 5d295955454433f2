#pragma once

#include <cstddef>
#include <vector>

#include "voran/cluster/distance_and_index.h"
#include "voran/cluster/pair_sort.h"

inline namespace voran {
namespace DendroGram {
namespace detail {

/// The pairs of clusters in the order in which Ward's clustering looks at them, from its end.
///
/// A pair is valid as long as neither cluster has been joined with another since its distance was formed, stale after
/// that, and gone once a cluster is. Valid pairs stand by descending distance; a stale one keeps its place until it is
/// the last. Nobody tells a pair that it went stale: each bears the number of merges before it was formed, each cluster
/// that of its last merge, and the two are compared when somebody looks.
///
/// The list is cut into blocks, and these into groups. Each knows a bound of the valid distances in it, which is
/// lowered when a search has found it too high: so a place is found, and made room at, without touching more than one
/// block. A block stays a part of the initial list until a pair is inserted into it, and unsorted until a place is
/// looked for in it: by then most of its pairs are gone, and often all.
class WardPairList {
 public:
  struct Pair {
    float distance;
    int first;  ///< 1-based; the row that a cluster begins with is its name
    int second;
    int born;  ///< merges before the distance was formed
  };

  WardPairList() = default;
  /// From pairs of single rows, to be sorted as `sort` has begun.
  WardPairList(PairList pairs, const PairSort& sort, int rows);

  /// Takes the stale pairs behind the last valid one off the end, in their order.
  std::vector<Pair> TakeStaleTail();
  /// Writes the last pair, which is valid once TakeStaleTail has been called; false if there is none.
  bool FindLast(Pair& pair);
  /// Takes away the pair that FindLast found.
  void RemoveLast();
  /// Puts a valid pair at the end.
  void Append(const Pair& pair);
  /// Puts a valid pair where its distance belongs, seen from the end: behind the first valid pair that is greater, but
  /// in front of the first that is equal.
  void Insert(const Pair& pair);

  /// Cluster `gone` is part of `kept` from now on.
  void Merge(int kept, int gone);
  int NumMerges() const { return merges_; }

 private:
  enum class State { kValid, kStale, kGone };
  enum class Kind { kUnsorted, kSorted, kOwn };

  struct Block {
    Kind kind;
    float bound;             ///< no valid distance is above it
    SortRange initial = {};  ///< of the initial list, unless the block has pairs of its own
    std::vector<Pair> own = {};
  };
  struct Group {
    float bound;
    std::vector<Block> blocks;
  };

  static constexpr auto kNowhere = static_cast<std::size_t>(-1);

  State StateOf(const Pair& pair) const;
  static std::size_t SizeOf(const Block& block);
  Pair PairAt(const Block& block, std::size_t k) const;
  /// Where in the block a pair of this distance belongs; kNowhere if the block has nothing for a search to stop at.
  std::size_t PlaceIn(const Block& block, float distance) const;
  /// Gives a sorted block its own pairs, without those that are gone; returns where `place` has come to be.
  std::size_t TakeOver(Block& block, std::size_t place) const;
  void InsertAt(std::size_t g, std::size_t b, std::size_t place, const Pair& pair);
  /// Makes the bound of a block exact, and takes away what is gone.
  void LowerBound(Block& block);
  /// Sorts an unsorted block by one step, into several blocks.
  void SortBlock(std::size_t g, std::size_t b);
  /// Adds initial pairs begin..end - 1, which stand in their places.
  void AddSorted(std::size_t begin, std::size_t end, std::vector<Block>& blocks) const;
  static void SplitBlock(std::vector<Block>& blocks, std::size_t b);
  /// Into as many as it needs.
  void SplitGroup(std::size_t g);

  PairList initial_;
  bool hasNaN_ = false;  ///< whether a distance of the initial list is one: then what is sorted need not descend
  std::vector<Group> groups_;
  std::vector<int> lastMerge_;  ///< of each cluster, 0 before the first; kNever for one that is gone
  int merges_ = 0;
};

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
