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
constexpr float kUnknown = std::numeric_limits<float>::infinity();

/// A search stops at a NaN, so it bounds nothing.
float BoundWith(float bound, float distance) {
  return std::isnan(distance) ? kUnknown : std::max(bound, distance);
}

}  // namespace

WardPairList::WardPairList(PairList pairs, const PairSort& sort, int rows)
    : initial_(std::move(pairs)),
      hasNaN_(
          std::any_of(initial_.begin(), initial_.end(), [](const auto& pair) { return std::isnan(pair.distance); })),
      lastMerge_(static_cast<std::size_t>(rows)) {
  Group all{kUnknown, {}};
  std::size_t sorted = 0;
  for (const SortRange& range : sort.GetPending()) {
    AddSorted(sorted, range.begin, all.blocks);
    all.blocks.push_back({Kind::kUnsorted, kUnknown, range});
    sorted = range.end;
  }
  AddSorted(sorted, initial_.size(), all.blocks);
  groups_.push_back(std::move(all));
  SplitGroup(0);
}

void WardPairList::AddSorted(std::size_t begin, std::size_t end, std::vector<Block>& blocks) const {
  for (; begin < end; begin += kPairsOfBlock) {
    const SortRange range{begin, std::min(end, begin + kPairsOfBlock), 0};
    const std::size_t bounding =
        hasNaN_ ? range.end : begin + 1;  // with a NaN among them, the first need not be largest
    float bound = kNothing;
    for (std::size_t k = begin; k < bounding; ++k) bound = BoundWith(bound, initial_[k].distance);
    blocks.push_back({Kind::kSorted, bound, range});
  }
}

WardPairList::State WardPairList::StateOf(const Pair& pair) const {
  const int changed = std::max(lastMerge_[static_cast<std::size_t>(pair.first) - 1],
                               lastMerge_[static_cast<std::size_t>(pair.second) - 1]);
  if (changed <= pair.born) return State::kValid;
  return changed == kNever ? State::kGone : State::kStale;
}

std::size_t WardPairList::SizeOf(const Block& block) {
  return block.kind == Kind::kOwn ? block.own.size() : block.initial.end - block.initial.begin;
}

WardPairList::Pair WardPairList::PairAt(const Block& block, std::size_t k) const {
  if (block.kind == Kind::kOwn) return block.own[k];
  const DistanceAndIndex& pair = initial_[block.initial.begin + k];
  return {pair.distance, pair.first, pair.second, 0};
}

