#pragma once

#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// Writes a table as CSV: comma, point, LF, a header; cells quoted only where they must be. Numbers are written as
/// AppendNumber() does, so that a NaN, which stands for a missing value, is an empty cell.
class CsvWriter {
 public:
  explicit CsvWriter(std::ostream& out) : out_(out) {}

  void Text(std::string_view cell);
  void Number(double value);
  void EndRow();
  /// A row that begins with a name and goes on with numbers.
  void Row(std::string_view name, std::span<const double> numbers);

 private:
  void BeginCell();

  std::ostream& out_;
  std::string line_;
  bool empty_ = true;
};

/// The vector `values` of every item, for WriteNumberedColumns(); the items own them.
template <typename Item>
std::vector<std::span<const double>> Each(const std::vector<Item>& items, std::vector<double> Item::*values) {
  std::vector<std::span<const double>> columns;
  columns.reserve(items.size());
  for (const Item& item : items) columns.emplace_back(item.*values);
  return columns;
}

/// Columns of numbers, called by `letters` and 1, 2, ...
struct NumberedColumns {
  std::string_view letters;
  std::vector<std::span<const double>> columns;
};

/// A table of a line for each name, headed `heading`, and the columns of all blocks.
void WriteNumberedColumns(std::ostream& out, std::string_view heading, const std::vector<std::string>& names,
                          const std::vector<NumberedColumns>& blocks);

}  // namespace tool
