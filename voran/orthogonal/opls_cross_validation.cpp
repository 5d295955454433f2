#include "voran/orthogonal/opls_cross_validation.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "voran/containers/missing_value.h"
#include "voran/containers/parallel.h"
#include "voran/models/cv_groups.h"
#include "voran/models/cv_split.h"
#include "voran/models/q2.h"
#include "voran/orthogonal/opls.h"
#include "voran/orthogonal/opls_prediction.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/progress.h"

inline namespace voran {

using detail::CvSplit;
using detail::kMissing;
using Groups = NCIntegralVector<int, -99>;
using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

namespace {

constexpr int kMaxIterations = 200;

/// To be called with what a progress object answers.
void GoOnOnlyIf(bool isWanted) {
  if (isWanted) return;
  throw NCError(ExceptionMessage::translate("OPLS cross validation aborted."), NCError::Level::kGeneral);
}

/// The number of predictive components of the first round's model.
int StoredPredictiveComponents(const OPLSCrossvalidationData& data) {
  return data.WSets.empty() || data.WSets.front().empty() ? 0 : data.WSets.front().front().SizeRows();
}

}  // namespace

// Construction.

/// All results missing.
OPLSCrossValidation::OPLSCrossValidation(const Matrix& X, const Matrix& Y, OPLSCrossvalidationData data,
                                         int predictiveComps, const Groups* cvGroups)
    : X_(X),
      Y_(Y),
      Data_(std::move(data)),
      Rounds_(static_cast<std::int32_t>(Data_.WSets.size())),
      YPred_(Y.SizeRows(), Y.SizeColumns(), kMissing<float>),
      PredictiveComps_(predictiveComps),
      SSYcv_(Rounds_),
      TSets_(static_cast<std::size_t>(std::max(predictiveComps, 0)), NoScores()),
      ToSet_(NoScores()),
      Q2TotCum_(kMissing<float>),
      Q2YVarCum_(Y.SizeColumns()),
      CVGroups_(cvGroups != nullptr ? *cvGroups : GetDeafultCVGroupsVector(X.SizeRows(), Rounds_)) {}

OPLSCrossValidation::OPLSCrossValidation(const Matrix* X, const Matrix* Y, const OPLSCrossvalidationData* data,
                                         Groups* cvGroups)
    : OPLSCrossValidation(*X, *Y, *data, StoredPredictiveComponents(*data), cvGroups) {}

OPLSCrossValidation::OPLSCrossValidation(const Matrix* X, const Matrix* Y, int predictiveComps, int groups,
                                         NCProgress* progress, Groups* cvGroups)
    : OPLSCrossValidation(*X, *Y, OPLSCrossvalidationData(std::min(X->SizeRows(), groups), *Y), predictiveComps,
                          cvGroups) {
  SSYcvOriginal_ = Vector(Rounds_);
  RunRounds(progress, [&](int round, const CvSplit& split) {
    NCOPLS model(&split.xTrain, &split.yTrain, PredictiveComps_, kMaxIterations);
    model.NextComponent(progress);
    SSYcvOriginal_(round + 1, static_cast<float>(split.yTrain.GetSS()));
    TSets_.resize(static_cast<std::size_t>(model.SizeComponents()), NoScores());
    return model;
  });
}

/// The scores of no round yet.
Matrix OPLSCrossValidation::NoScores() const {
  return Matrix(Rounds_, X_.SizeRows(), kMissing<float>);
}

// The rounds.

void OPLSCrossValidation::NextComponent(NCProgress* progress) {
  RunRounds(progress, [this](int round, const CvSplit& split) {
    const auto r = static_cast<std::size_t>(round);
    NCOPLS model(&split.xTrain, &split.yTrain, &Data_.WSets[r], &Data_.PSets[r], &Data_.CSets[r], &Data_.WOSets[r],
                 &Data_.POSets[r], &Data_.COSets[r], PredictiveComps_, kMaxIterations);
    model.NextComponent(nullptr);
    return model;
  });
}

/// `makeModel` fits the model of a round to the rows that stay.
template <class MakeModel>
void OPLSCrossValidation::RunRounds(NCProgress* progress, const MakeModel& makeModel) {
  const detail::StaySingleIfSmall team(X_.SizeRows(), X_.SizeColumns());
  if (progress != nullptr) progress->SetRange(0.0f, static_cast<float>(Rounds_));
  for (int round = 0; round < Rounds_; ++round) {
    if (progress != nullptr) {
      GoOnOnlyIf(progress->PushSubRange(static_cast<float>(round), static_cast<float>(round + 0.95)));
    }
    const CvSplit split(X_, Y_, CVGroups_, round);
    NCOPLS model = makeModel(round, split);
    if (progress != nullptr) GoOnOnlyIf(progress->PopSubRange());
    SaveModelMatrices(model, round);
    SaveGroupResults(model, split, round);
  }
  CalculateQ2();
  if (progress != nullptr) GoOnOnlyIf(progress->SetValue(static_cast<float>(Rounds_)));
}

/// Turns the components to the signs of the first round's, which was saved before in the same step. Of the orthogonal
/// components only the newest can differ.
void OPLSCrossValidation::SaveModelMatrices(NCOPLS& model, int round) {
  const auto r = static_cast<std::size_t>(round);
  if (round > 0) {
    const Matrix& reference = Data_.WSets[0].back();
    for (int j = 1; j <= std::min(model.SizeComponents(), reference.SizeRows()); ++j) {
      if ((*model.GetWprim())[j] * reference[j] < 0.0) model.NegatePredictiveComp(j);
    }
  }
  Data_.WSets[r] = *model.GetWMatrices();
  Data_.PSets[r] = *model.GetPMatrices();
  Data_.CSets[r] = *model.GetCMatrices();
  const int newest = model.SizeOrthogonalComponents();
  if (newest == 0) return;
  if (round > 0 && (*model.GetWOprim())[newest] * Data_.WOSets[0][newest] < 0.0) model.NegateOComp(newest);
  Data_.WOSets[r] = *model.GetWOprim();
  Data_.POSets[r] = *model.GetPOprim();
  Data_.COSets[r] = *model.GetCOprim();
}

void OPLSCrossValidation::SaveGroupResults(NCOPLS& model, const CvSplit& split, int round) {
  NCOPLSPred prediction(&split.xTest, &model);
  while (prediction.SizeOComps() < prediction.GetMaxComp()) prediction.CalcNextComponent();
  SSYcv_(round + 1, static_cast<float>(model.GetYResiduals().GetSS()));
  const auto components = static_cast<std::size_t>(model.SizeComponents());
  if (TSets_.size() < components) TSets_.resize(components, NoScores());

  const auto save = [round](const std::vector<int>& rows, const Vector& scores, Matrix& set) {
    for (std::size_t k = 0; k < rows.size(); ++k) set(round + 1, rows[k], scores[static_cast<int>(k) + 1]);
  };
  for (std::size_t a = 0; a < components; ++a) {
    save(split.train, (*model.GetTprim())[static_cast<int>(a) + 1], TSets_[a]);
    save(split.test, (*prediction.GetTPred())[static_cast<int>(a) + 1], TSets_[a]);
  }
  if (model.SizeOrthogonalComponents() > 0) {
    save(split.train, model.GetTOprim()->back(), ToSet_);
    save(split.test, prediction.GetTOPred()->back(), ToSet_);
  }
  for (std::size_t k = 0; k < split.test.size(); ++k) {
    YPred_.SetRow(split.test[k], (*prediction.GetYPred())[static_cast<int>(k) + 1]);
  }
}

// Q2.

void OPLSCrossValidation::CalculateQ2() {
  const Matrix residuals = GetYPredResiduals();
  double press = 0.0;
  double ss = 0.0;
  for (int m = 1; m <= residuals.SizeColumns(); ++m) {
    const double columnPress = residuals.GetColumnSS(m, 0.0);
    const auto columnSS = static_cast<double>(Data_.SSYColumnSS[m]);
    if (columnPress != detail::kNoValue) press += columnPress;
    if (columnSS != detail::kNoValue) ss += columnSS;
    // Deliberately the sum over the responses so far.
    const bool isExact = press < detail::kNoSumOfSquares;
    Q2YVarCum_(m, isExact ? 1.0f : detail::Q2::OfComponent(columnSS, columnPress));
  }
  Q2TotCum_ = ss < detail::kNoSumOfSquares ? 1.0f : detail::Q2::OfComponent(ss, press);
}

float OPLSCrossValidation::GetQ2Lim() const {
  constexpr int kManyObservations = 100;
  return X_.SizeRows() > kManyObservations ? 0.0f : 0.05f;
}

}  // namespace voran
