#include <algorithm>
#include <cassert>

#include "voran/containers/missing_value.h"
#include "voran/platform/exception.h"
#include "voran/signal/derivate.h"

inline namespace voran {

using detail::kMissing;

template <typename T>
Derivate<T>::Derivate(PolynomialOrder polynomialOrder, int windowSize)
    : polynomialOrder_(polynomialOrder), windowSize_(std::max(windowSize, 1)) {
  NCDataMatrix<T> terms(windowSize_, NumTerms(), T{0});
  for (int i = 1; i <= windowSize_; ++i) SetTerms(terms, i, static_cast<T>(i - 1 - HalfWidth()));
  meanSquare_ = Centre(terms, 2);
  if (windowSize_ <= NumTerms() || !Solve(terms, operator_)) operator_ = NCDataMatrix<T>();
}

// Written past the counts of missing elements: a term may well be -99.
template <typename T>
void Derivate<T>::SetTerms(NCDataMatrix<T>& terms, int r, T t) const {
  T* const row = terms(r).GetWritableVector();
  row[1] = t;
  row[2] = Square(t);
  if (NumTerms() == 3) row[3] = Cube(t);
}

template <typename T>
T Derivate<T>::Centre(NCDataMatrix<T>& terms, int column) {
  const T mean = static_cast<T>(terms.GetColumnMean(column));
  terms.SubtractFromColumn(column, static_cast<double>(mean));
  return mean;
}

template <typename T>
bool Derivate<T>::Solve(const NCDataMatrix<T>& terms, NCDataMatrix<T>& solution) {
  NCDataMatrix<T> inverse(terms);
  if (!inverse.TransformToMprim_mul_M().TransformToInverse()) return false;
  solution = inverse.MatrixMultiply(terms, false, true, true);
  return true;
}

template <typename T>
typename Derivate<T>::Fit Derivate<T>::FailedFit() {
  Fit fit;
  fit.b[1] = fit.b[2] = fit.b[3] = kMissing<T>;
  return fit;
}

template <typename T>
typename Derivate<T>::Fit Derivate<T>::Estimate(const T* window) const {
  if (operator_.SizeRows() == 0) return FailedFit();
  Fit fit;
  double sum = 0.0;
  for (int i = 0; i < windowSize_; ++i) {
    if (window[i] == kMissing<T>) return EstimateWithMisVal(window);
    sum += static_cast<double>(window[i]);
  }
  fit.ybar = static_cast<T>(sum / windowSize_);
  fit.x2mean = meanSquare_;
  for (int k = 1; k <= NumTerms(); ++k) {
    double b = 0.0;
    for (int i = 0; i < windowSize_; ++i) {
      const T term = (window[i] - fit.ybar) * operator_[k][i + 1];
      b += static_cast<double>(term);
    }
    fit.b[k] = static_cast<T>(b);
  }
  return fit;
}

template <typename T>
typename Derivate<T>::Fit Derivate<T>::EstimateWithMisVal(const T* window) const {
  Fit fit;
  int present = 0;
  for (int i = 0; i < windowSize_; ++i) {
    if (window[i] == kMissing<T>) continue;
    ++present;
    fit.ybar += window[i];
    fit.xbar += static_cast<T>(i - HalfWidth());
  }
  if (present <= NumTerms()) return FailedFit();
  fit.ybar /= static_cast<T>(present);
  fit.xbar /= static_cast<T>(present);
  NCDataMatrix<T> terms(present, NumTerms(), T{0});
  int r = 0;
  for (int i = 0; i < windowSize_; ++i) {
    if (window[i] != kMissing<T>) SetTerms(terms, ++r, static_cast<T>(i - HalfWidth()) - fit.xbar);
  }
  fit.x2mean = Centre(terms, 2);
  if (NumTerms() == 3) fit.x3mean = Centre(terms, 3);
  NCDataMatrix<T> solution;
  if (!Solve(terms, solution)) return FailedFit();
  for (int k = 1; k <= NumTerms(); ++k) {
    double b = 0.0;
    r = 0;
    for (int i = 0; i < windowSize_; ++i) {
      if (window[i] == kMissing<T>) continue;
      const T term = (window[i] - fit.ybar) * solution[k][++r];
      b += static_cast<double>(term);
    }
    fit.b[k] = static_cast<T>(b);
  }
  return fit;
}

template <typename T>
T Derivate<T>::GetYHat(const Fit& fit, T x) const {
  if (fit.xbar == 0 && x == 0 && fit.x3mean == 0) return fit.ybar - fit.x2mean * fit.b[2];
  const T t = x - fit.xbar;
  const T quadratic = fit.ybar + t * fit.b[1] + (Square(t) - fit.x2mean) * fit.b[2];
  return NumTerms() == 3 ? quadratic + (Cube(t) - fit.x3mean) * fit.b[3] : quadratic;
}

template <typename T>
T Derivate<T>::GetDerivate(const Fit& fit, T x, int derivativeOrder) const {
  const bool isPlain = x == 0 && fit.xbar == 0;
  const T t = x - fit.xbar;
  switch (derivativeOrder) {
    case 1: {
      if (isPlain) return fit.b[1];
      const T linear = fit.b[1] + 2 * fit.b[2] * t;
      return NumTerms() == 3 ? linear + 3 * fit.b[3] * Square(t) : linear;
    }
    case 2:
      return isPlain || NumTerms() == 2 ? 2 * fit.b[2] : 2 * fit.b[2] + 6 * fit.b[3] * t;
    case 3:
      return 6 * fit.b[3];
    default:
      throw Exception(ExceptionMessage::translate("Illegal derivate order", "Error in power of derivata"));
  }
}

template <typename T>
T Derivate<T>::GetOptima(const NCDataVector<T>& window, T step, bool minimum, bool limitToWindow, T& value) const {
  assert(window.Size() >= windowSize_);
  const Fit fit = Estimate(window.begin());
  if (fit.HasFailed() || fit.b[2] == kMissing<T>) return kMissing<T>;
  if (minimum ? !(fit.b[2] > 0) : !(fit.b[2] < 0)) return kMissing<T>;
  const T optimum = -fit.b[1] / (2 * fit.b[2]);
  const T t = optimum - fit.xbar;
  const bool isPlain = fit.xbar == 0 && optimum == 0 && fit.x3mean == 0;
  value = isPlain ? fit.ybar - fit.b[2] * fit.x2mean : (Square(t) - fit.x2mean) * fit.b[2] + t * fit.b[1] + fit.ybar;
  if (!isPlain && NumTerms() == 3) value += (Cube(t) - fit.x3mean) * fit.b[3];
  const T position = static_cast<T>(HalfWidth() + 1) + t;
  if (position > static_cast<T>(windowSize_) || (limitToWindow && position < 1)) return kMissing<T>;
  return position * step;
}

template class Derivate<float>;

}  // namespace voran
