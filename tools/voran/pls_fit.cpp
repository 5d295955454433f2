#include "tools/voran/pls_fit.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include <fmt/format.h>

#include "tools/voran/component_loop.h"
#include "tools/voran/component_numbers.h"
#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "tools/voran/transform_option.h"
#include "voran/models/cv_groups.h"
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

double Sum(const std::vector<double>& values) {
  double sum = 0.0;
  for (const double value : values) sum += value;
  return sum;
}

Vector AsVector(const std::vector<double>& values) {
  Vector v;
  for (const double value : values) v.push_back(static_cast<float>(value));
  return v;
}

class PlsRun : private ComponentLoop {
 public:
  PlsRun(Matrix& x, Matrix& y, const PlsSettings& settings, std::size_t rowsWithData, PlsResult& result)
      : settings_(settings),
        rows_(rowsWithData),
        degreesOfFreedom_(static_cast<double>(rowsWithData) - (IsCentred(settings.scaling) ? 1.0 : 0.0)),
        total_{SumOfSquares(x), ColumnSumsOfSquares(y), 0.0},
        left_(total_),
        reference_(AsVector(total_.y)),
        model_(std::make_unique<NCPLS>(&x, &y, settings.iterationLimit)),
        result_(result) {
    x = Matrix();  // the model now holds the only handle on the rows, and deflates them where they are
  }

  bool HasData() const { return total_.x > 0.0; }

  void CrossValidateBy(const CvGroups& groups) {
    cvGroups_ =
        groups.ofRow ? *groups.ofRow : GetDeafultCVGroupsVector(model_->GetXResiduals()->SizeRows(), groups.count);
    crossValidation_ = std::make_unique<PLSCrossValidation>(model_.get(), groups.count, &cvGroups_);
    cvPredicted_.assign(total_.y.size(), std::vector<double>(static_cast<std::size_t>(cvGroups_.Size())));
    result_.cvGroups = groups.count;
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

  /// What the rows were predicted to be, the share of each component while they were left out of it: responses x
  /// observations, scaled; a NaN where there was no score. Nothing without cross-validation.
  const std::vector<std::vector<double>>& CvPredicted() const { return cvPredicted_; }

 private:
  // Deflated X and Y after the newest component.
  struct Remainder {
    double x = 0.0;
    std::vector<double> y;
    double spread = 0.0;
  };

  std::string Exhausted() const override {
    if (left_.x <= kRoundingShare * total_.x) return "the whole of X";
    return Sum(left_.y) <= kRoundingShare * Sum(total_.y) ? "the whole of Y" : "";
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
    newest_.r2y = (Sum(left_.y) - Sum(newestLeft_.y)) / Sum(total_.y);
    newest_.r2yCumulative = 1.0 - Sum(newestLeft_.y) / Sum(total_.y);
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
    q2.verdict = PLSCrossValidation::GetSignificance(static_cast<int>(rows_), static_cast<int>(result_.x.names.size()),
                                                     static_cast<int>(total_.y.size()), a,
                                                     static_cast<float>(newest_.r2x), AsVector(newest_.r2yOfResponses),
                                                     cv.GetQ2Tot(), *cv.GetQ2YVar(), cv.GetQ2Lim());
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
      for (std::size_t m = 0; m < cvPredicted_.size(); ++m) {
        const float weight = c[static_cast<int>(m) + 1];
        const bool isKnown = t != kGap && weight != kGap;
        cvPredicted_[m][static_cast<std::size_t>(i) - 1] +=
            isKnown ? static_cast<double>(t) * static_cast<double>(weight) : kNoValue;
      }
    }
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
  std::vector<std::vector<double>> cvPredicted_;
  PlsComponent newest_;
  Remainder newestLeft_;
  PlsResult& result_;
};

double RootMeanSquare(double sum, double degreesOfFreedom) {
  return degreesOfFreedom > 0.0 ? std::sqrt(sum / degreesOfFreedom) : kNoValue;
}

/// What comes out for each response in its original unit.
class ResponseFits {
 public:
  /// `raw` is Y as it was read.
  ResponseFits(const Matrix& raw, PlsResult& result) : raw_(raw), result_(result), responses_(result.y.names.size()) {}

  /// `cvPredicted` is responses x observations, scaled; empty without cross-validation.
  void AddAll(const std::vector<std::vector<double>>& cvPredicted, bool isCentred) {
    result_.responses.resize(responses_);
    AddCoefficients();
    for (std::size_t m = 0; m < responses_; ++m) {
      ResponseFit& fit = result_.responses[m];
      for (int i = 1; i <= raw_.SizeRows(); ++i) fit.fitted.push_back(result_.y.Original(m, Fitted(i, m)));
      const double used = static_cast<double>(result_.components.size()) + (isCentred ? 1.0 : 0.0);
      fit.rmsee = Error(fit.fitted, m, used);
      if (cvPredicted.empty()) continue;
      for (const double scaled : cvPredicted[m]) fit.predictedCv.push_back(result_.y.Original(m, scaled));
      fit.rmsecv = Error(fit.predictedCv, m, 0.0);
    }
  }

