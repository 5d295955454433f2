#pragma once

#include "voran/containers/containers_fwd.h"
#include "voran/export.h"

inline namespace voran {

/// A destination for the result of an operation on vectors: `v.Result(&v) = a + b` makes v the sum without copying an
/// element. The constructor throws NCError if the destination is null. Holds a pointer only.
template <typename T>
class VORAN_EXPORT NCVecOpResultProxy {
 public:
  explicit NCVecOpResultProxy(NCDataVector<T>* result);
  /// The destination shares the elements of `value` afterwards.
  NCDataVector<T>& operator=(const NCDataVector<T>& value);

 private:
  NCDataVector<T>* result_;
};

/// The same for matrices.
template <typename T>
class VORAN_EXPORT NCMatOpResultProxy {
 public:
  explicit NCMatOpResultProxy(NCDataMatrix<T>* result);
  NCDataMatrix<T>& operator=(const NCDataMatrix<T>& value);

 private:
  NCDataMatrix<T>* result_;
};

extern template class NCVecOpResultProxy<float>;
extern template class NCVecOpResultProxy<double>;
extern template class NCMatOpResultProxy<float>;
extern template class NCMatOpResultProxy<double>;

}  // namespace voran
