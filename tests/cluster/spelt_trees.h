#pragma once

#include <algorithm>
#include <cstddef>
#include <list>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <boost/thread/thread.hpp>

#include "voran/cluster/dendrogram_node.h"

/// Trees in letters: "3" is the leaf of row 3, "3+4" a leaf of two rows, "(2.5 3+4 (1 1 2))" joins two trees at 2.5.
namespace spelt {

using DendroGram::DendroGramNode;
using DendroGram::DendroGramPointer;
using Nodes = std::list<const DendroGramNode*>;

inline DendroGramPointer Leaf(int row) {
  return DendroGramPointer(new DendroGramNode(row));
}
inline DendroGramPointer Join(float height, DendroGramPointer left, DendroGramPointer right) {
  return DendroGramPointer(new DendroGramNode(height, left.release(), right.release()));
}

inline DendroGramPointer Parse(std::istream& text) {
  if ((text >> std::ws).peek() != '(') {
    std::list<int> rows(1);
    text >> rows.front();
    for (int row = 0; text.peek() == '+' && text.ignore() && text >> row;) rows.push_back(row);
    return DendroGramPointer(new DendroGramNode(rows));
  }
  float height = 0;
  text.ignore() >> height;
  DendroGramPointer left = Parse(text);
  DendroGramPointer right = Parse(text);
  (text >> std::ws).ignore();
  return Join(height, std::move(left), std::move(right));
}
inline DendroGramPointer Tree(const std::string& text) {
  std::istringstream stream(text);
  return Parse(stream);
}

inline std::string Spell(const DendroGramNode& node) {
  std::ostringstream text;
  if (node.IsLeaf()) {
    for (const int row : *node.Items()) text << (text.str().empty() ? "" : "+") << row;
    return text.str();
  }
  text << '(' << node.Height() << ' ' << Spell(*node.GetLeft()) << ' ' << Spell(*node.GetRight()) << ')';
  return text.str();
}

inline std::string Spell(const Nodes& nodes) {
  std::string text;
  for (const DendroGramNode* const node : nodes) text += (text.empty() ? "" : " ") + Spell(*node);
  return text;
}

/// Takes over a list that belongs to the caller.
inline std::string SpellOwned(Nodes* nodes) {
  const std::unique_ptr<Nodes> owner(nodes);
  return Spell(*owner);
}

/// Every node hangs on the left (or right) of the next, higher one; each leaf holds one row.
inline DendroGramPointer Chain(int leafs, bool hangsLeft) {
  DendroGramPointer tree = Leaf(1);
  for (int row = 2; row <= leafs; ++row) {
    const auto height = static_cast<float>(row);
    tree = hangsLeft ? Join(height, std::move(tree), Leaf(row)) : Join(height, Leaf(row), std::move(tree));
  }
  return tree;
}

/// A tree of any shape, the rows in any order, heights rising, many of them equal.
inline DendroGramPointer RandomTree(int leafs, std::mt19937& random) {
  std::vector<DendroGramPointer> trees;
  for (int row = 1; row <= leafs; ++row) trees.push_back(Leaf(row));
  std::shuffle(trees.begin(), trees.end(), random);
  float height = 1;
  while (trees.size() > 1) {
    std::swap(trees[random() % trees.size()], trees.back());
    DendroGramPointer right = std::move(trees.back());
    trees.pop_back();
    DendroGramPointer& left = trees[random() % trees.size()];
    height += static_cast<float>(random() % 3);
    left = Join(height, std::move(left), std::move(right));
  }
  return std::move(trees.front());
}

/// Runs it where a recursion some thousands of calls deep ends the program.
template <class Body>
void OnSmallStack(Body body) {
  boost::thread::attributes attributes;
  attributes.set_stack_size(std::size_t{256} << 10U);
  boost::thread(attributes, body).join();
}
constexpr int kDeep = 60000;

}  // namespace spelt
