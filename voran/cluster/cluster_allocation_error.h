#pragma once

#include "voran/export.h"
#include "voran/platform/nc_error.h"

inline namespace voran {
namespace DendroGram {

/// There is no memory for the distances of all pairs. Whoever can keep them elsewhere catches it.
class VORAN_EXPORT ClusterAllocationError : public NCError {
 public:
  explicit ClusterAllocationError(const ExceptionMessage& message);
  ~ClusterAllocationError() override;
};

}  // namespace DendroGram
}  // namespace voran
