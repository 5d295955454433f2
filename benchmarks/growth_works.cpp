#include "benchmarks/growth_works.h"

#include <memory>
#include <type_traits>

#include "benchmarks/made_xy.h"
#include "voran/cluster/single_linkage_distance_calculator.h"
#include "voran/cluster/ward_distance_calculator.h"
#include "voran/models/pca.h"
#include "voran/models/pls.h"
#include "voran/models/pls_cross_validation.h"
#include "voran/models/row_prediction.h"
#include "voran/orthogonal/o2pls.h"
#include "voran/orthogonal/opls.h"
#include "voran/orthogonal/pls_missing_value_estimator.h"

namespace growth {
namespace {

using Matrix = NCDataMatrix<float>;

constexpr int kComponents = 3;
constexpr int kResponses = 3;
constexpr int kIterations = 200;
constexpr int kGroups = 7;

void FitPca(const Matrix& x) {
  NCPCA pca(&x, kIterations);
  for (int a = 0; a < kComponents; ++a) {
    pca.NextComponent(nullptr, nullptr, 0, nullptr);
    pca.CalculateResiduals();
  }
}

void FitPls(NCPLS& pls) {
  for (int a = 0; a < kComponents; ++a) {
    pls.NextComponent(nullptr, nullptr, true, true);
    pls.CalculateResiduals();
  }
}

void CrossValidate(const XY& data) {
  NCPLS pls(&data.x, &data.y, kIterations);
  PLSCrossValidation cv(&pls, kGroups, nullptr);
  NCDataVector<float> responseSS(kResponses);
  for (int m = 1; m <= kResponses; ++m) responseSS(m, static_cast<float>(data.y.GetColumnSS(m, 0.0)));
  for (int a = 0; a < kComponents; ++a) {
    pls.NextComponent(nullptr, nullptr, true, true);
    cv.NextComponent(&pls.GetWprim()->back(), kIterations, responseSS, nullptr, true);
    pls.CalculateResiduals();
  }
}

void FitOpls(const XY& data) {
  NCOPLS opls(&data.x, &data.y, 1, kIterations);
  for (int n = 0; n < kComponents; ++n) opls.NextComponent(nullptr);
}

/// Of two joint components and one of either block alone.
void FitO2pls(const XY& data) {
  NCO2PLS model(data.x, data.y, true, kIterations);
  model.Fit(2, 1, 1);
}

template <typename Calculator>
void Cluster(Calculator& calculator, const Matrix& x) {
  calculator.Init(x, nullptr);
  for (int merge = 1; merge < x.SizeRows(); ++merge) {
    int first;
    int second;
    calculator.FindNearestAndMerge(first, second);
  }
}

/// Works on made data of the shape: `work` takes X, and Y where `Data` is both.
template <typename Data>
std::function<std::function<void()>(const Shape&)> On(void (*work)(const Data&)) {
  return [work](const Shape& shape) -> std::function<void()> {
    const auto data = [&] {
      if constexpr (std::is_same_v<Data, XY>) {
        return std::make_shared<const XY>(MadeXY(shape.rows, shape.columns, kResponses, shape.gapShare));
      } else {
        return std::make_shared<const Matrix>(MadeMatrix(shape.rows, shape.columns, shape.gapShare));
      }
    }();
    return [work, data] { work(*data); };
  };
}

/// Its Y is as wide as a tenth of X, as both blocks have components of their own. It takes no gaps: they are filled.
std::function<void()> PrepareO2pls(const Shape& shape) {
  const auto data = std::make_shared<const XY>(MadeXY(shape.rows, shape.columns, shape.columns / 10, shape.gapShare));
  if (shape.gapShare == 0.0) return [data] { FitO2pls(*data); };
  return [data] {
    XY filled(*data);
    PLSMissingValueEstimator(filled.x, filled.y, false, nullptr);
    FitO2pls(filled);
  };
}

std::function<void()> PreparePrediction(const Shape& shape) {
  const XY fitted = MadeXY(300, shape.columns, kResponses);
  const auto pls = std::make_shared<NCPLS>(&fitted.x, &fitted.y, kIterations);
  FitPls(*pls);
  const auto fresh = std::make_shared<const Matrix>(MadeMatrix(shape.rows, shape.columns, shape.gapShare));
  return [pls, fresh] {
    const detail::ComponentMatrices model{*pls->GetWprim(), *pls->GetPprim(), *pls->GetCprim()};
    detail::PredictRows(*fresh, model, 0.5f, nullptr);
  };
}

}  // namespace

std::vector<Work> Works() {
  using DendroGram::SingleLinkageDistanceCalculator;
  using DendroGram::WardDistanceCalculator;
  const std::vector<int> rows = {500, 2000, 8000, 32000};
  const std::vector<int> columns = {125, 500, 2000, 8000};
  const std::vector<int> clusterRows = {1000, 2000, 4000, 8000};
  const std::vector<int> clusterColumns = {5, 20, 80, 320};
  return {
      {"PCA", rows, columns, On<Matrix>(FitPca)},
      {"PLS", rows, columns, On<XY>([](const XY& data) {
         NCPLS pls(&data.x, &data.y, kIterations);
         FitPls(pls);
       })},
      {"PLS, 7 groups", rows, columns, On<XY>(CrossValidate)},
      {"prediction by PLS", rows, columns, PreparePrediction},
      {"OPLS", rows, columns, On<XY>(FitOpls)},
      {"O2PLS", rows, columns, PrepareO2pls},
      {"single linkage", clusterRows, clusterColumns, On<Matrix>([](const Matrix& x) {
         SingleLinkageDistanceCalculator calculator;
         Cluster(calculator, x);
       })},
      {"Ward", clusterRows, clusterColumns, On<Matrix>([](const Matrix& x) {
         WardDistanceCalculator calculator(DendroGram::DistanceType::kSquareRoot);
         Cluster(calculator, x);
       })},
  };
}

}  // namespace growth
