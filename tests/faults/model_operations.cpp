#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/faults/operation_data.h"
#include "tests/faults/operations.h"
#include "voran/cluster/dendrogram.h"
#include "voran/cluster/dendrogram_node.h"
#include "voran/cluster/distance_memory.h"
#include "voran/cluster/single_linkage_distance_calculator.h"
#include "voran/cluster/ward_distance_calculator.h"
#include "voran/containers/svd.h"
#include "voran/models/pca.h"
#include "voran/models/pca_cross_validation.h"
#include "voran/models/pca_prediction.h"
#include "voran/models/pls.h"
#include "voran/models/pls_cross_validation.h"
#include "voran/models/pls_prediction.h"
#include "voran/models/row_prediction.h"
#include "voran/orthogonal/o2pls.h"
#include "voran/orthogonal/o2pls_cross_validation.h"
#include "voran/orthogonal/o2pls_prediction.h"
#include "voran/orthogonal/opls.h"
#include "voran/orthogonal/opls_cross_validation.h"
#include "voran/orthogonal/opls_prediction.h"
#include "voran/orthogonal/pls_missing_value_estimator.h"
#include "voran/orthogonal/y_orthogonal_pls.h"
#include "voran/platform/nc_error.h"

namespace faults {
namespace {

using DendroGram::DendroGramPointer;

constexpr int kIterations = 200;
constexpr int kGroups = 3;
constexpr float kAnyRow = 1.0F;

const XY& DataOf(const Shape& shape, double gapShare) {
  static std::map<std::tuple<int, int, int, double>, XY> kept;
  const auto key = std::tuple(shape.rows, shape.columns, shape.responses, gapShare);
  const auto found = kept.find(key);
  if (found != kept.end()) return found->second;
  return kept.emplace(key, MadeXY(shape.rows, shape.columns, shape.responses, gapShare)).first->second;
}

std::string BytesOfModel(const NCPLS& pls) {
  return BytesOf(*pls.GetTprim(), *pls.GetUprim(), *pls.GetWprim(), *pls.GetPprim(), *pls.GetCprim(),
                 *pls.GetXResiduals(), *pls.GetYResiduals());
}

void FitOn(NCPLS& pls, int components, NCProgress* progress) {
  for (int a = 0; a < components; ++a) {
    pls.NextComponent(progress, nullptr, false, true);
    pls.CalculateResiduals();
  }
}

void FitOn(NCPCA& pca, int components, NCProgress* progress) {
  for (int a = 0; a < components; ++a) {
    pca.NextComponent(progress, nullptr, 0, nullptr);
    pca.CalculateResiduals();
  }
}

Attempt BeginPca(const Shape& shape) {
  const Matrix& x = GappedData(shape).x;
  return Fresh([&x](NCProgress* progress) {
    NCPCA pca(&x, kIterations);
    FitOn(pca, 2, progress);
    return BytesOf(*pca.GetTprim(), *pca.GetPprim(), *pca.GetResiduals());
  });
}

Attempt BeginPls(const Shape& shape) {
  const XY& data = GappedData(shape);
  return Fresh([&data](NCProgress* progress) {
    NCPLS pls(&data.x, &data.y, kIterations);
    FitOn(pls, 2, progress);
    return BytesOfModel(pls) + BytesOf(pls.GetRegressionCoefficients(-1));
  });
}

/// One component more of a model that has one.
Attempt BeginPlsComponent(const Shape& shape) {
  const XY& data = CompleteData(shape);
  const auto pls = std::make_shared<NCPLS>(&data.x, &data.y, kIterations);
  FitOn(*pls, 1, nullptr);
  return {[pls](NCProgress* progress) { pls->NextComponent(progress, nullptr, false, true); },
          [pls] { return BytesOfModel(*pls) + std::to_string(pls->GetComponents()); }};
}

/// Of matrices that share their elements with the data.
Attempt BeginPlsResiduals(const Shape& shape) {
  const XY& data = GappedData(shape);
  const auto pls = std::make_shared<NCPLS>(&data.x, &data.y, kIterations);
  pls->NextComponent(nullptr, nullptr, true, true);
  return {[pls](NCProgress*) { pls->CalculateResiduals(); }, [pls] { return BytesOfModel(*pls); }};
}

Attempt BeginOpls(const Shape& shape) {
  const XY& data = GappedData({shape.rows, shape.columns, 1});
  return Fresh([&data](NCProgress* progress) {
    NCOPLS opls(&data.x, &data.y, 1, kIterations);
    for (int n = 0; n < 2; ++n) opls.NextComponent(progress);
    return BytesOf(*opls.GetTprim(), *opls.GetWprim(), *opls.GetTOprim(), *opls.GetPOprim(), opls.GetXResiduals());
  });
}

Attempt BeginO2pls(const Shape& shape) {
  const XY& data = CompleteData(shape);
  return Fresh([&data](NCProgress*) {
    NCO2PLS model(data.x, data.y, true, kIterations);
    model.Fit(1, 1, 1);
    return BytesOf(model.GetT(), model.GetP(), model.GetU(), model.GetQ(), model.GetTo(), model.GetUo(),
                   model.GetLambda(), model.GetR());
  });
}

/// Shows a progress object of its own.
Attempt BeginYOrthogonalPls(const Shape& shape) {
  const XY& data = GappedData({shape.rows, shape.columns, 1});
  const auto filter = std::make_shared<NCYOrthogonalPLS>(&data.x, &data.y, 4, 2);
  return {[filter](NCProgress*) { filter->NextComponent(true); },
          [filter] {
            return BytesOf(*filter->GetTprim(), *filter->GetWprim(), *filter->GetPprim(), *filter->GetXResiduals());
          }};
}

Attempt BeginFilling(const Shape& shape) {
  const XY& data = GappedData(shape);
  return Fresh([&data](NCProgress* progress) {
    Matrix x = data.x;
    Matrix y = data.y;
    PLSMissingValueEstimator(x, y, true, progress);
    return BytesOf(x, y);
  });
}

Attempt BeginPcaValidation(const Shape& shape) {
  const XY& data = GappedData(shape);
  const auto pca = std::make_shared<NCPCA>(&data.x, kIterations);
  FitOn(*pca, 1, nullptr);
  const auto cv =
      std::make_shared<PCACrossValidation>(pca.get(), 0.5F, Vector(shape.columns, 0.25F), kGroups, nullptr, nullptr);
  return {
      [pca, cv, columns = shape.columns](NCProgress* progress) { cv->NextComponent(Vector(columns, 1.0F), progress); },
      [cv] { return BytesOf(cv->GetQ2Tot(), cv->GetQ2TotCum(), *cv->GetQ2XVar(), *cv->GetQ2XVarCum()); }};
}

Attempt BeginPlsValidation(const Shape& shape) {
  const XY& data = GappedData(shape);
  const auto pls = std::make_shared<NCPLS>(&data.x, &data.y, kIterations);
  pls->NextComponent(nullptr, nullptr, true, true);
  const auto cv = std::make_shared<PLSCrossValidation>(pls.get(), kGroups, nullptr);
  return {[pls, cv](NCProgress* progress) {
            cv->NextComponent(&pls->GetWprim()->back(), kIterations, Vector(pls->GetCprim()->SizeColumns(), 1.0F),
                              progress, false);
          },
          [cv] { return BytesOf(cv->GetQ2Tot(), cv->GetQ2TotCum(), *cv->GetQ2YVar(), *cv->GetQ2YVarCum()); }};
}

/// One response and no gaps: its sub-models are fitted together.
Attempt BeginPlsValidationTogether(const Shape& shape) {
  const XY& data = CompleteData({shape.rows, shape.columns, 1});
  return Fresh([&data](NCProgress* progress) {
    NCPLS pls(&data.x, &data.y, kIterations);
    PLSCrossValidation cv(&pls, kGroups, nullptr);
    pls.NextComponent(nullptr, nullptr, true, true);
    cv.NextComponent(&pls.GetWprim()->back(), kIterations, {1.0F}, progress, true);
    return BytesOf(cv.GetQ2TotCum(), *cv.GetTSet(), *cv.GetPSet(), *cv.GetYPredResiduals());
  });
}

Attempt BeginOplsValidation(const Shape& shape) {
  const XY& data = GappedData({shape.rows, shape.columns, 1});
  return Fresh([&data](NCProgress* progress) {
    OPLSCrossValidation cv(&data.x, &data.y, 1, kGroups, progress, nullptr);
    cv.NextComponent(progress);
    return BytesOf(cv.GetQ2TotCum(), *cv.GetYPred(), *cv.GetToSet());
  });
}

Attempt BeginO2plsValidation(const Shape& shape) {
  const XY& data = CompleteData(shape);
  return Fresh([&data](NCProgress* progress) {
    const O2PLSCrossValidation cv(&data.x, &data.y, kGroups, progress, nullptr, kIterations, 1, 1, 1);
    const O2PLSCVResults& results = cv.GetResults();
    return BytesOf(results.Q2, results.Q2YVar, results.GroupPress, results.TSets.back(), results.UoSets.back());
  });
}

const NCPLS& FittedPls(const Shape& shape) {
  static std::map<std::pair<int, int>, NCPLS> kept;
  const XY& data = CompleteData(shape);
  const auto [at, isNew] = kept.try_emplace({shape.rows, shape.columns}, &data.x, &data.y, kIterations);
  if (isNew) FitOn(at->second, 2, nullptr);
  return at->second;
}

Attempt BeginPrediction(const Shape& shape) {
  const NCPLS& pls = FittedPls({24, shape.columns, shape.responses});
  const Matrix& x = GappedData(shape).x;
  return Fresh([&](NCProgress* progress) {
    const detail::ComponentMatrices model{*pls.GetWprim(), *pls.GetPprim(), *pls.GetCprim()};
    const detail::RowPredictions made = detail::PredictRows(x, model, kAnyRow, progress);
    return BytesOf(made.TPrim, made.Y, made.residualSS);
  });
}

/// By the classes that hand out residuals.
Attempt BeginClassicPrediction(const Shape& shape) {
  const NCPLS& pls = FittedPls({24, shape.columns, shape.responses});
  const Matrix& x = GappedData(shape).x;
  return Fresh([&](NCProgress*) {
    NCPLSPred prediction(&x, pls.GetWprim(), pls.GetPprim(), pls.GetCprim(), kAnyRow);
    for (int a = 0; a < 2; ++a) prediction.CalcNextComponent();
    NCPCAPred scores(&x, pls.GetPprim(), kIterations, kAnyRow);
    scores.CalcNextResidual();
    return BytesOf(*prediction.GetYPred(), *prediction.GetXResiduals(), *scores.GetTPredPrim(),
                   *scores.GetXResiduals());
  });
}

Attempt BeginOrthogonalPrediction(const Shape& shape) {
  const XY& data = CompleteData(shape);
  const auto opls = std::make_shared<NCOPLS>(&data.x, &data.y, 1, kIterations);
  for (int n = 0; n < 2; ++n) opls->NextComponent(nullptr);
  const auto o2pls = std::make_shared<NCO2PLS>(data.x, data.y, true, kIterations);
  o2pls->Fit(1, 1, 1);
  return Fresh([opls, o2pls, &data](NCProgress*) {
    NCOPLSPred one(&data.x, opls.get());
    one.CalcNextComponent();
    const NCO2PLSYPred two(&data.x, o2pls.get(), 0);
    return BytesOf(*one.GetYPred(), *one.GetTOPred(), two.GetYPred(), two.GetTo());
  });
}

template <class Calculator>
Attempt BeginTree(const Shape& shape, const std::shared_ptr<Calculator>& calculator) {
  const Matrix& x = CompleteData(shape).x;
  return Fresh([calculator, &x](NCProgress* progress) {
    const DendroGramPointer tree(DendroGram::GetDendroGram(x, *calculator, progress, nullptr));
    Vector heights;
    NCIntegralVector<unsigned long, 0> first;
    NCIntegralVector<unsigned long, 0> second;
    NCIntegralVector<unsigned long, 0> made;
    DendroGram::CreateMergeData(*tree, heights, first, second, made, nullptr, nullptr);
    std::string bytes = BytesOf(heights);
    for (int p = 1; p <= first.Size(); ++p) bytes += std::to_string(first[p]) + ' ' + std::to_string(second[p]) + ' ';
    return bytes;
  });
}

Attempt BeginSingleLinkage(const Shape& shape) {
  return BeginTree(shape, std::make_shared<DendroGram::SingleLinkageDistanceCalculator>());
}

Attempt BeginWard(const Shape& shape) {
  using DendroGram::WardDistanceCalculator;
  return BeginTree(shape, std::make_shared<WardDistanceCalculator>(DendroGram::DistanceType::kErrorSumOfSquares));
}

/// A tenth of the pairs fit into memory.
Attempt BeginSingleLinkageOnDisk(const Shape& shape) {
  Attempt inMemory = BeginSingleLinkage(shape);
  const auto pairs = static_cast<std::uint64_t>(shape.rows) * static_cast<std::uint64_t>(shape.rows - 1) / 2;
  return {[run = inMemory.run, budget = pairs * 12 / 10](NCProgress* progress) {
            const struct Budget {
              explicit Budget(std::uint64_t bytes) { DendroGram::DistanceMemory::SetBudget(bytes); }
              ~Budget() { DendroGram::DistanceMemory::SetBudget(DendroGram::DistanceMemory::kUnlimited); }
            } limited(budget);
            run(progress);
          },
          inMemory.bytes};
}

Attempt BeginSvd(const Shape& shape) {
  const Matrix& x = CompleteData(shape).x;
  return Fresh([&x](NCProgress*) {
    const std::unique_ptr<NCSVD<float>> svd(x.GetSVD());
    return BytesOf(*svd->GetU(), *svd->GetW(), *svd->GetV());
  });
}

constexpr int kCancel = static_cast<int>(NCError::Level::kCancel);
constexpr int kGeneral = static_cast<int>(NCError::Level::kGeneral);
constexpr const char* kNoMemory = "Memory allocation error.";

}  // namespace

const XY& GappedData(const Shape& shape) {
  return DataOf(shape, 0.05);
}
const XY& CompleteData(const Shape& shape) {
  return DataOf(shape, 0.0);
}

const std::vector<Operation>& ModelOperations() {
  static const std::vector<Stop> ofPls = {{"PLS component aborted.", kGeneral}, {"PLS component aborted.", kCancel}};
  static const std::vector<Stop> ofClustering = {{"Cluster analysis aborted.", kGeneral}};
  static const std::vector<Operation> operations = {
      {.name = "Pca", .begin = BeginPca, .stops = {{"PC component aborted.", kGeneral}}, .makesProgress = true},
      {.name = "Pls", .begin = BeginPls, .stops = ofPls, .makesProgress = true},
      {.name = "PlsComponent", .begin = BeginPlsComponent, .keeps = true, .stops = ofPls, .makesProgress = true},
      {.name = "PlsResiduals", .begin = BeginPlsResiduals, .keeps = true},
      {.name = "Opls", .begin = BeginOpls, .stops = {{"OPLS component aborted.", kGeneral}}},
      {.name = "O2pls", .begin = BeginO2pls},
      {.name = "YOrthogonalPls",
       .begin = BeginYOrthogonalPls,
       .keeps = true,
       .stops = {{"Component aborted.", kGeneral},
                 {"PC component aborted.", kGeneral},
                 {"PLS component aborted.", kGeneral},
                 {"PLS component aborted.", kCancel}}},
      {.name = "Filling",
       .begin = BeginFilling,
       .isCostly = true,
       .stops = {{"Computations aborted.", kGeneral},
                 {"PLS component aborted.", kGeneral},
                 {"PLS component aborted.", kCancel}},
       .unheard = 3},
      {.name = "PcaValidation",
       .begin = BeginPcaValidation,
       .keeps = true,
       .stops = {{"PC component aborted.", kGeneral}},
       .makesProgress = true,
       .unheard = 1},
      {.name = "PlsValidation", .begin = BeginPlsValidation, .keeps = true},
      {.name = "PlsValidationTogether", .begin = BeginPlsValidationTogether},
      {.name = "OplsValidation",
       .begin = BeginOplsValidation,
       .stops = {{"OPLS cross validation aborted.", kGeneral}, {"OPLS component aborted.", kGeneral}}},
      {.name = "O2plsValidation",
       .begin = BeginO2plsValidation,
       .isCostly = true,
       .stops = {{"Computations aborted.", kGeneral}},
       .unheard = 1},
      {.name = "Prediction", .begin = BeginPrediction, .stops = {{"Prediction aborted.", kCancel}}},
      {.name = "ClassicPrediction", .begin = BeginClassicPrediction},
      {.name = "OrthogonalPrediction", .begin = BeginOrthogonalPrediction},
      {.name = "SingleLinkage",
       .begin = BeginSingleLinkage,
       .stops = ofClustering,
       .unheard = 1,
       .memoryError = kNoMemory},
      {.name = "SingleLinkageOnDisk",
       .begin = BeginSingleLinkageOnDisk,
       .isCostly = true,
       .stops = ofClustering,
       .unheard = 1},
      {.name = "Ward", .begin = BeginWard, .stops = ofClustering, .unheard = 1, .memoryError = kNoMemory},
      {.name = "Svd", .begin = BeginSvd},
  };
  return operations;
}

}  // namespace faults
