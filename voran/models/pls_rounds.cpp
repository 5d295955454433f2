#include "voran/models/pls_rounds.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <utility>

#include "voran/containers/kernels/nipals.h"
#include "voran/containers/kernels/reductions.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/parallel.h"
#include "voran/containers/row_gaps.h"
#include "voran/containers/writable_elements.h"
#include "voran/models/row_groups.h"

inline namespace voran {
namespace detail {

namespace {

using Matrix = NCDataMatrix<float>;

constexpr int kMostResponses = 8;
/// Calls work(block, first, count, ahead) for the groups of rows of every block, from 0, in parallel over the blocks.
template <class Work>
void ForGroups(const Matrix& X, const std::vector<const float*>& rows, const Work& work) {
  const RowBlocks blocks(X.SizeRows(), X.SizeColumns());
  ParallelFor(blocks.count, ThreadsForMatrix(X.SizeRows(), X.SizeColumns(), kIterationRound), [&](int block) {
    const int first = block * blocks.rowsPerBlock;
    const int end = std::min(first + blocks.rowsPerBlock, X.SizeRows());
    ForRowGroups(rows, X.SizeColumns(), first, end, [&](int i, int count, RowsAhead<float> ahead) {
      work(static_cast<std::size_t>(block), i, count, ahead);
    });
  });
}

std::vector<std::vector<float>> ColumnsOf(const Matrix& Y) {
  std::vector<std::vector<float>> columns(static_cast<std::size_t>(Y.SizeColumns()));
  for (auto& column : columns) column.reserve(static_cast<std::size_t>(Y.SizeRows()));
  for (const NCDataVector<float>& row : Y) {
    for (std::size_t m = 0; m < columns.size(); ++m) columns[m].push_back(row.begin()[m]);
  }
  return columns;
}

double Dot(const std::vector<double>& a, const std::vector<double>& b) {
  return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
}
/// Of products that are rounded to float.
double Dot(const std::vector<float>& a, const std::vector<float>& b) {
  return std::inner_product(a.begin(), a.end(), b.begin(), 0.0, std::plus<>(),
                            [](float x, float y) { return static_cast<double>(x * y); });
}

/// Whether something may be divided by this sum of squares.
bool IsDivisor(double squares) {
  return std::isnormal(squares) && squares > kTinySumOfSquares;
}

}  // namespace

PlsRounds::Vector PlsRounds::Square::Times(const Vector& v) const {
  Vector result(size_);
  for (std::size_t i = 0; i < size_; ++i) {
    for (std::size_t j = 0; j < size_; ++j) result[i] += (*this)(i, j) * v[j];
  }
  return result;
}

double PlsRounds::Square::Form(const Vector& v) const {
  return Dot(v, Times(v));
}

void PlsRounds::Square::Add(const Square& other) {
  std::transform(elements_.begin(), elements_.end(), other.elements_.begin(), elements_.begin(), std::plus<>());
}

bool PlsRounds::IsWorthwhile(const Matrix& X, const Matrix& Y, int iterationLimit) {
  constexpr int kScratchShare = 4;  // of the rows of X, in rows of doubles for each response and block
  const int responses = Y.SizeColumns();
  const bool isComplete = IsComplete(X) && IsComplete(Y);
  if (!isComplete || responses < 2 || responses > kMostResponses || iterationLimit <= responses) return false;
  return RowBlocks(X.SizeRows(), X.SizeColumns()).count * responses * kScratchShare <= X.SizeRows();
}

PlsRounds::PlsRounds(const Matrix& X, const Matrix& Y, Vector shares)
    : responses_(shares.size()),
      S_(responses_, Vector(static_cast<std::size_t>(X.SizeColumns()))),
      norms_(responses_),
      ofS_(responses_),
      ofY_(responses_),
      ofScores_(responses_),
      shares_(std::move(shares)),
      started_(shares_) {
  ReadForProducts(X, Y);
  for (std::size_t m = 0; m < responses_; ++m) {
    for (std::size_t n = 0; n < responses_; ++n) ofS_(m, n) = Dot(S_[m], S_[n]);
    norms_[m] = std::sqrt(ofS_(m, m));
  }
  ReadForScores(X);
}

void PlsRounds::ReadForProducts(const Matrix& X, const Matrix& Y) {
  const auto& nipals = NipalsKernels<float>::Current();
  const auto& reductions = ReductionKernels<float>::Current();
  const int columns = X.SizeColumns();
  const std::vector<const float*> rows = RowsOf(X);
  const std::vector<std::vector<float>> y = ColumnsOf(Y);
  const auto blocks = static_cast<std::size_t>(RowBlocks(X.SizeRows(), columns).count);
  std::vector<std::vector<Vector>> products(blocks, S_);
  Vector squares(blocks);
  ForGroups(X, rows, [&](std::size_t block, int first, int count, RowsAhead<float> ahead) {
    for (std::size_t m = 0; m < responses_; ++m) {
      nipals.addRows(rows.data() + first, y[m].data() + first, count, 0, columns, ahead, false,
                     products[block][m].data());
      ahead.count = 0;  // once for the group
    }
    for (int i = first; i < first + count; ++i) {
      squares[block] += reductions.sumOfSquares(rows[static_cast<std::size_t>(i)], columns, false);
    }
  });
  squaresOfX_ = std::accumulate(squares.begin(), squares.end(), 0.0);
  for (const std::vector<Vector>& ofBlock : products) {
    for (std::size_t m = 0; m < responses_; ++m) {
      std::transform(S_[m].begin(), S_[m].end(), ofBlock[m].begin(), S_[m].begin(), std::plus<>());
    }
  }
  for (std::size_t m = 0; m < responses_; ++m) {
    for (std::size_t n = 0; n < responses_; ++n) ofY_(m, n) = Dot(y[m], y[n]);
  }
}

/// The scores themselves are not kept.
void PlsRounds::ReadForScores(const Matrix& X) {
  const auto& nipals = NipalsKernels<float>::Current();
  const int columns = X.SizeColumns();
  const std::vector<const float*> rows = RowsOf(X);
  std::vector<std::vector<float>> units(responses_, std::vector<float>(static_cast<std::size_t>(columns)));
  for (std::size_t m = 0; m < responses_; ++m) {
    const double norm = norms_[m] > 0.0 ? norms_[m] : 1.0;
    std::transform(S_[m].begin(), S_[m].end(), units[m].begin(),
                   [norm](double s) { return static_cast<float>(s / norm); });
  }
  std::vector<Square> sums(static_cast<std::size_t>(RowBlocks(X.SizeRows(), columns).count), ofScores_);
  ForGroups(X, rows, [&](std::size_t block, int first, int count, RowsAhead<float> ahead) {
    double scores[kMostResponses][kMostRowsInGroup];
    for (std::size_t m = 0; m < responses_; ++m) {
      nipals.rowProducts(rows.data() + first, count, units[m].data(), columns, ahead, scores[m]);
      ahead.count = 0;
    }
    for (std::size_t m = 0; m < responses_; ++m) {
      for (std::size_t n = 0; n < responses_; ++n) {
        sums[block](m, n) = std::inner_product(scores[m], scores[m] + count, scores[n], sums[block](m, n));
      }
    }
  });
  for (const Square& ofBlock : sums) ofScores_.Add(ofBlock);
}

bool PlsRounds::IsRegular() const {
  const double squareOfSa = ofS_.Form(shares_);
  return IsDivisor(ofY_.Form(shares_)) && std::isnormal(squareOfSa) && squareOfSa > 0.0;
}

/// With w = Sa / u'u.
double PlsRounds::Correlation() const {
  return std::sqrt(ofS_.Form(shares_) / ofY_.Form(shares_) / squaresOfX_);
}

/// Of w = Sa / |Sa|, Y't = S'w = S'Sa / |Sa|, and t't is the form of the scores of the unit columns.
std::optional<double> PlsRounds::Next() {
  const double squareOfSa = ofS_.Form(shares_);
  Vector ofUnits(responses_);
  for (std::size_t m = 0; m < responses_; ++m) ofUnits[m] = norms_[m] * shares_[m];
  const double tt = ofScores_.Form(ofUnits) / squareOfSa;
  Vector c = ofS_.Times(shares_);
  for (double& element : c) element /= std::sqrt(squareOfSa) * tt;
  const double cc = Dot(c, c);
  if (!IsDivisor(tt) || !IsDivisor(cc)) return std::nullopt;
  started_ = shares_;
  Vector change(responses_);
  for (std::size_t m = 0; m < responses_; ++m) {
    shares_[m] = c[m] / cc;
    change[m] = shares_[m] - started_[m];
  }
  return ofY_.Form(change) / ofY_.Form(shares_);
}

void PlsRounds::GetWeights(NCDataVector<float>& w) const {
  const double norm = std::sqrt(ofS_.Form(started_));
  Vector weights(S_[0].size());
  for (std::size_t m = 0; m < responses_; ++m) {
    std::transform(S_[m].begin(), S_[m].end(), weights.begin(), weights.begin(),
                   [share = started_[m] / norm](double s, double sum) { return sum + share * s; });
  }
  float* const elements = WritableElements(w);
  std::transform(weights.begin(), weights.end(), elements, [](double x) { return static_cast<float>(x); });
  w.SetNumMisVal(0);
  w.Normalise();
}

}  // namespace detail
}  // namespace voran
