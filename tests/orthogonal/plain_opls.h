#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include "tests/models/plain_nipals.h"

/// OPLS once more, as plain loops in double over plain arrays: what the tests compare with.
namespace plain_opls {

using plain_nipals::Column;
using plain_nipals::ColumnSlopes;
using plain_nipals::Deflate;
using plain_nipals::kGap;
using plain_nipals::Matrix;
using plain_nipals::RowSlopes;
using plain_nipals::Scale;
using plain_nipals::SumOfSquares;
using plain_nipals::Vector;

/// A'B with 0 for gaps.
inline Matrix Cross(const Matrix& a, const Matrix& b) {
  Matrix product(a.front().size(), Vector(b.front().size()));
  for (std::size_t m = 0; m < product.size(); ++m) {
    for (std::size_t j = 0; j < product[m].size(); ++j) product[m][j] = plain_nipals::Dot(Column(a, m), Column(b, j));
  }
  return product;
}

inline constexpr int kPcaLimit = 200;  ///< which slow ones reach, so that the library has to have the same

/// The first loadings of a principal component analysis; of a single row, the row.
inline Matrix Loadings(Matrix x, int count) {
  if (x.size() == 1) {
    Scale(x.front(), 1.0 / std::sqrt(SumOfSquares(x)));
    return x;
  }
  Matrix loadings;
  for (int a = 0; a < count; ++a) {
    const plain_nipals::PcaComponent component = plain_nipals::FitPca(x, plain_nipals::StartColumn(x), kPcaLimit);
    loadings.push_back(component.p);
    Deflate(x, component.t, component.p);
  }
  return loadings;
}

/// The method with gaps and any number of responses and predictive components.
struct Model {
  Model(Matrix xGiven, Matrix yGiven, int components, int mostPasses = kPcaLimit)
      : x(std::move(xGiven)), y(std::move(yGiven)), predictive(components), limit(mostPasses) {
    FitStage();
  }

  void TakeOutOne() {
    Matrix e = x;
    for (std::size_t a = 0; a < tw.size(); ++a) Deflate(e, tw[a], w.back()[a]);
    Matrix scores;
    for (std::size_t i = 0; i < x.size(); ++i) scores.push_back(Column(tw, i));
    wo.push_back(Loadings(Cross(scores, e), 1).front());
    to.push_back(RowSlopes(e, wo.back()));
    co.push_back(ColumnSlopes(y, to.back()));
    po.push_back(ColumnSlopes(x, to.back()));
    uo.push_back(RowSlopes(y, co.back()));
    Deflate(x, to.back(), po.back());
    Deflate(y, to.back(), co.back());
    FitStage();
  }

  void FitStage() {
    Matrix covariances = Cross(y, x);
    const double first = std::sqrt(SumOfSquares(covariances));
    double previous = first;
    Matrix weights;
    const bool hasGaps = std::any_of(
        x.begin(), x.end(), [](const Vector& row) { return std::find(row.begin(), row.end(), kGap) != row.end(); });
    for (passes = 1;; ++passes) {
      weights = Loadings(covariances, predictive);
      Matrix e = x;
      tw.clear();
      for (const Vector& v : weights) {
        tw.push_back(RowSlopes(e, v));
        Deflate(e, tw.back(), v);
      }
      if (!hasGaps || passes >= limit) break;
      const Matrix left = Cross(y, e);
      const double size = std::sqrt(SumOfSquares(left));
      if (size < 0.01 * first || size > previous) break;
      previous = size;
      for (std::size_t m = 0; m < left.size(); ++m) {
        for (std::size_t j = 0; j < left[m].size(); ++j) covariances[m][j] += left[m][j];
      }
    }
    Matrix e = x;
    Matrix f = y;
    t.clear();
    u.clear();
    Matrix loadings, responses;
    for (const Vector& v : weights) {
      t.push_back(RowSlopes(e, v));
      loadings.push_back(ColumnSlopes(e, t.back()));
      responses.push_back(ColumnSlopes(f, t.back()));
      u.push_back(RowSlopes(f, responses.back()));
      Deflate(e, t.back(), loadings.back());
      Deflate(f, t.back(), responses.back());
    }
    w.push_back(weights);
    p.push_back(loadings);
    c.push_back(responses);
    xResiduals = e;
    yResiduals = f;
  }

  Matrix x, y;
  int predictive, limit;
  int passes = 0;  ///< of the last refinement
  std::vector<Matrix> w, p, c;
  Matrix t, u, tw, to, po, co, wo, uo, xResiduals, yResiduals;
};

/// What a model says of other rows: scores of its last stage, orthogonal scores, and Y.
struct Prediction {
  Prediction(const Model& model, Matrix x) : y(x.size(), Vector(model.y.front().size())) {
    const auto add = [this](const Vector& scores, const Vector& loadings) {
      Vector negative = loadings;
      Scale(negative, -1.0);
      Deflate(y, scores, negative);
    };
    for (std::size_t k = 0; k < model.wo.size(); ++k) {
      Matrix e = x;
      for (const Vector& w : model.w[k]) Deflate(e, RowSlopes(e, w), w);
      to.push_back(RowSlopes(e, model.wo[k]));
      Deflate(x, to[k], model.po[k]);
      add(to[k], model.co[k]);
    }
    for (std::size_t a = 0; a < model.w.back().size(); ++a) {
      t.push_back(RowSlopes(x, model.w.back()[a]));
      Deflate(x, t[a], model.p.back()[a]);
      add(t[a], model.c.back()[a]);
    }
  }

  Matrix t, to, y;
};

}  // namespace plain_opls
