// PCA, PLS, its cross-validation, and prediction.

#include <algorithm>
#include <cmath>

#include "benchmarks/side_by_side.h"
#include "voran/models/pca.h"
#include "voran/models/pls.h"
#include "voran/models/pls_cross_validation.h"
#include "voran/models/row_prediction.h"
#include "voran/preprocessing/scale.h"

namespace side_by_side {
namespace {

NCScale CentringOf(int columns) {
  NCScale scale(columns);
  for (int j = 1; j <= columns; ++j) scale.SetType(j, NCScale::kCenter);
  return scale;
}

Matrix Centred(const Matrix& x) {
  Matrix centred = x;
  CentringOf(x.SizeColumns()).ScaleMatrix(&centred, true);
  return centred;
}

/// The sign of a component that makes its loading of largest magnitude positive, as all programs here have it.
double SignOf(const Vec& loading) {
  float largest = 0.0f;
  for (const float p : loading) {
    if (std::abs(p) > std::abs(largest)) largest = p;
  }
  return largest < 0.0f ? -1.0 : 1.0;
}

double SumOfMagnitudes(const Vec& v) {
  double sum = 0.0;
  for (const float x : v) sum += std::abs(static_cast<double>(x));
  return sum;
}

struct PcaModel {
  std::vector<double> r2x;
  Matrix P;
  Matrix T;
};

PcaModel FitPca(const Matrix& x, int components) {
  Matrix centred = Centred(x);
  const bool hasGaps = centred.GetNumMisVal() > 0;
  const double total = centred.GetSS();
  NCPCA pca(&centred, 500);
  centred = Matrix();  // the model now holds the only handle on the rows, and deflates them where they are
  PcaModel model;
  double left = total;
  for (int a = 1; a <= components; ++a) {
    pca.NextComponent(nullptr, nullptr, 0, nullptr);
    pca.CalculateResiduals();
    // Without gaps a component takes t't off the sum of squares; with gaps it has to be formed anew.
    const double after = hasGaps ? pca.GetResiduals()->GetSS() : left - (*pca.GetTprim())[a].GetSS();
    model.r2x.push_back((left - after) / total);
    left = after;
  }
  model.P = *pca.GetPprim();
  model.T = *pca.GetTprim();
  return model;
}

Json TellPca(const PcaModel& model) {
  std::vector<double> peaks;
  std::vector<double> sums;
  std::vector<double> firstScores;
  for (int a = 1; a <= model.P.SizeRows(); ++a) {
    float peak = 0.0f;
    for (const float p : model.P[a]) peak = std::max(peak, std::abs(p));
    peaks.push_back(static_cast<double>(peak));
    sums.push_back(SumOfMagnitudes(model.P[a]));
    firstScores.push_back(SignOf(model.P[a]) * static_cast<double>(model.T[a][1]));
  }
  return {{"r2x", model.r2x}, {"largest_loading", peaks}, {"sum_abs_loading", sums}, {"first_row_scores", firstScores}};
}

Work StartPca(const Task& task, int) {
  return MakeWork([x = task.Load("x"), components = task.Number("components")] { return FitPca(x, components); },
                  TellPca);
}

struct PlsModel {
  std::vector<double> r2x;
  std::vector<double> r2y;
  Matrix coefficients;
  std::vector<double> firstScores;
};

PlsModel FitPls(const Matrix& x, const Matrix& y, int components) {
  Matrix centredX = Centred(x);
  Matrix centredY = Centred(y);
  const double totalX = centredX.GetSS();
  const double totalY = centredY.GetSS();
  NCPLS pls(&centredX, &centredY, 500);
  centredX = Matrix();
  centredY = Matrix();
  PlsModel model;
  for (int a = 1; a <= components; ++a) {
    pls.NextComponent(nullptr, nullptr, false, true);
    pls.CalculateResiduals();
    const double tt = (*pls.GetTprim())[a].GetSS();
    model.r2x.push_back(tt * (*pls.GetPprim())[a].GetSS() / totalX);
    model.r2y.push_back(tt * (*pls.GetCprim())[a].GetSS() / totalY);
    model.firstScores.push_back(std::abs(static_cast<double>((*pls.GetTprim())[a][1])));
  }
  model.coefficients = pls.GetRegressionCoefficients(-1);
  return model;
}

Json TellPls(const PlsModel& model) {
  std::vector<double> sums;
  for (int m = 1; m <= model.coefficients.SizeColumns(); ++m) {
    sums.push_back(SumOfMagnitudes(model.coefficients.GetColumn(m)));
  }
  return {{"r2x", model.r2x},
          {"r2y", model.r2y},
          {"sum_abs_coefficients", sums},
          {"first_coefficients", ToList(model.coefficients[1])},
          {"first_row_abs_scores", model.firstScores}};
}

Work StartPls(const Task& task, int) {
  return MakeWork([x = task.Load("x"), y = task.Load("y"),
                   components = task.Number("components")] { return FitPls(x, y, components); },
                  TellPls);
}

/// The sum of squared prediction errors of each component. Row i, from 0, is in group i mod `groups`.
std::vector<double> CrossValidate(const Matrix& x, const Matrix& y, int components, int groups) {
  Matrix centredX = Centred(x);
  Matrix centredY = Centred(y);
  const Vec reference(1, static_cast<float>(centredY.GetSS()));
  NCPLS pls(&centredX, &centredY, 500);
  centredX = Matrix();
  centredY = Matrix();
  NCIntegralVector<int, -99> groupOfRow(x.SizeRows());
  for (int i = 1; i <= x.SizeRows(); ++i) groupOfRow(i, (i - 1) % groups);
  PLSCrossValidation validation(&pls, groups, &groupOfRow);
  std::vector<double> press;
  for (int a = 1; a <= components; ++a) {
    pls.NextComponent(nullptr, nullptr, true, true);
    validation.NextComponent(&pls.GetWprim()->back(), 500, reference, nullptr, true);
    press.push_back(validation.GetYPredResiduals()->GetColumnSS(1, 0.0));
    pls.CalculateResiduals();
  }
  return press;
}

Work StartCrossValidation(const Task& task, int) {
  return MakeWork([x = task.Load("x"), y = task.Load("y"), components = task.Number("components"),
                   groups = task.Number("groups")] { return CrossValidate(x, y, components, groups); },
                  [](const std::vector<double>& press) {
                    return Json{{"press_by_component", press}};
                  });
}

/// A model of the training rows, in the units of the data: Y = XB - offset.
struct Regression {
  Regression(Matrix x, Matrix y, int components)
      : centringOfX(CentringOf(x.SizeColumns())), centringOfY(CentringOf(y.SizeColumns())) {
    centringOfX.ScaleMatrix(&x, true);
    centringOfY.ScaleMatrix(&y, true);
    NCPLS pls(&x, &y, 500);
    for (int a = 1; a <= components; ++a) {
      pls.NextComponent(nullptr, nullptr, false, true);
      pls.CalculateResiduals();
    }
    W = *pls.GetWprim();
    P = *pls.GetPprim();
    C = *pls.GetCprim();
    B = pls.GetRegressionCoefficients(-1);
    offset = B.PreMultiply(centringOfX.GetMeans()) - centringOfY.GetMeans();
  }

