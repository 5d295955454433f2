#include "tools/voran/o2pls_fit.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "tools/voran/component_numbers.h"
#include "tools/voran/failure.h"
#include "tools/voran/library_error.h"
#include "tools/voran/number_text.h"
#include "voran/orthogonal/o2pls.h"
#include "voran/orthogonal/o2pls_prediction.h"

namespace tool {
namespace {

using Matrix = NCDataMatrix<float>;

// Numbers of components.

// How many rows the smallest model of the cross-validation has; all of them without one.
int LeastRows(const std::optional<NCIntegralVector<int, -99>>& groups, int rows) {
  if (!groups) return rows;
  std::map<int, int> sizes;
  int largest = 0;
  for (const int group : *groups) largest = std::max(largest, ++sizes[group]);
  return rows - largest;
}

void RefuseTooMany(const O2plsCounts& counts, const RegressionData& data, int leastRows,
                   const O2plsSettings& settings) {
  const int x = data.x.SizeColumns();
  const int y = data.y.SizeColumns();
  const std::string size =
      fmt::format("{}{}, {} and {}", Counted(static_cast<std::size_t>(leastRows), "row"),
                  leastRows < data.x.SizeRows() ? " (of the smallest model of the cross-validation)" : "",
                  Counted(static_cast<std::size_t>(x), "column"), Counted(static_cast<std::size_t>(y), "response"));
  const auto mostOf = [&](int columns, Scaling scaling) {
    return std::max(std::min(leastRows - (IsCentred(scaling) ? 1 : 0), columns), 0);
  };
  const int mostX = mostOf(x, settings.scaling);
  const int mostY = mostOf(y, settings.yScaling);
  const int mostJoint = std::min(mostX, mostY);
  if (counts.joint > mostJoint) {
    throw WrongUse(fmt::format("--components {}: {} have no more than {} in common", counts.joint, size,
                               Counted(static_cast<std::size_t>(mostJoint), "component")));
  }
  const auto refuse = [&](const char* option, int asked, int left, const char* block) {
    if (asked <= left) return;
    const auto most = Counted(static_cast<std::size_t>(left), "orthogonal component");
    throw WrongUse(fmt::format("{} {}: {} leave {} {} beside {}", option, asked, size, block,
                               left == 0 ? "no orthogonal component" : "no more than " + most,
                               Counted(static_cast<std::size_t>(counts.joint), "joint one")));
  };
  refuse("--ortho", counts.xOrthogonal, mostX - counts.joint, "X");
  refuse("--y-ortho", counts.yOrthogonal, mostY - counts.joint, "Y");
}

// Gaps.

void RefuseEmptyRows(const Table& table, const std::vector<std::string>& ids, const char* what) {
  if (ids.empty()) return;
  const bool isOne = ids.size() == 1;
  throw BadData(fmt::format("{}: {} {} none of the {}: {}; leave {} out, since O2PLS needs both blocks of every row",
                            table.source, Counted(ids.size(), "row"), isOne ? "holds" : "hold", what, Enumerated(ids),
                            isOne ? "it" : "them"));
}

void CompleteBlocks(const Table& table, const O2plsSettings& settings, RegressionData& data, O2plsResult& result,
                    NCProgress* progress) {
  RefuseEmptyRows(table, EmptyRows(data.x, table.rowIds), "variables");
  RefuseEmptyRows(table, EmptyRows(data.y, table.rowIds), "responses");
  const int x = data.x.GetNumMisVal();
  const int y = data.y.GetNumMisVal();
  if (x + y == 0) return;
  if (!settings.isFilled) {
    const int failed = result.x.failedValues + result.y.failedValues;
    throw BadData(fmt::format(
        "{}: O2PLS needs complete blocks, but {} missing ({} in the variables, {} in the "
        "responses{}); --fill fills them first",
        table.source, x + y == 1 ? "1 cell is" : fmt::format("{} cells are", x + y), x, y,
        failed == 0 ? ""
                    : fmt::format("; of {} the transform has no result",
                                  failed == x + y ? "all" : Counted(static_cast<std::size_t>(failed), "cell"))));
  }
  const FilledBlocks filled = FillBlocks(data.x, data.y, table.source, progress);
  result.xBlock.filled = filled.x;
  result.yBlock.filled = filled.y;
}

// The model.

std::vector<bool> Down(const Matrix& weights) {
  std::vector<bool> down;
  for (const NCDataVector<float>& weight : weights) down.push_back(PointsDown(weight));
  return down;
}

NCO2PLS FitModel(const RegressionData& data, const O2plsCounts& counts, const O2plsSettings& settings) {
  NCO2PLS model(data.x, data.y, true, settings.iterationLimit);
  model.Fit(counts.joint, counts.xOrthogonal, counts.yOrthogonal);
  model.FlipPredictiveModel(Down(model.GetW()), Down(model.GetW()));
  model.FlipXSideModel(Down(model.GetWo()));
  model.FlipYSideModel(Down(model.GetCo()));
  return model;
}

void TakeMatrices(const NCO2PLS& model, O2plsResult& result) {
  O2plsBlock& x = result.xBlock;
  O2plsBlock& y = result.yBlock;
  x.W = model.GetW();
  x.P = model.GetP();
  x.Wo = model.GetWo();
  x.Po = model.GetPo();
  x.crossLoadings = model.GetS();
  x.inner = model.GetLambda();
  y.W = model.GetC();
  y.P = model.GetQ();
  y.Wo = model.GetCo();
  y.Po = model.GetQo();
  y.crossLoadings = model.GetR();
  y.inner = model.GetXLambda();
}

// Takes the components out of a block and measures each.
class BlockMeasure {
 public:
  BlockMeasure(const Matrix& block, double unit, double degreesOfFreedom, O2plsBlock& result)
      : rest_(block),
        unit_(unit),
        degreesOfFreedom_(degreesOfFreedom),
        total_(SumOfSquares(block)),
        left_(total_),
        result_(result) {}

