#pragma once

#include <cstdint>
#include <memory>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/export.h"

inline namespace voran {

/// Takes the components of a fitted PLS model out of other observations, one component per call. The object is itself
/// the vector of the current component's scores, one per observation.
///
/// Data are in the units in which the model was fitted. A score is the regression of the deflated row on the weights,
/// over the pairs present and with the same floor as in the fit. A row that has too many gaps gets a missing score, and
/// with it becomes missing altogether.
///
/// X is the caller's and is deflated in place. Copies point to the same X.
class VORAN_EXPORT NCPLSResiduals : public NCDataVector<float> {
 public:
  /// X: observations x variables; Wprim and Pprim: components x variables. A row is given a score while its share of
  /// missing elements is at most `maxMissingFraction` and more elements are present than components were taken before.
  NCPLSResiduals(NCDataMatrix<float>* X, const NCDataMatrix<float>& Wprim, const NCDataMatrix<float>& Pprim,
                 float maxMissingFraction);

  /// Computes the scores of the next component and deflates X. To be called GetMaxComp() times at most, which nothing
  /// checks.
  void CalcNextComponent();

  int GetCompComputed() const { return computed_; }
  /// How many components the model has.
  int GetMaxComp() const { return Pprim_.SizeRows(); }

 protected:
  NCDataMatrix<float>* X() const { return X_; }

 private:
  NCDataMatrix<float> Wprim_;
  NCDataMatrix<float> Pprim_;
  NCDataMatrix<float>* X_;
  std::int32_t computed_ = 0;
  float maxMissingFraction_;
};

/// The same with the prediction of Y: the sum of t c' over the components taken so far. A row without a score gets no
/// prediction.
///
/// An object that was made from const matrices owns its copies. Copying an object copies pointers, ownership included:
/// only one of the two may be destroyed. This is deliberate.
class VORAN_EXPORT NCPLSPred : public NCPLSResiduals {
 public:
  /// Works on copies. Cprim: components x responses.
  NCPLSPred(const NCDataMatrix<float>* X, const NCDataMatrix<float>* Wprim, const NCDataMatrix<float>* Pprim,
            const NCDataMatrix<float>* Cprim, float maxMissingFraction);
  NCPLSPred(const NCDataMatrix<float>& X, const NCDataMatrix<float>& Wprim, const NCDataMatrix<float>& Pprim,
            const NCDataMatrix<float>& Cprim, float maxMissingFraction);
  /// Works on the caller's matrices: X is deflated, YPred (observations x responses) zeroed and added to. The first
  /// argument only tells this constructor from the others.
  NCPLSPred(bool, NCDataMatrix<float>* X, NCDataMatrix<float>* YPred, const NCDataMatrix<float>& Wprim,
            const NCDataMatrix<float>& Pprim, const NCDataMatrix<float>& Cprim, float maxMissingFraction);
  NCPLSPred(const NCPLSPred& other) = default;
  NCPLSPred& operator=(const NCPLSPred& other) = default;
  ~NCPLSPred() override;

  void CalcNextComponent();

  /// The scores of the newest component.
  const NCDataVector<float>* GetTPred() const { return this; }
  const NCDataMatrix<float>* GetXResiduals() const { return X(); }
  const NCDataMatrix<float>* GetYPred() const { return YPred_; }
  int SizeObservations() const { return X()->SizeRows(); }

 private:
  NCPLSPred(std::unique_ptr<NCDataMatrix<float>> X, std::unique_ptr<NCDataMatrix<float>> YPred,
            const NCDataMatrix<float>& Wprim, const NCDataMatrix<float>& Pprim, const NCDataMatrix<float>& Cprim,
            float maxMissingFraction);

  NCDataMatrix<float>* YPred_;
  NCDataMatrix<float> Cprim_;
  bool owns_;
};

}  // namespace voran
