#include "tests/same_bits/tables.h"

#include <cstddef>

namespace same_bits {
namespace {

constexpr float kGap = -99.0f;
constexpr int kComponents = 4;

/// Whole numbers of -512 to 511 (Knuth's MMIX generator): the distributions of the standard library differ.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  int operator()() {
    state_ = state_ * 6364136223846793005U + 1442695040888963407U;
    return static_cast<int>(state_ >> 54U) - 512;
  }
  bool OneIn(int n) { return ((*this)() + 512) % n == 0; }

 private:
  std::uint64_t state_;
};

Matrix Block(int rows, int columns, const Matrix& scores, bool hasGaps, Random& random) {
  std::vector<float> loadings(static_cast<std::size_t>(columns) * kComponents);
  for (float& value : loadings) value = static_cast<float>(random()) / 512.0f;
  Matrix block(rows, columns, 0.0f);
  for (int i = 1; i <= rows; ++i) {
    float* const out = block(i).GetWritableVector();
    const float* p = loadings.data();
    for (int j = 1; j <= columns; ++j, p += kComponents) {
      out[j] = static_cast<float>(random()) / 5120.0f;
      for (int a = 0; a < kComponents; ++a) out[j] += scores[i][a + 1] * p[a];
    }
  }
  for (int i = 1; hasGaps && i <= rows; ++i) {
    for (int j = 1; j <= columns; ++j) {
      if (random.OneIn(31)) block(i, j, kGap);
    }
  }
  return block;
}

Table Made(int rows, int columns, int responses, bool hasGaps) {
  Random random(static_cast<std::uint64_t>(rows) + (hasGaps ? 1 : 0));
  Matrix scores(rows, kComponents, 0.0f);
  for (int i = 1; i <= rows; ++i) {
    float size = 16.0f;
    for (int a = 1; a <= kComponents; ++a, size /= 3.0f) scores(i, a, size * static_cast<float>(random()) / 512.0f);
  }
  Matrix x = Block(rows, columns, scores, hasGaps, random);
  return {x, Block(rows, responses, scores, hasGaps, random)};
}

}  // namespace

const Table& LargeTable(bool hasGaps) {
  static const Table tables[] = {Made(530, 1030, 8, false), Made(530, 1030, 8, true)};
  return tables[hasGaps ? 1 : 0];
}

const Table& MiddleTable(bool hasGaps) {
  static const Table tables[] = {Made(266, 530, 3, false), Made(266, 530, 3, true)};
  return tables[hasGaps ? 1 : 0];
}

const Table& SmallTable(bool hasGaps) {
  static const Table tables[] = {Made(101, 21, 3, false), Made(101, 21, 3, true)};
  return tables[hasGaps ? 1 : 0];
}

Vector Series(int length, bool hasGaps) {
  Random random(static_cast<std::uint64_t>(length));
  Vector series(length, 0.0f);
  float* const elements = series.GetWritableVector();
  float value = 3.0f;
  for (int i = 1; i <= length; ++i) {
    value += static_cast<float>(random()) / 1024.0f + 0.01f;
    elements[i] = value;
  }
  for (int i = 1; hasGaps && i <= length; ++i) {
    if (random.OneIn(31)) series(i, kGap);
  }
  return series;
}

NCDataMatrix<double> InDouble(const Matrix& m) {
  NCDataMatrix<double> result(m.SizeRows(), m.SizeColumns(), 0.0);
  for (int i = 1; i <= m.SizeRows(); ++i) {
    for (int j = 1; j <= m.SizeColumns(); ++j) result(i, j, static_cast<double>(m[i][j]));
  }
  return result;
}

}  // namespace same_bits
