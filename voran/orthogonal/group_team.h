#pragma once

#include <algorithm>
#include <cstddef>
#include <exception>
#include <vector>

#include "voran/containers/parallel.h"
#include "voran/platform/threading_control.h"

inline namespace voran {
namespace detail {

/// Calls work(g) for every g below `count`, on several threads that each take a run of neighbours; kernels within do
/// not start threads of their own. When all are done, what the first of them threw, by g, is thrown here.
template <class Work>
void ForEachGroup(int count, const Work& work) {
  std::vector<std::exception_ptr> errors(static_cast<std::size_t>(count));
  ParallelFor(count, std::min(count, ParallelWidth()), [&](int g) {
    try {
      work(static_cast<std::size_t>(g));
    } catch (...) {
      errors[static_cast<std::size_t>(g)] = std::current_exception();
    }
  });
  for (const std::exception_ptr& error : errors) {
    if (error != nullptr) std::rethrow_exception(error);
  }
}

}  // namespace detail
}  // namespace voran
