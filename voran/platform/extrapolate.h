#pragma once

#include <cstdint>

inline namespace voran {
namespace VrMath {

/// What an interpolation gives outside the points that it goes through.
enum class EExtrapolate : std::int32_t {
  kLinear = 0,   ///< the line through the points goes on
  kNearest = 1,  ///< the value at the nearer end
  kMissing = 2,  ///< a missing value
};

}  // namespace VrMath
}  // namespace voran
