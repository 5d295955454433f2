// Short lives of the models with orthogonal components, of made matrices: OPLS, O2PLS and Y-orthogonal PLS, their
// cross-validation and prediction, and the filling of gaps.

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <vector>

#include "fuzz/cancel.h"
#include "fuzz/expect.h"
#include "fuzz/made_matrix.h"
#include "fuzz/round_trip.h"
#include "voran/orthogonal/o2pls.h"
#include "voran/orthogonal/o2pls_component_estimator.h"
#include "voran/orthogonal/o2pls_cross_validation.h"
#include "voran/orthogonal/o2pls_prediction.h"
#include "voran/orthogonal/opls.h"
#include "voran/orthogonal/opls_cross_validation.h"
#include "voran/orthogonal/opls_prediction.h"
#include "voran/orthogonal/pls_missing_value_estimator.h"
#include "voran/orthogonal/y_orthogonal_pls.h"
#include "voran/platform/nc_error.h"

namespace {

using fuzz::Cells;
using fuzz::Expect;
using fuzz::Groups;
using fuzz::HasShape;
using fuzz::IsSame;
using fuzz::Matrix;
using fuzz::Vector;

constexpr int kMostOrthogonal = 3;

struct Data {
  explicit Data(FuzzedDataProvider& bytes)
      : surroundings(bytes),
        kind(fuzz::MakeCellKind(bytes)),
        iterations(bytes.ConsumeIntegralInRange<int>(0, 40)),
        x(fuzz::MakeMatrix(bytes, fuzz::MakeRows(bytes), fuzz::MakeColumns(bytes), kind)),
        y(fuzz::MakeMatrix(bytes, x.SizeRows(), bytes.ConsumeIntegralInRange<int>(0, 4), kind)) {}

  void Check() const {
    untouchedX.Check();
    untouchedY.Check();
  }

