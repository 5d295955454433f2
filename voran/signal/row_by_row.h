#pragma once

#include <cstddef>
#include <exception>
#include <vector>

#include "voran/containers/parallel.h"

inline namespace voran {
namespace detail {

/// Calls work(i) for the rows 1 to `rows` of a matrix with so many columns, on several threads if that is worth it (see
/// ThreadsForMatrix). Once all are done, what the first row to fail has thrown is thrown on.
template <class Work>
void RowByRow(int rows, int columns, double readings, const Work& work) {
  std::vector<std::exception_ptr> errors(static_cast<std::size_t>(rows));
  ParallelFor(rows, ThreadsForMatrix(rows, columns, readings), [&](int i) {
    try {
      work(i + 1);
    } catch (...) {
      errors[static_cast<std::size_t>(i)] = std::current_exception();
    }
  });
  for (const std::exception_ptr& error : errors) {
    if (error != nullptr) std::rethrow_exception(error);
  }
}

}  // namespace detail
}  // namespace voran
