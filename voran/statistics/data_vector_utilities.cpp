#include "voran/statistics/data_vector_utilities.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "voran/containers/missing_value.h"
#include "voran/platform/exception.h"
#include "voran/statistics/relative_tolerance.h"

inline namespace voran {
namespace NCDataVectorUtilities {
namespace {

using detail::Differ;
using VrMath::EExtrapolate;

constexpr float kMissing = detail::kMissing<float>;

struct Point {
  float x;
  float y;

  bool IsComplete() const { return x != kMissing && y != kMissing; }
};

float OnLine(const Point& first, const Point& second, float x, EExtrapolate mode) {
  if (!Differ(first.x, second.x)) return first.y;
  const Point& lower = first.x < second.x ? first : second;
  const Point& upper = first.x < second.x ? second : first;
  if (mode == EExtrapolate::kNearest && x < lower.x) return lower.y;
  if (mode == EExtrapolate::kNearest && x > upper.x) return upper.y;
  if (mode == EExtrapolate::kMissing && (x < lower.x || x > upper.x)) return kMissing;
  return (x - first.x) / (second.x - first.x) * (second.y - first.y) + first.y;
}

float AtAbscissa(const Point& first, const Point& second, float x) {
  if (!Differ(x, first.x)) return first.y;
  return Differ(x, second.x) ? kMissing : second.y;
}

float Between(const Point& first, const Point& second, float x, EExtrapolate mode) {
  if (x == kMissing) return kMissing;
  if (first.IsComplete() && second.IsComplete()) return OnLine(first, second, x, mode);
  return AtAbscissa(first, second, x);
}

std::vector<Point> PresentPoints(const NCDataVector<float>& x, const NCDataVector<float>& y) {
  std::vector<Point> points;
  points.reserve(static_cast<std::size_t>(y.Size()));
  for (int i = 1; i <= y.Size(); ++i) {
    if (y[i] != kMissing) points.push_back({x[i], y[i]});
  }
  return points;
}

/// The value at `x` of the curve through `points`, by the two that enclose it or lie next to it.
float OnCurve(const std::vector<Point>& points, bool descending, float x) {
  if (points.empty()) return kMissing;
  if (points.size() == 1) return Differ(x, points.front().x) ? kMissing : points.front().y;
  const auto isBefore = [descending](const Point& p, float value) { return descending ? p.x > value : p.x < value; };
  // The second point and the last stand in for what lies outside them.
  const auto upper = std::lower_bound(points.begin() + 1, points.end() - 1, x, isBefore);
  return OnLine(*(upper - 1), *upper, x, EExtrapolate::kLinear);
}

}  // namespace

NCDataVector<float> InterPolate(float x1, float x2, const NCDataVector<float>& y1, const NCDataVector<float>& y2,
                                float x, EExtrapolate mode) {
  NCDataVector<float> result(y1.Size());
  for (int i = 1; i <= y1.Size(); ++i) result(i, Between({x1, y1[i]}, {x2, y2[i]}, x, mode));
  return result;
}

NCDataVector<float> InterPolateVec(const NCDataVector<float>& xNew, const NCDataVector<float>& xOld,
                                   const NCDataVector<float>& yOld) {
  if (xOld.Size() != yOld.Size() || xOld.GetNumMisVal() != 0 || xNew.GetNumMisVal() != 0) {
    throw InvalidArgument("InterPolate");
  }
  if (xOld.Size() == 0) return NCDataVector<float>(xNew.Size());
  if (xOld.Size() == 1) return NCDataVector<float>(xNew.Size(), yOld[1]);
  const std::vector<Point> points = PresentPoints(xOld, yOld);
  const bool descending = xOld[1] > xOld.back();
  NCDataVector<float> result(xNew.Size());
  for (int i = 1; i <= xNew.Size(); ++i) result(i, OnCurve(points, descending, xNew[i]));
  return result;
}

}  // namespace NCDataVectorUtilities
}  // namespace voran