  void TakeOut(const Matrix& scores, const Matrix& jointScores) {
    for (int j = 1; j <= scores.SizeRows(); ++j) {
      result_.orthogonal.push_back(TakeOutOne(scores[j], result_.Po[j], result_.Wo[j]));
      result_.r2Orthogonal += result_.orthogonal.back().r2;
    }
    for (int a = 1; a <= jointScores.SizeRows(); ++a) {
      result_.joint.push_back(TakeOutOne(jointScores[a], result_.P[a], result_.W[a]));
      result_.r2Joint += result_.joint.back().r2;
    }
    for (const auto* components : {&result_.joint, &result_.orthogonal}) {
      for (const BlockComponent& c : *components) result_.spread.scoreVariances.push_back(c.eigenvalue);
    }
    const auto components = static_cast<int>(result_.spread.scoreVariances.size());
    result_.spread.residual = unit_ * PooledResidual(rest_, components, degreesOfFreedom_);
  }

  void Predicted(const Matrix& block, Matrix prediction) {
    prediction -= block;
    result_.r2Predicted = 1.0 - SumOfSquares(prediction) / total_;
  }

 private:
  BlockComponent TakeOutOne(const NCDataVector<float>& score, const NCDataVector<float>& loading,
                            const NCDataVector<float>& weight) {
    rest_.AddVprimV(score, loading, -1.0f);
    const double before = std::exchange(left_, SumOfSquares(rest_));
    return {(before - left_) / total_, unit_ * unit_ * ScoreVariance(score, degreesOfFreedom_), Values(score, unit_),
            Values(loading, 1.0), Values(weight, 1.0)};
  }

