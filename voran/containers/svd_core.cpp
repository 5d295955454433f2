#include "voran/containers/svd_core.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "voran/containers/bidiagonal_reduction.h"
#include "voran/containers/column_matrix.h"
#include "voran/containers/qr_iteration.h"

inline namespace voran {
namespace detail {

namespace {

/// The power of two by which the largest magnitude comes near 1, so that no square overflows and only what is next to
/// nothing beside it underflows. False if an element is not finite.
template <typename T>
bool FindExponent(const T* const* a, int m, int n, int& exponent) {
  T largest = T{0};
  for (int i = 1; i <= m; ++i) {
    for (int j = 1; j <= n; ++j) {
      if (!std::isfinite(a[i][j])) return false;
      largest = std::max(largest, std::abs(a[i][j]));
    }
  }
  std::frexp(largest, &exponent);
  exponent = std::max(exponent, 1 - std::numeric_limits<T>::max_exponent);  // its inverse is finite, too
  return true;
}

/// A decomposition that is computed in `Work`, of a matrix of T.
template <typename Work>
class Decomposition {
 public:
  // Of a matrix with fewer rows than columns the transpose is decomposed, U and V change places, and V has columns that
  // belong to no singular value.
  Decomposition(int m, int n)
      : rows_(m),
        columns_(n),
        count_(std::min(m, n)),
        p_(std::max(m, n), n),
        q_(count_, count_),
        diagonal_(static_cast<std::size_t>(count_)),
        superdiagonal_(static_cast<std::size_t>(count_)),
        reduction_(p_, q_),
        iteration_(diagonal_, superdiagonal_, p_, q_) {}

  /// Of a / 2^exponent.
  template <typename T>
  bool Compute(const T* const* a, int exponent, Work noiseShare) {
    if (IsWide()) {
      p_.TakeTransposed(a, count_);
    } else {
      p_.TakeRows(a);
    }
    p_.Scale(std::ldexp(Work{1}, -exponent));
    reduction_.Reduce(diagonal_.data(), superdiagonal_.data());
    reduction_.Accumulate();
    return iteration_.Run(noiseShare);
  }

  /// Whether rounding may have made the least singular value, or a part of it.
  bool IsDoubtful() const {
    constexpr Work kShare = 64 * std::numeric_limits<Work>::epsilon();
    if (count_ == 0) return false;
    const auto [least, largest] = std::minmax_element(diagonal_.begin(), diagonal_.end());
    return *least <= kShare * *largest;
  }

  /// False, with nothing written, if a singular value does not fit into T.
  template <typename T>
  bool Give(int exponent, T* const* a, T* w, T* const* v) {
    for (Work& value : diagonal_) {
      value = std::ldexp(value, exponent);
      if (!(value <= static_cast<Work>(std::numeric_limits<T>::max()))) return false;
    }
    std::fill_n(w + 1, columns_, T{0});
    std::transform(diagonal_.begin(), diagonal_.end(), w + 1, [](Work value) { return static_cast<T>(value); });
    p_.GiveRows(IsWide() ? v : a);
    q_.GiveRows(IsWide() ? a : v);
    for (int i = 1; IsWide() && i <= rows_; ++i) std::fill(a[i] + rows_ + 1, a[i] + columns_ + 1, T{0});
    return true;
  }

 private:
  bool IsWide() const { return rows_ < columns_; }

  int rows_;
  int columns_;
  int count_;
  ColumnMatrix<Work> p_;
  ColumnMatrix<Work> q_;
  std::vector<Work> diagonal_;
  std::vector<Work> superdiagonal_;
  BidiagonalReduction<Work> reduction_;
  QrIteration<Work> iteration_;
};

constexpr double kDoubleRounding = std::numeric_limits<double>::epsilon();

bool Decompose(double* const* a, int m, int n, int exponent, double* w, double* const* v) {
  Decomposition<double> decomposition(m, n);
  return decomposition.Compute(a, exponent, 2 * kDoubleRounding) && decomposition.Give(exponent, a, w, v);
}

/// In float a zero comes out as about 1e-7 of the largest singular value, and so may a value that is none. Where there
/// is one so small, the whole is computed again in double, which tells the two apart.
bool Decompose(float* const* a, int m, int n, int exponent, float* w, float* const* v) {
  {
    Decomposition<float> decomposition(m, n);
    if (!decomposition.Compute(a, exponent, 0.0f)) return false;
    if (!decomposition.IsDoubtful()) return decomposition.Give(exponent, a, w, v);
  }
  Decomposition<double> decomposition(m, n);
  const double noiseShare = std::max(m, n) * kDoubleRounding;
  return decomposition.Compute(a, exponent, noiseShare) && decomposition.Give(exponent, a, w, v);
}

}  // namespace

template <typename T>
bool DecomposeSingularValues(T* const* a, int m, int n, T* w, T* const* v) {
  int exponent = 0;
  return FindExponent(a, m, n, exponent) && Decompose(a, m, n, exponent, w, v);
}

template bool DecomposeSingularValues(float* const* a, int m, int n, float* w, float* const* v);
template bool DecomposeSingularValues(double* const* a, int m, int n, double* w, double* const* v);

}  // namespace detail
}  // namespace voran
