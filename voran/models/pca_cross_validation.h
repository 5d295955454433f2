#pragma once

#include <cstdint>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/integral_vector.h"
#include "voran/export.h"

inline namespace voran {

class NCPCA;
class NCProgress;

/// How well the newest component of a PCA predicts elements that were left out.
///
/// For every group one sub-model is fitted without a group of rows and one without a group of columns; each element is
/// then predicted from the loading that was fitted without its row and the score that was fitted without its column.
/// One object serves one model; call order for each component:
///
///     model.NextComponent(...);  cv.NextComponent(reference, progress);  model.CalculateResiduals();
///
/// The sets, residuals and Q2 describe the newest component, the cumulative values all so far. All Q2 are fractions.
/// Copies point to the same model. One thread drives it.
class VORAN_EXPORT PCACrossValidation {
 public:
  /// The model stays the caller's and must outlive this object. There are no more groups than rows or columns. A group
  /// vector has one entry per row (column), from 0 to one less than the groups in use, which is not checked; null asks
  /// for GetDeafultCVGroupsVector.
  PCACrossValidation(NCPCA* model, int groups, const NCIntegralVector<int, -99>* rowGroups,
                     const NCIntegralVector<int, -99>* columnGroups);
  /// Goes on from cumulative values, one per variable.
  PCACrossValidation(NCPCA* model, float q2TotCum, const NCDataVector<float>& q2XVarCum, int groups,
                     const NCIntegralVector<int, -99>* rowGroups, const NCIntegralVector<int, -99>* columnGroups);

  /// Cross-validates the newest component. `columnReference` holds the sum of squares that each variable began with; it
  /// is looked at for variables that have nothing left. Without progress an object of its own is shown.
  ///
  /// Throws what the sub-models throw (NCError); the cumulative values then are those of the preceding component, and
  /// the call may be repeated.
  ///
  /// Cost: two fits of one component for each group, of few rounds each, since they start from the model's component.
  void NextComponent(const NCDataVector<float>& columnReference, NCProgress* progress);

  /// The limit that Q2 of component `components` should pass: 1 - (N - A + 1)(K - A + 1) / ((N - A + 1)(K - A + 2)),
  /// with one row less in the numerator if `reduceObservations`. -99 below component 1; 1 where no degree of freedom is
  /// left.
  float GetQ2Lim(int components, bool reduceObservations);

  float GetQ2Tot() { return Q2Tot_; }
  float GetQ2TotCum() { return Q2TotCum_; }
  /// One per variable.
  const NCDataVector<float>* GetQ2XVar() { return &Q2XVar_; }
  NCDataVector<float>* GetQ2XVarCum() { return &Q2XVarCum_; }
  /// Loadings of the sub-models without rows, groups x variables, turned to the model's sign.
  const NCDataMatrix<float>* GetPSet() { return &PSet_; }
  /// Scores of the sub-models without columns, groups x observations.
  const NCDataMatrix<float>* GetTSet() { return &TSet_; }
  /// Prediction errors, observations x variables.
  const NCDataMatrix<float>* GetXPredResiduals() { return &XPredResiduals_; }

 private:
  struct Sums;

  void FitGroups(NCProgress& progress);
  void LeaveRowsOut(int group, int iterationLimit, const NCDataVector<float>& reference, NCDataMatrix<float>& kept,
                    NCProgress& progress);
  void LeaveColumnsOut(int group, int iterationLimit, const NCDataVector<float>& reference, NCProgress& progress);
  Sums PredictElements();
  void UpdateQ2(const Sums& sums, const NCDataVector<float>& columnReference);

  NCDataMatrix<float> PSet_;
  NCDataMatrix<float> TSet_;
  NCDataVector<float> Q2XVar_;
  NCDataVector<float> Q2XVarCum_;
  NCDataMatrix<float> XPredResiduals_;
  NCPCA* model_;
  std::int32_t groups_;
  float Q2Tot_ = 0.0f;
  float Q2TotCum_;
  NCIntegralVector<int, -99> rowGroups_;
  NCIntegralVector<int, -99> columnGroups_;
};

}  // namespace voran
