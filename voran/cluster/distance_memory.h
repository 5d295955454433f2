#pragma once

#include <cstdint>
#include <limits>

#include "voran/export.h"

inline namespace voran {
namespace DendroGram {

/// How much memory the list of distances of a clustering may take: 12 bytes for each pair of rows. A list that would
/// take more counts as one for which there is no memory, as does one that the system refuses: Ward's method throws, and
/// single linkage goes to disk, with a buffer within the budget. Many systems refuse nothing, and end the process when
/// the memory is used. See docs/clustering.md.
///
/// Process-wide, without a limit at the start; to be changed between runs, not during one.
class VORAN_EXPORT DistanceMemory {
 public:
  static constexpr std::uint64_t kUnlimited = std::numeric_limits<std::uint64_t>::max();

  DistanceMemory() = delete;

  /// In bytes.
  static std::uint64_t GetBudget();
  static void SetBudget(std::uint64_t bytes);
};

}  // namespace DendroGram
}  // namespace voran
