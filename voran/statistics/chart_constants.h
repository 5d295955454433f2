#pragma once

inline namespace voran {
namespace detail {

/// The factors that turn the mean range or standard deviation of subgroups into control limits and into sigma.
struct ChartConstants {
  float A2, A3;  ///< limits of the means, from the mean range and from the mean standard deviation
  float B3, B4;  ///< limits of the standard deviation
  float c4, d2;  ///< the mean standard deviation, and the mean range, of a subgroup with sigma 1
  float D3, D4;  ///< limits of the range
};

/// The constants for subgroups of `subgroupSize`; all are missing (-99) outside 2 to 25, which the tables cover.
const ChartConstants& ChartConstantsFor(int subgroupSize);

}  // namespace detail
}  // namespace voran
