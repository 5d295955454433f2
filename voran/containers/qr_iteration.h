#pragma once

#include <vector>

#include "voran/containers/column_matrix.h"
#include "voran/containers/kernels/rotations.h"

inline namespace voran {
namespace detail {

/// Rotations of the columns of a matrix, collected and applied many at a time: all of them to a few rows, then to the
/// next rows, so that these stay in the cache.
template <typename T>
class RotationBatch {
 public:
  explicit RotationBatch(ColumnMatrix<T>& matrix);

  void Add(int first, int second, double cosine, double sine);
  /// To be called when the last rotation has been added.
  void Apply();

 private:
  ColumnMatrix<T>& matrix_;
  std::vector<Rotation<T>> rotations_;  ///< does not grow beyond what is reserved
};

/// The second half of a singular value decomposition: QR iteration with implicit shifts turns an upper bidiagonal B
/// into a diagonal, while P and Q follow, so that P B Q' stays what it is. Scalars are in double, elements of B and
/// what is compared with them in T.
template <typename T>
class QrIteration {
 public:
  /// The diagonal of B is `w`, the element above w[i] is e[i], and e[0] = 0. May throw, and nothing after it does.
  QrIteration(std::vector<T>& w, std::vector<T>& e, ColumnMatrix<T>& p, ColumnMatrix<T>& q);

  /// Makes the elements of w the singular values, none of them negative. False if one takes more than 32000 iterations.
  /// A value within two roundings of zero beside the norm of B is what rounding has left of a zero, and becomes 0; but
  /// one that had no neighbour in B from the beginning, as in a diagonal matrix, is as exact as its matrix and stays.
  bool Run();

 private:
  bool Converge(int k);
  int FindBlock(int k);
  bool IsNegligible(T x) const { return std::abs(x) + norm_ == norm_; }
  void Cancel(int first, int k);
  void Sweep(int first, int k);
  double ShiftedStart(int first, int k) const;
  void Finish();

  std::vector<T>& w_;
  std::vector<T>& e_;
  ColumnMatrix<T>& q_;
  RotationBatch<T> left_;
  RotationBatch<T> right_;
  std::vector<bool> isAlone_;
  T norm_ = T{0};
};

extern template class QrIteration<float>;
extern template class QrIteration<double>;

}  // namespace detail
}  // namespace voran
