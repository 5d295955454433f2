#include "voran/containers/data_matrix.h"
#include "voran/containers/missing_value.h"

inline namespace voran {

template <typename T>
NCDataMatrix<T> NCDataMatrix<T>::SNV() const {
  NCDataMatrix result(numRows_, numColumns_, detail::kMissing<T>);
  SNVImpl(result);
  return result;
}

template <typename T>
void NCDataMatrix<T>::SNVImpl(NCDataMatrix& result) const {
  result.ForceUnlink();
  for (int i = 1; i <= numRows_; ++i) rows_[i].SNVImpl(result.rows_[i]);
  *result.colMisVal_ = *colMisVal_;
  result.numMisVal_ = numMisVal_;
}

template class NCDataMatrix<float>;
template class NCDataMatrix<double>;

}  // namespace voran
