#pragma once

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

#include <fuzzer/FuzzedDataProvider.h>

#include "fuzz/expect.h"
#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/integral_vector.h"

namespace fuzz {

using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;
using Groups = NCIntegralVector<int, -99>;

inline constexpr float kGap = -99.0f;
inline constexpr int kMostRows = 12;
inline constexpr int kMostColumns = 8;

/// What the cells of a matrix are drawn from, each kind with those before it.
enum class Cells : int {
  kPlain,  ///< quarters between -16 and 16: nothing overflows, and no difference of them is a gap
  kGaps,   ///< and gaps
  kLarge,  ///< and numbers whose squares a float, or whose sums a float, cannot hold; denormal ones
  kWild,   ///< and NaN, infinities, any bits
};

inline bool IsTame(Cells cells) {
  return cells <= Cells::kGaps;
}

inline Cells MakeCellKind(FuzzedDataProvider& bytes) {
  return static_cast<Cells>(bytes.ConsumeIntegralInRange<int>(0, 3));
}

inline float MakeCell(FuzzedDataProvider& bytes, Cells kind) {
  constexpr std::array<float, 8> kLarge = {1e38f, -1e38f, 3.4e38f, 1e20f, -1e20f, 1e-40f, -1e-45f, 1e-20f};
  constexpr std::array<float, 4> kWild = {NAN, -NAN, INFINITY, -INFINITY};
  const auto byte = bytes.ConsumeIntegral<std::uint8_t>();
  const float plain = static_cast<float>(byte % 128) * 0.25f - 16.0f;
  if (byte < 128 || kind == Cells::kPlain) return plain;
  if (byte < 160 || kind == Cells::kGaps) return kGap;
  if (byte < 200 || kind == Cells::kLarge) return bytes.PickValueInArray(kLarge);
  if (byte < 240) return bytes.PickValueInArray(kWild);
  return std::bit_cast<float>(bytes.ConsumeIntegral<std::uint32_t>());
}

inline Vector MakeVector(FuzzedDataProvider& bytes, int size, Cells kind) {
  Vector v(size, 0.0f);
  for (int i = 1; i <= size; ++i) v(i, MakeCell(bytes, kind));
  return v;
}

/// Rows and columns that have something wrong as a whole.
inline void Spoil(FuzzedDataProvider& bytes, Cells kind, Matrix& m) {
  for (int left = bytes.ConsumeIntegralInRange<int>(0, 3); left > 0; --left) {
    const int i = bytes.ConsumeIntegralInRange<int>(1, m.SizeRows());
    const int j = bytes.ConsumeIntegralInRange<int>(1, m.SizeColumns());
    const int other = bytes.ConsumeIntegralInRange<int>(1, m.SizeRows());
    const Vector row = m[other];
    switch (bytes.ConsumeIntegralInRange<int>(0, 5)) {
      case 0:
        m.SetRow(i, 0.0f);
        break;
      case 1:
        m.SetRow(i, row);
        break;
      case 2:
        for (int r = 1; r <= m.SizeRows(); ++r) m(r, j, MakeCell(bytes, Cells::kPlain));
        break;
      case 3:
        for (int r = 1; r <= m.SizeRows(); ++r) m(r, j, 1.5f);
        break;
      case 4:
        if (kind != Cells::kPlain) m.SetRow(i, kGap);
        break;
      default:
        for (int r = 1; r <= m.SizeRows() && kind != Cells::kPlain; ++r) m(r, j, kGap);
    }
  }
}

inline Matrix MakeMatrix(FuzzedDataProvider& bytes, int rows, int columns, Cells kind) {
  Matrix m(rows, columns, 0.0f);
  for (int i = 1; i <= rows; ++i) {
    for (int j = 1; j <= columns; ++j) m(i, j, MakeCell(bytes, kind));
  }
  if (rows > 0 && columns > 0) Spoil(bytes, kind, m);
  return m;
}

inline int MakeRows(FuzzedDataProvider& bytes) {
  return bytes.ConsumeIntegralInRange<int>(0, kMostRows);
}

inline int MakeColumns(FuzzedDataProvider& bytes) {
  return bytes.ConsumeIntegralInRange<int>(0, kMostColumns);
}

/// The group of each of `size` rows or columns, from 0 to groups - 1.
inline Groups MakeGroups(FuzzedDataProvider& bytes, int size, int groups) {
  Groups made(size, 0);
  for (int i = 1; i <= size; ++i) made(i, bytes.ConsumeIntegralInRange<int>(0, groups - 1));
  return made;
}

/// An element for each position, whatever is wrong with it, to the bit.
inline bool IsSame(const Vector& a, const Vector& b) {
  return a == b && a.GetNumMisVal() == b.GetNumMisVal();
}

inline bool IsSame(const Matrix& a, const Matrix& b) {
  if (a.SizeRows() != b.SizeRows() || a.SizeColumns() != b.SizeColumns()) return false;
  return a == b && a.GetNumMisVal() == b.GetNumMisVal();
}

/// A matrix without rows has no columns that could be wrong.
inline bool HasShape(const Matrix& m, int rows, int columns) {
  return m.SizeRows() == rows && (rows == 0 || m.SizeColumns() == columns);
}

template <typename T>
bool AreCountsRight(const NCDataVector<T>& v) {
  int missing = 0;
  for (const T x : v) missing += x == T(-99) ? 1 : 0;
  return missing == v.GetNumMisVal();
}

/// The kept counts of a matrix against its elements.
inline bool AreCountsRight(const Matrix& m) {
  Groups columns(m.SizeColumns(), 0);
  int total = 0;
  for (const Vector& row : m) {
    if (row.Size() != m.SizeColumns() || !AreCountsRight(row)) return false;
    for (int j = 1; j <= row.Size(); ++j) columns(j, columns[j] + (row[j] == kGap ? 1 : 0));
    total += row.GetNumMisVal();
  }
  for (int j = 1; j <= m.SizeColumns(); ++j) {
    if (columns[j] != m.GetColumnMisVal(j)) return false;
  }
  return total == m.GetNumMisVal();
}

template <typename T>
bool IsFinite(const NCDataVector<T>& v) {
  for (const T x : v) {
    if (!std::isfinite(x)) return false;
  }
  return true;
}

inline bool IsFinite(const Matrix& m) {
  for (const Vector& row : m) {
    if (!IsFinite(row)) return false;
  }
  return true;
}

/// Notices a write to a matrix that was to be read only, also one through shared elements.
class Untouched {
 public:
  explicit Untouched(const Matrix& m) : matrix_(m) { before_.CopyContent(m); }
  void Check() const { Expect(IsSame(matrix_, before_), "an operation leaves its input alone"); }

 private:
  const Matrix& matrix_;
  Matrix before_;
};

}  // namespace fuzz
