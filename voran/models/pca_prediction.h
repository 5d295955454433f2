#pragma once

#include <cstdint>

#include "voran/containers/data_matrix.h"
#include "voran/containers/integral_vector.h"
#include "voran/export.h"

inline namespace voran {

/// New observations on the loadings of a PCA model: scores of all components at once, residuals component by component.
///
/// Data are in the units in which the model was fitted. A value type, driven by one thread.
class VORAN_EXPORT NCPCAPred {
 public:
  /// X: observations x variables; Pprim: components x variables. A row whose share of missing elements is above
  /// `maxMissingFraction` gets missing scores; the others are estimated by ScoreEstimator with `iterationLimit`, on
  /// several threads.
  NCPCAPred(const NCDataMatrix<float>* X, const NCDataMatrix<float>* Pprim, int iterationLimit,
            float maxMissingFraction);

  /// Takes the next component out of X; a row whose score is missing becomes missing. To be called GetMaxComp() times
  /// at most, which nothing checks.
  void CalcNextResidual();
  /// Forgets observations, by their positions, in any order.
  void RemoveObservations(const NCIntegralVector<int, -99>& observations);

  int GetMaxComp() { return Pprim_.SizeRows(); }
  int GetResidualsCompComputed() { return residualComponents_; }
  int SizeObservations() { return X_.SizeRows(); }
  /// Scores, components x observations.
  const NCDataMatrix<float>* GetTPredPrim() const { return &TPredPrim_; }
  const NCDataMatrix<float>* GetXResiduals() const { return &X_; }

 private:
  void CalculateScores(int iterationLimit);

  NCDataMatrix<float> X_;
  NCDataMatrix<float> TPredPrim_;
  NCDataMatrix<float> Pprim_;
  std::int32_t residualComponents_ = 0;
  float maxMissingFraction_;
};

}  // namespace voran
