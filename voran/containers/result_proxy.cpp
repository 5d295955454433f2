#include "voran/containers/result_proxy.h"

#include "voran/containers/data_matrix.h"
#include "voran/platform/nc_error.h"

inline namespace voran {

namespace {

template <typename Destination>
Destination* NotNull(Destination* result) {
  if (result == nullptr) {
    throw NCError(ExceptionMessage::translate("Internal error in NCMatOpResultProxy:\npResult can not be NULL"),
                  NCError::Level::kGeneral);
  }
  return result;
}

}  // namespace

template <typename T>
NCVecOpResultProxy<T>::NCVecOpResultProxy(NCDataVector<T>* result) : result_(NotNull(result)) {}

template <typename T>
NCDataVector<T>& NCVecOpResultProxy<T>::operator=(const NCDataVector<T>& value) {
  return *result_ = value;
}

template <typename T>
NCMatOpResultProxy<T>::NCMatOpResultProxy(NCDataMatrix<T>* result) : result_(NotNull(result)) {}

template <typename T>
NCDataMatrix<T>& NCMatOpResultProxy<T>::operator=(const NCDataMatrix<T>& value) {
  return *result_ = value;
}

template class NCVecOpResultProxy<float>;
template class NCVecOpResultProxy<double>;
template class NCMatOpResultProxy<float>;
template class NCMatOpResultProxy<double>;

}  // namespace voran
