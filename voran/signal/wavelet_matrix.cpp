#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include "voran/containers/missing_value.h"
#include "voran/signal/given_result.h"
#include "voran/signal/row_by_row.h"
#include "voran/signal/wavelet.h"

inline namespace voran {

namespace {

/// Transforms one series: a new vector, or null, and its trends.
using SeriesTransform = std::function<NCDataVector<float>*(const NCDataVector<float>&, double& trend1, double& trend2)>;

struct TransformedRows {
  explicit TransformedRows(int n) : rows(static_cast<std::size_t>(n)), trend1(n, 0.0), trend2(n, 0.0) {}

  std::vector<std::unique_ptr<NCDataVector<float>>> rows;
  NCDataVector<double> trend1;
  NCDataVector<double> trend2;
};

TransformedRows TransformRows(const NCDataMatrix<float>& x, const SeriesTransform& transform) {
  TransformedRows done(x.SizeRows());
  double* const trend1 = done.trend1.GetWritableVector();
  double* const trend2 = done.trend2.GetWritableVector();
  detail::RowByRow(x.SizeRows(), x.SizeColumns(), detail::kRowTransform, [&](int i) {
    done.rows[static_cast<std::size_t>(i) - 1].reset(transform(x[i], trend1[i], trend2[i]));
  });
  return done;
}

/// The transformed rows as a matrix of `columns` columns, missing where there is no result.
NCDataMatrix<float> AsMatrix(TransformedRows& done, int columns) {
  NCDataMatrix<float> result;
  result.ReserveRows(static_cast<int>(done.rows.size()));
  int i = 0;
  for (const auto& row : done.rows) {
    ++i;
    result.push_back(row == nullptr ? NCDataVector<float>(columns) : *row);
    if (row != nullptr) continue;
    done.trend1(i, detail::kNoValue);
    done.trend2(i, detail::kNoValue);
  }
  return result;
}

NCDataMatrix<float> Transposed(const NCDataMatrix<float>& x) {
  NCDataMatrix<float> result(x);
  result.Transpose();
  return result;
}

NCDataMatrix<float> TransformMatrix(const NCDataMatrix<float>& x, const SeriesTransform& transform, int columns,
                                    NCDataVector<double>& trend1, NCDataVector<double>& trend2) {
  TransformedRows done = TransformRows(x, transform);
  NCDataMatrix<float> result = AsMatrix(done, columns);
  trend1 = done.trend1;
  trend2 = done.trend2;
  return result;
}

}  // namespace

bool Wavelet::IsUsable(const NCDataMatrix<float>* x, const WaveletFilters& filters) {
  return x != nullptr && x->SizeRows() > 0 && x->SizeColumns() > 0 && AreUsable(filters);
}

NCDataMatrix<float>* Wavelet::ForwardTransformObswise(const NCDataMatrix<float>* x, const WaveletFilters& filters,
                                                      DetrendMode mode, NCDataVector<double>& trend1,
                                                      NCDataVector<double>& trend2, NCDataMatrix<float>* result,
                                                      bool pad) {
  if (!IsUsable(x, filters)) return nullptr;
  const SeriesTransform transform = [&](const NCDataVector<float>& row, double& first, double& second) {
    return ForwardTransform(&row, filters, mode, first, second, nullptr, pad);
  };
  const int columns = pad ? PaddedLength(x->SizeColumns()) : x->SizeColumns();
  return detail::InResultOrNew(TransformMatrix(*x, transform, columns, trend1, trend2), result);
}

NCDataMatrix<float>* Wavelet::ForwardTransformVarwise(const NCDataMatrix<float>* x, const WaveletFilters& filters,
                                                      DetrendMode mode, NCDataVector<double>& trend1,
                                                      NCDataVector<double>& trend2, NCDataMatrix<float>* result,
                                                      bool pad) {
  if (!IsUsable(x, filters)) return nullptr;
  NCDataMatrix<float> turned = Transposed(*x);
  ForwardTransformObswise(&turned, filters, mode, trend1, trend2, &turned, pad);
  return detail::InResultOrNew(turned.Transpose(), result);
}

NCDataMatrix<float>* Wavelet::ForwardTransformBestBasisObswise(const NCDataMatrix<float>* x,
                                                               const WaveletFilters& filters, const BoolVector* flags,
                                                               DetrendMode mode, NCDataVector<double>& trend1,
                                                               NCDataVector<double>& trend2,
                                                               NCDataMatrix<float>* result) {
  if (!IsUsable(x, filters)) return nullptr;
  const int columns = PaddedLength(x->SizeColumns());
  if (flags == nullptr || flags->Size() < columns - 1) return nullptr;
  const SeriesTransform transform = [&](const NCDataVector<float>& row, double& first, double& second) {
    return ForwardTransformBestBasis(&row, filters, flags, mode, first, second, nullptr);
  };
  return detail::InResultOrNew(TransformMatrix(*x, transform, columns, trend1, trend2), result);
}

NCDataMatrix<float>* Wavelet::ForwardTransformBestBasisVarwise(const NCDataMatrix<float>* x,
                                                               const WaveletFilters& filters, const BoolVector* flags,
                                                               DetrendMode mode, NCDataVector<double>& trend1,
                                                               NCDataVector<double>& trend2,
                                                               NCDataMatrix<float>* result) {
  if (!IsUsable(x, filters)) return nullptr;
  NCDataMatrix<float> turned = Transposed(*x);
  if (!ForwardTransformBestBasisObswise(&turned, filters, flags, mode, trend1, trend2, &turned)) return nullptr;
  return detail::InResultOrNew(turned.Transpose(), result);
}

}  // namespace voran
