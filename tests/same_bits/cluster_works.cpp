#include <cstdint>

#include "tests/same_bits/tables.h"
#include "tests/same_bits/works.h"
#include "voran/cluster/dendrogram.h"
#include "voran/cluster/distance_memory.h"
#include "voran/cluster/single_linkage_distance_calculator.h"
#include "voran/cluster/ward_distance_calculator.h"

namespace same_bits {
namespace {

using DendroGram::DistanceMemory;
using DendroGram::SingleLinkageDistanceCalculator;
using DendroGram::WardDistanceCalculator;

struct Budget {
  explicit Budget(std::uint64_t bytes) { DistanceMemory::SetBudget(bytes); }
  ~Budget() { DistanceMemory::SetBudget(DistanceMemory::kUnlimited); }
};

template <class Calculator>
void Cluster(Digest& digest, const Matrix& x, Calculator calculator) {
  digest(DendroGram::CachedDendroGramName(x, calculator));
  const DendroGram::DendroGramPointer tree(DendroGram::GetDendroGram(x, calculator, nullptr, nullptr));
  Vector heights;
  NCIntegralVector<unsigned long, 0> first;
  NCIntegralVector<unsigned long, 0> second;
  NCIntegralVector<unsigned long, 0> made;
  DendroGram::CreateMergeData(*tree, heights, first, second, made, nullptr, nullptr);
  digest(heights, first, second, made);
  digest.Written(*tree);
}

}  // namespace

std::vector<Work> ClusterWorks() {
  std::vector<Work> works;
  AddBoth(works, "ward", [](Digest& digest, bool hasGaps) {
    const Matrix x = MiddleTable(hasGaps).x.GetRowSubMatrix(1, 230);
    Cluster(digest, x, WardDistanceCalculator(DendroGram::DistanceType::kErrorSumOfSquares));
    Cluster(digest, x, WardDistanceCalculator(DendroGram::DistanceType::kSquareRoot));
  });
  AddBoth(works, "single_linkage", [](Digest& digest, bool hasGaps) {
    Cluster(digest, MiddleTable(hasGaps).x.GetRowSubMatrix(1, 257), SingleLinkageDistanceCalculator());
  });
  AddBoth(works, "single_linkage_on_disk", [](Digest& digest, bool hasGaps) {
    const Budget budget(40000);  // a tenth of what the pairs take
    Cluster(digest, MiddleTable(hasGaps).x.GetRowSubMatrix(1, 251), SingleLinkageDistanceCalculator());
  });
  return works;
}

}  // namespace same_bits
