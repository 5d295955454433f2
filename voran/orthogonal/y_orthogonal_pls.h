#pragma once

#include <cstdint>
#include <optional>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/export.h"
#include "voran/platform/streamable.h"

inline namespace voran {

class NCProgress;

/// A filter in the way of orthogonal signal correction (Wold and others, 1998): components of X whose scores are
/// orthogonal to Y, and which therefore say nothing of it.
///
///     NCYOrthogonalPLS filter(&x, &y, 200, 0);
///     filter.NextComponent(true);
///     filter.CalculateResiduals(&newRows);  // what the filter leaves of other rows
///
/// The score of a trial weight is made orthogonal to the principal scores of Y, a PLS model of it on X is fitted, and
/// its regression vector is the next trial. How close to orthogonal the scores get depends on how well X can follow,
/// and so on how many components that inner model has.
///
/// X (observations x variables) and Y (observations x responses) should be centred, and scaled as the caller wants
/// them. Gaps are ordinary input: scores and loadings are regressions over the pairs present. An observation whose
/// weights are zero for all that is present of it has a NaN for a score, as RegressRows gives it. How many components
/// to take out is the caller's decision.
///
/// Objects are values, whose matrices share their elements until one is written. A model belongs to one thread, also
/// where only constant members are called; the kernels use several.
class VORAN_EXPORT NCYOrthogonalPLS : public StreamWalk<NCYOrthogonalPLS> {
 public:
  /// Nothing, to be read from a stream.
  NCYOrthogonalPLS() = default;
  /// Takes copies. `iterations` bounds the trials of a component, and the iterations of each model fitted for it;
  /// `maxInnerComponents`, if above 0, the components of the inner model, within what OSCPLSComponentValidator allows.
  ///
  /// Throws NCInternalError if the numbers of rows differ, and NCError of level 2 if X or Y has a row without data.
  NCYOrthogonalPLS(const NCDataMatrix<float>* X, const NCDataMatrix<float>* Y, int iterations, int maxInnerComponents);

  /// Fits another component to what is left of X, and takes it out. The trials end when the relative squared change of
  /// the weight is at most 1e-7, or at the limit, which is no failure: where X has gaps and the inner model more
  /// components than X has structure, they may wander for ever. `showProgress` goes to the progress display as the
  /// first flag of this work.
  ///
  /// Throws NCError of level 2 if the user breaks off ("Component aborted.", or what an inner model says), or if Y has
  /// no principal component or did not come with the stream; what NCPCA::NextComponent and NCPLS::NextComponent throw,
  /// of level 1 if nothing of X covaries with an orthogonal score; and std::bad_alloc. The model is then as it was, but
  /// for the principal scores of Y.
  ///
  /// Cost: for each trial, five readings of X and one writing for each component of the inner model.
  void NextComponent(bool showProgress);
  /// Puts the newest component back into X, exactly up to rounding; what became missing stays so. Without components
  /// nothing happens.
  void RemoveComponent();
  /// Takes all components out of other data of the same variables, in place. The data of the fit give GetXResiduals().
  void CalculateResiduals(NCDataMatrix<float>* data) const;

  /// How far a vector of one element per observation is from Y: 90 if it is orthogonal to Y's principal scores, falling
  /// to 45 for one inside their span. The angle to the span in degrees counts half, which is deliberate. Throws, on the
  /// first call before any component, as NextComponent does for Y.
  double GetYAngle(const NCDataVector<float>* v) const;
  /// The weights related to X as it was given, T = X Wstar: components x variables.
  NCDataMatrix<float> GetWStarPrim();

  int GetComponents() const { return components_; }
  // All matrices are owned by the model and change with it.
  /// Loadings, components x variables.
  const NCDataMatrix<float>* GetPprim() const { return &Pprim_; }
  /// Scores, components x observations.
  const NCDataMatrix<float>* GetTprim() const { return &Tprim_; }
  /// Weights of unit length, components x variables.
  const NCDataMatrix<float>* GetWprim() const { return &Wprim_; }
  /// What the components so far leave of X.
  const NCDataMatrix<float>* GetXResiduals() const { return &XResiduals_; }
  /// Null once there are principal scores of Y, which are all that is needed of it.
  const NCDataMatrix<float>* GetY() const { return Y_ ? &*Y_ : nullptr; }

  // Persistence. The walk is explained at VStreamBase, the bytes in docs/file_formats.md. A model that was read has no
  // Y, and no limit of its own to the components of the inner model; one that was written before there were principal
  // scores cannot go on. After a failure the model is as it was; matrices that do not fit together are one.

  /// The identity "YOPLS", version 2; readers accept no other version.
  static DerivedStreamableData MyStreamableData;

 protected:
  friend class StreamWalk<NCYOrthogonalPLS>;
  /// What follows the header.
  bool VStreamableWrite(std::ostream& stream);
  bool VStreamableRead(std::istream& stream);

 private:
  bool ReadStreamDirectory(std::istream& stream);
  bool FitsTogether() const;
  void SetupYPCA() const;
  NCDataVector<float> OrthogonalToY(const NCDataVector<float>& v) const;
  NCDataVector<float> FindWeight(NCDataVector<float> w, NCProgress& progress) const;
  NCDataVector<float> NextWeight(const NCDataVector<float>& w, NCProgress& progress) const;

  NCDataMatrix<float> Pprim_;
  NCDataMatrix<float> Wprim_;
  NCDataMatrix<float> Tprim_;
  NCDataMatrix<float> XResiduals_;
  // The principal scores of Y take its place when they are needed first, which may be in GetYAngle().
  mutable std::optional<NCDataMatrix<float>> Y_;
  mutable std::optional<NCDataMatrix<float>> YScores_;         ///< observations x principal components
  mutable std::optional<NCDataMatrix<float>> YScoresInverse_;  ///< of YScores' YScores
  std::int32_t components_ = 0;
  std::int32_t iterations_ = 0;
  std::int32_t maxInnerComponents_ = 0;
};

}  // namespace voran
