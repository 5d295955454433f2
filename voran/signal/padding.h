#pragma once

#include "voran/containers/data_vector.h"

inline namespace voran {
namespace detail {

/// Lengthens `v`, which has elements and no gaps, to `length` on a straight line from its last value back to its first:
/// for transforms that take the series for periodic. A single new element deliberately is half their difference, not
/// their midpoint. Nothing happens to a longer vector.
inline void PadTowardsStart(NCDataVector<float>& v, int length) {
  const int oldSize = v.Size();
  const int count = length - oldSize;
  if (count < 1) return;
  const float first = v[1];
  const float last = v[oldSize];
  v.Resize(length, 0.0f);
  float* const tail = v.GetWritableVector() + oldSize + 1;
  if (count == 1) {
    tail[0] = (last - first) * 0.5f;
    return;
  }
  const double step = static_cast<double>(last - first) / (count - 1);
  for (int k = 0; k < count; ++k) tail[k] = static_cast<float>(static_cast<double>(last) - k * step);
}

}  // namespace detail
}  // namespace voran
