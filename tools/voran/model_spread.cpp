#include "tools/voran/model_spread.h"

#include <cmath>
#include <cstddef>

#include "tools/voran/component_numbers.h"

namespace tool {

double ModelSpread::T2(const std::vector<double>& scores) const {
  double sum = 0.0;
  for (std::size_t a = 0; a < scores.size(); ++a) sum += scores[a] * scores[a] / scoreVariances[a];
  return sum;
}

double RowResidual(double sumOfSquares, int present, int components) {
  return present > components ? std::sqrt(sumOfSquares / (present - components)) : kNoValue;
}

double PooledResidual(const NCDataMatrix<float>& residuals, int components, double degreesOfFreedom) {
  double sum = 0.0;
  for (const NCDataVector<float>& row : residuals) {
    const double deviation = RowResidual(SumOfSquares(row), row.Size() - row.GetNumMisVal(), components);
    if (!std::isnan(deviation)) sum += deviation * deviation;
  }
  const double left = degreesOfFreedom - components;
  return left > 0.0 ? std::sqrt(sum / left) : kNoValue;
}

}  // namespace tool
