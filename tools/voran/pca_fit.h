#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/voran/component_figures.h"
#include "tools/voran/cross_validation.h"
#include "tools/voran/gap_counts.h"
#include "tools/voran/model_spread.h"
#include "tools/voran/prepared_table.h"
#include "tools/voran/scaling.h"
#include "tools/voran/table.h"
#include "voran/platform/progress.h"

namespace tool {

struct PcaSettings {
  /// Nothing means as many as the table has, and five at most.
  std::optional<int> components;
  bool isAuto = false;          ///< as many as cross-validation finds significant, in place of `components`
  std::optional<int> cvGroups;  ///< without it, and without `isAuto` or a column of groups, nothing is cross-validated
  NCTransform transforms;       ///< empty, or one for each variable of the table
  Scaling scaling = Scaling::kUnitVariance;
  int iterationLimit = 1000;
  bool hasWarmStart = false;  ///< the first components begin with WarmStarts()
};

/// One component. The loading of largest magnitude is positive, the first of equals deciding. A NaN stands for a value
/// that cannot be had: the score of a row without data.
struct PcaComponent : ComponentFigures {
  std::vector<double> score;    ///< one a row of the table
  std::vector<double> loading;  ///< one a column that was kept; their squares sum to 1
};

struct PcaResult {
  std::vector<PcaComponent> components;
  PreparedColumns columns;  ///< those that were kept, and those that were not
  GapCounts gaps;    ///< of the table as it was read; but empty rows are those that hold nothing in the kept columns
  int cvGroups = 0;  ///< 0 without cross-validation
  NCDataMatrix<float> P;  ///< the loadings as the model has them, components x variables
  ModelSpread spread;
  /// Why there are fewer components than were asked for; empty if there are not.
  std::string stopped;
  std::vector<std::string> notes;  ///< what the user should know of the data, a sentence each
};

/// Scales the variables of the table and fits components one by one. The matrix is taken out of the table, so that no
/// second copy of it comes to be. Throws `Failure`: bad data if nothing is left to fit, computation failed if no
/// component can be computed (or with `isAuto` none is significant), cancelled if `progress` says so.
PcaResult FitPca(Table& table, const PcaSettings& settings, NCProgress* progress);

}  // namespace tool
