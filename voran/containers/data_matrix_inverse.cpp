#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/kernels/elementwise.h"
#include "voran/containers/kernels/nipals.h"
#include "voran/platform/nc_error.h"

inline namespace voran {

using detail::ElementwiseKernels;
using detail::NipalsKernels;

namespace {

/// Crout's decomposition PA = LU with implicit scaling of the rows, in place: U with its diagonal, and L, whose
/// diagonal is ones, below it. P is kept in the order of the row pointers. Pointers are 0-based.
template <typename T>
class LuDecomposition {
 public:
  /// `rows` are the rows of a square matrix. Allocates all that is needed.
  explicit LuDecomposition(std::vector<T*> rows)
      : rows_(std::move(rows)),
        size_(rows_.size()),
        scales_(size_),
        order_(size_),
        column_(size_),
        products_(size_),
        nipals_(NipalsKernels<T>::Current()),
        elementwise_(ElementwiseKernels<T>::Current()) {
    std::iota(order_.begin(), order_.end(), std::size_t{0});
  }

  /// False, with nothing changed, if a row is all zeros.
  bool Decompose() {
    for (std::size_t i = 0; i < size_; ++i) {
      double largest = 0.0;
      for (std::size_t j = 0; j < size_; ++j) largest = std::max(largest, std::abs(static_cast<double>(rows_[i][j])));
      if (largest == 0.0) return false;
      scales_[i] = 1.0 / largest;
    }
    for (std::size_t j = 0; j < size_; ++j) {
      FinishUpper(j);
      const std::size_t pivot = FinishLower(j);
      std::swap(rows_[pivot], rows_[j]);
      std::swap(order_[pivot], order_[j]);
      scales_[pivot] = scales_[j];
      DivideByPivot(j);
    }
    return true;
  }

  /// Solves for the columns of the identity, all at a time, in the element type. `inverse` holds the rows of a matrix
  /// of zeros.
  void Invert(T* const* inverse) {
    for (std::size_t i = 0; i < size_; ++i) {
      // The column of the identity that has its one in row k has zeros before it, and nothing to add.
      inverse[i][i] = T{1};
      for (std::size_t k = 0; k < i; ++k) SubtractRow(inverse[i], rows_[i][k], inverse[k], k + 1);
    }
    for (std::size_t i = size_; i-- > 0;) {
      for (std::size_t k = i + 1; k < size_; ++k) SubtractRow(inverse[i], rows_[i][k], inverse[k], size_);
      elementwise_.divideByScalar(inverse[i], static_cast<double>(rows_[i][i]), inverse[i], static_cast<int>(size_),
                                  false);
    }
    for (std::size_t i = 0; i < size_; ++i) {
      std::copy_n(inverse[i], size_, column_.begin());
      for (std::size_t j = 0; j < size_; ++j) inverse[i][order_[j]] = column_[j];
    }
  }

 private:
  static constexpr double kTinyPivot = 1e-20;

  /// Column j of U above the diagonal; each element needs those above it.
  void FinishUpper(std::size_t j) {
    for (std::size_t i = 0; i < size_; ++i) column_[i] = rows_[i][j];
    for (std::size_t i = 1; i < j; ++i) {
      double product;
      nipals_.rowProducts(&rows_[i], 1, column_.data(), static_cast<int>(i), {}, &product);
      column_[i] = static_cast<T>(static_cast<double>(column_[i]) - product);
      rows_[i][j] = column_[i];
    }
  }

  /// Column j from the diagonal down, before the division. Returns the pivot: the last among equals of the largest
  /// value relative to its row.
  std::size_t FinishLower(std::size_t j) {
    const auto count = static_cast<int>(size_ - j);
    nipals_.rowProducts(&rows_[j], count, column_.data(), static_cast<int>(j), {}, &products_[j]);
    double largest = 0.0;
    std::size_t pivot = j;
    for (std::size_t i = j; i < size_; ++i) {
      const double value = static_cast<double>(column_[i]) - products_[i];
      rows_[i][j] = static_cast<T>(value);
      if (scales_[i] * std::abs(value) >= largest) {
        largest = scales_[i] * std::abs(value);
        pivot = i;
      }
    }
    return pivot;
  }

  void DivideByPivot(std::size_t j) {
    if (rows_[j][j] == T{0}) rows_[j][j] = static_cast<T>(kTinyPivot);
    const auto pivot = static_cast<double>(rows_[j][j]);
    for (std::size_t i = j + 1; i < size_; ++i) rows_[i][j] = static_cast<T>(static_cast<double>(rows_[i][j]) / pivot);
  }

  /// x -= factor * y, over n elements
  void SubtractRow(T* x, T factor, const T* y, std::size_t n) const {
    nipals_.addScaled(x, -factor, y, static_cast<int>(n), false);
  }

  std::vector<T*> rows_;
  std::size_t size_;
  std::vector<double> scales_;
  std::vector<std::size_t> order_;  ///< where each row stood at first
  std::vector<T> column_;
  std::vector<double> products_;
  const NipalsKernels<T>& nipals_;
  const ElementwiseKernels<T>& elementwise_;
};

}  // namespace

template <typename T>
bool NCDataMatrix<T>::TransformToInverse() {
  assert(numRows_ == numColumns_);
  NCDataMatrix inverse(numRows_, numRows_, T{0});
  ForceUnlink();
  LuDecomposition<T> decomposition(RowPointers());
  const std::vector<T*> inverseRows = inverse.RowPointers();
  if (!decomposition.Decompose()) return false;  // nothing allocates from here on
  decomposition.Invert(inverseRows.data());
  swap(inverse);
  return true;
}

template <typename T>
NCDataMatrix<T> NCDataMatrix<T>::GetRegressionCoefficients(const NCDataMatrix& y) const {
  if (numMisVal_ != 0 || y.numMisVal_ != 0) {
    throw NCInternalError("NCDataMatrix<FloatType>::GetRegressionCoefficients");
  }
  NCDataMatrix work(*this);
  work.Transpose();
  work.TransformToMprim_mul_M();
  work.TransformToInverse();  // of A A'; a row of zeros deliberately goes on as it is
  work = work.MatrixMultiply(*this, false, false, false);
  return work.MatrixMultiply(y, false, true, false);
}

template class NCDataMatrix<float>;
template class NCDataMatrix<double>;

}  // namespace voran
