#pragma once

#include <ostream>
#include <span>
#include <string>
#include <string_view>

namespace tool {

/// Writes a table as CSV: comma, point, LF, a header; cells quoted only where they must be. Numbers have 9 significant
/// digits, enough to give back any float; a NaN, which stands for a missing value, is an empty cell.
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

}  // namespace tool
