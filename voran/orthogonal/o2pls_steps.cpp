#include "voran/orthogonal/o2pls_steps.h"

#include "voran/containers/missing_value.h"
#include "voran/models/pls.h"

inline namespace voran {
namespace detail {

using Matrix = NCDataMatrix<float>;

PlsStep FirstPlsStep(const Matrix& X, const Matrix& Y, int iterationLimit, bool silent) {
  NCPLS pls(&X, &Y, iterationLimit);
  pls.NextComponent(nullptr, nullptr, silent, false);
  return {(*pls.GetWprim())[1], (*pls.GetTprim())[1], (*pls.GetPprim())[1], (*pls.GetCprim())[1]};
}

Matrix Deflated(Matrix m, const Matrix& scores, const Matrix& loadings) {
  for (int a = 1; a <= scores.SizeRows(); ++a) m.AddVprimV(scores[a], loadings[a], -1.0f);
  return m;
}

Matrix TakeRows(const Matrix& m, const std::vector<int>& positions) {
  Matrix rows(0, m.SizeColumns(), kMissing<float>);
  rows.ReserveRows(static_cast<int>(positions.size()));
  for (const int i : positions) rows.push_back(m[i]);
  return rows;
}

}  // namespace detail
}  // namespace voran
