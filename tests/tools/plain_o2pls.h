#pragma once

#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include "tests/tools/value_samples.h"

/// O2PLS by its formulas, in plain loops of double, as an oracle.
namespace tool {

using Numbers = std::vector<double>;

struct PlainComponent {
  Numbers score;
  Numbers loading;
  Numbers weight;
};

inline double Dot(const Numbers& a, const Numbers& b) {
  double sum = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i) sum += a[i] * b[i];
  return sum;
}

inline Numbers Times(const Rows& m, const Numbers& v) {
  Numbers result;
  for (const Numbers& row : m) result.push_back(Dot(row, v));
  return result;
}

inline Numbers TransposedTimes(const Rows& m, const Numbers& v) {
  Numbers result(m[0].size(), 0.0);
  for (std::size_t i = 0; i < m.size(); ++i) {
    for (std::size_t k = 0; k < result.size(); ++k) result[k] += m[i][k] * v[i];
  }
  return result;
}

inline Numbers Scaled(Numbers v, double factor) {
  for (double& value : v) value *= factor;
  return v;
}

inline Numbers Normalised(const Numbers& v) {
  return Scaled(v, 1.0 / std::sqrt(Dot(v, v)));
}

inline void TakeOut(Rows& m, const Numbers& score, const Numbers& loading) {
  for (std::size_t i = 0; i < m.size(); ++i) {
    for (std::size_t k = 0; k < loading.size(); ++k) m[i][k] -= score[i] * loading[k];
  }
}

/// The columns regressed on a score.
inline Numbers LoadingOf(const Rows& m, const Numbers& score) {
  return Scaled(TransposedTimes(m, score), 1.0 / Dot(score, score));
}

/// The sum of squares of a - b; of a alone if b is empty.
inline double SquaredDistance(Rows a, const Rows& b) {
  double sum = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    for (std::size_t k = 0; k < a[i].size(); ++k) {
      const double difference = a[i][k] - (b.empty() ? 0.0 : b[i][k]);
      sum += difference * difference;
    }
  }
  return sum;
}

/// The direction of A that varies most with B: the first eigenvector of A'BB'A, its largest element positive.
inline Numbers LeadingWeight(const Rows& a, const Rows& b) {
  Numbers w(a[0].size());
  for (std::size_t k = 0; k < w.size(); ++k) w[k] = 1.0 + 0.1 * static_cast<double>(k);
  for (int round = 0; round < 5000; ++round) {
    w = Normalised(TransposedTimes(a, Times(b, TransposedTimes(b, Times(a, Normalised(w))))));
  }
  double largest = 0.0;
  for (const double value : w) {
    if (std::abs(value) > std::abs(largest)) largest = value;
  }
  return Scaled(w, largest < 0.0 ? -1.0 : 1.0);
}

struct PlainBlock {
  std::vector<PlainComponent> joint;
  std::vector<PlainComponent> orthogonal;
  Rows cross;  ///< the other block regressed on each orthogonal score
  Rows inner;  ///< from the joint scores of this block to those of the other

  /// What each component takes of the block's sum of squares: orthogonal ones, then joint ones.
  std::pair<Numbers, Numbers> Shares(Rows block) const {
    std::pair<Numbers, Numbers> shares;
    const double total = SquaredDistance(block, {});
    double left = total;
    const auto add = [&](const std::vector<PlainComponent>& components, Numbers& to) {
      for (const PlainComponent& c : components) {
        TakeOut(block, c.score, c.loading);
        const double rest = SquaredDistance(block, {});
        to.push_back((left - rest) / total);
        left = rest;
      }
    };
    add(orthogonal, shares.first);
    add(joint, shares.second);
    return shares;
  }
};

