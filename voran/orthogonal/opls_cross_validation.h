#pragma once

#include <cstdint>
#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/integral_vector.h"
#include "voran/export.h"
#include "voran/orthogonal/opls_cross_validation_data.h"

inline namespace voran {

class NCOPLS;
class NCProgress;

namespace detail {
struct CvSplit;
}

/// How well an OPLS model predicts observations that it was not fitted to: in every round one group of observations is
/// left out, a model is fitted to the others and predicts the group.
///
///     OPLSCrossValidation cv(&x, &y, 1, 7, &progress, nullptr);  // the predictive part
///     while (another orthogonal component is wanted) cv.NextComponent(&progress);
///
/// It keeps step with a model of all observations, which it does not need. The models' weights and loadings are kept
/// between the steps and the models themselves restored from them; rows share their elements with the data.
///
/// Q2 is 1 - PRESS / SS, a fraction, over all predictive and orthogonal components so far. Objects are values. One
/// thread drives one; the kernels use several.
class VORAN_EXPORT OPLSCrossValidation {
 public:
  /// Runs the rounds of the first step. There are no more rounds than observations, and `groups` is at least 1.
  /// `cvGroups` has one entry per observation, the round from 0 that leaves it out, or is null for
  /// GetDeafultCVGroupsVector. `predictiveComps` and data are as for NCOPLS; asked for an estimate, every round makes
  /// its own. `progress` may be null.
  ///
  /// Throws NCError of level 2 if the user breaks off ("OPLS cross validation aborted.", or what NCOPLS says), and what
  /// NCOPLS::NextComponent throws.
  OPLSCrossValidation(const NCDataMatrix<float>* X, const NCDataMatrix<float>* Y, int predictiveComps, int groups,
                      NCProgress* progress, NCIntegralVector<int, -99>* cvGroups);
  /// Goes on from stored data, for the X, Y and groups that they were made from. Until the next step the results are
  /// missing, and SSYcvOriginal stays empty.
  OPLSCrossValidation(const NCDataMatrix<float>* X, const NCDataMatrix<float>* Y, const OPLSCrossvalidationData* data,
                      NCIntegralVector<int, -99>* cvGroups);

  /// Adds one orthogonal component to every round's model. `progress` may be null. Throws as the constructor does; the
  /// rounds before the failure have then taken the step and the others have not, and the object must be given up.
  void NextComponent(NCProgress* progress);

  /// The significance limit for Q2: 0 with more than 100 observations, else 0.05.
  float GetQ2Lim() const;
  float GetQ2TotCum() const { return Q2TotCum_; }
  /// One per response. Deliberately 1 as long as no response up to this one has any prediction error.
  const NCDataVector<float>* GetQ2YVarCum() const { return &Q2YVarCum_; }
  /// Observations x responses, each row from the round that left it out; missing where none did.
  const NCDataMatrix<float>* GetYPred() const { return &YPred_; }
  /// Y less YPred.
  NCDataMatrix<float> GetYPredResiduals() const { return Y_ - YPred_; }
  /// Sums of squares of what each round's model leaves of its Y, and of that Y itself.
  const NCDataVector<float>* GetSSYcv() const { return &SSYcv_; }
  const NCDataVector<float>* GetSSYcvOriginal() const { return &SSYcvOriginal_; }
  /// By predictive component, rounds x observations: fitted scores, or predicted ones where the round left the
  /// observation out. All rounds have the signs of the first.
  const std::vector<NCDataMatrix<float>>* GetTSets() const { return &TSets_; }
  /// The same for the newest orthogonal component.
  const NCDataMatrix<float>* GetToSet() const { return &ToSet_; }

  /// What has to be stored to go on later.
  const OPLSCrossvalidationData* GetData() const { return &Data_; }
  int SizeCVRounds() const { return Rounds_; }
  /// How many orthogonal components each round's model has.
  int SizeOComponents() const { return static_cast<int>(Data_.WSets.front().size()) - 1; }

 private:
  OPLSCrossValidation(const NCDataMatrix<float>& X, const NCDataMatrix<float>& Y, OPLSCrossvalidationData data,
                      int predictiveComps, const NCIntegralVector<int, -99>* cvGroups);
  template <class MakeModel>
  void RunRounds(NCProgress* progress, const MakeModel& makeModel);
  NCDataMatrix<float> NoScores() const;
  void SaveModelMatrices(NCOPLS& model, int round);
  void SaveGroupResults(NCOPLS& model, const detail::CvSplit& split, int round);
  void CalculateQ2();

  NCDataMatrix<float> X_;
  NCDataMatrix<float> Y_;
  OPLSCrossvalidationData Data_;
  std::int32_t Rounds_;
  NCDataMatrix<float> YPred_;
  std::int32_t PredictiveComps_;
  NCDataVector<float> SSYcv_;
  std::vector<NCDataMatrix<float>> TSets_;
  NCDataMatrix<float> ToSet_;
  NCDataVector<float> SSYcvOriginal_;
  float Q2TotCum_;
  NCDataVector<float> Q2YVarCum_;
  NCIntegralVector<int, -99> CVGroups_;
};

}  // namespace voran
