#pragma once

#include <optional>
#include <vector>

#include "tools/voran/component_figures.h"
#include "tools/voran/regression.h"
#include "tools/voran/table.h"
#include "voran/platform/progress.h"

namespace tool {

struct PlsSettings : RegressionSettings {
  /// Nothing means as many as cross-validation finds significant.
  std::optional<int> components;

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

/// What `predictedCv` of the responses holds is the share of each component, predicted while the row was left out of
/// it.
struct PlsResult : RegressionResult {
  std::vector<PlsComponent> components;
  // As the model has them.
  NCDataMatrix<float> W;  ///< components x variables
  NCDataMatrix<float> P;  ///< components x variables
  NCDataMatrix<float> C;  ///< components x responses
};

/// Scales the variables and the responses of the table and fits components one by one. The matrices are taken out of
/// the table, so that no second copy of X comes to be. Throws `Failure`: bad data if nothing is left to fit or a
/// response holds nothing, computation failed if no component can be computed (or none is significant, where that
/// decides), cancelled if `progress` says so.
PlsResult FitPls(Table& table, const PlsSettings& settings, NCProgress* progress);

}  // namespace tool
