#pragma once

#include <cstdint>
#include <memory>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/export.h"

inline namespace voran {

/// The singular value decomposition of a matrix, A = U diag(W) V', as NCDataMatrix::GetSVD and TransformToSVD make it:
///
///     const std::unique_ptr<NCSVD<float>> svd(x.GetSVD());
///     if (svd->GetStatus() == NCSVD<float>::Ok) std::cout << svd->GetConditionNumber();
///
/// Of an A with m rows and n columns, U is m x n, V is n x n, and W holds n singular values in descending order, none
/// of them negative; those next to nothing beside the largest are exactly 0. If A has fewer rows than columns, the last
/// n - m are 0 and have columns of zeros in U. Columns are fixed up to their common sign in U and V.
///
/// The object owns what it holds. Copying it copies the pointers, so that both objects then hold the same matrices and
/// only one of them may be destroyed: this is deliberate. One object is for one thread at a time.
template <typename T>
class VORAN_EXPORT NCSVD {
 public:
  /// With any other status than Ok there is no U, V and W. NotConverged: the iteration reached its limit, a singular
  /// value exceeds the range of T, or A has an element that is infinite or not a number.
  enum Status : std::int32_t { Ok = 0, MissingValues = 1, NotConverged = 2 };

  NCSVD(const NCSVD& other) = default;
  NCSVD& operator=(const NCSVD& other) = default;
  virtual ~NCSVD();

  // Null unless the status is Ok. They belong to this object.

  const NCDataMatrix<T>* GetU() const { return u_; }
  const NCDataMatrix<T>* GetV() const { return v_; }
  const NCDataVector<T>* GetW() const { return w_; }
  Status GetStatus() const { return status_; }

  /// Always true, and Sort() does nothing: the values are sorted from the beginning.
  bool IsSorted() const { return true; }
  void Sort() {}

  /// The largest singular value divided by the smallest; -99 if that is 0, or if there are none.
  T GetConditionNumber() const;
  /// The sum of the decimal logarithms of the singular values, in T; 0 if one of them is 0, or if there are none.
  T GetLogDeterminant() const;

  /// The inverse V diag(1/W) U' as a new matrix that belongs to the caller: as many rows as V has, a column for each
  /// row of A. Null unless the status is Ok; null, too, if V is not square, a singular value is 0, or the condition
  /// number is above `maxCondition`. With -99 for `maxCondition` none of this is checked, and a singular value of 0 is
  /// divided by as it stands. Works in double, and needs memory for another V of doubles.
  NCDataMatrix<T>* GetInverse(float maxCondition) const;

  /// Drops the singular values that are 0, with their columns in U and V, but deliberately keeps the first of them.
  void RemoveZeroSingularValues();

 protected:
  /// A failed decomposition.
  explicit NCSVD(Status status) : status_(status) {}
  /// Takes what the core has left, unsorted, and sorts it. The object owns it all, unless this throws.
  NCSVD(NCDataMatrix<T>* v, NCDataVector<T>* w, NCDataMatrix<T>* u);

  /// Sorts by descending singular value, equal ones in the order that they have, and makes those 0 that are next to
  /// nothing beside the largest.
  void DoSort();

 private:
  std::unique_ptr<NCDataMatrix<T>> Inverse() const;

  NCDataMatrix<T>* v_ = nullptr;
  NCDataVector<T>* w_ = nullptr;
  NCDataMatrix<T>* u_ = nullptr;
  Status status_ = Ok;
};

/// What NCDataMatrix makes a decomposition with.
template <typename T>
class VORAN_EXPORT SVDBuilder : public NCSVD<T> {
 public:
  explicit SVDBuilder(typename NCSVD<T>::Status status) : NCSVD<T>(status) {}
  SVDBuilder(NCDataMatrix<T>* v, NCDataVector<T>* w, NCDataMatrix<T>* u) : NCSVD<T>(v, w, u) {}
};

extern template class NCSVD<float>;
extern template class NCSVD<double>;
extern template class SVDBuilder<float>;
extern template class SVDBuilder<double>;

}  // namespace voran
