#include "voran/orthogonal/leading_direction.h"

#include "voran/models/pca.h"

inline namespace voran {
namespace detail {

NCDataVector<float> UnitLength(NCDataVector<float> v) {
  v.Normalise();
  return v;
}

NCDataVector<float> LeadingDirection(const NCDataMatrix<float>& covariances, int iterationLimit) {
  if (covariances.SizeRows() <= 1) return UnitLength(covariances[1]);
  NCPCA pca(&covariances, iterationLimit);
  pca.NextComponent(nullptr, nullptr, 0, nullptr);
  return (*pca.GetPprim())[1];
}

}  // namespace detail
}  // namespace voran
