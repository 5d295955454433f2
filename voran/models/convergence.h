#pragma once

#include <initializer_list>
#include <string>

inline namespace voran {
namespace detail {

/// How far a NIPALS iteration is from its end: 10 for each power of ten by which the relative squared change of the
/// score exceeds 1e-10. Not above 0 means converged, and so does a change that could not be formed.
double ConvergenceValue(double relativeChange);

/// Tells ahead whether a round will be the last. The change falls by a nearly constant factor from round to round; a
/// wrong guess costs a reading of X and changes no number.
class ConvergenceRate {
 public:
  bool PredictsConvergence() const { return before_ > 0.0 && last_ / before_ * last_ <= kConverged; }
  void Add(double change);

 private:
  static constexpr double kConverged = 1e-10;

  double before_ = 0.0;
  double last_ = 0.0;
};

/// A translated text for the progress display with its placeholders %1%, %2%, ... filled.
std::string FillText(const std::string& format, std::initializer_list<int> numbers);

}  // namespace detail
}  // namespace voran
