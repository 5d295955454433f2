#pragma once

#include "voran/containers/integral_vector.h"

inline namespace voran {

/// A 1-based vector of flags, one byte each.
class VORAN_EXPORT BoolVector : public NCIntegralVector<bool, 0> {
 public:
  BoolVector() noexcept = default;
  BoolVector(int n, bool value) : NCIntegralVector(n, value) {}
};

}  // namespace voran
