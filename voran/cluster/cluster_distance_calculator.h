#pragma once

#include <string>

#include "voran/containers/data_matrix.h"
#include "voran/export.h"
#include "voran/platform/progress.h"

inline namespace voran {
namespace DendroGram {

/// The strategy of a hierarchical clustering of the rows of a matrix: it says which two clusters join next, and at what
/// height. Clusters are known by their position, from 0 to clusters - 1; at the start row r is cluster r - 1.
///
/// An object is good for one clustering: Init once, then FindNearestAndMerge once for every row but one. One thread
/// uses it at a time.
class VORAN_EXPORT ClusterDistanceCalculator {
 public:
  ClusterDistanceCalculator() = default;
  ClusterDistanceCalculator(const ClusterDistanceCalculator&) = default;
  ClusterDistanceCalculator& operator=(const ClusterDistanceCalculator&) = default;
  virtual ~ClusterDistanceCalculator() = default;

  /// Forms the distances of all pairs of rows. `progress` may be null; a break throws NCError, as does a lack of
  /// memory.
  virtual void Init(const NCDataMatrix<float>& data, NCProgress* progress) = 0;

  /// Joins the two nearest clusters, whose positions come out in `first` and `second`, and returns the height. The
  /// joined cluster stands at `first`; position `second` disappears, and what stood behind it moves down by one. A
  /// calculator may give `first` above `second`. A call beyond the last merge is not guarded against.
  virtual float FindNearestAndMerge(int& first, int& second) = 0;

  /// Names strategy and settings. It enters the name under which a tree is cached, so it does not change.
  virtual std::string GetId() = 0;
};

}  // namespace DendroGram
}  // namespace voran
