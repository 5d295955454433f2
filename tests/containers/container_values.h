#pragma once

#include <vector>

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
