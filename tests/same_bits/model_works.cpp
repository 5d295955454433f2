#include "tests/same_bits/tables.h"
#include "tests/same_bits/works.h"
#include "voran/models/component_validator.h"
#include "voran/models/pca.h"
#include "voran/models/pca_cross_validation.h"
#include "voran/models/pca_prediction.h"
#include "voran/models/pls.h"
#include "voran/models/pls_cross_validation.h"
#include "voran/models/pls_prediction.h"
#include "voran/models/row_prediction.h"
#include "voran/models/significance.h"

namespace same_bits {
namespace {

constexpr int kIterations = 100;
constexpr int kComponents = 2;
constexpr int kGroups = 3;
constexpr float kAnyRow = 1.0f;

Vector SquaresOf(const Matrix& m) {
  Vector squares(m.SizeColumns());
  for (int j = 1; j <= m.SizeColumns(); ++j) squares(j, static_cast<float>(m.GetColumnSS(j, 0.0)));
  return squares;
}

void TakePcaPrediction(Digest& digest, const NCPCA& pca, const Matrix& x) {
  NCPCAPred prediction(&x, pca.GetPprim(), kIterations, 0.5f);
  digest(*prediction.GetTPredPrim());
  for (int a = 0; a < kComponents; ++a) prediction.CalcNextResidual();
  digest(*prediction.GetXResiduals());
}

void Pca(Digest& digest, bool hasGaps) {
  const Matrix& x = LargeTable(hasGaps).x;
  NCPCA pca(&x, kIterations);
  PCA_SS_ComponentValidator validator(&pca, 0.01f);
  PCACrossValidation cv(&pca, 2, nullptr, nullptr);
  for (int a = 1; a <= kComponents; ++a) {
    digest(validator.IsValid());
    pca.NextComponent(nullptr, nullptr, 0, nullptr);
    cv.NextComponent(SquaresOf(x), nullptr);
    pca.CalculateResiduals();
    digest(pca.GetIterations(), *pca.GetPprim(), *pca.GetTprim(), *pca.GetResiduals());
    digest(cv.GetQ2Tot(), cv.GetQ2TotCum(), cv.GetQ2Lim(a, true), *cv.GetQ2XVar(), *cv.GetQ2XVarCum());
    digest(*cv.GetPSet(), *cv.GetTSet(), *cv.GetXPredResiduals());
  }
  digest.Written(pca);
  TakePcaPrediction(digest, pca, x.GetRowSubMatrix(1, 130));
}

void TakePls(Digest& digest, const NCPLS& pls) {
  digest(pls.GetIterations(), *pls.GetCprim(), *pls.GetPprim(), *pls.GetWprim(), *pls.GetUprim(), *pls.GetTprim(),
         *pls.GetXResiduals(), *pls.GetYResiduals());
}

void TakeCrossValidation(Digest& digest, const PLSCrossValidation& cv) {
  digest(cv.GetQ2Tot(), cv.GetQ2TotCum(), cv.GetQ2Lim(), *cv.GetQ2YVar(), *cv.GetQ2YVarCum(), *cv.GetSSY(),
         *cv.GetSSYOriginal());
  digest(*cv.GetTPred(), *cv.GetTSet(), *cv.GetWSet(), *cv.GetCSet(), *cv.GetPSet(), *cv.GetYPredResiduals());
}

void TakePlsPrediction(Digest& digest, const NCPLS& pls, const Matrix& x) {
  NCPLSPred prediction(&x, pls.GetWprim(), pls.GetPprim(), pls.GetCprim(), kAnyRow);
  const detail::ComponentMatrices model{*pls.GetWprim(), *pls.GetPprim(), *pls.GetCprim()};
  Matrix many = x;
  for (int i = 0; i < 3; ++i) many.ConcatRows(x);  // enough for several threads
  const detail::RowPredictions together = detail::PredictRows(many, model, kAnyRow, nullptr);
  digest(together.TPrim, together.Y, together.residualSS);
  for (int a = 0; a < kComponents; ++a) {
    prediction.CalcNextComponent();
    digest(*prediction.GetTPred(), *prediction.GetYPred(), *prediction.GetXResiduals());
  }
}

void Pls(Digest& digest, const Matrix& x, const Matrix& y) {
  NCPLS pls(&x, &y, kIterations);
  PLSCrossValidation cv(&pls, kGroups, nullptr);
  for (int a = 1; a <= kComponents; ++a) {
    pls.NextComponent(nullptr, nullptr, true, false);
    cv.NextComponent(&pls.GetWprim()->back(), kIterations, SquaresOf(y), nullptr, true);
    pls.CalculateResiduals();
    TakePls(digest, pls);
    TakeCrossValidation(digest, cv);
    digest(PLSCrossValidation::GetSignificance(x.SizeRows(), x.SizeColumns(), y.SizeColumns(), a, 0.5f, *cv.GetQ2YVar(),
                                               cv.GetQ2Tot(), *cv.GetQ2YVar(), cv.GetQ2Lim()));
  }
  digest(pls.GetWStarPrim(), pls.GetRegressionCoefficients(-1));
  digest.Written(pls);
  TakePlsPrediction(digest, pls, x);
}

}  // namespace

std::vector<Work> ModelWorks() {
  std::vector<Work> works;
  AddBoth(works, "pca", Pca);
  AddBoth(works, "pls",
          [](Digest& digest, bool hasGaps) { Pls(digest, LargeTable(hasGaps).x, LargeTable(hasGaps).y); });
  AddBoth(works, "pls_of_one_response", [](Digest& digest, bool hasGaps) {
    Matrix y = LargeTable(hasGaps).y;
    y.RemoveColumns(2, y.SizeColumns() - 1);
    Pls(digest, LargeTable(hasGaps).x, y);
  });
  return works;
}

}  // namespace same_bits
