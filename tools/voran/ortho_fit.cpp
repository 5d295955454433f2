#include "tools/voran/ortho_fit.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include <fmt/format.h>

#include "tools/voran/component_loop.h"
#include "tools/voran/component_numbers.h"
#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "tools/voran/ortho_measures.h"
#include "voran/platform/nc_error.h"

namespace tool {
namespace {

using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

double At(const Matrix& m, int row, std::size_t element) {
  return ValueOf(m[row][static_cast<int>(element) + 1]);
}

// Row by row, so that the largest weight is positive.
void Turn(const Matrix& weights, const std::vector<Matrix*>& others) {
  for (int a = 1; a <= weights.SizeRows(); ++a) {
    if (!PointsDown(weights[a])) continue;
    for (Matrix* const m : others) m->MultiplyRow(a, -1.0, a);
  }
}

void TurnUp(OrthoMatrices& m) {
  const Matrix weights = m.W;
  const Matrix orthoWeights = m.WO;
  Turn(weights, {&m.T, &m.U, &m.W, &m.P, &m.C});
  Turn(orthoWeights, {&m.TO, &m.WO, &m.PO, &m.CO});
}

// As strict as PLS is with a component.
void RefuseNoCorrelation(const std::string& source, const RegressionData& data) {
  constexpr double kLeast = 1e-6;
  const double covariance = SumOfSquares(data.y.MatrixMultiply(data.x, true, false, false));
  const double correlation = std::sqrt(covariance) / std::sqrt(SumOfSquares(data.x)) / std::sqrt(SumOfSquares(data.y));
  if (correlation >= kLeast / std::sqrt(data.x.SizeColumns())) return;
  throw Failure(ExitCode::kComputationFailed,
                source + ": the correlation between X and Y is zero or almost zero, so there is nothing to model");
}

bool HasScores(const Matrix& scores) {
  return std::all_of(scores.begin(), scores.end(), [](const Vector& t) {
    const double squares = SumOfSquares(t);
    return std::isfinite(squares) && squares > 0.0;
  });
}

class OrthoRun {
 public:
  OrthoRun(const std::string& source, const RegressionData& data, const OrthoSettings& settings, OrthoResult& result)
      : source_(source), data_(data), settings_(settings), result_(result) {}

  void FitAll(MakeOrthoFitter makeFitter, const CvGroups* groups, NCProgress* progress) {
    isCrossValidated_ = groups != nullptr;
    for (int n = 0; n == 0 || MayHave(n); ++n) {
      result_.stopped = FitStage(
          n, [&] { return makeFitter(data_, settings_, groups); }, progress);
      if (result_.stopped.empty()) continue;
      if (n > 0) break;
      throw Failure(ExitCode::kComputationFailed, fmt::format("{}: no component: {}", source_, result_.stopped));
    }
    if (isCrossValidated_ && !settings_.ortho) RefuseInsignificant();
    NoteMissingComponents();
    result_.spread.residual = result_.x.unit * measures_.residual;
    KeepComponents();
  }

  void AddResponses(const Table& table) {
    ScaledFits fits;
    fits.coefficients = fitter_->Coefficients(result_.matrices);
    fits.components = static_cast<double>(result_.components.size() + result_.orthoComponents.size());
    const auto responses = static_cast<std::size_t>(data_.y.SizeColumns());
    for (std::size_t m = 0; m < responses; ++m) {
      fits.fitted.push_back(Fitted(m));
      if (isCrossValidated_) fits.predictedCv.push_back(Values(predicted_.GetColumn(static_cast<int>(m) + 1), 1.0));
    }
    AddResponseFits(table, data_.rawY, fits, IsCentred(settings_.yScaling), result_);
    const OrthoStage& last = result_.stages.back();
    for (std::size_t m = 0; m < responses; ++m) {
      result_.responses[m].r2y = last.r2yOfResponses[m];
      if (last.q2) result_.responses[m].q2 = last.q2->q2OfColumnsCumulative[m];
    }
  }

