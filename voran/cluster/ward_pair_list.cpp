#include "voran/cluster/ward_pair_list.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

inline namespace voran {
namespace DendroGram {
namespace detail {
namespace {

constexpr std::size_t kPairsOfBlock = 256;
constexpr std::size_t kBlocksOfGroup = 256;
constexpr int kNever = std::numeric_limits<int>::max();
constexpr float kNothing = -std::numeric_limits<float>::infinity();

/// A search stops at a NaN, so it bounds nothing.
float BoundWith(float bound, float distance) {
  if (std::isnan(distance)) return std::numeric_limits<float>::infinity();
  return std::max(bound, distance);
}

/// Moves the second half of what two neighbours hold from `left` to `right`.
template <typename T>
void MoveHalf(std::vector<T>& left, std::vector<T>& right) {
  const auto middle = left.begin() + static_cast<std::ptrdiff_t>(left.size() / 2);
  right.assign(std::make_move_iterator(middle), std::make_move_iterator(left.end()));
  left.erase(middle, left.end());
}

}  // namespace

WardPairList::WardPairList(PairList pairs, int rows)
    : initial_(std::move(pairs)), lastMerge_(static_cast<std::size_t>(rows)) {
  for (std::size_t begin = 0; begin < initial_.size(); begin += kPairsOfBlock) {
    if (groups_.empty() || groups_.back().blocks.size() == kBlocksOfGroup) groups_.push_back({kNothing, {}});
    Block block{kNothing, begin, std::min(initial_.size(), begin + kPairsOfBlock)};
    for (std::size_t k = block.begin; k < block.end; ++k) block.bound = BoundWith(block.bound, initial_[k].distance);
    Group& group = groups_.back();
    group.bound = std::max(group.bound, block.bound);
    group.blocks.push_back(std::move(block));
  }
}

WardPairList::State WardPairList::StateOf(const Pair& pair) const {
  const int changed = std::max(lastMerge_[static_cast<std::size_t>(pair.first) - 1],
                               lastMerge_[static_cast<std::size_t>(pair.second) - 1]);
  if (changed <= pair.born) return State::kValid;
  return changed == kNever ? State::kGone : State::kStale;
}

std::size_t WardPairList::SizeOf(const Block& block) {
  return block.isOwn ? block.own.size() : block.end - block.begin;
}

WardPairList::Pair WardPairList::PairAt(const Block& block, std::size_t k) const {
  if (block.isOwn) return block.own[k];
  const DistanceAndIndex& pair = initial_[block.begin + k];
  return {pair.distance, pair.first, pair.second, 0};
}

bool WardPairList::FindLast(Pair& pair) {
  while (!groups_.empty()) {
    std::vector<Block>& blocks = groups_.back().blocks;
    if (blocks.empty()) {
      groups_.pop_back();
    } else if (SizeOf(blocks.back()) == 0) {
      blocks.pop_back();
    } else {
      pair = PairAt(blocks.back(), SizeOf(blocks.back()) - 1);
      if (StateOf(pair) != State::kGone) return true;
      RemoveLast();
    }
  }
  return false;
}

void WardPairList::RemoveLast() {
  Block& block = groups_.back().blocks.back();
  if (block.isOwn) {
    block.own.pop_back();
  } else {
    --block.end;
  }
}

std::vector<WardPairList::Pair> WardPairList::TakeStaleTail() {
  std::vector<Pair> tail;
  for (Pair pair; FindLast(pair) && StateOf(pair) == State::kStale; RemoveLast()) tail.push_back(pair);
  std::reverse(tail.begin(), tail.end());
  return tail;
}

void WardPairList::Append(const Pair& pair) {
  if (groups_.empty()) groups_.push_back({kNothing, {}});
  Group& group = groups_.back();
  if (group.blocks.empty()) group.blocks.push_back({kNothing});
  InsertAt(groups_.size() - 1, group.blocks.size() - 1, SizeOf(group.blocks.back()), pair);
}

void WardPairList::Insert(const Pair& pair) {
  for (std::size_t g = groups_.size(); g-- > 0;) {
    if (groups_[g].bound < pair.distance) continue;
    std::vector<Block>& blocks = groups_[g].blocks;
    float bound = kNothing;
    for (std::size_t b = blocks.size(); b-- > 0;) {
      if (!(blocks[b].bound < pair.distance)) {
        const std::size_t place = PlaceIn(blocks[b], pair.distance);
        if (place != kNowhere) return InsertAt(g, b, place, pair);
        LowerBound(blocks[b]);
      }
      bound = std::max(bound, blocks[b].bound);
    }
    groups_[g].bound = bound;
  }
  if (groups_.empty() || groups_.front().blocks.empty()) return Append(pair);
  InsertAt(0, 0, 0, pair);
}

std::size_t WardPairList::PlaceIn(const Block& block, float distance) const {
  for (std::size_t k = SizeOf(block); k-- > 0;) {
    const Pair other = PairAt(block, k);
    if (distance > other.distance || StateOf(other) != State::kValid) continue;
    return other.distance > distance ? k + 1 : k;
  }
  return kNowhere;
}

void WardPairList::LowerBound(Block& block) {
  if (block.isOwn) {
    std::erase_if(block.own, [this](const Pair& pair) { return StateOf(pair) == State::kGone; });
  }
  block.bound = kNothing;
  for (std::size_t k = 0; k < SizeOf(block); ++k) {
    const Pair pair = PairAt(block, k);
    if (StateOf(pair) != State::kValid) continue;
    block.bound = BoundWith(block.bound, pair.distance);
    if (!block.isOwn) break;  // the initial list is sorted
  }
}

void WardPairList::InsertAt(std::size_t g, std::size_t b, std::size_t place, const Pair& pair) {
  Group& group = groups_[g];
  Block& block = group.blocks[b];
  if (!block.isOwn) {
    block.own.reserve(2 * kPairsOfBlock);
    for (std::size_t k = 0; k < SizeOf(block); ++k) block.own.push_back(PairAt(block, k));
    block.isOwn = true;
  }
  block.own.insert(block.own.begin() + static_cast<std::ptrdiff_t>(place), pair);
  block.bound = BoundWith(block.bound, pair.distance);
  group.bound = std::max(group.bound, block.bound);
  if (block.own.size() >= 2 * kPairsOfBlock) SplitBlock(group.blocks, b);
  if (group.blocks.size() >= 2 * kBlocksOfGroup) SplitGroup(g);
}

void WardPairList::SplitBlock(std::vector<Block>& blocks, std::size_t b) {
  Block right{blocks[b].bound};
  right.isOwn = true;
  right.own.reserve(2 * kPairsOfBlock);
  MoveHalf(blocks[b].own, right.own);
  blocks.insert(blocks.begin() + static_cast<std::ptrdiff_t>(b) + 1, std::move(right));
}

void WardPairList::SplitGroup(std::size_t g) {
  Group right{groups_[g].bound, {}};
  MoveHalf(groups_[g].blocks, right.blocks);
  groups_.insert(groups_.begin() + static_cast<std::ptrdiff_t>(g) + 1, std::move(right));
}

void WardPairList::Merge(int kept, int gone) {
  ++merges_;
  lastMerge_[static_cast<std::size_t>(kept) - 1] = merges_;
  lastMerge_[static_cast<std::size_t>(gone) - 1] = kNever;
}

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
