#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

/// PCA and PLS once more, as plain loops in double over plain arrays: what the tests of the models compare with.
namespace plain_nipals {

using Vector = std::vector<double>;
using Matrix = std::vector<Vector>;

inline constexpr double kGap = -99.0;

inline double SumOfSquares(const Vector& v) {
  double sum = 0.0;
  for (const double x : v) sum += x == kGap ? 0.0 : x * x;
  return sum;
}

inline double SumOfSquares(const Matrix& m) {
  double sum = 0.0;
  for (const Vector& row : m) sum += SumOfSquares(row);
  return sum;
}

/// Over the pairs present.
inline double Dot(const Vector& a, const Vector& b) {
  double sum = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i) sum += a[i] == kGap || b[i] == kGap ? 0.0 : a[i] * b[i];
  return sum;
}

inline Vector Column(const Matrix& m, std::size_t j) {
  Vector column;
  for (const Vector& row : m) column.push_back(row[j]);
  return column;
}

/// The column with the largest sum of squares, the first of equals. Its gaps are filled with a hundredth of its largest
/// magnitude, in alternating sign, unless it is the only one.
inline Vector StartColumn(const Matrix& m) {
  Vector start = Column(m, 0);
  if (m.front().size() == 1) return start;
  for (std::size_t j = 1; j < m.front().size(); ++j) {
    if (SumOfSquares(Column(m, j)) > SumOfSquares(start)) start = Column(m, j);
  }
  double filling = 0.0;
  for (const double x : start) filling = x == kGap ? filling : std::max(filling, std::abs(x) / 100.0);
  for (double& x : start) {
    if (x == kGap) x = std::exchange(filling, -filling);
  }
  return start;
}

/// The rows that a round of cross-validation fits, and those that it leaves out.
struct Parts {
  Matrix kept, leftOut;
};

template <class IsOut>
Parts Split(const Matrix& m, const IsOut& isOut) {
  Parts parts;
  for (std::size_t i = 0; i < m.size(); ++i) (isOut(i) ? parts.leftOut : parts.kept).push_back(m[i]);
  return parts;
}

/// What Split takes apart, together again.
template <class Element, class IsOut>
std::vector<Element> Joined(const std::vector<Element>& kept, const std::vector<Element>& leftOut, const IsOut& isOut) {
  std::vector<Element> all;
  for (std::size_t i = 0, out = 0; i < kept.size() + leftOut.size(); ++i) {
    all.push_back(isOut(i) ? leftOut[out++] : kept[i - out]);
  }
  return all;
}

/// Regression of y on v over pairs present, the denominator at least a third of the whole.
inline double Slope(const Vector& v, const Vector& y, double withoutPair) {
  double product = 0.0;
  double paired = 0.0;
  bool anyPair = false;
  for (std::size_t i = 0; i < v.size(); ++i) {
    if (v[i] == kGap || y[i] == kGap) continue;
    anyPair = true;
    product += v[i] * y[i];
    paired += v[i] * v[i];
  }
  return anyPair ? product / std::max(paired, SumOfSquares(v) / 3.0) : withoutPair;
}

inline Vector RowSlopes(const Matrix& x, const Vector& v) {
  Vector slopes;
  for (const Vector& row : x) slopes.push_back(Slope(v, row, kGap));
  return slopes;
}

inline Vector ColumnSlopes(const Matrix& x, const Vector& v) {
  const double withoutPair = std::find(v.begin(), v.end(), kGap) == v.end() ? kGap : 0.0;
  Vector slopes;
  for (std::size_t j = 0; j < x.front().size(); ++j) slopes.push_back(Slope(v, Column(x, j), withoutPair));
  return slopes;
}

inline void Scale(Vector& v, double factor) {
  for (double& x : v) x *= x == kGap ? 1.0 : factor;
}

inline void Subtract(Vector& a, const Vector& b, double factor) {
  for (std::size_t i = 0; i < a.size(); ++i) a[i] -= factor * b[i];
}

inline void Deflate(Matrix& x, const Vector& t, const Vector& p) {
  for (std::size_t i = 0; i < x.size(); ++i) {
    for (std::size_t j = 0; j < p.size(); ++j) {
      if (x[i][j] == kGap) continue;
      x[i][j] = t[i] == kGap || p[j] == kGap ? kGap : x[i][j] - t[i] * p[j];
    }
  }
}

