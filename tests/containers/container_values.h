#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <new>
#include <vector>

#include <gtest/gtest.h>

#include "tests/containers/failing_allocation.h"
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

/// `columns` is for where there are no rows.
template <typename T>
Rows<T> Transposed(const Rows<T>& rows, std::size_t columns) {
  Rows<T> result(columns);
  for (const auto& row : rows) {
    for (std::size_t j = 0; j < columns; ++j) result[j].push_back(row[j]);
  }
  return result;
}

/// f(a, b) of what is present.
template <typename T, class F>
std::vector<T> Combined(std::vector<T> a, const std::vector<T>& b, const F& f) {
  std::transform(a.begin(), a.end(), b.begin(), a.begin(), [&](T p, T q) {
    return p == plain::kGap<T> || q == plain::kGap<T> ? plain::kGap<T> : static_cast<T>(f(p, q));
  });
  return a;
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

/// Lets each allocation of `edit` fail in turn: what was taken before does not change, nor does the matrix of an atomic
/// edit, and every matrix goes on with right counts. Returns how many failed.
template <typename T>
int ExpectSafeWithoutMemory(const Rows<T>& before, const std::function<void(NCDataMatrix<T>&)>& edit, bool isAtomic,
                            bool isShared) {
  const NCDataMatrix<T> taken = Matrix(before);
  for (int k = 1;; ++k) {
    NCDataMatrix<T> target = isShared ? taken : Matrix(before);
    bool failed = false;
    try {
      const FailingAllocation failing(k);
      edit(target);
    } catch (const std::bad_alloc&) {
      failed = true;
    }
    SCOPED_TRACE(::testing::Message() << "allocation " << k << " failed");
    EXPECT_EQ(Elements(taken), before);
    if (failed && isAtomic) {
      EXPECT_EQ(Elements(target), before);
    }
    target.push_back(NCDataVector<T>(target.SizeColumns()));
    ExpectRightCounts(target);
    if (!failed) return k - 1;
  }
}
