#pragma once

#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/integral_vector.h"
#include "voran/export.h"

inline namespace voran {

/// What the cross-validation of an O2PLS model found. For every one of G groups of observations there is a model of the
/// others, with the same numbers of components: A predictive ones, Ax orthogonal ones of X (N x K), Ay of Y (N x M).
///
/// Q2 is 1 - PRESS / SS, of observations while they are left out. A set has one matrix for each component, with a row
/// for each group: the component's row of that group's model. In a set of scores these are of all N observations, those
/// of the group as they are predicted. Signs are those of the first group's model.
struct VORAN_EXPORT O2PLSCVResults {
  /// Turns components, from 0, by `xFlips` (T, P, W) and by `yFlips` (U, C, Q), with the inner relations. Both have A
  /// elements.
  void FlipPredictiveModel(const std::vector<bool>& xFlips, const std::vector<bool>& yFlips);

  /// Of Y, for 1 to A predictive components.
  NCDataVector<float> Q2;
  /// The same of each response, A x M; missing for one without variation.
  NCDataMatrix<float> Q2YVar;
  /// Of Y, for each orthogonal component of X that was tried.
  NCDataVector<float> Q2X;
  /// Of X, for each orthogonal component of Y that was tried.
  NCDataVector<float> Q2Y;
  // A, Ax and Ay; -1 is not known, as where the blocks have nothing in common.
  int PredComps = -1;
  int XOrthoComps = -1;
  int YOrthoComps = -1;
  std::vector<NCDataMatrix<float>> TSets;
  std::vector<NCDataMatrix<float>> USets;
  std::vector<NCDataMatrix<float>> PSets;
  std::vector<NCDataMatrix<float>> WSets;
  std::vector<NCDataMatrix<float>> CSets;
  std::vector<NCDataMatrix<float>> QSets;
  std::vector<NCDataMatrix<float>> SSets;
  std::vector<NCDataMatrix<float>> RSets;
  std::vector<NCDataMatrix<float>> ToSets;
  std::vector<NCDataMatrix<float>> PoSets;
  std::vector<NCDataMatrix<float>> WoSets;
  std::vector<NCDataMatrix<float>> UoSets;
  std::vector<NCDataMatrix<float>> CoSets;
  std::vector<NCDataMatrix<float>> QoSets;
  // One matrix for each group, A x A.
  std::vector<NCDataMatrix<float>> LambdaSets;
  std::vector<NCDataMatrix<float>> XLambdaSets;
  // Values of SignificanceE::Significance, by component.
  NCIntegralVector<int, -99> PredSignificance;
  NCIntegralVector<int, -99> XOrthoSignificance;
  NCIntegralVector<int, -99> YOrthoSignificance;
  /// PRESS of Y by group, (A + 1) x G: row a + 1 for a predictive components.
  NCDataMatrix<float> GroupPress;
  // Only with a single predictive component and none that is orthogonal in Y; by the number of orthogonal components of
  // X, from 0.
  /// Q2 of Y.
  NCDataVector<float> Q2Start;
  /// Y as it was predicted, N x M.
  std::vector<NCDataMatrix<float>> YPredSets;
  // By group: the sums of squares of what the model leaves of its data, at the start, after each orthogonal component
  // of X, and after each predictive component besides.
  std::vector<NCDataVector<float>> SSYSteps;
  std::vector<NCDataVector<float>> SSXSteps;
};

}  // namespace voran
