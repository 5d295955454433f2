#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "voran/cluster/mega_distances.h"
#include "voran/containers/data_matrix.h"
#include "voran/platform/exception_message.h"
#include "voran/platform/progress.h"

inline namespace voran {
namespace DendroGram {
namespace detail {

/// Keeps the distances for single linkage on disk, all written and cut: what remains is to take them. The user is asked
/// if there seems to be too little room on it, and told in any case. Throws NCError if he declines, on a break, and for
/// temporary files that cannot be opened or read; nothing stays on the disk then.
std::shared_ptr<MegaDistances> KeepDistancesOnDisk(const NCDataMatrix<float>& data, NCProgress* progress);

/// What to ask the user before the distances of so many rows, twice 12 bytes for each pair, go to `directory`, where
/// `freeBytes` are left. Nothing if that is enough. It never is from 46342 rows on, where the number of pairs wraps.
std::optional<ExceptionMessage> DiskSpaceQuestion(int rows, const std::string& directory, std::uint64_t freeBytes);

/// Room for `pairs`, or for the largest half, quarter, ... of them that is within DistanceMemory's budget, and that the
/// system grants; one pair at least. Without a budget, more than half of the machine's memory counts as not granted:
/// many systems promise any amount, and end the process when it is used.
PairList AllocateBuffer(std::uint64_t pairs);

}  // namespace detail
}  // namespace DendroGram
}  // namespace voran