inline double RelativeChange(const Vector& now, const Vector& before) {
  double change = 0.0;
  double size = 0.0;
  for (std::size_t i = 0; i < now.size(); ++i) {
    if (now[i] == kGap || before[i] == kGap) continue;
    change += (now[i] - before[i]) * (now[i] - before[i]);
    size += now[i] * now[i];
  }
  return change / size;
}

struct PcaComponent {
  Vector p, t;
};

inline PcaComponent FitPca(const Matrix& x, const Vector& start, int limit) {
  PcaComponent a{{}, start};
  double change = 1.0;
  for (int round = 0; round < limit && change > 1e-10; ++round) {
    const Vector before = a.t;
    a.p = ColumnSlopes(x, a.t);
    Scale(a.p, 1.0 / std::sqrt(SumOfSquares(a.p)));
    a.t = RowSlopes(x, a.p);
    change = RelativeChange(a.t, before);
  }
  return a;
}

struct PlsComponent {
  Vector w, t, c, u, p;
  int rounds = 1;  ///< until u changes by 1e-10 or less, or the limit
};

inline constexpr int kNoLimit = 1000000;

/// Iterates far beyond the library's convergence, so that what differs is the library's, but not beyond the limit.
inline PlsComponent FitPls(const Matrix& x, const Matrix& y, int limit = kNoLimit, const Vector& start = {}) {
  const bool isSingle = y.front().size() == 1;
  PlsComponent a;
  a.u = StartColumn(y);
  if (!isSingle && !start.empty()) a.u = RowSlopes(y, ColumnSlopes(y, RowSlopes(x, start)));
  double change = 1.0;
  for (int round = 1; change > 1e-24 && (round <= limit || round == 1); ++round) {
    if (change > 1e-10) a.rounds = round;
    const Vector before = a.u;
    a.w = ColumnSlopes(x, a.u);
    Scale(a.w, 1.0 / std::sqrt(SumOfSquares(a.w)));
    a.t = RowSlopes(x, a.w);
    a.c = ColumnSlopes(y, a.t);
    a.u = RowSlopes(y, a.c);
    change = isSingle ? 0.0 : RelativeChange(a.u, before);
  }
  a.p = ColumnSlopes(x, a.t);
  return a;
}

/// The coefficients of y by components of PLS, which are added as long as goesOn(a, component, what it leaves of x).
template <class GoesOn>
Vector PlsCoefficients(Matrix x, Matrix y, const GoesOn& goesOn) {
  Vector b(x.front().size());
  Matrix stars, loadings;
  for (int a = 1;; ++a) {
    const PlsComponent component = FitPls(x, y);
    Vector star = component.w;
    for (std::size_t k = 0; k < stars.size(); ++k) Subtract(star, stars[k], Dot(loadings[k], component.w));
    Subtract(b, star, -component.c.front());
    stars.push_back(star);
    loadings.push_back(component.p);
    Deflate(x, component.t, component.p);
    Deflate(y, component.t, component.c);
    if (!goesOn(a, component, x)) return b;
  }
}

/// b = Q (Q'X'XQ)^-1 Q'X'y, with Q a basis of the Krylov space of X'X and X'y: what PLS of one response comes to.
inline Vector KrylovCoefficients(const Matrix& x, const Vector& y, int components) {
  const auto times = [&x](const Vector& v) {
    Vector product;
    for (const Vector& row : x) product.push_back(Dot(row, v));
    return product;
  };
  const auto timesTransposed = [&x](const Vector& v) {
    Vector product;
    for (std::size_t j = 0; j < x.front().size(); ++j) product.push_back(Dot(Column(x, j), v));
    return product;
  };
  // The images XQ are made orthogonal along with Q, which leaves a diagonal system.
  Matrix basis, images;
  Vector b(x.front().size());
  Vector direction = timesTransposed(y);
  for (int a = 0; a < components; ++a) {
    Scale(direction, 1.0 / std::sqrt(Dot(direction, direction)));
    Vector image = times(direction);
    for (int pass = 0; pass < 2; ++pass) {
      for (std::size_t k = 0; k < basis.size(); ++k) {
        const double share = Dot(images[k], image) / Dot(images[k], images[k]);
        Subtract(image, images[k], share);
        Subtract(direction, basis[k], share);
      }
    }
    Subtract(b, direction, -Dot(image, y) / Dot(image, image));
    basis.push_back(direction);
    images.push_back(image);
    direction = timesTransposed(image);
  }
  return b;
}

}  // namespace plain_nipals
