#pragma once

#include "voran/containers/missing_value.h"

inline namespace voran {
namespace detail {

// Arithmetic on the numbers of a chart: a result without one of its operands is missing.

inline bool IsKnown(double value) {
  return value != kNoValue;
}

inline double Product(double a, double b) {
  return IsKnown(a) && IsKnown(b) ? a * b : kNoValue;
}

inline double Quotient(double a, double b) {
  return IsKnown(a) && IsKnown(b) ? a / b : kNoValue;
}

inline double Sum(double a, double b) {
  return IsKnown(a) && IsKnown(b) ? a + b : kNoValue;
}

inline double Difference(double a, double b) {
  return IsKnown(a) && IsKnown(b) ? a - b : kNoValue;
}

}  // namespace detail
}  // namespace voran
