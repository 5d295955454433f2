#pragma once

#include "voran/containers/data_matrix.h"
#include "voran/containers/missing_value.h"

inline namespace voran {
namespace detail {

/// a + b with every count of missing elements right; those of operator+ are the ones of a.
inline NCDataMatrix<float> Sum(const NCDataMatrix<float>& a, const NCDataMatrix<float>& b) {
  NCDataMatrix<float> sum(0, a.SizeColumns(), kMissing<float>);
  sum.ReserveRows(a.SizeRows());
  for (int i = 1; i <= a.SizeRows(); ++i) sum.push_back(a[i] + b[i]);
  return sum;
}

}  // namespace detail
}  // namespace voran
