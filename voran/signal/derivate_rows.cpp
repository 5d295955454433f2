#include <cstddef>
#include <utility>
#include <vector>

#include "voran/signal/derivate.h"
#include "voran/signal/row_by_row.h"

inline namespace voran {

namespace {

/// work(row of x, row of the result) for every row; `result` may be x.
template <typename T, class Work>
void WorkOnRows(const NCDataMatrix<T>& x, NCDataMatrix<T>& result, const Work& work) {
  const bool isSameSize = result.SizeRows() == x.SizeRows() && result.SizeColumns() == x.SizeColumns();
  std::vector<NCDataVector<T>> rows(static_cast<std::size_t>(x.SizeRows()));
  const double readings = x.GetNumMisVal() == 0 ? detail::kRowTransform : detail::kManyPasses;  // a fit at each gap
  detail::RowByRow(x.SizeRows(), x.SizeColumns(), readings, [&](int i) {
    NCDataVector<T>& row = rows[static_cast<std::size_t>(i) - 1];
    if (isSameSize) row = result[i];
    work(x[i], row);
  });
  NCDataMatrix<T> made(0, x.SizeColumns(), T{0});
  made.ReserveRows(x.SizeRows());
  for (const NCDataVector<T>& row : rows) made.push_back(row);
  result.swap(made);
}

}  // namespace

template <typename T>
void Derivate<T>::Smooth(const NCDataMatrix<T>& x, NCDataMatrix<T>& result, bool edges) const {
  WorkOnRows(x, result, [&](const NCDataVector<T>& from, NCDataVector<T>& to) { Smooth(from, to, edges); });
}

template <typename T>
void Derivate<T>::DoDerivate(const NCDataMatrix<T>& x, NCDataMatrix<T>& result, int derivativeOrder, T step,
                             bool edges) const {
  WorkOnRows(x, result, [&](const NCDataVector<T>& from, NCDataVector<T>& to) {
    DoDerivate(from, to, derivativeOrder, step, edges);
  });
}

template void Derivate<float>::Smooth(const NCDataMatrix<float>&, NCDataMatrix<float>&, bool) const;
template void Derivate<float>::DoDerivate(const NCDataMatrix<float>&, NCDataMatrix<float>&, int, float, bool) const;

}  // namespace voran
