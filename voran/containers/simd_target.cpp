#include "voran/containers/simd_target.h"

#include <atomic>
#include <bit>
#include <cstdint>
#include <cstdlib>

#include <hwy/targets.h>

#include "voran/containers/kernels/dispatch.h"
#include "voran/platform/exception.h"

#if HWY_ARCH_X86 && defined(__GNUC__)
#include <cpuid.h>
#endif

inline namespace voran {
namespace {

/// Whether this processor has the set `target`, which the kernels were compiled for.
bool IsSupported([[maybe_unused]] std::int64_t target) {
#if HWY_ARCH_X86 && defined(__GNUC__)
  __builtin_cpu_init();
  unsigned a = 0;
  unsigned b = 0;
  unsigned basic = 0;
  unsigned extended = 0;
  unsigned d = 0;
  __get_cpuid(1, &a, &b, &basic, &d);
  __get_cpuid(0x80000001, &a, &b, &extended, &d);
  const bool hasSse4 = __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("sse4.1") &&
                       __builtin_cpu_supports("sse4.2") && __builtin_cpu_supports("aes") &&
                       __builtin_cpu_supports("pclmul");
  const bool hasAvx2 = hasSse4 && __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
                       __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") && (basic & bit_F16C) != 0 &&
                       (extended & bit_LZCNT) != 0;
  const bool hasAvx3 = hasAvx2 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
                       __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512bw") &&
                       __builtin_cpu_supports("avx512cd");
  if (target == HWY_STATIC_TARGET) return true;
  if (target == HWY_SSE4) return hasSse4;
  if (target == HWY_AVX2) return hasAvx2;
  return target == HWY_AVX3 ? hasAvx3 : target >= HWY_EMU128;
#else
  return true;  // kernels for one set only, which the compiler was told of
#endif
}

/// The sets that this processor has, the best first.
std::vector<std::int64_t> SupportedTargets() {
  std::vector<std::int64_t> supported;
  for (std::uint64_t targets = HWY_TARGETS; targets != 0; targets &= targets - 1) {  // the lowest bit is the best set
    const std::int64_t target = std::int64_t{1} << std::countr_zero(targets);
    if (IsSupported(target)) supported.push_back(target);
  }
  return supported;
}

/// Where the set in use stands in Highway's tables; 0 before the first use.
std::atomic<std::size_t> indexInUse{0};

std::size_t IndexOf(std::int64_t target) {
  hwy::ChosenTarget chosen;
  chosen.Update(target);
  return chosen.GetIndex();
}

std::int64_t FindTarget(const std::string& name) {
  for (const std::int64_t target : SupportedTargets()) {
    if (name == hwy::TargetName(target)) return target;
  }
  std::string available;
  for (const std::string& other : SimdTarget::GetAvailable()) available += (available.empty() ? "" : ", ") + other;
  throw InvalidArgument("'" + name + "' is not a set of vector instructions of this processor; choose among " +
                        available + ".");
}

std::int64_t TargetAtStart() {
  const char* const wanted = std::getenv("VORAN_SIMD");  // NOLINT(concurrency-mt-unsafe): nothing here sets it
  return wanted != nullptr && *wanted != '\0' ? FindTarget(wanted) : SupportedTargets().front();
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
  for (const std::int64_t target : SupportedTargets()) {
    if (IndexOf(target) == index) return hwy::TargetName(target);
  }
  return {};
}

void SimdTarget::Set(const std::string& name) {
  indexInUse.store(IndexOf(FindTarget(name)), std::memory_order_relaxed);
}

std::vector<std::string> SimdTarget::GetAvailable() {
  std::vector<std::string> names;
  for (const std::int64_t target : SupportedTargets()) names.emplace_back(hwy::TargetName(target));
  return names;
}

}  // namespace voran
