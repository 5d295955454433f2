// Short lives of PCA and PLS models of made matrices: components one after the other, cross-validated or not, cancelled
// at some poll, stored and read on the way, and prediction at the end.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "fuzz/cancel.h"
#include "fuzz/expect.h"
#include "fuzz/made_matrix.h"
#include "fuzz/round_trip.h"
#include "voran/models/component_validator.h"
#include "voran/models/pca.h"
#include "voran/models/pca_cross_validation.h"
#include "voran/models/pca_prediction.h"
#include "voran/models/pls.h"
#include "voran/models/pls_cross_validation.h"
#include "voran/models/pls_prediction.h"
#include "voran/models/row_prediction.h"
#include "voran/models/significance.h"
#include "voran/platform/nc_error.h"

namespace {

using fuzz::Cells;
using fuzz::Expect;
using fuzz::Groups;
using fuzz::HasShape;
using fuzz::IsSame;
using fuzz::Matrix;
using fuzz::Vector;

constexpr int kMostComponents = 4;

NCProgress MakeProgress() {
  return {"", 0.0f, 1.0f, false, false, true, ""};
}

// The sums of squares that cross-validation refers to.
Vector ColumnSquares(const Matrix& m) {
  Vector squares(m.SizeColumns());
  for (int j = 1; j <= m.SizeColumns(); ++j) squares(j, static_cast<float>(m.GetColumnSS(j, 0.0)));
  return squares;
}

std::vector<Matrix> MatricesOf(const NCPCA& m) {
  return {*m.GetResiduals(), *m.GetPprim(), *m.GetTprim()};
}

std::vector<Matrix> MatricesOf(const NCPLS& m) {
  return {*m.GetXResiduals(), *m.GetYResiduals(), *m.GetCprim(), *m.GetPprim(),
          *m.GetWprim(),      *m.GetUprim(),      *m.GetTprim()};
}

std::unique_ptr<NCPCA> GoOn(const NCPCA& m, int limit) {
  return std::make_unique<NCPCA>(m.GetResiduals(), m.GetPprim(), m.GetTprim(), limit);
}

std::unique_ptr<NCPLS> GoOn(const NCPLS& m, int limit) {
  return std::make_unique<NCPLS>(m.GetXResiduals(), m.GetYResiduals(), m.GetCprim(), m.GetPprim(), m.GetWprim(),
                                 m.GetUprim(), m.GetTprim(), limit);
}

template <class Model>
void ExpectSame(const Model& a, const Model& b, const char* promise) {
  const std::vector<Matrix> first = MatricesOf(a);
  const std::vector<Matrix> second = MatricesOf(b);
  for (std::size_t k = 0; k < first.size(); ++k) Expect(IsSame(first[k], second[k]), promise);
}

// The same model, made from one that was stored and read.
template <class Model>
std::unique_ptr<Model> StoredAndRead(const Model& model, int limit) {
  Model read;
  Expect(fuzz::IsRead(fuzz::Written(model), read), "a model that was written is read");
  ExpectSame(read, model, "a model that was read is the one that was written");
  return GoOn(read, limit);
}

void ExpectSound(const Matrix& m, Cells kind, const char* promise) {
  if (!fuzz::IsTame(kind)) return;
  Expect(fuzz::AreCountsRight(m), "missing values are counted right");
  Expect(fuzz::IsFinite(m), promise);
}

class PcaLife {
 public:
  explicit PcaLife(FuzzedDataProvider& bytes)
      : bytes_(bytes),
        surroundings_(bytes),
        kind_(fuzz::MakeCellKind(bytes)),
        limit_(bytes.ConsumeIntegralInRange<int>(0, 60)),
        x_(fuzz::MakeMatrix(bytes, fuzz::MakeRows(bytes), fuzz::MakeColumns(bytes), kind_)),
        model_(std::make_unique<NCPCA>(&x_, limit_)) {}

  void Live() {
    const fuzz::Untouched input(x_);
    try {
      AskValidator();
      for (int left = bytes_.ConsumeIntegralInRange<int>(1, kMostComponents); left > 0; --left) AddComponent();
      Predict();
    } catch (const NCError&) {
    }
    input.Check();
  }

