#include "tools/voran/warm_start.h"

#include <algorithm>
#include <memory>
#include <random>

#include "voran/containers/svd.h"

namespace tool {
namespace {

using Matrix = NCDataMatrix<float>;

/// More rows than components are wanted: the last of a block settle slowly.
constexpr int kSpare = 4;
constexpr int kSteps = 2;
/// A singular value this far below the first is made of rounding.
constexpr float kRoundingShare = 1e-5f;

Matrix RandomSigns(int rows, int columns) {
  std::mt19937 bits(1);
  Matrix signs(rows, columns, 1.0f);
  for (int i = 1; i <= rows; ++i) {
    for (int j = 1; j <= columns; ++j) {
      if ((bits() & 1U) != 0) signs(i, j, -1.0f);
    }
  }
  return signs;
}

/// By Gram and Schmidt, twice: the second time takes off what rounding has left.
Matrix Orthonormal(const Matrix& block) {
  Matrix basis;
  for (NCDataVector<float> row : block) {
    for (int pass = 0; pass < 2; ++pass) {
      for (const NCDataVector<float>& other : basis) row.TransformTo_Sub_d_x_Vt(row * other, other);
      row.Normalise();
    }
    basis.push_back(row);
  }
  return basis;
}

}  // namespace

std::vector<NCDataVector<float>> WarmStarts(const Matrix& x, int components) {
  const int size = std::min({components + kSpare, x.SizeRows(), x.SizeColumns()});
  Matrix loadings = RandomSigns(size, x.SizeColumns());
  for (int step = 0; step < kSteps; ++step) {
    loadings = Orthonormal(loadings.MatrixMultiply(x, false, true, false).MatrixMultiply(x, false, false, false));
  }
  const Matrix scores = loadings.MatrixMultiply(x, false, true, false);
  const std::unique_ptr<NCSVD<float>> svd(scores.MatrixMultiply(scores, false, true, false).GetSVD());
  std::vector<NCDataVector<float>> starts;
  if (svd->GetStatus() != NCSVD<float>::Ok) return starts;
  const Matrix turned = svd->GetU()->MatrixMultiply(scores, true, false, false);
  const NCDataVector<float>& squares = *svd->GetW();
  for (int a = 1; a <= std::min(components, size); ++a) {
    if (!(squares[a] > kRoundingShare * kRoundingShare * squares[1])) break;
    starts.push_back(turned[a]);
  }
  return starts;
}

}  // namespace tool
