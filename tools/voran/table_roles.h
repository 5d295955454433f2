#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tool {

/// What a column of the input is used for.
enum class ColumnRole : unsigned char {
  kVariable,       ///< a column of numbers that goes into the matrix
  kId,             ///< names the rows
  kClass,          ///< names the group of each row, kept as text
  kResponse,       ///< a column of numbers that a model predicts
  kClassResponse,  ///< a column of class names that a model predicts: a response of 0 and 1 for each class
  kCvGroup,        ///< says which rows cross-validation leaves out together, kept as text
  kUnused,
};

/// Whether the cells of such a column are numbers.
constexpr bool HoldsNumbers(ColumnRole role) {
  return role == ColumnRole::kVariable || role == ColumnRole::kResponse;
}

/// The columns that a model was fitted to, by their names. A new table has to have all the variables; responses are
/// taken where it has them, and what else it has is left out.
struct ModelColumns {
  std::vector<std::string> variables;
  std::vector<std::string> responses;
  std::vector<std::string> classes;  ///< columns of class names that it has responses for; taken as the responses are
};

/// A column that a command takes by an option of its own.
struct NamedRole {
  std::string option;
  std::string column;  ///< an item that selects one
  ColumnRole role;     ///< a variable, or a class
};

/// The roles as the user asks for them. Each entry is one argument of an option: a list of items parted by commas.
///
/// An item is a column's name; `A..B` for the columns from A to B, both names; `900..1700` for the columns whose name
/// holds a number in that range (nm900, 1100, x1200.5), or for these positions where no name does; a position, counted
/// from 1; or `#3`, `#3..#5` for positions whatever the names are.
struct RoleRequest {
  std::vector<std::string> id;
  std::vector<std::string> classes;
  std::vector<std::string> variables;  ///< empty means all that have no other role
  std::vector<std::string> unused;
  std::vector<std::string> responses;
  std::vector<std::string> cvGroups;
  std::vector<NamedRole> named;         ///< if there are any, columns that no option names are unused
  std::vector<std::string> conditions;  ///< kept as text, so that rows can be chosen by them
  bool noId = false;                    ///< the first column is a variable like any other
  bool mayHaveClasses = true;           ///< the command has --class
  /// Roles by the names of a model, in place of all but the id.
  std::optional<ModelColumns> model;
};

/// The role of each column of the input.
struct ColumnPlan {
  std::vector<std::string> names;
  std::vector<ColumnRole> roles;
  std::vector<std::string> givenBy;  ///< for each column the option that named it, empty if none did
  std::optional<std::size_t> id;     ///< the column that names the rows
  bool idAssumed = false;            ///< it was taken without being asked for
  bool isForModel = false;           ///< the roles are those of a model, and the user can give no others
  bool mayHaveClasses = true;        ///< the command has --class

  std::size_t CountOf(ColumnRole role) const;
  /// The columns whose cells are numbers, or are kept as text.
  std::vector<std::size_t> NumberColumns() const;
  std::vector<std::size_t> TextColumns() const;
  /// The names of the columns that have this role, in order.
  std::vector<std::string> NamesOf(ColumnRole role) const;
};

/// Gives each column its role. `firstNamesRows` says that the first column looks as if it named the rows; it does then,
/// unless the request gives it another role, another column is the id, or `noId` is set.
/// A response among the `textColumns` (counted from 0) is one of class names.
/// Throws `Failure`: wrong use for an item that fits no column, fits several, or gives a column a second role; bad data
/// for two columns of one name among those that are used, when no variable is left, and when one of a model is missing.
ColumnPlan PlanColumns(const std::string& source, const std::vector<std::string>& names, bool firstNamesRows,
                       const RoleRequest& request, const std::vector<std::size_t>& textColumns = {});

/// The columns (counted from 0, in table order) that one argument of `option` selects.
std::vector<std::size_t> SelectColumns(const std::vector<std::string>& names, const std::string& argument,
                                       const std::string& option);

/// As above, of `names`, all columns of the file; gives the places (from 0) in `used`, the names of those that hold
/// numbers. Others are passed over; throws `Failure` (wrong use) if all are.
std::vector<std::size_t> SelectUsedColumns(const std::vector<std::string>& names, const std::vector<std::string>& used,
                                           const std::string& argument, const std::string& option);

/// The number in a name such as "nm900", "1100" or "x1200.5 nm"; nothing if the name holds none, or several.
std::optional<double> NumberInName(const std::string& name);

}  // namespace tool
