#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/scaling.h"
#include "tools/voran/table.h"
#include "voran/containers/data_matrix.h"
#include "voran/preprocessing/transform.h"

namespace tool {

/// Names of columns that were left out, each with the reason.
using DroppedColumns = std::vector<std::pair<std::string, std::string>>;

/// The columns that a model sees, and how their values were made ready for it: a transform, then scaling.
struct PreparedColumns {
  std::vector<std::string> names;
  NCTransform transforms;           ///< one a name
  std::vector<ColumnScale> scales;  ///< one a name
  double unit = 1.0;                ///< see ScaledMatrix; scores are to be multiplied by it
  DroppedColumns dropped;           ///< what the table had besides
  int failedValues = 0;             ///< cells that became gaps because their transform gave nothing
  std::string failure;              ///< a sentence about these, empty if there are none

  /// What the value of the column before it was prepared, of which `scaled` is the value after; a NaN stays one, and
  /// comes where the transform has no inverse. `column` counts from 0.
  double Original(std::size_t column, double scaled) const;
};

struct PreparedTable {
  NCDataMatrix<float> x;
  PreparedColumns columns;
};

/// Columns of a table on their way to a model. The matrix is taken out of it row by row, so that no second copy of it
/// comes to be.
struct RawColumns {
  const std::string& source;
  NCDataMatrix<float>& x;
  const std::vector<std::string>& names;
  const std::vector<std::string>& rowIds;
  NCTransform transforms;  ///< empty, or one a name
};

/// Transforms and scales the columns, learning the scales from them, and leaves out those that hold nothing.
PreparedTable Prepare(RawColumns&& raw, Scaling scaling);

/// The same for the variables of a table. Throws `Failure` (bad data) if no column is left.
PreparedTable PrepareVariables(Table& table, const NCTransform& transforms, Scaling scaling);

/// Makes new rows ready for a model that was fitted to `columns`; `raw` has all of them, in any order.
PreparedTable PrepareLike(RawColumns&& raw, const PreparedColumns& columns);

/// "  transforms: a: log10(x), b: log10(x)", the first few of them, and a line about values that they had no result
/// for; empty if there are none. `what` comes in place of "transforms".
std::string TransformLines(const PreparedColumns& columns, const std::string& what = "transforms");

/// The array under the key `transforms`.
nlohmann::ordered_json TransformsJson(const PreparedColumns& columns);

/// "a (no variance), b (all missing)", the first few of them.
std::string DroppedText(const DroppedColumns& dropped);

/// The array under the key `dropped_columns`.
nlohmann::ordered_json DroppedJson(const DroppedColumns& dropped);

}  // namespace tool
