#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/voran/cross_validation.h"
#include "tools/voran/gap_counts.h"
#include "tools/voran/model_file.h"
#include "tools/voran/model_spread.h"
#include "tools/voran/prepared_table.h"
#include "tools/voran/scaling.h"
#include "tools/voran/table.h"
#include "voran/containers/data_matrix.h"

namespace tool {

// What all models of responses on variables have in common.

struct RegressionSettings {
  int cvGroups = kDefaultCvGroups;
  bool isCrossValidated = true;
  NCTransform transforms;  ///< empty, or one for each variable and then each response of the table
  Scaling scaling = Scaling::kUnitVariance;
  Scaling yScaling = Scaling::kUnitVariance;
  int iterationLimit = 200;
};

/// What the whole model makes of one response, in its original unit; a NaN where it cannot be had.
struct ResponseFit {
  double r2y = 0.0;          ///< share of its sum of squares that is explained
  std::optional<double> q2;  ///< share that is predicted; nothing without cross-validation
  double intercept = 0.0;
  std::vector<double> coefficients;  ///< one a column of X that was kept, for the values before scaling
  std::vector<double> fitted;        ///< one a row
  /// One a row, predicted while the row was left out; empty without cross-validation.
  std::vector<double> predictedCv;
  double rmsee = 0.0;   ///< root mean square error of estimation, of n - A - 1 degrees of freedom
  double rmsecv = 0.0;  ///< root mean square error of `predictedCv`
};

/// The classes that rows are given.
struct ClassFit {
  ClassColumn own;
  std::vector<int> fitted;       ///< one a row
  std::vector<int> predictedCv;  ///< the same while the row was left out; empty without cross-validation
};

struct RegressionResult {
  std::vector<ResponseFit> responses;
  std::vector<ClassFit> classes;  ///< one a column of class names among the responses
  PreparedColumns x;              ///< those that were kept, and those that were not
  PreparedColumns y;
  GapCounts gaps;  ///< of X as it was read; but empty rows are those that hold nothing in the kept columns
  GapCounts yGaps;
  int cvGroups = 0;  ///< 0 without cross-validation
  ModelSpread spread;
  /// Why there are fewer components than were asked for, or no more significant ones; empty if there is nothing to say.
  std::string stopped;
  std::vector<std::string> notes;  ///< what the user should know of the data, a sentence each
};

/// The matrices of a fit.
struct RegressionData {
  NCDataMatrix<float> x;     ///< scaled
  NCDataMatrix<float> y;     ///< scaled
  NCDataMatrix<float> rawY;  ///< as it was read
  std::size_t rows = 0;      ///< those that hold anything of X
  double degreesOfFreedom = 0.0;
};

/// Scales the variables and the responses of the table, and notes in `result` what was found. The matrices are taken
/// out of the table, so that no second copy of X comes to be. A row that holds nothing of X takes no part: its
/// responses become gaps. Throws `Failure`: bad data if nothing is left to fit or a response holds nothing.
RegressionData PrepareRegression(Table& table, const RegressionSettings& settings, RegressionResult& result);

/// The groups of the cross-validation, of which `result` is told. Throws `Failure` (bad data).
CvGroups MakeCvGroups(const Table& table, const RegressionSettings& settings, RegressionResult& result);

/// Numbers of the scaled responses, as a model has them; a NaN where there is none.
struct ScaledFits {
  std::vector<std::vector<double>> fitted;        ///< responses x observations
  std::vector<std::vector<double>> predictedCv;   ///< the same; empty without cross-validation
  std::vector<std::vector<double>> coefficients;  ///< responses x variables
  double components = 0.0;                        ///< how many the fit took
};

/// Brings them back to the original units, into `result.responses`, of which R2Y and Q2 are left to the model, and
/// gives the rows their classes.
void AddResponseFits(const Table& table, const NCDataMatrix<float>& rawY, const ScaledFits& fits, bool isCentred,
                     RegressionResult& result);

/// What every saved model of responses has: the columns, the spread, the classes. The matrices are the model's to add.
SavedModel RegressionModel(std::string_view kind, const RegressionResult& result, const std::string& summary);

}  // namespace tool
