#pragma once

#include <vector>

#include "tools/voran/ortho_model.h"
#include "tools/voran/regression.h"
#include "voran/models/significance.h"

namespace tool {

/// Sums of squares that components take away, as shares of what there was at the beginning.
struct OrthoShares {
  double r2x = 0.0;
  double r2y = 0.0;
  std::vector<double> r2yOfResponses;
};

struct OrthoMeasures {
  std::vector<OrthoShares> components;
  std::vector<OrthoShares> orthoComponents;
  OrthoShares all;
  double residual = 0.0;  ///< pooled standard deviation of the rows' residuals, scaled
};

/// Takes the orthogonal components, and then the others, out of the data. Cost: a reading and a writing of X for each.
OrthoMeasures MeasureOrtho(const RegressionData& data, const OrthoMatrices& matrices);

/// How well the scaled responses were predicted while they were left out.
struct OrthoPress {
  std::vector<double> ss;     ///< one a response
  std::vector<double> press;  ///< one a response

  OrthoPress(const NCDataMatrix<float>& y, const NCDataMatrix<float>& predicted);
};

/// `before` is that of the model with one orthogonal component less, null where there is none; `shares` is what the
/// newest component has added, and `components` counts all components. The verdict is that of PLS.
ComponentQ2 MeasureQ2(const OrthoPress& press, const OrthoPress* before, const OrthoShares& shares,
                      const RegressionData& data, int components);

/// Whether the model of this stage predicts anything: its cumulative Q2 is judged by the rule for one component.
SignificanceE::Significance WholeVerdict(const OrthoStage& stage, const RegressionData& data);

}  // namespace tool
