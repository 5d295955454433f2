#pragma once

#include <vector>

#include "voran/containers/column_matrix.h"

inline namespace voran {
namespace detail {

/// The first half of a singular value decomposition: Householder reflections from both sides turn a matrix A with no
/// fewer rows than columns into an upper bidiagonal B, A = P B Q'.
///
/// Element arithmetic: products of elements are rounded to the element type; sums, norms and divisions are in double.
/// A multiple of a column is added in the element type, which rounds as if the rounded product were added in double.
template <typename T>
class BidiagonalReduction {
 public:
  /// A stands in the first q.Columns() columns of `p`; Q is to stand in `q`. Further columns of `p` are for more
  /// columns of the orthogonal P than A has. May throw, and nothing after it does.
  BidiagonalReduction(ColumnMatrix<T>& p, ColumnMatrix<T>& q);

  /// Overwrites A. The diagonal goes to `w`, the element above w[i] to e[i], with e[0] = 0.
  void Reduce(T* w, T* e);
  /// Turns the reflections into P and Q, in place.
  void Accumulate();

 private:
  static double FormReflection(T* x, int n, T& remaining);
  static void Reflect(ColumnMatrix<T>& matrix, int i, double h, int first, int count);
  static void AccumulateSide(ColumnMatrix<T>& side, int first, int last, const std::vector<double>& scales);

  void ReflectLeft(int i);
  void PrepareRight(int i, T& remaining);
  void AddPending(int column);

  ColumnMatrix<T>& p_;
  ColumnMatrix<T>& q_;
  int rows_;
  int columns_;
  std::vector<double> leftScales_;   ///< of the reflection that stands in column i of p, from row i on; 0: none
  std::vector<double> rightScales_;  ///< of the one in column i of q, from row i on
  std::vector<T> pending_;           ///< what the last reflection of rows still has to add, by a factor for each column
  std::vector<double> sums_;
  int pendingFrom_ = 0;  ///< the first row of it, and the column of q that holds the factors; 0: nothing is pending
};

extern template class BidiagonalReduction<float>;
extern template class BidiagonalReduction<double>;

}  // namespace detail
}  // namespace voran
