#pragma once

#include <utility>
#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/export.h"

inline namespace voran {

class NCProgress;

/// An OPLS model of Y on X (orthogonal projections to latent structures; Trygg and Wold, 2002): what varies in X is
/// split into predictive components, which covary with Y, and orthogonal ones, which do not.
///
///     NCOPLS opls(&x, &y, 1, 200);
///     opls.NextComponent(nullptr);  // the predictive part alone
///     opls.NextComponent(nullptr);  // one orthogonal component, and the predictive part of what it leaves
///
/// The first call fits the predictive part, each later one takes out one orthogonal component more. The model after the
/// predictive part, and after each orthogonal component, is a stage, and the weights and loadings of every stage are
/// kept. How many to fit is the caller's decision (see OPLSCrossValidation), and nothing limits their number.
///
/// X (observations x variables) and Y (observations x responses) should be centred, and scaled as the caller wants
/// them. Gaps are ordinary input: every regression runs over the pairs present, with a floor of a third of the whole
/// sum of squares under its denominator, and the weights are refined until what they leave covaries little with Y. Y
/// too is deflated by the orthogonal components, and a prediction adds that share again (see NCOPLSPred).
///
/// Objects are values, whose matrices share their elements until one is written. One thread drives a model; the kernels
/// use several.
class VORAN_EXPORT NCOPLS {
 public:
  /// Takes copies. `predictiveComps` is the number of predictive components, at most the rows and the columns of Y; 0
  /// or less asks for an estimate, which the first NextComponent makes and later ones keep. A single response has
  /// one, whatever is asked. `maxIterations` bounds the refinement and the iterations of each inner PCA.
  NCOPLS(const NCDataMatrix<float>* X, const NCDataMatrix<float>* Y, int predictiveComps, int maxIterations);

  /// Restores a fitted model for X and Y, which need not be those that it was fitted to, from the weights and loadings
  /// of all its stages, of which there is one more than orthogonal components (WO, PO, CO), and at least one. The
  /// number of predictive components is that of the first stage. The Y scores stay empty; those of the orthogonal
  /// components are there.
  NCOPLS(const NCDataMatrix<float>* X, const NCDataMatrix<float>* Y, const std::vector<NCDataMatrix<float>>* W,
         const std::vector<NCDataMatrix<float>>* P, const std::vector<NCDataMatrix<float>>* C,
         const NCDataMatrix<float>* WO, const NCDataMatrix<float>* PO, const NCDataMatrix<float>* CO,
         int predictiveComps, int maxIterations);

  /// Fits the next stage. `progress` may be null.
  ///
  /// Throws NCError of level 2 if the user breaks off ("OPLS component aborted."), what NCPCA::NextComponent throws,
  /// and std::bad_alloc. The model must then be given up.
  ///
  /// Cost: about ten readings of X with a single response, and two more for each refinement where X has gaps.
  void NextComponent(NCProgress* progress);

  /// Turns the sign of a predictive component of the newest stage; the Y scores deliberately stay as they are.
  void NegatePredictiveComp(int comp);
  /// Turns the sign of an orthogonal component; its Y scores deliberately stay as they are.
  void NegateOComp(int comp);

  /// What all components, predictive and orthogonal, leave of X and Y.
  NCDataMatrix<float> GetXResiduals() const;
  NCDataMatrix<float> GetYResiduals() const;

  // All that follows is owned by the model and changes with it.

  // Of the newest stage; the last three need a fitted model.
  /// Scores, components x observations.
  const NCDataMatrix<float>* GetTprim() const { return &Tprim_; }
  /// Y scores, components x observations.
  const NCDataMatrix<float>* GetUprim() const { return &Uprim_; }
  /// Weights of unit length, components x variables.
  const NCDataMatrix<float>* GetWprim() const { return &WMatrices_.back(); }
  /// X loadings, components x variables.
  const NCDataMatrix<float>* GetPprim() const { return &PMatrices_.back(); }
  /// Y loadings, components x responses.
  const NCDataMatrix<float>* GetCprim() const { return &CMatrices_.back(); }

  // Of all stages, the one without orthogonal components first.
  const std::vector<NCDataMatrix<float>>* GetWMatrices() const { return &WMatrices_; }
  const std::vector<NCDataMatrix<float>>* GetPMatrices() const { return &PMatrices_; }
  const std::vector<NCDataMatrix<float>>* GetCMatrices() const { return &CMatrices_; }

  // Of the orthogonal components, one row each.
  /// Scores, components x observations.
  const NCDataMatrix<float>* GetTOprim() const { return &TOprim_; }
  /// Y scores, components x observations; all missing for a component that carries next to nothing of Y.
  const NCDataMatrix<float>* GetUOprim() const { return &UOprim_; }
  /// X loadings, components x variables.
  const NCDataMatrix<float>* GetPOprim() const { return &POprim_; }
  /// Y loadings, components x responses.
  const NCDataMatrix<float>* GetCOprim() const { return &COprim_; }
  /// Weights of unit length, components x variables.
  const NCDataMatrix<float>* GetWOprim() const { return &WOprim_; }

  /// How many predictive components there are: 0 as long as nothing is fitted.
  int SizeComponents() const { return Tprim_.SizeRows(); }
  int SizeOrthogonalComponents() const { return TOprim_.SizeRows(); }

 private:
  void CatchUp();
  void ExtractOrthogonalComponent();
  NCDataVector<float> OrthogonalWeight() const;
  void CalcOPLS(NCProgress* progress);
  NCDataMatrix<float> RefineWeights(NCProgress* progress);
  NCDataMatrix<float> TakeWeights(const NCDataMatrix<float>& covariances);
  void AppendStage(const NCDataMatrix<float>& W);

  // Deflated by the orthogonal components. What is missing stays missing.
  NCDataMatrix<float> X_;
  NCDataMatrix<float> Y_;
  std::vector<NCDataMatrix<float>> WMatrices_;
  NCDataMatrix<float> Tprim_;
  NCDataMatrix<float> Uprim_;
  std::vector<NCDataMatrix<float>> PMatrices_;
  std::vector<NCDataMatrix<float>> CMatrices_;
  /// Scores by weight deflation, of which the next orthogonal weight is made; Tprim_ comes from deflation by loadings.
  NCDataMatrix<float> TWprim_;
  NCDataMatrix<float> TOprim_;
  NCDataMatrix<float> POprim_;
  NCDataMatrix<float> COprim_;
  NCDataMatrix<float> WOprim_;
  NCDataMatrix<float> UOprim_;
  int maxIterations_;
  int predictiveComps_;
};

}  // namespace voran
