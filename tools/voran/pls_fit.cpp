#include "tools/voran/pls_fit.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "tools/voran/component_loop.h"
#include "tools/voran/component_numbers.h"
#include "voran/models/pls.h"
#include "voran/models/pls_cross_validation.h"

namespace tool {
namespace {

using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

// What a component takes away of sums of squares, before and after it, as shares of what there was at the beginning.
std::vector<double> Shares(const std::vector<double>& before, const std::vector<double>& after,
                           const std::vector<double>& total) {
  std::vector<double> shares;
  for (std::size_t m = 0; m < total.size(); ++m) shares.push_back((before[m] - after[m]) / total[m]);
  return shares;
}

class PlsRun : private ComponentLoop {
 public:
  PlsRun(RegressionData& data, const PlsSettings& settings, PlsResult& result)
      : settings_(settings),
        rows_(data.rows),
        degreesOfFreedom_(data.degreesOfFreedom),
        total_{SumOfSquares(data.x), ColumnSumsOfSquares(data.y), 0.0},
        left_(total_),
        reference_(FloatVector(total_.y)),
        model_(std::make_unique<NCPLS>(&data.x, &data.y, settings.iterationLimit)),
        result_(result) {
    data.x = Matrix();  // the model now holds the only handle on the rows, and deflates them where they are
  }

  void CrossValidateBy(const CvGroups& groups) {
    cvGroups_ = groups.OfRows(model_->GetXResiduals()->SizeRows());
    crossValidation_ = std::make_unique<PLSCrossValidation>(model_.get(), groups.count, &cvGroups_);
    fits_.predictedCv.assign(total_.y.size(), std::vector<double>(static_cast<std::size_t>(cvGroups_.Size())));
  }

  void FitAll(const std::string& source, NCProgress* progress) {
    const std::size_t columns = result_.x.names.size();
    const int most = static_cast<int>(std::min(degreesOfFreedom_, static_cast<double>(columns)));
    result_.stopped =
        Run({settings_.components.value_or(0), settings_.IsAuto()}, {source, rows_, columns, most}, progress);
    const int components = static_cast<int>(result_.components.size());
    result_.W = model_->GetWprim()->GetRowSubMatrix(1, components);
    result_.P = model_->GetPprim()->GetRowSubMatrix(1, components);
    result_.C = model_->GetCprim()->GetRowSubMatrix(1, components);
  }

  /// To be called once, after the fit.
  void AddResponses(const Table& table, const Matrix& rawY) {
    const Matrix b = NCPLS::GetRegressionCoefficients(result_.P, result_.W, result_.C);
    for (std::size_t m = 0; m < total_.y.size(); ++m) {
      fits_.fitted.push_back(Fitted(m));
      fits_.coefficients.push_back(Values(b.GetColumn(static_cast<int>(m) + 1), 1.0));
    }
    fits_.components = static_cast<double>(result_.components.size());
    AddResponseFits(table, rawY, fits_, IsCentred(settings_.yScaling), result_);
    const PlsComponent& last = result_.components.back();
    for (std::size_t m = 0; m < total_.y.size(); ++m) {
      result_.responses[m].r2y = last.r2yOfResponsesCumulative[m];
      if (last.q2) result_.responses[m].q2 = last.q2->q2OfColumnsCumulative[m];
    }
  }

 private:
  // Deflated X and Y after the newest component.
  struct Remainder {
    double x = 0.0;
    std::vector<double> y;
    double spread = 0.0;
  };

  std::string Exhausted() const override {
    if (left_.x <= kRoundingShare * total_.x) return "the whole of X";
    return Total(left_.y) <= kRoundingShare * Total(total_.y) ? "the whole of Y" : "";
  }

  void Fit(int a, NCProgress* progress) override {
    const float share = crossValidation_ ? 1.0f / static_cast<float>(result_.cvGroups + 1) : 1.0f;
    if (progress != nullptr) progress->PushSubRange(0.0f, share);
    model_->NextComponent(progress, nullptr, false, true);
    if (PointsDown((*model_->GetWprim())[a])) model_->FlipComponent(a);
    if (progress != nullptr) progress->PopSubRange();
    if (crossValidation_) {
      if (progress != nullptr) progress->PushSubRange(share, 1.0f);
      crossValidation_->NextComponent(&(*model_->GetWprim())[a], settings_.iterationLimit, reference_, progress, false);
      if (progress != nullptr) progress->PopSubRange();
    }
    model_->CalculateResiduals();
    MeasureNewest(a);
  }

