#pragma once

#include <cstddef>

#include <hwy/targets.h>

inline namespace voran {
namespace detail {

/// Where the kernels of the set in use stand in a table that VORAN_KERNEL_TABLE made.
///
/// May throw (see SimdTarget), so a caller takes its kernel table before it opens a parallel region.
std::size_t KernelIndex();

/// Calls the function that returns a kernel table for the set in use. A build for one set has tables of one entry.
template <typename Table, std::size_t N>
const Table& SelectKernels(const Table& (*const (&getters)[N])()) {
  if constexpr (N == 1) {
    return getters[0]();
  } else {
    return getters[KernelIndex()]();
  }
}

}  // namespace detail
}  // namespace voran

// NOLINTBEGIN(bugprone-macro-parentheses): the arguments are names of a template and of functions

/// Makes the table of a function's versions for all sets of instructions, HWY_DISPATCH_TABLE(Function), as Highway's
/// HWY_EXPORT does. That would need Highway's shared library, which takes the first six milliseconds of every program
/// for a measurement of the clock.
#if (HWY_TARGETS & (HWY_TARGETS - 1)) == 0
#define VORAN_KERNEL_TABLE(Function)                                                        \
  static decltype(&HWY_STATIC_DISPATCH(Function)) const HWY_DISPATCH_TABLE(Function)[1] = { \
      &HWY_STATIC_DISPATCH(Function)}
#else
#define VORAN_KERNEL_TABLE(Function)                                                       \
  static decltype(&HWY_STATIC_DISPATCH(Function)) const HWY_DISPATCH_TABLE(Function)[] = { \
      nullptr, HWY_CHOOSE_TARGET_LIST(Function), HWY_CHOOSE_FALLBACK(Function)}
#endif

/// Defines Kernels<float>::Current() and Kernels<double>::Current() by two functions that have a table each.
#define VORAN_SELECT_KERNELS(Kernels, FloatTable, DoubleTable) \
  template <>                                                  \
  const Kernels<float>& Kernels<float>::Current() {            \
    return SelectKernels(HWY_DISPATCH_TABLE(FloatTable));      \
  }                                                            \
  template <>                                                  \
  const Kernels<double>& Kernels<double>::Current() {          \
    return SelectKernels(HWY_DISPATCH_TABLE(DoubleTable));     \
  }
// NOLINTEND(bugprone-macro-parentheses)
