#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "voran/cluster/dendrogram_node.h"
#include "voran/export.h"

inline namespace voran {
namespace DendroGram {

/// A tree as a grid of cells, for a view like a spreadsheet: a row for each data row, a column for each level of the
/// tree, and cells with borders that draw its lines. Rows are numbered from 1; leaves are in column 0. It copies what
/// it needs of the tree, in memory linear in its size.
class VORAN_EXPORT DendroGramNodeLister {
 public:
  enum Border : int { kHorizontal = 1, kVertical = 2 };  ///< bits

  explicit DendroGramNodeLister(const DendroGramNode& root);

  int SizeRows() const { return rowCount_; }
  /// The column of the root.
  int SizeCols() const { return columnCount_; }
  /// The data row shown in grid row `row`, which is not checked.
  int GetRowID(int row) const { return rowIds_[static_cast<std::size_t>(row) - 1]; }
  /// Whether a leaf ends at this row.
  bool IsBreak(int row) const { return breaks_.count(row) != 0; }
  /// The height of the node that stands in the cell, -99 if there is none.
  float GetCellValue(int row, int column) const;
  int GetCellBorders(int row, int column) const;

 private:
  /// Lines of cells, by where they lie and begin: (row, first column) or (column, first row), and the last of them.
  /// Cells one by one would be quadratic in the depth.
  using Lines = std::map<std::pair<int, int>, int>;

  struct Cell {
    int row;
    int column;
  };

  Cell ListLeaf(const DendroGramNode& leaf);
  Cell ListInnerNode(const DendroGramNode& node, Cell left, Cell right);
  static void AddLine(Lines& lines, int at, int first, int last);
  static bool IsOnLine(const Lines& lines, int at, int position);

  std::map<std::pair<int, int>, float> values_;  ///< by row and column
  Lines horizontal_;
  Lines vertical_;
  std::vector<int> rowIds_;
  std::set<int> breaks_;
  int rowCount_ = 0;
  int columnCount_ = 0;
};

}  // namespace DendroGram
}  // namespace voran
