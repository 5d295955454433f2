#pragma once

#include <algorithm>
#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/kernels/nipals.h"

inline namespace voran {
namespace detail {

inline constexpr int kMostRowsInGroup = 32;

/// As many rows as stay in the nearest cache while several vectors in turn are met with them.
inline int RowsInGroup(int columns) {
  constexpr int kNearestCache = 32768 / sizeof(float);
  constexpr int kLeastInGroup = 8;
  return std::clamp(kNearestCache / std::max(columns, 1), kLeastInGroup, kMostRowsInGroup);
}

/// The first elements of all rows.
inline std::vector<const float*> RowsOf(const NCDataMatrix<float>& X) {
  std::vector<const float*> rows;
  rows.reserve(static_cast<std::size_t>(X.SizeRows()));
  for (const NCDataVector<float>& row : X) rows.push_back(row.begin());
  return rows;
}

/// Calls work(first, count, ahead) for groups of the rows first..end-1, counted from 0.
template <class Work>
void ForRowGroups(const std::vector<const float*>& rows, int columns, int first, int end, const Work& work) {
  const int inGroup = RowsInGroup(columns);
  for (int i = first; i < end; i += inGroup) {
    const int count = std::min(inGroup, end - i);
    const int behind = static_cast<int>(rows.size()) - i - count;
    work(i, count, RowsAhead<float>{rows.data() + i + count, std::min(inGroup, behind)});
  }
}

}  // namespace detail
}  // namespace voran
