#include "voran/models/convergence.h"

#include <cmath>
#include <utility>

#include <boost/format.hpp>

inline namespace voran {
namespace detail {

double ConvergenceValue(double relativeChange) {
  constexpr double kNoChange = 1e-30;
  return relativeChange > kNoChange ? (std::log10(relativeChange) + 10.0) * 10.0 : -1.0;
}

void ConvergenceRate::Add(double change) {
  before_ = std::exchange(last_, change);
}

std::string FillText(const std::string& text, std::initializer_list<int> numbers) {
  boost::format format(text);
  format.exceptions(boost::io::no_error_bits);  // a translation may have lost a placeholder
  for (const int number : numbers) format % number;
  return format.str();
}

}  // namespace detail
}  // namespace voran
