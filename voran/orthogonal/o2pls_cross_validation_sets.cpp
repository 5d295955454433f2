#include <cstddef>
#include <vector>

#include "voran/orthogonal/o2pls_cross_validation.h"
#include "voran/orthogonal/o2pls_cv_run.h"

// What is kept of the models of all groups, when their numbers of components are settled.

inline namespace voran {

using detail::CVData;
using detail::O2PLSRun;
using Groups = NCIntegralVector<int, -99>;
using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

namespace {

/// Where rows of `m` point away from those of `reference`.
std::vector<bool> Opposite(const Matrix& m, const Matrix& reference) {
  std::vector<bool> flips;
  for (int a = 1; a <= m.SizeRows(); ++a) flips.push_back(m[a] * reference[a] < 0.0);
  return flips;
}

bool Any(const std::vector<bool>& flips) {
  for (const bool flip : flips) {
    if (flip) return true;
  }
  return false;
}

/// Row a of a matrix of each group's model.
Matrix RowSet(const std::vector<CVData>& data, const Matrix& (NCO2PLS::*get)() const, int a) {
  Matrix set;
  for (const CVData& group : data) set.push_back((group.model.*get)()[a]);
  return set;
}

/// For each group the scores of all observations: predicted(group) of those that it leaves out, fitted(group) of the
/// others.
template <class Fitted, class Predicted>
Matrix ScoreSet(const std::vector<CVData>& data, const Groups& cvGroups, const Fitted& fitted,
                const Predicted& predicted) {
  Matrix set;
  for (std::size_t g = 0; g < data.size(); ++g) {
    const Vector ofModel = fitted(data[g]);
    const Vector leftOut = predicted(data[g]);
    Vector scores(cvGroups.Size());
    int fromModel = 0;
    int fromLeftOut = 0;
    for (int i = 1; i <= cvGroups.Size(); ++i) {
      const bool isLeftOut = cvGroups[i] == static_cast<int>(g);
      scores(i, isLeftOut ? leftOut[++fromLeftOut] : ofModel[++fromModel]);
    }
    set.push_back(scores);
  }
  return set;
}

/// Rows that stand group by group, in the order of the observations; one that is in no group is missing.
Matrix InObservationOrder(const Matrix& stacked, const Groups& cvGroups, int groups) {
  std::vector<int> from(static_cast<std::size_t>(cvGroups.Size()));
  int next = 0;
  for (int g = 0; g < groups; ++g) {
    for (int i = 1; i <= cvGroups.Size(); ++i) {
      if (cvGroups[i] == g) from[static_cast<std::size_t>(i - 1)] = ++next;
    }
  }
  Matrix ordered;
  for (const int row : from) ordered.push_back(row == 0 ? Vector(stacked.SizeColumns()) : stacked[row]);
  return ordered;
}

void CutTo(NCIntegralVector<int, -99>& v, int size) {
  if (v.Size() > size) v.RemoveValues(size + 1, v.Size() - size);
}

}  // namespace

/// Gives the components of all models the signs of the first one's, and each group the predictions that it lacks then.
void O2PLSCrossValidation::AlignSigns(O2PLSRun& run) const {
  const NCO2PLS& reference = run.data.front().model;
  run.ForEach([&](std::size_t g) {
    CVData& group = run.data[g];
    if (g > 0) {
      const auto x = Opposite(group.model.GetP(), reference.GetP());
      const auto y = Opposite(group.model.GetC(), reference.GetC());
      const auto xOrtho = Opposite(group.model.GetPo(), reference.GetPo());
      const auto yOrtho = Opposite(group.model.GetCo(), reference.GetCo());
      group.model.FlipPredictiveModel(x, y);
      group.model.FlipXSideModel(xOrtho);
      group.model.FlipYSideModel(yOrtho);
      if (Any(x) || Any(y) || Any(xOrtho) || Any(yOrtho)) group.yPred.reset();
    }
    if (!group.yPred) group.yPred.emplace(&group.testX, &group.model, 0);
    group.xPred.emplace(&group.testY, &group.model, 0);
  });
}

void O2PLSCrossValidation::CollectPredictive(const O2PLSRun& run) {
  const std::vector<CVData>& data = run.data;
  for (int a = 1; a <= PredComps; ++a) {
    TSets.push_back(ScoreSet(
        data, run.cvGroups, [a](const CVData& g) { return g.model.GetT()[a]; },
        [a](const CVData& g) { return g.yPred->GetT()[a]; }));
    USets.push_back(ScoreSet(
        data, run.cvGroups, [a](const CVData& g) { return g.model.GetU()[a]; },
        [a](const CVData& g) { return g.xPred->GetU()[a]; }));
    PSets.push_back(RowSet(data, &NCO2PLS::GetP, a));
    WSets.push_back(RowSet(data, &NCO2PLS::GetW, a));
    CSets.push_back(RowSet(data, &NCO2PLS::GetC, a));
    QSets.push_back(RowSet(data, &NCO2PLS::GetQ, a));

    std::vector<float> press(data.size());
    run.ForEach([&](std::size_t g) {
      if (data[g].testY.SizeRows() == 0) return;
      const Matrix errors = data[g].yPred->GetYPred(a) - data[g].testY;
      for (int m = 1; m <= errors.SizeColumns(); ++m) {
        press[g] = static_cast<float>(static_cast<double>(press[g]) + errors.GetColumnSS(m, 0.0));
      }
    });
    for (std::size_t g = 0; g < press.size(); ++g) GroupPress(a + 1, static_cast<int>(g) + 1, press[g]);
  }
  for (const CVData& group : data) {
    LambdaSets.push_back(group.model.GetLambda());
    XLambdaSets.push_back(group.model.GetXLambda());
  }
}

void O2PLSCrossValidation::CollectOrthogonal(const O2PLSRun& run) {
  const std::vector<CVData>& data = run.data;
  CutTo(XOrthoSignificance, XOrthoComps);
  for (int j = 1; j <= XOrthoComps; ++j) {
    ToSets.push_back(ScoreSet(
        data, run.cvGroups, [j](const CVData& g) { return g.model.GetTo()[j]; },
        [j](const CVData& g) { return g.yPred->GetTo()[j]; }));
    WoSets.push_back(RowSet(data, &NCO2PLS::GetWo, j));
    PoSets.push_back(RowSet(data, &NCO2PLS::GetPo, j));
    SSets.push_back(RowSet(data, &NCO2PLS::GetS, j));
  }
  CutTo(YOrthoSignificance, YOrthoComps);
  for (int j = 1; j <= YOrthoComps; ++j) {
    UoSets.push_back(ScoreSet(
        data, run.cvGroups, [j](const CVData& g) { return g.model.GetUo()[j]; },
        [j](const CVData& g) { return g.xPred->GetUo()[j]; }));
    CoSets.push_back(RowSet(data, &NCO2PLS::GetCo, j));
    QoSets.push_back(RowSet(data, &NCO2PLS::GetQo, j));
    RSets.push_back(RowSet(data, &NCO2PLS::GetR, j));
  }
}

/// Q2 and predictions by the number of orthogonal components of X, where the model is that of OPLS.
void O2PLSCrossValidation::CollectStart(const O2PLSRun& run) {
  if (PredComps != 1 || YOrthoComps != 0) {
    Q2Start = Vector();
    YPredSets.clear();
    return;
  }
  for (int j = 1; j <= XOrthoComps; ++j) Q2Start.push_back(Q2X[j]);
  YPredSets.resize(static_cast<std::size_t>(XOrthoComps) + 1);
  for (Matrix& set : YPredSets) set = InObservationOrder(set, run.cvGroups, static_cast<int>(run.data.size()));
}

/// Each model's data, less one component after the other: X by its own scores, Y by what those of X tell of it.
void O2PLSCrossValidation::CollectSumsOfSquares(const O2PLSRun& run) {
  run.ForEach([&](std::size_t g) {
    const NCO2PLS& m = run.data[g].model;
    const auto append = [](Vector& steps, const Matrix& rest) { steps.push_back(static_cast<float>(rest.GetSS())); };
    Matrix x = m.GetX();
    Matrix y = m.GetY();
    for (int j = 1; j <= m.SizeXSideOrthoComps(); ++j) {
      append(SSXSteps[g], x.AddVprimV(m.GetTo()[j], m.GetPo()[j], -1.0f));
      append(SSYSteps[g], y.AddVprimV(m.GetTo()[j], m.GetS()[j], -1.0f));
    }
    const Matrix h = m.GetLambda().MatrixMultiply(m.GetT(), true, false, false);
    for (int a = 1; a <= m.SizePredComps(); ++a) {
      append(SSXSteps[g], x.AddVprimV(m.GetT()[a], m.GetP()[a], -1.0f));
      y = m.GetY();
      for (int b = 1; b <= a; ++b) y.AddVprimV(h[b], m.GetQ()[b], -1.0f);
      for (int j = 1; j <= m.SizeXSideOrthoComps(); ++j) y.AddVprimV(m.GetTo()[j], m.GetS()[j], -1.0f);
      append(SSYSteps[g], y);
    }
  });
}

}  // namespace voran
