#include "voran/containers/simd_target.h"

#include <atomic>
#include <cstdlib>

#include <hwy/targets.h>

#include "voran/containers/kernels/dispatch.h"
#include "voran/platform/exception.h"

inline namespace voran {
namespace {

/// One of Highway's HWY_AVX2, HWY_SSE4, ..., and its place in Highway's tables; 0 before the first use.
std::atomic<std::int64_t> targetInUse{0};
std::atomic<std::size_t> indexInUse{0};

void Use(std::int64_t target) {
  hwy::ChosenTarget chosen;
  chosen.Update(target);
  targetInUse.store(target, std::memory_order_relaxed);
  indexInUse.store(chosen.GetIndex(), std::memory_order_relaxed);
}

std::int64_t FindTarget(const std::string& name) {
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
    if (name == hwy::TargetName(target)) return target;
  }
  std::string available;
  for (const std::string& other : SimdTarget::GetAvailable()) available += (available.empty() ? "" : ", ") + other;
  throw InvalidArgument("'" + name + "' is not a set of vector instructions of this processor; choose among " +
                        available + ".");
}

std::int64_t TargetInUse() {
  std::int64_t target = targetInUse.load(std::memory_order_relaxed);
  if (target == 0) {
    const char* const wanted = std::getenv("VORAN_SIMD");
    target = wanted != nullptr && *wanted != '\0' ? FindTarget(wanted) : hwy::SupportedAndGeneratedTargets().front();
    Use(target);
  }
  return target;
}

}  // namespace

namespace detail {

std::size_t KernelIndex() {
  std::size_t index = indexInUse.load(std::memory_order_relaxed);
  if (index == 0) {
    Use(TargetInUse());
    index = indexInUse.load(std::memory_order_relaxed);
  }
  return index;
}

}  // namespace detail

std::string SimdTarget::GetName() {
  return hwy::TargetName(TargetInUse());
}

void SimdTarget::Set(const std::string& name) {
  targetInUse.store(FindTarget(name), std::memory_order_relaxed);
}

std::vector<std::string> SimdTarget::GetAvailable() {
  std::vector<std::string> names;
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) names.emplace_back(hwy::TargetName(target));
  return names;
}

}  // namespace voran
