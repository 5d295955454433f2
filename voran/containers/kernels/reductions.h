#pragma once

#include "voran/containers/missing_value.h"

inline namespace voran {
namespace detail {

/// Sums over the pairs of two vectors that a regression of the second on the first needs.
struct PairSums {
  double product = 0.0;        ///< first times second, over pairs present
  double pairedSquares = 0.0;  ///< first squared, over pairs present
  double allSquares = 0.0;     ///< first squared, wherever the first is present
};

/// Squared distance of two vectors and size of the first, over pairs present.
struct DistanceSums {
  double distance = 0.0;
  double squares = 0.0;
};

/// Sums over the standard scores z = (x - mean) / stdDev of present elements.
struct ScorePowers {
  double cubes = 0.0;
  double fourths = 0.0;  ///< the square of the square
};

/// Sums over one or two arrays of n elements (0-based pointers), skipping missing elements where a mode says that there
/// are any. Same bits for every instruction set. Nothing allocates or throws, except Current() (see SimdTarget).
template <typename T>
struct ReductionKernels {
  /// Products and sum in the element type: a float dot product accumulates in float.
  double (*dotProduct)(const T* a, const T* b, int n, GapMode mode);
  PairSums (*pairSums)(const T* a, const T* b, int n, GapMode mode);
  double (*sum)(const T* a, int n, bool hasGaps);
  double (*sumOfSquares)(const T* a, int n, bool hasGaps);
  /// The difference is formed in double.
  double (*sumOfSquaresAbout)(const T* a, double about, int n, bool hasGaps);
  /// Formed in double.
  ScorePowers (*scorePowers)(const T* a, double mean, double stdDev, int n, bool hasGaps);
  /// The difference is formed and squared in the element type.
  DistanceSums (*distanceSums)(const T* a, const T* b, int n, GapMode mode);

  static const ReductionKernels& Current();
};

template <>
const ReductionKernels<float>& ReductionKernels<float>::Current();
template <>
const ReductionKernels<double>& ReductionKernels<double>::Current();

}  // namespace detail
}  // namespace voran
