#include "voran/cluster/cluster_allocation_error.h"

inline namespace voran {
namespace DendroGram {

ClusterAllocationError::ClusterAllocationError(const ExceptionMessage& message) : NCError(message, Level::kGeneral) {}

ClusterAllocationError::~ClusterAllocationError() = default;

}  // namespace DendroGram
}  // namespace voran
