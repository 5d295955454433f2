#include "voran/cluster/distance_memory.h"

#include <atomic>

inline namespace voran {
namespace DendroGram {
namespace {

std::atomic<std::uint64_t> budget{DistanceMemory::kUnlimited};

}  // namespace

std::uint64_t DistanceMemory::GetBudget() {
  return budget.load(std::memory_order_relaxed);
}

void DistanceMemory::SetBudget(std::uint64_t bytes) {
  budget.store(bytes, std::memory_order_relaxed);
}

}  // namespace DendroGram
}  // namespace voran
