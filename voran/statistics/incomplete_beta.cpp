#include "voran/statistics/incomplete_beta.h"

#include <algorithm>
#include <cmath>

inline namespace voran {
namespace Sta {
namespace detail {
namespace {

constexpr double kTolerance = 3e-7;
constexpr int kMostRounds = 1000;
constexpr double kSmallestFactor = 1e-36;

/// The continued fraction of the incomplete beta function, by its even and odd steps. One that does not converge, which
/// needs parameters in the millions, gives the mean of its last two values.
double ContinuedFraction(double a, double b, double x) {
  double am = 1.0;
  double bm = 1.0;
  double az = 1.0;
  double bz = 1.0 - (a + b) * x / (a + 1.0);
  double old = az;
  for (int m = 1; m <= kMostRounds; ++m) {
    const double d = (b - m) * m * x / ((2.0 * m + a - 1.0) * (2.0 * m + a));
    const double ap = az + d * am;
    const double bp = bz + d * bm;
    const double d2 = -(a + b + m) * (a + m) * x / ((2.0 * m + a + 1.0) * (2.0 * m + a));
    const double app = ap + d2 * az;
    const double bpp = bp + d2 * bz;
    old = az;
    am = ap / bpp;
    bm = bp / bpp;
    az = app / bpp;
    bz = 1.0;
    if (kTolerance * std::fabs(az) > std::fabs(az - old)) return az;
  }
  return (az + old) * 0.5;
}

/// x^a (1 - x)^b / B(a, b).
double Factor(double a, double b, double x) {
  if (x == 0.0 || x == 1.0) return 0.0;
  const double factor = std::exp(LogGamma(a + b) - LogGamma(a) - LogGamma(b) + a * std::log(x) + b * std::log(1.0 - x));
  return factor < kSmallestFactor ? 0.0 : factor;
}

}  // namespace

// C. Lanczos, A precision approximation of the gamma function, SIAM Journal on Numerical Analysis B 1 (1964).
double LogGamma(double x) {
  const double y = x - 1.0;
  const double s = 1.0 + 76.18009173 / (y + 1.0) - 86.50532033 / (y + 2.0) + 24.01409822 / (y + 3.0) -
                   1.231739516 / (y + 4.0) + 0.00120858003 / (y + 5.0) - 5.36382e-6 / (y + 6.0);
  return std::log(2.50662827465 * s) - (y + 5.5 - (y + 0.5) * std::log(y + 5.5));
}

double IncompleteBeta(double a, double b, double x) {
  const double within = std::clamp(x, 0.0, 1.0);
  const double factor = Factor(a, b, within);
  if (within < (a + 1.0) / (a + b + 2.0)) return ContinuedFraction(a, b, within) * factor / a;
  return 1.0 - ContinuedFraction(b, a, 1.0 - within) * factor / b;
}

}  // namespace detail
}  // namespace Sta
}  // namespace voran
