#pragma once

#include <cstdint>
#include <memory>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/export.h"
#include "voran/platform/streamable.h"

inline namespace voran {

class NCProgress;

/// A partial least squares model of Y on X, fitted one component per call by NIPALS:
///
///     NCPLS pls(&x, &y, 200);
///     for (int a = 1; a <= 3; ++a) {
///       pls.NextComponent(nullptr, nullptr, false, true);
///       pls.CalculateResiduals();
///     }
///     NCDataMatrix<float> b = pls.GetRegressionCoefficients(-1);  // x variables x y variables
///
/// X (observations x variables) and Y (observations x responses) should be centred, and scaled as the caller wants
/// them. With weights w, scores t and u, loadings p and Y weights c, all of the current residuals:
/// w = X'u / |X'u|, t = Xw, c = Y't / t't, u = Yc / c'c, p = X't / t't. Gaps in X and Y are ordinary input: every
/// regression runs over the pairs present, with a floor of a third of the whole sum of squares under its denominator.
///
/// The iteration stops when the relative squared change of u is at most 1e-10, or at the limit, which is no failure; a
/// single response takes one round. Signs are what the iteration gives. R2 and Q2 are the caller's, as is the decision
/// how many components to fit (see PLSCrossValidation).
///
/// Copying a model copies pointers: both objects then hold the same matrices, and only one of them may be destroyed.
/// This is deliberate. A model is driven by one thread; the kernels use several.
class VORAN_EXPORT NCPLS : public StreamWalk<NCPLS> {
 public:
  /// Seven empty matrices.
  NCPLS();
  /// Takes copies, which share the elements until the first deflation.
  NCPLS(const NCDataMatrix<float>* X, const NCDataMatrix<float>* Y, int iterationLimit);
  /// With a single response.
  NCPLS(const NCDataMatrix<float>* X, const NCDataVector<float>* y, int iterationLimit);
  /// Goes on with a fitted model: residuals of X and Y, and the rows of components found so far.
  NCPLS(const NCDataMatrix<float>* X, const NCDataMatrix<float>* Y, const NCDataMatrix<float>* C,
        const NCDataMatrix<float>* P, const NCDataMatrix<float>* W, const NCDataMatrix<float>* U,
        const NCDataMatrix<float>* T, int iterationLimit);
  NCPLS(const NCPLS& other) = default;
  NCPLS& operator=(const NCPLS& other) = default;
  ~NCPLS() override;

  /// Computes the next component and appends it; X and Y stay as they are until CalculateResiduals. There is at least
  /// one round, whatever the limit. `progress` and `start` may be null.
  ///
  /// `start` is an X weight (one element per variable) to start from; with a single response it is not looked at.
  /// Otherwise u starts as the response of largest sum of squares.
  ///
  /// `silent` keeps the iteration off the progress object, and makes none where there is none. `interactive`, for a
  /// main fit, reports each round, lets the user break off, and tests that X and Y correlate; the inner fits of a
  /// cross-validation pass false, and a component of nothing is then appended without a word.
  ///
  /// Throws NCError of level 1 if X and Y do not correlate ("The correlation between X and Y is zero or almost
  /// zero..."), of level 2 if the user breaks off during the iteration and of level 0 if at its end ("PLS component
  /// aborted."), and std::bad_alloc. The model is then as it was before.
  ///
  /// Cost: two readings of X for each round, one less for the last, and one more if `interactive`. With two to eight
  /// responses and no gaps, three readings in all, or four with `start`, whatever the number of rounds.
  void NextComponent(NCProgress* progress, const NCDataVector<float>* start, bool silent, bool interactive);

  /// Subtracts the newest component from X and Y: to be called once after each NextComponent, which nothing checks.
  /// Throws std::bad_alloc; X and Y are then as they were.
  void CalculateResiduals();

  /// Turns the sign of a component: its rows of C, P, W, U and T. Residuals and coefficients do not depend on it.
  void FlipComponent(int component);

  /// For permutation tests: row i of Y becomes its row permutation[i], i = 1 to the rows of Y; permutation[0] is not
  /// read. Throws NCError of level 2 if there is a component already, or no Y.
  void ShuffleYResiduals(int* permutation);

  /// The weights related to X as it was before any deflation, T = X Wstar: components x variables.
  NCDataMatrix<float> GetWStarPrim();
  static NCDataMatrix<float> GetWStarPrim(const NCDataMatrix<float>& Wprim, const NCDataMatrix<float>& Pprim);
  /// B in Y = XB, variables x responses, in the units of the data that the model was given; there is no intercept. With
  /// `components` below the number that there are, of the first ones; -1 means all.
  NCDataMatrix<float> GetRegressionCoefficients(int components);
  static NCDataMatrix<float> GetRegressionCoefficients(const NCDataMatrix<float>& Pprim,
                                                       const NCDataMatrix<float>& Wprim,
                                                       const NCDataMatrix<float>& Cprim);

  int GetComponents() const { return components_; }
  /// Rounds that the newest component took.
  int GetIterations() const { return iterations_; }
  // All matrices are owned by the model.
  /// Y weights, components x responses.
  const NCDataMatrix<float>* GetCprim() const { return C_; }
  /// X loadings, components x variables.
  const NCDataMatrix<float>* GetPprim() const { return P_; }
  /// X weights of unit length, components x variables.
  const NCDataMatrix<float>* GetWprim() const { return W_; }
  /// Y scores, components x observations.
  const NCDataMatrix<float>* GetUprim() const { return U_; }
  /// X scores, components x observations.
  const NCDataMatrix<float>* GetTprim() const { return T_; }
  /// What the components so far leave of X and Y.
  const NCDataMatrix<float>* GetXResiduals() const { return X_; }
  const NCDataMatrix<float>* GetYResiduals() const { return Y_; }

  // Persistence. The walk is explained at VStreamBase, the bytes in docs/file_formats.md. A model that was read has its
  // matrices, limit and iterations; the count of components deliberately is what it was before: take the number of rows
  // of GetPprim(), and to fit more components, a model made from the seven matrices. After a failure the model is as it
  // was; matrices that do not fit together are one.

  /// The identity "NCPLS", version 2; readers accept no other version.
  static DerivedStreamableData MyStreamableData;

 protected:
  friend class StreamWalk<NCPLS>;
  /// What follows the header.
  bool VStreamableWrite(std::ostream& stream);
  bool VStreamableRead(std::istream& stream);
  bool ReadStreamDirectory(std::istream& stream);

 private:
  using MatrixPointer = std::unique_ptr<NCDataMatrix<float>>;
  class PlsProgress;
  struct Component;

  NCPLS(MatrixPointer X, MatrixPointer Y, int iterationLimit);
  NCPLS(MatrixPointer X, MatrixPointer Y, MatrixPointer C, MatrixPointer P, MatrixPointer W, MatrixPointer U,
        MatrixPointer T, int iterationLimit);
  bool IterateOnResponses(const NCDataVector<float>* start, bool interactive, PlsProgress& report,
                          Component& component) const;
  void Iterate(const NCDataVector<float>* start, bool interactive, PlsProgress& report, Component& component) const;
  bool IsStartedBy(const NCDataVector<float>* start) const;
  NCDataVector<float> StartWeights(const NCDataVector<float>& start) const;
  void StartScore(const NCDataVector<float>* start, NCDataVector<float>& u) const;
  void Append(const Component& component);

  NCDataMatrix<float>* C_;
  NCDataMatrix<float>* P_;
  NCDataMatrix<float>* W_;
  NCDataMatrix<float>* U_;
  NCDataMatrix<float>* T_;
  NCDataMatrix<float>* X_;
  NCDataMatrix<float>* Y_;
  std::int32_t components_ = 0;
  std::int32_t iterationLimit_ = 0;
  std::int32_t iterations_ = 0;
};

}  // namespace voran
