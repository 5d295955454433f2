#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/integral_vector.h"
#include "voran/export.h"
#include "voran/platform/streamable.h"

inline namespace voran {

class NCProgress;

/// A principal component model of one matrix, X = TP' + E, fitted one component per call by NIPALS:
///
///     NCPCA pca(&x, 100);
///     for (int a = 1; a <= 3; ++a) {
///       pca.NextComponent(nullptr, nullptr, 0, nullptr);
///       // the newest loading is (*pca.GetPprim())[a], the newest score (*pca.GetTprim())[a]
///       pca.CalculateResiduals();
///     }
///
/// X should be centred, and scaled as the caller wants it. Gaps are ordinary input: every regression runs over the
/// pairs present. How many components to fit is the caller's decision; eigenvalues and explained variation follow from
/// scores and residuals.
///
/// A component is an eigenvector of X'X by power iteration, so its sign is what the iteration gives. The iteration
/// stops when the relative squared change of the score is at most 1e-10, or at the limit, which is no failure.
///
/// Copying a model copies pointers: both objects then hold the same matrices, and only one of them may be destroyed.
/// This is deliberate. A model is driven by one thread; the kernels use several.
class VORAN_EXPORT NCPCA : public StreamWalk<NCPCA> {
 public:
  /// Three empty matrices.
  NCPCA();
  /// Takes a copy of X (observations x variables), which shares the elements until the first deflation.
  NCPCA(const NCDataMatrix<float>* X, int iterationLimit);
  /// Goes on with a fitted model: residuals (observations x variables), loadings (components x variables), scores
  /// (components x observations).
  NCPCA(const NCDataMatrix<float>* X, const NCDataMatrix<float>* P, const NCDataMatrix<float>* T, int iterationLimit);
  NCPCA(const NCPCA& other) = default;
  NCPCA& operator=(const NCPCA& other) = default;
  ~NCPCA() override;

  /// Computes the next component and appends it to the loadings and scores; X stays as it is until CalculateResiduals.
  /// Returns true. All pointers may be null.
  ///
  /// A variable j with (*groups)[j] equal to `excludeValue` plays no part: its loading is missing. `start` is the score
  /// to start from (one element per observation) in place of the column that GetNIPALSStartColumn chooses. There is at
  /// least one round, whatever the limit. A single observation needs no iteration: its loading is the row at unit
  /// length, its score the norm, and progress, groups and start are not looked at.
  ///
  /// The score of an observation without data is missing, and so is the loading of a variable without data, unless a
  /// score is missing too: then that loading is 0.
  ///
  /// Progress runs from -v to 0, where v is ten times the powers of ten by which the relative squared change of the
  /// score exceeds 1e-10. Without a progress object one of its own is made, "PC Component 1" and so on.
  ///
  /// Throws NCError of level 2 if no score can be formed ("PCA component could not be computed.") or if the user breaks
  /// off ("PC component aborted."), and std::bad_alloc. The object must then be given up: its component count is one
  /// ahead of its rows.
  ///
  /// Cost: about one reading of X for each round of the iteration, and one more; two for the first component.
  bool NextComponent(NCProgress* progress, const NCIntegralVector<int, -99>* groups, int excludeValue,
                     const NCDataVector<float>* start);

  /// Subtracts the newest component from X: to be called once after each NextComponent, which nothing checks.
  virtual void CalculateResiduals();

  int GetComponents() const { return components_; }
  /// Rounds that the newest component took.
  int GetIterations() const { return iterations_; }
  /// Loadings of unit length, components x variables; owned by the model.
  const NCDataMatrix<float>* GetPprim() const { return P_; }
  /// Scores, components x observations; owned by the model.
  const NCDataMatrix<float>* GetTprim() const { return T_; }
  /// What the components so far leave of X; owned by the model.
  const NCDataMatrix<float>* GetResiduals() const { return X_; }

  // Persistence. The walk is explained at VStreamBase, the bytes in docs/file_formats.md. A model that was read has its
  // matrices, limit and iterations; the count of components deliberately is what it was before: take the number of rows
  // of GetPprim(), and to fit more components, a model made from the three matrices. After a failure the model is as it
  // was; matrices that do not fit together are one.

  /// The identity "NCPCA", version 2; readers accept no other version.
  static DerivedStreamableData MyStreamableData;

 protected:
  friend class StreamWalk<NCPCA>;
  /// What follows the header.
  bool VStreamableWrite(std::ostream& stream);
  bool VStreamableRead(std::istream& stream);
  bool ReadStreamDirectory(std::istream& stream);

 private:
  using MatrixPointer = std::unique_ptr<NCDataMatrix<float>>;

  NCPCA(MatrixPointer residuals, MatrixPointer loadings, MatrixPointer scores, int iterationLimit);
  void FitSingleObservation(NCDataVector<float>& p, NCDataVector<float>& t);
  void Iterate(NCProgress* progress, const NCIntegralVector<int, -99>* groups, int excludeValue,
               const NCDataVector<float>* start, NCDataVector<float>& p, NCDataVector<float>& t);

  std::vector<double>* columnSquares_;  ///< of X as it stands, or none; in front, as making it may throw
  NCDataMatrix<float>* P_;
  NCDataMatrix<float>* T_;
  NCDataMatrix<float>* X_;
  std::int32_t components_ = 0;
  std::int32_t iterationLimit_ = 0;
  std::int32_t iterations_ = 0;
};

}  // namespace voran
