#include "voran/containers/kernels/rotations.h"

#include <cstddef>

#include "voran/containers/kernels/dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "voran/containers/kernels/rotations.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "voran/containers/kernels/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
inline namespace voran {
namespace detail {
namespace HWY_NAMESPACE {
namespace {

template <typename T>
using Full = hn::CappedTag<T, kAccumulators>;
template <typename T>
constexpr std::size_t kFullLanes = hn::MaxLanes(Full<T>());

/// Vectors of rows that go through all rotations together: enough to hide how one rotation waits for the one before.
constexpr std::size_t kTogether = 8;

/// `Vectors` vectors of rows of one column.
template <typename T, std::size_t Vectors>
class Strip {
 public:
  explicit HWY_INLINE Strip(const T* column) {
    for (std::size_t k = 0; k < Vectors; ++k) rows_[k] = hn::LoadU(Full<T>(), column + k * kFullLanes<T>);
  }
  HWY_INLINE void Store(T* column) const {
    for (std::size_t k = 0; k < Vectors; ++k) hn::StoreU(rows_[k], Full<T>(), column + k * kFullLanes<T>);
  }
  /// Rotates this column x with y: the new x is stored over the old, and this becomes the new y.
  HWY_INLINE void Rotate(const Rotation<T>& rotation, T* x, const T* y) {
    const Full<T> d;
    const auto cosine = hn::Set(d, rotation.cosine);
    const auto sine = hn::Set(d, rotation.sine);
    for (std::size_t k = 0; k < Vectors; ++k) {
      const auto other = hn::LoadU(d, y + k * kFullLanes<T>);
      hn::StoreU(hn::Add(hn::Mul(rows_[k], cosine), hn::Mul(other, sine)), d, x + k * kFullLanes<T>);
      rows_[k] = hn::Sub(hn::Mul(other, cosine), hn::Mul(rows_[k], sine));
    }
  }

 private:
  hn::Vec<Full<T>> rows_[Vectors];
};

/// Most rotations begin with the column at which the one before ended: that column stays in registers.
template <typename T, std::size_t Vectors>
HWY_INLINE void RotateStrip(T* const* columns, std::size_t from, const Rotation<T>* rotations, int count) {
  if (count == 0) return;
  int at = rotations[0].first;
  Strip<T, Vectors> strip(columns[at] + from);
  for (int r = 0; r < count; ++r) {
    const Rotation<T>& rotation = rotations[r];
    if (rotation.first != at) {
      strip.Store(columns[at] + from);
      strip = Strip<T, Vectors>(columns[rotation.first] + from);
    }
    strip.Rotate(rotation, columns[rotation.first] + from, columns[rotation.second] + from);
    at = rotation.second;
  }
  strip.Store(columns[at] + from);
}

template <typename T>
void RotateRow(T* const* columns, std::size_t row, const Rotation<T>* rotations, int count) {
  for (int r = 0; r < count; ++r) {
    T& x = columns[rotations[r].first][row];
    T& y = columns[rotations[r].second][row];
    const T before = x;
    const T products[] = {before * rotations[r].cosine, y * rotations[r].sine, y * rotations[r].cosine,
                          before * rotations[r].sine};
    x = products[0] + products[1];
    y = products[2] - products[3];
  }
}

template <typename T>
void Rotate(T* const* columns, int from, int n, const Rotation<T>* rotations, int count) {
  constexpr std::size_t kStrip = kTogether * kFullLanes<T>;
  auto row = static_cast<std::size_t>(from);
  const std::size_t end = row + static_cast<std::size_t>(n);
  for (; row + kStrip <= end; row += kStrip) RotateStrip<T, kTogether>(columns, row, rotations, count);
  for (; row + kFullLanes<T> <= end; row += kFullLanes<T>) RotateStrip<T, 1>(columns, row, rotations, count);
  for (; row < end; ++row) RotateRow(columns, row, rotations, count);
}

template <typename T>
const RotationKernels<T>& Table() {
  static constexpr RotationKernels<T> kTable = {Rotate<T>};
  return kTable;
}

const RotationKernels<float>& FloatRotations() {
  return Table<float>();
}
const RotationKernels<double>& DoubleRotations() {
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

VORAN_KERNEL_TABLE(FloatRotations);
VORAN_KERNEL_TABLE(DoubleRotations);
VORAN_SELECT_KERNELS(RotationKernels, FloatRotations, DoubleRotations)

}  // namespace detail
}  // namespace voran

#endif  // HWY_ONCE
