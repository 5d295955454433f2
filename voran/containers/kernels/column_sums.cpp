#include "voran/containers/kernels/column_sums.h"

#include <algorithm>
#include <cstddef>
#include <type_traits>

#include "voran/containers/kernels/dispatch.h"
#include "voran/containers/missing_value.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "voran/containers/kernels/column_sums.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "voran/containers/kernels/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
inline namespace voran {
namespace detail {
namespace HWY_NAMESPACE {
namespace {

/// Rows added to a sum between its load and its store.
constexpr int kRowsTogether = 8;

/// What is left behind the last whole vector is worked through one by one.
using Single = hn::CappedTag<double, 1>;

template <class D, typename T>
HWY_INLINE hn::Vec<D> LoadWide(D d, const T* p) {
  const auto v = hn::LoadU(hn::Rebind<T, D>(), p);
  if constexpr (std::is_same_v<T, double>) {
    return v;
  } else {
    return hn::PromoteTo(d, v);
  }
}

/// `value` where the element x is present.
template <bool HasGaps, class D>
HWY_INLINE hn::Vec<D> IfPresent(D d, hn::Vec<D> x, hn::Vec<D> value) {
  if constexpr (!HasGaps) return value;
  return hn::IfThenZeroElse(hn::Eq(x, hn::Set(d, kNoValue)), value);
}

struct ElementTerm {
  template <class D>
  HWY_INLINE hn::Vec<D> operator()(D /*d*/, hn::Vec<D> x, std::size_t /*j*/) const {
    return x;
  }
};

struct SquareAboutTerm {
  const double* about;

  template <class D>
  HWY_INLINE hn::Vec<D> operator()(D d, hn::Vec<D> x, std::size_t j) const {
    const auto difference = hn::Sub(x, hn::LoadU(d, about + j));
    return hn::Mul(difference, difference);
  }
};

/// sums[j] += term(x, j) for the elements x of each row, from j on in whole vectors of D; returns where it stopped. The
/// `numAhead` rows behind these are fetched meanwhile.
template <int Rows, bool HasGaps, class D, typename T, class Term>
HWY_INLINE std::size_t AddTogether(D d, const T* const* rows, int numAhead, std::size_t j, std::size_t n,
                                   const Term& term, double* sums) {
  constexpr std::size_t kStep = hn::MaxLanes(D());
  const T* row[Rows];
  for (int r = 0; r < Rows; ++r) row[r] = rows[r];
  for (; j + kStep <= n; j += kStep) {
    if (j % kAccumulators == 0) Fetch(rows + Rows, numAhead, j);
    auto sum = hn::LoadU(d, sums + j);
    for (int r = 0; r < Rows; ++r) {
      const auto x = LoadWide(d, row[r] + j);
      sum = hn::Add(sum, IfPresent<HasGaps>(d, x, term(d, x, j)));
    }
    hn::StoreU(sum, d, sums + j);
  }
  return j;
}

template <int Rows, bool HasGaps, typename T, class Term>
HWY_INLINE void AddGroup(const T* const* rows, int numAhead, std::size_t n, const Term& term, double* sums) {
  const std::size_t rest = AddTogether<Rows, HasGaps>(Wide(), rows, numAhead, 0, n, term, sums);
  AddTogether<Rows, HasGaps>(Single(), rows, 0, rest, n, term, sums);
}

template <bool HasGaps, typename T, class Term>
HWY_INLINE void AddAll(const T* const* rows, int numRows, int n, const Term& term, double* sums) {
  const auto size = static_cast<std::size_t>(n);
  int r = 0;
  for (; r + kRowsTogether <= numRows; r += kRowsTogether) {
    const int numAhead = std::min(kRowsTogether, numRows - r - kRowsTogether);
    AddGroup<kRowsTogether, HasGaps>(rows + r, numAhead, size, term, sums);
  }
  for (; r < numRows; ++r) AddGroup<1, HasGaps>(rows + r, 0, size, term, sums);
}

template <typename T>
void AddElements(const T* const* rows, int numRows, int n, bool hasGaps, double* sums) {
  if (hasGaps) {
    AddAll<true>(rows, numRows, n, ElementTerm(), sums);
  } else {
    AddAll<false>(rows, numRows, n, ElementTerm(), sums);
  }
}

template <typename T>
void AddSquaresAbout(const T* const* rows, int numRows, int n, bool hasGaps, const double* about, double* sums) {
  if (hasGaps) {
    AddAll<true>(rows, numRows, n, SquareAboutTerm{about}, sums);
  } else {
    AddAll<false>(rows, numRows, n, SquareAboutTerm{about}, sums);
  }
}

/// Where the shares of one row in three sums go; `ySquares` only if the row has gaps.
struct ProductSums {
  double* products;
  double* squares;
  double* ySquares;
};

template <bool HasGaps, class D, typename T>
HWY_INLINE std::size_t AddProductsFrom(D d, const T* row, std::size_t j, std::size_t n, double y, const double* about,
                                       const ProductSums& sums) {
  constexpr std::size_t kStep = hn::MaxLanes(D());
  const auto add = [&](double* sum, hn::Vec<D> x, hn::Vec<D> share)
                       HWY_ATTR { hn::StoreU(hn::Add(hn::LoadU(d, sum), IfPresent<HasGaps>(d, x, share)), d, sum); };
  const auto wideY = hn::Set(d, y);
  for (; j + kStep <= n; j += kStep) {
    const auto x = LoadWide(d, row + j);
    const auto difference = hn::Sub(x, hn::LoadU(d, about + j));
    add(sums.products + j, x, hn::Mul(difference, wideY));
    add(sums.squares + j, x, hn::Mul(difference, difference));
    if constexpr (HasGaps) add(sums.ySquares + j, x, hn::Mul(wideY, wideY));
  }
  return j;
}

template <typename T>
void AddProducts(const T* row, double y, int n, const double* about, double* products, double* squares) {
  const auto size = static_cast<std::size_t>(n);
  const ProductSums sums{products, squares, nullptr};
  const std::size_t rest = AddProductsFrom<false>(Wide(), row, 0, size, y, about, sums);
  AddProductsFrom<false>(Single(), row, rest, size, y, about, sums);
}

template <typename T>
void AddProductsWithGaps(const T* row, double y, int n, const double* about, double* products, double* squares,
                         double* ySquares) {
  const auto size = static_cast<std::size_t>(n);
  const ProductSums sums{products, squares, ySquares};
  const std::size_t rest = AddProductsFrom<true>(Wide(), row, 0, size, y, about, sums);
  AddProductsFrom<true>(Single(), row, rest, size, y, about, sums);
}

template <typename T>
const ColumnSumKernels<T>& Table() {
  static constexpr ColumnSumKernels<T> kTable = {AddElements<T>, AddSquaresAbout<T>, AddProducts<T>,
                                                 AddProductsWithGaps<T>};
  return kTable;
}

const ColumnSumKernels<float>& FloatColumnSums() {
  return Table<float>();
}
const ColumnSumKernels<double>& DoubleColumnSums() {
  return Table<double>();
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace detail
}  // namespace voran
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

inline namespace voran {
namespace detail {

VORAN_KERNEL_TABLE(FloatColumnSums);
VORAN_KERNEL_TABLE(DoubleColumnSums);
VORAN_SELECT_KERNELS(ColumnSumKernels, FloatColumnSums, DoubleColumnSums)

}  // namespace detail
}  // namespace voran

#endif  // HWY_ONCE
