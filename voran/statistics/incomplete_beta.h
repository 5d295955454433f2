#pragma once

inline namespace voran {
namespace Sta {
namespace detail {

/// The logarithm of the gamma function for x > 0, to about ten digits: Lanczos' approximation with six terms.
double LogGamma(double x);

/// The regularised incomplete beta function I_x(a, b), to a relative 3e-7. `x` counts as 0 below 0 and as 1 above 1.
double IncompleteBeta(double a, double b, double x);

}  // namespace detail
}  // namespace Sta
}  // namespace voran