 private:
  void AskValidator() {
    PCA_SS_ComponentValidator validator(model_.get(), 0.01f);
    validator.IsValid();
  }

  void AddComponent() {
    const bool isPlain = bytes_.ConsumeBool();
    const Groups groups = fuzz::MakeGroups(bytes_, isPlain ? 0 : x_.SizeColumns(), 3);
    const Vector start = fuzz::MakeVector(bytes_, isPlain ? 0 : x_.SizeRows(), kind_);
    const auto addTo = [&](NCPCA& model, NCProgress* progress) {
      model.NextComponent(progress, isPlain ? nullptr : &groups, 0, isPlain ? nullptr : &start);
    };
    const std::unique_ptr<NCPCA> twin = GoOn(*model_, limit_);
    NCProgress progress = MakeProgress();
    addTo(*model_, bytes_.ConsumeBool() ? &progress : nullptr);
    ExpectSound();
    if (bytes_.ConsumeBool()) CrossValidate();
    model_->CalculateResiduals();
    if (!surroundings_.WantsCancel()) {
      addTo(*twin, nullptr);
      twin->CalculateResiduals();
      ExpectSame(*model_, *twin, "a model made from the same matrices goes on the same way");
    }
    if (bytes_.ConsumeBool()) model_ = StoredAndRead(*model_, limit_);
  }

  void ExpectSound() const {
    const int components = model_->GetComponents();
    Expect(HasShape(*model_->GetPprim(), components, x_.SizeColumns()), "a PCA has a loading for each component");
    Expect(HasShape(*model_->GetTprim(), components, x_.SizeRows()), "a PCA has a score for each component");
    ::ExpectSound(*model_->GetPprim(), kind_, "the loadings of tame data are numbers");
    ::ExpectSound(*model_->GetTprim(), kind_, "the scores of tame data are numbers");
    ::ExpectSound(*model_->GetResiduals(), kind_, "the residuals of tame data are numbers");
  }

  void CrossValidate() {
    if (x_.SizeRows() == 0 || x_.SizeColumns() == 0) return;
    const int wanted = bytes_.ConsumeIntegralInRange<int>(1, 8);
    const int groups = std::min({wanted, x_.SizeRows(), x_.SizeColumns()});
    const Groups ofRows = fuzz::MakeGroups(bytes_, x_.SizeRows(), groups);
    const Groups ofColumns = fuzz::MakeGroups(bytes_, x_.SizeColumns(), groups);
    const bool isDefault = bytes_.ConsumeBool();
    PCACrossValidation cv(model_.get(), wanted, isDefault ? nullptr : &ofRows, isDefault ? nullptr : &ofColumns);
    const std::unique_ptr<NCPCA> before = GoOn(*model_, limit_);
    try {
      cv.NextComponent(ColumnSquares(x_), nullptr);
      Expect(cv.GetPSet()->SizeRows() == groups && cv.GetTSet()->SizeRows() == groups, "a sub-model for each group");
      Expect(cv.GetQ2XVar()->Size() == x_.SizeColumns(), "a Q2 for each variable");
      cv.GetQ2Lim(model_->GetComponents(), bytes_.ConsumeBool());
    } catch (const NCError&) {
      Expect(cv.GetQ2TotCum() == 0.0f, "a failed cross-validation leaves the cumulative Q2 alone");
    }
    ExpectSame(*before, *model_, "cross-validation leaves the model alone");
  }

  void Predict() {
    const Matrix rows = fuzz::MakeMatrix(bytes_, fuzz::MakeRows(bytes_), x_.SizeColumns(), kind_);
    const fuzz::Untouched input(rows);
    NCPCAPred prediction(&rows, model_->GetPprim(), limit_, bytes_.ConsumeProbability<float>());
    while (prediction.GetResidualsCompComputed() < prediction.GetMaxComp()) prediction.CalcNextResidual();
    Expect(HasShape(*prediction.GetTPredPrim(), model_->GetComponents(), rows.SizeRows()), "scores of all new rows");
    Expect(HasShape(*prediction.GetXResiduals(), rows.SizeRows(), rows.SizeColumns()), "residuals of all new rows");
    if (rows.SizeRows() > 0) {
      prediction.RemoveObservations(Groups(1, bytes_.ConsumeIntegralInRange<int>(1, rows.SizeRows())));
      Expect(prediction.SizeObservations() == rows.SizeRows() - 1, "an observation less");
    }
    input.Check();
  }

