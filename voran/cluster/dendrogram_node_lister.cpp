#include "voran/cluster/dendrogram_node_lister.h"

#include <algorithm>
#include <iterator>

#include "voran/cluster/tree_walk.h"
#include "voran/containers/missing_value.h"

inline namespace voran {
namespace DendroGram {

namespace {

/// The middle of two rows; between two, the lower one on the screen.
int MiddleRow(int first, int second) {
  return (first + second + 1) / 2;
}

}  // namespace

DendroGramNodeLister::DendroGramNodeLister(const DendroGramNode& root) {
  std::vector<Cell> done;  // the subtrees whose parents are not
  for (const DendroGramNode* const node : voran::detail::PostOrder(root)) {
    if (node->IsLeaf()) {
      done.push_back(ListLeaf(*node));
      continue;
    }
    const Cell right = done.back();
    done.pop_back();
    done.back() = ListInnerNode(*node, done.back(), right);
  }
  columnCount_ = done.back().column;
}

DendroGramNodeLister::Cell DendroGramNodeLister::ListLeaf(const DendroGramNode& leaf) {
  rowIds_.insert(rowIds_.end(), leaf.Items()->begin(), leaf.Items()->end());
  const int row = MiddleRow(rowCount_, rowCount_ + leaf.SizeItems());
  rowCount_ += leaf.SizeItems();
  breaks_.insert(rowCount_);
  return {row, 0};
}

DendroGramNodeLister::Cell DendroGramNodeLister::ListInnerNode(const DendroGramNode& node, Cell left, Cell right) {
  const int column = std::max(left.column, right.column) + 1;
  AddLine(horizontal_, left.row, left.column + 1, column - 1);
  AddLine(horizontal_, right.row, right.column + 1, column - 1);
  AddLine(vertical_, column, left.row + 1, right.row);
  const int row = MiddleRow(left.row, right.row);
  AddLine(horizontal_, row, column, column);
  values_[{row, column}] = node.Height();
  return {row, column};
}

/// Lines that meet become one, so that no line hides another from IsOnLine.
void DendroGramNodeLister::AddLine(Lines& lines, int at, int first, int last) {
  if (first > last) return;
  auto next = lines.upper_bound({at, first});
  if (next != lines.begin()) {
    const auto before = std::prev(next);
    if (before->first.first == at && before->second >= first - 1) {
      first = before->first.second;
      next = before;
    }
  }
  for (; next != lines.end() && next->first.first == at && next->first.second <= last + 1; next = lines.erase(next)) {
    last = std::max(last, next->second);
  }
  lines[{at, first}] = last;
}

bool DendroGramNodeLister::IsOnLine(const Lines& lines, int at, int position) {
  const auto next = lines.upper_bound({at, position});
  if (next == lines.begin()) return false;
  const auto& [key, last] = *std::prev(next);
  return key.first == at && position <= last;
}

float DendroGramNodeLister::GetCellValue(int row, int column) const {
  const auto found = values_.find({row, column});
  return found == values_.end() ? voran::detail::kMissing<float> : found->second;
}

int DendroGramNodeLister::GetCellBorders(int row, int column) const {
  return (IsOnLine(horizontal_, row, column) ? kHorizontal : 0) | (IsOnLine(vertical_, column, row) ? kVertical : 0);
}

}  // namespace DendroGram
}  // namespace voran
