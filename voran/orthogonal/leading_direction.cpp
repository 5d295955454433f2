#include "voran/orthogonal/leading_direction.h"

#include "voran/models/pca.h"

inline namespace voran {
namespace detail {

NCDataVector<float> UnitLength(NCDataVector<float> v) {
  v.Normalise();
  return v;
}

NCDataVector<float> LeadingDirection(const NCDataMatrix<float>& m, int iterationLimit) {
  NCPCA pca(&m, iterationLimit);
  pca.NextComponent(nullptr, nullptr, 0, nullptr);
  return (*pca.GetPprim())[1];
}

}  // namespace detail
}  // namespace voran
