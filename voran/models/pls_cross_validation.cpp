#include "voran/models/pls_cross_validation.h"

#include <algorithm>
#include <optional>

#include "voran/containers/missing_value.h"
#include "voran/containers/parallel.h"
#include "voran/models/convergence.h"
#include "voran/models/cv_groups.h"
#include "voran/models/cv_split.h"
#include "voran/models/left_out_fits.h"
#include "voran/models/pls.h"
#include "voran/models/pls_prediction.h"
#include "voran/models/q2.h"
#include "voran/platform/exception_message.h"
#include "voran/platform/progress.h"

inline namespace voran {

using detail::kMissing;
using detail::Q2;
using Groups = NCIntegralVector<int, -99>;
using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

PLSCrossValidation::PLSCrossValidation(NCPLS* model, int groups, const Groups* rowGroups)
    : PLSCrossValidation(model, 0.0f, Vector(model->GetYResiduals()->SizeColumns(), 0.0f), groups, rowGroups) {}

PLSCrossValidation::PLSCrossValidation(NCPLS* model, float q2TotCum, const Vector& q2YVarCum, int groups,
                                       const Groups* rowGroups)
    : YPredResiduals_(model->GetYResiduals()->SizeRows(), model->GetYResiduals()->SizeColumns(), kMissing<float>),
      WSet_(0, model->GetXResiduals()->SizeColumns(), kMissing<float>),
      CSet_(0, model->GetYResiduals()->SizeColumns(), kMissing<float>),
      PSet_(0, model->GetXResiduals()->SizeColumns(), kMissing<float>),
      TPred_(model->GetXResiduals()->SizeRows()),
      TSet_(0, model->GetXResiduals()->SizeRows(), kMissing<float>),
      Q2YVar_(model->GetYResiduals()->SizeColumns()),
      Q2YVarCum_(q2YVarCum),
      SSY_(groups),
      SSYOriginal_(groups),
      model_(model),
      groups_(std::min(groups, model->GetXResiduals()->SizeRows())),
      Q2TotCum_(q2TotCum),
      rowGroups_(rowGroups != nullptr ? *rowGroups
                                      : GetDeafultCVGroupsVector(model->GetXResiduals()->SizeRows(), groups_)) {
  for (Matrix* set : {&WSet_, &CSet_, &PSet_, &TSet_}) set->ReserveRows(groups_);
}

PLSCrossValidation::~PLSCrossValidation() = default;

namespace {

void TellRound(NCProgress* progress, int group, int groups) {
  if (progress == nullptr) return;
  const std::string text = detail::TranslateText("CV round %1% of %2%", "CV = Cross validation");
  progress->SetText(detail::FillText(text, {group + 1, groups}).c_str());
}

}  // namespace

void PLSCrossValidation::NextComponent(const Vector* modelWeight, int iterationLimit, const Vector& yReference,
                                       NCProgress* progress, bool silent) {
  const detail::StaySingleIfSmall team(model_->GetXResiduals()->SizeRows(), model_->GetXResiduals()->SizeColumns());
  std::optional<NCProgress> own;
  if (progress == nullptr && !silent) progress = &own.emplace("", 0.0f, 1.0f, false, false, true, "");
  if (progress != nullptr) progress->SetRange(0.0f, static_cast<float>(groups_));
  for (Matrix* set : {&WSet_, &CSet_, &PSet_, &TSet_}) set->RemoveRows(1, set->SizeRows());
  SSYOriginal_ = SSY_;
  std::optional<detail::LeftOutFits> together;
  if (detail::LeftOutFits::CanFit(*model_->GetXResiduals(), *model_->GetYResiduals())) {
    together.emplace(*model_->GetXResiduals(), *model_->GetYResiduals(), rowGroups_);
  }
  std::vector<detail::LeftOutFit> fits;
  for (int group = 0; group < groups_; ++group) {
    constexpr int kTogether = detail::LeftOutFits::kMostTogether;
    if (together && group % kTogether == 0) fits = together->Fit(group, std::min(kTogether, groups_ - group));
    TellRound(progress, group, groups_);
    if (progress != nullptr) progress->PushSubRange(static_cast<float>(group), static_cast<float>(group + 1));
    if (fits.empty()) {
      LeaveGroupOut(group, *modelWeight, iterationLimit, progress, silent);
    } else {
      TakeLeftOut(group, fits[static_cast<std::size_t>(group % kTogether)], *modelWeight);
    }
    if (progress != nullptr) progress->PopSubRange();
  }
  UpdateQ2(yReference);
}

void PLSCrossValidation::TakeLeftOut(int group, const detail::LeftOutFit& fit, const Vector& modelWeight) {
  const Matrix& y = *model_->GetYResiduals();
  double ssBefore = 0.0;
  double ss = 0.0;
  for (int i = 1; i <= y.SizeRows(); ++i) {
    const float residual = y[i][1] - fit.t[i] * fit.c;
    if (rowGroups_[i] == group) {
      TPred_(i, fit.t[i]);
      YPredResiduals_(i, 1, residual);
    } else {
      ssBefore += static_cast<double>(y[i][1] * y[i][1]);
      ss += static_cast<double>(residual * residual);
    }
  }
  if (model_->GetComponents() == 1) SSYOriginal_(group + 1, static_cast<float>(ssBefore));
  SSY_(group + 1, static_cast<float>(ss));
  Keep(fit.w, fit.p, Vector(1, fit.c), fit.t, modelWeight);
}

void PLSCrossValidation::LeaveGroupOut(int group, const Vector& modelWeight, int iterationLimit, NCProgress* progress,
                                       bool silent) {
  detail::CvSplit round(*model_->GetXResiduals(), *model_->GetYResiduals(), rowGroups_, group);
  if (model_->GetComponents() == 1) SSYOriginal_(group + 1, static_cast<float>(round.yTrain.GetSS()));
  NCPLS sub(&round.xTrain, &round.yTrain, iterationLimit);
  sub.NextComponent(progress, &modelWeight, silent, false);
  // Of the sub-model's residuals those of Y alone are wanted; X would have to be copied for the others.
  round.yTrain.TransformToSub_V_x_Vt((*sub.GetTprim())[1], (*sub.GetCprim())[1]);
  SSY_(group + 1, static_cast<float>(round.yTrain.GetSS()));

  Vector scores(model_->GetXResiduals()->SizeRows());
  const Vector& fitted = (*sub.GetTprim())[1];
  for (std::size_t k = 0; k < round.train.size(); ++k) scores(round.train[k], fitted[static_cast<int>(k) + 1]);
  PredictLeftOut(round, sub, scores);
  Keep((*sub.GetWprim())[1], (*sub.GetPprim())[1], (*sub.GetCprim())[1], scores, modelWeight);
}

void PLSCrossValidation::PredictLeftOut(const detail::CvSplit& round, const NCPLS& sub, Vector& scores) {
  constexpr float kPracticallyAnyRow = 0.9999f;
  const Matrix& y = *model_->GetYResiduals();
  NCPLSPred prediction(&round.xTest, sub.GetWprim(), sub.GetPprim(), sub.GetCprim(), kPracticallyAnyRow);
  prediction.CalcNextComponent();
  for (std::size_t k = 0; k < round.test.size(); ++k) {
    const int from = static_cast<int>(k) + 1;
    const int i = round.test[k];
    TPred_(i, (*prediction.GetTPred())[from]);
    scores(i, (*prediction.GetTPred())[from]);
    for (int m = 1; m <= y.SizeColumns(); ++m) {
      const float predicted = (*prediction.GetYPred())[from][m];
      const bool bothPresent = predicted != kMissing<float> && y[i][m] != kMissing<float>;
      YPredResiduals_(i, m, bothPresent ? y[i][m] - predicted : y[i][m]);
    }
  }
}

void PLSCrossValidation::Keep(const Vector& w, const Vector& p, const Vector& c, const Vector& scores,
                              const Vector& modelWeight) {
  WSet_.push_back(w);
  CSet_.push_back(c);
  PSet_.push_back(p);
  TSet_.push_back(scores);
  if (!(WSet_.back() * modelWeight < 0.0)) return;
  for (Matrix* set : {&WSet_, &PSet_, &TSet_, &CSet_}) set->MultiplyRow(set->SizeRows(), -1.0, set->SizeRows());
}

void PLSCrossValidation::UpdateQ2(const Vector& yReference) {
  const Matrix& y = *model_->GetYResiduals();
  const double totalSS = y.GetSS();
  double totalPress = 0.0;
  Vector ofComponent(Q2YVar_);
  Vector cumulative(Q2YVarCum_);
  for (int m = 1; m <= y.SizeColumns(); ++m) {
    const double press = YPredResiduals_.GetColumnSS(m, 0.0);
    // Without any value it stays out of the total, and deliberately stands as -99 in what follows for the response.
    if (press != detail::kNoValue) totalPress += press;
    const double ss = y.GetColumnSS(m, 0.0);
    if (ss < detail::kNoSumOfSquares) {
      ofComponent(m, 0.0f);
      cumulative(m, Q2::CumulativeOfNothing(yReference[m]));
    } else {
      ofComponent(m, Q2::OfComponent(ss, press));
      cumulative(m, Q2::Cumulative(cumulative[m], ss, press));
    }
  }
  Q2YVar_ = ofComponent;  // nothing throws from here on
  Q2YVarCum_ = cumulative;
  if (totalSS < detail::kNoSumOfSquares) {
    Q2Tot_ = 0.0f;
    Q2TotCum_ = 1.0f;
  } else {
    Q2Tot_ = Q2::OfComponent(totalSS, totalPress);
    Q2TotCum_ = Q2::Cumulative(Q2TotCum_, totalSS, totalPress);
  }
}

float PLSCrossValidation::GetQ2Lim() const {
  constexpr int kManyObservations = 100;
  return model_->GetXResiduals()->SizeRows() > kManyObservations ? 0.0f : 0.05f;
}

namespace {

int CountAbove(const Vector& values, int n, float limit) {
  int count = 0;
  for (int m = 1; m <= n; ++m) {
    if (values[m] > limit) ++count;
  }
  return count;
}

}  // namespace

SignificanceE::Significance PLSCrossValidation::GetSignificance(int observations, int xVariables, int yVariables,
                                                                int components, float r2x, const Vector& r2y, float q2,
                                                                const Vector& q2y, float q2Limit) {
  constexpr float kLittleOfX = 0.01f;
  constexpr float kLittleOfY = 0.03f;
  if (std::min(xVariables, observations - 3) <= components) return SignificanceE::kN3;
  if (r2x < kLittleOfX && CountAbove(r2y, yVariables, kLittleOfY) == 0) return SignificanceE::kN4;
  if (q2 > q2Limit) return SignificanceE::kR1;
  return CountAbove(q2y, yVariables, q2Limit) < detail::ResponsesNeeded(yVariables) ? SignificanceE::kNS
                                                                                    : SignificanceE::kR2;
}

}  // namespace voran
