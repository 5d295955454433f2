#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "tests/models/plain_nipals.h"

/// O2PLS of complete data once more, as plain loops in double over plain arrays. Directions come from the cross product
/// of the blocks as a whole (Trygg and Wold, 2003), in place of an iteration: what the tests compare with.
namespace plain_o2pls {

using plain_nipals::ColumnSlopes;
using plain_nipals::Dot;
using plain_nipals::Matrix;
using plain_nipals::RowSlopes;
using plain_nipals::Scale;
using plain_nipals::SumOfSquares;
using plain_nipals::Vector;

inline Matrix Transposed(const Matrix& m) {
  Matrix t(m.empty() ? 0 : m.front().size(), Vector(m.size()));
  for (std::size_t i = 0; i < m.size(); ++i) {
    for (std::size_t j = 0; j < t.size(); ++j) t[j][i] = m[i][j];
  }
  return t;
}

/// a b'
inline Matrix TimesTransposed(const Matrix& a, const Matrix& b) {
  Matrix product;
  for (const Vector& row : a) {
    product.emplace_back();
    for (const Vector& other : b) product.back().push_back(Dot(row, other));
  }
  return product;
}

inline Matrix Times(const Matrix& a, const Matrix& b) {
  return TimesTransposed(a, Transposed(b));
}

/// m + factor * a b'
inline void AddOuter(Matrix& m, const Vector& a, const Vector& b, double factor) {
  for (std::size_t i = 0; i < a.size(); ++i) {
    for (std::size_t j = 0; j < b.size(); ++j) m[i][j] += factor * a[i] * b[j];
  }
}

/// The first right singular vector of `cross`, with a positive largest element. Squaring cross' cross again and again
/// leaves the direction of its largest eigenvalue alone.
inline Vector LeadingDirection(const Matrix& cross) {
  Matrix s = Times(Transposed(cross), cross);
  for (int squaring = 0; squaring < 40; ++squaring) {
    const double size = std::sqrt(SumOfSquares(s));
    for (Vector& row : s) Scale(row, 1.0 / size);
    s = Times(s, s);
  }
  Vector w =
      *std::max_element(s.begin(), s.end(), [](const Vector& a, const Vector& b) { return Dot(a, a) < Dot(b, b); });
  const double largest =
      *std::max_element(w.begin(), w.end(), [](double a, double b) { return std::abs(a) < std::abs(b); });
  Scale(w, (largest < 0.0 ? -1.0 : 1.0) / std::sqrt(Dot(w, w)));
  return w;
}

/// Components as rows.
struct Model {
  Matrix t, u, p, w, c, q;
  Matrix to, wo, po;  // of X
  Matrix uo, co, qo;  // of Y
};

inline void AppendOrthogonal(Matrix& block, const Matrix& other, std::size_t joint, Matrix& scores, Matrix& weights,
                             Matrix& loadings) {
  Matrix cross = Times(Transposed(other), block);
  Matrix rest = block;
  Matrix t;
  for (std::size_t a = 0; a < joint; ++a) {
    const Vector w = LeadingDirection(cross);
    AddOuter(cross, RowSlopes(cross, w), w, -1.0);
    t.push_back(RowSlopes(rest, w));
    AddOuter(rest, t.back(), w, -1.0);
  }
  weights.push_back(LeadingDirection(Times(t, rest)));
  scores.push_back(RowSlopes(rest, weights.back()));
  loadings.push_back(ColumnSlopes(block, scores.back()));
  AddOuter(block, scores.back(), loadings.back(), -1.0);
}

inline Model Fit(Matrix x, Matrix y, std::size_t joint, std::size_t xOrtho, std::size_t yOrtho) {
  Model m;
  const Matrix wholeX = x;
  const Matrix wholeY = y;
  for (std::size_t j = 0; j < xOrtho; ++j) AppendOrthogonal(x, wholeY, joint, m.to, m.wo, m.po);
  for (std::size_t j = 0; j < yOrtho; ++j) AppendOrthogonal(y, wholeX, joint, m.uo, m.co, m.qo);
  for (std::size_t a = 0; a < joint; ++a) {
    m.w.push_back(LeadingDirection(Times(Transposed(y), x)));
    m.t.push_back(RowSlopes(x, m.w.back()));
    m.p.push_back(ColumnSlopes(x, m.t.back()));
    m.c.push_back(ColumnSlopes(y, m.t.back()));
    Scale(m.c.back(), 1.0 / std::sqrt(Dot(m.c.back(), m.c.back())));
    m.u.push_back(RowSlopes(y, m.c.back()));
    m.q.push_back(ColumnSlopes(y, m.u.back()));
    AddOuter(x, m.t.back(), m.p.back(), -1.0);
    AddOuter(y, m.u.back(), m.q.back(), -1.0);
  }
  return m;
}

/// What a model predicts one block from the other with: scores, weights and loadings of the source, scores and loadings
/// of the target, the orthogonal components of the source, and the columns of the target regressed on their scores.
struct Side {
  Matrix t, w, p, u, q, wo, po, toTarget;
};

/// The columns of `block` regressed on scores, one after another.
inline Matrix AllSlopes(const Matrix& block, const Matrix& scores) {
  Matrix slopes;
  for (const Vector& score : scores) slopes.push_back(ColumnSlopes(block, score));
  return slopes;
}

/// What predicts Y, or X, by a model of both.
inline Side ToY(const Model& m, const Matrix& y) {
  return {m.t, m.w, m.p, m.u, m.q, m.wo, m.po, AllSlopes(y, m.to)};
}
inline Side ToX(const Model& m, const Matrix& x) {
  return {m.u, m.c, m.q, m.t, m.p, m.co, m.qo, AllSlopes(x, m.uo)};
}

struct Prediction {
  Matrix target, scores, orthoScores, rest;
};

/// Of the target scores the first `to` ones, each from the first `from` scores of the source, which are orthogonal. The
/// last `excluded` orthogonal components have scores alone.
inline Prediction Predict(const Side& side, Matrix x, std::size_t from, std::size_t to, std::size_t excluded = 0) {
  Prediction result{Matrix(x.size(), Vector(side.q.front().size())), {}, {}, {}};
  const std::size_t used = side.wo.size() - excluded;
  for (std::size_t j = 0; j < used; ++j) {
    Matrix rest = x;
    for (const Vector& w : side.w) AddOuter(rest, RowSlopes(rest, w), w, -1.0);
    result.orthoScores.push_back(RowSlopes(rest, side.wo[j]));
    AddOuter(x, result.orthoScores[j], side.po[j], -1.0);
    AddOuter(result.target, result.orthoScores[j], side.toTarget[j], 1.0);
  }
  for (std::size_t a = 0; a < side.w.size(); ++a) {
    result.scores.push_back(RowSlopes(x, side.w[a]));
    AddOuter(x, result.scores[a], side.p[a], -1.0);
    for (std::size_t b = 0; a < from && b < to; ++b) {
      AddOuter(result.target, result.scores[a], side.q[b], Dot(side.t[a], side.u[b]) / Dot(side.t[a], side.t[a]));
    }
  }
  for (std::size_t j = used; j < side.wo.size(); ++j) {
    result.orthoScores.push_back(RowSlopes(x, side.wo[j]));
    AddOuter(x, result.orthoScores[j], side.po[j], -1.0);
  }
  result.rest = x;
  return result;
}

}  // namespace plain_o2pls
