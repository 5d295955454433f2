#pragma once

inline namespace voran {
namespace detail {

/// A plane rotation of two columns x and y: x becomes c x + s y, and y becomes c y - s x.
template <typename T>
struct Rotation {
  int first;
  int second;
  T cosine;
  T sine;
};

template <typename T>
struct RotationKernels {
  /// Applies rotations in order to n rows, from row `from` on, of the columns that they name (0-based). The arithmetic
  /// is in the element type, which rounds as if the rounded products were widened, added in double and rounded. Element
  /// by element, so the same bits for every instruction set and every way to divide the rows. Does not allocate or
  /// throw, except Current() (see SimdTarget).
  void (*rotate)(T* const* columns, int from, int n, const Rotation<T>* rotations, int count);

  static const RotationKernels& Current();
};

template <>
const RotationKernels<float>& RotationKernels<float>::Current();
template <>
const RotationKernels<double>& RotationKernels<double>::Current();

}  // namespace detail
}  // namespace voran
