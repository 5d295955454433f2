#pragma once

#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/export.h"

inline namespace voran {

class NCOPLS;

/// Applies a fitted OPLS model to new observations, stage by stage: a new object holds the prediction without
/// orthogonal components, and each CalcNextComponent takes one more of them out.
///
/// Data are in the units in which the model was fitted. A gap plays no part in a score; an observation without any data
/// has no scores, and its prediction is missing. A row of the fit gets the scores and the fitted Y that it has there.
///
/// Objects are values. One thread drives one; the kernels use several.
class VORAN_EXPORT NCOPLSPred {
 public:
  /// Takes copies. X: observations x variables.
  NCOPLSPred(const NCDataMatrix<float>* X, NCOPLS* model);
  /// The same from the weights and loadings of all stages and of the orthogonal components.
  NCOPLSPred(const NCDataMatrix<float>* X, const std::vector<NCDataMatrix<float>>* W,
             const std::vector<NCDataMatrix<float>>* P, const std::vector<NCDataMatrix<float>>* C,
             const NCDataMatrix<float>* WO, const NCDataMatrix<float>* PO, const NCDataMatrix<float>* CO);

  /// One orthogonal component more. To be called GetMaxComp() times at most (asserted in debug builds).
  void CalcNextComponent();

  /// Predicted Y, observations x responses: the contributions of the orthogonal components taken out so far and of the
  /// predictive components of that stage.
  const NCDataMatrix<float>* GetYPred() const { return &Y_; }
  /// Predictive scores of the current stage, components x observations.
  const NCDataMatrix<float>* GetTPred() const { return &TPred_; }
  /// Scores of the orthogonal components taken out so far, components x observations.
  const NCDataMatrix<float>* GetTOPred() const { return &TOPred_; }
  /// What these leave of X.
  const NCDataMatrix<float>& GetXOrthoResiduals() const { return X_; }

  /// How many orthogonal components the model has.
  int GetMaxComp() const { return WOprim_.SizeRows(); }
  int SizeOComps() const { return TOPred_.SizeRows(); }
  int SizePComps() const { return TPred_.SizeRows(); }

 private:
  void Finalise();

  NCDataMatrix<float> X_;
  NCDataMatrix<float> Y_;
  std::vector<NCDataMatrix<float>> WMatrices_;
  std::vector<NCDataMatrix<float>> PMatrices_;
  std::vector<NCDataMatrix<float>> CMatrices_;
  NCDataMatrix<float> WOprim_;
  NCDataMatrix<float> POprim_;
  NCDataMatrix<float> COprim_;
  NCDataMatrix<float> TPred_;
  NCDataMatrix<float> TOPred_;
};

}  // namespace voran
