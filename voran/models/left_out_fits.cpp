#include "voran/models/left_out_fits.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "voran/containers/kernels/nipals.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/parallel.h"
#include "voran/containers/row_gaps.h"
#include "voran/models/row_groups.h"

inline namespace voran {
namespace detail {

namespace {

using Groups = NCIntegralVector<int, -99>;
using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

bool IsRegular(double squares) {
  return std::isnormal(squares) && squares > kTinySumOfSquares;
}

/// sums / divisor
void Divide(const std::vector<double>& sums, double divisor, Vector& quotients) {
  std::transform(sums.begin(), sums.end(), quotients.GetWritableVector() + 1,
                 [divisor](double sum) { return static_cast<float>(sum / divisor); });
}

bool HoldsMarker(const Vector& v) {
  return std::find(v.begin(), v.end(), kMissing<float>) != v.end();
}

/// An infinity in a row that is left out makes the loadings NaNs: 0 times it is none.
bool IsUsable(const LeftOutFit& fit) {
  return !HoldsMarker(fit.t) && !HoldsMarker(fit.p) && std::isfinite(fit.p.GetSS()) && std::isfinite(fit.c);
}

}  // namespace

/// Some rows of X, and their responses.
struct LeftOutFits::Rows {
  void Add(const float* row, float response) {
    elements.push_back(row);
    y.push_back(response);
    squares += static_cast<double>(response * response);
  }

  std::vector<const float*> elements;
  std::vector<float> y;
  double squares = 0.0;
};

/// What one sub-model needs, allocated before threads begin.
struct LeftOutFits::Work {
  Work(int omitted, int rows, int columns)
      : group(omitted),
        factors(static_cast<std::size_t>(rows)),
        sums(static_cast<std::size_t>(columns)),
        fit{Vector(columns, 0.0f), Vector(rows, 0.0f), Vector(columns, 0.0f)} {}

  int group;
  std::vector<float> factors;  // the scores, 0 where a row is left out
  std::vector<double> sums;    // of the loadings
  double squares = 0.0;        // of the responses
  double weightSquares = 0.0;  // next to 1
  bool isRegular = false;
  LeftOutFit fit;
};

bool LeftOutFits::CanFit(const Matrix& X, const Matrix& Y) {
  return Y.SizeColumns() == 1 && X.SizeColumns() > 0 && IsComplete(X) && IsComplete(Y);
}

LeftOutFits::LeftOutFits(const Matrix& X, const Matrix& Y, const Groups& rowGroups)
    : X_(X), rowGroups_(rowGroups), rows_(RowsOf(X)) {
  y_.reserve(rows_.size());
  for (const Vector& row : Y) y_.push_back(*row.begin());
}

std::vector<LeftOutFit> LeftOutFits::Fit(int first, int count) const {
  std::vector<Work> works;
  works.reserve(static_cast<std::size_t>(count));
  for (int group = first; group < first + count; ++group) works.emplace_back(group, X_.SizeRows(), X_.SizeColumns());
  const int threads = std::min(count, ThreadsForMatrix(X_.SizeRows(), X_.SizeColumns(), kManyPasses));
  FitWeights(works, threads);
  ParallelFor(threads, threads, [&](int share) {
    FitScoresAndLoadings(works.data() + count * share / threads, works.data() + count * (share + 1) / threads);
  });
  std::vector<LeftOutFit> fits;
  for (Work& work : works) {
    if (!work.isRegular || !IsUsable(work.fit)) return {};
    fits.push_back(std::move(work.fit));
  }
  return fits;
}

/// The rows that each of the works leaves out, and at the end those that none does.
std::vector<LeftOutFits::Rows> LeftOutFits::Parts(const std::vector<Work>& works) const {
  const auto count = static_cast<int>(works.size());
  std::vector<Rows> parts(works.size() + 1);
  for (std::size_t i = 0; i < y_.size(); ++i) {
    const int g = rowGroups_[static_cast<int>(i) + 1] - works.front().group;
    parts[static_cast<std::size_t>(g >= 0 && g < count ? g : count)].Add(rows_[i], y_[i]);
  }
  return parts;
}

/// The regressions of the columns of X on y, brought to unit length. The sums of a sub-model are those of the rows that
/// none of them leaves out and of the other groups: not those of all rows less its own, which would leave rounding.
void LeftOutFits::FitWeights(std::vector<Work>& works, int threads) const {
  constexpr int kTile = 256;  // columns
  const auto& kernels = NipalsKernels<float>::Current();
  const int columns = X_.SizeColumns();
  const auto count = static_cast<int>(works.size());
  const std::vector<Rows> parts = Parts(works);
  for (int g = 0; g < count; ++g) {
    Work& work = works[static_cast<std::size_t>(g)];
    for (int h = 0; h <= count; ++h) work.squares += h == g ? 0.0 : parts[static_cast<std::size_t>(h)].squares;
  }
  ParallelFor((columns + kTile - 1) / kTile, threads, [&](int tile) {
    const int first = tile * kTile;
    const int size = std::min(kTile, columns - first);
    double sums[kMostTogether + 1][kTile] = {};
    for (int h = 0; h <= count; ++h) {
      const Rows& part = parts[static_cast<std::size_t>(h)];
      kernels.addRows(part.elements.data(), part.y.data(), static_cast<int>(part.y.size()), first, size, {}, false,
                      sums[h]);
    }
    for (int g = 0; g < count; ++g) {
      double total[kTile] = {};
      for (int h = 0; h <= count; ++h) {
        for (int j = 0; h != g && j < size; ++j) total[j] += sums[h][j];
      }
      const double squares = works[static_cast<std::size_t>(g)].squares;
      float* const w = works[static_cast<std::size_t>(g)].fit.w.GetWritableVector() + 1 + first;
      std::transform(total, total + size, w, [squares](double sum) { return static_cast<float>(sum / squares); });
    }
  });
  for (Work& work : works) {
    work.isRegular = IsRegular(work.squares) && IsRegular(work.fit.w.GetSS());
    work.fit.w.Normalise();
    work.weightSquares = work.fit.w.GetSS();
  }
}

void LeftOutFits::FitScoresAndLoadings(Work* first, Work* last) const {
  const auto& kernels = NipalsKernels<float>::Current();
  const int columns = X_.SizeColumns();
  ForRowGroups(rows_, columns, 0, X_.SizeRows(), [&](int row, int count, RowsAhead<float> ahead) {
    double products[kMostRowsInGroup];
    for (Work* work = first; work != last; ++work) {
      kernels.rowProducts(rows_.data() + row, count, work->fit.w.begin(), columns, ahead, products);
      ahead.count = 0;
      float* const t = work->fit.t.GetWritableVector() + 1 + row;
      float* const factors = work->factors.data() + row;
      for (int i = 0; i < count; ++i) {
        t[i] = static_cast<float>(products[i] / work->weightSquares);
        factors[i] = rowGroups_[row + i + 1] == work->group ? 0.0f : t[i];
      }
      kernels.addRows(rows_.data() + row, factors, count, 0, columns, {}, false, work->sums.data());
    }
  });
  for (Work* work = first; work != last; ++work) {
    double squares = 0.0;
    double products = 0.0;
    for (std::size_t i = 0; i < y_.size(); ++i) {
      const float t = work->factors[i];
      squares += static_cast<double>(t * t);
      products += static_cast<double>(t * y_[i]);
    }
    work->isRegular = work->isRegular && IsRegular(squares);
    Divide(work->sums, squares, work->fit.p);
    work->fit.c = static_cast<float>(products / squares);
  }
}

}  // namespace detail
}  // namespace voran