  explicit Regression(const Task& task) : Regression(task.Load("x"), task.Load("y"), task.Number("components")) {}

  NCScale centringOfX;
  NCScale centringOfY;
  Matrix W;
  Matrix P;
  Matrix C;
  Matrix B;
  Vec offset;
};

Json TellPrediction(const Matrix& y) {
  return {{"mean", ToList(y.GetColumnMeans())}, {"first_row", ToList(y[1])}, {"last_row", ToList(y.back())}};
}

Work StartPrediction(const Task& task, int) {
  return MakeWork(
      [fresh = task.Load("new"), model = Regression(task)] {
        Matrix y = fresh.MatrixMultiply(model.B, false, false, false);
        y.TransformToDotSubRowVector(model.offset);
        return y;
      },
      TellPrediction);
}

/// With the scores and residuals of all rows, which may have gaps: what the program's `predict` does.
Work StartPredictionOfAll(const Task& task, int) {
  return MakeWork(
      [fresh = task.Load("new"), model = Regression(task)] {
        Matrix x = fresh;
        NCScale(model.centringOfX).ScaleMatrix(&x, false);
        detail::RowPredictions all = detail::PredictRows(x, {model.W, model.P, model.C}, 0.5f, nullptr);
        all.Y.TransformToDotSubRowVector(model.centringOfY.GetMeans() * -1.0);
        return all;
      },
      [](const detail::RowPredictions& all) { return TellPrediction(all.Y); });
}

}  // namespace

Works ModelWorks() {
  return {{"pca", StartPca},
          {"pls", StartPls},
          {"pls_cv", StartCrossValidation},
          {"predict", StartPrediction},
          {"predict_all", StartPredictionOfAll}};
}

}  // namespace side_by_side
