#include "tools/voran/pca_fit.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "tools/voran/component_loop.h"
#include "tools/voran/component_numbers.h"
#include "tools/voran/failure.h"
#include "tools/voran/warm_start.h"
#include "voran/models/pca.h"
#include "voran/models/pca_cross_validation.h"

namespace tool {
namespace {

constexpr int kDefaultComponents = 5;

// How much of a component's time its own fit takes, about, beside its cross-validation.
constexpr float kFitShare = 0.1f;

class PcaRun : private ComponentLoop {
 public:
  PcaRun(PreparedTable&& prepared, const PcaSettings& settings, std::size_t rowsWithData, PcaResult& result)
      : settings_(settings),
        unit_(prepared.columns.unit),
        rows_(rowsWithData),
        degreesOfFreedom_(static_cast<double>(rowsWithData) - (IsCentred(settings.scaling) ? 1.0 : 0.0)),
        columns_(prepared.columns.names.size()),
        model_(std::make_unique<NCPCA>(&prepared.x, settings.iterationLimit)),
        total_(SumOfSquares(prepared.x)),
        left_(total_),
        result_(result) {
    // The model now holds the only handle on the rows, and deflates them where they are.
    prepared.x = NCDataMatrix<float>();
  }

  bool HasData() const { return total_ > 0.0; }

  void CrossValidateBy(const CvGroups& groups) {
    for (const double ss : ColumnSumsOfSquares(*model_->GetResiduals())) {
      columnReference_.push_back(static_cast<float>(ss));
    }
    crossValidation_ = std::make_unique<PCACrossValidation>(model_.get(), groups.count, groups.OfRow(), nullptr);
    result_.cvGroups = groups.count;
  }

  void FitAll(const std::string& source, NCProgress* progress) {
    const int most = static_cast<int>(std::min(degreesOfFreedom_, static_cast<double>(columns_)));
    const int asked = settings_.components.value_or(std::min(kDefaultComponents, most));
    if (settings_.hasWarmStart) starts_ = WarmStarts(*model_->GetResiduals(), std::min(asked, most));
    result_.stopped = Run({asked, settings_.isAuto}, {source, rows_, columns_, most}, progress);
    const int components = static_cast<int>(result_.components.size());
    result_.spread.residual = unit_ * PooledResidual(*model_->GetResiduals(), components, degreesOfFreedom_);
  }

 private:
  std::string Exhausted() const override { return left_ <= kRoundingShare * total_ ? "the whole table" : ""; }

  void Fit(int a, NCProgress* progress) override {
    if (!crossValidation_) {
      model_->NextComponent(progress, nullptr, 0, StartOf(a));
      return;
    }
    if (progress != nullptr) progress->PushSubRange(0.0f, kFitShare);
    model_->NextComponent(progress, nullptr, 0, StartOf(a));
    if (progress != nullptr) {
      progress->PopSubRange();
      progress->PushSubRange(kFitShare, 1.0f);
    }
    crossValidation_->NextComponent(columnReference_, progress);
    if (progress != nullptr) progress->PopSubRange();
    DescribeQ2(a);
  }

  const NCDataVector<float>* StartOf(int a) const {
    const auto index = static_cast<std::size_t>(a) - 1;
    return index < starts_.size() ? &starts_[index] : nullptr;
  }

  void DescribeQ2(int a) {
    newest_.q2 = crossValidation_->GetQ2Tot();
    newest_.q2Cumulative = crossValidation_->GetQ2TotCum();
    newest_.limit = crossValidation_->GetQ2Lim(a, IsCentred(settings_.scaling));
    newest_.verdict = newest_.q2 > newest_.limit ? SignificanceE::kR1 : SignificanceE::kNS;
    newest_.q2OfColumns = Values(*crossValidation_->GetQ2XVar(), 1.0);
    newest_.q2OfColumnsCumulative = Values(*crossValidation_->GetQ2XVarCum(), 1.0);
  }

  std::string Insignificance(int a) const override {
    return SignificanceE::IsSignificant(newest_.verdict) ? "" : InsignificanceText(a, newest_);
  }

  void Accept(int a) override {
    model_->CalculateResiduals();
    const NCDataVector<float>& loading = (*model_->GetPprim())[a];
    const NCDataVector<float>& score = (*model_->GetTprim())[a];
    const double sign = PointsDown(loading) ? -1.0 : 1.0;
    PcaComponent component;
    component.loading = Values(loading, sign);
    component.score = Values(score, sign * unit_);
    const double before = std::exchange(left_, SumOfSquares(*model_->GetResiduals()));
    component.r2x = (before - left_) / total_;
    component.r2xCumulative = (total_ - left_) / total_;
    component.eigenvalue = unit_ * unit_ * ScoreVariance(score, degreesOfFreedom_);
    if (crossValidation_) component.q2 = newest_;
    component.iterations = model_->GetIterations();
    component.converged = component.iterations < settings_.iterationLimit || rows_ == 1;
    result_.spread.scoreVariances.push_back(component.eigenvalue);
    result_.components.push_back(std::move(component));
    result_.P.push_back(loading);
    result_.P.MultiplyRow(a, sign, a);
  }

  const PcaSettings& settings_;
  const double unit_;
  const std::size_t rows_;
  const double degreesOfFreedom_;
  const std::size_t columns_;
  const std::unique_ptr<NCPCA> model_;
  const double total_;
  double left_;
  std::vector<NCDataVector<float>> starts_;
  NCDataVector<float> columnReference_;
  std::unique_ptr<PCACrossValidation> crossValidation_;
  ComponentQ2 newest_;
  PcaResult& result_;
};

}  // namespace

PcaResult FitPca(Table& table, const PcaSettings& settings, NCProgress* progress) {
  PcaResult result;
  result.gaps = CountGaps(table.x, table.rowIds);
  PreparedTable prepared = PrepareVariables(table, settings.transforms, settings.scaling);
  result.columns = prepared.columns;
  result.gaps.emptyRows = EmptyRows(prepared.x, table.rowIds);
  const int most = std::min(prepared.x.SizeRows(), prepared.x.SizeColumns());
  PcaRun run(std::move(prepared), settings, table.rowIds.size() - result.gaps.emptyRows.size(), result);
  if (!run.HasData()) throw BadData(table.source + ": every value is zero, so there is nothing to model");
  if (settings.isAuto || settings.cvGroups || table.cvGroups) {
    const CvGroups groups = MakeCvGroups(table, settings.cvGroups.value_or(kDefaultCvGroups), most);
    if (!groups.note.empty()) result.notes.push_back(groups.note);
    run.CrossValidateBy(groups);
  }
  run.FitAll(table.source, progress);
  return result;
}

}  // namespace tool
