#pragma once

#include <cstdint>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/export.h"

inline namespace voran {

/// Smoothing and derivatives of a series by polynomials fitted in a sliding window (Savitzky and Golay 1964).
///
/// In a window without gaps a fit is one linear operator, formed once, and costs some multiplications for each element
/// of the window. A window with gaps is fitted anew, by least squares on what is present; where that is not more than
/// the number of polynomial terms, the fit fails and its value is missing. A coefficient of the linear term that comes
/// out as -99 counts as a failed fit too. Only `Derivate<float>` exists. The same bits on every machine.
///
/// One object may be used by several threads.
template <typename T>
class VORAN_EXPORT Derivate {
 public:
  /// The number of polynomial terms beside the constant.
  enum class PolynomialOrder : std::int32_t { kQuadratic = 2, kCubic = 3 };

  /// For windows of an odd number of elements, more than there are terms; in smaller ones every fit fails.
  Derivate(PolynomialOrder polynomialOrder, int windowSize);
  Derivate(const Derivate&) = default;
  Derivate& operator=(const Derivate&) = default;
  ~Derivate() = default;

  /// `result` becomes the first, second or third derivative of x, whose elements are `step` apart. The first and last
  /// windowSize / 2 elements are derivatives of the first and last polynomial with `edges`; without, and if x is
  /// shorter than a window, they are what SetSize() leaves: what was there if the size was right, otherwise missing.
  /// Where the first fit fails the elements before its centre are missing; where the last one does those after its
  /// centre, deliberately without the very last. Throws Exception, before it changes anything, for another order. The
  /// third derivative of a quadratic is 0. `result` may be x.
  void DoDerivate(const NCDataVector<T>& x, NCDataVector<T>& result, int derivativeOrder, T step, bool edges) const;

  /// The values of the polynomials, in the same way.
  void Smooth(const NCDataVector<T>& x, NCDataVector<T>& result, bool edges) const;

  // The same for every row of x, on several threads.

  void DoDerivate(const NCDataMatrix<T>& x, NCDataMatrix<T>& result, int derivativeOrder, T step, bool edges) const;
  void Smooth(const NCDataMatrix<T>& x, NCDataMatrix<T>& result, bool edges) const;

  /// The position of the minimum or maximum of the polynomial fitted to `window`, of windowSize elements: from `step`
  /// for the first element on; `value` receives the polynomial's value there. -99 if the fit fails, if there is no such
  /// optimum, if it lies behind the window or, with `limitToWindow`, before it. The cubic term plays no part in the
  /// position. Where gaps move the mean position of what is present off the centre by d, the value is deliberately
  /// taken d before the optimum, and the position is that of 2d before it.
  T GetOptima(const NCDataVector<T>& window, T step, bool minimum, bool limitToWindow, T& value) const;

 private:
  /// ybar + b1 t + b2 (t^2 - x2mean) + b3 (t^3 - x3mean), with t = x - xbar and x counted from the centre of the
  /// window.
  struct Fit {
    bool HasFailed() const { return b[1] == static_cast<T>(-99); }

    T b[4] = {};
    T ybar = 0;
    T xbar = 0;
    T x2mean = 0;
    T x3mean = 0;
  };

  struct SmoothValues;
  template <int Order>
  struct DerivativeValues;

  static T Square(T x) { return x * x; }
  static T Cube(T x) { return x * x * x; }
  static Fit FailedFit();
  /// Becomes the columns t, t^2 and t^3 for row r.
  void SetTerms(NCDataMatrix<T>& terms, int r, T t) const;
  /// Takes its mean off a column; returns the mean.
  static T Centre(NCDataMatrix<T>& terms, int column);
  /// (X'X)^-1 X'; false if X'X has a row of zeros.
  static bool Solve(const NCDataMatrix<T>& terms, NCDataMatrix<T>& solution);

  int NumTerms() const { return static_cast<int>(polynomialOrder_); }
  int HalfWidth() const { return windowSize_ / 2; }
  /// The fit to the windowSize elements from window[0] on.
  Fit Estimate(const T* window) const;
  Fit EstimateWithMisVal(const T* window) const;
  T GetYHat(const Fit& fit, T x) const;
  T GetDerivate(const Fit& fit, T x, int derivativeOrder) const;
  /// What Smooth() and DoDerivate() have in common; see there.
  template <class Values>
  void Walk(const NCDataVector<T>& x, NCDataVector<T>& result, bool edges, const Values& values) const;
  /// The same for a result of the right size, whose elements may be unset where it writes.
  template <class Values>
  void WalkWindows(const NCDataVector<T>& source, NCDataVector<T>& result, bool edges, const Values& values) const;
  /// Whether some window of the series could have a slope of -99, which counts as a failed fit.
  bool SlopeMayBeMarker(const T* y, int count) const;
  /// Fills the centres of `count` windows from y on.
  template <class Values>
  void WalkWithoutGaps(const T* y, int count, T* centres, const Values& values) const;
  /// Fills what the first and the last window have beside their centres.
  template <class Values>
  void SetEdges(const NCDataVector<T>& x, T* out, bool edges, const Values& values) const;

  PolynomialOrder polynomialOrder_;
  int windowSize_;
  NCDataMatrix<T> operator_;  ///< terms x windowSize; without rows if no fit is possible
  T meanSquare_ = 0;
};

extern template class Derivate<float>;

}  // namespace voran