  void MeasureNewest(int a) {
    const Matrix& x = *model_->GetXResiduals();
    newestLeft_ = {SumOfSquares(x), ColumnSumsOfSquares(*model_->GetYResiduals()),
                   result_.x.unit * PooledResidual(x, a, degreesOfFreedom_)};
    newest_ = PlsComponent();
    newest_.r2x = (left_.x - newestLeft_.x) / total_.x;
    newest_.r2xCumulative = 1.0 - newestLeft_.x / total_.x;
    newest_.r2y = (Total(left_.y) - Total(newestLeft_.y)) / Total(total_.y);
    newest_.r2yCumulative = 1.0 - Total(newestLeft_.y) / Total(total_.y);
    newest_.r2yOfResponses = Shares(left_.y, newestLeft_.y, total_.y);
    newest_.r2yOfResponsesCumulative = Shares(total_.y, newestLeft_.y, total_.y);
    if (crossValidation_) MeasureQ2(a);
  }

  void MeasureQ2(int a) {
    const PLSCrossValidation& cv = *crossValidation_;
    ComponentQ2& q2 = newest_.q2.emplace();
    q2.q2 = cv.GetQ2Tot();
    q2.q2Cumulative = cv.GetQ2TotCum();
    q2.limit = cv.GetQ2Lim();
    q2.verdict = PLSCrossValidation::GetSignificance(
        static_cast<int>(rows_), static_cast<int>(result_.x.names.size()), static_cast<int>(total_.y.size()), a,
        static_cast<float>(newest_.r2x), FloatVector(newest_.r2yOfResponses), cv.GetQ2Tot(), *cv.GetQ2YVar(),
        cv.GetQ2Lim());
    q2.q2OfColumns = Values(*cv.GetQ2YVar(), 1.0);
    q2.q2OfColumnsCumulative = Values(*cv.GetQ2YVarCum(), 1.0);
  }

  std::string Insignificance(int a) const override {
    return SignificanceE::IsSignificant(newest_.q2->verdict) ? "" : InsignificanceText(a, *newest_.q2);
  }

  void Accept(int a) override {
    const double unit = result_.x.unit;
    const Vector& score = (*model_->GetTprim())[a];
    newest_.score = Values(score, unit);
    newest_.yScore = Values((*model_->GetUprim())[a], result_.y.unit);
    newest_.loading = Values((*model_->GetPprim())[a], 1.0);
    newest_.weight = Values((*model_->GetWprim())[a], 1.0);
    newest_.yWeight = Values((*model_->GetCprim())[a], result_.y.unit / unit);
    newest_.eigenvalue = unit * unit * ScoreVariance(score, degreesOfFreedom_);
    newest_.iterations = model_->GetIterations();
    newest_.converged = newest_.iterations < settings_.iterationLimit || total_.y.size() == 1;
    left_ = newestLeft_;
    result_.spread.residual = left_.spread;
    result_.spread.scoreVariances.push_back(newest_.eigenvalue);
    result_.components.push_back(newest_);
    if (crossValidation_) AddCvPrediction();
  }

  // The class's own prediction errors are those of the newest component alone: the components before it have seen all
  // rows.
  void AddCvPrediction() {
    for (int i = 1; i <= cvGroups_.Size(); ++i) {
      const int round = cvGroups_[i] + 1;
      const float t = (*crossValidation_->GetTSet())[round][i];
      const Vector& c = (*crossValidation_->GetCSet())[round];
      for (std::size_t m = 0; m < fits_.predictedCv.size(); ++m) {
        const float weight = c[static_cast<int>(m) + 1];
        const bool isKnown = t != kGap && weight != kGap;
        fits_.predictedCv[m][static_cast<std::size_t>(i) - 1] +=
            isKnown ? static_cast<double>(t) * static_cast<double>(weight) : kNoValue;
      }
    }
  }

  // Scaled, from the scores; a NaN where the row has none.
  std::vector<double> Fitted(std::size_t m) const {
    std::vector<double> fitted(result_.components.front().score.size());
    for (const PlsComponent& component : result_.components) {
      for (std::size_t i = 0; i < fitted.size(); ++i) fitted[i] += component.score[i] * component.yWeight[m];
    }
    for (double& value : fitted) value /= result_.y.unit;
    return fitted;
  }

  const PlsSettings& settings_;
  const std::size_t rows_;
  const double degreesOfFreedom_;
  const Remainder total_;
  Remainder left_;
  const Vector reference_;
  const std::unique_ptr<NCPLS> model_;
  NCIntegralVector<int, -99> cvGroups_;
  std::unique_ptr<PLSCrossValidation> crossValidation_;
  ScaledFits fits_;
  PlsComponent newest_;
  Remainder newestLeft_;
  PlsResult& result_;
};

}  // namespace

PlsResult FitPls(Table& table, const PlsSettings& settings, NCProgress* progress) {
  PlsResult result;
  RegressionData data = PrepareRegression(table, settings, result);
  PlsRun run(data, settings, result);
  if (settings.isCrossValidated) run.CrossValidateBy(MakeCvGroups(table, settings, result));
  run.FitAll(table.source, progress);
  run.AddResponses(table, data.rawY);
  return result;
}

}  // namespace tool