bool WardPairList::FindLast(Pair& pair) {
  while (!groups_.empty()) {
    std::vector<Block>& blocks = groups_.back().blocks;
    if (blocks.empty()) {
      groups_.pop_back();
    } else if (SizeOf(blocks.back()) == 0) {
      blocks.pop_back();
    } else if (blocks.back().kind == Kind::kUnsorted) {
      LowerBound(blocks.back());
      if (SizeOf(blocks.back()) != 0) SortBlock(groups_.size() - 1, blocks.size() - 1);
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
  if (block.kind == Kind::kOwn) {
    block.own.pop_back();
  } else {
    --block.initial.end;
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
  if (group.blocks.empty()) group.blocks.push_back({Kind::kOwn, kNothing});
  InsertAt(groups_.size() - 1, group.blocks.size() - 1, SizeOf(group.blocks.back()), pair);
}

void WardPairList::Insert(const Pair& pair) {
  for (std::size_t g = groups_.size(); g-- > 0;) {
    if (groups_[g].bound < pair.distance) continue;
    std::vector<Block>& blocks = groups_[g].blocks;
    float bound = kNothing;
    for (std::size_t b = blocks.size(); b-- > 0;) {
      if (blocks[b].kind == Kind::kUnsorted && !(blocks[b].bound < pair.distance)) {
        LowerBound(blocks[b]);
        if (!(blocks[b].bound < pair.distance)) {
          SortBlock(g, b);
          return Insert(pair);
        }
      }
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
  const auto isGone = [this](const Pair& pair) { return StateOf(pair) == State::kGone; };
  if (block.kind == Kind::kOwn) std::erase_if(block.own, isGone);
  block.bound = kNothing;
  bool isEmpty = true;
  for (std::size_t k = 0; k < SizeOf(block); ++k) {
    const Pair pair = PairAt(block, k);
    const State state = StateOf(pair);
    isEmpty = isEmpty && state == State::kGone;
    if (state != State::kValid) continue;
    block.bound = BoundWith(block.bound, pair.distance);
    if (block.kind == Kind::kSorted && !hasNaN_) return;
  }
  if (isEmpty) block.initial.end = block.initial.begin;
}

void WardPairList::SortBlock(std::size_t g, std::size_t b) {
  std::vector<Block>& blocks = groups_[g].blocks;
  const SortRange range = blocks[b].initial;
  const SortStep done = SortOneStep(initial_, range, nullptr);
  const float pivot = BoundWith(kNothing, initial_[done.begin].distance);
  std::vector<Block> parts;
  if (range.begin < done.begin) {
    parts.push_back({Kind::kUnsorted, blocks[b].bound, {range.begin, done.begin, done.budget}});
  }
  AddSorted(done.begin, done.end, parts);
  if (done.end < range.end) parts.push_back({Kind::kUnsorted, pivot, {done.end, range.end, done.budget}});
  const auto place = blocks.erase(blocks.begin() + static_cast<std::ptrdiff_t>(b));
  blocks.insert(place, std::make_move_iterator(parts.begin()), std::make_move_iterator(parts.end()));
  if (blocks.size() >= 2 * kBlocksOfGroup) SplitGroup(g);
}

void WardPairList::InsertAt(std::size_t g, std::size_t b, std::size_t place, const Pair& pair) {
  Group& group = groups_[g];
  if (group.blocks[b].kind == Kind::kUnsorted) {  // in front of everything
    group.blocks.insert(group.blocks.begin() + static_cast<std::ptrdiff_t>(b), Block{Kind::kOwn, kNothing});
  }
  Block& block = group.blocks[b];
  if (block.kind == Kind::kSorted) place = TakeOver(block, place);
  block.own.insert(block.own.begin() + static_cast<std::ptrdiff_t>(place), pair);
  block.bound = BoundWith(block.bound, pair.distance);
  group.bound = std::max(group.bound, block.bound);
  if (block.own.size() >= 2 * kPairsOfBlock) SplitBlock(group.blocks, b);
  if (group.blocks.size() >= 2 * kBlocksOfGroup) SplitGroup(g);
}

std::size_t WardPairList::TakeOver(Block& block, std::size_t place) const {
  std::size_t placed = 0;
  for (std::size_t k = 0; k < SizeOf(block); ++k) {
    const Pair pair = PairAt(block, k);
    if (StateOf(pair) == State::kGone) continue;
    block.own.push_back(pair);
    if (k < place) ++placed;
  }
  block.kind = Kind::kOwn;
  return placed;
}

void WardPairList::SplitBlock(std::vector<Block>& blocks, std::size_t b) {
  std::vector<Pair>& left = blocks[b].own;
  const auto middle = left.begin() + static_cast<std::ptrdiff_t>(left.size() / 2);
  Block right{Kind::kOwn, blocks[b].bound};
  right.own.assign(middle, left.end());
  left.erase(middle, left.end());
  blocks.insert(blocks.begin() + static_cast<std::ptrdiff_t>(b) + 1, std::move(right));
}

void WardPairList::SplitGroup(std::size_t g) {
  std::vector<Block> blocks = std::move(groups_[g].blocks);
  std::vector<Group> parts;
  for (Block& block : blocks) {
    if (parts.empty() || parts.back().blocks.size() == kBlocksOfGroup) parts.push_back({kNothing, {}});
    parts.back().bound = std::max(parts.back().bound, block.bound);
    parts.back().blocks.push_back(std::move(block));
  }
  const auto place = groups_.erase(groups_.begin() + static_cast<std::ptrdiff_t>(g));
  groups_.insert(place, std::make_move_iterator(parts.begin()), std::make_move_iterator(parts.end()));
}

void WardPairList::Merge(int kept, int gone) {
  ++merges_;
  lastMerge_[static_cast<std::size_t>(kept) - 1] = merges_;
  lastMerge_[static_cast<std::size_t>(gone) - 1] = kNever;
}

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
