#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "voran/statistics/cancel_poll.h"

inline namespace voran {
namespace Sta {
namespace detail {

/// Ways to fill the closed columns that have the same length, the sum of -ln x! over their cells, and how many they
/// are.
struct Path {
  double length;
  double count;
};

/// What the closed columns leave of the row sums, with the paths that lead here.
struct FisherNode {
  std::vector<int> rows;  ///< ascending
  double longest;         ///< the lengths of the open columns lie between these two
  double shortest;
  double logCompletions;    ///< ln of the sum of exp(length) over all ways to fill the open columns
  std::vector<Path> paths;  ///< ascending and distinct up to `numSettled`, as they came from there on
  std::size_t numSettled;
};

/// How many nodes with paths, and distinct paths, a stage may hold. It holds twice as many nodes in all: those whose
/// paths are all counted or dropped stay, so that their bounds need not be found again.
struct StageCapacity {
  int nodes;
  int paths;
};

/// The nodes of a stage by their keys, and their paths. Memory grows with what is stored, up to one and a half times
/// the capacity for paths.
class FisherStage {
 public:
  FisherStage(StageCapacity capacity, voran::detail::CancelPoll& poll);

  /// The place where the node with this key is, or belongs: kNone, until it is added.
  int& Slot(int key);
  static constexpr int kNone = -1;

  /// Throws NCError if the stage is full. References to other nodes end here.
  int Add(FisherNode node);
  FisherNode& operator[](int node) { return nodes_[static_cast<std::size_t>(node)]; }

  /// Adds `paths`, each longer by `arc`, to a node. Throws NCError if the stage is full.
  void Append(int node, std::span<const Path> paths, double arc);

  /// Hands over the nodes, with all paths in order. Throws NCError if those are too many.
  std::vector<FisherNode> Take();

 private:
  struct Entry {
    int key;
    int node;
  };

  void Settle();
  void Settle(FisherNode& node);
  void Rehash(std::size_t size);
  std::size_t Find(int key) const;

  StageCapacity capacity_;
  voran::detail::CancelPoll& poll_;
  std::vector<FisherNode> nodes_;
  std::vector<Entry> table_;  // open addressing; a power of two, at most half full
  std::size_t numWithPaths_ = 0;
  std::size_t numPaths_ = 0;
  std::size_t settleAt_;
};

}  // namespace detail
}  // namespace Sta
}  // namespace voran
