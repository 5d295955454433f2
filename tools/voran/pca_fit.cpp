#include "tools/voran/pca_fit.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>

#include <fmt/format.h>

#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "voran/models/pca.h"
#include "voran/platform/nc_error.h"

namespace tool {
namespace {

constexpr int kDefaultComponents = 5;

// Where less than this share of the sum of squares is left, it is the rounding of the numbers themselves (a float
// carries 24 bits, the square of whose last is 4e-15).
constexpr double kRoundingShare = 1e-12;

constexpr double kNoValue = std::numeric_limits<double>::quiet_NaN();

double SumOfSquares(const NCDataMatrix<float>& x) {
  double sum = 0.0;
  for (const NCDataVector<float>& row : x) {
    if (row.GetNumMisVal() < row.Size()) sum += row.GetSS();
  }
  return sum;
}

std::vector<double> Values(const NCDataVector<float>& v, double factor) {
  std::vector<double> values;
  values.reserve(static_cast<std::size_t>(v.Size()));
  for (const float value : v) values.push_back(value == kGap ? kNoValue : factor * static_cast<double>(value));
  return values;
}

// -1 if the loading of largest magnitude is negative.
double SignOf(const NCDataVector<float>& loading) {
  float largest = 0.0f;
  for (const float p : loading) {
    if (p != kGap && std::abs(p) > std::abs(largest)) largest = p;
  }
  return largest < 0.0f ? -1.0 : 1.0;
}

class PcaRun {
 public:
  PcaRun(ScaledMatrix&& scaled, const PcaSettings& settings, std::size_t rowsWithData)
      : settings_(settings),
        unit_(scaled.unit),
        rows_(rowsWithData),
        degreesOfFreedom_(static_cast<double>(rowsWithData) - (IsCentred(settings.scaling) ? 1.0 : 0.0)),
        columns_(scaled.kept.size()),
        model_(std::make_unique<NCPCA>(&scaled.x, settings.iterationLimit)),
        total_(SumOfSquares(scaled.x)),
        left_(total_) {
    // The model now holds the only handle on the rows, and deflates them where they are.
    scaled.x = NCDataMatrix<float>();
  }

  bool HasData() const { return total_ > 0.0; }

  void FitAll(PcaResult& result, NCProgress* progress) {
    const int most = static_cast<int>(std::min(degreesOfFreedom_, static_cast<double>(columns_)));
    const int asked = settings_.components.value_or(std::min(kDefaultComponents, most));
    const int count = std::min(asked, most);
    for (int a = 1; a <= count && result.stopped.empty(); ++a) FitNext(result, a, count, progress);
    if (result.stopped.empty() && count < asked) {
      result.stopped = fmt::format("{} and {} have no more than {}", Counted(rows_, "row"), Counted(columns_, "column"),
                                   Counted(static_cast<std::size_t>(most), "component"));
    }
  }

 private:
  void FitNext(PcaResult& result, int a, int count, NCProgress* progress) {
    if (left_ <= kRoundingShare * total_) {
      result.stopped = a == 2 ? "the first component explains the whole table"
                              : fmt::format("the first {} components explain the whole table", a - 1);
      return;
    }
    if (progress != nullptr) {
      progress->SetText(fmt::format("component {} of {}", a, count).c_str());
      progress->PushSubRange(static_cast<float>(a - 1) / static_cast<float>(count),
                             static_cast<float>(a) / static_cast<float>(count));
    }
    try {
      model_->NextComponent(progress, nullptr, 0, nullptr);
    } catch (const NCError& error) {
      if (progress != nullptr && progress->IsBreakPressed()) throw Cancelled();
      if (a == 1) throw Failure(ExitCode::kComputationFailed, error.what());
      result.stopped = error.what();
      return;
    }
    model_->CalculateResiduals();
    if (progress != nullptr && !progress->PopSubRange()) throw Cancelled();
    result.components.push_back(Describe(a));
  }

  PcaComponent Describe(int a) {
    const NCDataVector<float>& loading = (*model_->GetPprim())[a];
    const double sign = SignOf(loading);
    PcaComponent component;
    component.loading = Values(loading, sign);
    component.score = Values((*model_->GetTprim())[a], sign * unit_);
    const double before = std::exchange(left_, SumOfSquares(*model_->GetResiduals()));
    component.r2x = (before - left_) / total_;
    component.r2xCumulative = (total_ - left_) / total_;
    if (degreesOfFreedom_ > 0.0) {
      double squares = 0.0;
      for (const double t : component.score) squares += std::isnan(t) ? 0.0 : t * t;
      component.eigenvalue = squares / degreesOfFreedom_;
    }
    component.iterations = model_->GetIterations();
    component.converged = component.iterations < settings_.iterationLimit || rows_ == 1;
    return component;
  }

  const PcaSettings& settings_;
  const double unit_;
  const std::size_t rows_;
  const double degreesOfFreedom_;
  const std::size_t columns_;
  const std::unique_ptr<NCPCA> model_;
  const double total_;
  double left_;
};

}  // namespace

PcaResult FitPca(Table& table, const PcaSettings& settings, NCProgress* progress) {
  PcaResult result;
  result.gaps = CountGaps(table.x);
  ScaledTable scaled = ScaleTable(table, settings.scaling);
  result.variables = std::move(scaled.variables);
  result.dropped = std::move(scaled.dropped);
  result.gaps.emptyRows = EmptyRows(scaled.matrix.x, table.rowIds);
  PcaRun run(std::move(scaled.matrix), settings, table.rowIds.size() - result.gaps.emptyRows.size());
  if (!run.HasData()) throw BadData(table.source + ": every value is zero, so there is nothing to model");
  run.FitAll(result, progress);
  return result;
}

}  // namespace tool
