#include "voran/statistics/fisher_stage.h"

#include <algorithm>
#include <utility>

#include "voran/statistics/fisher_error.h"

inline namespace voran {
namespace Sta {
namespace detail {
namespace {

// Lengths of equal paths differ by rounding, 1e-12 at most; those of unequal ones nearly always by far more.
constexpr double kSameLength = 1e-9;
constexpr std::size_t kFewPaths = 64;
constexpr std::size_t kFirstTableSize = 64;

bool IsShorter(const Path& a, const Path& b) {
  return a.length < b.length;
}

/// Makes one path of those of the same length; `paths` are sorted and not empty.
void MergeEqual(std::vector<Path>& paths) {
  auto kept = paths.begin();
  for (auto next = kept + 1; next != paths.end(); ++next) {
    if (next->length - kept->length <= kSameLength) {
      kept->count += next->count;
    } else {
      *++kept = *next;
    }
  }
  paths.erase(kept + 1, paths.end());
}

}  // namespace

FisherStage::FisherStage(StageCapacity capacity, voran::detail::CancelPoll& poll)
    : capacity_(capacity),
      poll_(poll),
      table_(kFirstTableSize, Entry{0, kNone}),
      settleAt_(static_cast<std::size_t>(capacity.paths)) {}

std::size_t FisherStage::Find(int key) const {
  const std::size_t mask = table_.size() - 1;
  constexpr std::uint32_t kSpread = 0x9E3779B1;  // 2^32 over the golden ratio (Knuth, section 6.4)
  std::size_t at = (static_cast<std::uint32_t>(key) * kSpread >> 7) & mask;
  while (table_[at].node != kNone && table_[at].key != key) at = (at + 1) & mask;
  return at;
}

int& FisherStage::Slot(int key) {
  if (2 * (nodes_.size() + 1) > table_.size()) Rehash(2 * table_.size());
  Entry& entry = table_[Find(key)];
  entry.key = key;
  return entry.node;
}

void FisherStage::Rehash(std::size_t size) {
  std::vector<Entry> old(size, Entry{0, kNone});
  old.swap(table_);
  for (const Entry& entry : old) {
    if (entry.node != kNone) table_[Find(entry.key)] = entry;
  }
}

int FisherStage::Add(FisherNode node) {
  if (nodes_.size() >= 2 * static_cast<std::size_t>(capacity_.nodes)) FailExactTest(kTooManyNodes);
  nodes_.push_back(std::move(node));
  return static_cast<int>(nodes_.size()) - 1;
}

void FisherStage::Append(int node, std::span<const Path> paths, double arc) {
  if (paths.empty()) return;
  FisherNode& target = (*this)[node];
  if (target.paths.empty() && ++numWithPaths_ > static_cast<std::size_t>(capacity_.nodes)) FailExactTest(kTooManyNodes);
  for (const Path& path : paths) target.paths.push_back({path.length + arc, path.count});
  numPaths_ += paths.size();
  if (target.paths.size() > std::max(kFewPaths, 2 * target.numSettled)) Settle(target);
  if (numPaths_ > settleAt_) Settle();
}

std::vector<FisherNode> FisherStage::Take() {
  Settle();
  return std::move(nodes_);
}

void FisherStage::Settle(FisherNode& node) {
  if (node.numSettled == node.paths.size()) return;
  const std::size_t before = node.paths.size();
  poll_.Add(before);
  const auto fresh = node.paths.begin() + static_cast<std::ptrdiff_t>(node.numSettled);
  std::sort(fresh, node.paths.end(), IsShorter);
  std::inplace_merge(node.paths.begin(), fresh, node.paths.end(), IsShorter);
  MergeEqual(node.paths);
  node.numSettled = node.paths.size();
  numPaths_ -= before - node.paths.size();
}

void FisherStage::Settle() {
  for (FisherNode& node : nodes_) Settle(node);
  const auto most = static_cast<std::size_t>(capacity_.paths);
  if (numPaths_ > most) {
    FailExactTest("LDSTP is too small for this problem.\nTry increasing the size of the workspace.");
  }
  settleAt_ = std::max(most, numPaths_ + most / 2);  // so that what is settled again is worth it
}

}  // namespace detail
}  // namespace Sta
}  // namespace voran
