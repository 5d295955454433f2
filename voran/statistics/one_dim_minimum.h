#pragma once

#include "voran/export.h"

inline namespace voran {

/// The minimum of a function of one variable: first a bracket, then golden section. Free of state.
class VORAN_EXPORT OneDimMinimum {
 public:
  /// The function to minimise.
  struct VORAN_EXPORT CallBack {
    CallBack() = default;
    CallBack(const CallBack&) = default;
    CallBack& operator=(const CallBack&) = default;
    virtual ~CallBack();
    virtual float Evaluate(float x) = 0;
  };

  OneDimMinimum() = delete;

  /// Goes downhill from `*a` and `*b` until the three points enclose a minimum: `*b` lies between `*a` and `*c`, and
  /// *fb is not above *fa or *fc. The values at the points come with them. Where the function has no minimum, the
  /// points run off to infinity.
  static void BracketMinimum(CallBack* f, float* a, float* b, float* c, float* fa, float* fb, float* fc);

  /// Narrows the bracket (a, b, c) until its width is `tolerance` times the size of its inner points, and returns the
  /// smaller value there, with its place in `*xMin`. It ends earlier where the numbers between the ends run
  /// out: for a tolerance below the rounding of a float (1e-7), or around 0. About 3e-4 is the best that the values of
  /// a smooth function in float can tell. Shows its progress; a cancel ends the search early with what it has.
  static float GoldenSectionSearch(CallBack* f, float a, float b, float c, float tolerance, float* xMin);
};

}  // namespace voran
