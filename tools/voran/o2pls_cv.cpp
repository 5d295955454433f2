#include "tools/voran/o2pls_cv.h"

#include <cstddef>

#include <fmt/format.h>

#include "tools/voran/component_numbers.h"
#include "tools/voran/library_error.h"
#include "tools/voran/number_text.h"
#include "tools/voran/table.h"
#include "voran/orthogonal/o2pls_cross_validation.h"

namespace tool {
namespace {

using Matrix = NCDataMatrix<float>;
using Sets = std::vector<Matrix>;

// The models of the groups in one direction, from the scores of one block to the columns of the other.
struct Direction {
  const Sets& scores;
  const Sets& inner;
  const Sets& loadings;
  const Sets& orthogonalScores;
  const Sets& crossLoadings;
};

// What the model of group g, from 0, predicts for row i, from 1.
std::vector<double> Predicted(const Direction& models, int g, int i, int columns) {
  std::vector<double> row(static_cast<std::size_t>(columns), 0.0);
  const auto add = [&](double score, const Matrix& loadings) {
    std::size_t k = 0;
    for (const float loading : loadings[g + 1]) row[k++] += score * ValueOf(loading);
  };
  for (std::size_t b = 0; b < models.loadings.size(); ++b) {
    double score = 0.0;
    for (std::size_t a = 0; a < models.scores.size(); ++a) {
      const Matrix& inner = models.inner[static_cast<std::size_t>(g)];
      score += ValueOf(models.scores[a][g + 1][i]) * ValueOf(inner[static_cast<int>(a) + 1][static_cast<int>(b) + 1]);
    }
    add(score, models.loadings[b]);
  }
  for (std::size_t j = 0; j < models.crossLoadings.size(); ++j) {
    add(ValueOf(models.orthogonalScores[j][g + 1][i]), models.crossLoadings[j]);
  }
  return row;
}

// Q2 of the target; use(i, k, predicted) is called for each of its cells, counted from 0.
template <typename Use>
double PredictAll(const Direction& models, const NCIntegralVector<int, -99>& groups, const Matrix& target, Use use) {
  double press = 0.0;
  for (int i = 1; i <= target.SizeRows(); ++i) {
    const std::vector<double> row = Predicted(models, groups[i], i, target.SizeColumns());
    for (std::size_t k = 0; k < row.size(); ++k) {
      const double error = static_cast<double>(target[i][static_cast<int>(k) + 1]) - row[k];
      press += error * error;
      use(static_cast<std::size_t>(i) - 1, k, row[k]);
    }
  }
  return 1.0 - press / SumOfSquares(target);
}

// Of the first `count` components.
std::vector<O2plsVerdict> Verdicts(const NCDataVector<float>& q2, const NCIntegralVector<int, -99>& significance,
                                   int count) {
  std::vector<O2plsVerdict> verdicts;
  for (int a = 1; a <= count; ++a) {
    verdicts.push_back({ValueOf(q2[a]), static_cast<SignificanceE::Significance>(significance[a])});
  }
  return verdicts;
}

void RefuseFewer(const std::string& source, int found, int asked, const char* block, const char* option) {
  if (found >= asked) return;
  throw Failure(ExitCode::kComputationFailed,
                fmt::format("{}: cross-validation can form no more than {} of {}; give {} {}, or --no-cv", source,
                            Counted(static_cast<std::size_t>(found), "orthogonal component"), block, option, found));
}

O2PLSCrossValidation Run(const O2plsData& data, NCIntegralVector<int, -99>& groups,
                         const std::optional<O2plsCounts>& counts, int iterationLimit, NCProgress* progress) {
  const O2plsCounts asked = counts.value_or(O2plsCounts{-1, -1, -1});
  try {
    return {&data.x, &data.y, 0, progress, &groups, iterationLimit, asked.joint, asked.xOrthogonal, asked.yOrthogonal};
  } catch (const NCError& error) {
    throw FailureOf(error, data.source, progress);
  }
}

}  // namespace

O2plsCv CrossValidateO2pls(const O2plsData& data, NCIntegralVector<int, -99> groups,
                           const std::optional<O2plsCounts>& counts, int iterationLimit, NCProgress* progress) {
  const O2PLSCrossValidation found = Run(data, groups, counts, iterationLimit, progress);
  if (found.PredComps < 1) {
    throw Failure(ExitCode::kComputationFailed,
                  data.source +
                      ": cross-validation finds no component that X and Y have in common; --components 1 "
                      "--ortho 0 --y-ortho 0 fits one all the same");
  }
  if (counts) {
    RefuseFewer(data.source, found.XOrthoComps, counts->xOrthogonal, "X", "--ortho");
    RefuseFewer(data.source, found.YOrthoComps, counts->yOrthogonal, "Y", "--y-ortho");
  }
  O2plsCv cv;
  cv.counts = {found.PredComps, found.XOrthoComps, found.YOrthoComps};
  cv.joint = Verdicts(found.Q2, found.PredSignificance, found.PredComps);
  cv.xOrthogonal = Verdicts(found.Q2X, found.XOrthoSignificance, found.XOrthoComps);
  cv.yOrthogonal = Verdicts(found.Q2Y, found.YOrthoSignificance, found.YOrthoComps);
  for (const float q2 : found.Q2YVar[found.PredComps]) cv.q2OfResponses.push_back(ValueOf(q2));
  const auto rows = static_cast<std::size_t>(data.y.SizeRows());
  cv.predictedY.assign(cv.q2OfResponses.size(), std::vector<double>(rows));
  cv.q2Y = PredictAll({found.TSets, found.LambdaSets, found.QSets, found.ToSets, found.SSets}, groups, data.y,
                      [&](std::size_t i, std::size_t m, double value) { cv.predictedY[m][i] = value; });
  cv.q2X = PredictAll({found.USets, found.XLambdaSets, found.PSets, found.UoSets, found.RSets}, groups, data.x,
                      [](std::size_t, std::size_t, double) {});
  return cv;
}

}  // namespace tool