class PlainO2pls {
 public:
  PlainO2pls(const Rows& blockX, const Rows& blockY, int joint, int xOrthogonal, int yOrthogonal) {
    for (int j = 0; j < xOrthogonal; ++j) AddOrthogonal(blockX, blockY, joint, x);
    for (int j = 0; j < yOrthogonal; ++j) AddOrthogonal(blockY, blockX, joint, y);
    Rows e = Without(blockX, x.orthogonal);
    Rows f = Without(blockY, y.orthogonal);
    for (int a = 0; a < joint; ++a) {
      const Numbers w = LeadingWeight(e, f);
      const Numbers t = Times(e, w);
      const Numbers c = Normalised(TransposedTimes(f, t));
      const Numbers u = Times(f, c);
      x.joint.push_back({t, LoadingOf(e, t), w});
      y.joint.push_back({u, LoadingOf(f, u), c});
      TakeOut(e, t, x.joint.back().loading);
      TakeOut(f, u, y.joint.back().loading);
    }
    x.inner = Regression(x.joint, y.joint);
    y.inner = Regression(y.joint, x.joint);
    for (const PlainComponent& c : x.orthogonal) x.cross.push_back(LoadingOf(blockY, c.score));
    for (const PlainComponent& c : y.orthogonal) y.cross.push_back(LoadingOf(blockX, c.score));
  }

  Rows PredictY(const Rows& newX) const { return Predict(newX, x, y); }
  Rows PredictX(const Rows& newY) const { return Predict(newY, y, x); }

  PlainBlock x;
  PlainBlock y;

 private:
  static Rows Without(Rows block, const std::vector<PlainComponent>& components) {
    for (const PlainComponent& c : components) TakeOut(block, c.score, c.loading);
    return block;
  }

  static void AddOrthogonal(const Rows& a, const Rows& b, int joint, PlainBlock& block) {
    const Rows before = Without(a, block.orthogonal);
    Rows e = before;
    Rows scores(a.size());
    for (int i = 0; i < joint; ++i) {
      const Numbers w = LeadingWeight(e, b);
      const Numbers t = Times(e, w);
      TakeOut(e, t, w);
      for (std::size_t r = 0; r < t.size(); ++r) scores[r].push_back(t[r]);
    }
    const Numbers w = LeadingWeight(e, scores);
    const Numbers t = Times(e, w);
    block.orthogonal.push_back({t, LoadingOf(before, t), w});
  }

  // (T T')^-1 T U', with the scores as rows, for one or two of them.
  static Rows Regression(const std::vector<PlainComponent>& from, const std::vector<PlainComponent>& to) {
    Rows result(from.size());
    const auto dot = [&](std::size_t a, std::size_t b) { return Dot(from[a].score, from[b].score); };
    for (const PlainComponent& c : to) {
      Numbers right;
      for (const PlainComponent& f : from) right.push_back(Dot(f.score, c.score));
      if (from.size() == 1) {
        result[0].push_back(right[0] / dot(0, 0));
        continue;
      }
      const double determinant = dot(0, 0) * dot(1, 1) - dot(0, 1) * dot(0, 1);
      result[0].push_back((dot(1, 1) * right[0] - dot(0, 1) * right[1]) / determinant);
      result[1].push_back((dot(0, 0) * right[1] - dot(0, 1) * right[0]) / determinant);
    }
    return result;
  }

  static Rows Predict(Rows rest, const PlainBlock& source, const PlainBlock& target) {
    Rows prediction(rest.size(), Numbers(target.joint[0].loading.size(), 0.0));
    for (std::size_t j = 0; j < source.orthogonal.size(); ++j) {
      Rows d = rest;
      for (const PlainComponent& c : source.joint) TakeOut(d, Times(d, c.weight), c.weight);
      const Numbers t = Times(d, source.orthogonal[j].weight);
      TakeOut(rest, t, source.orthogonal[j].loading);
      TakeOut(prediction, Scaled(t, -1.0), source.cross[j]);
    }
    Rows scores;
    for (const PlainComponent& c : source.joint) {
      scores.push_back(Times(rest, c.weight));
      TakeOut(rest, scores.back(), c.loading);
    }
    for (std::size_t b = 0; b < target.joint.size(); ++b) {
      Numbers u(rest.size(), 0.0);
      for (std::size_t a = 0; a < scores.size(); ++a) {
        for (std::size_t i = 0; i < u.size(); ++i) u[i] += scores[a][i] * source.inner[a][b];
      }
      TakeOut(prediction, Scaled(u, -1.0), target.joint[b].loading);
    }
    return prediction;
  }
};

}  // namespace tool
