#pragma once

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/integral_vector.h"
#include "voran/export.h"

inline namespace voran {

/// How many joint components two blocks of variables share, before anything is known of orthogonal ones: components of
/// X'Y are cross-validated one after the other, and what they tell of Y'X itself decides.
///
/// X (observations x variables) and Y (observations x responses) are complete. All is computed at construction, by the
/// calling thread; objects are values.
///
/// Cost: for each component tried one PLS component for each group of observations, and for each one found another one.
/// Besides two matrices of responses x variables, a group's share of X and Y is copied at a time.
class VORAN_EXPORT O2PLSPredictiveComponentEstimator {
 public:
  /// `cvGroups` holds the group of each observation, from 0; null asks for the default division into `groups`, which
  /// otherwise is not looked at. `fixedComps` above 0 asks for exactly that many components, 0 for none, and a negative
  /// number for an estimate.
  O2PLSPredictiveComponentEstimator(const NCDataMatrix<float>* X, const NCDataMatrix<float>* Y, int groups,
                                    const NCIntegralVector<int, -99>* cvGroups, int fixedComps);

  int GetNumberOfPredictiveComponents() const { return Comps_; }

  // One element for each component that was tried; the last one of an estimate may not count.

  /// 1 - sum |Y'X - its prediction for observations left out| / sum |Y'X|, of all components so far.
  NCDataVector<float> GetQ2() const { return Q2_; }
  /// 1 - PRESS / SS of X and of Y, of all components so far.
  NCDataVector<float> GetQ2X() const { return Q2X_; }
  NCDataVector<float> GetQ2Y() const { return Q2Y_; }
  /// SignificanceE::kR1, kNS, or kN3 where the observations allow no further component.
  NCIntegralVector<int, -99> GetSignificance() const { return Significance_; }

  // One element for each component that counts: the same of a fit to all observations.
  NCDataVector<float> GetR2() const { return R2_; }
  NCDataVector<float> GetR2X() const { return R2X_; }
  NCDataVector<float> GetR2Y() const { return R2Y_; }

 private:
  void DoCalulations(NCDataMatrix<float> X, NCDataMatrix<float> Y, const NCIntegralVector<int, -99>& groups,
                     int fixedComps);
  void CrossValidate(const NCDataMatrix<float>& X, const NCDataMatrix<float>& Y,
                     const NCIntegralVector<int, -99>& groups, int fixedComps);
  void FitAll(NCDataMatrix<float> X, NCDataMatrix<float> Y);
  bool WantsAnother(int fixedComps, int possible, double q2x, double q2y) const;

  NCDataVector<float> Q2_;
  NCDataVector<float> Q2X_;
  NCDataVector<float> Q2Y_;
  NCDataVector<float> R2_;
  NCDataVector<float> R2X_;
  NCDataVector<float> R2Y_;
  int Comps_ = 0;
  NCIntegralVector<int, -99> Significance_;
};

/// What a component must add to the Q2 of Y'X, for the whole process: 0 to below 1, or -99 for the default of 0.01.
/// Anything else is ignored. To be set between runs.
VORAN_EXPORT void SetO2PLSInternalQ2Limit(float limit);

}  // namespace voran
