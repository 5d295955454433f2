#include <sstream>

#include "tests/same_bits/tables.h"
#include "tests/same_bits/works.h"
#include "voran/orthogonal/o2pls.h"
#include "voran/orthogonal/o2pls_component_estimator.h"
#include "voran/orthogonal/o2pls_cross_validation.h"
#include "voran/orthogonal/o2pls_prediction.h"
#include "voran/orthogonal/opls.h"
#include "voran/orthogonal/opls_cross_validation.h"
#include "voran/orthogonal/opls_prediction.h"
#include "voran/orthogonal/pls_missing_value_estimator.h"
#include "voran/orthogonal/y_orthogonal_pls.h"

namespace same_bits {
namespace {

constexpr int kIterations = 20;
constexpr int kGroups = 3;

void TakeOplsPrediction(Digest& digest, NCOPLS& opls, const Matrix& x) {
  NCOPLSPred prediction(&x, &opls);
  prediction.CalcNextComponent();
  digest(*prediction.GetYPred(), *prediction.GetTPred(), *prediction.GetTOPred(), prediction.GetXOrthoResiduals());
}

void Opls(Digest& digest, bool hasGaps) {
  const auto& [x, y] = LargeTable(hasGaps);
  NCOPLS opls(&x, &y, 2, kIterations);
  for (int stage = 0; stage < 2; ++stage) opls.NextComponent(nullptr);
  digest(*opls.GetTprim(), *opls.GetUprim(), *opls.GetWMatrices(), *opls.GetPMatrices(), *opls.GetCMatrices());
  digest(*opls.GetTOprim(), *opls.GetUOprim(), *opls.GetPOprim(), *opls.GetCOprim(), *opls.GetWOprim());
  digest(opls.GetXResiduals(), opls.GetYResiduals());
  TakeOplsPrediction(digest, opls, x);
}

void OplsCrossValidation(Digest& digest, bool hasGaps) {
  const auto& [x, y] = MiddleTable(hasGaps);
  OPLSCrossValidation cv(&x, &y, 1, kGroups, nullptr, nullptr);
  cv.NextComponent(nullptr);
  digest(cv.GetQ2Lim(), cv.GetQ2TotCum(), *cv.GetQ2YVarCum(), *cv.GetYPred(), cv.GetYPredResiduals(), *cv.GetSSYcv(),
         *cv.GetSSYcvOriginal(), *cv.GetTSets(), *cv.GetToSet());
  std::ostringstream stream;
  EXPECT_TRUE(cv.GetData()->WriteObject(stream));
  digest(stream.str());
}

void TakeO2pls(Digest& digest, const NCO2PLS& m) {
  digest(m.GetX(), m.GetY(), m.GetT(), m.GetU(), m.GetP(), m.GetW(), m.GetC(), m.GetQ());
  digest(m.GetTo(), m.GetWo(), m.GetPo(), m.GetUo(), m.GetCo(), m.GetQo());
  digest(m.GetR(), m.GetS(), m.GetLambda(), m.GetXLambda(), m.GetSSXOrig(), m.GetSSYOrig());
  digest(NCO2PLS::GetCoefficients(m.GetW(), m.GetP(), m.GetWo(), m.GetPo(), m.GetLambda(), m.GetS(), m.GetC()));
}

void O2pls(Digest& digest) {
  const auto& [x, y] = LargeTable(false);
  NCO2PLS model(x, y, true, kIterations);
  model.Fit(2, 1, 1);
  TakeO2pls(digest, model);
  const NCO2PLSYPred ofY(&x, &model, 0);
  const NCO2PLSXPred ofX(&y, &model, 0);
  digest(ofY.GetYPred(), ofY.GetT(), ofY.GetTo(), ofX.GetXPred(), ofX.GetU(), ofX.GetUo());
}

void TakeResults(Digest& digest, const O2PLSCVResults& r) {
  digest(r.Q2, r.Q2YVar, r.Q2X, r.Q2Y, r.PredComps, r.XOrthoComps, r.YOrthoComps);
  digest(r.TSets, r.USets, r.PSets, r.WSets, r.CSets, r.QSets, r.SSets, r.RSets, r.ToSets, r.PoSets, r.WoSets);
  digest(r.UoSets, r.CoSets, r.QoSets, r.LambdaSets, r.XLambdaSets);
  digest(r.PredSignificance, r.XOrthoSignificance, r.YOrthoSignificance, r.GroupPress, r.Q2Start);
  digest(r.YPredSets, r.SSYSteps, r.SSXSteps);
}

void O2plsCrossValidation(Digest& digest) {
  const auto& [x, y] = MiddleTable(false);
  TakeResults(digest, O2PLSCrossValidation(&x, &y, kGroups, nullptr, nullptr, kIterations, 1, 1, 1));
  const O2PLSPredictiveComponentEstimator estimator(&x, &y, kGroups, nullptr, -1);
  digest(estimator.GetNumberOfPredictiveComponents(), estimator.GetQ2(), estimator.GetQ2X(), estimator.GetQ2Y(),
         estimator.GetSignificance(), estimator.GetR2(), estimator.GetR2X(), estimator.GetR2Y());
}

void O2plsSearch(Digest& digest) {
  const auto& [x, y] = SmallTable(false);
  TakeResults(digest, O2PLSCrossValidation(&x, &y, kGroups, nullptr, nullptr, kIterations, -1, -1, -1));
}

void YOrthogonalPls(Digest& digest, bool hasGaps) {
  const auto& [x, y] = LargeTable(hasGaps);
  NCYOrthogonalPLS filter(&x, &y, 3, 2);
  filter.NextComponent(false);
  digest(*filter.GetPprim(), *filter.GetTprim(), *filter.GetWprim(), *filter.GetXResiduals(), filter.GetWStarPrim());
  const Vector observed = y.GetColumn(1);
  digest(filter.GetYAngle(&observed));
  digest.Written(filter);
  Matrix others = x;
  filter.CalculateResiduals(&others);
  digest(others);
}

void FillGaps(Digest& digest) {
  auto [x, y] = SmallTable(true);
  PLSMissingValueEstimator(x, y, true, nullptr);
  digest(x, y);
}

}  // namespace

std::vector<Work> OrthogonalWorks() {
  std::vector<Work> works = {{"o2pls", O2pls},
                             {"o2pls_cross_validation", O2plsCrossValidation},
                             {"o2pls_search", O2plsSearch},
                             {"missing_value_estimation", FillGaps}};
  AddBoth(works, "opls", Opls);
  AddBoth(works, "opls_cross_validation", OplsCrossValidation);
  AddBoth(works, "y_orthogonal_pls", YOrthogonalPls);
  return works;
}

}  // namespace same_bits