  Matrix rest_;
  const double unit_;
  const double degreesOfFreedom_;
  const double total_;
  double left_;
  O2plsBlock& result_;
};

// By column of the matrix.
std::vector<std::vector<double>> ByColumn(const Matrix& m) {
  std::vector<std::vector<double>> columns(static_cast<std::size_t>(m.SizeColumns()));
  for (const NCDataVector<float>& row : m) {
    const std::vector<double> values = Values(row, 1.0);
    for (std::size_t k = 0; k < values.size(); ++k) columns[k].push_back(values[k]);
  }
  return columns;
}

void MeasureResponses(const Table& table, const RegressionData& data, const Matrix& predictedY,
                      const O2plsSettings& settings, O2plsResult& result) {
  const O2plsBlock& x = result.xBlock;
  ScaledFits fits;
  fits.fitted = ByColumn(predictedY);
  if (result.cv) fits.predictedCv = result.cv->predictedY;
  fits.coefficients =
      ByColumn(NCO2PLS::GetCoefficients(x.W, x.P, x.Wo, x.Po, x.inner, x.crossLoadings, result.yBlock.P));
  fits.components = static_cast<double>(x.joint.size() + x.orthogonal.size());
  AddResponseFits(table, data.rawY, fits, IsCentred(settings.yScaling), result);
  Matrix errors = predictedY;
  errors -= data.y;
  const std::vector<double> left = ColumnSumsOfSquares(errors);
  const std::vector<double> total = ColumnSumsOfSquares(data.y);
  for (std::size_t m = 0; m < result.responses.size(); ++m) {
    result.responses[m].r2y = 1.0 - left[m] / total[m];
    if (result.cv) result.responses[m].q2 = result.cv->q2OfResponses[m];
  }
}

void Measure(const Table& table, const RegressionData& data, const NCO2PLS& model, const O2plsSettings& settings,
             O2plsResult& result) {
  const double yDegrees = static_cast<double>(data.rows) - (IsCentred(settings.yScaling) ? 1.0 : 0.0);
  BlockMeasure x(data.x, result.x.unit, data.degreesOfFreedom, result.xBlock);
  BlockMeasure y(data.y, result.y.unit, yDegrees, result.yBlock);
  x.TakeOut(model.GetTo(), model.GetT());
  y.TakeOut(model.GetUo(), model.GetU());
  const Matrix predictedY = NCO2PLSYPred(&data.x, &model, 0).GetYPred();
  x.Predicted(data.x, NCO2PLSXPred(&data.y, &model, 0).GetXPred());
  y.Predicted(data.y, predictedY);
  MeasureResponses(table, data, predictedY, settings, result);
  result.spread = result.xBlock.spread;
}

}  // namespace

double ScoreCorrelation(const BlockComponent& x, const BlockComponent& y) {
  const auto n = static_cast<double>(x.score.size());
  double meanX = 0.0;
  double meanY = 0.0;
  for (std::size_t i = 0; i < x.score.size(); ++i) {
    meanX += x.score[i] / n;
    meanY += y.score[i] / n;
  }
  double xx = 0.0;
  double yy = 0.0;
  double xy = 0.0;
  for (std::size_t i = 0; i < x.score.size(); ++i) {
    xx += (x.score[i] - meanX) * (x.score[i] - meanX);
    yy += (y.score[i] - meanY) * (y.score[i] - meanY);
    xy += (x.score[i] - meanX) * (y.score[i] - meanY);
  }
  return xy / std::sqrt(xx * yy);
}

O2plsResult FitO2pls(Table& table, const O2plsSettings& settings, NCProgress* progress) {
  O2plsResult result;
  RegressionData data = PrepareRegression(table, settings, result);
  const int rows = data.x.SizeRows();
  std::optional<NCIntegralVector<int, -99>> groups;
  if (settings.isCrossValidated) groups = MakeCvGroups(table, settings, result).OfRows(rows);
  if (settings.counts) RefuseTooMany(*settings.counts, data, LeastRows(groups, rows), settings);
  CompleteBlocks(table, settings, data, result, progress);
  if (groups) {
    result.cv =
        CrossValidateO2pls({table.source, data.x, data.y}, *groups, settings.counts, settings.iterationLimit, progress);
  }
  try {
    const NCO2PLS model = FitModel(data, settings.counts ? *settings.counts : result.cv->counts, settings);
    TakeMatrices(model, result);
    Measure(table, data, model, settings, result);
  } catch (const NCError& error) {
    throw FailureOf(error, table.source, progress, "; X and Y may have nothing, or fewer components, in common");
  }
  return result;
}

}  // namespace tool
