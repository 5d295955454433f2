#pragma once

#include "voran/export.h"

inline namespace voran {

/// Probabilities of statistics and of tables. Free of state: any thread may call them.
namespace Sta {

/// The value of F that a ratio with df1 and df2 degrees of freedom exceeds with probability `p`, by bisection to five
/// digits; values above 99999 are not found. -1.0 if `p` is not between 0 and 1.
VORAN_EXPORT double FFTest(double df1, double df2, double p);

/// The probability that the ratio ms1/ms2 of two mean squares with df1 and df2 degrees of freedom is exceeded by
/// chance. 1.0 if ms1 is 0.0, 0.0 if only ms2 is; -99.0 if either is missing (-99.0) or negative.
VORAN_EXPORT double PFTest(double ms1, double df1, double ms2, double df2);

/// The value of Student's t with `df` degrees of freedom that encloses the central area `p` around 0; with `twoSided`
/// the one that a fraction `p` of all values does not exceed: its central area is 2p - 1. By bisection to four
/// decimals, at most 64. 0.0 if the area is not within 0 and 1.
VORAN_EXPORT double GetStudentsT(double p, double df, bool twoSided);

}  // namespace Sta
}  // namespace voran
