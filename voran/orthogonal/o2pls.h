#pragma once

#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/export.h"

inline namespace voran {

/// An O2PLS model of two blocks of variables (Trygg and Wold, 2003): what varies in X and Y is split into joint
/// predictive components, which both share, and orthogonal components of each side, which are systematic there and
/// unrelated to the other block.
///
///     NCO2PLS o2pls(x, y, true, 200);
///     o2pls.Fit(2, 1, 1);  // two joint components, one that X has alone, one that Y has alone
///
/// Fit() takes the steps of a fit in their order. Who adds components one at a time takes them by himself: orthogonal
/// components, of X and then of Y, each by NextOrthogonalComponent(); then InitPredCompCalculation(); then
/// NextPredictiveComp() with SubtractLastPredictiveComp() in between, or CalculatePredictiveComps() in place of all
/// three; then Finalise(), and EndFit().
///
/// X (N observations x K variables) and Y (N x M variables) should be centred, scaled as the caller wants them, and
/// complete. Components are rows in all matrices. Signs are what the iterations give. How many components there are is
/// the caller's decision (see O2PLSCrossValidation).
///
/// A failure leaves the model in the step that it had reached: go back to a copy, which shares its elements, or
/// UnFit(). One thread drives a model; the kernels use several. Models of different threads do not meet.
class VORAN_EXPORT NCO2PLS {
 public:
  /// An empty model, to be assigned to.
  NCO2PLS() = default;
  /// Takes copies. `iterations` bounds the PLS iterations of the orthogonal components. `checkDimensions` makes
  /// NextOrthogonalComponent() refuse to go past the dimensions of the data.
  ///
  /// Throws NCInternalError if the numbers of rows differ or anything is missing.
  NCO2PLS(const NCDataMatrix<float>& X, const NCDataMatrix<float>& Y, bool checkDimensions, int iterations);

  void swap(NCO2PLS& other) noexcept;

  /// The whole fit, from the start.
  void Fit(int predictiveComps, int xOrthoComps, int yOrthoComps);

  /// Appends an orthogonal component of X, or of Y. Of the predictive part it knows the number of components alone,
  /// which must not be 0; that part has to be calculated anew afterwards, and is readable until then.
  ///
  /// Throws NCO2PLSDimensionalityException if dimensions are checked and would be exceeded: components of that side and
  /// `predictiveComps` together stay below the columns + 1 and below the rows.
  ///
  /// Cost: `predictiveComps` + 1 PLS components.
  void NextOrthogonalComponent(bool xSide, int predictiveComps);
  /// Takes the orthogonal components out of work matrices for the predictive part, which is emptied.
  void InitPredCompCalculation();
  /// Appends a predictive component. Throws NCInternalError before InitPredCompCalculation().
  void NextPredictiveComp();
  /// Takes it out of the work matrices, X by its own scores and Y by its own.
  void SubtractLastPredictiveComp();
  /// The predictive part anew; to be followed by Finalise().
  void CalculatePredictiveComps(int predictiveComps);
  /// Calculates what relates the blocks: Lambda, XLambda, R and S.
  ///
  /// Throws NCError of level 2 if a predictive score is missing, because a component could not be formed.
  void Finalise();
  /// Releases the work matrices.
  void EndFit();
  /// Back to a model without components.
  void UnFit();

  // Signs. Entry i, from 0, tells whether component i + 1 is turned.

  /// Turns T, P and W by `xFlips` and U, C and Q by `yFlips`, and calculates the inner relations anew.
  void FlipPredictiveModel(const std::vector<bool>& xFlips, const std::vector<bool>& yFlips);
  /// Turns To, Wo, Po and S.
  void FlipXSideModel(const std::vector<bool>& flips);
  /// Turns Uo, Co, Qo and R.
  void FlipYSideModel(const std::vector<bool>& flips);

  /// B in Y = XB, K x M, of a model's matrices. C gives the Y scores their weights for loadings; with Q in its place XB
  /// is what NCO2PLSYPred predicts.
  static NCDataMatrix<float> GetCoefficients(const NCDataMatrix<float>& W, const NCDataMatrix<float>& P,
                                             const NCDataMatrix<float>& Wo, const NCDataMatrix<float>& Po,
                                             const NCDataMatrix<float>& Lambda, const NCDataMatrix<float>& S,
                                             const NCDataMatrix<float>& C);

  // The matrices. A, Ax and Ay are the numbers of predictive components and of orthogonal ones of X and of Y.

  /// The data, as they were given.
  const NCDataMatrix<float>& GetX() const { return X_; }
  const NCDataMatrix<float>& GetY() const { return Y_; }
  /// X scores, A x N.
  const NCDataMatrix<float>& GetT() const { return T_; }
  /// Y scores, A x N.
  const NCDataMatrix<float>& GetU() const { return U_; }
  /// X loadings, A x K.
  const NCDataMatrix<float>& GetP() const { return P_; }
  /// X weights of unit length, A x K.
  const NCDataMatrix<float>& GetW() const { return W_; }
  /// Y weights of unit length, A x M.
  const NCDataMatrix<float>& GetC() const { return C_; }
  /// Y loadings, A x M.
  const NCDataMatrix<float>& GetQ() const { return Q_; }
  /// Scores of the orthogonal components of X, Ax x N.
  const NCDataMatrix<float>& GetTo() const { return To_; }
  /// Their weights of unit length, Ax x K.
  const NCDataMatrix<float>& GetWo() const { return Wo_; }
  /// Their loadings, Ax x K.
  const NCDataMatrix<float>& GetPo() const { return Po_; }
  /// Scores of the orthogonal components of Y, Ay x N.
  const NCDataMatrix<float>& GetUo() const { return Uo_; }
  /// Their weights of unit length, Ay x M.
  const NCDataMatrix<float>& GetCo() const { return Co_; }
  /// Their loadings, Ay x M.
  const NCDataMatrix<float>& GetQo() const { return Qo_; }
  /// The columns of X regressed on each row of Uo, Ay x K: how X loads on what only Y should have.
  const NCDataMatrix<float>& GetR() const { return R_; }
  /// The columns of Y regressed on each row of To, Ax x M.
  const NCDataMatrix<float>& GetS() const { return S_; }
  /// The inner relation from T to U, (T T')^-1 T U': A x A.
  const NCDataMatrix<float>& GetLambda() const { return Lambda_; }
  /// The inner relation from U to T, A x A.
  const NCDataMatrix<float>& GetXLambda() const { return XLambda_; }

  /// Sums of squares of the data.
  float GetSSXOrig() const { return SSXOrig_; }
  float GetSSYOrig() const { return SSYOrig_; }

  int SizePredComps() const { return T_.SizeRows(); }
  int SizeXSideOrthoComps() const { return To_.SizeRows(); }
  int SizeYSideOrthoComps() const { return Uo_.SizeRows(); }
  int SizeXColumns() const { return X_.SizeColumns(); }
  int SizeYColumns() const { return Y_.SizeColumns(); }

  /// For the whole process: whether to show how missing values are filled in before such a fit. False at first.
  static void SetShowMissingValueSupstitution(bool show);
  static bool GetShowMissingValueSupstitution();

 private:
  static void CalculateOrthogonalComp(const NCDataMatrix<float>& A, const NCDataMatrix<float>& B,
                                      NCDataMatrix<float>& scores, NCDataMatrix<float>& weights,
                                      NCDataMatrix<float>& loadings, int predictiveComps, int iterations);
  void CheckDimensions(bool xSide, int predictiveComps) const;
  void RelateScores();

  NCDataMatrix<float> X_;
  NCDataMatrix<float> Y_;
  int iterations_ = 0;
  NCDataMatrix<float> T_;
  NCDataMatrix<float> U_;
  NCDataMatrix<float> P_;
  NCDataMatrix<float> W_;
  NCDataMatrix<float> C_;
  NCDataMatrix<float> Q_;
  NCDataMatrix<float> To_;
  NCDataMatrix<float> Wo_;
  NCDataMatrix<float> Po_;
  NCDataMatrix<float> Uo_;
  NCDataMatrix<float> Co_;
  NCDataMatrix<float> Qo_;
  NCDataMatrix<float> R_;
  NCDataMatrix<float> S_;
  NCDataMatrix<float> Lambda_;
  NCDataMatrix<float> XLambda_;
  // The blocks less all orthogonal and the finished predictive components, while predictive ones are calculated.
  NCDataMatrix<float> XWork_;
  NCDataMatrix<float> YWork_;
  float SSXOrig_ = 0.0f;
  float SSYOrig_ = 0.0f;
  bool checkDimensions_ = false;
};

}  // namespace voran
