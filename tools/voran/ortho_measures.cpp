#include "tools/voran/ortho_measures.h"

#include <algorithm>
#include <cmath>

#include "tools/voran/component_numbers.h"
#include "tools/voran/model_spread.h"
#include "voran/models/pls_cross_validation.h"

namespace tool {
namespace {

using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

// X and Y, from which one component after the other is taken.
class Remainder {
 public:
  explicit Remainder(const RegressionData& data)
      : x_(data.x),
        y_(data.y),
        totalX_(SumOfSquares(x_)),
        totalY_(ColumnSumsOfSquares(y_)),
        ssX_(totalX_),
        ssY_(totalY_) {}

  OrthoShares Take(const Vector& t, const Vector& p, const Vector& c) {
    x_.AddVprimV(t, p, -1.0f);
    y_.AddVprimV(t, c, -1.0f);
    const double beforeX = std::exchange(ssX_, SumOfSquares(x_));
    const std::vector<double> beforeY = std::exchange(ssY_, ColumnSumsOfSquares(y_));
    return Shares(beforeX, beforeY);
  }

  OrthoShares All() const { return Shares(totalX_, totalY_); }
  const Matrix& X() const { return x_; }

 private:
  OrthoShares Shares(double beforeX, const std::vector<double>& beforeY) const {
    OrthoShares shares = {(beforeX - ssX_) / totalX_, (Total(beforeY) - Total(ssY_)) / Total(totalY_), {}};
    for (std::size_t m = 0; m < totalY_.size(); ++m)
      shares.r2yOfResponses.push_back((beforeY[m] - ssY_[m]) / totalY_[m]);
    return shares;
  }

  Matrix x_;
  Matrix y_;
  double totalX_;
  std::vector<double> totalY_;
  double ssX_;
  std::vector<double> ssY_;
};

// The share that is predicted; where there was nothing left to predict, nothing was gained.
double PredictedShare(double ss, double press) {
  return ss > 0.0 ? 1.0 - press / ss : 0.0;
}

}  // namespace

OrthoMeasures MeasureOrtho(const RegressionData& data, const OrthoMatrices& matrices) {
  OrthoMeasures measures;
  Remainder left(data);
  for (int j = 1; j <= matrices.TO.SizeRows(); ++j) {
    measures.orthoComponents.push_back(left.Take(matrices.TO[j], matrices.PO[j], matrices.CO[j]));
  }
  for (int a = 1; a <= matrices.T.SizeRows(); ++a) {
    measures.components.push_back(left.Take(matrices.T[a], matrices.P[a], matrices.C[a]));
  }
  measures.all = left.All();
  measures.residual = PooledResidual(left.X(), matrices.TO.SizeRows() + matrices.T.SizeRows(), data.degreesOfFreedom);
  return measures;
}

OrthoPress::OrthoPress(const Matrix& y, const Matrix& predicted)
    : ss(ColumnSumsOfSquares(y)), press(ColumnSumsOfSquares(y - predicted)) {}

ComponentQ2 MeasureQ2(const OrthoPress& press, const OrthoPress* before, const OrthoShares& shares,
                      const RegressionData& data, int components) {
  constexpr std::size_t kManyRows = 100;
  constexpr double kLimitOfFewRows = 0.05;
  const std::vector<double>& reference = before != nullptr ? before->press : press.ss;
  ComponentQ2 q2;
  q2.q2 = PredictedShare(Total(reference), Total(press.press));
  q2.q2Cumulative = PredictedShare(Total(press.ss), Total(press.press));
  q2.limit = static_cast<std::size_t>(data.x.SizeRows()) > kManyRows ? 0.0 : kLimitOfFewRows;
  for (std::size_t m = 0; m < press.ss.size(); ++m) {
    q2.q2OfColumns.push_back(PredictedShare(reference[m], press.press[m]));
    q2.q2OfColumnsCumulative.push_back(PredictedShare(press.ss[m], press.press[m]));
  }
  q2.verdict = PLSCrossValidation::GetSignificance(static_cast<int>(data.rows), data.x.SizeColumns(),
                                                   data.y.SizeColumns(), components, static_cast<float>(shares.r2x),
                                                   FloatVector(shares.r2yOfResponses), static_cast<float>(q2.q2),
                                                   FloatVector(q2.q2OfColumns), static_cast<float>(q2.limit));
  return q2;
}

SignificanceE::Significance WholeVerdict(const OrthoStage& stage, const RegressionData& data) {
  const ComponentQ2& q2 = *stage.q2;
  return PLSCrossValidation::GetSignificance(static_cast<int>(data.rows), data.x.SizeColumns(), data.y.SizeColumns(), 0,
                                             static_cast<float>(stage.r2x), FloatVector(stage.r2yOfResponses),
                                             static_cast<float>(q2.q2Cumulative), FloatVector(q2.q2OfColumnsCumulative),
                                             static_cast<float>(q2.limit));
}

}  // namespace tool
