#include "voran/orthogonal/covariances.h"

#include <algorithm>

#include "voran/containers/kernels/nipals.h"
#include "voran/containers/missing_value.h"
#include "voran/containers/parallel.h"
#include "voran/containers/writable_elements.h"

inline namespace voran {
namespace detail {

namespace {

using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

/// Columns whose sums stay in the nearest cache.
constexpr int kChunk = 512;

Vector WithoutGaps(const Vector& v) {
  Vector filled;
  filled.CopyContent(v);
  for (int i = 1; i <= v.Size(); ++i) {
    if (v[i] == kMissing<float>) filled(i, 0.0f);
  }
  return filled;
}

/// Adds factors[i] * X(i, j) to sums[j] for `columns` columns from `first` (0-based), row after row.
void AddRows(const NipalsKernels<float>& kernels, const Matrix& X, const float* factors, int first, int columns,
             double* sums) {
  float filled[kChunk];
  for (int i = 1; i <= X.SizeRows(); ++i) {
    const float* row = X[i].begin() + first;
    if (X[i].GetNumMisVal() != 0) {
      std::replace_copy(row, row + columns, filled, kMissing<float>, 0.0f);
      row = filled;
    }
    kernels.addRows(&row, factors + i - 1, 1, 0, columns, {}, false, sums);
  }
}

/// With 0 where there is no pair.
Matrix SumsOfProducts(const Matrix& F, const Matrix& X) {
  const auto& kernels = NipalsKernels<float>::Current();
  const int columns = X.SizeColumns();
  Matrix result(F.SizeRows(), columns, 0.0f);
  for (int m = 1; m <= F.SizeRows(); ++m) {
    const Vector factors = WithoutGaps(F[m]);
    float* const out = WritableElements(result(m));
    const int chunks = (columns + kChunk - 1) / kChunk;
    ParallelFor(chunks, std::min(chunks, ThreadsForMatrix(X.SizeRows(), columns, kIterationRound)), [&](int chunk) {
      double sums[kChunk] = {};
      const int first = chunk * kChunk;
      const int count = std::min(kChunk, columns - first);
      AddRows(kernels, X, factors.begin(), first, count, sums);
      for (int j = 0; j < count; ++j) out[first + j] = static_cast<float>(sums[j]);
    });
  }
  return result;
}

bool HasPair(const Vector& v, const Matrix& X, int j) {
  for (int i = 1; i <= v.Size(); ++i) {
    if (v[i] != kMissing<float> && X[i][j] != kMissing<float>) return true;
  }
  return false;
}

}  // namespace

Matrix RowCovariances(const Matrix& F, const Matrix& X) {
  Matrix result = SumsOfProducts(F, X);
  if (F.GetNumMisVal() == 0 && X.GetNumMisVal() == 0) return result;
  for (int m = 1; m <= F.SizeRows(); ++m) {
    for (int j = 1; j <= X.SizeColumns(); ++j) {
      if (result[m][j] == 0.0f && !HasPair(F[m], X, j)) result(m, j, kMissing<float>);
    }
  }
  return result;
}

Matrix Covariances(const Matrix& Y, const Matrix& X) {
  constexpr int kNarrow = 6;  // from there on the product is faster
  if (Y.SizeColumns() > kNarrow) return Y.MatrixMultiply(X, true, false, false);
  Matrix F(0, Y.SizeRows(), kMissing<float>);
  for (int m = 1; m <= Y.SizeColumns(); ++m) F.push_back(Y.GetColumn(m));
  return SumsOfProducts(F, X);
}

}  // namespace detail
}  // namespace voran
