#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace tool {

struct Table;
struct TextColumn;

/// Stands for no class.
constexpr int kNoClass = -1;

/// The responses of 0 and 1 that stand for a column of class names: one for each class, called NAME=CLASS.
struct ClassResponses {
  std::string name;                  ///< of the column
  std::vector<std::string> classes;  ///< in the order in which they appear
  std::size_t first = 0;             ///< the response of the first class, counted from 0; the others follow

  /// `kNoClass` for one that is not among them.
  int IndexOf(const std::string& className) const;
  /// Empty for `kNoClass`.
  std::string CellOf(int index) const;
  std::vector<std::string> ResponseNames() const;
};

/// Such a column of a table that a model is fitted to.
struct ClassColumn : ClassResponses {
  std::vector<int> ofRow;  ///< an index into `classes`, or `kNoClass`
};

/// The classes that a column names; a missing cell is of none.
ClassColumn ReadClasses(const TextColumn& column);

/// Makes responses of a column of class names: NAME=CLASS for each class, in the order in which they appear, 1 where
/// the row is of that class and 0 where it is of another, missing where it is of none. Throws `Failure` (bad data) if
/// there are fewer than two classes, or more than there are for two rows each.
void AddClassResponses(Table& table, const TextColumn& column);

/// The class that each row is given: the one of the largest predicted response, the first of equals; none where a
/// prediction is a NaN. `predicted` is responses x rows, of all responses.
std::vector<int> GiveClasses(const ClassResponses& responses, const std::vector<std::span<const double>>& predicted);

}  // namespace tool
