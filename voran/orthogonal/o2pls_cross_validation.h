#pragma once

#include <optional>
#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/integral_vector.h"
#include "voran/export.h"
#include "voran/orthogonal/o2pls_cv_results.h"

inline namespace voran {

class NCProgress;

namespace detail {
struct O2PLSCounts;
struct O2PLSRun;
struct O2PLSSearch;
}  // namespace detail

/// Chooses the three numbers of components of an O2PLS model together, and cross-validates that model. All is done at
/// construction, in this order: the predictive components that the blocks share (O2PLSPredictiveComponentEstimator);
/// orthogonal components of X, as long as each adds to the Q2 of Y; those of Y, as long as each adds to the Q2 of X;
/// those of X again, now beside those of Y; and the number of predictive components by the Q2 of Y. Where a number was
/// free, the whole is then done once more with the numbers found.
///
/// Every group of observations has a model of the others, and the models are worked on side by side. Results have the
/// same bits at any number of threads.
class VORAN_EXPORT O2PLSCrossValidation : public O2PLSCVResults {
 public:
  /// X (observations x variables) and Y (observations x responses) are complete. `cvGroups` holds the group of each
  /// observation, from 0; null asks for the default division into `groups`, which otherwise is not looked at.
  /// `iterations` bounds those of the orthogonal components. The numbers of components are all given, or all negative:
  /// free. `progress` may be null.
  ///
  /// Where X and Y have no component in common, there are none, and nothing else is known. An orthogonal component that
  /// cannot be formed ends the search for more.
  ///
  /// Throws NCError of level 2: some numbers are given and some free, something is missing, X and Y do not correlate,
  /// models cannot be formed, or the user breaks off ("Computations aborted."). Throws NCInternalError if the numbers
  /// of rows and the size of `cvGroups` differ.
  O2PLSCrossValidation(const NCDataMatrix<float>* X, const NCDataMatrix<float>* Y, int groups, NCProgress* progress,
                       NCIntegralVector<int, -99>* cvGroups, int iterations, int predictiveComps, int xOrthoComps,
                       int yOrthoComps);

  const O2PLSCVResults& GetResults() const { return *this; }

  /// What a component must add to Q2. The arguments are not looked at.
  static float GetQ2Lim(int, int);

 private:
  std::optional<detail::O2PLSCounts> DoCalculations(const NCDataMatrix<float>& X, const NCDataMatrix<float>& Y,
                                                    const NCIntegralVector<int, -99>& cvGroups, NCProgress* progress,
                                                    const detail::O2PLSCounts& asked);
  double FitPredictive(detail::O2PLSRun& run);
  void FindOrthogonal(detail::O2PLSRun& run, double q2);
  int OrthoCompCV(detail::O2PLSRun& run, const detail::O2PLSSearch& search);
  void CrossValidatePredictive(detail::O2PLSRun& run);
  std::optional<int> ChoosePredictive(bool isFree);
  void AlignSigns(detail::O2PLSRun& run) const;
  void CollectPredictive(const detail::O2PLSRun& run);
  void CollectOrthogonal(const detail::O2PLSRun& run);
  void CollectStart(const detail::O2PLSRun& run);
  void CollectSumsOfSquares(const detail::O2PLSRun& run);

  int Iterations_;
  int Rows_;
};

/// What a component must add to the Q2 of Y, or of X, for the whole process: 0 to below 1, or -99 for the default of
/// 0.01. Anything else is ignored. To be set between runs.
VORAN_EXPORT void SetO2PLSExternalQ2Limit(float limit);

}  // namespace voran
