#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/voran/gap_filling.h"
#include "tools/voran/model_spread.h"
#include "tools/voran/o2pls_cv.h"
#include "tools/voran/regression.h"
#include "tools/voran/table.h"
#include "voran/containers/data_matrix.h"
#include "voran/platform/progress.h"

namespace tool {

struct O2plsSettings : RegressionSettings {
  /// Nothing means those that cross-validation chooses.
  std::optional<O2plsCounts> counts;
  /// Gaps are filled before the fit; without it they are refused.
  bool isFilled = false;
};

/// A component of one block.
struct BlockComponent {
  double r2 = 0.0;              ///< share of the block's sum of squares that it takes away
  double eigenvalue = 0.0;      ///< variance of the score; a NaN where there is no degree of freedom
  std::vector<double> score;    ///< one a row of the table
  std::vector<double> loading;  ///< one a column that was kept
  std::vector<double> weight;   ///< the same; their squares sum to 1
};

/// What the model says of one of its two blocks.
struct O2plsBlock {
  std::vector<BlockComponent> joint;
  std::vector<BlockComponent> orthogonal;
  double r2Joint = 0.0;
  double r2Orthogonal = 0.0;
  /// Share of the block's sum of squares that the other block predicts.
  double r2Predicted = 0.0;
  ModelSpread spread;  ///< of the joint components and then of the orthogonal ones
  FilledGaps filled;
  // As the model has them.
  NCDataMatrix<float> W;              ///< joint components x columns
  NCDataMatrix<float> P;              ///< joint components x columns
  NCDataMatrix<float> Wo;             ///< orthogonal components x columns
  NCDataMatrix<float> Po;             ///< orthogonal components x columns
  NCDataMatrix<float> crossLoadings;  ///< orthogonal components x columns of the other block
  NCDataMatrix<float> inner;          ///< joint x joint components: from the scores of this block to those of the other

  double R2Residual() const { return 1.0 - r2Joint - r2Orthogonal; }
};

/// Of each joint component and each orthogonal one of X or Y the weight of X (of Y) of largest magnitude is positive;
/// the joint scores of Y are turned with those of X.
struct O2plsResult : RegressionResult {
  O2plsBlock xBlock;
  O2plsBlock yBlock;
  std::optional<O2plsCv> cv;  ///< nothing without cross-validation
};

/// Scales the two blocks, fills their gaps if that is wanted, and fits the model. The matrices are taken out of the
/// table. Throws `Failure`: wrong use for numbers of components that the table cannot have; bad data if nothing is left
/// to fit, or there are gaps that may not or cannot be filled; computation failed if the blocks have nothing in common;
/// cancelled if `progress`, which may be null, says so.
O2plsResult FitO2pls(Table& table, const O2plsSettings& settings, NCProgress* progress);

/// Pearson's correlation of the scores of a joint component in X and Y.
double ScoreCorrelation(const BlockComponent& x, const BlockComponent& y);

}  // namespace tool
