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

/// The same of a vector that has n elements from now on, all of which the caller writes.
template <typename T>
T* WritableElements(NCDataVector<T>& v, int n) {
  v.UnInitialisedResize(n);
  return v.First();
}

}  // namespace detail
}  // namespace voran
