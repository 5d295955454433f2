#include "voran/statistics/chart_subgroups.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <span>

#include "voran/containers/missing_value.h"

inline namespace voran {
namespace detail {
namespace {

constexpr float kGap = kMissing<float>;

using Subgroup = std::span<const float>;

template <typename Statistic>
NCDataVector<float> OfEachSubgroup(const NCDataVector<float>& values, int size, Statistic statistic) {
  assert(size > 0);
  NCDataVector<float> result(values.Size() / size);
  const float* next = values.begin();
  for (int i = 1; i <= result.Size(); ++i, next += size) result(i, statistic(Subgroup(next, next + size)));
  return result;
}

struct Sums {
  explicit Sums(Subgroup values) {
    for (const float value : values) {
      if (value == kGap) continue;
      const auto x = static_cast<double>(value);
      sum += x;
      squares += x * x;
      ++count;
    }
  }

  double sum = 0.0;
  double squares = 0.0;
  int count = 0;
};

float MeanOf(Subgroup values) {
  const Sums sums(values);
  return sums.count == 0 ? kGap : static_cast<float>(sums.sum / sums.count);
}

float StdDevOf(Subgroup values) {
  const Sums sums(values);
  const auto k = static_cast<double>(sums.count);
  if (sums.count < 2) return kGap;
  const double spread = std::max(k * sums.squares - sums.sum * sums.sum, 0.0);  // rounding may take it below 0
  return static_cast<float>(std::sqrt(spread / ((k - 1.0) * k)));
}

float RangeOf(Subgroup values) {
  float low = kGap;
  float high = kGap;
  for (const float x : values) {
    if (low == kGap || high == kGap) {
      low = x;
      high = x;
    } else if (x < low) {
      low = x;
    } else if (x > high) {
      high = x;
    }
  }
  return low == kGap || high == kGap ? kGap : high - low;
}

}  // namespace

NCDataVector<float> SubgroupMeans(const NCDataVector<float>& values, int size) {
  return OfEachSubgroup(values, size, MeanOf);
}

NCDataVector<float> SubgroupRanges(const NCDataVector<float>& values, int size) {
  return OfEachSubgroup(values, size, RangeOf);
}

NCDataVector<float> SubgroupStdDevs(const NCDataVector<float>& values, int size) {
  return OfEachSubgroup(values, size, StdDevOf);
}

}  // namespace detail
}  // namespace voran
