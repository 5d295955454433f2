#pragma once

#include "voran/containers/data_vector.h"

inline namespace voran {
namespace detail {

/// The first element for writing, shared with nothing; null where there is none. Who writes keeps the count of missing
/// elements right.
template <typename T>
T* WritableElements(NCDataVector<T>& v) {
  T* const base = v.GetWritableVector();
  return base == nullptr ? nullptr : base + 1;
}

}  // namespace detail
}  // namespace voran
