#include <memory>

#include "voran/containers/data_matrix.h"
#include "voran/containers/svd.h"
#include "voran/containers/svd_core.h"

inline namespace voran {

template <typename T>
NCSVD<T>* NCDataMatrix<T>::GetSVD() const {
  auto copy = std::make_unique<NCDataMatrix>(*this);
  NCSVD<T>* const result = SVD(copy.get());
  if (result->GetStatus() == NCSVD<T>::Ok) copy.release();  // it is the result's U
  return result;
}

template <typename T>
NCSVD<T>* NCDataMatrix<T>::TransformToSVD() {
  return SVD(this);
}

template <typename T>
NCSVD<T>* NCDataMatrix<T>::SVD(NCDataMatrix* m) {
  if (m->numMisVal_ != 0) return new SVDBuilder<T>(NCSVD<T>::MissingValues);
  m->ForceUnlink();
  const int columns = m->numColumns_;
  auto w = std::make_unique<NCDataVector<T>>(columns, T{0});
  auto v = std::make_unique<NCDataMatrix>(columns, columns, T{0});
  const std::unique_ptr<T*[]> rowsOfU(GetMatrixAsPointerPointer(*m, true));
  const std::unique_ptr<T*[]> rowsOfV(GetMatrixAsPointerPointer(*v, true));
  if (!detail::DecomposeSingularValues(rowsOfU.get(), m->numRows_, columns, w->GetWritableVector(), rowsOfV.get())) {
    return new SVDBuilder<T>(NCSVD<T>::NotConverged);
  }
  auto* const result = new SVDBuilder<T>(v.get(), w.get(), m);
  v.release();
  w.release();
  return result;
}

template class NCDataMatrix<float>;
template class NCDataMatrix<double>;

}  // namespace voran
