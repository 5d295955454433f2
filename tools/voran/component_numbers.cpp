#include "tools/voran/component_numbers.h"

#include <cmath>
#include <cstddef>
#include <numeric>

#include "tools/voran/table.h"

namespace tool {

double SumOfSquares(const NCDataVector<float>& v) {
  return v.GetNumMisVal() < v.Size() ? v.GetSS() : 0.0;
}

double SumOfSquares(const NCDataMatrix<float>& x) {
  double sum = 0.0;
  for (const NCDataVector<float>& row : x) sum += SumOfSquares(row);
  return sum;
}

std::vector<double> ColumnSumsOfSquares(const NCDataMatrix<float>& x) {
  std::vector<double> sums(static_cast<std::size_t>(x.SizeColumns()));
  for (const NCDataVector<float>& row : x) {
    std::size_t c = 0;
    for (const float value : row) {
      const double present = value == kGap ? 0.0 : static_cast<double>(value);
      sums[c++] += present * present;
    }
  }
  return sums;
}

double Total(const std::vector<double>& values) {
  return std::accumulate(values.begin(), values.end(), 0.0);
}

NCDataVector<float> FloatVector(const std::vector<double>& values) {
  NCDataVector<float> v;
  v.Reserve(static_cast<int>(values.size()));
  for (const double value : values) v.push_back(static_cast<float>(value));
  return v;
}

double ValueOf(float element) {
  return element == kGap ? kNoValue : static_cast<double>(element);
}

std::vector<double> Values(const NCDataVector<float>& v, double factor) {
  std::vector<double> values;
  values.reserve(static_cast<std::size_t>(v.Size()));
  for (const float value : v) values.push_back(factor * ValueOf(value));
  return values;
}

double ScoreVariance(const NCDataVector<float>& score, double degreesOfFreedom) {
  return degreesOfFreedom > 0.0 ? SumOfSquares(score) / degreesOfFreedom : kNoValue;
}

bool PointsDown(const NCDataVector<float>& v) {
  float largest = 0.0f;
  for (const float value : v) {
    if (value != kGap && std::abs(value) > std::abs(largest)) largest = value;
  }
  return largest < 0.0f;
}

}  // namespace tool
