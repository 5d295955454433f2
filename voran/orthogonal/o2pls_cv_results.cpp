#include "voran/orthogonal/o2pls_cv_results.h"

#include <algorithm>
#include <cstddef>
#include <initializer_list>

inline namespace voran {

using Matrix = NCDataMatrix<float>;

namespace {

bool Any(const std::vector<bool>& flips) {
  return std::find(flips.begin(), flips.end(), true) != flips.end();
}

void Negate(Matrix& m) {
  for (int i = 1; i <= m.SizeRows(); ++i) m.MultiplyRow(i, -1.0, i);
}

void NegateComponents(const std::vector<bool>& flips, std::initializer_list<std::vector<Matrix>*> sets) {
  for (std::size_t a = 0; a < flips.size(); ++a) {
    if (!flips[a]) continue;
    for (std::vector<Matrix>* set : sets) Negate((*set)[a]);
  }
}

/// Turns the rows and the columns of an inner relation from the scores of `rowFlips` to those of `columnFlips`.
void TurnRelation(Matrix& relation, const std::vector<bool>& rowFlips, const std::vector<bool>& columnFlips) {
  for (std::size_t a = 0; a < rowFlips.size(); ++a) {
    const int i = static_cast<int>(a) + 1;
    if (rowFlips[a]) relation.MultiplyRow(i, -1.0, i);
  }
  for (std::size_t a = 0; a < columnFlips.size(); ++a) {
    const int j = static_cast<int>(a) + 1;
    if (columnFlips[a]) relation.MultiplyColumn(j, -1.0, j);
  }
}

}  // namespace

void O2PLSCVResults::FlipPredictiveModel(const std::vector<bool>& xFlips, const std::vector<bool>& yFlips) {
  if (!Any(xFlips) && !Any(yFlips)) return;
  NegateComponents(xFlips, {&TSets, &PSets, &WSets});
  NegateComponents(yFlips, {&USets, &CSets, &QSets});
  for (Matrix& lambda : LambdaSets) TurnRelation(lambda, xFlips, yFlips);
  for (Matrix& xLambda : XLambdaSets) TurnRelation(xLambda, yFlips, xFlips);
}

}  // namespace voran
