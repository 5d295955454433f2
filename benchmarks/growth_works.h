#pragma once

#include <functional>
#include <string>
#include <vector>

namespace growth {

/// A table to work on. `gapShare` of its elements are missing.
struct Shape {
  int rows;
  int columns;
  double gapShare;
};

/// What is measured, and at which sizes.
struct Work {
  std::string name;
  std::vector<int> rows;     ///< with the second of `columns`
  std::vector<int> columns;  ///< with the second of `rows`
  /// Makes the data, and returns what is to be timed; it can be called again and again.
  std::function<std::function<void()>(const Shape&)> prepare;
};

/// A model of each kind with a fixed number of components, prediction, cross-validation, and both clusterings.
std::vector<Work> Works();

}  // namespace growth
