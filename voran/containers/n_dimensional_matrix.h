#pragma once

#include <cassert>
#include <cstddef>
#include <utility>
#include <vector>

#include <boost/smart_ptr/make_shared.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>

#include "voran/platform/exception.h"
#include "voran/platform/exception_message.h"

inline namespace voran {

/// An array of any number of dimensions, as a tree: a node of the last dimension holds cells, any other one holds one
/// node per index. It takes memory for the product of all sizes.
///
/// Copying shares all nodes, so a write shows in every copy. Indices are 1-based and are not range-checked.
template <typename T>
class NDimensionalMatrix {
 public:
  /// All cells become `value`. Of `sizes`, the first `depth` are used, or all of them when `depth` is below 1. Throws
  /// Exception if `sizes` is empty or holds fewer than `depth`.
  NDimensionalMatrix(const std::vector<int>& sizes, T value, int depth)
      : NDimensionalMatrix(sizes.data(), CheckedDepth(sizes, depth < 1 ? -1 : depth), value) {}

  /// The first `depth` entries of `index`, or all of them when `depth` is negative, lead to the cell. Get and Set throw
  /// Exception if they are not as many as the dimensions.
  T Get(const std::vector<int>& index, int depth) const { return Cell(index, depth); }
  void Set(const std::vector<int>& index, T value, int depth) { Cell(index, depth) = value; }

 private:
  using Node = boost::shared_ptr<NDimensionalMatrix>;

  NDimensionalMatrix(const int* sizes, int depth, T value) {
    const auto size = static_cast<std::size_t>(*sizes);
    if (depth == 1) {
      cells_ = boost::make_shared<std::vector<T>>(size, value);
      return;
    }
    std::vector<Node> nodes;
    nodes.reserve(size);
    while (nodes.size() < size) nodes.push_back(Node(new NDimensionalMatrix(sizes + 1, depth - 1, value)));
    nodes_ = boost::make_shared<std::vector<Node>>(std::move(nodes));
  }

  [[noreturn]] static void ThrowSizeMismatch() {
    throw Exception(ExceptionMessage::translate("Matrix size mismatch", "dimension error"));
  }

  static int CheckedDepth(const std::vector<int>& list, int depth) {
    const auto available = static_cast<int>(list.size());
    if (depth < 0) depth = available;
    if (depth == 0 || depth > available) ThrowSizeMismatch();
    return depth;
  }

  T& Cell(const std::vector<int>& index, int depth) const {
    const int* at = index.data();
    const int* const last = at + CheckedDepth(index, depth) - 1;
    const NDimensionalMatrix* node = this;
    for (; node->nodes_ && at != last; ++at) node = (*node->nodes_)[Offset(*at)].get();
    if (node->nodes_ || at != last) ThrowSizeMismatch();
    return (*node->cells_)[Offset(*at)];
  }

  static std::size_t Offset(int index) {
    assert(index >= 1);
    return static_cast<std::size_t>(index) - 1;
  }

  boost::shared_ptr<std::vector<T>> cells_;
  boost::shared_ptr<std::vector<Node>> nodes_;
};

}  // namespace voran
