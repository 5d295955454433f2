#include <algorithm>
#include <memory>
#include <unordered_map>
#include <utility>

#include "voran/cluster/dendrogram_node.h"
#include "voran/cluster/tree_walk.h"

inline namespace voran {
namespace DendroGram {

using Nodes = std::list<const DendroGramNode*>;

void DendroGramNode::GetLeafs(std::list<int>& rows) const {
  voran::detail::WalkPreOrder(
      *this, [&rows](const DendroGramNode& node) { rows.insert(rows.end(), node.items_.begin(), node.items_.end()); });
}

Nodes* DendroGramNode::GetNodes(const std::vector<int>& rows) const {
  auto nodes = std::make_unique<Nodes>();
  GetNodes(rows, *nodes);
  return nodes.release();
}

void DendroGramNode::GetNodes(const std::vector<int>& rows, Nodes& nodes) const {
  nodes.clear();
  const auto isWanted = [&rows](int row) { return std::binary_search(rows.begin(), rows.end(), row); };
  voran::detail::WalkPreOrder(*this, [&](const DendroGramNode& node) {
    if (std::any_of(node.items_.begin(), node.items_.end(), isWanted)) nodes.push_back(&node);
  });
  ReLink(nodes);
}

namespace {

/// A node in the list, and how early it stands there.
struct Place {
  Nodes::iterator at;
  std::size_t rank;
};

}  // namespace

/// One pass: `settled` holds the nodes seen so far, among which there are no two siblings. The next one takes its place
/// among them, or joins with its sibling to their parent, for which the same is asked.
void DendroGramNode::ReLink(Nodes& nodes) {
  std::unordered_map<const DendroGramNode*, Place> settled;
  std::size_t rank = 0;
  for (auto next = nodes.begin(); next != nodes.end();) {
    for (Place place{next++, rank++};;) {
      const DendroGramNode* const node = *place.at;
      const auto [found, isNew] = settled.try_emplace(node, place);
      if (!isNew) {
        if (place.rank < found->second.rank) std::swap(place, found->second);
        nodes.erase(place.at);
        break;
      }
      const DendroGramNode* const parent = node->parent_;
      if (parent == nullptr) break;
      const auto sibling = settled.find(parent->left_ == node ? parent->right_ : parent->left_);
      if (sibling == settled.end()) break;
      Place other = sibling->second;
      settled.erase(sibling);
      settled.erase(node);
      if (other.rank < place.rank) std::swap(place, other);
      *place.at = parent;
      nodes.erase(other.at);
    }
  }
}

bool DendroGramNode::IsSubNode(const DendroGramNode* other) const noexcept {
  while (other != nullptr && other != this) other = other->parent_;
  return other == this;
}

}  // namespace DendroGram
}  // namespace voran
