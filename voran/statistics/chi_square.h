#pragma once

inline namespace voran {
namespace Sta {
namespace detail {

/// The probability that chi-square with `df` >= 1 degrees of freedom exceeds `x`; 1 for x <= 0. A sum of `df` / 2
/// terms.
double ChiSquareTail(double x, int df);

}  // namespace detail
}  // namespace Sta
}  // namespace voran
