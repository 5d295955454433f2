#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/voran/class_responses.h"
#include "tools/voran/table_roles.h"
#include "voran/containers/data_matrix.h"
#include "voran/platform/progress.h"

namespace tool {

/// What marks a missing element in the library's matrices.
constexpr float kGap = -99.0f;

/// `value` as a matrix holds it. One that happens to equal the marker of missing elements would become a gap: it moves
/// by one unit in the last place.
float AsPresent(double value);

/// A column of text, one entry a row.
struct TextColumn {
  std::string name;
  std::vector<std::string> values;
};

/// A table as the commands use it.
struct Table {
  std::string source;                  ///< the file as the user named it
  std::string chosen;                  ///< "class=a, class=b" if rows were chosen by that
  std::vector<std::string> columns;    ///< the names of all its columns
  NCDataMatrix<float> x;               ///< rows x variables, gaps as missing elements
  std::vector<std::string> variables;  ///< the names of the columns of `x`
  NCDataMatrix<float> y;               ///< rows x responses; empty if no column is a response
  std::vector<std::string> responses;  ///< the names of the columns of `y`
  std::string idName;                  ///< heading of `rowIds`
  std::vector<std::string> rowIds;     ///< one a row; positions from 1 if no column names the rows
  std::vector<TextColumn> classes;
  std::vector<ClassColumn> classResponses;  ///< those that the last of `responses`, of 0 and 1, were made of
  std::optional<TextColumn> cvGroups;       ///< the group of each row
  std::vector<std::string> notes;           ///< what was recognised and assumed, a sentence each, for the user
};

/// The file, and what rows of it.
std::string SourceText(const Table& table);

/// More cells than this cannot be counted by the matrix.
constexpr std::size_t kMostCells = 2147483647;

/// How much of the machine reading may use, and who is told of it. Plays no part in the result.
struct ReadControl {
  int threads = 1;
  NCProgress* progress = nullptr;  ///< touched from the calling thread only; false from it means stop
};

/// Names the columns by `plan`, and moves the responses from `x`, which holds all columns of numbers, to `y`, row by
/// row: no second copy of the matrix comes to be.
void NameColumns(Table& table, const ColumnPlan& plan);

/// Adds the note about the columns that a model does not use, if there is a model.
void NoteUnusedColumns(Table& table, const ColumnPlan& plan, const RoleRequest& request);

/// The class column that `item` selects, the argument of an option that gave it this role.
const TextColumn& TextOf(const Table& table, const std::string& item);

/// Names the columns of a table that brings none: x1, x2, ...
std::vector<std::string> NumberedNames(std::size_t columns);

/// Row ids of a table that brings none: 1, 2, ...
std::vector<std::string> NumberedIds(std::size_t rows);

/// Adds the note about numbers in the input that the matrix takes for gaps because they equal its marker, if any.
void NoteMarkerCells(Table& table, std::size_t cells);

}  // namespace tool
