#pragma once

#include <utility>

inline namespace voran {
namespace detail {

/// Hands a value out: in `result` if there is one, otherwise in a new object that the caller deletes.
template <class T>
T* InResultOrNew(T value, T* result) {
  if (result == nullptr) return new T(std::move(value));
  *result = value;
  return result;
}

}  // namespace detail
}  // namespace voran