 private:
  // Whether orthogonal component n is wanted and can be had; notes the reason if it is wanted and cannot.
  bool MayHave(int n) {
    if (settings_.ortho && n > *settings_.ortho) return false;
    const int components = result_.matrices.T.SizeRows();
    const int most = std::max(
        0, static_cast<int>(std::min(data_.degreesOfFreedom, static_cast<double>(data_.x.SizeColumns()))) - components);
    if (n > most) {
      result_.stopped = fmt::format("{} and {} have no more than that beside {}", Counted(data_.rows, "row"),
                                    Counted(static_cast<std::size_t>(data_.x.SizeColumns()), "column"),
                                    Counted(static_cast<std::size_t>(components), "predictive component"));
    } else if (1.0 - measures_.all.r2x <= kRoundingShare) {
      result_.stopped = "the components explain the whole of X";
    }
    return result_.stopped.empty();
  }

  // Empty if the stage was taken.
  template <typename Make>
  std::string FitStage(int n, const Make& make, NCProgress* progress) {
    Step step(n, settings_.ortho, progress);
    try {
      if (n == 0) fitter_ = make();
      step.Begin(isCrossValidated_);
      OrthoMatrices matrices = fitter_->Next(progress);
      step.Middle();
      const Matrix predicted = isCrossValidated_ ? fitter_->NextOfGroups(progress) : Matrix();
      step.End();
      return Accept(n, std::move(matrices), predicted);
    } catch (const NCError& error) {
      if (progress != nullptr && progress->IsBreakPressed()) throw Cancelled();
      if (n == 0) {
        throw Failure(ExitCode::kComputationFailed, fmt::format("{}: {}", source_, AsSentence(error.what())));
      }
      return AsSentence(error.what());
    }
  }

  std::string Accept(int n, OrthoMatrices matrices, const Matrix& predicted) {
    if (!HasScores(matrices.TO) || !HasScores(matrices.T)) return "nothing is left of X that it could be made of";
    const OrthoMeasures measures = MeasureOrtho(data_, matrices);
    const OrthoShares added = Added(n, measures);
    OrthoStage stage = {measures.all.r2x, measures.all.r2y, measures.all.r2yOfResponses, {}};
    std::optional<OrthoPress> press;
    if (isCrossValidated_) {
      press.emplace(data_.y, predicted);
      stage.q2 = MeasureQ2(*press, press_ ? &*press_ : nullptr, added, data_, n + matrices.T.SizeRows());
      if (n > 0 && !settings_.ortho && !SignificanceE::IsSignificant(stage.q2->verdict)) {
        return "orthogonal " + InsignificanceText(n, *stage.q2);
      }
    }
    measures_ = measures;
    press_ = press;
    predicted_ = predicted;
    result_.matrices = std::move(matrices);
    result_.stages.push_back(std::move(stage));
    return {};
  }

  // What the newest orthogonal component takes of X, and adds to what the model explains of Y.
  OrthoShares Added(int n, const OrthoMeasures& measures) const {
    OrthoShares added = measures.all;
    if (n == 0) return added;
    added.r2x = measures.orthoComponents.back().r2x;
    added.r2y -= measures_.all.r2y;
    for (std::size_t m = 0; m < added.r2yOfResponses.size(); ++m) {
      added.r2yOfResponses[m] -= measures_.all.r2yOfResponses[m];
    }
    return added;
  }

  void RefuseInsignificant() const {
    const OrthoStage& last = result_.stages.back();
    const SignificanceE::Significance verdict = WholeVerdict(last, data_);
    if (SignificanceE::IsSignificant(verdict)) return;
    throw Failure(ExitCode::kComputationFailed,
                  fmt::format("{}: the model is not significant: {}; {} {} fits it all the same", source_,
                              InsignificanceReason(verdict, last.q2->q2Cumulative, last.q2->limit),
                              settings_.orthoOption, result_.stages.size() - 1));
  }

  void NoteMissingComponents() {
    const auto found = static_cast<std::size_t>(result_.matrices.T.SizeRows());
    if (!settings_.components || static_cast<int>(found) >= *settings_.components) return;
    result_.notes.push_back(fmt::format("{} can be had and no more, where {} were asked for",
                                        Counted(found, "predictive component"), *settings_.components));
  }

