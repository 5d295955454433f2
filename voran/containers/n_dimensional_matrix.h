#pragma once

#include <cassert>
#include <cstddef>
#include <span>
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
      : NDimensionalMatrix(Leading(sizes, depth < 1 ? -1 : depth), value) {}

  /// The first `depth` entries of `index`, or all of them when `depth` is negative, lead to the cell. Get and Set throw
  /// Exception if they are not as many as the dimensions.
  T Get(const std::vector<int>& index, int depth) const { return Cell(index, depth); }
  void Set(const std::vector<int>& index, T value, int depth) { Cell(index, depth) = value; }

 private:
  using Node = boost::shared_ptr<NDimensionalMatrix>;

  NDimensionalMatrix(std::span<const int> sizes, T value) {
    const auto size = static_cast<std::size_t>(sizes.front());
    if (sizes.size() == 1) {
      cells_ = boost::make_shared<std::vector<T>>(size, value);
      return;
    }
    nodes_ = boost::make_shared<std::vector<Node>>(size);
    for (Node& node : *nodes_) node.reset(new NDimensionalMatrix(sizes.subspan(1), value));
  }

  [[noreturn]] static void ThrowSizeMismatch() {
    throw Exception(ExceptionMessage::translate("Matrix size mismatch", "dimension error"));
  }

  /// The first `depth` entries of `list`, of which there must be one at least; all of them if `depth` is negative.
  static std::span<const int> Leading(const std::vector<int>& list, int depth) {
    const std::size_t count = depth < 0 ? list.size() : static_cast<std::size_t>(depth);
    if (count == 0 || count > list.size()) ThrowSizeMismatch();
    return std::span(list).first(count);
  }

  T& Cell(const std::vector<int>& index, int depth) const {
    const std::span<const int> path = Leading(index, depth);
    const NDimensionalMatrix* node = this;
    for (const int i : path.first(path.size() - 1)) {
      if (!node->nodes_) ThrowSizeMismatch();
      node = (*node->nodes_)[Offset(i)].get();
    }
    if (!node->cells_) ThrowSizeMismatch();
    return (*node->cells_)[Offset(path.back())];
  }

  static std::size_t Offset(int index) {
    assert(index >= 1);
    return static_cast<std::size_t>(index) - 1;
  }

  boost::shared_ptr<std::vector<T>> cells_;
  boost::shared_ptr<std::vector<Node>> nodes_;
};

}  // namespace voran
