#include "voran/containers/simd_target.h"

#include <atomic>
#include <cstdlib>

#include <hwy/targets.h>

#include "voran/containers/kernels/dispatch.h"
#include "voran/platform/exception.h"

inline namespace voran {
namespace {

/// One of Highway's HWY_AVX2, HWY_SSE4, ...; 0 before the first use.
std::atomic<std::int64_t> targetInUse{0};

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
    targetInUse.store(target, std::memory_order_relaxed);
  }
  return target;
}

}  // namespace

namespace detail {

std::size_t KernelIndex() {
  hwy::ChosenTarget chosen;
  chosen.Update(TargetInUse());
  return chosen.GetIndex();
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
