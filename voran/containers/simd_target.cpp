#include "voran/containers/simd_target.h"

#include <atomic>
#include <cstdlib>

#include <hwy/targets.h>

#include "voran/containers/kernels/dispatch.h"
#include "voran/platform/exception.h"

inline namespace voran {
namespace {

/// Where the set in use stands in Highway's tables; 0 before the first use.
std::atomic<std::size_t> indexInUse{0};

std::size_t IndexOf(std::int64_t target) {
  hwy::ChosenTarget chosen;
  chosen.Update(target);
  return chosen.GetIndex();
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

std::int64_t TargetAtStart() {
  const char* const wanted = std::getenv("VORAN_SIMD");  // NOLINT(concurrency-mt-unsafe): nothing here sets it
  return wanted != nullptr && *wanted != '\0' ? FindTarget(wanted) : hwy::SupportedAndGeneratedTargets().front();
}

}  // namespace

namespace detail {

std::size_t KernelIndex() {
  const std::size_t index = indexInUse.load(std::memory_order_relaxed);
  if (index != 0) return index;
  std::size_t none = 0;
  const std::size_t first = IndexOf(TargetAtStart());
  return indexInUse.compare_exchange_strong(none, first) ? first : none;  // another thread may have set it meanwhile
}

}  // namespace detail

std::string SimdTarget::GetName() {
  const std::size_t index = detail::KernelIndex();
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
    if (IndexOf(target) == index) return hwy::TargetName(target);
  }
  return {};
}

void SimdTarget::Set(const std::string& name) {
  indexInUse.store(IndexOf(FindTarget(name)), std::memory_order_relaxed);
}

std::vector<std::string> SimdTarget::GetAvailable() {
  std::vector<std::string> names;
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) names.emplace_back(hwy::TargetName(target));
  return names;
}

}  // namespace voran
