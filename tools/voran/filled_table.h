#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/voran/gap_counts.h"
#include "tools/voran/prepared_table.h"
#include "tools/voran/scaling.h"
#include "tools/voran/table.h"
#include "voran/platform/progress.h"

namespace tool {

struct FillSettings {
  /// Of the model of a table without responses; nothing means as many as cross-validation finds significant.
  std::optional<int> components;
  NCTransform transforms;  ///< empty, or one for each variable and then each response of the table
  Scaling scaling = Scaling::kUnitVariance;
};

/// A block of a table, its variables or its responses.
struct FilledBlock {
  NCDataMatrix<float> values;          ///< rows x columns, what is left of gaps as missing elements
  NCDataMatrix<float> before;          ///< the same as it was read
  int filled = 0;                      ///< cells
  int components = 0;                  ///< of the model that told what went into them; with none, the means did
  PreparedColumns columns;             ///< as the model saw them; the gaps of those that it dropped stay
  std::vector<std::string> emptyRows;  ///< ids of the rows that hold nothing, whose gaps stay
};

struct FilledTable {
  FilledBlock x;
  std::optional<FilledBlock> y;  ///< nothing in a table without responses
  GapCounts gaps;                ///< of the variables as they were read
  GapCounts yGaps;
  std::vector<std::string> notes;  ///< what the user should know of the data, a sentence each

  int Filled() const { return x.filled + (y ? y->filled : 0); }
  int Left() const { return gaps.cells + yGaps.cells - Filled(); }
};

/// Fills the gaps of a table: those of variables and responses by PLS models of each on the other, those of a table
/// without responses by a PCA model of it. What is present stays as it is, to the bit. The matrices are taken out of
/// the table. Throws `Failure`: bad data if nothing is left to model, computation failed if no component can be
/// computed (or is significant, where that decides), cancelled if `progress`, which may be null, says so.
FilledTable FillTable(Table& table, const FillSettings& settings, NCProgress* progress);

}  // namespace tool
