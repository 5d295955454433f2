#include "voran/statistics/distributions.h"

#include "voran/containers/missing_value.h"
#include "voran/statistics/incomplete_beta.h"

inline namespace voran {
namespace Sta {
namespace {

constexpr double kMissing = voran::detail::kMissing<double>;

/// The probability that a ratio F is exceeded.
double UpperTail(double F, double numeratorDf, double denominatorDf) {
  const double q =
      detail::IncompleteBeta(denominatorDf / 2.0, numeratorDf / 2.0, denominatorDf / (denominatorDf + numeratorDf * F));
  return q > 1.0 ? 2.0 - q : q;
}

}  // namespace

double PFTest(double ms1, double df1, double ms2, double df2) {
  if (ms1 == kMissing || ms2 == kMissing || ms1 < 0.0 || ms2 < 0.0) return kMissing;
  if (ms1 > ms2) return ms2 == 0.0 ? 0.0 : UpperTail(ms1 / ms2, df1, df2);
  return ms1 == 0.0 ? 1.0 : 1.0 - UpperTail(ms2 / ms1, df2, df1);
}

double FFTest(double df1, double df2, double p) {
  if (p <= 0.0 || p >= 1.0) return -1.0;
  double lo = 1e-6F;
  double hi = 99999.0;
  double x = 1.0 / p;
  while (hi - lo > 5e-5 && (hi - lo) / hi > 1e-5) {
    (p > PFTest(x, df1, 1.0, df2) ? hi : lo) = x;
    x = (lo + hi) / 2.0;
  }
  return x;
}

double GetStudentsT(double p, double df, bool twoSided) {
  const double q = twoSided ? p * 2.0 - 1.0 : p;
  if (q < 0.0 || q > 1.0) return 0.0;
  double lo = 0.0;
  double hi = 64.0;
  double t = 32.0;
  do {
    (1.0 - detail::IncompleteBeta(df / 2.0, 0.5, df / (t * t + df)) > q ? hi : lo) = t;
    t = (lo + hi) / 2.0;
  } while (hi - lo > 0.0001);
  return t;
}

}  // namespace Sta
}  // namespace voran
