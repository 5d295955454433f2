#include "voran/models/row_prediction.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "voran/containers/kernels/deflation.h"
#include "voran/containers/kernels/elementwise.h"
#include "voran/containers/kernels/nipals.h"
#include "voran/containers/kernels/reductions.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/nipals_pass.h"
#include "voran/containers/parallel.h"
#include "voran/containers/writable_elements.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/progress.h"

inline namespace voran {
namespace detail {

namespace {

using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;
using Pass = NipalsPass<float>;

constexpr int kMostInGroup = 32;

/// Rows that are worked on together: as many as fit into the nearest cache, and enough to share a loading.
int RowsInGroup(int columns) {
  constexpr int kNearestCache = 32768 / sizeof(float);
  constexpr int kLeastInGroup = 4;
  return std::clamp(kNearestCache / std::max(columns, 1), kLeastInGroup, kMostInGroup);
}

/// Rows between two looks at the progress object: a few hundredths of a second on one thread.
int RowsBetweenLooks(int columns, int components) {
  constexpr double kSteps = 5e7;
  return static_cast<int>(std::max(1.0, kSteps / ((columns + 1.0) * (components + 1.0))));
}

/// A group of rows without gaps.
struct CompleteRows {
  int count = 0;
  int positions[kMostInGroup];
  const float* rows[kMostInGroup];  // first elements
};

/// Positions of rows are 1-based, as in the matrices. Rows do not depend on one another, so that no division of them
/// shows in the numbers.
class RowPredictor {
 public:
  RowPredictor(const Matrix& X, const ComponentMatrices& model, float maxMissingFraction);

  /// Works on rows first..last; different threads on different rows. `cells` has ScratchSize() elements.
  void Predict(int first, int last, float* cells);
  std::size_t ScratchSize() const { return static_cast<std::size_t>(rowsInGroup_) * stride_; }
  /// To be called once, after all rows.
  RowPredictions TakeResult();

 private:
  struct Component {
    Pass::RowRegression onWeights;
    const Vector& p;
    int gapsAllowed;
    Vector scores;
    float* t;  // the base of the scores
  };

  void PredictComplete(const CompleteRows& group, RowsAhead<float> ahead, float* cells);
  void PredictWithGaps(int position, float* cells);
  /// Notes the score and returns it.
  float Score(std::size_t a, int position, const float* row, int gaps, double product, double pairedSquares);
  /// Takes a component out of a row with gaps, and returns how many it has then.
  int Deflate(const Component& component, float score, int gaps, float* row) const;
  void PredictResponses(int position);
  bool IsRefused(int position) const {
    return !components_.empty() && components_.back().t[position] == kMissing<float>;
  }
  void MarkUnknownResponses();

  const Matrix& X_;
  const Matrix& C_;
  const NipalsKernels<float>& nipals_;
  const DeflationKernels<float>& deflation_;
  const ReductionKernels<float>& reductions_;
  int columns_;
  int rowsInGroup_;
  std::size_t stride_;
  bool modelIsComplete_;
  std::vector<Component> components_;
  Matrix Y_;
  NCDataVector<double> residualSS_;
  double* residuals_;  // the base of residualSS_
};

RowPredictor::RowPredictor(const Matrix& X, const ComponentMatrices& model, float maxMissingFraction)
    : X_(X),
      C_(model.Cprim),
      nipals_(NipalsKernels<float>::Current()),
      deflation_(DeflationKernels<float>::Current()),
      reductions_(ReductionKernels<float>::Current()),
      columns_(X.SizeColumns()),
      rowsInGroup_(RowsInGroup(columns_)),
      stride_((static_cast<std::size_t>(columns_) / kDeflationPadding + 1) * kDeflationPadding),
      modelIsComplete_(model.Wprim.GetNumMisVal() == 0 && model.Pprim.GetNumMisVal() == 0),
      Y_(X.SizeRows(), C_.SizeColumns(), 0.0f),
      residualSS_(X.SizeRows()),
      residuals_(residualSS_.GetWritableVector()) {
  const int components = model.Pprim.SizeRows();
  components_.reserve(static_cast<std::size_t>(components));
  for (int a = 1; a <= components; ++a) {
    components_.push_back({Pass::RowRegression(model.Wprim[a], Pass::Floor::kThirdOfAll), model.Pprim[a],
                           GapsAllowed(columns_, a - 1, maxMissingFraction), Vector(X.SizeRows()), nullptr});
    components_.back().t = components_.back().scores.GetWritableVector();
  }
}

void RowPredictor::Predict(int first, int last, float* cells) {
  for (int from = first; from <= last; from += rowsInGroup_) {
    const int to = std::min(last, from + rowsInGroup_ - 1);
    CompleteRows group;
    for (int i = from; i <= to; ++i) {
      if (!modelIsComplete_ || X_[i].GetNumMisVal() != 0) {
        PredictWithGaps(i, cells);
      } else {
        group.positions[group.count] = i;
        group.rows[group.count++] = X_[i].begin();
      }
    }
    const float* next[kMostInGroup];
    const int numNext = std::min(last - to, rowsInGroup_);
    for (int r = 0; r < numNext; ++r) next[r] = X_[to + 1 + r].begin();
    if (group.count > 0) PredictComplete(group, {next, numNext}, cells);
    for (int i = from; i <= to; ++i) PredictResponses(i);
  }
}

void RowPredictor::PredictComplete(const CompleteRows& group, RowsAhead<float> ahead, float* cells) {
  double sums[kMostInGroup];  // with the weights of the component that comes next, or of squares at the end
  float factors[kMostInGroup];
  float* deflated[kMostInGroup];
  const float* current[kMostInGroup];
  for (int r = 0; r < group.count; ++r) {
    deflated[r] = cells + static_cast<std::size_t>(r) * stride_;
    current[r] = group.rows[r];
    if (components_.empty()) sums[r] = reductions_.sumOfSquares(current[r], columns_, false);
  }
  if (!components_.empty()) {
    nipals_.rowProducts(current, group.count, components_[0].onWeights.p, columns_, ahead, sums);
  }
  for (std::size_t a = 0; a < components_.size(); ++a) {
    for (int r = 0; r < group.count; ++r) {
      factors[r] = -Score(a, group.positions[r], current[r], 0, sums[r], 0.0);
    }
    const float* const next = a + 1 < components_.size() ? components_[a + 1].onWeights.p : nullptr;
    deflation_.deflateRows(current, factors, group.count, components_[a].p.begin(), next, columns_, deflated, sums);
    std::copy_n(deflated, group.count, current);
  }
  for (int r = 0; r < group.count; ++r) {
    const int position = group.positions[r];
    residuals_[position] = IsRefused(position) ? kMissing<double> : sums[r];
  }
}

void RowPredictor::PredictWithGaps(int position, float* cells) {
  float* const row = cells;
  std::copy_n(X_[position].begin(), columns_, row);
  int gaps = X_[position].GetNumMisVal();
  for (std::size_t a = 0; a < components_.size(); ++a) {
    const Component& component = components_[a];
    double product = 0.0;
    double pairedSquares = 0.0;
    if (gaps <= component.gapsAllowed) {
      const float* const rows[] = {row};
      const Pass::RowRegression& on = component.onWeights;
      if (gaps != 0 || on.pHasGaps) {
        nipals_.rowProductsWithGaps(rows, 1, on.p, on.pHasGaps, columns_, {}, &product, &pairedSquares);
      } else {
        nipals_.rowProducts(rows, 1, on.p, columns_, {}, &product);
      }
    }
    const float score = Score(a, position, row, gaps, product, pairedSquares);
    if (score != kMissing<float>) gaps = Deflate(component, score, gaps, row);
  }
  const bool isEmpty = IsRefused(position) || (columns_ > 0 && gaps == columns_);
  residuals_[position] = isEmpty ? kMissing<double> : reductions_.sumOfSquares(row, columns_, gaps != 0);
}

/// Without a score the row counts as missing, so that it gets none from any later component.
float RowPredictor::Score(std::size_t a, int position, const float* row, int gaps, double product,
                          double pairedSquares) {
  const Component& component = components_[a];
  const bool isLost = a > 0 && components_[a - 1].t[position] == kMissing<float>;
  float score = kMissing<float>;
  if (!isLost && gaps <= component.gapsAllowed) {
    score = static_cast<float>(component.onWeights.Slope(row, gaps != 0, product, pairedSquares));
  }
  component.t[position] = score;
  return score;
}

int RowPredictor::Deflate(const Component& component, float score, int gaps, float* row) const {
  const float* const p = component.p.begin();
  if (component.p.GetNumMisVal() == 0) {
    nipals_.addScaled(row, -score, p, columns_, gaps != 0);
    return gaps;
  }
  for (int j = 0; j < columns_; ++j) {
    if (row[j] == kMissing<float>) continue;
    if (p[j] == kMissing<float>) {
      row[j] = kMissing<float>;
      ++gaps;
    } else {
      row[j] -= p[j] * score;
    }
  }
  return gaps;
}

/// Of a row without a score, and with a Y weight that is missing, this writes what MarkUnknownResponses() replaces.
void RowPredictor::PredictResponses(int position) {
  const int responses = C_.SizeColumns();
  if (responses == 0) return;
  float* const y = WritableElements(Y_(position));
  for (std::size_t a = 0; a < components_.size(); ++a) {
    const float score = components_[a].t[position];
    const float* const c = C_[static_cast<int>(a) + 1].begin();
    for (int m = 0; m < responses; ++m) y[m] += score * c[m];
  }
}

void RowPredictor::MarkUnknownResponses() {
  const bool anyRefused = !components_.empty() && components_.back().scores.GetNumMisVal() != 0;
  for (int i = 1; anyRefused && i <= Y_.SizeRows(); ++i) {
    if (IsRefused(i)) Y_.SetRow(i, kMissing<float>);
  }
  for (int m = 1; C_.GetNumMisVal() != 0 && m <= C_.SizeColumns(); ++m) {
    if (C_.GetColumnMisVal(m) == 0) continue;
    for (int i = 1; i <= Y_.SizeRows(); ++i) Y_(i, m, kMissing<float>);
  }
}

RowPredictions RowPredictor::TakeResult() {
  Matrix TPrim(0, X_.SizeRows(), kMissing<float>);
  TPrim.ReserveRows(static_cast<int>(components_.size()));
  for (Component& component : components_) {
    const Vector& scores = component.scores;
    component.scores.SetNumMisVal(ElementwiseKernels<float>::Current().countMissing(scores.begin(), scores.Size()));
    TPrim.push_back(scores);
  }
  MarkUnknownResponses();
  residualSS_.SetNumMisVal(ElementwiseKernels<double>::Current().countMissing(residualSS_.begin(), residualSS_.Size()));
  return {TPrim, Y_, residualSS_};
}

void ShowProgress(NCProgress* progress, double fraction) {
  if (progress != nullptr && !progress->SetValue(static_cast<float>(fraction))) {
    throw NCError(ExceptionMessage::translate("Prediction aborted."), NCError::Level::kCancel);
  }
}

}  // namespace

RowPredictions PredictRows(const Matrix& X, const ComponentMatrices& model, float maxMissingFraction,
                           NCProgress* progress) {
  RowPredictor predictor(X, model, maxMissingFraction);
  const int rows = X.SizeRows();
  const int components = model.Pprim.SizeRows();
  const int together = RowsBetweenLooks(X.SizeColumns(), components);
  const int threads = ThreadsForMatrix(std::min(rows, together), X.SizeColumns(), components);
  std::vector<float> cells(static_cast<std::size_t>(threads) * predictor.ScratchSize());
  if (progress != nullptr) progress->SetRange(0.0f, 1.0f);
  for (int done = 0; done < rows; done += together) {
    ShowProgress(progress, static_cast<double>(done) / rows);
    const long count = std::min(together, rows - done);
    ParallelFor(threads, threads, [&](int share) {
      const auto end = [&](long shares) { return done + static_cast<int>(count * shares / threads); };
      predictor.Predict(end(share) + 1, end(share + 1),
                        cells.data() + static_cast<std::size_t>(share) * predictor.ScratchSize());
    });
  }
  ShowProgress(progress, 1.0);
  return predictor.TakeResult();
}

}  // namespace detail
}  // namespace voran
