#pragma once

#include <ostream>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/class_responses.h"
#include "tools/voran/regression.h"
#include "tools/voran/table.h"

namespace tool {

/// How rows of a class that is known were told apart.
struct ClassCounts {
  /// By own and by given class; the last of the given ones is none.
  std::vector<std::vector<std::size_t>> given;
  std::size_t right = 0;
  std::size_t rows = 0;

  /// Rows whose own class is `kNoClass` do not count. Both vectors have one element a row.
  ClassCounts(const ClassResponses& responses, const std::vector<int>& own, const std::vector<int>& givenClasses);
};

/// A table with a line for each class and a column for each class given, under an empty line; `how` says what gave
/// them.
std::string ClassText(const ClassResponses& responses, const ClassCounts& counts, const std::string& how);

/// The object with the keys `rows`, `right` and `given`.
nlohmann::ordered_json ClassJson(const ClassCounts& counts);

// Of a fit.

/// These tables, by the fit and by cross-validation; empty if no response is a class.
std::string ClassFitText(const std::vector<ClassFit>& fits);

/// The array under the key `classes`.
nlohmann::ordered_json ClassFitJson(const std::vector<ClassFit>& fits);

/// Writes the classes of each row: its own, and those that it was given.
void WriteClassFits(std::ostream& out, const Table& table, const std::vector<ClassFit>& fits);

}  // namespace tool
