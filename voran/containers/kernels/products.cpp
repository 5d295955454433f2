#include "voran/containers/kernels/products.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "voran/containers/kernels/dispatch.h"
#include "voran/containers/missing_value.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "voran/containers/kernels/products.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "voran/containers/kernels/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
inline namespace voran {
namespace detail {
namespace HWY_NAMESPACE {
namespace {

/// The sums of a tile stay in registers over all terms of a block: 4 x 2 vectors of doubles, and room for operands.
constexpr int kTileVectors = 2;
constexpr int kTileLeft = 4;  // AddBlock() counts on it
constexpr int kTileRight = kTileVectors * kLanes;
static_assert(kProductPadding % kTileLeft == 0 && kProductPadding % kTileRight == 0);
static_assert(kProductBlock % kProductPadding == 0);

#if HWY_TARGET == HWY_SCALAR
template <typename T>
constexpr int kSquare = 1;

template <typename T>
HWY_INLINE void TurnSquare(const T* const* rows, int firstTerm, T* out, int /*stride*/) {
  *out = rows[0][firstTerm];
}
#else
/// Terms and lines that are turned together: those of 16 bytes.
template <typename T>
constexpr int kSquare = static_cast<int>(16 / sizeof(T));

/// out[k * stride + l] = rows[l][k] for k and l below kSquare.
template <typename T>
HWY_INLINE void TurnSquare(const T* const* rows, int firstTerm, T* out, int stride) {
  const hn::CappedTag<T, kSquare<T>> d;
  const auto a = hn::LoadU(d, rows[0] + firstTerm);
  const auto b = hn::LoadU(d, rows[1] + firstTerm);
  if constexpr (kSquare<T> == 2) {
    hn::StoreU(hn::InterleaveLower(d, a, b), d, out);
    hn::StoreU(hn::InterleaveUpper(d, a, b), d, out + stride);
  } else {
    const auto c = hn::LoadU(d, rows[2] + firstTerm);
    const auto e = hn::LoadU(d, rows[3] + firstTerm);
    const auto acLow = hn::InterleaveLower(d, a, c);
    const auto beLow = hn::InterleaveLower(d, b, e);
    const auto acHigh = hn::InterleaveUpper(d, a, c);
    const auto beHigh = hn::InterleaveUpper(d, b, e);
    hn::StoreU(hn::InterleaveLower(d, acLow, beLow), d, out);
    hn::StoreU(hn::InterleaveUpper(d, acLow, beLow), d, out + stride);
    hn::StoreU(hn::InterleaveLower(d, acHigh, beHigh), d, out + 2 * stride);
    hn::StoreU(hn::InterleaveUpper(d, acHigh, beHigh), d, out + 3 * stride);
  }
}

#endif

/// Writes a whole panel of lines that are rows side by side, term by term; meanwhile `ahead` rows behind them are
/// fetched.
template <int Width, typename T>
HWY_INLINE void TurnPanel(const T* const* lines, int firstTerm, int terms, int ahead, T* panel) {
  static_assert(Width % kSquare<T> == 0);
  const T* rows[Width];
  for (int l = 0; l < Width; ++l) rows[l] = lines[l];
  int k = 0;
  for (; k + kSquare<T> <= terms; k += kSquare<T>) {
    const int term = firstTerm + k;
    if (k % kAccumulators == 0) Fetch(lines + Width, ahead, static_cast<std::size_t>(term));
    for (int l = 0; l < Width; l += kSquare<T>) TurnSquare(rows + l, term, panel + k * Width + l, Width);
  }
  for (; k < terms; ++k) {
    for (int l = 0; l < Width; ++l) panel[k * Width + l] = rows[l][firstTerm + k];
  }
}

/// Writes `used` lines side by side, term by term. For a whole panel `used` is a constant.
template <int Width, typename T, class Count>
HWY_INLINE void PackPanel(const ProductLines<T>& from, int firstLine, Count used, int firstTerm, int terms, T* panel) {
  for (int k = 0; k < terms; ++k) {
    for (int l = 0; l < used; ++l) {
      panel[k * Width + l] =
          from.areRows ? from.rows[firstLine + l][firstTerm + k] : from.rows[firstTerm + k][firstLine + l];
    }
  }
}

/// Panels of `Width` lines. Where the last one lacks lines, it keeps what stood there: sums that nobody reads.
template <int Width, typename T>
void Pack(const ProductLines<T>& from, int firstLine, int lines, int firstTerm, int terms, bool zeroGaps, T* packed) {
  for (int line = 0; line < lines; line += Width) {
    T* const panel = packed + line * terms;
    const int size = Width * terms;
    const int ahead = std::clamp(lines - line - Width, 0, Width);
    if (lines - line >= Width && from.areRows) {
      TurnPanel<Width>(from.rows + firstLine + line, firstTerm, terms, ahead, panel);
    } else if (lines - line >= Width) {
      PackPanel<Width>(from, firstLine + line, std::integral_constant<int, Width>(), firstTerm, terms, panel);
    } else {
      PackPanel<Width>(from, firstLine + line, lines - line, firstTerm, terms, panel);
    }
    for (int i = 0; zeroGaps && i < size; ++i) panel[i] = panel[i] == kMissing<T> ? T{0} : panel[i];
  }
}

/// `Left` lines of a left panel with a right panel.
template <bool TestGaps, int Left, typename T>
HWY_INLINE void AddTile(const T* HWY_RESTRICT left, const T* HWY_RESTRICT right, int terms, double* HWY_RESTRICT sums) {
  const Narrow<T> narrow;
  [[maybe_unused]] const auto marker = hn::Set(narrow, kMissing<T>);
  WideVec sum[Left][kTileVectors];
  for (int l = 0; l < Left; ++l) {
    for (int v = 0; v < kTileVectors; ++v) sum[l][v] = hn::LoadU(Wide(), sums + l * kProductBlock + v * kLanes);
  }
  for (int k = 0; k < terms; ++k, left += kTileLeft, right += kTileRight) {
    NarrowVec<T> b[kTileVectors];
    for (int v = 0; v < kTileVectors; ++v) b[v] = hn::LoadU(narrow, right + v * kLanes);
    for (int l = 0; l < Left; ++l) {
      const auto a = hn::Set(narrow, left[l]);
      for (int v = 0; v < kTileVectors; ++v) {
        auto product = hn::Mul(a, b[v]);
        if constexpr (TestGaps) {
          product = hn::IfThenZeroElse(hn::Or(hn::Eq(a, marker), hn::Eq(b[v], marker)), product);
        }
        sum[l][v] = hn::Add(sum[l][v], Widen(product));
      }
    }
  }
  for (int l = 0; l < Left; ++l) {
    for (int v = 0; v < kTileVectors; ++v) hn::StoreU(sum[l][v], Wide(), sums + l * kProductBlock + v * kLanes);
  }
}

/// A right panel stays in the nearest cache while the left ones pass.
template <bool TestGaps, typename T>
void AddBlock(const T* left, int leftLines, const T* right, int rightLines, int terms, double* sums) {
  for (int j = 0; j < rightLines; j += kTileRight) {
    const T* const panel = right + j * terms;
    int i = 0;
    for (; i + kTileLeft <= leftLines; i += kTileLeft) {
      AddTile<TestGaps, kTileLeft>(left + i * terms, panel, terms, sums + i * kProductBlock + j);
    }
    double* const rest = sums + i * kProductBlock + j;
    if (leftLines - i == 3) AddTile<TestGaps, 3>(left + i * terms, panel, terms, rest);
    if (leftLines - i == 2) AddTile<TestGaps, 2>(left + i * terms, panel, terms, rest);
    if (leftLines - i == 1) AddTile<TestGaps, 1>(left + i * terms, panel, terms, rest);
  }
}

using Few = hn::CappedTag<double, kFewLines>;
constexpr int kFewLanes = static_cast<int>(hn::MaxLanes(Few()));
constexpr int kFewVectors = kFewLines / kFewLanes;

HWY_INLINE hn::Vec<Few> WidenFew(hn::Vec<hn::Rebind<float, Few>> v) {
  return hn::PromoteTo(Few(), v);
}
HWY_INLINE hn::Vec<Few> WidenFew(hn::Vec<Few> v) {
  return v;
}

template <int Rows, typename T>
HWY_INLINE void RowsByFewTogether(const T* const* rows, const T* const* next, int ahead, const T* lines, int terms,
                                  double* sums) {
  const hn::Rebind<T, Few> narrow;
  const T* row[Rows];
  hn::Vec<Few> sum[Rows][kFewVectors];
  for (int r = 0; r < Rows; ++r) {
    row[r] = rows[r];
    for (auto& s : sum[r]) s = hn::Zero(Few());
  }
  for (int k = 0; k < terms; ++k, lines += kFewLines) {
    if (k % kAccumulators == 0) Fetch(next, ahead, static_cast<std::size_t>(k));
    for (int v = 0; v < kFewVectors; ++v) {
      const auto b = hn::LoadU(narrow, lines + v * kFewLanes);
      for (int r = 0; r < Rows; ++r) sum[r][v] = hn::Add(sum[r][v], WidenFew(hn::Mul(hn::Set(narrow, row[r][k]), b)));
    }
  }
  for (int r = 0; r < Rows; ++r) {
    for (int v = 0; v < kFewVectors; ++v) hn::StoreU(sum[r][v], Few(), sums + r * kFewLines + v * kFewLanes);
  }
}

template <typename T>
void RowsByFew(const T* const* rows, int numRows, int ahead, const T* lines, int terms, double* sums) {
  constexpr int kTogether = kRowsByFew / kFewVectors;  // their sums fit into the registers
  int r = 0;
  for (; r + kTogether <= numRows; r += kTogether) {
    RowsByFewTogether<kTogether>(rows + r, rows + numRows, r == 0 ? ahead : 0, lines, terms, sums + r * kFewLines);
  }
  for (; r < numRows; ++r) RowsByFewTogether<1>(rows + r, rows, 0, lines, terms, sums + r * kFewLines);
}

template <typename T>
void MarkPresent(const T* row, int n, std::uint64_t* words, int stride) {
  for (int first = 0; first < n; first += 64, words += stride) {
    std::uint64_t word = 0;
    const int count = std::min(64, n - first);
    for (int k = 0; k < count; ++k) word |= static_cast<std::uint64_t>(row[first + k] != kMissing<T>) << k;
    *words = word;
  }
}

template <typename T>
void MarkPresentIn(const T* row, int n, std::uint64_t bit, std::uint64_t* words) {
  for (int j = 0; j < n; ++j) words[j] |= row[j] != kMissing<T> ? bit : 0;
}

template <typename T>
bool AllFinite(const T* row, int n) {
  int others = 0;
  for (int j = 0; j < n; ++j) others += std::abs(row[j]) <= std::numeric_limits<T>::max() ? 0 : 1;
  return others == 0;
}

template <typename T>
const ProductKernels<T>& Table() {
  static constexpr ProductKernels<T> kTable = {Pack<kTileLeft, T>, Pack<kTileRight, T>, AddBlock<false, T>,
                                               AddBlock<true, T>,  RowsByFew<T>,        MarkPresent<T>,
                                               MarkPresentIn<T>,   AllFinite<T>};
  return kTable;
}

const ProductKernels<float>& FloatProducts() {
  return Table<float>();
}
const ProductKernels<double>& DoubleProducts() {
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

VORAN_KERNEL_TABLE(FloatProducts);
VORAN_KERNEL_TABLE(DoubleProducts);
VORAN_SELECT_KERNELS(ProductKernels, FloatProducts, DoubleProducts)

}  // namespace detail
}  // namespace voran

#endif  // HWY_ONCE
