#pragma once

#include <vector>

#include <gtest/gtest.h>

#include "tests/containers/plain_reference.h"
#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"

// Containers from plain 0-based values and back.

template <typename T>
using Rows = std::vector<std::vector<T>>;

template <typename T>
NCDataVector<T> Vector(const std::vector<T>& values) {
  NCDataVector<T> v;
  v.CopyZeroBasedVector(values.data(), static_cast<int>(values.size()));
  return v;
}

template <typename T>
NCDataMatrix<T> Matrix(const Rows<T>& rows) {
  NCDataMatrix<T> m;
  for (const auto& row : rows) m.push_back(Vector(row));
  return m;
}

template <typename T>
std::vector<T> Elements(const NCDataVector<T>& v) {
  return {v.begin(), v.end()};
}

template <typename T>
Rows<T> Elements(const NCDataMatrix<T>& m) {
  Rows<T> rows;
  for (const auto& row : m) rows.push_back(Elements(row));
  return rows;
}

/// Every kept count equals a recount.
template <typename T>
void ExpectRightCounts(const NCDataMatrix<T>& m) {
  int total = 0;
  std::vector<int> columns(static_cast<std::size_t>(m.SizeColumns()) + 1);
  for (int i = 1; i <= m.SizeRows(); ++i) {
    ASSERT_EQ(m[i].Size(), m.SizeColumns()) << "row " << i;
    int row = 0;
    for (int j = 1; j <= m.SizeColumns(); ++j) {
      if (plain::Present(m[i][j])) continue;
      ++row;
      ++columns[static_cast<std::size_t>(j)];
    }
    EXPECT_EQ(m[i].GetNumMisVal(), row) << "row " << i;
    total += row;
  }
  EXPECT_EQ(m.GetNumMisVal(), total);
  for (int j = 1; j <= m.SizeColumns(); ++j) {
    EXPECT_EQ(m.GetColumnMisVal(j), columns[static_cast<std::size_t>(j)]) << "column " << j;
  }
}
