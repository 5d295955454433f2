#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/same_bits/digest.h"

namespace same_bits {

/// Something that the library can do, by its name, with all its results.
struct Work {
  std::string name;
  std::function<void(Digest&)> run;

  friend void PrintTo(const Work& work, std::ostream* out) { *out << work.name; }
};

// Each kind in a file of its own; see there.

std::vector<Work> ContainerWorks();
std::vector<Work> ModelWorks();
std::vector<Work> OrthogonalWorks();
std::vector<Work> ClusterWorks();
std::vector<Work> StatisticsWorks();
std::vector<Work> SignalWorks();

/// The same work on a table without gaps and on one with: "name" and "name_with_gaps".
inline void AddBoth(std::vector<Work>& works, const std::string& name,
                    const std::function<void(Digest&, bool hasGaps)>& run) {
  works.push_back({name, [run](Digest& digest) { run(digest, false); }});
  works.push_back({name + "_with_gaps", [run](Digest& digest) { run(digest, true); }});
}

}  // namespace same_bits
