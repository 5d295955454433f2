#include <algorithm>
#include <queue>
#include <tuple>
#include <unordered_map>

#include "voran/cluster/dendrogram.h"
#include "voran/cluster/tree_walk.h"
#include "voran/containers/missing_value.h"
#include "voran/platform/nc_error.h"

inline namespace voran {
namespace DendroGram {

namespace {

using Ids = NCIntegralVector<unsigned long, 0>;
using Items = std::vector<std::vector<unsigned long>>;

struct Merge {
  const DendroGramNode* node;
  int rank;  ///< in the walk: what is equal keeps its order

  /// Reversed, for a queue whose top is its greatest.
  bool operator<(const Merge& other) const {
    return std::tuple(other.node->Height(), other.node->SizeLeafs(), other.rank) <
           std::tuple(node->Height(), node->SizeLeafs(), rank);
  }
};

class MergeTable {
 public:
  explicit MergeTable(const DendroGramNode& root) : root_(&root) {
    std::vector<const DendroGramNode*> leafs;
    voran::detail::WalkPreOrder(root, [&](const DendroGramNode& node) {
      if (node.IsLeaf()) {
        leafs.push_back(&node);
      } else {
        open_.try_emplace(&node, OpenNode{2, static_cast<int>(open_.size())});
      }
    });
    std::stable_sort(leafs.begin(), leafs.end(), [](const DendroGramNode* a, const DendroGramNode* b) {
      return voran::detail::LowestRow(*a) < voran::detail::LowestRow(*b);
    });
    for (const DendroGramNode* const leaf : leafs) Number(*leaf);
  }

  int Size() const { return static_cast<int>(open_.size()); }
  bool IsDone() const { return ready_.empty(); }

  /// The lowest merge of those whose children have ids.
  const DendroGramNode& Next() {
    const DendroGramNode& node = *ready_.top().node;
    ready_.pop();
    return node;
  }
  unsigned long IdOf(const DendroGramNode* node) const { return ids_.at(node); }
  /// Gives the next id, and lets the parent follow when its other child has one too.
  unsigned long Number(const DendroGramNode& node) {
    const unsigned long id = ids_.size() + 1;
    ids_[&node] = id;
    if (&node == root_) return id;
    OpenNode& parent = open_.at(node.GetParent());
    if (--parent.childrenWithoutId == 0) ready_.push({node.GetParent(), parent.rank});
    return id;
  }

 private:
  struct OpenNode {
    int childrenWithoutId;
    int rank;
  };

  const DendroGramNode* root_;
  std::unordered_map<const DendroGramNode*, OpenNode> open_;
  std::unordered_map<const DendroGramNode*, unsigned long> ids_;
  std::priority_queue<Merge> ready_;
};

std::vector<unsigned long> ItemsOf(const DendroGramNode& node) {
  if (!node.IsLeaf()) return {};
  return {node.Items()->begin(), node.Items()->end()};
}

}  // namespace

void CreateMergeData(const DendroGramNode& root, NCDataVector<float>& heights, Ids& firstIds, Ids& secondIds,
                     Ids& newIds, Items* firstItems, Items* secondItems) {
  if ((firstItems == nullptr) != (secondItems == nullptr)) throw NCInternalError("DendroGram::CreateMergeData");
  MergeTable table(root);
  heights = NCDataVector<float>(table.Size(), voran::detail::kMissing<float>);
  for (Ids* ids : {&firstIds, &secondIds, &newIds}) *ids = Ids(table.Size(), 0);
  if (firstItems != nullptr) {
    firstItems->assign(static_cast<std::size_t>(table.Size()), {});
    secondItems->assign(static_cast<std::size_t>(table.Size()), {});
  }
  for (int p = 1; !table.IsDone(); ++p) {
    const DendroGramNode& node = table.Next();
    heights(p, node.Height());
    firstIds(p, table.IdOf(node.GetLeft()));
    secondIds(p, table.IdOf(node.GetRight()));
    newIds(p, table.Number(node));
    if (firstItems == nullptr) continue;
    (*firstItems)[static_cast<std::size_t>(p) - 1] = ItemsOf(*node.GetLeft());
    (*secondItems)[static_cast<std::size_t>(p) - 1] = ItemsOf(*node.GetRight());
  }
}

}  // namespace DendroGram
}  // namespace voran
