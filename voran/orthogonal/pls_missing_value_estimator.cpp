#include "voran/orthogonal/pls_missing_value_estimator.h"

#include "voran/containers/mat_utilities.h"
#include "voran/containers/missing_value.h"
#include "voran/models/convergence.h"
#include "voran/models/pls.h"
#include "voran/models/pls_cross_validation.h"
#include "voran/orthogonal/o2pls.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/progress.h"

inline namespace voran {

using detail::kMissing;
using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

namespace {

constexpr int kIterationLimit = 200;

void ThrowIfBreakPressed(NCProgress* progress) {
  if (progress == nullptr || !progress->IsBreakPressed()) return;
  throw NCError(ExceptionMessage::translate("Computations aborted."), NCError::Level::kGeneral);
}

/// Sums of squares of the columns, and their sum.
struct ColumnSS {
  explicit ColumnSS(const Matrix& m) : byColumn(m.SizeColumns()) {
    for (int j = 1; j <= m.SizeColumns(); ++j) total += byColumn(j, static_cast<float>(m.GetColumnSS(j, 0.0)));
  }

  Vector byColumn;
  double total = 0.0;
};

/// A PLS model with as many components as are significant.
class SignificantFit {
 public:
  SignificantFit(const Matrix& X, const Matrix& Y)
      : model_(&X, &Y, kIterationLimit), cv_(&model_, kGroups, nullptr), ss_(Y), left_(ss_) {}

  /// Returns the number of components to be used; the model may have one more.
  int Run(NCProgress* progress) {
    while (HasAnother()) {
      ThrowIfBreakPressed(progress);
      cv_.NextComponent(&model_.GetWprim()->back(), kIterationLimit, ss_.byColumn, nullptr, false);
      ThrowIfBreakPressed(progress);
      model_.CalculateResiduals();
      ThrowIfBreakPressed(progress);
      const bool isSignificant = SignificanceE::IsSignificant(Judge());
      if (progress != nullptr) progress->SetValue(static_cast<float>((ss_.total - left_.total) / ss_.total));
      if (!isSignificant) return model_.GetComponents() - 1;
    }
    return model_.GetComponents();
  }

  /// Row i, column j, rebuilt from so many components.
  float Reconstruct(int i, int j, int components) const {
    float value = 0.0f;
    for (int a = 1; a <= components; ++a) {
      const float t = (*model_.GetTprim())[a][i];
      const float p = (*model_.GetPprim())[a][j];
      if (t == kMissing<float> || p == kMissing<float>) continue;
      const float product = t * p;
      value += product;
    }
    return value;
  }

 private:
  static constexpr int kGroups = 7;

  /// False if the components so far leave nothing to fit.
  bool HasAnother() {
    try {
      model_.NextComponent(nullptr, nullptr, false, true);
    } catch (const NCError& error) {
      if (error.GetLevel() != NCError::Level::kZeroCorrelation || model_.GetComponents() == 0) throw;
      return false;
    }
    return true;
  }

  /// The verdict on the newest component. For the share of X that it explains the rule is deliberately given that of Y.
  SignificanceE::Significance Judge() {
    const Matrix& X = *model_.GetXResiduals();
    const int responses = ss_.byColumn.Size();
    const ColumnSS before = left_;
    left_ = ColumnSS(*model_.GetYResiduals());
    Vector r2y(responses);
    for (int m = 1; m <= responses; ++m) {
      r2y(m, (before.byColumn[m] - left_.byColumn[m]) / ss_.byColumn[m]);
    }
    const auto r2 = static_cast<float>((before.total - left_.total) / ss_.total);
    return PLSCrossValidation::GetSignificance(X.SizeRows(), X.SizeColumns(), responses, model_.GetComponents(), r2,
                                               r2y, cv_.GetQ2Tot(), *cv_.GetQ2YVar(), cv_.GetQ2Lim());
  }

  NCPLS model_;
  PLSCrossValidation cv_;
  const ColumnSS ss_;
  ColumnSS left_;
};

/// By itself a block is filled as the second of two, and shown so.
void ShowFilled(const Matrix& X, bool isFirstBlock, int components) {
  const char* const title = isFirstBlock ? "X after missing value substitution %1% components"
                                         : "Y after missing value substitution %1% components";
  NCMatUtilities::ShowMatrix(X, detail::FillText(detail::TranslateText(title), {components}).c_str());
}

}  // namespace

int detail::FillGaps(Matrix& X, const Matrix& Y, NCProgress* progress) {
  if (X.GetNumMisVal() == 0) return 0;
  SignificantFit fit(X, Y);
  const int components = fit.Run(progress);
  Matrix filled = X;
  for (int i = 1; i <= X.SizeRows(); ++i) {
    if (X[i].GetNumMisVal() == 0) continue;
    for (int j = 1; j <= X.SizeColumns(); ++j) {
      if (X[i][j] == kMissing<float>) filled(i, j, fit.Reconstruct(i, j, components));
    }
  }
  X.swap(filled);
  return components;
}

void PLSMissingValueEstimator(Matrix& X, Matrix& Y, bool bothBlocks, NCProgress* progress) {
  if (progress != nullptr) {
    progress->SetText(detail::TranslateText("Estimating missing values.").c_str());
    progress->SetRange(0.0f, bothBlocks ? 2.0f : 1.0f);
  }
  if (X.GetNumMisVal() > 0) {
    const int components = detail::FillGaps(X, Y, progress);
    if (NCO2PLS::GetShowMissingValueSupstitution()) ShowFilled(X, bothBlocks, components);
  }
  if (!bothBlocks) return;
  if (progress != nullptr) progress->PushSubRange(1.0f, 2.0f);
  PLSMissingValueEstimator(Y, X, false, progress);
  if (progress != nullptr) progress->PopSubRange();
}

}  // namespace voran
