#pragma once

#include <cstddef>
#include <random>

#include "tests/models/model_samples.h"
#include "tests/orthogonal/plain_o2pls.h"
#include "voran/orthogonal/o2pls.h"

/// What the tests of O2PLS have in common.
namespace samples {

struct BlockSizes {
  std::size_t rows = 40, xColumns = 11, yColumns = 8;
  std::size_t joint = 2, xAlone = 1, yAlone = 1;
  double overlap = 0.0;  ///< how far the loadings of one block's own scores point into those of the joint ones
};

/// Two blocks of known parts: joint scores, of which Y has twice those of X, scores of each block alone, and noise. The
/// columns of all scores are orthogonal to one another.
inline XY MadeBlocks(const BlockSizes& sizes, double noise, unsigned seed) {
  std::mt19937 generator(seed);
  std::normal_distribution<double> normal;
  const auto random = [&](std::size_t rows, std::size_t columns) {
    PlainMatrix m(rows, Plain(columns));
    for (auto& row : m) {
      for (double& value : row) value = normal(generator);
    }
    return m;
  };
  PlainMatrix all = random(sizes.joint + sizes.xAlone + sizes.yAlone, sizes.rows);
  double size = 5.0;
  for (std::size_t a = 0; a < all.size(); ++a, size *= 0.8) {
    for (int pass = 0; pass < 2; ++pass) {
      for (std::size_t b = 0; b < a; ++b) {
        const double share = plain_o2pls::Dot(all[a], all[b]) / plain_o2pls::Dot(all[b], all[b]);
        plain_nipals::Subtract(all[a], all[b], share);
      }
    }
    plain_o2pls::Scale(all[a], size / std::sqrt(plain_o2pls::Dot(all[a], all[a])));
  }
  PlainMatrix x = random(sizes.rows, sizes.xColumns);
  PlainMatrix y = random(sizes.rows, sizes.yColumns);
  for (PlainMatrix* m : {&x, &y}) {
    for (auto& row : *m) plain_o2pls::Scale(row, noise);
  }
  Plain jointP, jointQ;
  for (std::size_t a = 0; a < all.size(); ++a) {
    auto p = random(1, sizes.xColumns);
    auto q = random(1, sizes.yColumns);
    const bool isJoint = a < sizes.joint;
    const bool isOfX = !isJoint && a < sizes.joint + sizes.xAlone;
    if (isJoint) {
      jointP = p.front();
      jointQ = q.front();
    } else {
      plain_o2pls::AddOuter(p, {sizes.overlap}, jointP, 1.0);
      plain_o2pls::AddOuter(q, {sizes.overlap}, jointQ, 1.0);
    }
    if (isJoint || isOfX) plain_o2pls::AddOuter(x, all[a], p.front(), 1.0);
    if (isJoint || !isOfX) plain_o2pls::AddOuter(y, all[a], q.front(), isJoint ? 2.0 : 1.0);
  }
  return {ToMatrix(x), ToMatrix(y)};
}

inline NCO2PLS Fitted(const FloatMatrix& x, const FloatMatrix& y, int joint, int xOrtho, int yOrtho) {
  NCO2PLS model(x, y, true, 500);
  model.Fit(joint, xOrtho, yOrtho);
  return model;
}

/// Everything of a model in one list, to compare two models.
inline std::vector<FloatMatrix> AllOf(const NCO2PLS& m) {
  return {m.GetT(),  m.GetU(),  m.GetP(),  m.GetW(),  m.GetC(), m.GetQ(), m.GetTo(),     m.GetWo(),
          m.GetPo(), m.GetUo(), m.GetCo(), m.GetQo(), m.GetR(), m.GetS(), m.GetLambda(), m.GetXLambda()};
}

inline std::vector<int> List(const Groups& verdicts) {
  return {verdicts.begin(), verdicts.end()};
}

/// The same sizes and bits.
inline void ExpectSame(const std::vector<FloatMatrix>& a, const std::vector<FloatMatrix>& b) {
  ASSERT_EQ(a.size(), b.size());
  for (std::size_t k = 0; k < a.size(); ++k) EXPECT_TRUE(Equal(a[k], b[k])) << "matrix " << k;
}

}  // namespace samples