  void KeepComponents() {
    OrthoMatrices& m = result_.matrices;
    TurnUp(m);
    for (int a = 1; a <= m.T.SizeRows(); ++a) {
      OrthoComponent component = Component(measures_.components, a, m.T, m.W, m.P, m.C);
      component.yScore = Values(m.U[a], result_.y.unit);
      result_.components.push_back(std::move(component));
    }
    for (int j = 1; j <= m.TO.SizeRows(); ++j) {
      OrthoComponent component = Component(measures_.orthoComponents, j, m.TO, m.WO, m.PO, m.CO);
      component.angle = fitter_->Angle(m.TO[j]);
      result_.orthoComponents.push_back(std::move(component));
    }
    for (const auto* components : {&result_.components, &result_.orthoComponents}) {
      for (const OrthoComponent& c : *components) result_.spread.scoreVariances.push_back(c.eigenvalue);
    }
  }

  OrthoComponent Component(const std::vector<OrthoShares>& shares, int a, const Matrix& T, const Matrix& W,
                           const Matrix& P, const Matrix& C) const {
    const OrthoShares& share = shares[static_cast<std::size_t>(a) - 1];
    const double unit = result_.x.unit;
    OrthoComponent component;
    component.r2x = share.r2x;
    component.r2y = share.r2y;
    component.r2yOfResponses = share.r2yOfResponses;
    component.eigenvalue = unit * unit * ScoreVariance(T[a], data_.degreesOfFreedom);
    component.score = Values(T[a], unit);
    component.loading = Values(P[a], 1.0);
    component.weight = Values(W[a], 1.0);
    component.yWeight = Values(C[a], result_.y.unit / unit);
    return component;
  }

  // Scaled, from the scores; a NaN where the row has none.
  std::vector<double> Fitted(std::size_t m) const {
    const OrthoMatrices& model = result_.matrices;
    std::vector<double> fitted(static_cast<std::size_t>(data_.x.SizeRows()));
    const auto add = [&](const Matrix& T, const Matrix& C) {
      for (int a = 1; a <= T.SizeRows(); ++a) {
        for (std::size_t i = 0; i < fitted.size(); ++i) fitted[i] += At(T, a, i) * At(C, a, m);
      }
    };
    add(model.TO, model.CO);
    add(model.T, model.C);
    return fitted;
  }

  // The part of the progress bar that a stage takes.
  class Step {
   public:
    Step(int n, std::optional<int> asked, NCProgress* progress) : progress_(progress) {
      if (progress_ == nullptr) return;
      const double begin = asked ? static_cast<double>(n) / (*asked + 1) : 1.0 - std::exp2(-n);
      const double end = asked ? static_cast<double>(n + 1) / (*asked + 1) : 1.0 - std::exp2(-n - 1);
      progress_->SetText((n == 0 ? std::string("predictive part") : fmt::format("orthogonal component {}", n)).c_str());
      progress_->PushSubRange(static_cast<float>(begin), static_cast<float>(end));
    }

    void Begin(bool isCrossValidated) { Push(0.0f, isCrossValidated ? kFitShare : 1.0f); }
    void Middle() {
      Pop();
      Push(kFitShare, 1.0f);
    }
    void End() {
      Pop();
      Pop();
    }

   private:
    static constexpr float kFitShare = 0.15f;  // of the whole table, beside seven groups of nearly all of it

    void Push(float from, float to) {
      if (progress_ != nullptr) progress_->PushSubRange(from, to);
    }
    void Pop() {
      if (progress_ != nullptr && !progress_->PopSubRange()) throw Cancelled();
    }

    NCProgress* progress_;
  };

  const std::string& source_;
  const RegressionData& data_;
  const OrthoSettings& settings_;
  OrthoResult& result_;
  std::unique_ptr<OrthoFitter> fitter_;
  bool isCrossValidated_ = false;
  // Of the newest stage that was taken.
  OrthoMeasures measures_;
  std::optional<OrthoPress> press_;
  Matrix predicted_;
};

}  // namespace

OrthoResult FitOrtho(Table& table, const OrthoSettings& settings, MakeOrthoFitter makeFitter, NCProgress* progress) {
  OrthoResult result;
  const RegressionData data = PrepareRegression(table, settings, result);
  RefuseNoCorrelation(table.source, data);
  std::optional<CvGroups> groups;
  if (settings.isCrossValidated) groups = MakeCvGroups(table, settings, result);
  OrthoRun run(table.source, data, settings, result);
  run.FitAll(makeFitter, groups ? &*groups : nullptr, progress);
  run.AddResponses(table);
  return result;
}

}  // namespace tool