  FuzzedDataProvider& bytes_;
  fuzz::Surroundings surroundings_;
  Cells kind_;
  int limit_;
  Matrix x_;
  std::unique_ptr<NCPCA> model_;
};

class PlsLife {
 public:
  explicit PlsLife(FuzzedDataProvider& bytes)
      : bytes_(bytes),
        surroundings_(bytes),
        kind_(fuzz::MakeCellKind(bytes)),
        limit_(bytes.ConsumeIntegralInRange<int>(0, 60)),
        x_(fuzz::MakeMatrix(bytes, fuzz::MakeRows(bytes), fuzz::MakeColumns(bytes), kind_)),
        y_(fuzz::MakeMatrix(bytes, x_.SizeRows(), bytes.ConsumeIntegralInRange<int>(0, 4), kind_)),
        model_(std::make_unique<NCPLS>(&x_, &y_, limit_)) {}

  void Live() {
    const fuzz::Untouched x(x_);
    const fuzz::Untouched y(y_);
    if (bytes_.ConsumeBool()) Shuffle();
    try {
      for (int left = bytes_.ConsumeIntegralInRange<int>(1, kMostComponents); left > 0; --left) AddComponent();
    } catch (const NCError&) {
    }
    ExpectSound();
    Predict();
    x.Check();
    y.Check();
  }

 private:
  void Shuffle() {
    std::vector<int> order(static_cast<std::size_t>(y_.SizeRows()) + 1);
    for (int& row : order) row = bytes_.ConsumeIntegralInRange<int>(1, std::max(y_.SizeRows(), 1));
    try {
      model_->ShuffleYResiduals(order.data());
    } catch (const NCError&) {
      Expect(y_.SizeRows() == 0, "the rows of a Y can be shuffled");
    }
  }

  void AddComponent() {
    const bool hasStart = bytes_.ConsumeBool();
    const Vector start = fuzz::MakeVector(bytes_, hasStart ? x_.SizeColumns() : 0, kind_);
    const bool isSilent = bytes_.ConsumeBool();
    const bool isInteractive = bytes_.ConsumeBool();
    areInteractive_ = areInteractive_ && isInteractive;
    const std::unique_ptr<NCPLS> before = GoOn(*model_, limit_);
    const std::unique_ptr<NCPLS> twin = GoOn(*model_, limit_);
    NCProgress progress = MakeProgress();
    try {
      model_->NextComponent(bytes_.ConsumeBool() ? &progress : nullptr, hasStart ? &start : nullptr, isSilent,
                            isInteractive);
    } catch (const NCError&) {
      ExpectSame(*before, *model_, "a component that fails leaves the model as it was");
      throw;
    }
    if (bytes_.ConsumeBool()) CrossValidate();
    model_->CalculateResiduals();
    if (!surroundings_.WantsCancel()) {
      twin->NextComponent(nullptr, hasStart ? &start : nullptr, true, isInteractive);
      twin->CalculateResiduals();
      ExpectSame(*model_, *twin, "a model made from the same matrices goes on the same way");
    }
    if (bytes_.ConsumeBool()) model_->FlipComponent(bytes_.ConsumeIntegralInRange<int>(1, model_->GetComponents()));
    if (bytes_.ConsumeBool()) model_ = StoredAndRead(*model_, limit_);
  }

