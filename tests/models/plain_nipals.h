#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
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

inline Vector Column(const Matrix& m, std::size_t j) {
  Vector column;
  for (const Vector& row : m) column.push_back(row[j]);
  return column;
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
  Vector p;
  Vector t;
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
  Vector w;
  Vector t;
  Vector c;
  Vector u;
  Vector p;
};

/// Iterates far beyond the library's limits, so that what differs is the library's.
inline PlsComponent FitPls(const Matrix& x, const Matrix& y) {
  PlsComponent a;
  for (std::size_t m = 0; m < y.front().size(); ++m) {
    const Vector column = Column(y, m);
    if (a.u.empty() || SumOfSquares(column) > SumOfSquares(a.u)) a.u = column;
  }
  Vector before;
  do {
    before = a.u;
    a.w = ColumnSlopes(x, a.u);
    Scale(a.w, 1.0 / std::sqrt(SumOfSquares(a.w)));
    a.t = RowSlopes(x, a.w);
    a.c = ColumnSlopes(y, a.t);
    a.u = RowSlopes(y, a.c);
  } while (y.front().size() > 1 && RelativeChange(a.u, before) > 1e-24);
  a.p = ColumnSlopes(x, a.t);
  return a;
}

/// b = Q (Q'X'XQ)^-1 Q'X'y, with Q a basis of the Krylov space of X'X and X'y: what PLS of one response comes to.
inline Vector KrylovCoefficients(const Matrix& x, const Vector& y, int components) {
  const auto times = [&x](const Vector& v) {
    Vector product;
    for (const Vector& row : x) {
      double sum = 0.0;
      for (std::size_t j = 0; j < v.size(); ++j) sum += row[j] * v[j];
      product.push_back(sum);
    }
    return product;
  };
  const auto timesTransposed = [&x](const Vector& v) {
    Vector product(x.front().size());
    for (std::size_t i = 0; i < x.size(); ++i) {
      for (std::size_t j = 0; j < product.size(); ++j) product[j] += x[i][j] * v[i];
    }
    return product;
  };
  const auto dot = [](const Vector& a, const Vector& b) {
    double sum = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) sum += a[i] * b[i];
    return sum;
  };
  const auto subtract = [](Vector& a, const Vector& b, double factor) {
    for (std::size_t i = 0; i < a.size(); ++i) a[i] -= factor * b[i];
  };
  // The images XQ are made orthogonal along with Q, which leaves a diagonal system.
  std::vector<Vector> basis;
  std::vector<Vector> images;
  Vector b(x.front().size());
  Vector direction = timesTransposed(y);
  for (int a = 0; a < components; ++a) {
    Scale(direction, 1.0 / std::sqrt(dot(direction, direction)));
    Vector image = times(direction);
    for (int pass = 0; pass < 2; ++pass) {
      for (std::size_t k = 0; k < basis.size(); ++k) {
        const double share = dot(images[k], image) / dot(images[k], images[k]);
        subtract(image, images[k], share);
        subtract(direction, basis[k], share);
      }
    }
    subtract(b, direction, -dot(image, y) / dot(image, image));
    basis.push_back(direction);
    images.push_back(image);
    direction = timesTransposed(image);
  }
  return b;
}

}  // namespace plain_nipals
