#include "voran/orthogonal/row_deflation.h"

#include <algorithm>
#include <cstddef>

#include "voran/containers/kernels/elementwise.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/parallel.h"
#include "voran/containers/writable_elements.h"

inline namespace voran {
namespace detail {

using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

namespace {

constexpr auto kFloor = NipalsPass<float>::Floor::kThirdOfAll;

/// Rows of one element per observation, to be written by several threads.
class ScoreRows {
 public:
  ScoreRows(std::size_t count, int observations) : rows_(count), observations_(observations) {
    bases_.reserve(count);
    for (Vector& row : rows_) {
      row = Vector(observations);
      bases_.push_back(row.GetWritableVector());
    }
  }

  void Set(std::size_t row, int position, float score) const { bases_[row][position] = score; }

  /// Counts what is missing.
  Matrix Take() {
    Matrix scores(0, observations_, kMissing<float>);
    scores.ReserveRows(static_cast<int>(rows_.size()));
    for (Vector& row : rows_) {
      row.SetNumMisVal(ElementwiseKernels<float>::Current().countMissing(row.begin(), row.Size()));
      scores.push_back(row);
    }
    return scores;
  }

 private:
  std::vector<Vector> rows_;
  std::vector<float*> bases_;
  int observations_;
};

std::vector<float*> FirstElements(Matrix& m) {
  std::vector<float*> rows;
  rows.reserve(static_cast<std::size_t>(m.SizeRows()));
  for (int i = 1; i <= m.SizeRows(); ++i) rows.push_back(WritableElements(m(i)));
  return rows;
}

}  // namespace

/// What a walk over the rows writes; null is nothing.
struct RowDeflation::Wanted {
  const ScoreRows* scores = nullptr;          ///< one row per component
  const Regression* onRest = nullptr;         ///< of what all components leave,
  const ScoreRows* scoresOnRest = nullptr;    ///< to the one row of this
  const std::vector<float*>* rest = nullptr;  ///< by row, with 0 for gaps

  bool NeedsRest() const { return onRest != nullptr || rest != nullptr; }
};

RowDeflation::RowDeflation(const Matrix& weights, const Matrix& subtracted)
    : subtracted_(subtracted), kernels_(NipalsKernels<float>::Current()) {
  regressions_.reserve(static_cast<std::size_t>(weights.SizeRows()));
  for (const Vector& w : weights) regressions_.emplace_back(w, kFloor);
}

Matrix RowDeflation::Scores(const Matrix& X) const {
  ScoreRows scores(regressions_.size(), X.SizeRows());
  Walk(X, {.scores = &scores});
  return scores.Take();
}

Matrix RowDeflation::ScoresAndRest(const Matrix& X, Matrix& rest) const {
  ScoreRows scores(regressions_.size(), X.SizeRows());
  const std::vector<float*> rows = FirstElements(rest);
  Walk(X, {.scores = &scores, .rest = &rows});
  return scores.Take();
}

Vector RowDeflation::ScoresOnRest(const Matrix& X, const Vector& weight) const {
  ScoreRows scores(1, X.SizeRows());
  const Regression onRest(weight, kFloor);
  Walk(X, {.onRest = &onRest, .scoresOnRest = &scores});
  return scores.Take()[1];
}

/// Each thread takes a contiguous run of rows and has cells for one row.
void RowDeflation::Walk(const Matrix& X, const Wanted& wanted) const {
  const int columns = X.SizeColumns();
  const int threads = ThreadsForMatrix(X.SizeRows(), columns, kIterationRound);
  std::vector<float> cells(static_cast<std::size_t>(threads) * static_cast<std::size_t>(columns));
  ParallelFor(threads, threads, [&](int share) {
    const auto end = [&](long shares) { return static_cast<int>(X.SizeRows() * shares / threads); };
    float* const ownCells = cells.data() + static_cast<std::size_t>(share) * static_cast<std::size_t>(columns);
    for (int i = end(share) + 1; i <= end(share + 1); ++i) WalkRow(X[i], i, ownCells, wanted);
  });
}

/// Copies the row only if something is subtracted from it, and where it is wanted.
void RowDeflation::WalkRow(const Vector& x, int position, float* cells, const Wanted& wanted) const {
  if (wanted.rest != nullptr) cells = (*wanted.rest)[static_cast<std::size_t>(position - 1)];
  const std::size_t subtractions = regressions_.size() - (wanted.NeedsRest() || regressions_.empty() ? 0 : 1);
  const float* row = x.begin();
  int gaps = x.GetNumMisVal();
  if (subtractions > 0 || wanted.rest != nullptr) {
    std::copy_n(row, x.Size(), cells);
    row = cells;
  }
  for (std::size_t a = 0; a < regressions_.size(); ++a) {
    const float score = Score(regressions_[a], row, gaps);
    if (wanted.scores != nullptr) wanted.scores->Set(a, position, score);
    if (a < subtractions) gaps = Subtract(static_cast<int>(a) + 1, score, gaps, cells);
  }
  if (wanted.onRest != nullptr) wanted.scoresOnRest->Set(0, position, Score(*wanted.onRest, row, gaps));
  if (wanted.rest != nullptr && gaps != 0) std::replace(cells, cells + x.Size(), kMissing<float>, 0.0f);
}

float RowDeflation::Score(const Regression& regression, const float* row, int gaps) const {
  double product = 0.0;
  double pairedSquares = 0.0;
  if (gaps != 0 || regression.pHasGaps) {
    kernels_.rowProductsWithGaps(&row, 1, regression.p, regression.pHasGaps, regression.n, {}, &product,
                                 &pairedSquares);
  } else {
    kernels_.rowProducts(&row, 1, regression.p, regression.n, {}, &product);
  }
  return static_cast<float>(regression.Slope(row, gaps != 0, product, pairedSquares));
}

/// Returns how many gaps the row has then.
int RowDeflation::Subtract(int component, float score, int gaps, float* row) const {
  const Vector& d = subtracted_[component];
  if (score == kMissing<float>) {
    std::fill_n(row, d.Size(), kMissing<float>);
    return d.Size();
  }
  if (d.GetNumMisVal() == 0) {
    kernels_.addScaled(row, -score, d.begin(), d.Size(), gaps != 0);
    return gaps;
  }
  for (int j = 0; j < d.Size(); ++j) {
    if (row[j] == kMissing<float>) continue;
    if (d[j + 1] == kMissing<float>) {
      row[j] = kMissing<float>;
      ++gaps;
    } else {
      const float product = d[j + 1] * -score;
      row[j] += product;
    }
  }
  return gaps;
}

}  // namespace detail
}  // namespace voran
