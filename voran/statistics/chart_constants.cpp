#include "voran/statistics/chart_constants.h"

#include <iterator>

#include "voran/containers/missing_value.h"

inline namespace voran {
namespace detail {
namespace {

// The usual tables of quality control for three-sigma limits, by subgroup size.
constexpr ChartConstants kConstants[] = {
    {1.88F, 2.659F, 0.0F, 3.267F, 0.7979F, 1.128F, 0.0F, 3.267F},       // 2
    {1.023F, 1.954F, 0.0F, 2.568F, 0.8862F, 1.693F, 0.0F, 2.574F},      // 3
    {0.729F, 1.628F, 0.0F, 2.266F, 0.9213F, 2.059F, 0.0F, 2.282F},      // 4
    {0.577F, 1.427F, 0.0F, 2.089F, 0.94F, 2.326F, 0.0F, 2.114F},        // 5
    {0.483F, 1.287F, 0.03F, 1.97F, 0.9515F, 2.534F, 0.0F, 2.004F},      // 6
    {0.419F, 1.182F, 0.118F, 1.882F, 0.9594F, 2.704F, 0.076F, 1.924F},  // 7
    {0.373F, 1.099F, 0.185F, 1.815F, 0.965F, 2.847F, 0.136F, 1.864F},   // 8
    {0.337F, 1.032F, 0.239F, 1.761F, 0.9693F, 2.97F, 0.184F, 1.816F},   // 9
    {0.308F, 0.975F, 0.284F, 1.716F, 0.9727F, 3.078F, 0.223F, 1.777F},  // 10
    {0.285F, 0.927F, 0.321F, 1.679F, 0.9754F, 3.173F, 0.256F, 1.744F},  // 11
    {0.266F, 0.886F, 0.354F, 1.646F, 0.9776F, 3.258F, 0.284F, 1.716F},  // 12
    {0.249F, 0.85F, 0.382F, 1.618F, 0.9794F, 3.336F, 0.308F, 1.692F},   // 13
    {0.235F, 0.817F, 0.406F, 1.594F, 0.981F, 3.407F, 0.329F, 1.671F},   // 14
    {0.223F, 0.789F, 0.428F, 1.572F, 0.9823F, 3.472F, 0.348F, 1.652F},  // 15
    {0.212F, 0.763F, 0.448F, 1.552F, 0.9835F, 3.532F, 0.364F, 1.636F},  // 16
    {0.203F, 0.739F, 0.466F, 1.534F, 0.9845F, 3.588F, 0.379F, 1.621F},  // 17
    {0.194F, 0.718F, 0.482F, 1.518F, 0.9854F, 3.64F, 0.392F, 1.608F},   // 18
    {0.187F, 0.698F, 0.497F, 1.503F, 0.9862F, 3.689F, 0.404F, 1.596F},  // 19
    {0.18F, 0.68F, 0.51F, 1.49F, 0.9869F, 3.735F, 0.414F, 1.586F},      // 20
    {0.173F, 0.663F, 0.523F, 1.477F, 0.9876F, 3.778F, 0.425F, 1.575F},  // 21
    {0.167F, 0.647F, 0.534F, 1.466F, 0.9882F, 3.819F, 0.434F, 1.566F},  // 22
    {0.162F, 0.633F, 0.545F, 1.455F, 0.9887F, 3.858F, 0.443F, 1.557F},  // 23
    {0.157F, 0.619F, 0.555F, 1.445F, 0.9892F, 3.895F, 0.452F, 1.548F},  // 24
    {0.153F, 0.606F, 0.565F, 1.435F, 0.9896F, 3.931F, 0.459F, 1.541F},  // 25
};
constexpr int kSmallest = 2;

constexpr float kNone = kMissing<float>;
constexpr ChartConstants kNoConstants = {kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone};

}  // namespace

const ChartConstants& ChartConstantsFor(int subgroupSize) {
  const bool isCovered = subgroupSize >= kSmallest && subgroupSize < kSmallest + std::ssize(kConstants);
  return isCovered ? kConstants[subgroupSize - kSmallest] : kNoConstants;
}

}  // namespace detail
}  // namespace voran
