#pragma once

#include "voran/export.h"

inline namespace voran {

class NCPCA;

/// Decides whether another component may be computed.
class VORAN_EXPORT NCComponentValidator {
 public:
  virtual ~NCComponentValidator();
  /// Whether it is asked before a component is computed, rather than after.
  virtual bool IsPreComponentValidator() = 0;
  virtual bool IsValid() = 0;
  virtual void Done();
};

/// Decides by a PCA model, which stays the caller's.
class VORAN_EXPORT PCAComponentValidator : public NCComponentValidator {
 public:
  explicit PCAComponentValidator(NCPCA* model) : model_(model) {}
  virtual void SetPCAModel(NCPCA* model) { model_ = model; }

 protected:
  NCPCA* Model() const { return model_; }

 private:
  NCPCA* model_;
};

/// Allows components while more than a share `limit` of the sum of squares that the model had at first is left:
///
///     while (validator.IsValid()) { model.NextComponent(...); model.CalculateResiduals(); }
class VORAN_EXPORT PCA_SS_ComponentValidator : public PCAComponentValidator {
 public:
  /// A null model must be set before IsValid(). Throws as SetPCAModel().
  PCA_SS_ComponentValidator(NCPCA* model, float limit);

  bool IsPreComponentValidator() override { return true; }
  /// False also for a matrix that was all zero or missing at first.
  bool IsValid() override;
  /// Takes the model's present residuals for what there was at first. Throws NCError of level 2 if their sum of squares
  /// is infinite.
  void SetPCAModel(NCPCA* model) override;

 private:
  float limit_;
  float initialSS_;
};

}  // namespace voran
