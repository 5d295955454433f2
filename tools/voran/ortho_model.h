#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/voran/cross_validation.h"
#include "tools/voran/regression.h"
#include "voran/containers/data_matrix.h"

namespace tool {

// Models that take components orthogonal to the responses out of X, before the predictive ones: OPLS and Y-orthogonal
// PLS.

struct OrthoSettings : RegressionSettings {
  /// Predictive ones; nothing means as many as X and Y have directions in common.
  std::optional<int> components;
  /// Orthogonal ones; nothing means as many as cross-validation finds significant.
  std::optional<int> ortho;
  std::string orthoOption;  ///< the one that gives this number, for messages
  /// At most, of the model inside a component of Y-orthogonal PLS. Five let X follow a score that is orthogonal to Y to
  /// within a few degrees; more take longer, and where there are gaps the iteration may wander.
  int innerComponents = 5;
};

/// A fitted model in the units of the scaled tables.
struct OrthoMatrices {
  NCDataMatrix<float> T;  ///< scores, components x observations
  NCDataMatrix<float> U;  ///< Y scores, components x observations
  NCDataMatrix<float> W;  ///< weights, components x variables
  NCDataMatrix<float> P;  ///< loadings, components x variables
  NCDataMatrix<float> C;  ///< Y weights, components x responses
  // The same of the orthogonal components, which are taken out first.
  NCDataMatrix<float> TO;
  NCDataMatrix<float> WO;
  NCDataMatrix<float> PO;
  NCDataMatrix<float> CO;
  /// W, P and C as they were before each orthogonal component was taken out; only of OPLS.
  std::vector<NCDataMatrix<float>> earlierStages;
};

/// One component. The weight of largest magnitude is positive, the first of equals deciding. A NaN stands for a value
/// that cannot be had.
struct OrthoComponent {
  double r2x = 0.0;  ///< share of the sum of squares of X that it takes away
  double r2y = 0.0;
  std::vector<double> r2yOfResponses;
  double eigenvalue = 0.0;      ///< variance of the score
  std::optional<double> angle;  ///< of an orthogonal component of Y-orthogonal PLS: between its score and Y, in degrees
  std::vector<double> score;    ///< one a row of the table
  std::vector<double> yScore;   ///< one a row of the table; none of orthogonal components
  std::vector<double> loading;  ///< one a column that was kept
  std::vector<double> weight;   ///< one a column that was kept; their squares sum to 1
  std::vector<double> yWeight;  ///< one a response
};

/// The model with 0, 1, ... orthogonal components.
struct OrthoStage {
  double r2x = 0.0;
  double r2y = 0.0;
  std::vector<double> r2yOfResponses;
  /// The cumulative figures are those of this model; the others, what its newest component has added. Nothing without
  /// cross-validation.
  std::optional<ComponentQ2> q2;
};

/// What `predictedCv` of the responses holds are predictions by whole models that have not seen the row.
struct OrthoResult : RegressionResult {
  std::vector<OrthoComponent> components;
  std::vector<OrthoComponent> orthoComponents;
  std::vector<OrthoStage> stages;  ///< one more than orthogonal components
  OrthoMatrices matrices;
};

}  // namespace tool
