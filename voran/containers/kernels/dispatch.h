#pragma once

#include <cstddef>

inline namespace voran {
namespace detail {

/// Where the kernels of the set in use stand in a table that Highway's HWY_EXPORT made.
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
/// Defines Kernels<float>::Current() and Kernels<double>::Current() by the two functions that HWY_EXPORT has exported.
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
