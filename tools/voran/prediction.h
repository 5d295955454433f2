#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/voran/gap_counts.h"
#include "tools/voran/model_file.h"
#include "tools/voran/table.h"
#include "voran/platform/progress.h"

namespace tool {

/// What a model says of a response of a new table, in its original unit; a NaN where it cannot be had.
struct PredictedResponse {
  std::vector<double> values;  ///< one a row
  /// Root mean square error of prediction, over the `observed` rows in which the table has the response itself.
  std::optional<double> rmsep;
  std::size_t observed = 0;
};

/// The classes that a model gives the rows of a new table.
struct PredictedClasses {
  std::vector<int> given;   ///< one a row
  std::vector<int> own;     ///< one a row, where the table has the column of classes; empty where it has not
  std::size_t unknown = 0;  ///< rows of a class that the model does not know
};

/// New rows under a model; one element a row, a NaN where it cannot be had.
struct Prediction {
  std::vector<PredictedResponse> responses;      ///< those of the model, in their order
  std::vector<PredictedClasses> classes;         ///< those of the model, in their order
  std::vector<std::vector<double>> scores;       ///< one a component
  std::vector<std::vector<double>> orthoScores;  ///< one an orthogonal component
  std::vector<double> residual;                  ///< standard deviation of the row's residuals
  std::vector<double> distance;                  ///< that, by the pooled one of the rows of the fit
  std::vector<double> t2;
  GapCounts gaps;                    ///< over the columns of the model
  std::vector<std::string> refused;  ///< ids of the rows that hold too little for all components
  std::vector<std::string> notes;    ///< what the user should know of the data, a sentence each

  std::size_t AllComponents() const { return scores.size() + orthoScores.size(); }
};

/// What a row has to hold: "--max-missing 0.5, and 3 values at least".
std::string LeastText(double maxMissing, std::size_t components);

/// Applies the model to the rows of the table, of which no more than the share `maxMissing` of the model's columns may
/// be missing, and which need a value for each component. The matrix is taken out of the table. Throws `Failure`: bad
/// data if no row can be predicted, cancelled if `progress` says so.
Prediction Predict(Table& table, const SavedModel& model, double maxMissing, NCProgress* progress);

}  // namespace tool
