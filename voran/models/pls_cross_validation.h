#pragma once

#include <cstdint>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/integral_vector.h"
#include "voran/export.h"
#include "voran/models/significance.h"
#include "voran/platform/streamable.h"

inline namespace voran {

class NCPLS;
class NCProgress;

namespace detail {
struct CvSplit;
struct LeftOutFit;
}  // namespace detail

/// How well the newest component of a PLS model predicts Y for observations that were left out.
///
/// For every group of observations a sub-model of one component is fitted to the others, on the residuals that the
/// model fitted its component to, and predicts the group. One object serves one model; call order for each component:
///
///     model.NextComponent(...);  cv.NextComponent(&model.GetWprim()->back(), ...);  model.CalculateResiduals();
///
/// The sets and residuals describe the newest component, the cumulative values all so far. All Q2 are fractions. Copies
/// point to the same model. One thread drives it. Nothing of it goes into a stream.
class VORAN_EXPORT PLSCrossValidation : public VStreamBase {
 public:
  /// The model stays the caller's and must outlive this object. There are no more groups than observations.
  /// `rowGroups` has one entry per observation, from 0 to one less than the groups in use, which is not checked; null
  /// asks for GetDeafultCVGroupsVector.
  PLSCrossValidation(NCPLS* model, int groups, const NCIntegralVector<int, -99>* rowGroups);
  /// Goes on from cumulative values, one per response.
  PLSCrossValidation(NCPLS* model, float q2TotCum, const NCDataVector<float>& q2YVarCum, int groups,
                     const NCIntegralVector<int, -99>* rowGroups);
  ~PLSCrossValidation() override;

  /// Cross-validates the newest component. `modelWeight`, which must not be null, is its X weight: sub-models start
  /// from it and are turned to its sign. `yReference` holds the sum of squares that each response began with; it is
  /// looked at for responses that have nothing left. Without progress an object of its own is shown, unless `silent`.
  ///
  /// Throws std::bad_alloc; the cumulative values then are those of the preceding component.
  void NextComponent(const NCDataVector<float>* modelWeight, int iterationLimit, const NCDataVector<float>& yReference,
                     NCProgress* progress, bool silent);

  /// The limit for Q2: 0 with more than 100 observations, else 0.05.
  float GetQ2Lim() const;

  /// The verdict on component number `components`, which explains the fractions r2x and r2y (one per response) of the
  /// whole sums of squares and has the Q2 values q2 and q2y. The first rule that applies decides: kN3 if no degree of
  /// freedom is left, kN4 if r2x < 0.01 and no r2y > 0.03, kR1 if q2 > q2Limit, kR2 if enough q2y are above it, kNS.
  static SignificanceE::Significance GetSignificance(int observations, int xVariables, int yVariables, int components,
                                                     float r2x, const NCDataVector<float>& r2y, float q2,
                                                     const NCDataVector<float>& q2y, float q2Limit);

  float GetQ2Tot() const { return Q2Tot_; }
  float GetQ2TotCum() const { return Q2TotCum_; }
  /// One per response.
  const NCDataVector<float>* GetQ2YVar() const { return &Q2YVar_; }
  const NCDataVector<float>* GetQ2YVarCum() const { return &Q2YVarCum_; }
  /// Sums of squares of the sub-models' Y after and before this component, one per group.
  const NCDataVector<float>* GetSSY() const { return &SSY_; }
  const NCDataVector<float>* GetSSYOriginal() const { return &SSYOriginal_; }
  /// The score of each observation while it was left out, in the sub-model's own sign.
  const NCDataVector<float>* GetTPred() const { return &TPred_; }
  // Of the sub-models, one row per group, turned to the model's sign.
  /// Scores of all observations: fitted, or predicted for those left out.
  const NCDataMatrix<float>* GetTSet() const { return &TSet_; }
  const NCDataMatrix<float>* GetWSet() const { return &WSet_; }
  const NCDataMatrix<float>* GetCSet() const { return &CSet_; }
  const NCDataMatrix<float>* GetPSet() const { return &PSet_; }
  /// Prediction errors, observations x responses.
  const NCDataMatrix<float>* GetYPredResiduals() const { return &YPredResiduals_; }

 private:
  void LeaveGroupOut(int group, const NCDataVector<float>& modelWeight, int iterationLimit, NCProgress* progress,
                     bool silent);
  void PredictLeftOut(const detail::CvSplit& round, const NCPLS& sub, NCDataVector<float>& scores);
  void TakeLeftOut(int group, const detail::LeftOutFit& fit, const NCDataVector<float>& modelWeight);
  void Keep(const NCDataVector<float>& w, const NCDataVector<float>& p, const NCDataVector<float>& c,
            const NCDataVector<float>& scores, const NCDataVector<float>& modelWeight);
  void UpdateQ2(const NCDataVector<float>& yReference);

  NCDataMatrix<float> YPredResiduals_;
  NCDataMatrix<float> WSet_;
  NCDataMatrix<float> CSet_;
  NCDataMatrix<float> PSet_;
  NCDataVector<float> TPred_;
  NCDataMatrix<float> TSet_;
  NCDataVector<float> Q2YVar_;
  NCDataVector<float> Q2YVarCum_;
  NCDataVector<float> SSY_;
  NCDataVector<float> SSYOriginal_;
  NCPLS* model_;
  std::int32_t groups_;
  float Q2Tot_ = 0.0f;
  float Q2TotCum_;
  NCIntegralVector<int, -99> rowGroups_;
};

}  // namespace voran