  void ExpectSound() const {
    const int components = model_->GetComponents();
    for (const Matrix* const m : {model_->GetPprim(), model_->GetWprim()}) {
      Expect(HasShape(*m, components, x_.SizeColumns()), "a PLS has weights and loadings for each component");
      ::ExpectSound(*m, areInteractive_ ? kind_ : Cells::kWild, "the weights and loadings of tame data are numbers");
    }
    Matrix scores = *model_->GetTprim();
    for (int a = 1; a <= components; ++a) {
      // Without a row in common, t is no help for any response, and Y scores are 0 / 0.
      if ((*model_->GetCprim())[a].GetSS() != 0.0) scores.push_back((*model_->GetUprim())[a]);
    }
    Expect(HasShape(*model_->GetTprim(), components, x_.SizeRows()), "a PLS has scores for each component");
    Expect(HasShape(*model_->GetUprim(), components, x_.SizeRows()), "a PLS has Y scores for each component");
    ::ExpectSound(scores, areInteractive_ ? kind_ : Cells::kWild, "the scores of tame data are numbers");
    Expect(HasShape(*model_->GetCprim(), components, y_.SizeColumns()), "a PLS has Y weights for each component");
    Expect(HasShape(model_->GetWStarPrim(), components, x_.SizeColumns()), "W* has the shape of W");
    const Matrix all = model_->GetRegressionCoefficients(-1);
    Expect(IsSame(all, model_->GetRegressionCoefficients(components)), "coefficients of all components");
  }

  void CrossValidate() {
    const int wanted = bytes_.ConsumeIntegralInRange<int>(1, 8);
    const int groups = std::min(wanted, std::max(x_.SizeRows(), 1));
    const Groups ofRows = fuzz::MakeGroups(bytes_, x_.SizeRows(), groups);
    PLSCrossValidation cv(model_.get(), wanted, bytes_.ConsumeBool() ? nullptr : &ofRows);
    const std::unique_ptr<NCPLS> before = GoOn(*model_, limit_);
    NCProgress progress = MakeProgress();
    const Vector squares = ColumnSquares(y_);
    cv.NextComponent(&model_->GetWprim()->back(), limit_, squares, bytes_.ConsumeBool() ? &progress : nullptr,
                     bytes_.ConsumeBool());
    Expect(HasShape(*cv.GetYPredResiduals(), y_.SizeRows(), y_.SizeColumns()), "a prediction error for each response");
    Expect(cv.GetQ2YVarCum()->Size() == y_.SizeColumns(), "a Q2 for each response");
    ExpectSame(*before, *model_, "cross-validation leaves the model alone");
    const auto verdict =
        PLSCrossValidation::GetSignificance(x_.SizeRows(), x_.SizeColumns(), y_.SizeColumns(), model_->GetComponents(),
                                            0.5f, squares, cv.GetQ2Tot(), *cv.GetQ2YVar(), cv.GetQ2Lim());
    Expect(SignificanceE::GetSignificance(verdict) != nullptr, "a verdict has a name");
    SignificanceE::IsSignificant(verdict);
  }

  // Component by component on the whole, and row by row.
  void Predict() {
    const Matrix rows = fuzz::MakeMatrix(bytes_, fuzz::MakeRows(bytes_), x_.SizeColumns(), kind_);
    const float maxMissing = bytes_.ConsumeProbability<float>();
    const fuzz::Untouched input(rows);
    NCPLSPred prediction(rows, *model_->GetWprim(), *model_->GetPprim(), *model_->GetCprim(), maxMissing);
    Matrix scores(0, rows.SizeRows(), fuzz::kGap);
    while (prediction.GetCompComputed() < prediction.GetMaxComp()) {
      prediction.CalcNextComponent();
      scores.push_back(*prediction.GetTPred());
    }
    Expect(HasShape(*prediction.GetYPred(), rows.SizeRows(), y_.SizeColumns()), "a prediction for each row");
    const detail::RowPredictions byRow =
        detail::PredictRows(rows, {*model_->GetWprim(), *model_->GetPprim(), *model_->GetCprim()}, maxMissing, nullptr);
    if (fuzz::IsTame(kind_)) Expect(IsSame(byRow.TPrim, scores), "rows get the same scores one way and the other");
    input.Check();
  }

  FuzzedDataProvider& bytes_;
  fuzz::Surroundings surroundings_;
  Cells kind_;
  int limit_;
  Matrix x_;
  Matrix y_;
  std::unique_ptr<NCPLS> model_;
  bool areInteractive_ = true;  ///< components; otherwise one of nothing is not refused, and is no number
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider bytes(data, size);
  if (bytes.ConsumeBool()) {
    PcaLife(bytes).Live();
  } else {
    PlsLife(bytes).Live();
  }
  return 0;
}
