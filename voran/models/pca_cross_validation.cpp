#include "voran/models/pca_cross_validation.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "voran/containers/missing_value.h"
#include "voran/models/convergence.h"
#include "voran/models/cv_groups.h"
#include "voran/models/pca.h"
#include "voran/models/q2.h"
#include "voran/platform/exception_message.h"
#include "voran/platform/progress.h"

inline namespace voran {

using detail::kMissing;
using detail::Q2;
using Groups = NCIntegralVector<int, -99>;
using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

namespace {

void ShowRound(NCProgress& progress, const char* text, int group, int groups) {
  progress.SetText(detail::FillText(detail::TranslateText(text, "CV = Cross validation"), {group + 1, groups}).c_str());
}

Groups Resolved(const Groups* given, int size, int groups) {
  return given != nullptr ? *given : GetDeafultCVGroupsVector(size, groups);
}

int GroupsInUse(const NCPCA& model, int wanted) {
  const Matrix& x = *model.GetResiduals();
  return std::min({wanted, x.SizeRows(), x.SizeColumns()});
}

}  // namespace

/// Sums of squares before and after prediction, by column, over the elements that are present and were predicted.
struct PCACrossValidation::Sums {
  explicit Sums(int columns) : ss(static_cast<std::size_t>(columns)), press(static_cast<std::size_t>(columns)) {}

  std::vector<double> ss;
  std::vector<double> press;
};

PCACrossValidation::PCACrossValidation(NCPCA* model, int groups, const Groups* rowGroups, const Groups* columnGroups)
    : PCACrossValidation(model, 0.0f, Vector(model->GetResiduals()->SizeColumns(), 0.0f), groups, rowGroups,
                         columnGroups) {}

PCACrossValidation::PCACrossValidation(NCPCA* model, float q2TotCum, const Vector& q2XVarCum, int groups,
                                       const Groups* rowGroups, const Groups* columnGroups)
    : PSet_(0, model->GetResiduals()->SizeColumns(), kMissing<float>),
      TSet_(0, model->GetResiduals()->SizeRows(), kMissing<float>),
      Q2XVar_(model->GetResiduals()->SizeColumns()),
      Q2XVarCum_(q2XVarCum),
      XPredResiduals_(model->GetResiduals()->SizeRows(), model->GetResiduals()->SizeColumns(), kMissing<float>),
      model_(model),
      groups_(GroupsInUse(*model, groups)),
      Q2TotCum_(q2TotCum),
      rowGroups_(Resolved(rowGroups, model->GetResiduals()->SizeRows(), groups_)),
      columnGroups_(Resolved(columnGroups, model->GetResiduals()->SizeColumns(), groups_)) {
  PSet_.ReserveRows(groups_);
  TSet_.ReserveRows(groups_);
}

void PCACrossValidation::NextComponent(const Vector& columnReference, NCProgress* progress) {
  std::optional<NCProgress> own;
  if (progress == nullptr) progress = &own.emplace("", 0.0f, 1.0f, false, false, true, "");
  FitGroups(*progress);
  UpdateQ2(PredictElements(), columnReference);
}

void PCACrossValidation::FitGroups(NCProgress& progress) {
  const int component = model_->GetComponents();
  const int iterationLimit = static_cast<int>(std::sqrt(component - 1) + 5.0 + 1e-5);
  const Vector p = model_->GetPprim()->back();
  const Vector t = model_->GetTprim()->back();
  const Matrix& x = *model_->GetResiduals();
  progress.SetRange(0.0f, static_cast<float>(groups_));
  PSet_.RemoveRows(1, PSet_.SizeRows());
  TSet_.RemoveRows(1, TSet_.SizeRows());
  Matrix kept(0, x.SizeColumns(), kMissing<float>);
  kept.ReserveRows(x.SizeRows());
  for (int group = 0; group < groups_; ++group) {
    ShowRound(progress, "CV round %1% of %2% (rows)", group, groups_);
    LeaveRowsOut(group, iterationLimit, p, kept, progress);
    ShowRound(progress, "CV round %1% of %2% (columns)", group, groups_);
    LeaveColumnsOut(group, iterationLimit, t, progress);
  }
}

void PCACrossValidation::LeaveRowsOut(int group, int iterationLimit, const Vector& reference, Matrix& kept,
                                      NCProgress& progress) {
  const Matrix& x = *model_->GetResiduals();
  kept.RemoveRows(1, kept.SizeRows());
  for (int i = 1; i <= x.SizeRows(); ++i) {
    if (rowGroups_[i] != group) kept.push_back(x[i]);
  }
  NCPCA sub(&kept, iterationLimit);
  const Vector start = kept.SpecialNipalsRegressRowsFix(reference);
  progress.PushSubRange(static_cast<float>(group), static_cast<float>(group + 0.5));
  sub.NextComponent(&progress, nullptr, 0, &start);
  progress.PopSubRange();
  Vector p = (*sub.GetPprim())[1];
  if (p * reference < 0.0) p *= -1.0;
  PSet_.InsertRow(group + 1, p);
}

void PCACrossValidation::LeaveColumnsOut(int group, int iterationLimit, const Vector& reference, NCProgress& progress) {
  NCPCA sub(model_->GetResiduals(), iterationLimit);
  progress.PushSubRange(static_cast<float>(group + 0.5), static_cast<float>(group + 1));
  sub.NextComponent(&progress, &columnGroups_, group, &reference);
  progress.PopSubRange();
  Vector t = (*sub.GetTprim())[1];
  // The score was formed from fewer columns; this is its length from all of them.
  const int columns = model_->GetResiduals()->SizeColumns();
  const auto leftOut = static_cast<int>(std::count(columnGroups_.begin(), columnGroups_.end(), group));
  float factor = std::sqrt(static_cast<float>(columns) / static_cast<float>(columns - leftOut));
  if (t * reference < 0.0) factor = -factor;
  t *= static_cast<double>(factor);
  TSet_.InsertRow(group + 1, t);
}

PCACrossValidation::Sums PCACrossValidation::PredictElements() {
  const Matrix& x = *model_->GetResiduals();
  Sums sums(x.SizeColumns());
  Matrix residuals(0, x.SizeColumns(), kMissing<float>);
  residuals.ReserveRows(x.SizeRows());
  for (int i = 1; i <= x.SizeRows(); ++i) {
    const Vector& loading = PSet_[rowGroups_[i] + 1];
    Vector row(x.SizeColumns());
    float* const residual = row.GetWritableVector();
    int missing = 0;
    for (int j = 1; j <= x.SizeColumns(); ++j) {
      const float value = x[i][j];
      const float t = TSet_[columnGroups_[j] + 1][i];
      const float p = loading[j];
      const bool predicted = t != kMissing<float> && p != kMissing<float>;
      const float product = p * t;
      residual[j] = predicted && value != kMissing<float> ? value - product : value;
      if (residual[j] == kMissing<float>) ++missing;
      if (!predicted || value == kMissing<float>) continue;
      const auto column = static_cast<std::size_t>(j - 1);
      const auto before = static_cast<double>(value);
      const auto after = static_cast<double>(residual[j]);
      sums.ss[column] += before * before;
      sums.press[column] += after * after;
    }
    row.SetNumMisVal(missing);
    residuals.push_back(row);
  }
  XPredResiduals_ = residuals;
  return sums;
}

void PCACrossValidation::UpdateQ2(const Sums& sums, const Vector& columnReference) {
  double totalSS = 0.0;
  double totalPress = 0.0;
  const int columns = Q2XVar_.Size();
  for (int j = 1; j <= columns; ++j) {
    const double ss = sums.ss[static_cast<std::size_t>(j - 1)];
    const double press = sums.press[static_cast<std::size_t>(j - 1)];
    totalSS += ss;
    totalPress += press;
    if (ss < detail::kNoSumOfSquares) {
      Q2XVar_(j, 0.0f);
      Q2XVarCum_(j, Q2::CumulativeOfNothing(columnReference[j]));
    } else {
      Q2XVar_(j, Q2::OfComponent(ss, press));
      Q2XVarCum_(j, Q2::Cumulative(Q2XVarCum_[j], ss, press));
    }
  }
  if (columns < 1 || totalSS < detail::kNoSumOfSquares) {
    Q2Tot_ = 0.0f;
    Q2TotCum_ = 1.0f;
  } else {
    Q2Tot_ = Q2::OfComponent(totalSS, totalPress);
    Q2TotCum_ = Q2::Cumulative(Q2TotCum_, totalSS, totalPress);
  }
}

float PCACrossValidation::GetQ2Lim(int components, bool reduceObservations) {
  if (components < 1) return kMissing<float>;
  const Matrix& x = *model_->GetResiduals();
  const int rows = x.SizeRows() - components + 1;
  const int columns = x.SizeColumns() - components + 1;
  const float numerator = static_cast<float>(rows - (reduceObservations ? 1 : 0)) * static_cast<float>(columns);
  if (!(numerator > 0.0f)) return 1.0f;
  const float denominator = static_cast<float>(rows) * static_cast<float>(columns + 1);
  return static_cast<float>(1.0 - static_cast<double>(numerator / denominator));
}

}  // namespace voran
