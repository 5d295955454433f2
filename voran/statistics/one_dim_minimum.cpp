#include "voran/statistics/one_dim_minimum.h"

#include <cmath>
#include <string>
#include <utility>

#include "voran/platform/exception_message.h"
#include "voran/platform/progress.h"

inline namespace voran {
namespace {

constexpr double kGolden = 1.618034;
constexpr double kFurthest = 100.0;  // in one parabolic step, as a multiple of the last one
constexpr double kTiny = 1e-20;

/// Of the search, for a bracket that gets no narrower: where it has shrunk to neighbouring numbers, it never will.
constexpr int kMostIdleRounds = 64;

constexpr double kR = 0.61803399;
constexpr double kC = 0.38196600999999997;

struct Place {
  float x;
  float value;
};

Place PlaceAt(OneDimMinimum::CallBack& f, double x) {
  const auto narrowed = static_cast<float>(x);
  return {narrowed, f.Evaluate(narrowed)};
}

double GoldenStep(float from, float to) {
  return static_cast<double>(to) + kGolden * (static_cast<double>(to) - static_cast<double>(from));
}

/// Where the parabola through the three places has its vertex.
float ParabolaVertex(const Place& a, const Place& b, const Place& c) {
  const double bx = b.x;
  const double r = (bx - static_cast<double>(a.x)) * (static_cast<double>(b.value) - static_cast<double>(c.value));
  const double q = (bx - static_cast<double>(c.x)) * (static_cast<double>(b.value) - static_cast<double>(a.value));
  const double twice = 2.0 * std::copysign(std::fmax(std::fabs(q - r), kTiny), q - r);
  const double step = ((bx - static_cast<double>(c.x)) * q - (bx - static_cast<double>(a.x)) * r) / twice;
  return static_cast<float>(bx - step);
}

bool IsBetween(float x, float end, float otherEnd) {
  return (end - x) * (x - otherEnd) > 0.0F;
}

/// Three places in a row, of which the third is lower than the second until the minimum is passed.
struct Descent {
  OneDimMinimum::CallBack& f;
  Place a;
  Place b;
  Place c;

  void MoveTo(const Place& next) {
    a = b;
    b = c;
    c = next;
  }

  void Step() {
    const float u = ParabolaVertex(a, b, c);
    const auto limit = static_cast<float>(static_cast<double>(b.x) +
                                          kFurthest * (static_cast<double>(c.x) - static_cast<double>(b.x)));
    if (IsBetween(u, b.x, c.x)) {
      StepWithin(PlaceAt(f, u));
    } else if (IsBetween(u, c.x, limit)) {
      const Place beyond = PlaceAt(f, u);
      const bool isStillFalling = beyond.value < c.value;
      MoveTo(beyond);
      if (isStillFalling) MoveTo(PlaceAt(f, GoldenStep(b.x, c.x)));
    } else {
      const bool isBeyondLimit = (u - limit) * (limit - c.x) >= 0.0F;
      MoveTo(PlaceAt(f, isBeyondLimit ? static_cast<double>(limit) : GoldenStep(b.x, c.x)));
    }
  }

 private:
  /// A vertex between b and c ends the descent if it is lower than c or higher than b; else it is of no use.
  void StepWithin(const Place& vertex) {
    if (vertex.value < c.value) {
      a = b;
      b = vertex;
    } else if (vertex.value > b.value) {
      c = vertex;
    } else {
      MoveTo(PlaceAt(f, GoldenStep(b.x, c.x)));
    }
  }
};

/// The width of the bracket relative to its inner points.
float RelativeWidth(float x0, float x1, float x2, float x3) {
  return std::fabs(x3 - x0) / (std::fabs(x1) + std::fabs(x2));
}

double Blend(double nearShare, float near, double farShare, float far) {
  return nearShare * static_cast<double>(near) + farShare * static_cast<double>(far);
}

}  // namespace

OneDimMinimum::CallBack::~CallBack() = default;

void OneDimMinimum::BracketMinimum(CallBack* f, float* a, float* b, float* c, float* fa, float* fb, float* fc) {
  Place first = PlaceAt(*f, *a);
  Place second = PlaceAt(*f, *b);
  if (second.value > first.value) std::swap(first, second);
  Descent descent{*f, first, second, PlaceAt(*f, GoldenStep(first.x, second.x))};
  while (descent.b.value > descent.c.value) descent.Step();
  *a = descent.a.x;
  *b = descent.b.x;
  *c = descent.c.x;
  *fa = descent.a.value;
  *fb = descent.b.value;
  *fc = descent.c.value;
}

float OneDimMinimum::GoldenSectionSearch(CallBack* f, float a, float b, float c, float tolerance, float* xMin) {
  const float end = -std::log(tolerance);
  NCProgress progress(detail::TranslateText("Golden Section Search").c_str(), end, end, false, true, true, "");
  float x0 = a;
  float x3 = c;
  const bool isUpperWider = std::fabs(c - b) > std::fabs(b - a);
  const double inserted =
      static_cast<double>(b) + (isUpperWider ? kC * static_cast<double>(c - b) : -kC * static_cast<double>(b - a));
  Place p1 = PlaceAt(*f, isUpperWider ? static_cast<double>(b) : inserted);
  Place p2 = PlaceAt(*f, isUpperWider ? inserted : static_cast<double>(b));
  int idleRounds = 0;
  for (float width = std::fabs(x3 - x0); width > tolerance * (std::fabs(p1.x) + std::fabs(p2.x));) {
    if (!progress.SetValue(-std::log(RelativeWidth(x0, p1.x, p2.x, x3)))) break;
    if (p1.value > p2.value) {
      x0 = p1.x;
      p1 = p2;
      p2 = PlaceAt(*f, Blend(kR, p1.x, kC, x3));
    } else {
      x3 = p2.x;
      p2 = p1;
      p1 = PlaceAt(*f, Blend(kR, p2.x, kC, x0));
    }
    const float before = std::exchange(width, std::fabs(x3 - x0));
    idleRounds = width < before ? 0 : idleRounds + 1;
    if (idleRounds == kMostIdleRounds) break;
  }
  const Place& best = p2.value > p1.value ? p1 : p2;
  *xMin = best.x;
  return best.value;
}

}  // namespace voran
