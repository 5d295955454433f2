#pragma once

#include <limits>
#include <string>
#include <vector>

#include "tools/voran/gap_counts.h"
#include "tools/voran/prepared_table.h"
#include "tools/voran/scaling.h"
#include "tools/voran/table.h"
#include "tools/voran/transform_option.h"

namespace tool {

struct TransformSettings {
  Scaling scaling = Scaling::kNone;  ///< applied after the functions
  bool back = false;                 ///< the inverse of each function
};

/// The smallest and the largest present value of a column; NaN if there is none.
struct Extremes {
  double least = std::numeric_limits<double>::quiet_NaN();
  double most = std::numeric_limits<double>::quiet_NaN();
};

/// What became of a column.
struct TransformedColumn {
  std::string name;
  TransformStruct transform;
  int failed = 0;  ///< values that became gaps
  Extremes before;
  Extremes after;
};

struct TransformedTable {
  NCDataMatrix<float> x;  ///< rows x `columns`
  double unit = 1.0;      ///< the values are those of `x` times this
  std::vector<TransformedColumn> columns;
  DroppedColumns dropped;  ///< by scaling
  GapCounts gaps;          ///< of the table as it was read
  int failed = 0;          ///< values that became gaps, in all columns
  std::string failure;     ///< tells which these are; empty if there are none
};

/// Puts the variables through their functions, then scales them. The matrix is taken out of the table. Throws
/// `Failure`: bad data if scaling leaves no column, cancelled if the user breaks off.
TransformedTable TransformTable(Table& table, const NCTransform& transform, const TransformSettings& settings);

}  // namespace tool
