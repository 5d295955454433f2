#pragma once

#include "voran/containers/data_matrix.h"
#include "voran/containers/integral_vector.h"
#include "voran/export.h"

inline namespace voran {

class NCO2PLS;

/// Applies a fitted O2PLS model to new observations of one block, the source, and predicts the other one, the target.
/// NCO2PLSYPred and NCO2PLSXPred are the two directions.
///
/// Data are in the units in which the model was fitted. A gap plays no part in a score; an observation without any data
/// has no scores, and its prediction is missing. A row of the fit gets the scores that it has there.
///
/// Everything is computed at construction. Objects are values; one thread uses one, the kernels several.
class VORAN_EXPORT NCO2PLSPred {
 public:
  /// Takes out the observations at `rows` (1-based, in any order); one that does not exist is ignored.
  void RemoveObservations(const NCIntegralVector<int, -99>& rows);

 protected:
  /// All but the last as in the model: components x variables, the inner relation from the scores of the source to
  /// those of the target. `excludedOrtho` of the last orthogonal components are kept out of the prediction.
  NCO2PLSPred(const NCDataMatrix<float>& sourceLoadings, const NCDataMatrix<float>& sourceWeights,
              const NCDataMatrix<float>& targetLoadings, const NCDataMatrix<float>& orthoWeights,
              const NCDataMatrix<float>& orthoLoadings, const NCDataMatrix<float>& orthoToTarget,
              const NCDataMatrix<float>& innerRelation, int excludedOrtho);
  NCO2PLSPred(const NCO2PLSPred&) = default;
  NCO2PLSPred& operator=(const NCO2PLSPred&) = default;
  ~NCO2PLSPred() = default;

  void Predict(const NCDataMatrix<float>& source, int targetColumns);
  /// From the first `predictiveComps` components, of which there are that many, and all orthogonal ones, the excluded
  /// included; these only up to the first one whose scores all are 0.
  NCDataMatrix<float> PredictionFrom(int predictiveComps) const;

  const NCDataMatrix<float>& Scores() const { return Scores_; }
  const NCDataMatrix<float>& OrthoScores() const { return OrthoScores_; }
  const NCDataMatrix<float>& Prediction() const { return Prediction_; }
  /// What all components leave of the new data.
  const NCDataMatrix<float>& Residual() const { return Residual_; }

 private:
  void TakeOutOrthogonal(int first, int last, bool predicts);
  void TakeOutPredictive();
  void AddInnerPrediction();

  NCDataMatrix<float> SourceLoadings_;
  NCDataMatrix<float> SourceWeights_;
  NCDataMatrix<float> TargetLoadings_;
  NCDataMatrix<float> OrthoWeights_;
  NCDataMatrix<float> OrthoLoadings_;
  NCDataMatrix<float> OrthoToTarget_;
  NCDataMatrix<float> InnerRelation_;
  NCDataMatrix<float> Scores_;
  NCDataMatrix<float> OrthoScores_;
  NCDataMatrix<float> Residual_;
  NCDataMatrix<float> Prediction_;
  int ExcludedOrtho_;
};

/// Predicts Y from new X.
class VORAN_EXPORT NCO2PLSYPred : public NCO2PLSPred {
 public:
  /// newX: observations x K. Nothing of the arguments is kept but shared copies of matrices.
  NCO2PLSYPred(const NCDataMatrix<float>* newX, const NCO2PLS* model, int excludedOrtho);
  /// The same from a model's matrices.
  NCO2PLSYPred(const NCDataMatrix<float>& newX, const NCDataMatrix<float>& P, const NCDataMatrix<float>& W,
               const NCDataMatrix<float>& Q, const NCDataMatrix<float>& Wo, const NCDataMatrix<float>& Po,
               const NCDataMatrix<float>& S, const NCDataMatrix<float>& Lambda, int yColumns, int excludedOrtho);

  /// Observations x M.
  NCDataMatrix<float> GetYPred() const { return Prediction(); }
  /// From the first `predictiveComps` components (at most as many as there are) and all orthogonal ones, the excluded
  /// included.
  NCDataMatrix<float> GetYPred(int predictiveComps) const { return PredictionFrom(predictiveComps); }
  /// Components x observations.
  NCDataMatrix<float> GetT() const { return Scores(); }
  NCDataMatrix<float> GetTo() const { return OrthoScores(); }
};

/// Predicts X from new Y.
class VORAN_EXPORT NCO2PLSXPred : public NCO2PLSPred {
 public:
  /// newY: observations x M.
  NCO2PLSXPred(const NCDataMatrix<float>* newY, const NCO2PLS* model, int excludedOrtho);
  NCO2PLSXPred(const NCDataMatrix<float>& newY, const NCDataMatrix<float>& Q, const NCDataMatrix<float>& C,
               const NCDataMatrix<float>& P, const NCDataMatrix<float>& Co, const NCDataMatrix<float>& Qo,
               const NCDataMatrix<float>& R, const NCDataMatrix<float>& XLambda, int xColumns, int excludedOrtho);

  /// Observations x K.
  NCDataMatrix<float> GetXPred() const { return Prediction(); }
  /// Components x observations.
  NCDataMatrix<float> GetU() const { return Scores(); }
  NCDataMatrix<float> GetUo() const { return OrthoScores(); }
};

}  // namespace voran
