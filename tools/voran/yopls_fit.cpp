#include "tools/voran/yopls_fit.h"

#include <cstddef>
#include <optional>
#include <utility>

#include "tools/voran/component_numbers.h"
#include "tools/voran/failure.h"
#include "tools/voran/opls_fit.h"
#include "tools/voran/ortho_prediction.h"
#include "voran/models/cv_split.h"
#include "voran/models/pls.h"
#include "voran/models/row_prediction.h"
#include "voran/orthogonal/y_orthogonal_pls.h"
#include "voran/platform/nc_error.h"

namespace tool {
namespace {

using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

bool HoldsSomething(const Vector& row) {
  return row.GetNumMisVal() < row.Size();
}

// The filter of some rows, of which those without X or Y play no part.
NCYOrthogonalPLS MakeFilter(const Matrix& x, const Matrix& y, const OrthoSettings& settings) {
  Matrix xUsed(0, x.SizeColumns(), kGap);
  Matrix yUsed(0, y.SizeColumns(), kGap);
  for (int i = 1; i <= x.SizeRows(); ++i) {
    if (!HoldsSomething(x[i]) || !HoldsSomething(y[i])) continue;
    xUsed.push_back(x[i]);
    yUsed.push_back(y[i]);
  }
  return NCYOrthogonalPLS(&xUsed, &yUsed, settings.iterationLimit, settings.innerComponents);
}

// As many of the components as X and Y have, but `least` of them.
NCPLS FitPls(const Matrix& x, const Matrix& y, int components, int least, int iterationLimit) {
  NCPLS pls(&x, &y, iterationLimit);
  for (int a = 1; a <= components; ++a) {
    try {
      pls.NextComponent(nullptr, nullptr, true, true);
    } catch (const NCError& error) {
      if (a <= least || error.GetLevel() != NCError::Level::kZeroCorrelation) throw;
      break;
    }
    pls.CalculateResiduals();
  }
  return pls;
}

Matrix Joined(Matrix first, const Matrix& then) {
  if (first.SizeRows() == 0) return then;
  first.ConcatRows(then);
  return first;
}

class YoplsFitter : public OrthoFitter {
 public:
  YoplsFitter(const RegressionData& data, const OrthoSettings& settings, const CvGroups* groups)
      : data_(data),
        settings_(settings),
        components_(settings.components ? *settings.components : CommonDirections(data, settings.iterationLimit)),
        filter_(MakeFilter(data.x, data.y, settings)) {
    if (groups == nullptr) return;
    const NCIntegralVector<int, -99> ofRow = groups->OfRows(data.x.SizeRows());
    for (int g = 0; g < groups->count; ++g) {
      detail::CvSplit split(data.x, data.y, ofRow, g);
      NCYOrthogonalPLS filter = MakeFilter(split.xTrain, split.yTrain, settings);
      groups_.push_back({std::move(split), std::move(filter)});
    }
  }

  OrthoMatrices Next(NCProgress*) override {
    if (std::exchange(isBegun_, true)) filter_.NextComponent(false);
    OrthoMatrices m;
    m.WO = *filter_.GetWprim();
    m.PO = *filter_.GetPprim();
    m.CO = Matrix(m.WO.SizeRows(), data_.y.SizeColumns(), 0.0f);
    Matrix x = data_.x;
    m.TO = FilterRows(m.WO, m.PO, x);
    const NCPLS pls = FitPls(x, data_.y, components_, 1, settings_.iterationLimit);
    m.T = *pls.GetTprim();
    m.U = *pls.GetUprim();
    m.W = *pls.GetWprim();
    m.P = *pls.GetPprim();
    m.C = *pls.GetCprim();
    return m;
  }

  Matrix NextOfGroups(NCProgress* progress) override {
    Matrix predicted(data_.y.SizeRows(), data_.y.SizeColumns(), kGap);
    for (std::size_t g = 0; g < groups_.size(); ++g) {
      Group& group = groups_[g];
      if (areGroupsBegun_) group.filter.NextComponent(false);
      Predict(group, predicted);
      const auto done = static_cast<float>(g + 1) / static_cast<float>(groups_.size());
      if (progress != nullptr && !progress->SetValue(done)) throw Cancelled();
    }
    areGroupsBegun_ = true;
    return predicted;
  }

  // A filter is a PLS that says nothing of Y: both together are one.
  std::vector<std::vector<double>> Coefficients(const OrthoMatrices& m) const override {
    const Matrix b = NCPLS::GetRegressionCoefficients(Joined(m.PO, m.P), Joined(m.WO, m.W), Joined(m.CO, m.C));
    std::vector<std::vector<double>> coefficients;
    for (int r = 1; r <= b.SizeColumns(); ++r) coefficients.push_back(Values(b.GetColumn(r), 1.0));
    return coefficients;
  }

  // Of the rows that have responses; the others are neither far from Y nor close to it.
  std::optional<double> Angle(const Vector& score) const override {
    Vector used;
    for (int i = 1; i <= score.Size(); ++i) {
      if (HoldsSomething(data_.x[i]) && HoldsSomething(data_.y[i])) used.push_back(score[i]);
    }
    return 2.0 * filter_.GetYAngle(&used) - 90.0;
  }

 private:
  struct Group {
    detail::CvSplit split;
    NCYOrthogonalPLS filter;
  };

  void Predict(const Group& group, Matrix& predicted) const {
    const Matrix& WO = *group.filter.GetWprim();
    const Matrix& PO = *group.filter.GetPprim();
    Matrix train = group.split.xTrain;
    Matrix test = group.split.xTest;
    FilterRows(WO, PO, train);
    FilterRows(WO, PO, test);
    const NCPLS pls = FitPls(train, group.split.yTrain, components_, 0, settings_.iterationLimit);
    const detail::RowPredictions rows =
        detail::PredictRows(test, {*pls.GetWprim(), *pls.GetPprim(), *pls.GetCprim()}, 1.0f, nullptr);
    for (int k = 1; k <= test.SizeRows(); ++k) {
      predicted.SetRow(group.split.test[static_cast<std::size_t>(k) - 1], rows.Y[k]);
    }
  }

  const RegressionData& data_;
  const OrthoSettings& settings_;
  const int components_;
  NCYOrthogonalPLS filter_;
  std::vector<Group> groups_;
  bool isBegun_ = false;
  bool areGroupsBegun_ = false;
};

}  // namespace

std::unique_ptr<OrthoFitter> MakeYoplsFitter(const RegressionData& data, const OrthoSettings& settings,
                                             const CvGroups* groups) {
  return std::make_unique<YoplsFitter>(data, settings, groups);
}

}  // namespace tool
