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

struct PlsSettings {
  /// Nothing means as many as cross-validation finds significant.
  std::optional<int> components;
  int cvGroups = kDefaultCvGroups;
  bool isCrossValidated = true;
  NCTransform transforms;  ///< empty, or one for each variable and then each response of the table
  Scaling scaling = Scaling::kUnitVariance;
  Scaling yScaling = Scaling::kUnitVariance;
  int iterationLimit = 200;

  bool IsAuto() const { return !components; }
};

/// One component. The weight of largest magnitude is positive, the first of equals deciding. A NaN stands for a value
/// that cannot be had.
struct PlsComponent : ComponentFigures {
  std::vector<double> score;    ///< t, one a row of the table
  std::vector<double> yScore;   ///< u, one a row of the table
  std::vector<double> loading;  ///< p, one a column that was kept
  std::vector<double> weight;   ///< w, one a column that was kept; their squares sum to 1
  std::vector<double> yWeight;  ///< c, one a response
  std::vector<double> r2yOfResponses;
  std::vector<double> r2yOfResponsesCumulative;
};

/// What the model makes of one response, in its original unit; a NaN where it cannot be had.
struct ResponseFit {
  double intercept = 0.0;
  std::vector<double> coefficients;  ///< one a column of X that was kept, for the values before scaling
  std::vector<double> fitted;        ///< one a row
  /// One a row, the share of each component predicted while the row was left out of it; empty without cross-validation.
  std::vector<double> predictedCv;
  double rmsee = 0.0;   ///< root mean square error of estimation, of n - A - 1 degrees of freedom
  double rmsecv = 0.0;  ///< root mean square error of `predictedCv`
};

struct PlsResult {
  std::vector<PlsComponent> components;
  std::vector<ResponseFit> responses;
  PreparedColumns x;  ///< those that were kept, and those that were not
  PreparedColumns y;
  GapCounts gaps;  ///< of X as it was read; but empty rows are those that hold nothing in the kept columns
  GapCounts yGaps;
  int cvGroups = 0;  ///< 0 without cross-validation
  // As the model has them.
  NCDataMatrix<float> W;  ///< components x variables
  NCDataMatrix<float> P;  ///< components x variables
  NCDataMatrix<float> C;  ///< components x responses
  ModelSpread spread;
  /// Why there are fewer components than were asked for, or no more significant ones; empty if there is nothing to say.
  std::string stopped;
  std::vector<std::string> notes;  ///< what the user should know of the data, a sentence each
};

/// Scales the variables and the responses of the table and fits components one by one. The matrices are taken out of
/// the table, so that no second copy of X comes to be. Throws `Failure`: bad data if nothing is left to fit or a
/// response holds nothing, computation failed if no component can be computed (or none is significant, where that
/// decides), cancelled if `progress` says so.
PlsResult FitPls(Table& table, const PlsSettings& settings, NCProgress* progress);

}  // namespace tool
