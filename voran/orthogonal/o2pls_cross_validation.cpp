#include "voran/orthogonal/o2pls_cross_validation.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <utility>

#include "voran/containers/missing_value.h"
#include "voran/models/cv_groups.h"
#include "voran/models/q2.h"
#include "voran/models/significance.h"
#include "voran/orthogonal/o2pls_component_estimator.h"
#include "voran/orthogonal/o2pls_cv_run.h"
#include "voran/orthogonal/o2pls_steps.h"
#include "voran/orthogonal/q2_limit.h"
#include "voran/platform/nc_error.h"

inline namespace voran {

using detail::CVData;
using detail::CvProgress;
using detail::O2PLSCounts;
using detail::O2PLSRun;
using detail::O2PLSSearch;
using detail::TranslateText;
using Groups = NCIntegralVector<int, -99>;
using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

namespace {

constexpr auto kCvContext = "CV = Cross validation";

/// The models predict nothing that could be measured.
class NoCorrelation : public Exception {};

detail::Q2Limit& ExternalLimit() {
  static detail::Q2Limit limit;
  return limit;
}

[[noreturn]] void ThrowError(const char* text) {
  throw NCError(ExceptionMessage::translate(text), NCError::Level::kGeneral);
}

/// Q2 is a number, though perhaps 0.
bool IsUsable(double q2) {
  return std::isfinite(q2) && std::fpclassify(q2) != FP_SUBNORMAL;
}

Matrix Stacked(const std::vector<Matrix>& parts) {
  Matrix stack;
  for (const Matrix& part : parts) stack.ConcatRows(part);
  return stack;
}

}  // namespace

float O2PLSCrossValidation::GetQ2Lim(int, int) {
  return ExternalLimit().Get();
}

void SetO2PLSExternalQ2Limit(float limit) {
  ExternalLimit().Set(limit);
}

// The steps.

O2PLSCrossValidation::O2PLSCrossValidation(const Matrix* X, const Matrix* Y, int groups, NCProgress* progress,
                                           Groups* cvGroups, int iterations, int predictiveComps, int xOrthoComps,
                                           int yOrthoComps)
    : Iterations_(iterations), Rows_(X->SizeRows()) {
  constexpr auto kSource = "O2PLSCrossValidation::O2PLSCrossValidation";
  PredComps = 0;
  const bool isFree = predictiveComps < 0;
  if ((xOrthoComps < 0) != isFree || (yOrthoComps < 0) != isFree) {
    ThrowError("O2PLSCrossValidation, all or none of the number of components must be fixed");
  }
  if (X->GetNumMisVal() != 0 || Y->GetNumMisVal() != 0) {
    ThrowError("X and Y can not contain missing values in O2PLSCrossValidation::O2PLSCrossValidation");
  }
  const Groups rowGroups = cvGroups != nullptr ? *cvGroups : GetDeafultCVGroupsVector(Rows_, groups);
  if (rowGroups.Size() != Rows_ || Y->SizeRows() != Rows_) throw NCInternalError(kSource);
  try {
    std::optional<O2PLSCounts> asked = O2PLSCounts{predictiveComps, xOrthoComps, yOrthoComps};
    while ((asked = DoCalculations(*X, *Y, rowGroups, progress, *asked))) {
      static_cast<O2PLSCVResults&>(*this) = O2PLSCVResults();
    }
  } catch (const CancelException&) {
    ThrowError("Computations aborted.");
  } catch (const NoCorrelation&) {
    ThrowError("There is no correlation between X and Y.");
  } catch (const NCError&) {
    ThrowError(
        "Cross validation could not be computed.\nThis can be due to low variance/missing values in the X and/or Y "
        "matrices.");
  }
}

/// Returns the numbers with which all is to be done again, if they were free.
std::optional<O2PLSCounts> O2PLSCrossValidation::DoCalculations(const Matrix& X, const Matrix& Y,
                                                                const Groups& cvGroups, NCProgress* progressOrNull,
                                                                const O2PLSCounts& asked) {
  CvProgress progress(progressOrNull);
  progress.SetRange(0, 7);
  progress.SetText(TranslateText("Estimating X-Y predictive components"));
  const O2PLSPredictiveComponentEstimator estimator(&X, &Y, -1, &cvGroups, asked.predictive);
  PredComps = estimator.GetNumberOfPredictiveComponents();
  PredSignificance = estimator.GetSignificance();
  if (PredComps == 0) return {};
  progress.StopIfAsked();
  progress.SetValue(1);

  O2PLSRun run(X, Y, cvGroups, Iterations_, asked, progress);
  FindOrthogonal(run, FitPredictive(run));
  progress.SetValue(5);
  progress.SetText(TranslateText("Calculating CV results", kCvContext));
  CrossValidatePredictive(run);
  if (const auto predictive = ChoosePredictive(asked.predictive < 0)) {
    return O2PLSCounts{*predictive, XOrthoComps, YOrthoComps};
  }
  AlignSigns(run);
  progress.StopIfAsked();
  progress.SetValue(6);
  progress.SetText(TranslateText("Saving CV results", kCvContext));
  CollectPredictive(run);
  CollectOrthogonal(run);
  CollectStart(run);
  CollectSumsOfSquares(run);
  progress.StopIfAsked();
  progress.SetValue(7);
  return {};
}

/// The models without orthogonal components. Returns the Q2 of Y.
double O2PLSCrossValidation::FitPredictive(O2PLSRun& run) {
  const std::size_t groups = run.data.size();
  SSXSteps.resize(groups);
  SSYSteps.resize(groups);
  GroupPress = Matrix(1, static_cast<int>(groups), 0.0f);
  for (std::size_t g = 0; g < groups; ++g) {
    GroupPress(1, static_cast<int>(g) + 1, static_cast<float>(run.data[g].testY.GetSS()));
  }
  // Nor could a model be formed.
  if (run.columnsX == 0 || run.columnsY == 0 || run.ssY == 0.0) throw NoCorrelation();
  std::vector<Matrix> predictions(groups);
  const double press = run.SumOf([&](std::size_t g) {
    CVData& group = run.data[g];
    SSXSteps[g].push_back(group.model.GetSSXOrig());
    SSYSteps[g].push_back(group.model.GetSSYOrig());
    group.model.Fit(PredComps, 0, 0);
    return group.YPress(&predictions[g]);
  });
  const double q2 = 1.0 - press / run.ssY;
  Q2Start.push_back(static_cast<float>(q2));
  YPredSets.push_back(Stacked(predictions));
  if (!IsUsable(q2)) throw NoCorrelation();
  return q2;
}

// Orthogonal components.

void O2PLSCrossValidation::FindOrthogonal(O2PLSRun& run, double q2) {
  const auto most = [&](int asked, int columns) {
    return asked >= 0 ? asked : std::min(columns, run.leastTrain) - PredComps;
  };
  const bool stopAtLimit = run.asked.xOrtho < 0;
  const auto findOfX = [&](double start, std::vector<Matrix>* predictions) {
    XOrthoComps = OrthoCompCV(run, {true, most(run.asked.xOrtho, run.columnsX), static_cast<float>(run.ssY), start,
                                    stopAtLimit, Q2X, XOrthoSignificance, predictions});
  };
  run.progress.StopIfAsked();
  run.progress.Push(2);
  run.progress.SetText(TranslateText("Estimating Orthogonal components in X"));
  findOfX(q2, &YPredSets);

  run.progress.StopIfAsked();
  run.progress.Pop();
  run.progress.Push(3);
  run.progress.SetText(TranslateText("Estimating Orthogonal components in Y"));
  const double pressX = run.SumOf([&](std::size_t g) { return run.data[g].XPress(); });
  YOrthoComps = OrthoCompCV(run, {false, most(run.asked.yOrtho, run.columnsY), static_cast<float>(run.ssX),
                                  1.0 - pressX / run.ssX, run.asked.yOrtho < 0, Q2Y, YOrthoSignificance, nullptr});
  run.progress.StopIfAsked();
  run.progress.Pop();
  run.progress.SetValue(4);
  if (YOrthoComps == 0) return;

  run.progress.SetText(TranslateText("Final estimation of OPLS prediction model"));
  run.progress.Push(4);
  const double press = run.SumOf([&](std::size_t g) {
    run.data[g].model.Fit(PredComps, 0, YOrthoComps);
    return run.data[g].YPress(nullptr);
  });
  Q2X = Vector();
  XOrthoSignificance = Groups();
  findOfX(1.0 - press / run.ssY, nullptr);
  run.progress.Pop();
}

/// Returns how many components were found; the models have these.
int O2PLSCrossValidation::OrthoCompCV(O2PLSRun& run, const O2PLSSearch& search) {
  if (search.maxComps < 1) return 0;
  const int groups = static_cast<int>(run.data.size());
  run.progress.SetRange(0, groups - 1);
  double lastQ2 = search.lastQ2;
  for (int found = 0; found < search.maxComps; ++found) {
    std::vector<NCO2PLS> before;  // a model shares all its elements with its copy
    for (const CVData& group : run.data) before.push_back(group.model);
    const auto undo = [&] {
      for (std::size_t g = 0; g < before.size(); ++g) run.data[g].model.swap(before[g]);
    };
    std::vector<Matrix> predictions(run.data.size());
    std::atomic<bool> hasFailed{false};
    const double press = run.SumOf([&](std::size_t g) {
      CVData& group = run.data[g];
      try {
        group.model.NextOrthogonalComponent(search.xSide, group.model.SizePredComps());
        group.model.CalculatePredictiveComps(group.model.SizePredComps());
        group.model.Finalise();
        group.model.EndFit();
      } catch (const NCError&) {
        hasFailed = true;
      }
      if (hasFailed) return 0.0;
      return search.xSide ? group.YPress(search.predictions != nullptr ? &predictions[g] : nullptr) : group.XPress();
    });
    if (hasFailed) {
      undo();
      return found;
    }
    if (search.predictions != nullptr) search.predictions->push_back(Stacked(predictions));
    run.progress.StopIfAsked();
    run.progress.SetValue(groups - 1);

    const double q2 = 1.0 - press / static_cast<double>(search.ss);
    const double gain = q2 - std::exchange(lastQ2, q2);
    const auto limit = static_cast<double>(GetQ2Lim(Rows_, found));
    search.q2.push_back(static_cast<float>(q2));
    search.significance.push_back(gain > limit ? SignificanceE::kR1 : SignificanceE::kNS);
    if (search.stopAtLimit && limit > gain) {
      undo();
      return found;
    }
  }
  return search.maxComps;
}

// Predictive components.

void O2PLSCrossValidation::CrossValidatePredictive(O2PLSRun& run) {
  GroupPress.Resize(PredComps + 1, GroupPress.SizeColumns());
  for (int a = 1; a <= PredComps; ++a) {
    std::vector<std::vector<double>> parts(run.data.size());
    run.ForEach([&](std::size_t g) {
      CVData& group = run.data[g];
      if (a == 1) group.model.InitPredCompCalculation();
      group.model.NextPredictiveComp();
      if (a < PredComps) group.model.SubtractLastPredictiveComp();
      group.model.Finalise();
      NCO2PLSYPred prediction(&group.testX, &group.model, 0);
      const Matrix errors = prediction.GetYPred() - group.testY;
      for (int m = 1; m <= errors.SizeColumns(); ++m) {
        parts[g].push_back(errors.SizeRows() == 0 ? 0.0 : errors.GetColumnSS(m, 0.0));
      }
      if (a == PredComps) group.yPred = prediction;
    });
    double total = 0.0;
    Vector press(run.columnsY);
    for (int m = 1; m <= run.columnsY; ++m) {
      double sum = 0.0;
      for (const auto& part : parts) sum += part[static_cast<std::size_t>(m - 1)];
      total += sum;
      press(m, static_cast<float>(sum));
    }
    Q2.push_back(static_cast<float>(1.0 - total / run.ssY));
    Q2YVar.push_back((run.ySS - press).DotDivide(run.ySS));
  }
  for (CVData& group : run.data) group.model.EndFit();
}

/// Judges the components behind the one of the highest Q2, which count if they add to the Q2 of enough responses.
/// Returns how many there are if that number was free and some are in doubt.
std::optional<int> O2PLSCrossValidation::ChoosePredictive(bool isFree) {
  const int highest = static_cast<int>(std::max_element(Q2.begin(), Q2.end()) - Q2.begin()) + 1;
  int best = highest;
  for (int i = highest + 1; i <= PredSignificance.Size(); ++i) {
    int verdict = SignificanceE::kNS;
    if (i == best + 1 && PredSignificance[i] == SignificanceE::kR1) {
      const Vector gain = Q2YVar[i] - Q2YVar[i - 1];
      const auto limit = GetQ2Lim(Rows_, i);
      const auto gaining = std::count_if(gain.begin(), gain.end(), [&](float g) { return g > limit; });
      if (gaining >= detail::ResponsesNeeded(gain.Size())) {
        ++best;
        verdict = SignificanceE::kR2;
      }
    }
    if (PredSignificance[i] == SignificanceE::kR1) PredSignificance(i, verdict);
    if (isFree) return best;
  }
  return {};
}

}  // namespace voran
