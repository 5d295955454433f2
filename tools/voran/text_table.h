#pragma once

#include <string>
#include <vector>

namespace tool {

/// Lines of aligned columns for the terminal: the first one to the left, the others to the right, each as wide as its
/// widest cell.
class TextTable {
 public:
  explicit TextTable(std::vector<std::string> headings) : rows_{std::move(headings)} {}

  /// As many cells as there are headings.
  void Row(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }

  std::string Text() const;

 private:
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace tool