  fuzz::Surroundings surroundings;
  Cells kind;
  int iterations;
  Matrix x;
  Matrix y;
  fuzz::Untouched untouchedX{x};
  fuzz::Untouched untouchedY{y};
  NCProgress progress{"", 0.0f, 1.0f, false, false, true, ""};
};

// A score of weights that are all zero, where the blocks have nothing in common, is no number.
bool AreWeights(const Matrix& W) {
  return std::all_of(W.begin(), W.end(), [](const Vector& w) { return w.Size() > 0 && w.GetSS() > 0.5; });
}

// Where every weight of a row's cells is zero, its score is no number.
bool ReachEveryRow(const Matrix& W, const Matrix& x) {
  for (const Vector& w : W) {
    for (const Vector& row : x) {
      double squares = 0.0;
      bool isEmpty = true;
      for (int j = 1; j <= row.Size(); ++j) {
        if (row[j] == fuzz::kGap) continue;
        isEmpty = false;
        squares += static_cast<double>(w[j]) * static_cast<double>(w[j]);
      }
      if (!isEmpty && squares < 1e-20) return false;
    }
  }
  return true;
}

// `m` is made of components with the weights W, and holds numbers where the data are tame, unless told otherwise.
void ExpectSound(const Matrix& m, const Matrix& W, const Data& data, int rows, int columns, bool areNumbers = true) {
  Expect(HasShape(m, rows, columns), "a row for each component");
  if (!areNumbers || !fuzz::IsTame(data.kind) || !AreWeights(W)) return;
  Expect(fuzz::AreCountsRight(m), "missing values are counted right");
  Expect(fuzz::IsFinite(m), "what is made of tame data are numbers");
}

// OPLS.

void PredictOpls(FuzzedDataProvider& bytes, const Data& data, NCOPLS& model) {
  const Matrix rows = fuzz::MakeMatrix(bytes, fuzz::MakeRows(bytes), data.x.SizeColumns(), data.kind);
  const fuzz::Untouched input(rows);
  NCOPLSPred prediction(&rows, &model);
  NCOPLSPred twin = prediction;
  while (prediction.SizeOComps() < prediction.GetMaxComp()) {
    prediction.CalcNextComponent();
    twin.CalcNextComponent();
  }
  Expect(HasShape(*prediction.GetYPred(), rows.SizeRows(), data.y.SizeColumns()), "a prediction for each row");
  Expect(prediction.GetTPred()->SizeColumns() == rows.SizeRows(), "a score for each row");
  Expect(IsSame(*prediction.GetYPred(), *twin.GetYPred()), "a copy of a prediction goes on the same way");
  input.Check();
}

void ExpectSoundOpls(const NCOPLS& model, const Data& data) {
  const int components = model.SizeComponents();
  const int orthogonal = model.SizeOrthogonalComponents();
  ExpectSound(*model.GetTprim(), *model.GetWprim(), data, components, data.x.SizeRows());
  ExpectSound(*model.GetWprim(), *model.GetWprim(), data, components, data.x.SizeColumns());
  ExpectSound(*model.GetPprim(), *model.GetWprim(), data, components, data.x.SizeColumns());
  ExpectSound(*model.GetCprim(), *model.GetWprim(), data, components, data.y.SizeColumns());
  Expect(HasShape(*model.GetTOprim(), orthogonal, data.x.SizeRows()), "a score for each orthogonal component");
  Expect(model.GetWMatrices()->size() == static_cast<std::size_t>(orthogonal) + 1, "one stage more than these");
  Expect(HasShape(model.GetXResiduals(), data.x.SizeRows(), data.x.SizeColumns()), "residuals have the size of X");
  Expect(HasShape(model.GetYResiduals(), data.y.SizeRows(), data.y.SizeColumns()), "residuals have the size of Y");
}

void LiveOpls(FuzzedDataProvider& bytes, Data& data) {
  const int predictive = bytes.ConsumeIntegralInRange<int>(-1, std::min(data.y.SizeColumns(), data.y.SizeRows()));
  NCOPLS model(&data.x, &data.y, predictive, data.iterations);
  // Without a response there is no predictive part, and each call begins anew.
  const int most = data.y.SizeColumns() == 0 ? 1 : 1 + kMostOrthogonal;
  for (int left = bytes.ConsumeIntegralInRange<int>(1, most); left > 0; --left) {
    NCOPLS twin = model;
    model.NextComponent(bytes.ConsumeBool() ? &data.progress : nullptr);
    ExpectSoundOpls(model, data);
    if (bytes.ConsumeBool()) {
      const NCOPLS restored(&data.x, &data.y, model.GetWMatrices(), model.GetPMatrices(), model.GetCMatrices(),
                            model.GetWOprim(), model.GetPOprim(), model.GetCOprim(), predictive, data.iterations);
      Expect(IsSame(*restored.GetWprim(), *model.GetWprim()), "a restored model has the weights it is restored from");
      ExpectSoundOpls(restored, data);
    }
    if (!data.surroundings.WantsCancel()) {
      twin.NextComponent(nullptr);
      Expect(IsSame(*twin.GetTprim(), *model.GetTprim()), "a copy of a model goes on the same way");
    }
    if (bytes.ConsumeBool() && model.SizeComponents() > 0) {
      model.NegatePredictiveComp(bytes.ConsumeIntegralInRange<int>(1, model.SizeComponents()));
    }
    if (bytes.ConsumeBool() && model.SizeOrthogonalComponents() > 0) {
      model.NegateOComp(bytes.ConsumeIntegralInRange<int>(1, model.SizeOrthogonalComponents()));
    }
  }
  PredictOpls(bytes, data, model);
}

// Stores and reads the data on the way.
void CrossValidateOpls(FuzzedDataProvider& bytes, Data& data) {
  if (data.x.SizeRows() == 0) return;
  const int wanted = bytes.ConsumeIntegralInRange<int>(1, 8);
  Groups groups = fuzz::MakeGroups(bytes, data.x.SizeRows(), std::min(wanted, data.x.SizeRows()));
  Groups* const given = bytes.ConsumeBool() ? &groups : nullptr;
  const int predictive = bytes.ConsumeIntegralInRange<int>(-1, std::min(data.y.SizeColumns(), 2));
  OPLSCrossValidation cv(&data.x, &data.y, predictive, wanted, &data.progress, given);
  const int most = data.y.SizeColumns() == 0 ? 0 : kMostOrthogonal;
  for (int left = bytes.ConsumeIntegralInRange<int>(0, most); left > 0; --left) {
    std::stringstream stream;
    OPLSCrossvalidationData read;
    Expect(cv.GetData()->WriteObject(stream) && read.ReadObject(stream), "what a cross-validation needs can be stored");
    if (bytes.ConsumeBool()) cv = OPLSCrossValidation(&data.x, &data.y, &read, given);
    cv.NextComponent(bytes.ConsumeBool() ? &data.progress : nullptr);
  }
  Expect(HasShape(*cv.GetYPred(), data.y.SizeRows(), data.y.SizeColumns()), "a prediction for each row");
  Expect(cv.GetQ2YVarCum()->Size() == data.y.SizeColumns(), "a Q2 for each response");
  for (const Matrix& set : *cv.GetTSets()) Expect(HasShape(set, cv.SizeCVRounds(), data.x.SizeRows()), "a row a round");
}

// O2PLS.

void PredictO2pls(FuzzedDataProvider& bytes, const Data& data, const NCO2PLS& model) {
  const Matrix newX = fuzz::MakeMatrix(bytes, fuzz::MakeRows(bytes), data.x.SizeColumns(), data.kind);
  const Matrix newY = fuzz::MakeMatrix(bytes, fuzz::MakeRows(bytes), data.y.SizeColumns(), data.kind);
  NCO2PLSYPred ofY(&newX, &model, bytes.ConsumeIntegralInRange<int>(0, model.SizeXSideOrthoComps()));
  const NCO2PLSXPred ofX(&newY, &model, bytes.ConsumeIntegralInRange<int>(0, model.SizeYSideOrthoComps()));
  Expect(HasShape(ofY.GetYPred(), newX.SizeRows(), data.y.SizeColumns()), "a prediction of Y for each row");
  Expect(HasShape(ofX.GetXPred(), newY.SizeRows(), data.x.SizeColumns()), "a prediction of X for each row");
  ofY.GetYPred(bytes.ConsumeIntegralInRange<int>(0, model.SizePredComps()));
  ofY.RemoveObservations(Groups(1, bytes.ConsumeIntegralInRange<int>(1, fuzz::kMostRows)));
}

void FlipO2pls(FuzzedDataProvider& bytes, NCO2PLS& model) {
  const auto flips = [&bytes](int count) {
    std::vector<bool> made(static_cast<std::size_t>(count));
    for (auto&& flip : made) flip = bytes.ConsumeBool();
    return made;
  };
  model.FlipPredictiveModel(flips(model.SizePredComps()), flips(model.SizePredComps()));
  model.FlipXSideModel(flips(model.SizeXSideOrthoComps()));
  model.FlipYSideModel(flips(model.SizeYSideOrthoComps()));
}

void LiveO2pls(FuzzedDataProvider& bytes, Data& data) {
  if (data.x.SizeRows() == 0 || data.x.GetNumMisVal() != 0 || data.y.GetNumMisVal() != 0) return;
  NCO2PLS model(data.x, data.y, bytes.ConsumeBool(), data.iterations);
  const int predictive = bytes.ConsumeIntegralInRange<int>(0, 3);
  const int ofX = bytes.ConsumeIntegralInRange<int>(0, predictive > 0 ? kMostOrthogonal : 0);
  const int ofY = bytes.ConsumeIntegralInRange<int>(0, predictive > 0 ? kMostOrthogonal : 0);
  try {
    model.Fit(predictive, ofX, ofY);
  } catch (const NCError&) {
    model.UnFit();
    Expect(model.SizePredComps() == 0 && model.SizeXSideOrthoComps() == 0 && model.SizeYSideOrthoComps() == 0,
           "a model that is not fitted has no components");
    throw;
  }
  ExpectSound(model.GetT(), model.GetW(), data, predictive, data.x.SizeRows());
  ExpectSound(model.GetU(), model.GetC(), data, predictive, data.x.SizeRows());
  ExpectSound(model.GetTo(), model.GetWo(), data, ofX, data.x.SizeRows());
  ExpectSound(model.GetUo(), model.GetCo(), data, ofY, data.x.SizeRows());
  Expect(HasShape(model.GetLambda(), predictive, predictive), "the inner relation is square");
  NCO2PLS twin(data.x, data.y, false, data.iterations);
  twin.Fit(predictive, ofX, ofY);
  Expect(IsSame(twin.GetT(), model.GetT()) && IsSame(twin.GetQ(), model.GetQ()), "the same fit gives the same model");
  FlipO2pls(bytes, model);
  if (predictive > 0) {
    NCO2PLS::GetCoefficients(model.GetW(), model.GetP(), model.GetWo(), model.GetPo(), model.GetLambda(), model.GetS(),
                             model.GetC());
  }
  PredictO2pls(bytes, data, model);
}

void CrossValidateO2pls(FuzzedDataProvider& bytes, Data& data) {
  const int wanted = bytes.ConsumeIntegralInRange<int>(1, 7);
  Groups groups = fuzz::MakeGroups(bytes, data.x.SizeRows(), wanted);
  const bool isFree = bytes.ConsumeBool();
  const int predictive = isFree ? -1 : bytes.ConsumeIntegralInRange<int>(0, 2);
  const int orthogonal = isFree ? -1 : bytes.ConsumeIntegralInRange<int>(0, predictive > 0 ? 2 : 0);
  const O2PLSCrossValidation cv(&data.x, &data.y, wanted, bytes.ConsumeBool() ? &data.progress : nullptr,
                                bytes.ConsumeBool() ? &groups : nullptr, data.iterations, predictive, orthogonal,
                                orthogonal);
  Expect(cv.Q2.Size() == std::max(cv.PredComps, 0), "a Q2 for each predictive component");
  for (const Matrix& set : cv.TSets) Expect(set.SizeColumns() == data.x.SizeRows(), "a score for each row");
}

// Y-orthogonal PLS.

void LiveYOrthogonal(FuzzedDataProvider& bytes, Data& data) {
  NCYOrthogonalPLS model(&data.x, &data.y, data.iterations, bytes.ConsumeIntegralInRange<int>(0, 3));
  for (int left = bytes.ConsumeIntegralInRange<int>(1, kMostOrthogonal); left > 0; --left) {
    const NCYOrthogonalPLS before = model;
    try {
      model.NextComponent(bytes.ConsumeBool());
    } catch (const NCError&) {
      Expect(IsSame(*before.GetXResiduals(), *model.GetXResiduals()) && before.GetComponents() == model.GetComponents(),
             "a component that fails leaves the model as it was");
      throw;
    }
    const Matrix& W = *model.GetWprim();
    const bool areNumbers = ReachEveryRow(W, data.x);
    ExpectSound(*model.GetTprim(), W, data, model.GetComponents(), data.x.SizeRows(), areNumbers);
    ExpectSound(*model.GetPprim(), W, data, model.GetComponents(), data.x.SizeColumns(), areNumbers);
    if (bytes.ConsumeBool()) {
      NCYOrthogonalPLS read;
      Expect(fuzz::IsRead(fuzz::Written(model), read), "a model that was written is read");
      Expect(IsSame(*read.GetTprim(), *model.GetTprim()), "a model that was read is the one that was written");
      model = read;
    }
    if (bytes.ConsumeBool()) model.RemoveComponent();
    const Vector v = fuzz::MakeVector(bytes, data.x.SizeRows(), data.kind);
    model.GetYAngle(&v);
  }
  Expect(HasShape(model.GetWStarPrim(), model.GetComponents(), data.x.SizeColumns()), "W* has the shape of W");
  Matrix rows = fuzz::MakeMatrix(bytes, fuzz::MakeRows(bytes), data.x.SizeColumns(), data.kind);
  model.CalculateResiduals(&rows);
}

// Gaps.

bool KeepsWhatIsPresent(const Matrix& before, const Matrix& after) {
  for (int i = 1; i <= before.SizeRows(); ++i) {
    for (int j = 1; j <= before.SizeColumns(); ++j) {
      const float was = before[i][j];
      const float is = after[i][j];
      if (was != fuzz::kGap && std::bit_cast<std::uint32_t>(was) != std::bit_cast<std::uint32_t>(is)) return false;
    }
  }
  return true;
}

void FillGaps(FuzzedDataProvider& bytes, Data& data) {
  Matrix x = data.x;
  Matrix y = data.y;
  const bool areBoth = bytes.ConsumeBool();
  try {
    PLSMissingValueEstimator(x, y, areBoth, bytes.ConsumeBool() ? &data.progress : nullptr);
    if (fuzz::IsTame(data.kind)) Expect(x.GetNumMisVal() == 0, "no gap of X is left");
  } catch (const NCError&) {
  }
  Expect(KeepsWhatIsPresent(data.x, x) && KeepsWhatIsPresent(data.y, y), "what is present stays as it is");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider bytes(data, size);
  using Life = void (*)(FuzzedDataProvider&, Data&);
  constexpr Life kLives[] = {LiveOpls, CrossValidateOpls, LiveO2pls, CrossValidateO2pls, LiveYOrthogonal, FillGaps};
  const Life live = bytes.PickValueInArray(kLives);
  Data made(bytes);
  try {
    live(bytes, made);
  } catch (const NCError&) {
  }
  made.Check();
  return 0;
}
