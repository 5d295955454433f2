#include "voran/models/group_products.h"

#include <algorithm>
#include <cstddef>
#include <functional>

#include "voran/containers/kernels/nipals.h"
#include "voran/containers/missing_value.h"

inline namespace voran {
namespace detail {

bool GroupProducts::IsWorthwhile(const NCDataMatrix<float>& X, const NCDataMatrix<float>& Y, int groups) {
  constexpr int kScratchShare = 16;  // of the rows of X
  const bool isComplete = X.GetNumMisVal() == 0 && Y.GetNumMisVal() == 0;
  return isComplete && Y.SizeColumns() == 1 && groups > 2 && X.SizeRows() / kScratchShare >= groups;
}

void GroupProducts::Sums::Add(const Sums& other) {
  std::transform(products.begin(), products.end(), other.products.begin(), products.begin(), std::plus<>());
  squares += other.squares;
}

GroupProducts::Sums GroupProducts::SumsOf(const std::vector<const float*>& rows, const std::vector<float>& y) const {
  Sums sums{std::vector<double>(static_cast<std::size_t>(columns_))};
  NipalsKernels<float>::Current().addRows(rows.data(), y.data(), static_cast<int>(rows.size()), 0, columns_, {},
                                          sums.products.data());
  for (const float value : y) sums.squares += static_cast<double>(value) * static_cast<double>(value);
  return sums;
}

GroupProducts::GroupProducts(const NCDataMatrix<float>& X, const NCDataMatrix<float>& Y,
                             const NCIntegralVector<int, -99>& rowGroups, int groups)
    : columns_(X.SizeColumns()) {
  const auto count = static_cast<std::size_t>(groups);
  std::vector<std::vector<const float*>> rows(count);
  std::vector<std::vector<float>> y(count);
  for (int i = 1; i <= X.SizeRows(); ++i) {
    const auto group = static_cast<std::size_t>(rowGroups[i]);
    rows[group].push_back(X[i].begin());
    y[group].push_back(Y[i][1]);
  }
  const Sums nothing{std::vector<double>(static_cast<std::size_t>(columns_))};
  std::vector<Sums> own(count, nothing);
  before_.assign(count, nothing);
  behind_.assign(count, nothing);
  for (std::size_t g = 0; g < count; ++g) own[g] = SumsOf(rows[g], y[g]);
  for (std::size_t g = 1; g < count; ++g) {
    before_[g] = before_[g - 1];
    before_[g].Add(own[g - 1]);
    behind_[count - 1 - g] = behind_[count - g];
    behind_[count - 1 - g].Add(own[count - g]);
  }
}

double GroupProducts::Squares(int group) const {
  const auto g = static_cast<std::size_t>(group);
  return before_[g].squares + behind_[g].squares;
}

bool GroupProducts::HasWeights(int group) const {
  return Squares(group) > kTinySumOfSquares;
}

NCDataVector<float> GroupProducts::Weights(int group) const {
  const auto g = static_cast<std::size_t>(group);
  const double squares = Squares(group);
  NCDataVector<float> weights(columns_, 0.0f);
  float* const elements = weights.GetWritableVector() + 1;
  std::transform(before_[g].products.begin(), before_[g].products.end(), behind_[g].products.begin(), elements,
                 [squares](double a, double b) { return static_cast<float>((a + b) / squares); });
  return weights;
}

}  // namespace detail
}  // namespace voran