 private:
  void AddCoefficients() {
    const Matrix b = NCPLS::GetRegressionCoefficients(result_.P, result_.W, result_.C);
    for (std::size_t m = 0; m < responses_; ++m) {
      const ColumnScale& y = result_.y.scales[m];
      ResponseFit& fit = result_.responses[m];
      fit.intercept = y.centre;
      for (std::size_t k = 0; k < result_.x.scales.size(); ++k) {
        const ColumnScale& x = result_.x.scales[k];
        const float scaled = b[static_cast<int>(k) + 1][static_cast<int>(m) + 1];
        fit.coefficients.push_back(scaled == kGap ? kNoValue : static_cast<double>(scaled) * x.weight / y.weight);
        fit.intercept -= fit.coefficients.back() * x.centre;
      }
    }
  }

  /// Scaled, from the scores; a NaN where the row has none.
  double Fitted(int i, std::size_t m) const {
    double sum = 0.0;
    for (const PlsComponent& component : result_.components) {
      sum += component.score[static_cast<std::size_t>(i) - 1] * component.yWeight[m];
    }
    return sum / result_.y.unit;
  }

  double Error(const std::vector<double>& values, std::size_t m, double used) const {
    double sum = 0.0;
    double present = 0.0;
    for (int i = 1; i <= raw_.SizeRows(); ++i) {
      const float y = raw_[i][static_cast<int>(m) + 1];
      const double value = values[static_cast<std::size_t>(i) - 1];
      if (y == kGap || std::isnan(value)) continue;
      sum += (static_cast<double>(y) - value) * (static_cast<double>(y) - value);
      present += 1.0;
    }
    return RootMeanSquare(sum, present - used);
  }

  const Matrix& raw_;
  PlsResult& result_;
  const std::size_t responses_;
};

// A row that holds nothing of X takes no part: neither in the scaling of Y, nor in what there is to explain of it.
void BlankResponsesWithoutX(const Matrix& x, Matrix& y) {
  for (int i = 1; i <= x.SizeRows(); ++i) {
    if (x[i].GetNumMisVal() == x[i].Size()) y.SetRow(i, kGap);
  }
}

void RefuseEmptyResponses(const std::string& source, const PreparedColumns& y) {
  if (y.dropped.empty()) return;
  const auto& [name, reason] = y.dropped.front();
  throw BadData(
      fmt::format("{}: response {} cannot be modelled ({}); leave it out of --y", source, Quoted(name), reason));
}

}  // namespace

PlsResult FitPls(Table& table, const PlsSettings& settings, NCProgress* progress) {
  PlsResult result;
  result.gaps = CountGaps(table.x);
  result.yGaps = CountGaps(table.y);
  const int variables = settings.transforms.Size() == 0 ? 0 : static_cast<int>(table.variables.size());
  const int responses = settings.transforms.Size() - variables;
  PreparedTable x =
      Prepare({table.source, table.x, table.variables, table.rowIds, PartOf(settings.transforms, 1, variables)},
              settings.scaling);
  RefuseNothingLeft(table.source, x);
  result.gaps.emptyRows = EmptyRows(x.x, table.rowIds);
  BlankResponsesWithoutX(x.x, table.y);
  const Matrix rawY = table.y;
  PreparedTable y = Prepare(
      {table.source, table.y, table.responses, table.rowIds, PartOf(settings.transforms, variables + 1, responses)},
      settings.yScaling);
  RefuseEmptyResponses(table.source, y.columns);
  for (const PreparedTable* part : {&x, &y}) {
    if (part->note) result.notes.push_back(*part->note);
  }
  result.x = x.columns;
  result.y = y.columns;

  PlsRun run(x.x, y.x, settings, table.rowIds.size() - result.gaps.emptyRows.size(), result);
  if (!run.HasData()) throw BadData(table.source + ": every value of X is zero, so there is nothing to model");
  if (settings.isCrossValidated) {
    const CvGroups groups = MakeCvGroups(table, settings.cvGroups, static_cast<int>(table.rowIds.size()));
    if (!groups.note.empty()) result.notes.push_back(groups.note);
    run.CrossValidateBy(groups);
  }
  run.FitAll(table.source, progress);
  ResponseFits(rawY, result).AddAll(run.CvPredicted(), IsCentred(settings.yScaling));
  return result;
}

}  // namespace tool
